#include "platform/imaging/blend/ComposePages.h"
#include "stack/LayerStack.h"
#include "stack/LayerStackView.h"
#include "stack/StackPort.h"

#include <algorithm>
#include <utility>

namespace {

/// Puts a tile back among the damage when its composition is cut short, as by missing memory.
class DamageGuard {
public:
    DamageGuard(LayerStack& stack, const ilTile& tile) : stack_(stack), tile_(tile) {}
    DamageGuard(const DamageGuard&) = delete;
    DamageGuard& operator=(const DamageGuard&) = delete;
    ~DamageGuard()
    {
        if (!isDone_)
            stack_.DamageTile(tile_);
    }

    void SetDone() { isDone_ = true; }

private:
    LayerStack& stack_;
    ilTile tile_;
    bool isDone_ = false;
};

}  // namespace

// --- damage ---

void LayerStack::DamageTile(const ilTile& tile)
{
    if (tile.IsEmpty())
        return;
    ++damageSerial_;
    canvasDamage_.DamageTile(tile);
}

void LayerStack::DamageCanvas()
{
    DamageTile(size_);
}

void LayerStack::DistrustCaches() noexcept
{
    treeIsStale_ = true;
    maskIsStale_ = true;
    imageFolder_->SetStencilCompositeDirty(true);
    DamageCanvas();
}

void LayerStack::DrainPainterDamage()
{
    if (!currentPainter_ || currentLayer_ == nullptr)
        return;
    ilTile tile;
    while (currentPainter_->getNextDamagedTile(tile)) {
        const ilTile onCanvas = ilTileMoved(tile, currentLayer_->getXOffset(), currentLayer_->getYOffset());
        if (currentLayer_->isStencil())
            RefreshOwnersOfStencil(*currentLayer_, onCanvas);
        DamageTile(onCanvas);
    }
}

void LayerStack::RefreshOwnersOfStencil(const Layer& stencil, const ilTile& onCanvas)
{
    for (const PntHandle& handle : stencil.GetOwnerLayerArray()) {
        Layer* owner = GetLayerFromHandle(handle);
        if (owner == nullptr)
            continue;
        owner->RefreshStencilComposite(
            ilTileMoved(onCanvas, -int64_t{owner->getXOffset()}, -int64_t{owner->getYOffset()}));
        composite_.CompositeBaseDirty(handle, onCanvas);
    }
}

bool LayerStack::GetNextUpdateTile(ilTile& tile)
{
    tile = ilTile();
    if (GetCLP() == nullptr)
        return false;
    DrainPainterDamage();
    if (!canvasDamage_.anyDamaged())
        return false;
    if (symmetry_ && symmetry_->IsEnabled()) {
        // Symmetric strokes damage regions far apart, whose bounding tile would be most of the canvas.
        canvasDamage_.nextDamaged(tile);
    } else {
        tile = canvasDamage_.previewEntireDamaged();
        canvasDamage_.Clear();
    }
    if (imagePlane_)
        tile = ilTileIntersection(tile, size_);
    return true;
}

ilTile LayerStack::PreviewUpdateTile()
{
    if (GetCLP() == nullptr)
        return {};
    DrainPainterDamage();
    return canvasDamage_.previewEntireDamaged();
}

// --- the update pass ---

void LayerStack::UpdateImagePlaneBits(bool overlay, PaintOps* target)
{
    if (CompositesSuspended() || target == nullptr)
        return;
    const qs::Reference<PaintOps> kept(target);
    BringCompositeUpToDate();
    ilTile tile;
    while (GetNextUpdateTile(tile)) {
        const ilTile onCanvas = ilTileIntersection(tile, size_);
        if (onCanvas.IsEmpty())
            continue;
        DamageGuard guard(*this, onCanvas);
        ComposeTile(onCanvas, overlay, *target);
        guard.SetDone();
        TellViewsDamage(onCanvas);
    }
}

void LayerStack::ComposeTile(const ilTile& tile, bool overlay, PaintOps& target)
{
    if (ilMemoryImg* memory = target.target_img()->AsMemory()) {
        // Painting over a cleared tile is storing it. Straight from the sources: a composite in between would share
        // pages with the current layer, which the stroke's next stamp would then have to copy.
        composite_.MakeCompositeIn(*memory, this, tile);
    } else {
        composite_.MakeComposite(this, &tile);
        const qs::TempReference<ilSmartImage> picture = composite_.GetCurrentComposite();
        target.blend_func(kFactorOne, kFactorZero);
        target.rect_fill(tile.x, tile.y, tile.nx, tile.ny, 0u);
        target.blend_func(kFactorOne, kFactorOneMinusSourceAlpha);
        if (picture)
            target.draw_image(tile.x, tile.y, tile.nx, tile.ny, *picture, tile.x, tile.y);
    }
    if (overlay) {
        target.blend_func(kFactorOne, kFactorOneMinusSourceAlpha);
        DrawOverlay(tile, target);
    }
    target.blend_func(kFactorOne, kFactorZero);
}

void LayerStack::DrawOverlay(const ilTile& tile, PaintOps& target)
{
    Layer& layer = *currentLayer_;
    if ((layer.isMask() || layer.isStencil()) && !layer.IsHardLinkToOwnerLayer()) {
        if (!layer.isVisible())
            return;
        const ilTile onLayer = ilTileMoved(tile, -int64_t{layer.getXOffset()}, -int64_t{layer.getYOffset()});
        if (const qs::TempReference<ilMIOImage> image = GetLayerTargetImg(&layer, onLayer, false))
            target.draw_image(tile.x, tile.y, tile.nx, tile.ny, *image, onLayer.x, onLayer.y);
        return;
    }
    if (HasCompositeMask())
        target.draw_image(tile.x, tile.y, tile.nx, tile.ny, *composite_.GetCompositeMask(), tile.x, tile.y);
}

void LayerStack::UpdateImagePlaneBits(bool overlay)
{
    if (currentLayer_ == nullptr || CompositesSuspended() || size_.IsEmpty())
        return;
    AllocateCacheData();
    UpdateImagePlaneBits(overlay, imagePlanePainter_.get());
}

qs::TempReference<ilImage> LayerStack::GetUpdateImagePlaneBits(bool overlay)
{
    GetCLP();
    if (CompositesSuspended() || currentLayer_ == nullptr || size_.IsEmpty())
        return {};
    RebuildCompositeTree();
    DamageCanvas();
    const qs::Reference<ilSPMemoryImg> image(new ilSPMemoryImg(size_.nx, size_.ny, 4));
    UpdateImagePlaneBits(overlay, qs::Reference<PaintOps>(new PaintOps(image)).get());
    // The damage that went into the new image is still missing in the image plane.
    DamageCanvas();
    ForceUpdate();
    return image;
}

void LayerStack::ResumeComposites()
{
    if (--compositesSuspended_ > 0)
        return;
    compositesSuspended_ = 0;
    DamageCanvas();
}

// --- views ---

template <class Call>
void LayerStack::CallViews(Call&& call)
{
    // A view may end the last reference to this stack; one that is not shared yet has none to keep.
    const qs::Reference<LayerStack> kept(GetRefCount() > 0 ? this : nullptr);
    const qs::vector<LayerStackView*> present = viewers_;
    for (LayerStackView* view : present)
        if (IsViewer(view))
            call(*view);
}

bool LayerStack::IsViewer(const LayerStackView* view) const
{
    return std::find(viewers_.begin(), viewers_.end(), view) != viewers_.end();
}

void LayerStack::ForceUpdate()
{
    UpdateImagePlaneBits();
    const qs::Reference<LayerStack> kept(GetRefCount() > 0 ? this : nullptr);
    if (kept && !viewers_.empty())
        GetStackPort().notices->Tell([kept] { kept->ShowPlane(); });
    else
        ShowPlane();
}

void LayerStack::ShowPlane()
{
    CallViews([this](LayerStackView& view) {
        if (imagePlane_)
            view.UpdateView(imagePlane_);
    });
}

void LayerStack::UpdateViewer(LayerStackView* view)
{
    UpdateImagePlaneBits();
    if (imagePlane_ && IsViewer(view))
        view->UpdateView(imagePlane_);
}

void LayerStack::AddViewer(LayerStackView* view)
{
    if (view != nullptr && !IsViewer(view))
        viewers_.push_back(view);
}

void LayerStack::RemoveViewer(LayerStackView* view)
{
    std::erase(viewers_, view);
}

void LayerStack::TakeViewsFrom(qs::Reference<LayerStack> other)
{
    if (!other || other == this)
        return;
    viewers_ = std::exchange(other->viewers_, {});
    if (currentLayer_ == nullptr)  // nothing is composed then: what the views show may be another document's
        TellViewsDamage(size_);
}

void LayerStack::TellViewsDamage(const ilTile& onCanvas)
{
    for (LayerStackView* view : viewers_)
        view->DamageTile(onCanvas);
}

void LayerStack::TakePresentationFrom(LayerStack& other)
{
    if (!imagePlane_ && other.imagePlane_ && size_ == other.size_) {
        imagePlanePainter_ = other.imagePlanePainter_;
        imagePlane_ = other.imagePlane_;
        if (currentLayer_ == nullptr)  // nothing is composed then, and the plane of a new document is blank
            imagePlane_->fillTile(size_, ilPixel(kUnsignedByte, 4));
        DamageCanvas();
    }
    // Who suspended the document holds a handle, whatever version of it answers to that.
    if (instance_ == other.instance_)
        compositesSuspended_ = other.compositesSuspended_;
}

void LayerStack::BeginTimerBasedUpdate(int intervalMs)
{
    CallViews([intervalMs](LayerStackView& view) { view.BeginTimerBasedUpdate(intervalMs); });
}

void LayerStack::EndTimerBasedUpdate()
{
    CallViews([](LayerStackView& view) { view.EndTimerBasedUpdate(); });
}

void LayerStack::CheckTimerBasedUpdate()
{
    if (timerBasedUpdate_)
        CallViews([](LayerStackView& view) { view.CheckTimerBasedUpdate(); });
}
