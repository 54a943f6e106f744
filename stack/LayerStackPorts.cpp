#include "stack/LayerStackPorts.h"

#include "composite/CompositePort.h"
#include "platform/imaging/painter/MaskingPaintOps.h"
#include "stack/LayerStack.h"

namespace {

Layer* UsedSelectionMask(LayerStack* stack)
{
    return stack->isSelectionMaskUsed() ? stack->GetSelectionMask() : nullptr;
}

bool FillCompositePort()
{
    GetCompositePort() = {
        .GetImageFolder = [](LayerStack* stack) { return stack->GetLayerFolder(kLayerModeImage); },
        .GetCurrentLayer = [](LayerStack* stack) { return stack->GetCurrentLayerPtr(); },
        .GetContainer = [](LayerStack* stack,
                           const PntHandle& handle) { return stack->GetLayerContainerFromHandle(handle); },
        .GetLayer = [](LayerStack* stack, const PntHandle& handle) { return stack->GetLayerFromHandle(handle); },
        .GetOwnerArray = [](LayerStack* stack, const PntHandle& handle) { return stack->getOwnerArray(handle); },
        .GetMaskLayers = [](LayerStack* stack, const PntHandle& owner) { return stack->getMaskLayers(owner); },
        .GetSize = [](LayerStack* stack) { return stack->GetSize(); },
        .CompositesSuspended = [](LayerStack* stack) { return stack->CompositesSuspended(); },
        .IsShowCurrentLayerOnly = [](LayerStack* stack) { return stack->GetShowCurrentLayerOnly(); },
        .AreMasksShown = [](LayerStack* stack) { return stack->GetMaskVisible() && !stack->GetMaskDisable(); },
        .GetUsedSelectionMask = UsedSelectionMask,
        .GetMaskingPainter = [](LayerStack* stack) { return stack->GetMaskingPainter(); },
        .Notify = [](LayerStack* stack, bool edited) { stack->Notify(edited); },
        .DamageTile = [](LayerStack* stack, const ilTile& tile) { stack->DamageTile(tile); },
    };
    return true;
}

}  // namespace

void InstallStackPorts()
{
    [[maybe_unused]] static const bool isFilled = FillCompositePort();
}
