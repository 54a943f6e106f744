#include "undo/PntUndoList.h"

#include "layers/DocumentPort.h"
#include "platform/os/DebugOutput.h"
#include "undo/UndoPort.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

PntUndoList::PntUndoList(Callback callback) : callback_(callback) {}

bool PntUndoList::AddUndoOperation(qs::Reference<PntUndoOper> record)
{
    if (!record)
        return false;
    if (TakesIn(record.get()))
        return true;
    const unsigned int handle = record->GetUndoHandle();
    Append(MakeEntry(std::move(record)));
    return callback_ == nullptr || callback_(handle);
}

bool PntUndoList::FlushUndoDatabase()
{
    return PntUndoDatabase::FlushUndoDatabase();
}

bool PntUndoList::Undo(unsigned int handle)
{
    return Run(handle, &PntUndoOper::Undo);
}

bool PntUndoList::Redo(unsigned int handle)
{
    return Run(handle, &PntUndoOper::Redo);
}

bool PntUndoList::Run(unsigned int handle, bool (PntUndoOper::*step)())
{
    const qs::Reference<PntUndoOper> record = GetUndoOper(handle);
    if (!record)
        return false;
    const qs::Reference<PntUndoOper> newest = records_.back();
    if (!GetUndoPort().FinishStroke() || records_.empty() || records_.back() != newest)
        return false;
    EndJoining();
    return ((*record).*step)();
}

bool PntUndoList::CanUndo(unsigned int handle) const
{
    const qs::Reference<PntUndoOper> record = GetUndoOper(handle);
    return record && !record->IsUndone();
}

bool PntUndoList::CanRedo(unsigned int handle) const
{
    const qs::Reference<PntUndoOper> record = GetUndoOper(handle);
    return record && record->IsUndone();
}

const char* PntUndoList::GetName(unsigned int handle) const
{
    const qs::Reference<PntUndoOper> record = GetUndoOper(handle);
    return record ? record->GetName() : nullptr;
}

void PntUndoList::TraceHandles() const
{
    qsOS::OutputDebugStringA("\n");
    for (const qs::Reference<PntUndoOper>& record : records_)
        if (record)
            qsOS::OutputDebugFormat("[%d]", static_cast<int>(record->GetUndoHandle()));
    qsOS::OutputDebugStringA("\n");
}

bool PntUndoList::FlushUndoDatabase(unsigned int handle, bool archive)
{
    const bool isTraced = IsDumpWanted();
    const auto trace = [isTraced](const char* text) {
        if (isTraced)
            qsOS::OutputDebugStringA(text);
    };
    const auto isIt = [handle](const qs::Reference<PntUndoOper>& record) {
        return record && record->GetUndoHandle() == handle;
    };
    if (isTraced)
        qsOS::OutputDebugFormat("PntUndoList::FlushUndoDatabase [%d]", static_cast<int>(handle));
    if (records_.empty())
        return true;
    if (isTraced)
        TraceHandles();
    if (isIt(records_.front())) {
        const qs::Reference<PntUndoOper> record = records_.front();
        records_.pop_front();
        if (archive)
            record->Archive(this);
        trace("Pop Front\n");
        return true;
    }
    const auto found = std::find_if(records_.rbegin(), records_.rend(), isIt);
    if (found != records_.rend()) {
        const qs::Reference<PntUndoOper> record = *found;
        records_.erase(std::prev(found.base()));
        trace("Erase last\n");
        return true;
    }
    if (isTraced)
        std::printf("PntUndoList::FlushUndoDatabase -- unable to relase an entry due to handle mismatch\n");
    return false;
}
