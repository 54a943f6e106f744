#pragma once

#include "platform/imaging/pages/PaintColor.h"
#include "platform/imaging/regions/CachedSmartImage.h"
#include "platform/imaging/regions/FloodSelection.h"

/// Floods what is 4-connected to a seed pixel and like it in colour (ColorMatch), and paints it into a target.
///
/// Source and target may be the same image. A four-channel target takes the colour, a one-channel one the colour's
/// alpha as coverage: 1 adds to a mask, 0 takes away from it.
class FloodFillOperation {
public:
    /// area: what may be reached, in the source's pixels. tolerance: parts of full scale, as ColorMatch takes it.
    FloodFillOperation(CachedSmartImage& source, CachedSmartImage& target, const ilTile& area, float tolerance,
                       const PaintColor& color);

    /// Where source pixel (0, 0) lies in the target; (0, 0) at first.
    void SetTargetOffset(int dx, int dy);

    /// One channel, its (0, 0) on source pixel (x, y): pixels that it does not cover are walls, and what it covers in
    /// part changes by as much.
    void SetSelection(qs::TempReference<ilMIOImage> image, int x, int y);

    /// The region goes on into the soft or anti-aliased edge around it (AddSoftEdge).
    void SetSmooth(bool smooth) { isSmooth_ = smooth; }

    /// The region is widened by that many pixels, 0 to kMaxGrowPx, over whatever lies there: soft edges move with it.
    void SetGrowth(int pixels);

    /// Floods from a source pixel. False, with the target unchanged, for a tolerance that is negative or not a number,
    /// a colour that is not finite, a seed outside the area or the selection, and for places further than kMaxDistance
    /// from the origin or from each other. Throws std::bad_alloc with the target painted in part.
    bool DoFlood(int x, int y);
    static constexpr int kMaxDistance = 1 << 29;

    /// to - from, for offsets; what int cannot hold becomes a distance that is refused.
    static int Distance(int from, int to)
    {
        return static_cast<int>(std::clamp<int64_t>(int64_t{to} - from, INT32_MIN, INT32_MAX));
    }

    /// What the last DoFlood reached, in the source's pixels.
    const FloodRegion& GetRegion() const { return region_; }

private:
    bool IsWithinReach() const;

    CachedSmartImage& source_;
    CachedSmartImage& target_;
    ilTile area_;
    float tolerance_;
    PaintColor color_;
    int dx_ = 0;
    int dy_ = 0;
    FloodSelection selection_;
    bool isSmooth_ = false;
    int growthPx_ = 0;
    FloodRegion region_;
};
