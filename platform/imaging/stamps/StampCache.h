#pragma once

#include "platform/imaging/stamps/StampCoverage.h"

#include <cstddef>

/// The process's cache of stamp coverages, by what they depend on: profile or mask identity, quantised radius,
/// sub-pixel phase, aspect and rotation. Bounded by bytes; the least recently used go first.
class PAINTLAYER_EXPORT ILStampImpl {
public:
    /// Forgets all coverages (those in use live on until released).
    static void reset_cache();

    /// Reads, or sets, the bound of the cache in MiB; a negative size changes nothing. Default 64.
    static int max_cache_size();
    static void max_cache_size(int mebibytes);

    static size_t GetCachedBytes();
};

/// Settings of stamps that are made from a mask image.
class PAINTLAYER_EXPORT ILStampImg {
public:
    /// Rotations of stamps are rounded to multiples of this many degrees, 1 to 90 (others are clamped). Default 1.
    static void setRotationQuantizationIncrement(int degrees);
    static int getRotationQuantizationIncrement();
};
