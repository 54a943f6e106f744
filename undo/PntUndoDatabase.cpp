#include "undo/PntUndoDatabase.h"

#include "platform/imaging/pages/PageAccount.h"
#include "stack/LayerStack.h"

#include <algorithm>
#include <cstdio>
#include <utility>

PntUndoDatabase::PntUndoDatabase() = default;

PntUndoDatabase::~PntUndoDatabase() = default;

bool PntUndoDatabase::AddUndoOperation(qs::Reference<PntUndoOper> record)
{
    if (!TakesIn(record.get()))
        Append(MakeEntry(std::move(record)));
    return true;
}

bool PntUndoDatabase::TakesIn(const PntUndoOper* record) noexcept
{
    return mayJoin_ && record != nullptr && !records_.empty() && records_.back() && records_.back()->TakeIn(*record);
}

PntUndoDatabase::Records PntUndoDatabase::MakeEntry(qs::Reference<PntUndoOper> record)
{
    if (reserve_.empty())
        reserve_.emplace_back();
    Records entry;
    entry.splice(entry.end(), reserve_);
    entry.front() = std::move(record);
    return entry;
}

void PntUndoDatabase::Append(Records entry) noexcept
{
    records_.splice(records_.end(), entry);
    mayJoin_ = true;
}

void PntUndoDatabase::ReserveStep()
{
    if (reserve_.empty())
        reserve_.emplace_back();
}

void PntUndoDatabase::CompleteNewest() noexcept
{
    if (!records_.empty() && records_.back())
        records_.back()->SetComplete();
}

int64_t PntUndoDatabase::GetHeldBytes() const
{
    PageAccount account;
    for (const qs::Reference<PntUndoOper>& record : records_)
        if (record)
            record->CountReleased(account);
    return account.GetBytes();
}

void PntUndoDatabase::ReleaseDeadRecords()
{
    const auto visitParts = [this](const std::function<void(PntUndoOper&)>& visit) {
        for (const qs::Reference<PntUndoOper>& record : Records(records_))
            if (record)
                record->VisitParts(visit);
    };
    // Who else holds a document may put it back: the manager, a structural record, the host.
    qs::map<const LayerStack*, int> holders;
    visitParts([&](PntUndoOper& part) {
        if (part.GetNeededStack() != nullptr)
            ++holders[part.GetNeededStack()];
    });
    std::erase_if(holders, [](const auto& one) { return one.first->GetRefCount() > one.second; });
    visitParts([&](PntUndoOper& part) {
        if (holders.contains(part.GetNeededStack()))
            part.Archive(this);
    });
}

bool PntUndoDatabase::FlushUndoDatabase()
{
    // Out of the store first: what dies with a record may look into it.
    Records leaving;
    leaving.swap(records_);
    EndJoining();
    for (const qs::Reference<PntUndoOper>& record : leaving)
        if (record)
            record->Archive(this);
    return true;
}

int PntUndoDatabase::GetBytesUsed(unsigned int handle)
{
    const qs::Reference<PntUndoOper> record = GetUndoOper(handle);
    return record ? record->GetBytesUsed() : 0;
}

qs::Reference<PntUndoOper> PntUndoDatabase::GetUndoOper(unsigned int handle) const
{
    for (const qs::Reference<PntUndoOper>& record : records_)
        if (record && record->GetUndoHandle() == handle)
            return record;
    return {};
}

bool PntUndoDatabase::CheckID(unsigned int handle, const char* id) const
{
    const qs::Reference<PntUndoOper> record = GetUndoOper(handle);
    return record && record->CheckID(id);
}

void PntUndoDatabase::GarbageCollect()
{
    if (std::exchange(isDirty_, false))
        FlushUndoDatabase();
}

void PntUndoDatabase::Debug()
{
    int count = 0;
    for (const qs::Reference<PntUndoOper>& record : records_) {
        std::printf("Iter:%d\n", count++);
        if (record)
            record->Debug();
    }
}
