#include "undo/PntUndoLayerStack.h"

#include "platform/base/Attempt.h"
#include "stack/StackPort.h"
#include "undo/UndoPort.h"

#include <climits>
#include <new>

PntUndoLayerStack::PntUndoLayerStack(PaintManager* manager, int stackHandle, const PntHandle& handle,
                                     qs::Reference<LayerStack> stack, Layer* layer, const char* id)
    : PntUndoLayer(manager, stackHandle, handle, stack.get(), layer, id)
{
    SetID("MioLayerStack");
    if (!stack)
        return;
    newStack_ = new LayerStack(stack);
    GetUndoPort().ReplaceLayerStack(manager, newStack_, GetLayerStackHandle());
}

int PntUndoLayerStack::GetBytesUsed()
{
    return SumOfBytes(GetAllocatedBytes(), sizeof(PntUndoLayerStack));
}

int PntUndoLayerStack::GetAllocatedBytes()
{
    constexpr int64_t kOwnBytes = 1424;
    const qs::Reference<LayerStack>& stack = GetLayerStack();
    if (!stack)
        return SumOfBytes(PntUndoLayer::GetAllocatedBytes(), kOwnBytes);
    int64_t layers = 0;
    for (const LayerMode mode : {kLayerModeImage, kLayerModeMask, kLayerModeStencil}) {
        qs::vector<LayerContainer*> contents;
        stack->GetLayerFolder(mode)->GetLCArray_FLATTEN(&contents);
        for (const LayerContainer* container : contents)
            layers += dynamic_cast<const Layer*>(container) != nullptr ? 1 : 0;
    }
    // A canvas has at most 2^31 pixels by itself, so that only the product with the layers can be too large.
    return SumOfBytes(PntUndoLayer::GetAllocatedBytes(), kOwnBytes + 4 * layers * stack->GetSize().Area());
}

void PntUndoLayerStack::Archive(PntUndoDatabase* database)
{
    newStack_ = nullptr;
    PntUndoLayer::Archive(database);
}

/// The place is empty, as after the document was closed, or holds a version of the same document.
bool PntUndoLayerStack::CanTakePlace(const qs::Reference<LayerStack>& stack) const
{
    const qs::Reference<LayerStack> present = GetPresent();
    return stack && (!present || present->GetLsInstanceHandle() == stack->GetLsInstanceHandle());
}

qs::Reference<LayerStack> PntUndoLayerStack::GetPresent() const
{
    return GetUndoPort().GetLayerStack(GetPaintCore(), GetLayerStackHandle());
}

/// Puts the stack in its place, and returns what was there (null for nothing); null as well when it is refused.
qs::Reference<LayerStack> PntUndoLayerStack::Restore(const qs::Reference<LayerStack>& stack)
{
    const UndoPort& port = GetUndoPort();
    return Guarded(qs::Reference<LayerStack>(), [&] {
        if (!CanTakePlace(stack) || !port.FinishStroke() || !port.MayRestore(GetPaintCore(), GetLayerStackHandle()))
            return qs::Reference<LayerStack>();
        const qs::Reference<LayerStack> before = GetPresent();  // the host may have changed it meanwhile
        if (!CanTakePlace(stack))
            return qs::Reference<LayerStack>();
        if (before)
            before->EndProxy();
        port.ReplaceLayerStack(GetPaintCore(), stack, GetLayerStackHandle());
        if (GetPresent() != stack)
            return qs::Reference<LayerStack>();
        Attempt([&] { stack->RebuildAllAndRedrawEntireCanvas(); });
        GetStackPort().CanvasUpdated();
        return before;
    });
}

void PntUndoLayerStack::UndoOper()
{
    const qs::Reference<PntUndoOper> kept(this);
    const qs::Reference<LayerStack> old = GetLayerStack();
    const qs::Reference<LayerStack> before = Restore(old);
    // Redo leads back to what there was, even if it was exchanged without a record since the edit.
    if (before && before != old && newStack_)
        newStack_ = before;
}

void PntUndoLayerStack::RedoOper()
{
    const qs::Reference<PntUndoOper> kept(this);
    Restore(qs::Reference<LayerStack>(newStack_));
}

void PntUndoLayerStack::Cancel()
{
    const UndoPort& port = GetUndoPort();
    const qs::Reference<LayerStack> stack = GetLayerStack();
    if (stack && newStack_ && port.GetLayerStack(GetPaintCore(), GetLayerStackHandle()) == newStack_)
        port.ReplaceLayerStack(GetPaintCore(), stack, GetLayerStackHandle());
}
