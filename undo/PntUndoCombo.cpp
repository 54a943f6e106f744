#include "undo/PntUndoCombo.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr char kComboId[] = "MioCombo";

bool IsCombo(const PntUndoOper& record)
{
    const char* primary = record.GetID(0);
    return primary != nullptr && std::strcmp(primary, kComboId) == 0;
}

}  // namespace

PntUndoCombo::PntUndoCombo(const char* id, bool willDeleteAfterExit, bool flag, qs::Reference<PntUndoOper> first,
                           qs::Reference<PntUndoOper> second, qs::Reference<PntUndoOper> third,
                           qs::Reference<PntUndoOper> fourth, qs::Reference<PntUndoOper> fifth)
    : PntUndoOper(id, willDeleteAfterExit, flag)
{
    SetID(kComboId);
    for (qs::Reference<PntUndoOper>* child : {&first, &second, &third, &fourth, &fifth})
        AddChild(*child);
}

void PntUndoCombo::AddChild(qs::Reference<PntUndoOper> child)
{
    if (!child)
        return;
    if (!IsCombo(*child))
        SetID(child->GetID(0));
    children_.push_back(std::move(child));
}

// --- running ---

void PntUndoCombo::UndoOper()
{
    Undo();
}

void PntUndoCombo::RedoOper()
{
    Redo();
}

bool PntUndoCombo::Prepare()
{
    done_.reserve(children_.size());
    return std::all_of(children_.begin(), children_.end(), [](const auto& child) { return child->Prepare(); });
}

PntUndoOper::Outcome PntUndoCombo::TryUndo()
{
    return RunAll(children_, &PntUndoOper::TryUndo, true);
}

PntUndoOper::Outcome PntUndoCombo::TryRedo()
{
    return RunAll(Children(children_.rbegin(), children_.rend()), &PntUndoOper::TryRedo, false);
}

/// In a copy of the list: a callback of the host may archive this very record meanwhile.
PntUndoOper::Outcome PntUndoCombo::RunAll(Children children, Outcome (PntUndoOper::*step)(), bool isUndone)
{
    done_.clear();
    for (const qs::Reference<PntUndoOper>& child : children) {
        const Outcome outcome = child->Run(step, isUndone);
        if (outcome == Outcome::NoMemory) {
            Revert();
            return outcome;
        }
        if (outcome == Outcome::Done)
            done_.push_back(child);
    }
    return Outcome::Done;
}

void PntUndoCombo::Revert() noexcept
{
    for (auto child = done_.rbegin(); child != done_.rend(); ++child) {
        (*child)->Revert();
        (*child)->isUndone_ = !(*child)->isUndone_;
    }
    done_.clear();
}

void PntUndoCombo::Settle() noexcept
{
    done_.clear();
    for (size_t i = 0; i < children_.size(); ++i)
        qs::Reference<PntUndoOper>(children_[i])->Settle();
}

// --- what it is and holds ---

void PntUndoCombo::SetComplete() noexcept
{
    for (const qs::Reference<PntUndoOper>& child : children_)
        child->SetComplete();
}

void PntUndoCombo::CountReleased(PageAccount& account) const
{
    for (const qs::Reference<PntUndoOper>& child : children_)
        child->CountReleased(account);
}

void PntUndoCombo::VisitParts(const std::function<void(PntUndoOper&)>& visit)
{
    for (const qs::Reference<PntUndoOper>& child : children_)
        child->VisitParts(visit);
}

const char* PntUndoCombo::GetKindName() const
{
    return children_.empty() ? PntUndoOper::GetKindName() : children_.front()->GetName();
}

int PntUndoCombo::GetBytesUsed()
{
    return SumOfBytes(GetAllocatedBytes(), sizeof(PntUndoCombo));
}

int PntUndoCombo::GetAllocatedBytes()
{
    int sum = 0;
    for (const qs::Reference<PntUndoOper>& child : children_)
        sum = SumOfBytes(sum, child->GetBytesUsed());
    return sum;
}

void PntUndoCombo::Archive(PntUndoDatabase* database)
{
    for (const qs::Reference<PntUndoOper>& child : children_)
        child->Archive(database);
}

void PntUndoCombo::Debug()
{
    for (const qs::Reference<PntUndoOper>& child : children_)
        child->Debug();
}

qs::Reference<PntUndoOper> PntUndoCombo::CompareOper(qs::Reference<PntUndoOper> other)
{
    for (const qs::Reference<PntUndoOper>& child : children_) {
        if (IsCombo(*child))
            continue;
        if (qs::Reference<PntUndoOper> answer = child->CompareOper(other))
            return answer;
    }
    return {};
}
