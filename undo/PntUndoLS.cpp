#include "undo/PntUndoLS.h"

#include "platform/imaging/pages/PageAccount.h"
#include "undo/UndoPort.h"
#include "undo/UndoStore.h"

namespace {

constexpr int kCurrentLayerStack = -2;
constexpr int kDocumentBytes = 1424;

}  // namespace

PntUndoLS::PntUndoLS(PaintManager* manager, int stackHandle, qs::Reference<LayerStack> stack, const char* id)
    : PntUndoOper(id, false, false), manager_(manager),
      stackHandle_(stackHandle == kCurrentLayerStack ? GetUndoPort().GetCurrentLayerStack(manager) : stackHandle),
      stack_(std::move(stack))
{
    SetID("MioLS");
    if (PntUndoDatabase* database = PaintUndoDatabase())
        database->CompleteNewest();
}

int PntUndoLS::GetBytesUsed()
{
    return SumOfBytes(GetAllocatedBytes(), sizeof(PntUndoLS));
}

int PntUndoLS::GetAllocatedBytes()
{
    return kDocumentBytes;
}

void PntUndoLS::CountReleased(PageAccount& account) const
{
    if (account.Drop(stack_.get()))
        stack_->CountReleased(account);
}

void PntUndoLS::Archive(PntUndoDatabase*)
{
    stack_ = nullptr;
}

qs::Reference<PntUndoOper> PntUndoLS::CompareOper(qs::Reference<PntUndoOper> other)
{
    const auto* same = dynamic_cast<const PntUndoLS*>(other.get());
    return same != nullptr && same->stackHandle_ == stackHandle_ ? this : nullptr;
}
