#pragma once

#include "platform/base/Export.h"
#include "platform/base/IdList.h"
#include "platform/base/Reference.h"

#include <cstdint>

class PntUndoDatabase;

/// One edit that can be taken back and done again. Its ids name its class chain ("MioOper" and so on), the caller's own
/// first. Always held through references.
///
/// UndoOper and RedoOper never throw: when memory does not suffice the document stays as it is.
class PAINTLAYER_EXPORT PntUndoOper : public qs::ReferenceCount, public IdList {
public:
    PntUndoOper(const char* id, bool willDeleteAfterExit, bool flag);

    /// A copy has a name, the undo handle, of its own; an assigned record keeps its own.
    PntUndoOper(const PntUndoOper& other);
    PntUndoOper& operator=(const PntUndoOper& other);
    ~PntUndoOper() override;

    virtual void UndoOper() = 0;
    virtual void RedoOper() = 0;

    /// Bytes of the record with what it holds, and of what it holds alone; at most INT_MAX.
    virtual int GetBytesUsed();
    virtual int GetAllocatedBytes();

    /// The record leaves the history for good: releases what it captured.
    virtual void Archive(PntUndoDatabase* database);
    virtual void Debug();

    /// This record when `other` concerns the same target, else null.
    virtual qs::Reference<PntUndoOper> CompareOper(qs::Reference<PntUndoOper> other);

    /// The first answer of other->CompareOper(this) for an id of `other` that is this record's primary one; else null.
    virtual qs::Reference<PntUndoOper> CompareOperFromIDList(qs::Reference<PntUndoOper> other);

    /// By which the stores and the host name a record. Consecutive records have consecutive ones.
    unsigned int GetUndoHandle() const { return undoHandle_; }
    unsigned int GetSequenceNumber() const { return sequence_; }
    bool WillDeleteAfterExit() const { return willDeleteAfterExit_; }

    bool Interrupt() { return false; }
    bool Resume() { return false; }
    void SetInterruptable(bool) {}

protected:
    /// allocated + own, at most INT_MAX.
    static int SumOfBytes(int64_t allocated, int64_t own);

private:
    unsigned int sequence_;
    bool willDeleteAfterExit_;
    bool flag_;  // stored and copied only
    unsigned int undoHandle_;
};
