#include "layers/CoverageUnion.h"

#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/pages/PageWalk.h"

namespace {

constexpr ilTile kEverywhere(-(1 << 30), -(1 << 30), INT32_MAX, INT32_MAX);

}  // namespace

ilTile GrownToPages(const ilTile& tile)
{
    if (tile.IsEmpty())
        return tile;
    constexpr int64_t kMask = kPageSize - 1;
    return ilTileFromEdges(tile.x & ~kMask, tile.y & ~kMask, (tile.Right() + kMask) & ~kMask,
                           (tile.Bottom() + kMask) & ~kMask);
}

void UniteWithin(ilSmartImage& into, const ilTile& tile, const ilMIOImage& source, int64_t dx, int64_t dy)
{
    BlendImage(into, tile, source, static_cast<int>(tile.x - dx), static_cast<int>(tile.y - dy), ImageBlend());
}

void UniteEverywhere(ilSmartImage& into, const ilMIOImage& source, int64_t dx, int64_t dy)
{
    const uint32_t fill = into.GetFillValue().GetPacked();
    const uint32_t sourceFill = source.GetFillValue().GetPacked();
    qs::set<std::pair<int, int>> pages;
    const auto collect = [&](int px, int py, const ilTile&) { pages.emplace(px, py); };
    if (sourceFill != 0 || fill == 255)
        into.VisitPages(kEverywhere, [&](int px, int py, const Page&) { pages.emplace(px, py); });
    if (fill != 255)
        source.VisitPages(kEverywhere, [&](int px, int py, const Page&) {
            ForEachPage(ilTileMoved(PageTile(px, py), dx, dy), collect);
        });
    const uint32_t united = fill + kernels::MulDiv255(sourceFill, 255 - fill);
    for (const auto& [px, py] : pages) {
        UniteWithin(into, PageTile(px, py), source, dx, dy);
        // Where the source stores nothing but zeros the page is still to have the fill value of before.
        if (united != fill && into.ReadPage(px, py).IsMissing())
            into.SetPage(px, py, PagePtr(Page::NewUniform(1, fill)));
    }
    into.SetFillValue(ilPixel::Coverage(static_cast<uint8_t>(united)));
}
