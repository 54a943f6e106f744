#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/pages/ilImage.h"

/// Reads an image at another scale: box-filtered (each source pixel by the share of it that falls into the target
/// pixel) when shrinking, bilinear when enlarging, per axis. Results are rounded once and the same on every machine.
class ScaledReader {
public:
    /// Target pixel (0, 0) begins at source position (sourceX, sourceY); scales are target pixels per source pixel,
    /// above 0 and finite.
    ScaledReader(const ilImage& source, double sourceX, double sourceY, double xScale, double yScale);

    /// Reads target pixels `part` (at most 64 × 64) into rows of `strideBytes`.
    void Read(const ilTile& part, uint8_t* rows, ptrdiff_t strideBytes);

private:
    /// One source pixel's share in a target pixel.
    struct Tap {
        int source;
        float weight;
    };
    struct Taps {
        qs::vector<Tap> list;
        qs::vector<size_t> begin;  // of each target pixel; one more at the end
    };
    static void MakeTaps(Taps& taps, int first, int count, double origin, double scale, int low, int high);
    void AccumulateRow(int sourceY, float weight, int count);

    const ilImage& source_;
    ilTile bounds_;
    double sourceX_, sourceY_, xScale_, yScale_;
    Taps across_, down_;
    qs::vector<uint8_t> row_;
    qs::vector<float> sums_;
};
