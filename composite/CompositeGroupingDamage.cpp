#include "composite/CompositeBase.h"
#include "composite/CompositeGrouping.h"
#include "composite/CompositePort.h"
#include "platform/imaging/pages/PageTiles.h"
#include "platform/imaging/pages/PageWalk.h"

#include <algorithm>
#include <utility>

namespace {

/// A stored image of one member, and how it takes part.
struct StoredLayer {
    size_t member;
    CompositeSource source;
    bool isExact;  // cached apart, it would give its own bytes
};

/// A page of the canvas; ordered by rows.
struct CanvasPage {
    int y;
    int x;
    auto operator<=>(const CanvasPage&) const = default;
};

bool IsAligned(const CompositeSource& source)
{
    return (PageOffsetOf(source.x) | PageOffsetOf(source.y)) == 0;
}

PageContent ContentOf(const ilMIOImage& image, int px, int py)
{
    const PageReader page = image.ReadPage(px, py);
    if (page.IsMissing())
        return image.GetFillValue().GetPacked() == 0 ? PageContent::Transparent : PageContent::Mixed;
    return page.GetPage()->GetContent();
}

/// What the source has on a canvas page; opaque is only known where the pages line up.
PageContent ContentOn(const CompositeSource& source, const CanvasPage& page)
{
    const ilTile tile = ilTileMoved(PageTile(page.x, page.y), -int64_t{source.x}, -int64_t{source.y});
    if (IsAligned(source))
        return ContentOf(*source.image, PageIndexOf(tile.x), PageIndexOf(tile.y));
    bool isTransparent = true;
    ForEachPage(tile, [&](int px, int py, const ilTile&) {
        isTransparent = isTransparent && ContentOf(*source.image, px, py) == PageContent::Transparent;
    });
    return isTransparent ? PageContent::Transparent : PageContent::Mixed;
}

/// The stored images of members [begin, end), bottom to top.
qs::vector<StoredLayer> ListLayers(const qs::vector<CompositeBase*>& members, size_t begin, size_t end)
{
    qs::vector<StoredLayer> layers;
    qs::vector<CompositeBase::StoredSource> sources;
    for (size_t i = begin; i < end; ++i) {
        sources.clear();
        members[i]->AppendStored(sources);
        for (const auto& [source, isFolded] : sources) {
            const bool isPlain =
                source.mode == kBlendNormal && source.weight == kernels::kFullWeight && source.stencil == nullptr;
            layers.push_back({i, source, isPlain || isFolded});
        }
    }
    return layers;
}

/// The canvas pages on which the layers may have something; sorted.
qs::vector<CanvasPage> ListPages(const qs::vector<StoredLayer>& layers, const ilTile& canvas)
{
    qs::vector<CanvasPage> pages;
    for (const StoredLayer& layer : layers) {
        const CompositeSource& source = layer.source;
        const ilTile area = ilTileMoved(canvas, -int64_t{source.x}, -int64_t{source.y});
        if (source.image->GetFillValue().GetPacked() != 0)
            ForEachPage(canvas, [&](int x, int y, const ilTile&) { pages.push_back({y, x}); });
        source.image->VisitPages(area, [&](int px, int py, const Page&) {
            const ilTile stored = ilTileMoved(PageTile(px, py), source.x, source.y);
            ForEachPage(ilTileIntersection(stored, canvas), [&](int x, int y, const ilTile&) {
                pages.push_back({y, x});
            });
        });
    }
    std::sort(pages.begin(), pages.end());
    pages.erase(std::unique(pages.begin(), pages.end()), pages.end());
    return pages;
}

/// Whether the members from `low` on as a group, or those from `high` on, can round differently on the page. A group
/// changes nothing when it holds one image that a cache would repeat exactly, or when nothing lies beneath it; what an
/// opaque page hides does not count.
bool CanDiffer(const qs::vector<StoredLayer>& layers, const CanvasPage& page, size_t low, size_t high)
{
    int total = 0;
    int groupable = 0;
    bool hasChanged = false;
    size_t counted = SIZE_MAX;  // a folder counts once
    for (size_t i = layers.size(); i-- > 0;) {
        const StoredLayer& layer = layers[i];
        const PageContent content = ContentOn(layer.source, page);
        if (content == PageContent::Transparent)
            continue;
        if (layer.member != counted) {
            const int roundings = layer.isExact ? 1 : 2;
            counted = layer.member;
            total += roundings;
            if (layer.member >= low) {
                groupable += roundings;
                hasChanged = hasChanged || layer.member < high;
            }
        }
        if (hasChanged && groupable >= 2 && total >= 3)
            return true;
        const CompositeSource& source = layer.source;
        if (content == PageContent::Opaque && source.mode == kBlendNormal && source.weight == kernels::kFullWeight &&
            source.stencil == nullptr)
            return false;
    }
    return false;
}

}  // namespace

void CompositeGrouping::DamageDifference(const CompositeBase& parent, size_t oldPath, size_t newPath)
{
    qs::vector<CompositeBase*> members;
    parent.AppendMembers(members);
    // Where the group above begins.
    const auto groupAbove = [&](size_t path) {
        return std::min(std::max(path + 1, parent.GetFirstFineMember()), members.size());
    };
    const size_t low = std::min(groupAbove(oldPath), groupAbove(newPath));
    const size_t high = std::max(groupAbove(oldPath), groupAbove(newPath));
    if (low == high)
        return;
    LayerStack* stack = parent.GetStack();
    const ilTile canvas = GetCompositePort().GetSize(stack);
    const qs::vector<CanvasPage> pages = ListPages(ListLayers(members, low, high), canvas);
    if (pages.empty())
        return;
    const qs::vector<StoredLayer> layers = ListLayers(members, 0, members.size());
    PageTiles stale;
    for (const CanvasPage& page : pages)
        if (CanDiffer(layers, page, low, high))
            stale.Add(page.x, page.y);
    for (const ilTile& tile : stale.TakeTiles())
        GetCompositePort().DamageTile(stack, ilTileIntersection(tile, canvas));
}
