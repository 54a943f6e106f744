#include "platform/imaging/blend/ImageBlend.h"
#include "stack/LayerStack.h"

bool LayerStack::FillLayer(const PntHandle& handle, const ilTile& tile, const ilPixel& pixel)
{
    Layer* layer = GetLayerFromHandle(handle);
    const qs::TempReference<ilMIOImage> image = layer != nullptr ? layer->GetImage() : nullptr;
    const bool isLimited = layer != selectionMask_ && isSelectionMaskUsed();
    const ilTile onCanvas = ilTileIntersection(tile, isLimited ? GetSelectionMaskBnd() : size_);
    if (!image || pixel.GetNumChannels() != image->GetNumChannels() || ilTileIntersection(tile, size_).IsEmpty())
        return false;
    const ilTile onLayer = ilTileMoved(onCanvas, -int64_t{layer->getXOffset()}, -int64_t{layer->getYOffset()});
    const qs::Reference<ilMIOImage> before = image->Snapshot();
    try {
        if (isLimited) {
            const ilTile onMask = OnSelection(onCanvas);
            FillThrough(*image, onLayer, pixel, *selectionMask_->GetImage(), onMask.x, onMask.y);
        } else {
            image->fillTile(onLayer, pixel);
        }
    } catch (...) {
        image->ShareAllFrom(*before);
        throw;
    }
    TellChanged(*layer);
    DamageTile(onCanvas);
    if (layer == selectionMask_)
        UpdatePainterClip();
    return true;
}
