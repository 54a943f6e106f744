#pragma once

#include "platform/base/Export.h"
#include "platform/base/IdList.h"
#include "platform/base/Reference.h"

#include <cstdint>
#include <functional>

class LayerStack;
class PageAccount;
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

    // --- the step as a menu and a store see it ---

    /// What the step did, for a menu: "Add Layer". Without a name of its own it has that of its kind.
    const char* GetName() const { return name_.empty() ? GetKindName() : name_.c_str(); }
    void SetName(const char* name) { name_ = name; }

    /// What the stores call: the whole or nothing. False when memory does not suffice and nothing changed; true also
    /// for a record that cannot apply now and does nothing.
    bool Undo();
    bool Redo();
    bool IsUndone() const { return isUndone_; }

    /// The edit is done: what happens to the document from here on is no part of this step. Called by the command, or
    /// when the next record is made. Further calls change nothing.
    virtual void SetComplete() noexcept {}

    /// Whether this step stands for `later` as well, an edit of the same kind and target right after it. Then the later
    /// record is not needed.
    virtual bool TakeIn(const PntUndoOper& later) noexcept;

    /// Bytes of pixels that only this record keeps alive, each page once. Of images: what a layer's painter keeps
    /// beside its image, as the low-order bits of 16-bit painting, comes free uncounted.
    int64_t GetHeldBytes() const;

    /// Counts what would come free with this record.
    virtual void CountReleased(PageAccount& account) const;

    /// The document that the record can do nothing without and does not bring back by itself; null for none.
    virtual const LayerStack* GetNeededStack() const { return nullptr; }

    /// Calls `visit` with the records that this one is made of: itself, or its children.
    virtual void VisitParts(const std::function<void(PntUndoOper&)>& visit) { visit(*this); }

protected:
    enum class Outcome { Done, Refused, NoMemory };

    /// In this order: all that can run out of memory; then the step itself; then either Revert, when a later part of
    /// the same step has failed, or Settle. A kind that has only UndoOper and RedoOper is done by these.
    virtual bool Prepare() { return true; }  // may throw as well
    virtual Outcome TryUndo();
    virtual Outcome TryRedo();
    virtual void Revert() noexcept {}
    virtual void Settle() noexcept {}

    virtual const char* GetKindName() const { return "Edit"; }

    /// allocated + own, at most INT_MAX.
    static int SumOfBytes(int64_t allocated, int64_t own);

private:
    friend class PntUndoCombo;
    Outcome Run(Outcome (PntUndoOper::*step)(), bool isUndone);

    unsigned int sequence_;
    bool willDeleteAfterExit_;
    bool flag_;  // stored and copied only
    unsigned int undoHandle_;
    qsString::CString name_;
    bool isUndone_ = false;
};
