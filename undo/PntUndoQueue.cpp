#include "undo/PntUndoQueue.h"

#include "undo/UndoPort.h"

#include <algorithm>
#include <iterator>
#include <utility>

PntUndoQueue::PntUndoQueue(int capacity) : capacity_(capacity) {}

/// The store may have been flushed, or changed through GetUndoDB.
void PntUndoQueue::LimitCursor()
{
    cursor_ = std::min(cursor_, records_.size());
}

bool PntUndoQueue::AddUndoOperation(qs::Reference<PntUndoOper> record)
{
    LimitCursor();
    qs::list<qs::Reference<PntUndoOper>> added;
    added.push_back(std::move(record));  // what can fail comes first
    qs::list<qs::Reference<PntUndoOper>> discarded;
    discarded.splice(discarded.end(), records_, std::next(records_.begin(), static_cast<ptrdiff_t>(cursor_)),
                     records_.end());
    records_.splice(records_.end(), added);
    if (static_cast<int64_t>(records_.size()) > capacity_) {
        const qs::Reference<PntUndoOper> oldest = records_.front();
        records_.pop_front();
        if (oldest)
            oldest->Archive(this);
    }
    cursor_ = records_.size();
    return true;
}

bool PntUndoQueue::Undo()
{
    if (!GetUndoPort().FinishStroke())
        return false;
    LimitCursor();
    if (cursor_ == 0) {
        GetUndoPort().Message("You cannot undo any more actions.\n");
        return false;
    }
    --cursor_;
    const qs::Reference<PntUndoOper> record = *std::next(records_.begin(), static_cast<ptrdiff_t>(cursor_));
    if (record)
        record->UndoOper();
    return true;
}

bool PntUndoQueue::Redo()
{
    if (!GetUndoPort().FinishStroke())
        return false;
    LimitCursor();
    if (cursor_ == records_.size()) {
        GetUndoPort().Message("You cannot redo any more actions.\n");
        return false;
    }
    // Before the record runs: what the host does from inside it sees the record done.
    const qs::Reference<PntUndoOper> record = *std::next(records_.begin(), static_cast<ptrdiff_t>(cursor_));
    ++cursor_;
    if (record)
        record->RedoOper();
    return true;
}
