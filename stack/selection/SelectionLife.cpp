#include "stack/selection/SelectionLife.h"

#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"

#include <algorithm>
#include <cmath>

void SelectionLife::Set(Layer* mask)
{
    const StackEdit edit(stack_);
    const bool isUsable = mask == nullptr || (tree_.HoldingFolder(mask, nullptr) == nullptr && mask->GetImage() &&
                                              mask->GetImage()->GetNumChannels() == 1);
    if (mask == selection_.Get() || !isUsable)
        return;
    const bool wasCurrent = selection_.IsCurrent();
    const qs::Reference<Layer> old = selection_.Get();
    if (selection_.IsActive())
        canvas_.DamageLayer(*old);
    tree_.SetSelectionMask(mask);
    if (mask != nullptr)
        mask->VerifyAllLsHandle(tree_.GetInstance());
    if (selection_.IsActive())
        canvas_.DamageLayer(*mask);
    canvas_.MarkMaskStale();
    if (wasCurrent) {
        canvas_.MarkTreeStale();
        current_.Become(mask != nullptr ? mask : tree_.GetBottomLayer(kLayerModeImage));
    }
    current_.UpdateClip();
}

void SelectionLife::PutBack(Layer& mask) noexcept
{
    if (selection_.Get() == &mask)
        return;
    const bool wasCurrent = selection_.IsCurrent();
    tree_.SetSelectionMask(&mask);
    current_.ForgetPainter();
    canvas_.MarkMaskStale();
    if (wasCurrent) {
        tree_.SetCurrent(&mask);
        canvas_.SetTreeStale(true);
    }
}

void SelectionLife::Replace(const qs::Reference<ilSmartImage>& image)
{
    const qs::Reference<Layer> mask = MakeMask(image);
    mask->SetVisible(false);
    Set(mask.get());
    SetActive(false);
}

void SelectionLife::Clear(bool rebuild)
{
    const StackEdit edit(stack_);
    Replace(new ilSmartImage(ilPixel::Coverage(0)));
    if (rebuild)
        canvas_.RebuildCompositeMask();
    Show(rebuild);
}

void SelectionLife::Edit(const ilTile& onCanvas, bool rebuild, const std::function<void(ilMIOImage& mask)>& change)
{
    const StackEdit edit(stack_);
    if (selection_.Get()->InProxy())
        proxy_.End();
    ilMIOImage& mask = *selection_.Get()->GetImage();
    const qs::Reference<ilMIOImage> before = mask.Snapshot();
    try {
        change(mask);
    } catch (...) {
        mask.ShareAllFrom(*before);
        throw;
    }
    canvas_.MarkMaskStale();
    if (selection_.IsActive())
        canvas_.DamageTile(ilTileIntersection(onCanvas, canvas_.GetSize()));
    current_.UpdateClip();  // a selection begins, or ends, to be used with its first pixel
    Show(rebuild);
}

void SelectionLife::Show(bool rebuild)
{
    if (!rebuild)
        return;
    if (selection_.IsUsed())
        canvas_.RebuildCompositeMask();
    if (canvas_.GetDamage().anyDamaged())
        update_.ForceUpdate();
}

void SelectionLife::SetActive(bool active)
{
    const StackEdit edit(stack_);
    if (!selection_.Get())
        return;
    if (active) {
        selection_.Get()->SetMaskColor(properties_.selectionDisplayColor);
        selection_.Get()->SetMaskDisplayOpacity(properties_.selectionDisplayOpacity);
    }
    stack_.SetLayerVisible(tree_.GetSelectionMaskHandle(), active, false);
}

void SelectionLife::SetCurrent()
{
    const StackEdit edit(stack_);
    if (!selection_.Get() || selection_.IsCurrent())
        return;
    proxy_.End();
    current_.Become(selection_.Get());
    canvas_.MarkTreeStale();
    stack_.Notify(true);
    current_.UpdateBrushClippingRect();
    update_.ShowChange();
}

void SelectionLife::SetDisplayOpacity(float opacity)
{
    const StackEdit edit(stack_);
    if (std::isnan(opacity))
        return;
    properties_.selectionDisplayOpacity = std::clamp(opacity, 0.0F, 1.0F);
    if (!selection_.IsActive())
        return;
    selection_.Get()->SetMaskDisplayOpacity(properties_.selectionDisplayOpacity);
    redraw_.RebuildMask();
}

void SelectionLife::SetDisplayColor(const PaintColor& color)
{
    const StackEdit edit(stack_);
    properties_.selectionDisplayColor = color;
    properties_.selectionDisplayColor.Clamp();
    if (!selection_.IsActive())
        return;
    selection_.Get()->SetMaskColor(properties_.selectionDisplayColor);
    redraw_.RebuildMask();
}

qs::Reference<Layer> SelectionLife::MakeMask(const qs::Reference<ilSmartImage>& image) const
{
    const qs::Reference<Layer> mask(new Layer(image, {}, kLayerModeMask, kLayerTypeRaster, 0, 0));
    if (selection_.Get())
        mask->SetLayerContainerHandle(selection_.Get()->GetLayerContainerHandle());
    mask->SetLayerContainerName("Marquee");
    mask->SetMaskColor(properties_.selectionDisplayColor);
    mask->SetMaskDisplayOpacity(properties_.selectionDisplayOpacity);
    return mask;
}
