#pragma once

#include "undo/PntUndoDatabase.h"

#include <cstddef>

/// A history of its own order and bounded length: undo goes back from the newest record, redo forward again, a new
/// record discards what could be redone.
class PAINTLAYER_EXPORT PntUndoQueue : public PntUndoDatabase {
public:
    static constexpr int kDefaultCapacity = 15;

    explicit PntUndoQueue(int capacity = kDefaultCapacity);

    /// Drops what could be redone, without archiving it; of one record too many the oldest is archived. True.
    bool AddUndoOperation(qs::Reference<PntUndoOper> record) override;

    /// False with nothing to do, which is said to the user, and while a stroke is being fed. A stroke in progress ends
    /// first, and is the newest record then.
    bool Undo();
    bool Redo();

private:
    void LimitCursor();

    int capacity_;
    size_t cursor_ = 0;  // number of records that are done; the one at this place is the next to redo
};
