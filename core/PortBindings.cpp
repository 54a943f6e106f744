#include "core/PortBindings.h"

#include "core/HostCalls.h"
#include "core/PaintSession.h"
#include "layers/DocumentPort.h"
#include "platform/base/Attempt.h"
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

PaintSession& Session()
{
    return PaintSession::Of(PaintCore);
}

/// Tells the host when the document has settled, with values as they are now.
template <class Call>
void Tell(Call call)
{
    Session().notices.Tell(std::move(call));
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
    // A command that takes itself back comes here while it holds all notices.
    if (Session().notices.IsAsking())
        return false;
    PaintCore.EndBrushStroke();
    // A fill whose preview stays is a step as well, and the newest then.
    for (int i = GetUsedSlotFrom(0); i >= 0; i = GetUsedSlotFrom(i + 1))
        if (const qs::Reference<LayerStack> stack = PaintCore.GetLayerStack(i))
            Attempt([&] { stack->EndProxy(); });
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
    const Notices::Question question(Session().notices);
    return entry == nullptr || entry(stackHandle, restored);
}

/// A document that comes back into an empty place is open again.
void PutDocument(PaintSession& session, const qs::Reference<LayerStack>& stack, int handle)
{
    const bool wasOpen = session.registry.Get(handle) != nullptr;
    session.ReplaceDocument(stack, handle);
    if (!wasOpen && session.registry.Get(handle) != nullptr)
        session.registry.CountAdded();
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
                                int handle) { PutDocument(PaintSession::Of(Of(manager)), stack, handle); },
        .CloseLayerStack = [](PaintManager* manager, int handle) { Of(manager).DeleteLayerStack(handle, false); },
        .FinishStroke = FinishStroke,
        .ContentChanged = [](PaintManager* manager) { PaintSession::Of(Of(manager)).UpdateProcessedLayerImage(); },
        .MayRestore = MayRestore,
        .Message =
            [](const char* text) {
                int result = 0;
                CallHost(PaintCore.CB()->MessageCB, -1, -1, 16, &result, text);
            },
    };
}

}  // namespace

void BindPorts()
{
    GetNeutralPorts();
    // Whatever it was that could not be told, the documents are other ones now.
    GetNeutralPorts().stack.notices->SetLostCall([] {
        CallHost(PaintCore.CB()->StackEditedCB, true);
        PaintCore.StackChangedSignal.Emit(true);
    });
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
        .LayerImageChanged =
            [](const PntHandle& handle) { Tell([handle] { CallHost(PaintCore.CB()->LayerImageChangedCB, handle); }); },
        .ContainerRemoved =
            [](const PntHandle& handle) {
                Tell([handle, stack = PaintCore.GetCurrentLayerStack()] {
                    PaintCore.ContainerRemovedSignal.Emit(stack, handle);
                });
            },
        .GetDebugLevel = GetDebugLevel,
    };
    GetStackPort() = {
        .DefaultBackgroundColor = GetDefaultBackgroundColor,
        .CanvasUpdated = [] { Tell([] { CallHost(PaintCore.CB()->CanvasUpdatedCB); }); },
        .StackEdited = [](bool edited) { Tell([edited] { CallHost(PaintCore.CB()->StackEditedCB, edited); }); },
        .StackChanged = [](bool changed) { Tell([changed] { PaintCore.StackChangedSignal.Emit(changed); }); },
        .ContainerAdded =
            [](int stackHandle, const PntHandle& container) {
                Tell([stackHandle, container] { PaintCore.ContainerAddedSignal.Emit(stackHandle, container); });
            },
        .ContainerState =
            [](const PntHandle& container) { Tell([container] { PaintCore.ContainerStateSignal.Emit(container); }); },
        .LayerRenamed =
            [](const PntHandle& container) {
                Tell([container] { CallHost(PaintCore.CB()->LayerRenamedCB, container); });
            },
        .OpacityRestored =
            [](const PntHandle& container, float opacity) {
                Tell([container, opacity] { PaintCore.OpacitySignal.Emit(container, opacity); });
            },
        .TransformGroup = [](const PntHandle& layer) { Tell([layer] { PaintCore.TransformGroupSignal.Emit(layer); }); },
        .GetStackHandle = GetStackHandle,
        .notices = GetNeutralPorts().stack.notices,
    };
    BindUndoPort();
}

void UnbindPorts()
{
    GetDocumentPort() = GetNeutralPorts().document;
    GetStackPort() = GetNeutralPorts().stack;
    GetUndoPort() = GetNeutralPorts().undo;
    GetNeutralPorts().stack.notices->SetLostCall({});
}
