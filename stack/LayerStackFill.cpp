#include "platform/imaging/blend/ImageBlend.h"
#include "stack/LayerStack.h"
#include "stack/StackParts.h"

bool LayerStack::FillLayer(const PntHandle& handle, const ilTile& tile, const ilPixel& pixel)
{
    Layer* layer = parts_->tree.GetLayerFromHandle(handle);
    const qs::TempReference<ilMIOImage> image = layer != nullptr ? layer->GetImage() : nullptr;
    const bool isLimited = layer != parts_->selection.Get() && parts_->selection.IsUsed();
    const ilTile onCanvas =
        ilTileIntersection(tile, isLimited ? parts_->selection.GetCanvasBounds() : parts_->canvas.GetSize());
    if (!image || pixel.GetNumChannels() != image->GetNumChannels() ||
        ilTileIntersection(tile, parts_->canvas.GetSize()).IsEmpty())
        return false;
    const ilTile onLayer = ilTileMoved(onCanvas, -int64_t{layer->getXOffset()}, -int64_t{layer->getYOffset()});
    const qs::Reference<ilMIOImage> before = image->Snapshot();
    try {
        if (isLimited) {
            const ilTile onMask = parts_->selection.OnMask(onCanvas);
            FillThrough(*image, onLayer, pixel, *parts_->selection.Get()->GetImage(), onMask.x, onMask.y);
        } else {
            image->fillTile(onLayer, pixel);
        }
    } catch (...) {
        image->ShareAllFrom(*before);
        throw;
    }
    parts_->canvas.TellChanged(*layer);
    parts_->canvas.DamageTile(onCanvas);
    if (layer == parts_->selection.Get())
        parts_->current.UpdateClip();
    return true;
}
