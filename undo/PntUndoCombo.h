#pragma once

#include "platform/base/Containers.h"
#include "undo/PntUndoOper.h"

/// Several records as one step. Undo runs them in the order in which they were given, redo in the opposite one, so
/// they are given in the order in which they are to be undone. Answers for the kind of every child. A child that fails
/// takes those before it back.
class PAINTLAYER_EXPORT PntUndoCombo : public PntUndoOper {
public:
    /// Null children are left out.
    PntUndoCombo(const char* id, bool willDeleteAfterExit, bool flag, qs::Reference<PntUndoOper> first,
                 qs::Reference<PntUndoOper> second = {}, qs::Reference<PntUndoOper> third = {},
                 qs::Reference<PntUndoOper> fourth = {}, qs::Reference<PntUndoOper> fifth = {});

    void UndoOper() override;
    void RedoOper() override;
    int GetBytesUsed() override;
    int GetAllocatedBytes() override;
    void Archive(PntUndoDatabase* database) override;
    void Debug() override;
    void SetComplete() noexcept override;
    void CountReleased(PageAccount& account) const override;
    void VisitParts(const std::function<void(PntUndoOper&)>& visit) override;

    /// The answer of the first child, other combos left out, that has one.
    qs::Reference<PntUndoOper> CompareOper(qs::Reference<PntUndoOper> other) override;

    /// Adds a child at the back; null is left out.
    void AddChild(qs::Reference<PntUndoOper> child);

protected:
    bool Prepare() override;
    Outcome TryUndo() override;
    Outcome TryRedo() override;
    void Revert() noexcept override;
    void Settle() noexcept override;
    const char* GetKindName() const override;

private:
    using Children = qs::vector<qs::Reference<PntUndoOper>>;
    Outcome RunAll(Children children, Outcome (PntUndoOper::*step)(), bool isUndone);

    Children children_;
    Children done_;  // those done by the step in progress
};
