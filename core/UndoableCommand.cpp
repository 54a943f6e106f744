#include "core/UndoableCommand.h"

#include "core/BrushStroker.h"
#include "platform/base/Attempt.h"
#include "undo/PntUndoCombo.h"
#include "undo/UndoStore.h"

#include <algorithm>

UndoableCommand::UndoableCommand(PaintManager& manager, BrushStroker& stroker, int layerStack)
    : manager_(manager), stroker_(stroker),
      stackHandle_(layerStack == PaintManager::kCurrentLayerStack ? manager.GetCurrentLayerStack() : layerStack)
{}

UndoableCommand::UndoableCommand(PaintManager& manager, BrushStroker& stroker, const PntHandle& container)
    : UndoableCommand(manager, stroker, manager.GetCurrentLayerStack(container))
{}

bool UndoableCommand::IsRecording(PaintManager& manager)
{
    return PaintUndoDatabase() != nullptr && manager.UndoEnable();
}

void UndoableCommand::Keep(const qs::Reference<PntUndoOper>& step)
{
    PntUndoDatabase* database = PaintUndoDatabase();
    if (database == nullptr || !step)
        return;
    database->GarbageCollect();
    database->AddUndoOperation(step);
}

/// The document, with nothing under way on it; null for none.
qs::Reference<LayerStack> UndoableCommand::Enter()
{
    if (const qs::Reference<LayerStack> stack = manager_.GetLayerStack(stackHandle_))
        stroker_.EndOn(stack.get());
    // Once more: the end of a stroke calls the host.
    qs::Reference<LayerStack> stack = manager_.GetLayerStack(stackHandle_);
    if (stack)
        stack->EndProxy();
    return stack;
}

qs::Reference<PntUndoStroke> UndoableCommand::CapturePixels(LayerStack& stack, const qs::vector<PntHandle>& layers)
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
    return new PntUndoStroke(&manager_, stackHandle_, handles, &stack, found, "MioStroke");
}

bool UndoableCommand::ChangePixels(const qs::vector<PntHandle>& layers, const Operation& operation)
{
    return Guarded(false, [&] {
        manager_.EndProxy();
        const qs::Reference<LayerStack> stack = Enter();
        const qs::Reference<PntUndoStroke> step = stack ? CapturePixels(*stack, layers) : nullptr;
        if (!step)
            return false;
        bool isDone = false;
        if (!Attempt([&] { isDone = operation(*stack); })) {
            step->UndoOper();
            return false;
        }
        if (!isDone)
            return false;
        if (IsRecording(manager_) && step->HasChanges())
            Keep(step);
        manager_.UpdateProcessedLayerImage();
        return true;
    });
}

bool UndoableCommand::ChangeSelection(const Operation& operation)
{
    return Guarded(false, [&] {
        const qs::Reference<LayerStack> stack = manager_.GetLayerStack(stackHandle_);
        if (!stack)
            return false;
        if (stack->GetSelectionMask() == nullptr)
            stack->ClearSelectionMask(false);  // as if it had been there, empty
        return ChangePixels({stack->GetSelectionMaskHandle()}, operation);
    });
}

/// Runs the operation on what has the document's place now. Takes everything back when it does nothing or fails.
bool UndoableCommand::RunOnCopy(PntUndoLayerStack* structure, PntUndoStroke* pixels, const Operation& operation)
{
    const qs::Reference<LayerStack> stack = manager_.GetLayerStack(stackHandle_);
    bool isDone = false;
    const bool isThrough = Attempt([&] { isDone = stack && operation(*stack); });
    if (isDone && isThrough)
        return true;
    if (structure != nullptr)
        structure->Cancel();
    if (pixels != nullptr && !isThrough)
        pixels->UndoOper();
    return false;
}

bool UndoableCommand::ChangeStructure(const Operation& operation)
{
    return Guarded(false, [&] {
        if (!Enter())
            return false;
        qs::Reference<PntUndoLayerStack> step;
        if (IsRecording(manager_)) {
            step = manager_.AddUndoLayerStack(stackHandle_, false);
            if (!step)
                return false;
        }
        if (!RunOnCopy(step.get(), nullptr, operation))
            return false;
        Keep(step);
        manager_.UpdateProcessedLayerImage();
        return true;
    });
}

bool UndoableCommand::Merge(const qs::vector<PntHandle>& receivers, const Operation& operation)
{
    return Guarded(false, [&] {
        manager_.EndProxy();
        const qs::Reference<LayerStack> stack = Enter();
        if (!stack)
            return false;
        qs::Reference<PntUndoStroke> pixels;
        qs::Reference<PntUndoLayerStack> structure;
        if (IsRecording(manager_)) {
            // On the document as it is now: undone, it is this one that has the place when the pixels come back.
            pixels = CapturePixels(*stack, receivers);
            structure = manager_.AddUndoLayerStack(stackHandle_, false);
            if (!structure)
                return false;
        }
        if (!RunOnCopy(structure.get(), pixels.get(), operation))
            return false;
        if (structure)
            Keep(new PntUndoCombo("MioCombo", false, false, structure, pixels));
        manager_.UpdateProcessedLayerImage();
        return true;
    });
}
