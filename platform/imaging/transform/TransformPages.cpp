#include "platform/imaging/transform/TransformPages.h"

#include "platform/imaging/pages/PageWalk.h"

#include <algorithm>
#include <cmath>

namespace {

/// Neighbouring source pages meet on the same pages of the result: so many times the result are listed before what is
/// there twice is taken out.
constexpr size_t kDuplicates = 16;

ilTile PagesOf(const ilTile& tile)
{
    if (tile.IsEmpty())
        return {};
    const int left = PageIndexOf(tile.x);
    const int top = PageIndexOf(tile.y);
    return {left, top, PageIndexOf(static_cast<int>(tile.Right() - 1)) - left + 1,
            PageIndexOf(static_cast<int>(tile.Bottom() - 1)) - top + 1};
}

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

TransformPages::TransformPages(const ilTile& kept)
    : kept_(PagesOf(kept)), mostWhole_(std::max(kWholePages, static_cast<size_t>(kept_.Area())))
{}

bool TransformPages::AddBox(double left, double top, double right, double bottom)
{
    const auto isNear = [](double v) { return std::fabs(v) <= kMaxTransformedCoordinate; };  // false for a NaN
    if (!isNear(left) || !isNear(top) || !isNear(right) || !isNear(bottom))
        return false;
    const int x0 = PageIndexOf(static_cast<int>(std::floor(left)));
    const int y0 = PageIndexOf(static_cast<int>(std::floor(top)));
    const int x1 = PageIndexOf(static_cast<int>(std::ceil(right)));
    const int y1 = PageIndexOf(static_cast<int>(std::ceil(bottom)));
    return ListPages({x0, y0, x1 - x0 + 1, y1 - y0 + 1});
}

bool TransformPages::ListPages(ilTile pages)
{
    if (isCut_)
        pages = ilTileIntersection(pages, kept_);
    if (!MakeRoom(pages.Area())) {
        if (isCut_ || kept_.IsEmpty())
            return false;
        isCut_ = true;
        std::erase_if(pages_, [this](const auto& page) { return !kept_.Contains(page.first, page.second); });
        return ListPages(pages);
    }
    for (int px = pages.x; px < pages.Right(); ++px)
        for (int py = pages.y; py < pages.Bottom(); ++py)
            pages_.emplace_back(px, py);
    return true;
}

/// Whether `count` pages more can be listed and the result still be what it may be.
bool TransformPages::MakeRoom(int64_t count)
{
    const size_t most = isCut_ || kept_.IsEmpty() ? kMaxTransformedPages : mostWhole_;
    if (count > static_cast<int64_t>(most))
        return false;
    const size_t listed = kDuplicates * most;
    if (pages_.size() + static_cast<size_t>(count) > listed)
        RemoveDuplicates();
    return pages_.size() <= most;
}

void TransformPages::RemoveDuplicates()
{
    std::sort(pages_.begin(), pages_.end());
    pages_.erase(std::unique(pages_.begin(), pages_.end()), pages_.end());
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
    RemoveDuplicates();
    if (!isCut_ && !kept_.IsEmpty() && pages_.size() > mostWhole_)
        std::erase_if(pages_, [this](const auto& page) { return !kept_.Contains(page.first, page.second); });
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
