#pragma once

#include "platform/base/Containers.h"
#include "undo/PntUndoOper.h"

/// A store of undo records, oldest first. Records are found by their undo handles.
///
/// The library adds a step when its edit is done, not before: an edit that is refused, or a fill or wand that is
/// cancelled, leaves no step and costs nothing of what could be redone. A host that keeps an order of its own hears of
/// the step when the document has changed already. A step that a host adds by itself (AddUndoLayerStack with
/// pushToList) comes first, and goes on until the next record is made. Consecutive moves of one layer, and where they
/// are recorded consecutive settings of one property, become one step: of the later ones nobody hears.
class PAINTLAYER_EXPORT PntUndoDatabase {
public:
    PntUndoDatabase();
    PntUndoDatabase(const PntUndoDatabase&) = delete;
    PntUndoDatabase& operator=(const PntUndoDatabase&) = delete;
    virtual ~PntUndoDatabase();

    /// Puts a record, or an empty entry, at the end, unless the newest step takes it in; true. Throws std::bad_alloc
    /// with nothing changed; never after ReserveStep.
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

    /// Takes the memory that adding the next step needs.
    void ReserveStep();

    /// The newest step is done: a property that is set from here on is no part of it. Called when a record is made.
    void CompleteNewest() noexcept;

    /// From here on the newest step takes in no other: another command came.
    void EndJoining() noexcept { mayJoin_ = false; }

    /// Bytes of pixels that only the records keep alive, each page once.
    int64_t GetHeldBytes() const;

    /// A document was closed: records that can never apply again, as only they know their document still, let go of
    /// what they hold. They keep their places.
    void ReleaseDeadRecords();

    /// The records themselves; null entries are skipped by everything.
    qs::list<qs::Reference<PntUndoOper>>* GetUndoDB() { return &records_; }

    /// Prints each entry's position on standard output and lets the record print itself.
    void Debug();

protected:
    using Records = qs::list<qs::Reference<PntUndoOper>>;

    /// Whether the newest step stands for the record as well.
    bool TakesIn(const PntUndoOper* record) noexcept;

    /// A list of the record alone, from the reserve if there is one.
    Records MakeEntry(qs::Reference<PntUndoOper> record);
    void Append(Records entry) noexcept;

    Records records_;

private:
    Records reserve_;  // one empty entry, or none
    bool isDirty_ = false;
    bool mayJoin_ = false;
};
