#include "platform/imaging/TransformPages.h"

#include "platform/imaging/PageWalk.h"

#include <algorithm>
#include <cmath>

namespace {

/// Duplicates are many before they are taken out: neighbouring source pages meet on the same pages of the result.
constexpr size_t kMaxListed = 16 * kMaxTransformedPages;

std::optional<uint32_t> UniformValueOf(const Page& page)
{
    if (page.IsUniform())
        return page.GetUniformValue();
    switch (page.GetContent()) {
    case PageContent::Transparent: return 0;
    case PageContent::Opaque: return page.GetNumChannels() == 1 ? std::optional<uint32_t>(255) : std::nullopt;
    default: return std::nullopt;
    }
}

}  // namespace

bool TransformPages::AddBox(double left, double top, double right, double bottom)
{
    const auto isNear = [](double v) { return std::fabs(v) <= kMaxTransformedCoordinate; };  // false for a NaN
    if (!isNear(left) || !isNear(top) || !isNear(right) || !isNear(bottom))
        return false;
    const int x0 = PageIndexOf(static_cast<int>(std::floor(left)));
    const int y0 = PageIndexOf(static_cast<int>(std::floor(top)));
    const int x1 = PageIndexOf(static_cast<int>(std::ceil(right)));
    const int y1 = PageIndexOf(static_cast<int>(std::ceil(bottom)));
    const int64_t count = (int64_t{x1} - x0 + 1) * (int64_t{y1} - y0 + 1);
    if (count > static_cast<int64_t>(kMaxListed - pages_.size()))
        return false;
    for (int px = x0; px <= x1; ++px)
        for (int py = y0; py <= y1; ++py)
            pages_.emplace_back(px, py);
    return true;
}

bool TransformPages::AddMapped(const ilMIOImage& source, const qsLinear::AffineMatrix& matrix, double growX,
                               double growY)
{
    const ilTile everything = source.GetBounds();
    bool fits = true;
    source.VisitPages(everything, [&](int px, int py, const Page&) {
        if (!fits)
            return;
        const ilTile tile = PageTile(px, py);
        double xs[4] = {tile.x - growX, tile.x + kPageSize + growX, tile.x - growX, tile.x + kPageSize + growX};
        double ys[4] = {tile.y - growY, tile.y - growY, tile.y + kPageSize + growY, tile.y + kPageSize + growY};
        for (int i = 0; i < 4; ++i)
            matrix.MapPoint(xs[i], ys[i]);
        const auto [left, right] = std::minmax_element(xs, xs + 4);
        const auto [top, bottom] = std::minmax_element(ys, ys + 4);
        fits = AddBox(*left, *top, *right, *bottom);
    });
    return fits;
}

bool TransformPages::Take(List& pages)
{
    std::sort(pages_.begin(), pages_.end());
    pages_.erase(std::unique(pages_.begin(), pages_.end()), pages_.end());
    pages = std::move(pages_);
    return pages.size() <= kMaxTransformedPages;
}

std::optional<uint32_t> FindUniformValue(const ilMIOImage& image, const ilTile& tile)
{
    std::optional<uint32_t> common;
    const ilTile last(static_cast<int>(tile.Right() - 1), static_cast<int>(tile.Bottom() - 1), 1, 1);
    for (int py = PageIndexOf(tile.y); py <= PageIndexOf(last.y); ++py)
        for (int px = PageIndexOf(tile.x); px <= PageIndexOf(last.x); ++px) {
            const PageReader reader = image.ReadPage(px, py);
            const std::optional<uint32_t> value =
                reader.IsMissing() ? image.GetFillValue().GetPacked() : UniformValueOf(*reader.GetPage());
            if (!value || (common && *common != *value))
                return std::nullopt;
            common = value;
        }
    return common;
}
