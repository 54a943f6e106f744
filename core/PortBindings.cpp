#include "core/PortBindings.h"

#include "core/HostCalls.h"
#include "core/PaintManager.h"
#include "layers/DocumentPort.h"
#include "stack/StackPort.h"
#include "undo/UndoPort.h"

namespace {

struct NeutralPorts {
    DocumentPort document = GetDocumentPort();
    StackPort stack = GetStackPort();
    UndoPort undo = GetUndoPort();
};

/// As they were before the first binding.
const NeutralPorts& GetNeutralPorts()
{
    static const NeutralPorts ports;
    return ports;
}

Layer* FindLayer(const PntHandle& handle)
{
    const qs::Reference<LayerStack> stack = PaintCore.LayerStackFromHandle(handle);
    return stack ? stack->GetLayerFromHandle(handle) : nullptr;
}

using Neighbour = Layer* (LayerStack::*)(Layer*) const;

PntHandle FindNeighbour(const PntHandle& handle, Neighbour neighbour)
{
    const qs::Reference<LayerStack> stack = PaintCore.LayerStackFromHandle(handle);
    const Layer* found = stack ? ((*stack).*neighbour)(stack->GetLayerFromHandle(handle)) : nullptr;
    return found != nullptr ? found->GetLayerContainerHandle() : kNullHandle;
}

using Followers = qs::vector<PntHandle> (LayerStack::*)(const PntHandle&) const;

qs::vector<PntHandle> FindFollowers(const PntHandle& owner, Followers followers)
{
    const qs::Reference<LayerStack> stack = PaintCore.LayerStackFromHandle(owner);
    return stack ? ((*stack).*followers)(owner) : qs::vector<PntHandle>();
}

qs::vector<PntHandle> GetContainerHandles(int layerStack, int mode)
{
    return PaintCore.GetLayerContainerHandles(static_cast<LayerMode>(mode), false, layerStack);
}

int GetUsedSlotFrom(int from)
{
    for (int i = from > 0 ? from : 0; i < PaintManager::kMaxLayerStacks; ++i)
        if (PaintCore.CheckLayerStackHandle(i))
            return i;
    return -1;
}

/// By the bare pointer: a document that asks while it is being constructed has no references yet.
int GetStackHandle(const LayerStack* stack)
{
    for (int i = GetUsedSlotFrom(0); i >= 0; i = GetUsedSlotFrom(i + 1))
        if (PaintCore.GetLayerStack(i) == stack)
            return i;
    return -1;
}

int GetDebugLevel()
{
    const auto entry = PaintCore.CB()->DebugLevelCB;
    return entry != nullptr ? entry() : 0;
}

PaintColor GetDefaultBackgroundColor()
{
    const auto entry = PaintCore.CB()->DefaultBackgroundColorCB;
    PaintColor color = entry != nullptr ? entry() : PaintColor(1, 1, 1, 1);
    color.Clamp();
    return color;
}

bool FinishStroke()
{
    PaintCore.EndBrushStroke();
    return !PaintCore.InBrushStroke();
}

/// The manager that a record was made with; one made without any belongs to the process's.
PaintManager& Of(PaintManager* manager)
{
    return manager != nullptr ? *manager : PaintCore;
}

bool MayRestore(PaintManager* manager, int stackHandle)
{
    PntHandle restored = Of(manager).GetCurrentLayerContainerHandle(stackHandle);
    const auto entry = Of(manager).CB()->UndoRestoreCB;
    return entry == nullptr || entry(stackHandle, restored);
}

void BindUndoPort()
{
    GetUndoPort() = {
        .GetLayerStack = [](PaintManager* manager, int handle) { return Of(manager).GetLayerStack(handle); },
        .GetLayerStackHandle =
            [](PaintManager* manager, const qs::Reference<LayerStack>& stack) {
                return Of(manager).GetLayerStackHandle(stack);
            },
        .GetCurrentLayerStack = [](PaintManager* manager) { return Of(manager).GetCurrentLayerStack(); },
        .GetCurrentContainer = [](PaintManager* manager,
                                  int handle) { return Of(manager).GetCurrentLayerContainerHandle(handle); },
        .ReplaceLayerStack = [](PaintManager* manager, const qs::Reference<LayerStack>& stack,
                                int handle) { Of(manager).ReplaceLayerStack(stack, handle); },
        .FinishStroke = FinishStroke,
        .ContentChanged = [](PaintManager* manager) { Of(manager).UpdateProcessedLayerImage(); },
        .MayRestore = MayRestore,
        .Message = [](const char* text) { CallHost(PaintCore.CB()->MessageCB, -1, -1, 16, 0, text); },
    };
}

}  // namespace

void BindPorts()
{
    GetNeutralPorts();
    GetDocumentPort() = {
        .FindLayer = FindLayer,
        .GetMaskLayers = [](const PntHandle& owner) { return FindFollowers(owner, &LayerStack::getMaskLayers); },
        .GetStencilLayers = [](const PntHandle& owner) { return FindFollowers(owner, &LayerStack::getStencilLayers); },
        .IsHandleValid = [](const PntHandle& handle) { return PaintCore.isLayerContainerHandleValid(handle); },
        .GetPreviousLayer =
            [](const PntHandle& handle) { return FindNeighbour(handle, &LayerStack::GetPreviousLayer); },
        .GetNextLayer = [](const PntHandle& handle) { return FindNeighbour(handle, &LayerStack::GetNextLayer); },
        .GetContainerHandles = GetContainerHandles,
        .GetLayerStackCount = [] { return PaintCore.GetLayerStackCount(); },
        .GetUsedSlotFrom = GetUsedSlotFrom,
        .LayerImageChanged = [](const PntHandle& handle) { CallHost(PaintCore.CB()->LayerImageChangedCB, handle); },
        .ContainerRemoved =
            [](const PntHandle& handle) {
                PaintCore.ContainerRemovedSignal.Emit(PaintCore.GetCurrentLayerStack(), handle);
            },
        .GetDebugLevel = GetDebugLevel,
    };
    GetStackPort() = {
        .DefaultBackgroundColor = GetDefaultBackgroundColor,
        .CanvasUpdated = [] { CallHost(PaintCore.CB()->CanvasUpdatedCB); },
        .StackEdited = [](bool edited) { CallHost(PaintCore.CB()->StackEditedCB, edited); },
        .StackChanged = [](bool changed) { PaintCore.StackChangedSignal.Emit(changed); },
        .ContainerAdded =
            [](int stackHandle, const PntHandle& container) {
                PaintCore.ContainerAddedSignal.Emit(stackHandle, container);
            },
        .ContainerState = [](const PntHandle& container) { PaintCore.ContainerStateSignal.Emit(container); },
        .LayerRenamed = [](const PntHandle& container) { CallHost(PaintCore.CB()->LayerRenamedCB, container); },
        .TransformGroup = [](const PntHandle& layer) { PaintCore.TransformGroupSignal.Emit(layer); },
        .GetStackHandle = GetStackHandle,
    };
    BindUndoPort();
}

void UnbindPorts()
{
    GetDocumentPort() = GetNeutralPorts().document;
    GetStackPort() = GetNeutralPorts().stack;
    GetUndoPort() = GetNeutralPorts().undo;
}
