#pragma once

#include "platform/base/Containers.h"
#include "undo/PntUndoOper.h"

/// A store of undo records, oldest first. Records are found by their undo handles.
class PAINTLAYER_EXPORT PntUndoDatabase {
public:
    PntUndoDatabase();
    PntUndoDatabase(const PntUndoDatabase&) = delete;
    PntUndoDatabase& operator=(const PntUndoDatabase&) = delete;
    virtual ~PntUndoDatabase();

    /// Puts a record, or an empty entry, at the end; true.
    virtual bool AddUndoOperation(qs::Reference<PntUndoOper> record);

    /// Archives every record, oldest first, and empties the store; true.
    virtual bool FlushUndoDatabase();

    /// The record's bytes; 0 without one of that handle.
    virtual int GetBytesUsed(unsigned int handle);

    qs::Reference<PntUndoOper> GetUndoOper(unsigned int handle) const;

    /// Whether the record of that handle is of the kind `id`, or derives from it, or contains one.
    bool CheckID(unsigned int handle, const char* id) const;

    /// The history does not fit the documents any more: the next garbage collection flushes it. The paint manager
    /// collects before it adds a step, which then is the first one.
    void SetDirty() { isDirty_ = true; }
    void GarbageCollect();

    /// The records themselves; null entries are skipped by everything.
    qs::list<qs::Reference<PntUndoOper>>* GetUndoDB() { return &records_; }

    /// Prints each entry's position on standard output and lets the record print itself.
    void Debug();

protected:
    qs::list<qs::Reference<PntUndoOper>> records_;

private:
    bool isDirty_ = false;
};
