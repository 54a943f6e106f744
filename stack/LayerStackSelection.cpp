#include "stack/LayerStack.h"
#include "stack/StackEdit.h"
#include "stack/StackPort.h"

#include <algorithm>
#include <cmath>

void LayerStack::PutBackSelectionMask(Layer& mask) noexcept
{
    if (selectionMask_ == &mask)
        return;
    const bool wasCurrent = isSelectionMaskCurrent();
    selectionMask_.reset(&mask);
    currentPainter_ = nullptr;
    maskIsStale_ = true;
    if (wasCurrent) {
        currentLayer_ = &mask;
        treeIsStale_ = true;
    }
}

void LayerStack::SetSelectionMask(Layer* mask)
{
    const StackEdit edit(*this);
    const bool isUsable = mask == nullptr || (HoldingFolder(mask, nullptr) == nullptr && mask->GetImage() &&
                                              mask->GetImage()->GetNumChannels() == 1);
    if (mask == selectionMask_ || !isUsable)
        return;
    const bool wasCurrent = isSelectionMaskCurrent();
    const qs::Reference<Layer> old = selectionMask_;
    if (isSelectionMaskActive())
        DamageLayer(*old);
    selectionMask_.reset(mask);
    if (mask != nullptr)
        mask->VerifyAllLsHandle(instance_);
    if (isSelectionMaskActive())
        DamageLayer(*mask);
    maskIsStale_ = true;
    if (wasCurrent) {
        MarkTreeStale();
        BecomeCurrent(mask != nullptr ? mask : GetBottomLayer(kLayerModeImage));
    }
    UpdatePainterClip();
}

/// A selection mask over the image in the default colours, shown as layers are, with the handle of the one before:
/// whoever named the selection finds it again.
qs::Reference<Layer> LayerStack::NewSelectionMask(const qs::Reference<ilSmartImage>& image) const
{
    const qs::Reference<Layer> mask(new Layer(image, {}, kLayerModeMask, kLayerTypeRaster, 0, 0));
    if (selectionMask_)
        mask->SetLayerContainerHandle(selectionMask_->GetLayerContainerHandle());
    mask->SetLayerContainerName("Marquee");
    mask->SetMaskColor(selectionDisplayColor_);
    mask->SetMaskDisplayOpacity(selectionDisplayOpacity_);
    return mask;
}

void LayerStack::ReplaceSelection(const qs::Reference<ilSmartImage>& image)
{
    const qs::Reference<Layer> mask = NewSelectionMask(image);
    mask->SetVisible(false);
    SetSelectionMask(mask.get());
    SetSelectionMaskActive(false);
}

void LayerStack::ClearSelectionMask(bool rebuild)
{
    const StackEdit edit(*this);
    ReplaceSelection(new ilSmartImage(ilPixel::Coverage(0)));
    if (rebuild)
        RebuildCompositeMask();
    ShowSelection(rebuild);
}

/// Lets `change` edit the selection mask's image within `onCanvas`, or leaves it as it is when that fails.
void LayerStack::EditSelection(const ilTile& onCanvas, bool rebuild,
                               const std::function<void(ilMIOImage& mask)>& change)
{
    const StackEdit edit(*this);
    if (selectionMask_->InProxy())
        EndProxy();
    ilMIOImage& mask = *selectionMask_->GetImage();
    const qs::Reference<ilMIOImage> before = mask.Snapshot();
    try {
        change(mask);
    } catch (...) {
        mask.ShareAllFrom(*before);
        throw;
    }
    maskIsStale_ = true;
    if (isSelectionMaskActive())
        DamageTile(ilTileIntersection(onCanvas, size_));
    UpdatePainterClip();  // a selection begins, or ends, to be used with its first pixel
    ShowSelection(rebuild);
}

void LayerStack::ShowSelection(bool rebuild)
{
    if (!rebuild)
        return;
    if (isSelectionMaskUsed())
        RebuildCompositeMask();
    if (canvasDamage_.anyDamaged())
        ForceUpdate();
}

ilTile LayerStack::OnSelection(const ilTile& onCanvas) const
{
    return ilTileMoved(onCanvas, -int64_t{selectionMask_->getXOffset()}, -int64_t{selectionMask_->getYOffset()});
}

void LayerStack::SetSelectionMaskActive(bool active)
{
    const StackEdit edit(*this);
    if (!selectionMask_)
        return;
    if (active) {
        selectionMask_->SetMaskColor(selectionDisplayColor_);
        selectionMask_->SetMaskDisplayOpacity(selectionDisplayOpacity_);
    }
    SetLayerVisible(GetSelectionMaskHandle(), active, false);
}

bool LayerStack::isSelectionMaskActive() const
{
    return selectionMask_ && selectionMask_->isVisible();
}

void LayerStack::SetSelectionMaskCurrent()
{
    const StackEdit edit(*this);
    if (!selectionMask_ || isSelectionMaskCurrent())
        return;
    EndProxy();
    BecomeCurrent(selectionMask_.get());
    MarkTreeStale();
    Notify(true);
    UpdateBrushClippingRect();
    ShowChange();
}

bool LayerStack::isSelectionMaskCurrent() const
{
    return currentLayer_ != nullptr && currentLayer_ == selectionMask_.get();
}

bool LayerStack::isSelectionMaskUsed() const
{
    return isSelectionMaskActive() && !isSelectionMaskCurrent() && selectionMask_->GetImage() &&
           !GetSelMaskBounds().IsEmpty();
}

ilTile LayerStack::GetSelMaskBounds() const
{
    return selectionMask_ && selectionMask_->GetImage() ? ReachOf(*selectionMask_) : ilTile();
}

void LayerStack::GetSelMaskOffset(int& x, int& y) const
{
    if (selectionMask_)
        selectionMask_->GetOffset(x, y);
}

void LayerStack::SetSelectionDefaultDisplayOpacity(float opacity)
{
    const StackEdit edit(*this);
    if (std::isnan(opacity))
        return;
    selectionDisplayOpacity_ = std::clamp(opacity, 0.0f, 1.0f);
    if (!isSelectionMaskActive())
        return;
    selectionMask_->SetMaskDisplayOpacity(selectionDisplayOpacity_);
    RebuildMaskAndRedrawEntireCanvas();
}

void LayerStack::SetSelectionDefaultDisplayColor(const PaintColor& color)
{
    const StackEdit edit(*this);
    selectionDisplayColor_ = color;
    selectionDisplayColor_.Clamp();
    if (!isSelectionMaskActive())
        return;
    selectionMask_->SetMaskColor(selectionDisplayColor_);
    RebuildMaskAndRedrawEntireCanvas();
}
