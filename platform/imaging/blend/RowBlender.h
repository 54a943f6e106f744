#pragma once

#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/pages/Page.h"

/// Blends rows of at most one page's width. What a blend needs is settled once, in the constructor; rows then run
/// without a branch per pixel.
class RowBlender {
public:
    /// channels: 1 or 4, of source and destination.
    RowBlender(int channels, const ImageBlend& blend);

    /// count: 0 to kPageSize pixels, or a whole page's kPagePixels without coverage and with full color weight.
    /// coverage: one byte a pixel that scales what arrives, or null.
    void Blend(uint8_t* dst, const uint8_t* src, const uint8_t* coverage, int count) const;

    /// Inverts a row in place through an optional coverage: every component, or colour only.
    static void Invert(int channels, bool colorOnly, uint8_t* dst, const uint8_t* coverage, int count);

private:
    enum class Kind { Over, OverWeighted, Copy, CopyWeighted, Erase, Mode, Factors };
    void BlendPlain(uint8_t* dst, const uint8_t* src, int count) const;

    const kernels::KernelTable& kernels_;
    ImageBlend blend_;
    int channels_;
    Kind kind_;
};
