#include "core/commands/UndoCommands.h"

#include "core/PaintSession.h"
#include "core/commands/UndoableCommand.h"
#include "platform/base/Attempt.h"
#include "platform/os/Environment.h"
#include "undo/UndoStore.h"

#include <cstring>

namespace {

bool isSuspended = false;

/// What the environment said when it was first asked.
bool IsUndoAllowed()
{
    static const bool isAllowed = [] {
        const char* disable = qsOS::GetEnvironment("MIO_UNDO_DISABLE");
        return disable == nullptr || std::strcmp(disable, "1") != 0;
    }();
    return isAllowed;
}

}  // namespace

void UndoCommands::SetLogUndoOper(bool on)
{
    SessionOf(this).options.logsUndo = on;
}

bool UndoCommands::GetLogUndoOper() const
{
    return SessionOf(this).options.logsUndo;
}

void UndoCommands::SuspendUndo(bool suspend)
{
    isSuspended = suspend;
}

bool UndoCommands::isUndoSuspended() const
{
    return isSuspended;
}

void UndoCommands::SetRecordPropertyEdits(bool on)
{
    SessionOf(this).options.recordsProperties = on;
}

bool UndoCommands::GetRecordPropertyEdits() const
{
    return SessionOf(this).options.recordsProperties;
}

bool UndoCommands::UndoEnable()
{
    return IsUndoAllowed() && !isSuspended && SessionOf(this).options.logsUndo;
}

qs::Reference<PntUndoLayerStack> UndoCommands::AddUndoLayerStack(int handle, bool pushToList)
{
    PaintSession& session = SessionOf(this);
    return Guarded(qs::Reference<PntUndoLayerStack>(), [&] {
        const int stackHandle = handle == kCurrentLayerStack ? session.registry.GetCurrentHandle() : handle;
        if (!session.MayEdit() || !UndoEnable())
            return qs::Reference<PntUndoLayerStack>();
        session.stroker.EndOn(session.registry.Get(stackHandle));
        if (LayerStack* stack = session.registry.Get(stackHandle))
            stack->EndProxy();
        const Notices::Scope hold(session.notices);
        const qs::Reference<PntUndoLayerStack> record = UndoableCommand::RecordStructure(session, stackHandle);
        if (record && pushToList)
            UndoableCommand::KeepOpen(session, record);
        return record;
    });
}

void UndoCommands::UndoListSetDirty()
{
    if (PntUndoDatabase* database = PaintUndoDatabase())
        database->SetDirty();
}

void UndoCommands::FlushUndoQueue()
{
    if (PntUndoDatabase* database = PaintUndoDatabase())
        Attempt([&] { database->FlushUndoDatabase(); });
}
