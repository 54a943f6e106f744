#pragma once

#include "undo/PntUndoDatabase.h"

/// A store whose order of undo the host keeps: it hears of every record, asks for undo and redo by handle, and says
/// when an entry may go. The store has no cursor.
class PAINTLAYER_EXPORT PntUndoList : public PntUndoDatabase {
public:
    using Callback = bool (*)(unsigned int handle);

    /// The callback, which may be null, hears of each added record.
    explicit PntUndoList(Callback callback);

    /// What the callback answers, true without one; the record stays whatever it answers. False for null. A record that
    /// the newest step takes in is not kept, and not told of: true.
    bool AddUndoOperation(qs::Reference<PntUndoOper> record) override;
    bool FlushUndoDatabase() override;

    /// Releases one entry: the oldest with or without archiving it, any other without. True for an empty list, false
    /// when there is no such record.
    virtual bool FlushUndoDatabase(unsigned int handle, bool archive);

    /// False without such a record. A stroke in progress ends first; when that adds a newer record, or cannot be while
    /// the stroke is being fed, nothing is undone and the result is false.
    /// False as well, with nothing changed, when memory does not suffice.
    bool Undo(unsigned int handle);
    bool Redo(unsigned int handle);

    /// Whether there is such a record that is done (that is undone), and what undoing (redoing) it would take back (do
    /// again), for a menu; null for no such record.
    bool CanUndo(unsigned int handle) const;
    bool CanRedo(unsigned int handle) const;
    const char* GetName(unsigned int handle) const;

private:
    bool Run(unsigned int handle, bool (PntUndoOper::*step)());
    void TraceHandles() const;

    Callback callback_;
};
