#include "core/BrushPreview.h"
#include "core/BrushStroker.h"
#include "core/Guarded.h"
#include "core/HostCalls.h"
#include "core/LayerStackRegistry.h"
#include "core/PaintManager.h"
#include "platform/imaging/ImageCoreCB.h"
#include "undo/UndoStore.h"

#include <new>
#include <utility>

static_assert(PaintManager::kMaxLayerStacks == LayerStackRegistry::kSize);

// --- opening and closing ---

int PaintManager::AddLayerStack(int width, int height)
{
    int index = registry_->FindFree();
    if (index < 0 || !LayerStack::IsAcceptableSize(width, height))
        return -1;
    const bool isAdded = Attempt([&] {
        const BusyScope busy(callbacks_);
        const int before = registry_->GetCurrentHandle();
        registry_->SetCurrentHandle(index);
        qs::Reference<LayerStack> stack;
        if (!Attempt([&] { stack.reset(new LayerStack(qsOS::Uuid::generate(), width, height)); })) {
            if (registry_->GetCurrentHandle() == index)
                registry_->SetCurrentHandle(before);
            throw std::bad_alloc();
        }
        // The construction tells the host, which may have opened a document in this very place.
        if (registry_->Get(index) != nullptr)
            index = registry_->FindFree();
        if (index < 0)
            throw std::bad_alloc();
        registry_->SetCurrentHandle(index);
        registry_->SetCurrent(stack);
        registry_->Put(index, stack);
        registry_->CountAdded();
        currLSLocked_ = false;
        StackAddedSignal.Emit(index);
        CallHost(callbacks_.LayerStackAddedCB, index);
    });
    if (!isAdded)
        return -1;
    UpdateProcessedLayerImage();
    return index;
}

void PaintManager::DeleteLayerStack(int handle, bool recordUndo)
{
    Attempt([&] {
        if (handle == kCurrentLayerStack || handle == registry_->GetCurrentHandle())
            CloseCurrentLayerStack(recordUndo);
        else
            CloseLayerStack(handle);
    });
    UpdateProcessedLayerImage();
    Attempt([] { ShrinkSwapFiles(); });
}

void PaintManager::CloseCurrentLayerStack(bool recordUndo)
{
    const int handle = registry_->GetCurrentHandle();
    const qs::Reference<LayerStack> stack = registry_->Get(handle);
    if (!stack || closing_ == stack.get())
        return;
    stroker_->StackIsLeaving(stack.get());
    if (recordUndo && PaintUndoDatabase() != nullptr)
        AddUndoLayerStack(handle, true);
    // Recording may have put a copy in its place.
    const qs::Reference<LayerStack> closed = registry_->Get(handle);
    const LayerStack* outer = std::exchange(closing_, closed.get());
    StackDeletedSignal.Emit(handle);
    if (closed)
        closed->Notify(true);
    closing_ = outer;
    if (!closed || registry_->Get(handle) != closed.get())
        return;
    stroker_->StackIsLeaving(closed.get());
    closed->ForgetViews();
    registry_->Put(handle, {});
    registry_->CountRemoved();
    if (registry_->GetCurrentHandle() == handle) {
        registry_->SetCurrentHandle(LayerStackRegistry::kNone);
        registry_->SetCurrent({});
    }
    currLSLocked_ = false;
}

void PaintManager::CloseLayerStack(int handle)
{
    const qs::Reference<LayerStack> stack = registry_->Get(handle);
    if (!stack || closing_ == stack.get())
        return;
    stroker_->StackIsLeaving(stack.get());
    stack->ForgetViews();
    registry_->Put(handle, {});
    registry_->CountRemoved();
    StackDeletedSignal.Emit(handle);
}

void PaintManager::ReplaceLayerStack(qs::Reference<LayerStack> stack, int handle)
{
    if (handle < 0 || handle >= kMaxLayerStacks || !stack)
        return;
    Attempt([&] {
        if (registry_->Get(handle) != stack.get())
            stroker_->StackIsLeaving(registry_->Get(handle));
        const qs::Reference<LayerStack> old = registry_->Get(handle);
        const bool isOther = old && old != stack;
        if (isOther)
            stack->TakePresentationFrom(*old);
        stack->AllocateCacheData();  // all that memory can run out for, before anything changes
        if (isOther) {
            stack->TakeViewsFrom(old);
            old->FreeCacheData();
        }
        registry_->Put(handle, stack);
        if (handle == registry_->GetCurrentHandle())
            registry_->SetCurrent(stack);
        stack->Notify(true);
    });
    UpdateProcessedLayerImage();
}

void PaintManager::SetCurrentLayerStack(int handle)
{
    const qs::Reference<LayerStack> stack = registry_->Get(handle);
    if (!stack || (handle == registry_->GetCurrentHandle() && stack == registry_->GetCurrent()))
        return;
    ClearBrushPreview();
    if (registry_->Get(handle) != stack.get())
        return;
    registry_->SetCurrentHandle(handle);
    registry_->SetCurrent(stack);
    Attempt([&] { stack->Notify(true); });
    UpdateProcessedLayerImage();
}

// --- looking up ---

int PaintManager::GetCurrentLayerStack() const
{
    return registry_->GetCurrentHandle();
}

int PaintManager::GetCurrentLayerStack(const PntHandle& container) const
{
    return registry_->FindHolder(container);
}

int PaintManager::GetLayerStackCount() const
{
    return registry_->GetCount();
}

qs::Reference<LayerStack> PaintManager::GetLayerStack(int handle) const
{
    return handle == kCurrentLayerStack ? registry_->GetCurrent() : registry_->Get(handle);
}

qs::Reference<LayerStack> PaintManager::LayerStackFromHandle(int& handle) const
{
    if (handle == kCurrentLayerStack)
        handle = registry_->GetCurrentHandle();
    return registry_->Get(handle);
}

qs::Reference<LayerStack> PaintManager::LayerStackFromHandle(const PntHandle& container) const
{
    return registry_->Get(registry_->FindHolder(container));
}

int PaintManager::GetLayerStackHandle(const qs::Reference<LayerStack>& stack) const
{
    return registry_->IndexOf(stack.get());
}

qsOS::Uuid PaintManager::GetLayerStackInstanceHandle(int handle) const
{
    const qs::Reference<LayerStack> stack = LayerStackFromHandle(handle);
    return stack ? stack->GetLsInstanceHandle() : kCurrentLayerHandle.layerStack;
}

bool PaintManager::ValidLayerStackHandle(int handle) const
{
    return GetLayerStack(handle) != nullptr;
}

bool PaintManager::CheckLayerStackHandle(int handle) const
{
    return registry_->Get(handle) != nullptr;
}

bool PaintManager::isLayerContainerHandleValid(const PntHandle& container) const
{
    return registry_->FindHolder(container) >= 0;
}

void PaintManager::ResetLayerStackIterator()
{
    registry_->ResetCursor();
}

int PaintManager::NextLayerStack()
{
    return registry_->Next();
}

void* PaintManager::GetCurrentLayerStackPtr_Private_() const
{
    return registry_->GetCurrent();
}
