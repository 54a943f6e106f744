#include "platform/imaging/regions/FloodGrowth.h"

#include "platform/imaging/regions/CoverageFilters.h"

#include <cstring>

namespace {

using Cover = FloodRegion::Cover;

qs::Reference<ilSmartImage> ImageOf(const FloodRegion& region)
{
    qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel::Coverage(0)));
    region.ForEachPage([&](int px, int py, Cover cover) {
        if (cover == Cover::All)
            image->SetPageUniform(px, py, ilPixel::Coverage(255).GetPacked());
        else
            region.ReadCoverage(PageTile(px, py), image->WritePage(px, py).GetBytes(), kPageSize);
    });
    return image;
}

FloodRegion RegionOf(const ilMIOImage& image)
{
    FloodRegion region;
    image.VisitPages(image.GetBounds(), [&](int px, int py, const Page& page) {
        const PageContent content = page.GetContent();
        if (content == PageContent::Opaque) {
            region.SetPageAll(px, py);
        } else if (content != PageContent::Transparent) {
            auto coverage = std::make_unique<std::array<uint8_t, kPagePixels>>();
            std::memcpy(coverage->data(), page.GetBytes(), kPagePixels);
            region.SetPageCoverage(px, py, std::move(coverage));
        }
    });
    return region;
}

}  // namespace

FloodRegion GrownRegion(const FloodRegion& region, const ilTile& area, int pixels)
{
    const ilTile bounds = region.GetBounds();
    const ilTile reach = ilTileFromEdges(bounds.x - int64_t{pixels}, bounds.y - int64_t{pixels},
                                         bounds.Right() + pixels, bounds.Bottom() + pixels);
    return RegionOf(*GrowCoverage(*ImageOf(region), ilTileIntersection(reach, area), pixels));
}
