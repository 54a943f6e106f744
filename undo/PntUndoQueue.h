#pragma once

#include "undo/PntUndoDatabase.h"

#include <cstddef>

/// A history of its own order and bounded length: undo goes back from the newest record, redo forward again, a new
/// record discards what could be redone.
class PAINTLAYER_EXPORT PntUndoQueue : public PntUndoDatabase {
public:
    static constexpr int kDefaultCapacity = 15;

    explicit PntUndoQueue(int capacity = kDefaultCapacity);

    /// Drops what could be redone, without archiving it; of one record too many the oldest is archived. True. A record
    /// that the newest step takes in changes nothing.
    bool AddUndoOperation(qs::Reference<PntUndoOper> record) override;

    /// False with nothing to do, which is said to the user, and while a stroke is being fed. A stroke in progress ends
    /// first, and is the newest record then. False as well, with nothing changed, when memory does not suffice.
    bool Undo();
    bool Redo();

    /// Whether there is something to undo and redo, and what that would take back and do again, for a menu: null when
    /// there is nothing. A stroke in progress is no step yet.
    bool CanUndo() const { return cursor_ > 0 && !records_.empty(); }
    bool CanRedo() const { return cursor_ < records_.size(); }
    const char* GetUndoName() const;
    const char* GetRedoName() const;

    /// How many records are kept, and how many bytes (GetHeldBytes) they may hold; 0 or less: none, any number of
    /// bytes. What is too much goes at once, the oldest first and archived. The newest stays whatever it holds.
    void SetCapacity(int records);
    int GetCapacity() const { return capacity_; }
    void SetByteLimit(int64_t bytes);
    int64_t GetByteLimit() const { return byteLimit_; }

private:
    void LimitCursor();
    const PntUndoOper* GetRecordAt(size_t place) const;
    bool Run(size_t place, bool (PntUndoOper::*step)(), size_t cursorAfter);
    void DropOldest();
    void DropBeyondByteLimit();

    int capacity_;
    int64_t byteLimit_ = 0;
    size_t cursor_ = 0;  // number of records that are done; the one at this place is the next to redo
};
