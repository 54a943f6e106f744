#include "stack/canvas/CanvasUpdate.h"

#include "layers/Layer.h"
#include "platform/imaging/blend/ComposePages.h"
#include "platform/imaging/painter/PaintOps.h"
#include "stack/DocumentProperties.h"
#include "stack/LayerStack.h"
#include "stack/LayerStackView.h"
#include "stack/StackPort.h"
#include "stack/canvas/Canvas.h"
#include "stack/canvas/CurrentLayer.h"
#include "stack/canvas/ImagePlane.h"
#include "stack/canvas/Views.h"
#include "stack/tree/LayerTree.h"

namespace {

/// Puts a tile back among the damage when its composition is cut short, as by missing memory.
class DamageGuard {
public:
    DamageGuard(Canvas& canvas, const ilTile& tile) : canvas_(canvas), tile_(tile) {}
    DamageGuard(const DamageGuard&) = delete;
    DamageGuard& operator=(const DamageGuard&) = delete;
    ~DamageGuard()
    {
        if (!isDone_)
            canvas_.DamageTile(tile_);
    }

    void SetDone() { isDone_ = true; }

private:
    Canvas& canvas_;
    ilTile tile_;
    bool isDone_ = false;
};

}  // namespace

CanvasUpdate::CanvasUpdate(LayerStack& stack, DocumentProperties& properties, LayerTree& tree, Canvas& canvas,
                           CurrentLayer& current, Views& views, ImagePlane& plane)
    : stack_(stack), properties_(properties), tree_(tree), canvas_(canvas), current_(current), views_(views),
      plane_(plane)
{}

bool CanvasUpdate::GetNextUpdateTile(ilTile& tile)
{
    tile = ilTile();
    if (current_.GetPainterAsLeft() == nullptr)
        return false;
    current_.DrainDamage();
    if (!canvas_.GetDamage().anyDamaged())
        return false;
    if (properties_.symmetry && properties_.symmetry->IsEnabled()) {
        // Symmetric strokes damage regions far apart, whose bounding tile would be most of the canvas.
        canvas_.GetDamage().nextDamaged(tile);
    } else {
        tile = canvas_.GetDamage().previewEntireDamaged();
        canvas_.GetDamage().Clear();
    }
    if (plane_.Get())
        tile = ilTileIntersection(tile, canvas_.GetSize());
    return true;
}

ilTile CanvasUpdate::PreviewUpdateTile()
{
    if (current_.GetPainterAsLeft() == nullptr)
        return {};
    current_.DrainDamage();
    return canvas_.GetDamage().previewEntireDamaged();
}

void CanvasUpdate::UpdateImagePlaneBits(bool overlay, PaintOps* target)
{
    if (canvas_.CompositesSuspended() || target == nullptr)
        return;
    const qs::Reference<PaintOps> kept(target);
    canvas_.BringCompositeUpToDate();
    ilTile tile;
    while (GetNextUpdateTile(tile)) {
        const ilTile onCanvas = ilTileIntersection(tile, canvas_.GetSize());
        if (onCanvas.IsEmpty())
            continue;
        DamageGuard guard(canvas_, onCanvas);
        ComposeTile(onCanvas, overlay, *target);
        guard.SetDone();
        views_.DamageTile(onCanvas);
    }
}

void CanvasUpdate::UpdateImagePlaneBits(bool overlay)
{
    if (tree_.GetCurrent() == nullptr || canvas_.CompositesSuspended() || canvas_.GetSize().IsEmpty())
        return;
    plane_.Allocate();
    UpdateImagePlaneBits(overlay, plane_.GetPainter().get());
}

void CanvasUpdate::ComposeTile(const ilTile& tile, bool overlay, PaintOps& target)
{
    if (ilMemoryImg* memory = target.target_img()->AsMemory()) {
        // Painting over a cleared tile is storing it. Straight from the sources: a composite in between would share
        // pages with the current layer, which the stroke's next stamp would then have to copy.
        canvas_.GetComposite().MakeCompositeIn(*memory, &stack_, tile);
    } else {
        canvas_.GetComposite().MakeComposite(&stack_, &tile);
        const qs::TempReference<ilSmartImage> picture = canvas_.GetComposite().GetCurrentComposite();
        target.blend_func(kFactorOne, kFactorZero);
        target.rect_fill(tile.x, tile.y, tile.nx, tile.ny, 0U);
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

void CanvasUpdate::DrawOverlay(const ilTile& tile, PaintOps& target)
{
    Layer& layer = *tree_.GetCurrent();
    if (layer.IsCoverage() && !layer.IsHardLinkToOwnerLayer()) {
        if (!layer.isVisible())
            return;
        const ilTile onLayer = layer.ToLayer(tile);
        if (const qs::TempReference<ilMIOImage> image = current_.ComposeTarget(&layer, onLayer, false))
            target.draw_image(tile.x, tile.y, tile.nx, tile.ny, *image, onLayer.x, onLayer.y);
        return;
    }
    if (canvas_.HasCompositeMask())
        target.draw_image(tile.x, tile.y, tile.nx, tile.ny, *canvas_.GetComposite().GetCompositeMask(), tile.x, tile.y);
}

qs::TempReference<ilImage> CanvasUpdate::GetUpdateImagePlaneBits(bool overlay)
{
    current_.GetPainterAsLeft();
    if (canvas_.CompositesSuspended() || tree_.GetCurrent() == nullptr || canvas_.GetSize().IsEmpty())
        return {};
    canvas_.RebuildCompositeTree();
    canvas_.DamageCanvas();
    const qs::Reference<ilSPMemoryImg> image(new ilSPMemoryImg(canvas_.GetSize().nx, canvas_.GetSize().ny, 4));
    UpdateImagePlaneBits(overlay, qs::Reference<PaintOps>(new PaintOps(image)).get());
    // The damage that went into the new image is still missing in the image plane.
    canvas_.DamageCanvas();
    ForceUpdate();
    return image;
}

void CanvasUpdate::ForceUpdate()
{
    UpdateImagePlaneBits();
    const qs::Reference<LayerStack> kept(stack_.GetRefCount() > 0 ? &stack_ : nullptr);
    if (kept && !views_.IsEmpty())
        GetStackPort().notices->Tell([this, kept] { ShowPlane(); });
    else
        ShowPlane();
}

void CanvasUpdate::ShowPlane()
{
    views_.Call([this](LayerStackView& view) {
        if (plane_.Get())
            view.UpdateView(plane_.Get());
    });
}

void CanvasUpdate::ShowChange()
{
    ForceUpdate();
    GetStackPort().CanvasUpdated();
}

void CanvasUpdate::UpdateViewer(LayerStackView* view)
{
    UpdateImagePlaneBits();
    if (plane_.Get() && views_.Has(view))
        view->UpdateView(plane_.Get());
}

void CanvasUpdate::LayerContentChanged(Layer& layer, const qs::vector<ilTile>& tiles, bool isMoved)
{
    if (isMoved) {
        layer.SetStencilCompositeDirty(true);
        canvas_.TellChanged(layer);
    } else if (layer.isStencil()) {
        for (const ilTile& tile : tiles)
            canvas_.RefreshOwnersOfStencil(layer, tile);
    } else if (layer.isMask()) {
        canvas_.MarkMaskStale();
    } else {
        ilTile all;
        for (const ilTile& tile : tiles)
            all = ilTileUnion(all, tile);
        canvas_.GetComposite().CompositeBaseDirty(layer.GetLayerContainerHandle(), all);
    }
    for (const ilTile& tile : tiles)
        canvas_.DamageTile(tile);
    if (&layer == tree_.GetCurrent())
        current_.GetPainter();
    else if (&layer == tree_.GetSelectionMask())
        current_.UpdateClip();
}

void CanvasUpdate::CheckTimerBasedUpdate()
{
    if (canvas_.IsTimerBased())
        views_.Call([](LayerStackView& view) { view.CheckTimerBasedUpdate(); });
}
