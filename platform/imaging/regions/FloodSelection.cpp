#include "platform/imaging/regions/FloodSelection.h"

FloodRegion::Cover FloodSelection::GetCover(const ilTile& tile) const
{
    if (!image_)
        return FloodRegion::Cover::All;
    bool any = false, all = true;
    ForEachPage(ilTileMoved(tile, -int64_t{x_}, -int64_t{y_}), [&](int px, int py, const ilTile&) {
        const PageReader page = image_->ReadPage(px, py);
        const uint32_t fill = image_->GetFillValue().GetPacked();
        const PageContent content = !page.IsMissing() ? page.GetPage()->GetContent()
                                    : fill == 0       ? PageContent::Transparent
                                    : fill == 255     ? PageContent::Opaque
                                                      : PageContent::Mixed;
        any = any || content != PageContent::Transparent;
        all = all && content == PageContent::Opaque;
    });
    return all ? FloodRegion::Cover::All : any ? FloodRegion::Cover::Some : FloodRegion::Cover::None;
}

void FloodSelection::Read(const ilTile& tile, uint8_t* rows) const
{
    if (image_)
        image_->ReadTile(ilTileMoved(tile, -int64_t{x_}, -int64_t{y_}), rows, kPageSize);
    else
        std::memset(rows, 255, static_cast<size_t>(tile.ny) * kPageSize);
}
