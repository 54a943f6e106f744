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
    if (ilTileIntersection(canvasTile, size_).IsEmpty() || !IsAcceptableSize(canvasTile.nx, canvasTile.ny))
        return false;
    BeginEdit();
    if (!SetSize(canvasTile, clipToSize_, false, false))  // first: it may run out of memory
        return false;
    for (LayerFolder* folder : TopFolders())
        folder->Translate(-canvasTile.x, -canvasTile.y);
    if (selectionMask_) {
        const ilTile origin(selectionMask_->getXOffset(), selectionMask_->getYOffset(), 1, 1);
        const ilTile moved = ilTileMoved(origin, -int64_t{canvasTile.x}, -int64_t{canvasTile.y});
        selectionMask_->SetOffset(moved.x, moved.y, LayerStackTransform(), true);
    }
    if (symmetry_)
        symmetry_->Translate(-canvasTile.x, -canvasTile.y);
    EndStructuralEdit(true);
    return true;
}
