#include "platform/imaging/transform/ImageTransform.h"

#include "platform/imaging/pages/PageWalk.h"
#include "platform/imaging/transform/ImageScale.h"
#include "platform/imaging/transform/MappedSampler.h"
#include "platform/imaging/transform/TransformPages.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace {

using qsLinear::AffineMatrix;

/// Elements this near to 0 or to ±1 are meant to be that; over a million pixels it makes a hundredth of one.
constexpr double kMatrixNoise = 1e-8;

/// Shifts this near to whole pixels are whole.
constexpr double kShiftNoise = 1.0 / 1024;

/// Axes that shrink to less than this, or grow by more than its inverse, make no picture.
constexpr double kSmallestScale = 1.0 / (1 << 20);

double Snapped(double value)
{
    const double whole = std::floor(value + 0.5);
    return std::fabs(whole) <= 1 && std::fabs(value - whole) < kMatrixNoise ? whole : value;
}

double SnappedShift(double value)
{
    const double whole = std::floor(value + 0.5);
    return std::fabs(value - whole) < kShiftNoise ? whole : value;
}

AffineMatrix Tidied(const AffineMatrix& m)
{
    return {Snapped(m.a), Snapped(m.b), Snapped(m.c), Snapped(m.d), SnappedShift(m.tx), SnappedShift(m.ty)};
}

double Length(double x, double y)
{
    return std::sqrt(x * x + y * y);
}

bool IsUsable(const AffineMatrix& m)
{
    for (const double element : {m.a, m.b, m.c, m.d})
        if (!(std::fabs(element) <= 1 / kSmallestScale))
            return false;
    if (!(std::fabs(m.tx) <= kMaxTransformedCoordinate) || !(std::fabs(m.ty) <= kMaxTransformedCoordinate))
        return false;
    const double lengths = Length(m.a, m.b) * Length(m.c, m.d);
    return Length(m.a, m.b) >= kSmallestScale && Length(m.c, m.d) >= kSmallestScale &&
           std::fabs(m.determinant()) >= lengths * kSmallestScale;
}

/// Quarter turns, flips and moves by whole pixels: elements are 0 and ±1, shifts whole.
bool IsExact(const AffineMatrix& m)
{
    const bool isStraight = m.b == 0 && m.c == 0 && std::fabs(m.a) == 1 && std::fabs(m.d) == 1;
    const bool isTurned = m.a == 0 && m.d == 0 && std::fabs(m.b) == 1 && std::fabs(m.c) == 1;
    return (isStraight || isTurned) && m.tx == std::floor(m.tx) && m.ty == std::floor(m.ty);
}

template <size_t kChannels>
void TurnPage(uint8_t* out, const uint8_t* in, const AffineMatrix& m)
{
    const int a = static_cast<int>(m.a), b = static_cast<int>(m.b), c = static_cast<int>(m.c),
              d = static_cast<int>(m.d);
    const auto step = static_cast<ptrdiff_t>(kChannels);
    // Mirrored coordinates count down from the last pixel.
    uint8_t* origin = out + (a + c < 0 ? kPageSize - 1 : 0) * step + (b + d < 0 ? kPageSize - 1 : 0) * kPageSize * step;
    const ptrdiff_t across = (a + b * kPageSize) * step;
    const ptrdiff_t down = (c + d * kPageSize) * step;
    for (int y = 0; y < kPageSize; ++y) {
        uint8_t* place = origin + y * down;
        for (int x = 0; x < kPageSize; ++x, in += step, place += across)
            std::memcpy(place, in, kChannels);
    }
}

qs::Reference<ilSmartImage> TransformExactly(const ilMIOImage& source, const AffineMatrix& m)
{
    const int dx = static_cast<int>(m.tx);
    const int dy = static_cast<int>(m.ty);
    TransformPages touched({});
    TransformPages::List pages;
    if (!touched.AddMapped(source, m, 0, 0) || !touched.Take(pages))
        return {};
    if (m.a == 1 && m.d == 1)
        return qs::Reference<ilSmartImage>(new ilSmartImage(source, dx, dy));
    qs::Reference<ilSmartImage> target(new ilSmartImage(source.GetFillValue()));
    source.VisitPages(source.GetBounds(), [&](int px, int py, const Page& page) {
        const ilTile tile = PageTile(px, py);
        double left = tile.x, top = tile.y, right = static_cast<double>(tile.Right()),
               bottom = static_cast<double>(tile.Bottom());
        m.MapPoint(left, top);
        m.MapPoint(right, bottom);
        const ilTile place(static_cast<int>(std::min(left, right)), static_cast<int>(std::min(top, bottom)), kPageSize,
                           kPageSize);
        if (page.IsUniform()) {
            target->fillTile(place, ilPixel(kUnsignedByte, page.GetNumChannels(), page.GetUniformValue()));
            return;
        }
        alignas(64) uint8_t turned[kPagePixels * 4];
        (page.GetNumChannels() == 4 ? TurnPage<4> : TurnPage<1>)(turned, page.GetBytes(), m);
        target->WriteTile(place, turned, page.GetStrideBytes());
    });
    target->ShrinkBounds();
    return target;
}

/// A map without an angle: whole quarter turns and flips first, which are exact, then each axis by itself.
qs::Reference<ilSmartImage> TransformAlongAxes(const ilMIOImage& source, const AffineMatrix& m,
                                               const TransformFilters& filters, const ilTile& kept)
{
    const auto sign = [](double v) { return v < 0 ? -1.0 : v > 0 ? 1.0 : 0.0; };
    const AffineMatrix turn(sign(m.a), sign(m.b), sign(m.c), sign(m.d), 0, 0);
    const auto axis = [&](double scale, double shift) {
        const double size = std::fabs(scale);
        if (size == 1 && filters.magnify == kFilterNearest)
            return AxisScale{1, std::floor(shift + 0.5)};
        const FilterMethod filter = size < 1 ? filters.minify : filters.magnify;
        return AxisScale{size, shift, size == 1 && shift == std::floor(shift) ? kFilterNearest : filter};
    };
    const AxisScale x = axis(m.a + m.c, m.tx);
    const AxisScale y = axis(m.b + m.d, m.ty);
    if (turn == AffineMatrix())
        return ScaleImage(source, x, y, kept);
    const qs::Reference<ilSmartImage> turned = TransformExactly(source, turn);
    return turned ? ScaleImage(*turned, x, y, kept) : nullptr;
}

/// What is left to do between pixels when nothing shrinks any more.
FilterMethod SamplingFilter(FilterMethod filter)
{
    switch (filter) {
    case kFilterNearest: return kFilterNearest;
    case kFilterBicubic:
    case kFilterLanczos: return kFilterBicubic;
    default: return kFilterBilinear;
    }
}

/// Null when the source is too large, or too far away, to be reduced.
qs::Reference<ilSmartImage> SamplePages(const ilMIOImage& source, const PixelMap& map, FilterMethod filter,
                                        const TransformPages::List& pages)
try {
    qs::Reference<ilSmartImage> target(new ilSmartImage(source.GetFillValue()));
    MappedSampler sampler(source, *target, map, filter);
    for (const auto& [px, py] : pages)
        sampler.MakePage(px, py);
    target->ShrinkBounds();
    return target;
} catch (const std::length_error&) {
    return {};
}

qs::Reference<ilSmartImage> TransformTurned(const ilMIOImage& source, const AffineMatrix& m,
                                            const TransformFilters& filters, const ilTile& kept)
{
    AffineMatrix toSource;
    TransformPages touched(kept);
    TransformPages::List pages;
    constexpr double kGrow = 3;
    if (!m.Invert(toSource) || !touched.AddMapped(source, m, kGrow, kGrow) || !touched.Take(pages))
        return {};
    return SamplePages(source, AffinePixelMap(toSource), SamplingFilter(filters.magnify), pages);
}

/// Shrinks along the source's axes first, filtered, and turns what is left, where nothing can alias any more.
qs::Reference<ilSmartImage> ShrinkAndTurn(const ilMIOImage& source, const AffineMatrix& m,
                                          const TransformFilters& filters, const ilTile& kept)
{
    constexpr double kShrinks = 1 - 1.0 / 4096;
    double xScale = Length(m.a, m.b);
    double yScale = Length(m.c, m.d);
    xScale = xScale < kShrinks ? xScale : 1;
    yScale = yScale < kShrinks ? yScale : 1;
    if (xScale == 1 && yScale == 1)
        return TransformTurned(source, m, filters, kept);
    if (filters.minify == kFilterNearest)
        return TransformTurned(source, m, {kFilterNearest, kFilterNearest}, kept);
    const auto axis = [&](double scale) { return AxisScale{scale, 0, scale < 1 ? filters.minify : kFilterNearest}; };
    const qs::Reference<ilSmartImage> smaller = ScaleImage(source, axis(xScale), axis(yScale));
    const AffineMatrix rest = m * AffineMatrix::Scale(1 / xScale, 1 / yScale);
    const bool isBlocky = filters.magnify == kFilterNearest;
    return smaller
               ? TransformTurned(*smaller, rest, {filters.minify, isBlocky ? kFilterBilinear : filters.magnify}, kept)
               : nullptr;
}

/// Whether all corners turn the same way, by an area that can be divided by.
bool IsConvex(const Rect8f& quad)
{
    double smallest = std::numeric_limits<double>::infinity();
    double largest = -smallest;
    for (int i = 0; i < 4; ++i) {
        const int j = (i + 1) % 4, k = (i + 2) % 4;
        const double ax = double{quad.x[j]} - quad.x[i], ay = double{quad.y[j]} - quad.y[i];
        const double bx = double{quad.x[k]} - quad.x[j], by = double{quad.y[k]} - quad.y[j];
        const double area = ax * by - ay * bx;
        if (!(std::fabs(area) >= 1e-3) || std::fabs(area) < 1e-6 * Length(ax, ay) * Length(bx, by))
            return false;
        smallest = std::min(smallest, area);
        largest = std::max(largest, area);
    }
    return smallest > 0 || largest < 0;
}

/// How far beyond the edge of the source its pixels are still mixed in, in source pixels.
constexpr double kRim = 2;

/// How much a side of the rectangle grows, at most.
double LargestScale(const ilTile& from, const Rect8f& to)
{
    const auto side = [&to](int i, int j) { return Length(double{to.x[j]} - to.x[i], double{to.y[j]} - to.y[i]); };
    return std::max(std::max(side(0, 1), side(3, 2)) / from.nx, std::max(side(0, 3), side(1, 2)) / from.ny);
}

/// Whether a convex quadrilateral, grown, may meet the tile: no side has all of the tile beyond it.
bool Meets(const Rect8f& quad, double grow, const ilTile& tile)
{
    const double middleX = (double{quad.x[0]} + quad.x[2]) / 2;
    const double middleY = (double{quad.y[0]} + quad.y[2]) / 2;
    for (int i = 0; i < 4; ++i) {
        const int j = (i + 1) % 4;
        const double dx = double{quad.x[j]} - quad.x[i], dy = double{quad.y[j]} - quad.y[i];
        const auto inside = [&](double x, double y) { return dx * (y - quad.y[i]) - dy * (x - quad.x[i]); };
        const double sign = inside(middleX, middleY) < 0 ? -1 : 1;
        double deepest = -std::numeric_limits<double>::infinity();
        for (const double x : {double(tile.x), static_cast<double>(tile.Right())})
            for (const double y : {double(tile.y), static_cast<double>(tile.Bottom())})
                deepest = std::max(deepest, sign * inside(x, y));
        if (deepest < -grow * Length(dx, dy))
            return false;
    }
    return true;
}

/// The map that takes the rectangle to the first, second and fourth corner.
AffineMatrix ToParallelogram(const ilTile& from, const Rect8f& to)
{
    const AffineMatrix unit(double{to.x[1]} - to.x[0], double{to.y[1]} - to.y[0], double{to.x[3]} - to.x[0],
                            double{to.y[3]} - to.y[0], to.x[0], to.y[0]);
    return unit * AffineMatrix::Scale(1.0 / from.nx, 1.0 / from.ny) *
           AffineMatrix::Translation(-double(from.x), -double(from.y));
}

qs::Reference<ilSmartImage> PartOf(const ilMIOImage& source, const ilTile& tile)
{
    qs::Reference<ilSmartImage> part(new ilSmartImage(source.GetFillValue()));
    if (tile.Contains(source.GetBounds()))
        part->ShareAllFrom(source);
    else
        part->copyTile3D(tile.x, tile.y, 0, tile.nx, tile.ny, 1, source, tile.x, tile.y, 0);
    return part;
}

}  // namespace

bool IsWholePixelMove(const AffineMatrix& matrix, int& dx, int& dy)
{
    const AffineMatrix m = Tidied(matrix);
    if (!IsUsable(m) || !IsExact(m) || m.a != 1 || m.d != 1)
        return false;
    dx = static_cast<int>(m.tx);
    dy = static_cast<int>(m.ty);
    return true;
}

qs::Reference<ilSmartImage> TransformImage(const ilMIOImage& source, const AffineMatrix& matrix,
                                           const TransformFilters& filters, const ilTile& kept)
{
    const AffineMatrix m = Tidied(matrix);
    if (!IsUsable(m))
        return {};
    if (IsExact(m))
        return TransformExactly(source, m);
    if ((m.b == 0 && m.c == 0) || (m.a == 0 && m.d == 0))
        return TransformAlongAxes(source, m, filters, kept);
    return ShrinkAndTurn(source, m, filters, kept);
}

qs::Reference<ilSmartImage> WarpImage(const ilMIOImage& source, const ilTile& from, const Rect8f& to, WarpKind kind,
                                      const TransformFilters& filters, const ilTile& kept)
{
    for (int i = 0; i < 4; ++i)
        if (!(std::fabs(to.x[i]) <= kMaxTransformedCoordinate) || !(std::fabs(to.y[i]) <= kMaxTransformedCoordinate))
            return {};
    if (from.IsEmpty() || !IsConvex(to) || (kind != WarpKind::Perspective && kind != WarpKind::Bilinear))
        return {};
    // A parallelogram takes no perspective: the affine ways are exact or faster.
    const AffineMatrix plain = ToParallelogram(from, to);
    if (double{to.x[1]} + to.x[3] - to.x[0] == to.x[2] && double{to.y[1]} + to.y[3] - to.y[0] == to.y[2])
        return TransformImage(*PartOf(source, from), plain, filters, kept);
    const double grow = 3 + kRim * LargestScale(from, to);
    const auto [left, right] = std::minmax_element(to.x, to.x + 4);
    const auto [top, bottom] = std::minmax_element(to.y, to.y + 4);
    TransformPages touched(kept);
    if (!touched.AddBox(*left - grow, *top - grow, *right + grow, *bottom + grow))
        return {};
    TransformPages::List pages;
    if (!touched.Take(pages))
        return {};
    std::erase_if(pages, [&](const auto& page) { return !Meets(to, grow, PageTile(page.first, page.second)); });
    const qs::Reference<ilSmartImage> part = PartOf(source, from);
    const FilterMethod filter = SamplingFilter(filters.magnify);
    if (kind == WarpKind::Bilinear)
        return SamplePages(*part, BilinearPixelMap(from, to), filter, pages);
    return SamplePages(*part, PerspectivePixelMap(from, to), filter, pages);
}
