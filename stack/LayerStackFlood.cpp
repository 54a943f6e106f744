#include "layers/DocumentPort.h"
#include "platform/imaging/regions/FloodFillOperation.h"
#include "stack/LayerStack.h"
#include "stack/StackEdit.h"

bool LayerStack::FloodFillDone(int x, int y, float tolerance, const PaintColor& color, const PntHandle& handle)
{
    const StackEdit edit(*this);
    const qs::Reference<Layer> layer = GetLayerFromHandle(handle);
    ilTile filled;
    if (!layer || !Flood(*layer, x, y, tolerance, color, false, filled))
        return false;
    ShowChange();
    return true;
}

bool LayerStack::SmoothFloodFillDone(int x, int y, float tolerance, const PaintColor& color,
                                     const qs::TempReference<ilSmartImage>&, ilTile& fillTile, const PntHandle& handle)
{
    const StackEdit edit(*this);
    const qs::Reference<Layer> layer = GetLayerFromHandle(handle);
    if (!layer || !Flood(*layer, x, y, tolerance, color, true, fillTile))
        return false;
    ShowChange();
    GetDocumentPort().LayerImageChanged(layer->GetLayerContainerHandle());
    return true;
}

bool LayerStack::IsFillable(const Layer& layer) const
{
    return layer.GetLayerType() == kLayerTypeRaster && layer.GetImage() && IsShown(layer);
}

bool LayerStack::Flood(Layer& layer, int x, int y, float tolerance, const PaintColor& color, bool isSmooth,
                       ilTile& onCanvas)
{
    if (!IsFillable(layer) || !size_.Contains(x, y))
        return false;
    const PntHandle& handle = layer.GetLayerContainerHandle();
    const qs::TempReference<ilMIOImage> image = layer.GetImage();
    const qs::Reference<ilMIOImage> before = image->Snapshot();
    CachedSmartImage source(image);
    CachedSmartImage target(image);
    FloodFillOperation fill(source, target, GetLayerStackBndInLayerCoord(handle), tolerance, color);
    fill.SetSmooth(isSmooth);
    fill.SetGrowth(isSmooth ? floodFillGrowthPx_ : 0);
    if (&layer != selectionMask_.get() && isSelectionMaskUsed())
        fill.SetSelection(selectionMask_->GetImage(),
                          FloodFillOperation::Distance(layer.getXOffset(), selectionMask_->getXOffset()),
                          FloodFillOperation::Distance(layer.getYOffset(), selectionMask_->getYOffset()));
    LayerStackToLayerCoords(x, y, handle);
    try {
        if (!fill.DoFlood(x, y))
            return false;
    } catch (...) {
        image->ShareAllFrom(*before);  // no part of a fill stays when memory runs out on the way
        throw;
    }
    onCanvas =
        ilTileIntersection(ilTileMoved(fill.GetRegion().GetBounds(), layer.getXOffset(), layer.getYOffset()), size_);
    TellFilled(layer, fill.GetRegion());
    return true;
}

void LayerStack::TellFilled(Layer& layer, const FloodRegion& region)
{
    DamageControl damage;
    region.ForEachPage([&](int px, int py, FloodRegion::Cover) {
        damage.DamageTile(ilTileMoved(PageTile(px, py), layer.getXOffset(), layer.getYOffset()));
    });
    qs::vector<ilTile> tiles;
    ilTile tile;
    while (damage.nextDamaged(tile))
        tiles.push_back(ilTileIntersection(tile, size_));
    LayerContentChanged(layer, tiles, false);
}
