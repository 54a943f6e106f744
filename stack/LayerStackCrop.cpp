#include "platform/imaging/ImageConvert.h"
#include "stack/LayerStack.h"

void LayerStack::CropLayer(const PntHandle& handle, const ilTile& canvasTile)
{
    const qs::Reference<Layer> layer = canvasTile.IsEmpty() ? nullptr : BeginPixelEdit(handle);
    if (!layer)
        return;
    const ilTile before = DamageOf(*layer);
    const ilTile kept = ilTileMoved(canvasTile, -int64_t{layer->getXOffset()}, -int64_t{layer->getYOffset()});
    layer->TakePixels(*CroppedImage(*layer->GetImage(), ilTileIntersection(kept, ReachOf(*layer))));
    EndPixelEdit(*layer, before);
}

void LayerStack::CropLayerToBrushClippingRect(const PntHandle& handle)
{
    CropLayer(handle, size_);
}

bool LayerStack::CropDocument(const ilTile& canvasTile)
{
    return !ilTileIntersection(canvasTile, size_).IsEmpty() && ResizeDocument(canvasTile);
}
