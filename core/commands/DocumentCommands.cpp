#include "core/commands/DocumentCommands.h"

#include "core/DocumentCalls.h"
#include "core/HostCalls.h"
#include "core/commands/UndoableCommand.h"
#include "platform/imaging/strokes/ImageCoreCB.h"
#include "undo/UndoStore.h"

#include <new>
#include <utility>

// --- opening and closing ---

int DocumentCommands::AddLayerStack(int width, int height)
{
    PaintSession& session = SessionOf(this);
    LayerStackRegistry& registry = session.registry;
    if (!session.MayEdit() || registry.FindFree() < 0 || !LayerStack::IsAcceptableSize(width, height))
        return -1;
    const BusyScope busy(session.callbacks);
    const int index = registry.FindFree();  // the host heard of the work, and may have opened one itself
    if (index < 0)
        return -1;
    const bool isAdded = Attempt([&] {
        Notices::Scope hold(session.notices);
        const int before = registry.GetCurrentHandle();
        registry.SetCurrentHandle(index);
        qs::Reference<LayerStack> stack;
        if (!Attempt([&] { stack.reset(new LayerStack(qsOS::Uuid::generate(), width, height)); })) {
            registry.SetCurrentHandle(before);
            hold.Drop();
            throw std::bad_alloc();
        }
        registry.SetCurrent(stack);
        registry.Put(index, stack);
        registry.CountAdded();
        session.isCurrentLocked = false;
        PaintManager& manager = session.manager;
        session.notices.Tell([&manager, index] { manager.StackAddedSignal.Emit(index); });
        session.notices.Tell([&session, index] { CallHost(session.callbacks.LayerStackAddedCB, index); });
    });
    if (!isAdded)
        return -1;
    session.UpdateProcessedLayerImage();
    return index;
}

void DocumentCommands::DeleteLayerStack(int handle, bool recordUndo)
{
    PaintSession& session = SessionOf(this);
    if (!session.MayEdit())
        return;
    Attempt([&] {
        if (handle == kCurrentLayerStack || handle == session.registry.GetCurrentHandle())
            CloseCurrentLayerStack(recordUndo);
        else
            CloseLayerStack(handle);
    });
    session.UpdateProcessedLayerImage();
    Attempt([] {
        if (PntUndoDatabase* database = PaintUndoDatabase())
            database->ReleaseDeadRecords();
        ShrinkSwapFiles();
    });
}

void DocumentCommands::CloseCurrentLayerStack(bool recordUndo)
{
    PaintSession& session = SessionOf(this);
    LayerStackRegistry& registry = session.registry;
    const int handle = registry.GetCurrentHandle();
    if (registry.Get(handle) == nullptr || IsClosing(handle))
        return;
    session.stroker.StackIsLeaving(registry.Get(handle));
    qs::Reference<PntUndoLayerStack> step;
    if (recordUndo && UndoableCommand::IsRecording(session))
        step = session.manager.AddUndoLayerStack(handle, true);
    // Recording may have put a copy in its place, and both called the host.
    const qs::Reference<LayerStack> closed = registry.Get(handle);
    if (!closed)
        return;
    // While it is still there, for whoever looks at it a last time; what edits put in its place meanwhile goes as well.
    const qsOS::Uuid closing = std::exchange(session.closing, closed->GetLsInstanceHandle());
    session.manager.StackDeletedSignal.Emit(handle);
    closed->Notify(true);
    session.closing = closing;
    if (registry.Get(handle) == nullptr || registry.Get(handle)->GetLsInstanceHandle() != closed->GetLsInstanceHandle())
        return;
    session.stroker.StackIsLeaving(registry.Get(handle));
    RemoveFromTable(handle);
    if (step)
        step->SetClosesDocument();
    if (registry.GetCurrentHandle() == handle) {
        registry.SetCurrentHandle(kNoLayerStack);
        registry.SetCurrent({});
    }
    session.isCurrentLocked = false;
}

void DocumentCommands::CloseLayerStack(int handle)
{
    PaintSession& session = SessionOf(this);
    if (session.registry.Get(handle) == nullptr || IsClosing(handle))
        return;
    session.stroker.StackIsLeaving(session.registry.Get(handle));
    if (session.registry.Get(handle) == nullptr)
        return;
    RemoveFromTable(handle);
    session.manager.StackDeletedSignal.Emit(handle);
}

/// A slot that hears of the closing may ask for it once more.
bool DocumentCommands::IsClosing(int handle) const
{
    const PaintSession& session = SessionOf(this);
    return session.registry.Get(handle)->GetLsInstanceHandle() == session.closing;
}

void DocumentCommands::RemoveFromTable(int handle)
{
    LayerStackRegistry& registry = SessionOf(this).registry;
    const qs::Reference<LayerStack> closed = registry.Get(handle);
    closed->BecomeClosed();
    registry.Put(handle, {});
    registry.CountRemoved();
}

void DocumentCommands::ReplaceLayerStack(qs::Reference<LayerStack> stack, int handle)
{
    PaintSession& session = SessionOf(this);
    if (!session.MayEdit() || handle < 0 || handle >= kMaxLayerStacks || !stack)
        return;
    session.ReplaceDocument(stack, handle);
}

void DocumentCommands::SetCurrentLayerStack(int handle)
{
    PaintSession& session = SessionOf(this);
    LayerStackRegistry& registry = session.registry;
    const qs::Reference<LayerStack> stack = registry.Get(handle);
    if (!session.MayEdit() || !stack || (handle == registry.GetCurrentHandle() && stack == registry.GetCurrent()))
        return;
    Attempt([&] { session.preview.Clear(); });
    if (registry.Get(handle) != stack.get())
        return;
    registry.SetCurrentHandle(handle);
    registry.SetCurrent(stack);
    stack->Notify(true);
    session.UpdateProcessedLayerImage();
}

// --- looking up ---

int DocumentCommands::GetCurrentLayerStack() const
{
    return SessionOf(this).registry.GetCurrentHandle();
}

int DocumentCommands::GetCurrentLayerStack(const PntHandle& container) const
{
    return SessionOf(this).registry.FindHolder(container);
}

int DocumentCommands::GetLayerStackCount() const
{
    return SessionOf(this).registry.GetCount();
}

qs::Reference<LayerStack> DocumentCommands::GetLayerStack(int handle) const
{
    return SessionOf(this).Find(handle);
}

qs::Reference<LayerStack> DocumentCommands::LayerStackFromHandle(int& handle) const
{
    if (handle == kCurrentLayerStack)
        handle = SessionOf(this).registry.GetCurrentHandle();
    return SessionOf(this).registry.Get(handle);
}

qs::Reference<LayerStack> DocumentCommands::LayerStackFromHandle(const PntHandle& container) const
{
    return SessionOf(this).Find(container);
}

int DocumentCommands::GetLayerStackHandle(const qs::Reference<LayerStack>& stack) const
{
    return SessionOf(this).registry.IndexOf(stack.get());
}

qsOS::Uuid DocumentCommands::GetLayerStackInstanceHandle(int handle) const
{
    const qs::Reference<LayerStack> stack = LayerStackFromHandle(handle);
    return stack ? stack->GetLsInstanceHandle() : kCurrentLayerHandle.layerStack;
}

bool DocumentCommands::ValidLayerStackHandle(int handle) const
{
    return GetLayerStack(handle) != nullptr;
}

bool DocumentCommands::CheckLayerStackHandle(int handle) const
{
    return SessionOf(this).registry.Get(handle) != nullptr;
}

bool DocumentCommands::isLayerContainerHandleValid(const PntHandle& container) const
{
    return SessionOf(this).registry.FindHolder(container) >= 0;
}

void DocumentCommands::ResetLayerStackIterator()
{
    SessionOf(this).registry.ResetCursor();
}

int DocumentCommands::NextLayerStack()
{
    return SessionOf(this).registry.Next();
}

void* DocumentCommands::GetCurrentLayerStackPtr_Private_() const
{
    return SessionOf(this).registry.GetCurrent();
}

bool DocumentCommands::isCurrLSLocked() const
{
    return SessionOf(this).isCurrentLocked;
}

void DocumentCommands::setCurrLSLocked(bool locked)
{
    SessionOf(this).isCurrentLocked = locked;
}

// --- a document's own properties ---

bool DocumentCommands::SetLayerStackSize(const ilTile& size, int layerStack)
{
    if (!LayerStack::IsAcceptableSize(size.nx, size.ny))
        return false;
    SessionOf(this).EndStrokeOn(layerStack);
    return ChangeStack(this, layerStack, false,
                       [&](LayerStack& stack) { return stack.SetSize(size, stack.GetClipToSize(), true, true); });
}

void DocumentCommands::GetLayerStackSize(ilTile& size, int layerStack) const
{
    if (const LayerStack* stack = SessionOf(this).Find(layerStack))
        size = stack->GetSize();
}

void DocumentCommands::SetResolution(int x, int y, int layerStack)
{
    TellStack(this, layerStack, [&](LayerStack& stack) { stack.SetResolution(x, y); });
}

void DocumentCommands::GetResolution(int& x, int& y, int layerStack) const
{
    if (const LayerStack* stack = SessionOf(this).Find(layerStack))
        stack->GetResolution(x, y);
}

void DocumentCommands::SetBackgroundColor(const PaintColor& color, int layerStack)
{
    if (color.IsFinite())
        TellStack(this, layerStack, [&](LayerStack& stack) { stack.SetBackgroundColor(color); });
}

PaintColor DocumentCommands::GetBackgroundColor(int layerStack) const
{
    return AskStack(this, layerStack, PaintColor(), [](LayerStack& stack) { return stack.GetBackgroundColor(); });
}

void DocumentCommands::SetSymmetry(Symmetry* symmetry, int layerStack)
{
    TellStack(this, layerStack, [&](LayerStack& stack) { stack.SetSymmetry(symmetry); });
}

Symmetry* DocumentCommands::GetSymmetry(int layerStack) const
{
    return AskStack(this, layerStack, static_cast<Symmetry*>(nullptr),
                    [](LayerStack& stack) { return stack.GetSymmetry(); });
}
