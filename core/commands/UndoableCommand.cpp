#include "core/commands/UndoableCommand.h"

#include "core/PaintSession.h"
#include "platform/base/Attempt.h"
#include "undo/PntUndoCombo.h"
#include "undo/UndoStore.h"

#include <algorithm>

UndoableCommand::UndoableCommand(PaintSession& session, int layerStack, const char* name)
    : session_(session),
      stackHandle_(layerStack == kCurrentLayerStack ? session.registry.GetCurrentHandle() : layerStack), name_(name)
{}

UndoableCommand::UndoableCommand(PaintSession& session, const PntHandle& container, const char* name)
    : UndoableCommand(session, session.registry.FindHolder(container), name)
{}

bool UndoableCommand::IsRecording(const PaintSession& session)
{
    return PaintUndoDatabase() != nullptr && session.manager.UndoEnable();
}

UndoableCommand& UndoableCommand::SetIsMove()
{
    isMove_ = true;
    return *this;
}

void UndoableCommand::Keep(PaintSession& session, const qs::Reference<PntUndoOper>& step, const char* name)
{
    if (step) {
        step->SetName(name);
        step->SetComplete();
    }
    KeepOpen(session, step);
}

void UndoableCommand::KeepOpen(PaintSession& session, const qs::Reference<PntUndoOper>& step)
{
    PntUndoDatabase* database = PaintUndoDatabase();
    if (database == nullptr || !step)
        return;
    const Notices::Question question(session.notices);  // the host's callback hears of the step
    database->GarbageCollect();
    database->AddUndoOperation(step);
}

qs::Reference<PntUndoLayerStack> UndoableCommand::RecordStructure(PaintSession& session, int stackHandle)
{
    const qs::Reference<LayerStack> stack = session.registry.Get(stackHandle);
    if (!stack)
        return {};
    const qs::Reference<PntUndoLayerStack> record(new PntUndoLayerStack(&session.manager, stackHandle,
                                                                        stack->GetCurrentLayerContainerHandle(), stack,
                                                                        stack->GetCurrentLayerPtr(), "MioLayerStack"));
    return session.registry.Get(stackHandle) == record->GetNewLayerStack().get() ? record : nullptr;
}

/// The document, with nothing under way on it; null for none, and in the middle of another command.
qs::Reference<LayerStack> UndoableCommand::Enter(bool endsCurrentProxy)
{
    if (!session_.MayEdit())
        return {};
    if (endsCurrentProxy)
        session_.EndCurrentProxy();
    if (const qs::Reference<LayerStack> stack = session_.registry.Get(stackHandle_)) {
        session_.stroker.EndOn(stack.get());
        stack->EndProxy();
    }
    return session_.registry.Get(stackHandle_);  // the ends of stroke and proxy called the host
}

qs::Reference<PntUndoStroke> UndoableCommand::CapturePixels(LayerStack& stack, std::span<const PntHandle> layers)
{
    qs::vector<PntHandle> handles;
    qs::vector<Layer*> found;
    for (const PntHandle& handle : layers) {
        Layer* layer = stack.GetLayerFromHandle(handle);
        if (layer == nullptr || std::find(found.begin(), found.end(), layer) != found.end())
            continue;
        handles.push_back(layer->GetLayerContainerHandle());
        found.push_back(layer);
    }
    if (found.empty())
        return {};
    return new PntUndoStroke(&session_.manager, stackHandle_, handles, &stack, found, "MioStroke");
}

bool UndoableCommand::ChangePixels(std::span<const PntHandle> layers, Operation operation)
{
    return Guarded(false, [&] {
        const qs::Reference<LayerStack> stack = Enter(true);
        if (!stack)
            return false;
        Notices::Scope hold(session_.notices);
        const qs::Reference<PntUndoStroke> step = CapturePixels(*stack, layers);
        if (!step)
            return false;
        if (isMove_)
            step->SetIsMove();
        bool isDone = false;
        const bool isThrough = Attempt([&] {
            isDone = operation(*stack);
            if (isDone && IsRecording(session_) && step->HasChanges())
                Keep(session_, step, name_);
        });
        if (!isThrough) {
            step->RollBack();
            hold.Drop();
        } else if (isDone) {
            session_.UpdateProcessedLayerImage();
        }
        return isThrough && isDone;
    });
}

bool UndoableCommand::ChangeSelection(Operation operation)
{
    return Guarded(false, [&] {
        const qs::Reference<LayerStack> stack = session_.registry.Get(stackHandle_);
        if (!stack || !session_.MayEdit())
            return false;
        if (stack->GetSelectionMask() == nullptr)
            stack->ClearSelectionMask(false);  // as if it had been there, empty
        return ChangePixels(stack->GetSelectionMaskHandle(), operation);
    });
}

bool UndoableCommand::ChangeStructure(Operation operation)
{
    return Guarded(false, [&] { return Enter(false) && RunStructural({}, operation); });
}

bool UndoableCommand::Merge(std::span<const PntHandle> receivers, Operation operation)
{
    return Guarded(false, [&] { return Enter(true) && RunStructural(receivers, operation); });
}

/// Runs the operation on what has the document's place; takes everything back when it does nothing or fails.
bool UndoableCommand::RunStructural(std::span<const PntHandle> receivers, Operation operation)
{
    Notices::Scope hold(session_.notices);
    qs::Reference<PntUndoStroke> pixels;
    qs::Reference<PntUndoLayerStack> structure;
    if (IsRecording(session_)) {
        // On the document as it is now: undone, it is this one that has the place when the pixels come back.
        pixels = CapturePixels(*session_.registry.Get(stackHandle_), receivers);
        structure = RecordStructure(session_, stackHandle_);
        if (!structure)
            return false;
    }
    const qs::Reference<LayerStack> stack = session_.registry.Get(stackHandle_);
    bool isDone = false;
    const bool isThrough = Attempt([&] {
        isDone = operation(*stack);
        if (isDone && structure)
            Keep(session_,
                 pixels ? qs::Reference<PntUndoOper>(new PntUndoCombo("MioCombo", false, false, structure, pixels))
                        : qs::Reference<PntUndoOper>(structure),
                 name_);
    });
    if (isDone && isThrough) {
        session_.UpdateProcessedLayerImage();
        return true;
    }
    if (structure)
        structure->Cancel();
    if (pixels && !isThrough)
        pixels->RollBack();
    if (!isThrough)
        stack->DistrustCaches();
    hold.Drop();
    return false;
}
