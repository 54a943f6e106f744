#include "stack/edits/LayerSwitch.h"

#include "stack/StackPort.h"
#include "stack/StackRooms.h"
#include "stack/edits/StackEdit.h"

void LayerSwitch::SetCurrent(const PntHandle& handle, bool redraw, bool splitFlag, bool force)
{
    const StackEdit edit(stack_);
    LayerContainer* container = tree_.GetLayerContainerFromHandle(handle);
    Layer* layer = dynamic_cast<Layer*>(container);
    if (const LayerFolder* folder = dynamic_cast<LayerFolder*>(container))
        layer = folder->GetCacheCurrentLC();
    if (layer == tree_.GetCurrent() || (layer == nullptr && !force))
        return;

    const auto isCoverage = [](const Layer* one) { return one != nullptr && one->IsCoverage(); };
    const bool hadCompositeMask = canvas_.HasCompositeMask();
    const bool wasCoverage = isCoverage(tree_.GetCurrent());

    proxy_.End();
    current_.Become(layer);
    const PntHandle current = tree_.GetCurrentHandle();
    GetStackPort().ContainerState(current);
    const uint64_t damageBefore = canvas_.GetDamageSerial();
    if (!canvas_.IsTreeStale())
        canvas_.GetComposite().SplitCompositeTreeByRefLCH(&stack_, current, redraw, splitFlag);
    else if (splitFlag)
        stack_.Notify(true);
    canvas_.RebuildCompositeMask();
    current_.UpdateBrushClippingRect();
    if (layer != nullptr)
        layer->SetStencilCompositeDirty(true);

    const bool overlayChanges = wasCoverage || isCoverage(layer) || hadCompositeMask || canvas_.HasCompositeMask() ||
                                properties_.showCurrentLayerOnly;
    if (overlayChanges)
        canvas_.DamageCanvas();
    if (redraw && (overlayChanges || canvas_.GetDamageSerial() != damageBefore))
        update_.ForceUpdate();
    if (redraw && overlayChanges)
        GetStackPort().CanvasUpdated();
}
