#include "platform/imaging/blend/ImageConvert.h"
#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

bool LayerStack::CropLayer(const PntHandle& handle, const ilTile& canvasTile)
{
    const StackEdit edit(*this);
    const qs::Reference<Layer> layer = canvasTile.IsEmpty() ? nullptr : BeginPixelEdit(handle);
    if (!layer)
        return false;
    const ilTile before = parts_->canvas.DamageOf(*layer);
    const ilTile kept = ilTileMoved(canvasTile, -int64_t{layer->getXOffset()}, -int64_t{layer->getYOffset()});
    layer->TakePixels(*CroppedImage(*layer->GetImage(), ilTileIntersection(kept, parts_->canvas.ReachOf(*layer))));
    EndPixelEdit(*layer, before);
    return true;
}

bool LayerStack::CropLayerToBrushClippingRect(const PntHandle& handle)
{
    return CropLayer(handle, parts_->canvas.GetSize());
}

bool LayerStack::CropDocument(const ilTile& canvasTile)
{
    return !ilTileIntersection(canvasTile, parts_->canvas.GetSize()).IsEmpty() && ResizeDocument(canvasTile);
}
