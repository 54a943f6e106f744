#include "layers/DocumentPort.h"
#include "platform/imaging/blend/ImageBlend.h"
#include "platform/imaging/blend/ImageConvert.h"
#include "platform/imaging/pages/PageWalk.h"
#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>

namespace {

qs::Reference<ilSmartImage> SharedCopy(const Layer& layer)
{
    return qs::Reference<ilSmartImage>(new ilSmartImage(*layer.GetImage(), 0, 0));
}

/// Inverts the colours within `area` through a coverage whose (0, 0) lies on pixel (x, y).
void InvertColorsThrough(const qs::Reference<ilSmartImage>& image, const ilTile& area,
                         const qs::TempReference<ilMIOImage>& coverage, int x, int y)
{
    qs::vector<ilTile> parts;
    const auto collect = [&](int px, int py, const auto&) {
        const ilTile part = ilTileIntersection(area, PageTile(px, py));
        if (ContentOver(*image, part) != PageContent::Transparent &&
            ContentOver(*coverage, ilTileMoved(part, -int64_t{x}, -int64_t{y})) != PageContent::Transparent)
            parts.push_back(part);
    };
    if (image->GetFillValue().GetPacked() != 0)
        ForEachPage(area, collect);
    else
        image->VisitPages(area, collect);
    const qs::Reference<PaintOps> painter(new PaintOps(image));
    painter->set_paint_mode(PaintOps::PaintMode::ColorInvert);
    painter->set_clip_image(coverage, x, y);
    for (const ilTile& part : parts)
        painter->rect_fill(part.x, part.y, part.nx, part.ny, 0u);
}

/// A layer about to be mirrored: everything that can run out of memory is made before anything changes.
struct Mirrored {
    qs::Reference<Layer> layer;
    qs::Reference<ilSmartImage> pixels;
    ilTile bounds;  // on the canvas
};

}  // namespace

void LayerStack::BeginEdit()
{
    parts_->proxy.End();
    parts_->current.DrainDamage();
}

void LayerStack::EndStructuralEdit(bool redraw)
{
    parts_->canvas.MarkMaskStale();
    parts_->canvas.MarkTreeStale();
    parts_->current.GetPainter();
    if (redraw)
        parts_->update.ForceUpdate();
    Notify(true);
}

qs::Reference<Layer> LayerStack::BeginPixelEdit(const PntHandle& handle)
{
    BeginEdit();
    const qs::Reference<Layer> layer = parts_->tree.GetLayerFromHandle(handle);
    return layer && layer->GetImage() && layer->GetLayerType() == kLayerTypeRaster ? layer : nullptr;
}

void LayerStack::EndPixelEdit(Layer& layer, const ilTile& canvasTile)
{
    parts_->canvas.TellChanged(layer);
    parts_->canvas.DamageTile(ilTileIntersection(canvasTile, parts_->canvas.GetSize()));
    parts_->current.GetPainter();
    parts_->update.ShowChange();
}

bool LayerStack::ClearCurrentLayer()
{
    const StackEdit edit(*this);
    const qs::Reference<Layer> layer = BeginPixelEdit(kCurrentLayerHandle);
    if (!layer)
        return false;
    const ilTile before = parts_->canvas.DamageOf(*layer);
    layer->TakePixels(ilSmartImage(ilPixel(kUnsignedByte, layer->GetImage()->GetNumChannels())));
    EndPixelEdit(*layer, before);
    return true;
}

bool LayerStack::ClearLayerImageByRect(const PntHandle& handle, const ilTile& canvasTile)
{
    const StackEdit edit(*this);
    const qs::Reference<Layer> layer = canvasTile.IsEmpty() ? nullptr : BeginPixelEdit(handle);
    if (!layer)
        return false;
    const ilTile onLayer = ilTileMoved(canvasTile, -int64_t{layer->getXOffset()}, -int64_t{layer->getYOffset()});
    const qs::Reference<ilSmartImage> cleared = SharedCopy(*layer);
    cleared->fillTile(ilTileIntersection(onLayer, parts_->canvas.ReachOf(*layer)),
                      ilPixel(kUnsignedByte, cleared->GetNumChannels()));
    layer->TakePixels(*cleared);
    EndPixelEdit(*layer, canvasTile);
    return true;
}

bool LayerStack::ClearLayerImageBySelMask(const PntHandle& handle)
{
    const StackEdit edit(*this);
    const qs::Reference<Layer> layer = BeginPixelEdit(handle);
    if (!layer || layer == parts_->selection.Get() || !parts_->selection.IsUsed())
        return false;
    const qs::Reference<ilSmartImage> cleared = SharedCopy(*layer);
    const ilTile area = parts_->canvas.ReachOf(*layer);
    const ilTile onSelection = ilTileMoved(area, int64_t{layer->getXOffset()} - parts_->selection.Get()->getXOffset(),
                                           int64_t{layer->getYOffset()} - parts_->selection.Get()->getYOffset());
    HideThrough(*cleared, area, *parts_->selection.Get()->GetImage(), onSelection.x, onSelection.y,
                kernels::kFullWeight);
    layer->TakePixels(*cleared);
    EndPixelEdit(*layer, parts_->canvas.DamageOf(*parts_->selection.Get()));
    return true;
}

bool LayerStack::InvertLayer(const PntHandle& handle, LayerMode mode)
{
    const StackEdit edit(*this);
    const qs::Reference<Layer> layer = BeginPixelEdit(handle);
    if (!layer || layer == parts_->selection.Get() || layer->GetLayerMode() != mode)
        return false;
    if (mode != kLayerModeImage) {
        layer->InvertMask();
        layer->InvertStencil();
    } else if (!parts_->selection.IsUsed()) {
        layer->InvertImageLayer();
    } else {
        const qs::Reference<ilSmartImage> inverted = SharedCopy(*layer);
        const ilTile origin(parts_->selection.Get()->getXOffset(), parts_->selection.Get()->getYOffset(), 1, 1);
        const ilTile onLayer = ilTileMoved(origin, -int64_t{layer->getXOffset()}, -int64_t{layer->getYOffset()});
        InvertColorsThrough(inverted, parts_->canvas.ReachOf(*layer), parts_->selection.Get()->GetImage(), onLayer.x,
                            onLayer.y);
        layer->TakePixels(*inverted);
    }
    EndPixelEdit(*layer, mode == kLayerModeImage ? parts_->canvas.DamageOf(*layer) : parts_->canvas.GetSize());
    return true;
}

bool LayerStack::InvertImageLayer(const PntHandle& handle)
{
    return InvertLayer(handle, kLayerModeImage);
}

bool LayerStack::InvertMaskLayer(const PntHandle& handle)
{
    return InvertLayer(handle, kLayerModeMask);
}

bool LayerStack::InvertStencilLayer(const PntHandle& handle)
{
    return InvertLayer(handle, kLayerModeStencil);
}

qs::vector<PntHandle> LayerStack::GetLayersFlippedWith(const PntHandle& handle) const
{
    if (parts_->tree.GetLayerFromHandle(handle) == nullptr)
        return {};
    qs::vector<PntHandle> flipped = parts_->groups.GetTransformTargets(handle);
    const auto append = [&](const PntHandle& follower) {
        if (parts_->tree.GetLayerFromHandle(follower)->IsHardLinkToOwnerLayer() &&
            std::find(flipped.begin(), flipped.end(), follower) == flipped.end())
            flipped.push_back(follower);
    };
    for (size_t i = 0, count = flipped.size(); i < count; ++i) {
        const qs::vector<PntHandle> masks = parts_->tree.GetMaskLayers(flipped[i]);
        const qs::vector<PntHandle> stencils = parts_->tree.GetStencilLayers(flipped[i]);
        std::for_each(masks.begin(), masks.end(), append);
        std::for_each(stencils.begin(), stencils.end(), append);
    }
    std::erase_if(flipped, [&](const PntHandle& one) {
        const Layer* found = parts_->tree.GetLayerFromHandle(one);
        return found == nullptr || !found->GetImage() || found->GetLayerType() != kLayerTypeRaster;
    });
    return flipped;
}

bool LayerStack::FlipImageLayer(const PntHandle& handle, bool horizontal, bool vertical)
{
    const StackEdit edit(*this);
    BeginEdit();
    if (!horizontal && !vertical)
        return false;
    qs::vector<Mirrored> all;
    const qs::vector<PntHandle> members = parts_->groups.GetTransformTargets(handle);
    ilTile area;  // of the members; all is mirrored within it, also what only follows them
    for (const PntHandle& name : GetLayersFlippedWith(handle)) {
        const qs::Reference<Layer> layer = parts_->tree.GetLayerFromHandle(name);
        const ilTile bounds = layer->getLayerBoundsInCanvasCoords();
        if (bounds.IsEmpty())
            continue;
        all.push_back({layer, layer->MakeFlippedImage(horizontal, vertical), bounds});
        if (std::find(members.begin(), members.end(), name) != members.end())
            area = ilTileUnion(area, bounds);
    }
    if (area.IsEmpty())
        return false;
    for (const auto& [layer, pixels, bounds] : all) {
        const ilTile origin(layer->getXOffset(), layer->getYOffset(), 1, 1);
        const ilTile moved =
            ilTileMoved(origin, horizontal ? int64_t{area.x} - bounds.x + area.Right() - bounds.Right() : 0,
                        vertical ? int64_t{area.y} - bounds.y + area.Bottom() - bounds.Bottom() : 0);
        parts_->canvas.DamageLayer(*layer);
        layer->TakePixels(*pixels);
        layer->SetOffset(moved.x, moved.y, LayerStackTransform(), true);
        parts_->canvas.TellChanged(*layer);
        parts_->canvas.DamageLayer(*layer);
    }
    parts_->current.GetPainter();
    parts_->update.ShowChange();
    return true;
}

bool LayerStack::ReplaceLayerImage(const PntHandle& handle, qs::TempReference<ilImage> image)
{
    const StackEdit edit(*this);
    const qs::Reference<Layer> layer = image ? BeginPixelEdit(handle) : nullptr;
    if (!layer || image->GetNumChannels() != layer->GetImage()->GetNumChannels())
        return false;
    const ilTile before = parts_->canvas.DamageOf(*layer);
    if (const ilMIOImage* paged = image->AsPaged())
        image = qs::Reference<ilImage>(new ilSmartImage(*paged, 0, 0));
    layer->SetImage(image);
    EndPixelEdit(*layer, ilTileUnion(before, parts_->canvas.DamageOf(*layer)));
    return true;
}
