#include "undo/PntUndoLayerStack.h"

#include "platform/base/Attempt.h"
#include "platform/imaging/pages/PageAccount.h"
#include "stack/StackPort.h"
#include "undo/UndoPort.h"

#include <climits>
#include <utility>

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

void PntUndoLayerStack::CountReleased(PageAccount& account) const
{
    if (account.Drop(newStack_.get()))
        newStack_->CountReleased(account);
    PntUndoLayer::CountReleased(account);
}

void PntUndoLayerStack::Archive(PntUndoDatabase* database)
{
    newStack_ = nullptr;
    left_.reset();
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

bool PntUndoLayerStack::MayRestore() const
{
    return GetUndoPort().FinishStroke() && GetUndoPort().MayRestore(GetPaintCore(), GetLayerStackHandle());
}

void PntUndoLayerStack::SetComplete() noexcept
{
    if (!left_ && newStack_)
        Attempt([this] { left_.emplace(*newStack_); });
}

// --- undo and redo ---

/// Puts the stack in its place. before: what was there; null for nothing.
PntUndoOper::Outcome PntUndoLayerStack::Restore(const qs::Reference<LayerStack>& stack,
                                                qs::Reference<LayerStack>& before)
{
    if (!CanTakePlace(stack) || !MayRestore())
        return Outcome::Refused;
    before = GetPresent();  // the host may have changed it meanwhile
    if (!CanTakePlace(stack))
        return Outcome::Refused;
    if (before)
        before->EndProxy();
    if (!Guarded(false, [&] { return Replace(stack, before.get()); }))
        return Outcome::NoMemory;
    if (!Attempt([&] { stack->RebuildAllAndRedrawEntireCanvas(); }))
        stack->MarkAllStale();
    GetStackPort().CanvasUpdated();
    if (before && before != stack)
        Attempt([&] { TellOtherProperties(*stack, *before); });
    return Outcome::Done;
}

/// Exchanges the documents, with the properties that were set apart from the step going along. False, or an exception,
/// with nothing changed.
bool PntUndoLayerStack::Replace(const qs::Reference<LayerStack>& stack, LayerStack* before)
{
    PropertyChanges changes;
    if (before != nullptr && left_ && !(stack == before))
        changes = left_->ChangesFor(*stack, *before);
    changes.Swap();
    const bool isDone = Guarded(false, [&] {
        PropertySnapshot left(*stack);
        GetUndoPort().ReplaceLayerStack(GetPaintCore(), stack, GetLayerStackHandle());
        if (!(GetPresent() == stack))
            return false;
        left_ = std::move(left);
        return true;
    });
    if (!isDone)
        changes.Swap();
    return isDone;
}

PntUndoOper::Outcome PntUndoLayerStack::TryUndo()
{
    const qs::Reference<LayerStack> old = GetLayerStack();
    qs::Reference<LayerStack> before;
    const Outcome outcome = Restore(old, before);
    // Redo leads back to what there was, even if it was exchanged without a record since the edit.
    if (outcome == Outcome::Done && before && before != old && newStack_)
        newStack_ = before;
    return outcome;
}

PntUndoOper::Outcome PntUndoLayerStack::TryRedo()
{
    if (closesDocument_)
        return CloseAgain();
    qs::Reference<LayerStack> before;
    return Restore(qs::Reference<LayerStack>(newStack_), before);
}

PntUndoOper::Outcome PntUndoLayerStack::CloseAgain()
{
    if (!GetPresent() || !CanTakePlace(GetLayerStack()) || !MayRestore())
        return Outcome::Refused;
    const qs::Reference<LayerStack> closed = GetPresent();
    if (!closed || !CanTakePlace(GetLayerStack()))
        return Outcome::Refused;
    SetLayerStack(closed);  // which undo brings back, whichever version it is by now
    GetUndoPort().CloseLayerStack(GetPaintCore(), GetLayerStackHandle());
    return GetPresent() == closed ? Outcome::Refused : Outcome::Done;
}

void PntUndoLayerStack::Revert() noexcept
{
    qs::Reference<LayerStack> before;
    Attempt([&] { Restore(GetPresent() == GetLayerStack() ? newStack_ : GetLayerStack(), before); });
}

void PntUndoLayerStack::UndoOper()
{
    Undo();
}

void PntUndoLayerStack::RedoOper()
{
    Redo();
}

void PntUndoLayerStack::Cancel()
{
    const qs::Reference<LayerStack> stack = GetLayerStack();
    if (stack && newStack_ && GetPresent() == newStack_)
        GetUndoPort().ReplaceLayerStack(GetPaintCore(), stack, GetLayerStackHandle());
}

void PntUndoLayerStack::SetClosesDocument()
{
    closesDocument_ = true;
    newStack_ = nullptr;
}
