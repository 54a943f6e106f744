#include "stack/edits/Fills.h"

#include "layers/DocumentPort.h"
#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/regions/FloodFillOperation.h"
#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"

bool Fills::FillTile(const PntHandle& handle, const ilTile& tile, const ilPixel& pixel)
{
    Layer* layer = tree_.GetLayerFromHandle(handle);
    const qs::TempReference<ilMIOImage> image = layer != nullptr ? layer->GetImage() : nullptr;
    const bool isLimited = layer != selection_.Get() && selection_.IsUsed();
    const ilTile onCanvas = ilTileIntersection(tile, isLimited ? selection_.GetCanvasBounds() : canvas_.GetSize());
    if (!image || pixel.GetNumChannels() != image->GetNumChannels() ||
        ilTileIntersection(tile, canvas_.GetSize()).IsEmpty())
        return false;
    const ilTile onLayer = layer->ToLayer(onCanvas);
    const qs::Reference<ilMIOImage> before = image->Snapshot();
    try {
        if (isLimited) {
            const ilTile onMask = selection_.OnMask(onCanvas);
            FillThrough(*image, onLayer, pixel, *selection_.Get()->GetImage(), onMask.x, onMask.y);
        } else {
            image->fillTile(onLayer, pixel);
        }
    } catch (...) {
        image->ShareAllFrom(*before);
        throw;
    }
    canvas_.TellChanged(*layer);
    canvas_.DamageTile(onCanvas);
    if (layer == selection_.Get())
        current_.UpdateClip();
    return true;
}

bool Fills::FloodLayer(int x, int y, float tolerance, const PaintColor& color, const PntHandle& handle)
{
    const StackEdit edit(stack_);
    const qs::Reference<Layer> layer = tree_.GetLayerFromHandle(handle);
    ilTile filled;
    if (!layer || !Flood(*layer, x, y, tolerance, color, false, filled))
        return false;
    update_.ShowChange();
    return true;
}

bool Fills::FloodSmoothly(int x, int y, float tolerance, const PaintColor& color, ilTile& fillTile,
                          const PntHandle& handle)
{
    const StackEdit edit(stack_);
    const qs::Reference<Layer> layer = tree_.GetLayerFromHandle(handle);
    if (!layer || !Flood(*layer, x, y, tolerance, color, true, fillTile))
        return false;
    update_.ShowChange();
    GetDocumentPort().LayerImageChanged(layer->GetLayerContainerHandle());
    return true;
}

bool Fills::IsFillable(const Layer& layer) const
{
    return layer.GetLayerType() == kLayerTypeRaster && layer.GetImage() && tree_.IsShown(layer);
}

bool Fills::Flood(Layer& layer, int x, int y, float tolerance, const PaintColor& color, bool isSmooth, ilTile& onCanvas)
{
    if (!IsFillable(layer) || !canvas_.GetSize().Contains(x, y))
        return false;
    const PntHandle& handle = layer.GetLayerContainerHandle();
    const qs::TempReference<ilMIOImage> image = layer.GetImage();
    const qs::Reference<ilMIOImage> before = image->Snapshot();
    CachedSmartImage source(image);
    CachedSmartImage target(image);
    FloodFillOperation fill(source, target, canvas_.CanvasOn(handle), tolerance, color);
    fill.SetSmooth(isSmooth);
    fill.SetGrowth(isSmooth ? properties_.floodFillGrowthPx : 0);
    if (&layer != selection_.Get() && selection_.IsUsed())
        fill.SetSelection(selection_.Get()->GetImage(),
                          FloodFillOperation::Distance(layer.getXOffset(), selection_.Get()->getXOffset()),
                          FloodFillOperation::Distance(layer.getYOffset(), selection_.Get()->getYOffset()));
    tree_.ToLayer(x, y, handle);
    try {
        if (!fill.DoFlood(x, y))
            return false;
    } catch (...) {
        image->ShareAllFrom(*before);  // no part of a fill stays when memory runs out on the way
        throw;
    }
    onCanvas = ilTileIntersection(layer.ToCanvas(fill.GetRegion().GetBounds()), canvas_.GetSize());
    TellFilled(layer, fill.GetRegion());
    return true;
}

void Fills::TellFilled(Layer& layer, const FloodRegion& region)
{
    DamageControl damage;
    region.ForEachPage(
        [&](int px, int py, FloodRegion::Cover) { damage.DamageTile(layer.ToCanvas(PageTile(px, py))); });
    qs::vector<ilTile> tiles;
    ilTile tile;
    while (damage.nextDamaged(tile))
        tiles.push_back(ilTileIntersection(tile, canvas_.GetSize()));
    update_.LayerContentChanged(layer, tiles, false);
}
