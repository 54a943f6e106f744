#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>
#include <cmath>

void LayerStack::PutBackSelectionMask(Layer& mask) noexcept
{
    if (parts_->selection.Get() == &mask)
        return;
    const bool wasCurrent = parts_->selection.IsCurrent();
    parts_->tree.SetSelectionMask(&mask);
    parts_->current.ForgetPainter();
    parts_->canvas.MarkMaskStale();
    if (wasCurrent) {
        parts_->tree.SetCurrent(&mask);
        parts_->canvas.SetTreeStale(true);
    }
}

void LayerStack::SetSelectionMask(Layer* mask)
{
    const StackEdit edit(*this);
    const bool isUsable = mask == nullptr || (parts_->tree.HoldingFolder(mask, nullptr) == nullptr &&
                                              mask->GetImage() && mask->GetImage()->GetNumChannels() == 1);
    if (mask == parts_->selection.Get() || !isUsable)
        return;
    const bool wasCurrent = parts_->selection.IsCurrent();
    const qs::Reference<Layer> old = parts_->selection.Get();
    if (parts_->selection.IsActive())
        parts_->canvas.DamageLayer(*old);
    parts_->tree.SetSelectionMask(mask);
    if (mask != nullptr)
        mask->VerifyAllLsHandle(parts_->tree.GetInstance());
    if (parts_->selection.IsActive())
        parts_->canvas.DamageLayer(*mask);
    parts_->canvas.MarkMaskStale();
    if (wasCurrent) {
        parts_->canvas.MarkTreeStale();
        parts_->current.Become(mask != nullptr ? mask : parts_->tree.GetBottomLayer(kLayerModeImage));
    }
    parts_->current.UpdateClip();
}

/// A selection mask over the image in the default colours, shown as layers are, with the handle of the one before:
/// whoever named the selection finds it again.
qs::Reference<Layer> LayerStack::NewSelectionMask(const qs::Reference<ilSmartImage>& image) const
{
    const qs::Reference<Layer> mask(new Layer(image, {}, kLayerModeMask, kLayerTypeRaster, 0, 0));
    if (parts_->selection.Get())
        mask->SetLayerContainerHandle(parts_->selection.Get()->GetLayerContainerHandle());
    mask->SetLayerContainerName("Marquee");
    mask->SetMaskColor(parts_->properties.selectionDisplayColor);
    mask->SetMaskDisplayOpacity(parts_->properties.selectionDisplayOpacity);
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
        parts_->canvas.RebuildCompositeMask();
    ShowSelection(rebuild);
}

/// Lets `change` edit the selection mask's image within `onCanvas`, or leaves it as it is when that fails.
void LayerStack::EditSelection(const ilTile& onCanvas, bool rebuild,
                               const std::function<void(ilMIOImage& mask)>& change)
{
    const StackEdit edit(*this);
    if (parts_->selection.Get()->InProxy())
        parts_->proxy.End();
    ilMIOImage& mask = *parts_->selection.Get()->GetImage();
    const qs::Reference<ilMIOImage> before = mask.Snapshot();
    try {
        change(mask);
    } catch (...) {
        mask.ShareAllFrom(*before);
        throw;
    }
    parts_->canvas.MarkMaskStale();
    if (parts_->selection.IsActive())
        parts_->canvas.DamageTile(ilTileIntersection(onCanvas, parts_->canvas.GetSize()));
    parts_->current.UpdateClip();  // a selection begins, or ends, to be used with its first pixel
    ShowSelection(rebuild);
}

void LayerStack::ShowSelection(bool rebuild)
{
    if (!rebuild)
        return;
    if (parts_->selection.IsUsed())
        parts_->canvas.RebuildCompositeMask();
    if (parts_->canvas.GetDamage().anyDamaged())
        parts_->update.ForceUpdate();
}

void LayerStack::SetSelectionMaskActive(bool active)
{
    const StackEdit edit(*this);
    if (!parts_->selection.Get())
        return;
    if (active) {
        parts_->selection.Get()->SetMaskColor(parts_->properties.selectionDisplayColor);
        parts_->selection.Get()->SetMaskDisplayOpacity(parts_->properties.selectionDisplayOpacity);
    }
    SetLayerVisible(parts_->tree.GetSelectionMaskHandle(), active, false);
}

void LayerStack::SetSelectionMaskCurrent()
{
    const StackEdit edit(*this);
    if (!parts_->selection.Get() || parts_->selection.IsCurrent())
        return;
    parts_->proxy.End();
    parts_->current.Become(parts_->selection.Get());
    parts_->canvas.MarkTreeStale();
    Notify(true);
    parts_->current.UpdateBrushClippingRect();
    parts_->update.ShowChange();
}

void LayerStack::SetSelectionDefaultDisplayOpacity(float opacity)
{
    const StackEdit edit(*this);
    if (std::isnan(opacity))
        return;
    parts_->properties.selectionDisplayOpacity = std::clamp(opacity, 0.0f, 1.0f);
    if (!parts_->selection.IsActive())
        return;
    parts_->selection.Get()->SetMaskDisplayOpacity(parts_->properties.selectionDisplayOpacity);
    parts_->redraw.RebuildMask();
}

void LayerStack::SetSelectionDefaultDisplayColor(const PaintColor& color)
{
    const StackEdit edit(*this);
    parts_->properties.selectionDisplayColor = color;
    parts_->properties.selectionDisplayColor.Clamp();
    if (!parts_->selection.IsActive())
        return;
    parts_->selection.Get()->SetMaskColor(parts_->properties.selectionDisplayColor);
    parts_->redraw.RebuildMask();
}

Layer* LayerStack::GetSelectionMask() const
{
    return parts_->tree.GetSelectionMask();
}

bool LayerStack::isSelectionMaskActive() const
{
    return parts_->selection.IsActive();
}

bool LayerStack::isSelectionMaskCurrent() const
{
    return parts_->selection.IsCurrent();
}

bool LayerStack::isSelectionMaskUsed() const
{
    return parts_->selection.IsUsed();
}

ilTile LayerStack::GetSelMaskBounds() const
{
    return parts_->selection.GetBounds();
}

void LayerStack::GetSelMaskOffset(int& x, int& y) const
{
    parts_->selection.GetOffset(x, y);
}

float LayerStack::GetSelectionDefaultDisplayOpacity() const
{
    return parts_->properties.selectionDisplayOpacity;
}

PaintColor LayerStack::GetSelectionDefaultDisplayColor() const
{
    return parts_->properties.selectionDisplayColor;
}

ilTile LayerStack::GetSelectionMaskBnd() const
{
    return parts_->selection.GetCanvasBounds();
}
