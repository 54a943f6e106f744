#include "stack/canvas/CurrentLayer.h"

#include "layers/Layer.h"
#include "platform/imaging/painter/MaskingPaintOps.h"
#include "stack/canvas/Canvas.h"
#include "stack/selection/SelectionMask.h"
#include "stack/tree/LayerTree.h"

void CurrentLayer::FreeScratch()
{
    scratchPainter_ = nullptr;
    scratch_ = nullptr;
}

void CurrentLayer::Become(Layer* layer)
{
    DrainDamage();
    tree_.SetCurrent(layer);
    painter_ = nullptr;
    canvas_.MarkMaskStale();  // it shows the masks of the current layer
    GetPainter();
    tree_.RememberCurrentInFolder();
}

PaintOps* CurrentLayer::GetPainter()
{
    if (tree_.GetCurrent() == nullptr) {
        painter_ = nullptr;
        return nullptr;
    }
    // Binding the painter to an image that was exchanged forgets what it had damaged in the old one.
    DrainDamage();
    painter_ = tree_.GetCurrent()->GetPainter();
    UpdateBrushClippingRect();
    UpdateClip();
    return painter_.get();
}

PaintOps* CurrentLayer::GetPainterAsLeft()
{
    const bool isBound =
        painter_ && tree_.GetCurrent() != nullptr && painter_->target_img() == tree_.GetCurrent()->GetImage().get();
    return isBound ? painter_.get() : GetPainter();
}

MaskingPaintOps* CurrentLayer::GetMaskingPainter() const
{
    auto* painter = dynamic_cast<MaskingPaintOps*>(painter_.get());
    return painter != nullptr && painter->IsMasking() ? painter : nullptr;
}

void CurrentLayer::UpdateBrushClippingRect()
{
    if (painter_)
        painter_->SetBrushClippingRect(canvas_.CanvasOn(kCurrentLayerHandle));
}

void CurrentLayer::UpdateClip()
{
    if (!painter_)
        return;
    if (!selection_.IsUsed()) {
        painter_->set_clip_image({});
        return;
    }
    int x = selection_.Get()->getXOffset();
    int y = selection_.Get()->getYOffset();
    tree_.ToLayer(x, y, kCurrentLayerHandle);
    painter_->set_clip_image(selection_.Get()->GetImage(), x, y);
}

void CurrentLayer::ResetPainter()
{
    if (PaintOps* painter = GetPainter())
        painter->set_clip_image({});
}

void CurrentLayer::DrainDamage()
{
    if (!painter_ || tree_.GetCurrent() == nullptr)
        return;
    ilTile tile;
    while (painter_->getNextDamagedTile(tile)) {
        const ilTile onCanvas = tree_.GetCurrent()->ToCanvas(tile);
        if (tree_.GetCurrent()->isStencil())
            canvas_.RefreshOwnersOfStencil(*tree_.GetCurrent(), onCanvas);
        canvas_.DamageTile(onCanvas);
    }
}

void CurrentLayer::SetMarkerBlend(bool on)
{
    if (PaintOps* painter = GetPainterAsLeft())
        painter->SetMarkerBlend(on);
}

void CurrentLayer::SetMarkerWetness(float wetness)
{
    if (PaintOps* painter = GetPainterAsLeft())
        painter->SetMarkerWetness(wetness);
}

qs::TempReference<ilMIOImage> CurrentLayer::ComposeTarget(Layer* layer, const ilTile& tile, bool full)
{
    if (layer == nullptr)
        return {};
    const MaskingPaintOps* stroke = layer == tree_.GetCurrent() ? GetMaskingPainter() : nullptr;
    if (stroke == nullptr)
        return layer->GetStencilledImage(&tile, full);

    const bool isCoverage = layer->IsCoverage();
    const qs::Reference<ilSmartImage> composed(new ilSmartImage(ilPixel(kUnsignedByte, isCoverage ? 1 : 4)));
    stroke->ComposeOperation(*composed, tile);
    CleanScratch();
    scratchPainter_->blend_func(kFactorOne, kFactorOneMinusSourceAlpha);
    float weight = full ? 1.0F : layer->GetOpacity();
    if (isCoverage) {
        scratchPainter_->SetCoverageColor(layer->GetMaskColor().Premultiplied());
        weight = layer->GetMaskDisplayOpacity();
    }
    scratchPainter_->draw_image(tile.x, tile.y, tile.nx, tile.ny, *composed, tile.x, tile.y, 1, 1, 1, weight);
    layer->DoStencil(&tile, scratchPainter_.get());
    return scratch_;
}

void CurrentLayer::CleanScratch()
{
    scratch_.reset(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    scratchPainter_.reset(new PaintOps(scratch_));
}
