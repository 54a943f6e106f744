#include "platform/imaging/painter/MaskingPaintOps.h"
#include "stack/LayerStack.h"
#include "stack/StackParts.h"
#include "stack/StackPort.h"
#include "stack/edits/StackEdit.h"

void LayerStack::SetCurrentLayer(const PntHandle& handle, bool redraw, bool splitFlag, bool force)
{
    const StackEdit edit(*this);
    LayerContainer* container = parts_->tree.GetLayerContainerFromHandle(handle);
    Layer* layer = dynamic_cast<Layer*>(container);
    if (const LayerFolder* folder = dynamic_cast<LayerFolder*>(container))
        layer = folder->GetCacheCurrentLC();
    if (layer == parts_->tree.GetCurrent() || (layer == nullptr && !force))
        return;

    const auto isCoverage = [](const Layer* one) { return one != nullptr && (one->isMask() || one->isStencil()); };
    const bool hadCompositeMask = parts_->canvas.HasCompositeMask();
    const bool wasCoverage = isCoverage(parts_->tree.GetCurrent());

    parts_->proxy.End();
    parts_->current.Become(layer);
    const PntHandle current = parts_->tree.GetCurrentHandle();
    GetStackPort().ContainerState(current);
    const uint64_t damageBefore = parts_->canvas.GetDamageSerial();
    if (!parts_->canvas.IsTreeStale())
        parts_->canvas.GetComposite().SplitCompositeTreeByRefLCH(this, current, redraw, splitFlag);
    else if (splitFlag)
        Notify(true);
    parts_->canvas.RebuildCompositeMask();
    parts_->current.UpdateBrushClippingRect();
    if (layer != nullptr)
        layer->SetStencilCompositeDirty(true);

    const bool overlayChanges = wasCoverage || isCoverage(layer) || hadCompositeMask ||
                                parts_->canvas.HasCompositeMask() || parts_->properties.showCurrentLayerOnly;
    if (overlayChanges)
        parts_->canvas.DamageCanvas();
    if (redraw && (overlayChanges || parts_->canvas.GetDamageSerial() != damageBefore))
        parts_->update.ForceUpdate();
    if (redraw && overlayChanges)
        GetStackPort().CanvasUpdated();
}
