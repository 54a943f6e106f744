#include "platform/imaging/pages/ilSmartImage.h"

#include "platform/imaging/pages/PageWalk.h"

#include <cstring>

namespace {

/// Whether every pixel of the page has the given value, from what is known of it where that suffices.
bool IsPageOf(const Page& page, uint32_t value)
{
    if (page.IsUniform())
        return page.GetUniformValue() == value;
    const PageContent content = page.GetContent();
    if (value == 0)
        return content == PageContent::Transparent;
    if (page.GetNumChannels() == 1 && value == 255)
        return content == PageContent::Opaque;
    const uint8_t* bytes = page.GetBytes();
    for (int i = 0; i < kPagePixels; ++i)
        if (std::memcmp(bytes + i * page.GetNumChannels(), &value, static_cast<size_t>(page.GetNumChannels())) != 0)
            return false;
    return true;
}

/// The box of the pixels of a page that differ from `value`, in image coordinates.
ilTile BoxOfOtherPixels(const Page& page, int px, int py, uint32_t value)
{
    const bool coversAll = value == 0 && page.GetContent() == PageContent::Opaque;
    if (coversAll || page.IsUniform())
        return coversAll || page.GetUniformValue() != value ? PageTile(px, py) : ilTile();
    const int channels = page.GetNumChannels();
    const uint8_t* bytes = page.GetBytes();
    int left = kPageSize, right = -1, top = kPageSize, bottom = -1;
    for (int y = 0; y < kPageSize; ++y)
        for (int x = 0; x < kPageSize; ++x)
            if (std::memcmp(bytes + (y * kPageSize + x) * channels, &value, static_cast<size_t>(channels)) != 0) {
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = y;
            }
    if (right < 0)
        return {};
    return {px * kPageSize + left, py * kPageSize + top, right - left + 1, bottom - top + 1};
}

}  // namespace

ilSmartImage::ilSmartImage(const ilMIOImage& source, int dx, int dy) : ilMIOImage(source.GetFillValue())
{
    if (dx == 0 && dy == 0) {
        ShareAllFrom(source);
        return;
    }
    const ilTile bounds = ilTileMoved(source.GetBounds(), dx, dy);
    if (bounds.IsEmpty())
        return;
    // Whole pages, so that those that line up are shared.
    constexpr int64_t mask = kPageSize - 1;
    const ilTile pages = ilTileFromEdges(bounds.x & ~mask, bounds.y & ~mask, (bounds.Right() + mask) & ~mask,
                                         (bounds.Bottom() + mask) & ~mask);
    copyTile3D(pages.x, pages.y, 0, pages.nx, pages.ny, 1, source, pages.x - dx, pages.y - dy, 0);
    bounds_ = bounds;
    hasTightBounds_ = true;
}

void ilSmartImage::fillTile(const ilTile& tile, const ilPixel& value)
{
    const bool wasEmpty = IsEmpty();
    ilMIOImage::fillTile(tile, value);
    if (value == fill_ && tile.Contains(bounds_))
        hasTightBounds_ = false;  // what they held is gone
    if (!wasEmpty || IsEmpty() || tile.IsEmpty())
        return;
    bounds_ = tile;
    hasTightBounds_ = true;
    hasChanged_ = false;
}

void ilSmartImage::ForceShrinkAttempt()
{
    hasTightBounds_ = false;
    const uint32_t fill = fill_.GetPacked();
    qs::vector<std::pair<int, int>> blank;
    VisitPages(GetBounds(), [&](int px, int py, const Page& page) {
        if (IsPageOf(page, fill))
            blank.emplace_back(px, py);
    });
    for (const auto& [px, py] : blank)
        SetPage(px, py, PagePtr());
    // Only pages at the rim of the stored area can decide a tight edge.
    const ilTile stored = GetBounds();
    ilTile tight;
    VisitPages(stored, [&](int px, int py, const Page& page) {
        const ilTile tile = PageTile(px, py);
        const bool atRim = tile.x == stored.x || tile.y == stored.y || tile.Right() == stored.Right() ||
                           tile.Bottom() == stored.Bottom();
        tight = ilTileUnion(tight, atRim ? BoxOfOtherPixels(page, px, py, fill) : tile);
    });
    bounds_ = tight;
    hasTightBounds_ = true;
    hasChanged_ = false;
}

void ilSmartImage::ShrinkBounds()
{
    if (hasChanged_ || !hasTightBounds_)
        ForceShrinkAttempt();
}

void ilSmartImage::SetBounds(const ilTile& bounds)
{
    bounds_ = bounds;
    hasTightBounds_ = true;
}

void ilSmartImage::ForceAlphaValid()
{
    if (GetNumChannels() != 4)
        return;
    qs::vector<std::pair<int, int>> pages;
    VisitPages(GetBounds(), [&](int px, int py, const Page& page) {
        const uint8_t* bytes = page.GetBytes();
        for (int i = 0; i < 4 * kPagePixels; i += 4)
            if (std::max({bytes[i], bytes[i + 1], bytes[i + 2]}) > bytes[i + 3]) {
                pages.emplace_back(px, py);
                break;
            }
    });
    for (const auto& [px, py] : pages) {
        const PageWriter writer = WritePage(px, py);
        uint8_t* bytes = writer.GetBytes();
        for (int i = 0; i < 4 * kPagePixels; i += 4)
            bytes[i + 3] = std::max({bytes[i], bytes[i + 1], bytes[i + 2], bytes[i + 3]});
    }
}
