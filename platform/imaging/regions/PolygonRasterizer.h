#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/pages/ilSmartImage.h"

#include <cstdint>

/// Which points a polygon that crosses itself encloses: those that a ray leaves an odd number of times, or those that
/// it winds around at all.
enum class FillRule : int { EvenOdd, NonZero };

/// Draws polygons of any number of contours, with exact area coverage, into a one-channel image.
///
/// The algorithm is the accumulation of area and cover in sparse cells, as in classic anti-aliased scan converters:
/// each edge leaves in the pixels that it passes the signed height that it spans (cover) and the signed area to its
/// left; summed along a row, these give the winding of every pixel, weighted by area. Cells are sparse and made, sorted
/// and swept one page row at a time, so that the memory is that of the edges and of one page row's outline, and what
/// lies between two edges is stored as whole runs and pages.
///
/// Points are rounded to 1/256 pixel, once; coverage is within 1/255 of the true area of that polygon. Where edges
/// cross inside one pixel the rule is applied to the pixel's summed winding, which may differ from the true area there.
class PAINTLAYER_EXPORT PolygonRasterizer {
public:
    /// Only the pixels of `clip` are drawn.
    explicit PolygonRasterizer(const ilTile& clip) : clip_(clip) {}

    /// Adds a contour of `count` points (x, y in turn, pixels), closed from the last to the first. Coordinates beyond
    /// 2^30 pixels act as that. False, with nothing added, when one is NaN or infinite.
    bool AddContour(const float* points, size_t count);

    /// The polygon as an image that is 0 outside, its bounds those of the covered pixels. The contours stay.
    /// Throws std::bad_alloc.
    qs::Reference<ilSmartImage> Rasterize(FillRule rule) const;

private:
    struct Point {
        int64_t x;  // 1/256 pixel
        int64_t y;
    };

    /// Calls visit(PolygonEdge) for each edge that can leave a mark.
    template <class Visitor>
    void ForEachEdge(Visitor&& visit) const;

    ilTile clip_;
    qs::vector<Point> points_;
    qs::vector<size_t> contourEnds_;  // in points_
};
