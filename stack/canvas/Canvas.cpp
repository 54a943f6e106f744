#include "stack/canvas/Canvas.h"

#include "layers/Layer.h"
#include "layers/LayerFolder.h"
#include "stack/tree/LayerTree.h"

#include <utility>

Canvas::Canvas(LayerStack& stack, LayerTree& tree) : stack_(stack), tree_(tree)
{
    composite_.SetOwner(&stack);
}

void Canvas::TakeCompositeFrom(Canvas& source) noexcept
{
    source.state_.isTreeStale = true;
    composite_.TakeFrom(source.composite_);
}

void Canvas::SetSize(const ilTile& size, bool clipToSize)
{
    state_.size = size;
    state_.clipToSize = clipToSize;
}

Canvas::ResumedScope::ResumedScope(Canvas& canvas)
    : canvas_(canvas), before_(std::exchange(canvas.state_.compositesSuspended, 0))
{}

Canvas::ResumedScope::~ResumedScope()
{
    canvas_.state_.compositesSuspended = before_;
}

void Canvas::DamageTile(const ilTile& tile)
{
    if (tile.IsEmpty())
        return;
    ++state_.damageSerial;
    state_.damage.DamageTile(tile);
}

void Canvas::DamageCanvas()
{
    DamageTile(state_.size);
}

ilTile Canvas::DamageOf(Layer& layer) const
{
    const qs::TempReference<ilMIOImage> image = layer.GetImage();
    if (!image)
        return {};
    // A fill value reaches as far as the canvas.
    return image->GetFillValue().GetPacked() != 0
               ? state_.size
               : ilTileIntersection(layer.getLayerBoundsInCanvasCoords(), state_.size);
}

void Canvas::DamageLayer(Layer& layer)
{
    DamageTile(DamageOf(layer));
}

ilTile Canvas::CanvasOn(const Layer& layer) const
{
    return layer.ToLayer(state_.size);
}

ilTile Canvas::CanvasOn(const PntHandle& handle) const
{
    const Layer* layer = tree_.GetLayerFromHandle(handle);
    if (layer == nullptr)
        return {};
    return layer->ToLayer(state_.size);
}

ilTile Canvas::ReachOf(Layer& layer) const
{
    const ilTile bounds = layer.getLayerBounds(true);
    return layer.GetImage()->GetFillValue().GetPacked() != 0 ? ilTileUnion(bounds, CanvasOn(layer)) : bounds;
}

void Canvas::TellChanged(Layer& layer)
{
    if (layer.isStencil())
        SetStencilCompositeDirty(layer.GetLayerContainerHandle());
    else if (layer.isMask())
        state_.isMaskStale = true;
    else
        composite_.CompositeBaseDirty(layer.GetLayerContainerHandle());
}

void Canvas::SetStencilCompositeDirty(const PntHandle& handle)
{
    Layer* layer = tree_.GetLayerFromHandle(handle);
    if (layer == nullptr)
        return;
    if (!layer->isStencil()) {
        layer->SetStencilCompositeDirty(true);
        composite_.CompositeBaseDirty(layer->GetLayerContainerHandle());
        return;
    }
    for (const PntHandle& ownerHandle : layer->GetOwnerLayerArray()) {
        if (Layer* owner = tree_.GetLayerFromHandle(ownerHandle))
            owner->SetStencilCompositeDirty(true);
        composite_.CompositeBaseDirty(ownerHandle);
    }
}

void Canvas::RefreshOwnersOfStencil(const Layer& stencil, const ilTile& onCanvas)
{
    for (const PntHandle& handle : stencil.GetOwnerLayerArray()) {
        Layer* owner = tree_.GetLayerFromHandle(handle);
        if (owner == nullptr)
            continue;
        owner->RefreshStencilComposite(owner->ToLayer(onCanvas));
        composite_.CompositeBaseDirty(handle, onCanvas);
    }
}

void Canvas::MarkTreeStale()
{
    state_.isTreeStale = true;
    DamageCanvas();
}

void Canvas::RebuildCompositeTree()
{
    composite_.MakeCompositeTree(&stack_, true);
    state_.isTreeStale = false;
    state_.isMaskStale = false;
}

void Canvas::RebuildCompositeMask()
{
    composite_.MakeCompositeMask(&stack_, true);
    state_.isMaskStale = false;
}

void Canvas::BringCompositeUpToDate()
{
    if (state_.isTreeStale) {
        composite_.MakeCompositeTree(&stack_, false);  // which drops the mask as well
        state_.isTreeStale = false;
        state_.isMaskStale = true;
    }
    if (state_.isMaskStale)
        RebuildCompositeMask();
}

bool Canvas::HasCompositeMask()
{
    if (state_.isMaskStale)
        RebuildCompositeMask();
    const qs::TempReference<ilSmartImage>& mask = composite_.GetCompositeMask();
    return mask && !mask->GetBounds().IsEmpty();
}

void Canvas::DistrustCaches() noexcept
{
    state_.isTreeStale = true;
    state_.isMaskStale = true;
    tree_.GetImageFolder()->SetStencilCompositeDirty(true);
    DamageCanvas();
}

void Canvas::ReleaseCachedImages()
{
    composite_.FreeData();
    state_.isMaskStale = true;
    // What is kept of the stencils is such an image too, and nobody tells a stack that is not shown of their changes.
    tree_.GetImageFolder()->SetStencilCompositeDirty(true);
}

void Canvas::ResumeComposites()
{
    if (--state_.compositesSuspended > 0)
        return;
    state_.compositesSuspended = 0;
    DamageCanvas();
}
