#include "undo/PntUndoCombo.h"

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

// A callback of the host may archive this very record meanwhile, so the children are walked in a copy.

void PntUndoCombo::UndoOper()
{
    const qs::vector<qs::Reference<PntUndoOper>> children = children_;
    for (const qs::Reference<PntUndoOper>& child : children)
        child->UndoOper();
}

void PntUndoCombo::RedoOper()
{
    const qs::vector<qs::Reference<PntUndoOper>> children = children_;
    for (auto child = children.rbegin(); child != children.rend(); ++child)
        (*child)->RedoOper();
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
