#include "platform/imaging/painter/MaskingPaintOps.h"
#include "stack/LayerStack.h"
#include "stack/StackEdit.h"
#include "stack/StackPort.h"

void LayerStack::BecomeCurrent(Layer* layer)
{
    DrainPainterDamage();
    currentLayer_ = layer;
    currentPainter_ = nullptr;
    maskIsStale_ = true;  // it shows the masks of the current layer
    GetCurrentLayerPainter();
    RememberCurrentInFolder();
}

void LayerStack::RememberCurrentInFolder()
{
    LayerFolder* holding = HoldingFolder(currentLayer_, nullptr);
    if (holding != nullptr && !IsTopFolder(holding))
        holding->SetCacheCurrentLC(currentLayer_->GetLayerContainerHandle());
}

void LayerStack::SetCurrentLayer(const PntHandle& handle, bool redraw, bool splitFlag, bool force)
{
    const StackEdit edit(*this);
    LayerContainer* container = GetLayerContainerFromHandle(handle);
    Layer* layer = dynamic_cast<Layer*>(container);
    if (const LayerFolder* folder = dynamic_cast<LayerFolder*>(container))
        layer = folder->GetCacheCurrentLC();
    if (layer == currentLayer_ || (layer == nullptr && !force))
        return;

    const auto isCoverage = [](const Layer* one) { return one != nullptr && (one->isMask() || one->isStencil()); };
    const bool hadCompositeMask = HasCompositeMask();
    const bool wasCoverage = isCoverage(currentLayer_);

    EndProxy();
    BecomeCurrent(layer);
    const PntHandle current = GetCurrentLayerContainerHandle();
    GetStackPort().ContainerState(current);
    const uint64_t damageBefore = damageSerial_;
    if (!treeIsStale_)
        composite_.SplitCompositeTreeByRefLCH(this, current, redraw, splitFlag);
    else if (splitFlag)
        Notify(true);
    RebuildCompositeMask();
    UpdateBrushClippingRect();
    if (layer != nullptr)
        layer->SetStencilCompositeDirty(true);

    const bool overlayChanges =
        wasCoverage || isCoverage(layer) || hadCompositeMask || HasCompositeMask() || showCurrentLayerOnly_;
    if (overlayChanges)
        DamageCanvas();
    if (redraw && (overlayChanges || damageSerial_ != damageBefore))
        ForceUpdate();
    if (redraw && overlayChanges)
        GetStackPort().CanvasUpdated();
}

PaintOps* LayerStack::GetCurrentLayerPainter()
{
    if (currentLayer_ == nullptr) {
        currentPainter_ = nullptr;
        return nullptr;
    }
    // Binding the painter to an image that was exchanged forgets what it had damaged in the old one.
    DrainPainterDamage();
    currentPainter_ = currentLayer_->GetPainter();
    UpdateBrushClippingRect();
    UpdatePainterClip();
    return currentPainter_.get();
}

PaintOps* LayerStack::GetCLP()
{
    const bool isBound =
        currentPainter_ && currentLayer_ != nullptr && currentPainter_->target_img() == currentLayer_->GetImage().get();
    return isBound ? currentPainter_.get() : GetCurrentLayerPainter();
}

MaskingPaintOps* LayerStack::GetMaskingPainter() const
{
    auto* painter = dynamic_cast<MaskingPaintOps*>(currentPainter_.get());
    return painter != nullptr && painter->IsMasking() ? painter : nullptr;
}

void LayerStack::UpdateBrushClippingRect()
{
    if (currentPainter_)
        currentPainter_->SetBrushClippingRect(GetLayerStackBndInLayerCoord(kCurrentLayerHandle));
}

void LayerStack::UpdatePainterClip()
{
    if (!currentPainter_)
        return;
    if (!isSelectionMaskUsed()) {
        currentPainter_->set_clip_image({});
        return;
    }
    int x = selectionMask_->getXOffset();
    int y = selectionMask_->getYOffset();
    LayerStackToLayerCoords(x, y, kCurrentLayerHandle);
    currentPainter_->set_clip_image(selectionMask_->GetImage(), x, y);
}

void LayerStack::ResetCurrentPainter()
{
    if (PaintOps* painter = GetCurrentLayerPainter())
        painter->set_clip_image({});
}

void LayerStack::setMarkerBlend(bool on)
{
    if (PaintOps* painter = GetCLP())
        painter->SetMarkerBlend(on);
}

void LayerStack::setMarkerWetness(float wetness)
{
    if (PaintOps* painter = GetCLP())
        painter->SetMarkerWetness(wetness);
}

qs::TempReference<ilMIOImage> LayerStack::GetLayerTargetImg(Layer* layer, const ilTile& tile, bool full)
{
    if (layer == nullptr)
        return {};
    const MaskingPaintOps* stroke = layer == currentLayer_ ? GetMaskingPainter() : nullptr;
    if (stroke == nullptr)
        return layer->GetStencilledImage(&tile, full);

    const bool isCoverage = layer->isMask() || layer->isStencil();
    const qs::Reference<ilSmartImage> composed(new ilSmartImage(ilPixel(kUnsignedByte, isCoverage ? 1 : 4)));
    stroke->ComposeOperation(*composed, tile);
    CleanStencilImg_spf();
    stencilScratchPainter_->blend_func(kFactorOne, kFactorOneMinusSourceAlpha);
    float weight = full ? 1.0f : layer->GetOpacity();
    if (isCoverage) {
        stencilScratchPainter_->SetCoverageColor(layer->GetMaskColor().Premultiplied());
        weight = layer->GetMaskDisplayOpacity();
    }
    stencilScratchPainter_->draw_image(tile.x, tile.y, tile.nx, tile.ny, *composed, tile.x, tile.y, 1, 1, 1, weight);
    layer->DoStencil(&tile, stencilScratchPainter_.get());
    return stencilScratch_;
}

void LayerStack::CleanStencilImg_spf()
{
    stencilScratch_.reset(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    stencilScratchPainter_.reset(new PaintOps(stencilScratch_));
}
