#include "layers/DocumentPort.h"
#include "platform/imaging/regions/FloodFillOperation.h"
#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

bool LayerStack::FloodFillDone(int x, int y, float tolerance, const PaintColor& color, const PntHandle& handle)
{
    const StackEdit edit(*this);
    const qs::Reference<Layer> layer = parts_->tree.GetLayerFromHandle(handle);
    ilTile filled;
    if (!layer || !Flood(*layer, x, y, tolerance, color, false, filled))
        return false;
    parts_->update.ShowChange();
    return true;
}

bool LayerStack::SmoothFloodFillDone(int x, int y, float tolerance, const PaintColor& color,
                                     const qs::TempReference<ilSmartImage>&, ilTile& fillTile, const PntHandle& handle)
{
    const StackEdit edit(*this);
    const qs::Reference<Layer> layer = parts_->tree.GetLayerFromHandle(handle);
    if (!layer || !Flood(*layer, x, y, tolerance, color, true, fillTile))
        return false;
    parts_->update.ShowChange();
    GetDocumentPort().LayerImageChanged(layer->GetLayerContainerHandle());
    return true;
}

bool LayerStack::IsFillable(const Layer& layer) const
{
    return layer.GetLayerType() == kLayerTypeRaster && layer.GetImage() && parts_->tree.IsShown(layer);
}

bool LayerStack::Flood(Layer& layer, int x, int y, float tolerance, const PaintColor& color, bool isSmooth,
                       ilTile& onCanvas)
{
    if (!IsFillable(layer) || !parts_->canvas.GetSize().Contains(x, y))
        return false;
    const PntHandle& handle = layer.GetLayerContainerHandle();
    const qs::TempReference<ilMIOImage> image = layer.GetImage();
    const qs::Reference<ilMIOImage> before = image->Snapshot();
    CachedSmartImage source(image);
    CachedSmartImage target(image);
    FloodFillOperation fill(source, target, parts_->canvas.CanvasOn(handle), tolerance, color);
    fill.SetSmooth(isSmooth);
    fill.SetGrowth(isSmooth ? parts_->properties.floodFillGrowthPx : 0);
    if (&layer != parts_->selection.Get() && parts_->selection.IsUsed())
        fill.SetSelection(parts_->selection.Get()->GetImage(),
                          FloodFillOperation::Distance(layer.getXOffset(), parts_->selection.Get()->getXOffset()),
                          FloodFillOperation::Distance(layer.getYOffset(), parts_->selection.Get()->getYOffset()));
    parts_->tree.ToLayer(x, y, handle);
    try {
        if (!fill.DoFlood(x, y))
            return false;
    } catch (...) {
        image->ShareAllFrom(*before);  // no part of a fill stays when memory runs out on the way
        throw;
    }
    onCanvas = ilTileIntersection(ilTileMoved(fill.GetRegion().GetBounds(), layer.getXOffset(), layer.getYOffset()),
                                  parts_->canvas.GetSize());
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
        tiles.push_back(ilTileIntersection(tile, parts_->canvas.GetSize()));
    parts_->update.LayerContentChanged(layer, tiles, false);
}
