#include "undo/PntUndoDatabase.h"

#include <cstdio>
#include <utility>

PntUndoDatabase::PntUndoDatabase() = default;

PntUndoDatabase::~PntUndoDatabase() = default;

bool PntUndoDatabase::AddUndoOperation(qs::Reference<PntUndoOper> record)
{
    records_.push_back(std::move(record));
    return true;
}

bool PntUndoDatabase::FlushUndoDatabase()
{
    // Out of the store first: what dies with a record may look into it.
    const qs::list<qs::Reference<PntUndoOper>> leaving = std::exchange(records_, {});
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
