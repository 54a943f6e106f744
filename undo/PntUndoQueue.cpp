#include "undo/PntUndoQueue.h"

#include "platform/base/Attempt.h"
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
    if (cursor_ == records_.size() && TakesIn(record.get()))
        return true;
    Records entry = MakeEntry(std::move(record));  // what can fail comes first
    Records discarded;
    discarded.splice(discarded.end(), records_, std::next(records_.begin(), static_cast<ptrdiff_t>(cursor_)),
                     records_.end());
    Append(std::move(entry));
    cursor_ = records_.size();
    if (static_cast<int64_t>(records_.size()) > capacity_)
        DropOldest();
    DropBeyondByteLimit();
    return true;
}

void PntUndoQueue::DropOldest()
{
    const qs::Reference<PntUndoOper> oldest = std::move(records_.front());
    records_.pop_front();
    cursor_ -= cursor_ > 0 ? 1 : 0;
    if (oldest)
        oldest->Archive(this);
}

/// Without the memory to count the bytes they are counted when the next record comes.
void PntUndoQueue::DropBeyondByteLimit()
{
    Attempt([this] {
        while (byteLimit_ > 0 && records_.size() > 1 && GetHeldBytes() > byteLimit_)
            DropOldest();
    });
}

void PntUndoQueue::SetCapacity(int records)
{
    LimitCursor();
    capacity_ = records;
    while (static_cast<int64_t>(records_.size()) > std::max(capacity_, 1))
        DropOldest();
}

void PntUndoQueue::SetByteLimit(int64_t bytes)
{
    LimitCursor();
    byteLimit_ = bytes;
    DropBeyondByteLimit();
}

// --- undo and redo ---

const PntUndoOper* PntUndoQueue::GetRecordAt(size_t place) const
{
    return place < records_.size() ? std::next(records_.begin(), static_cast<ptrdiff_t>(place))->get() : nullptr;
}

const char* PntUndoQueue::GetUndoName() const
{
    const size_t done = std::min(cursor_, records_.size());
    const PntUndoOper* record = done > 0 ? GetRecordAt(done - 1) : nullptr;
    return record != nullptr ? record->GetName() : nullptr;
}

const char* PntUndoQueue::GetRedoName() const
{
    const PntUndoOper* record = GetRecordAt(cursor_);
    return record != nullptr ? record->GetName() : nullptr;
}

/// The cursor moves before the record runs: what the host does from inside it sees the record run.
bool PntUndoQueue::Run(size_t place, bool (PntUndoOper::*step)(), size_t cursorAfter)
{
    EndJoining();
    const qs::Reference<PntUndoOper> record = *std::next(records_.begin(), static_cast<ptrdiff_t>(place));
    const size_t before = std::exchange(cursor_, cursorAfter);
    if (!record || ((*record).*step)())
        return true;
    if (cursor_ == cursorAfter && GetRecordAt(place) == record.get())
        cursor_ = before;
    return false;
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
    return Run(cursor_ - 1, &PntUndoOper::Undo, cursor_ - 1);
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
    return Run(cursor_, &PntUndoOper::Redo, cursor_ + 1);
}
