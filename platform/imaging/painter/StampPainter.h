#pragma once

#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/pages/ilMIOImage.h"
#include "platform/imaging/stamps/Stamp.h"

/// Lays one stamp's coverage down on the pages of an image: cuts it at the page grid, at the clipping rectangle and by
/// the clipping image, and hands each page's block to one kernel. Pages on which nothing arrives are neither made nor
/// copied.
class StampPainter {
public:
    struct Limits {
        ilTile rect;  // nothing is painted outside
        const ilMIOImage* coverage = nullptr;  // scales what arrives; null for none
        int coverageX = 0;  // target pixel on which the coverage's (0, 0) lies
        int coverageY = 0;
    };

    /// Pixels that a stamp takes from an image instead of a colour.
    struct Source {
        const ilImage* image = nullptr;  // of the target's channels
        int dx = 0;  // target pixel (x, y) takes source pixel (x + dx, y + dy)
        int dy = 0;
        bool isTiled = false;  // the image repeats over its bounds
        kernels::Weight weight = kernels::kFullWeight;
    };

    StampPainter(const PlacedCoverage& placed, const Limits& limits) : placed_(placed), limits_(limits) {}

    /// Colour through the coverage; lowBits is null in 8 bits.
    void PaintColor(ilMIOImage& image, ilMIOImage* lowBits, const kernels::StampColor& color) const;

    /// Colour as a wet layer.
    void PaintWet(ilMIOImage& image, const kernels::StampColor& color, kernels::Weight wetness) const;

    /// Pixels of a source through the coverage, painted over, or erasing by the source's alpha.
    void PaintSource(ilMIOImage& image, const Source& source, bool erases) const;

private:
    /// The part of the coverage on one page, as rows that begin at the page's column 0.
    struct PagePart {
        int px, py;
        ilTile part;  // pixels of the target
        const uint8_t* coverage;  // for the page's column 0 in the part's first row
        ptrdiff_t stride;
    };
    template <class Work>
    void ForEachPagePart(Work&& work) const;
    bool NarrowToCoveredRows(ilTile& part) const;
    bool IsClippedAway(const ilTile& part) const;
    void CutCoverage(const ilTile& part, const PagePart& whole, uint8_t* rows) const;
    template <class Paint>
    void PaintBlocks(ilMIOImage& image, ilMIOImage* lowBits, bool adds, Paint&& paint) const;

    const PlacedCoverage& placed_;
    const Limits& limits_;
};
