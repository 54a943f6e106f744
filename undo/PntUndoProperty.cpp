#include "undo/PntUndoProperty.h"

#include "platform/base/Attempt.h"
#include "undo/UndoPort.h"

#include <algorithm>

PntUndoProperty::PntUndoProperty(PaintManager* manager, int stackHandle, const LayerStack& stack,
                                 const qs::vector<PntHandle>& handles, ContainerProperty property)
    : PntUndoLS(manager, stackHandle, {}, "MioProperty"), document_(stack.GetLsInstanceHandle()), property_(property)
{
    for (const PntHandle& handle : handles)
        if (const LayerContainer* container = stack.GetLayerContainerFromHandle(handle))
            saved_.push_back({container->GetLayerContainerHandle(), container->GetProperties()});
}

const char* PntUndoProperty::GetKindName() const
{
    switch (property_) {
    case ContainerProperty::Name: return "Rename Layer";
    case ContainerProperty::Blend: return "Change Blend Mode";
    case ContainerProperty::Opacity: return "Change Opacity";
    case ContainerProperty::DisplayOpacity: return "Change Display Opacity";
    case ContainerProperty::DisplayColor: return "Change Display Color";
    case ContainerProperty::Visible: return "Change Visibility";
    case ContainerProperty::Active: return "Change Activity";
    case ContainerProperty::Locked: return "Change Lock";
    case ContainerProperty::Count: break;
    }
    return PntUndoOper::GetKindName();
}

/// The version of the document that has the place now; null when it was closed.
qs::Reference<LayerStack> PntUndoProperty::FindStack() const
{
    const qs::Reference<LayerStack> stack = GetUndoPort().GetLayerStack(GetPaintCore(), GetLayerStackHandle());
    return stack && stack->GetLsInstanceHandle() == document_ ? stack : nullptr;
}

bool PntUndoProperty::HasChanges() const
{
    const qs::Reference<LayerStack> stack = FindStack();
    return stack && std::any_of(saved_.begin(), saved_.end(), [&](const Saved& saved) {
               const LayerContainer* container = stack->GetLayerContainerFromHandle(saved.handle);
               if (container == nullptr)
                   return false;
               ContainerProperties restored = container->GetProperties();
               ContainerProperties held = saved.properties;
               SwapProperty(property_, restored, held);
               return restored != container->GetProperties();
           });
}

bool PntUndoProperty::TakeIn(const PntUndoOper& later) noexcept
{
    const auto* same = dynamic_cast<const PntUndoProperty*>(&later);
    return same != nullptr && !IsUndone() && same->document_ == document_ && same->property_ == property_ &&
           std::equal(saved_.begin(), saved_.end(), same->saved_.begin(), same->saved_.end(),
                      [](const Saved& a, const Saved& b) { return a.handle == b.handle; });
}

// --- undo and redo ---

void PntUndoProperty::Exchange(LayerStack& stack) noexcept
{
    for (Saved& saved : saved_)
        if (const LayerContainer* container = stack.GetLayerContainerFromHandle(saved.handle)) {
            ContainerProperties restored = container->GetProperties();
            SwapProperty(property_, restored, saved.properties);
            stack.SetContainerProperties(saved.handle, restored);
        }
}

PntUndoOper::Outcome PntUndoProperty::Run()
{
    if (!FindStack() || !GetUndoPort().FinishStroke())
        return Outcome::Refused;
    const qs::Reference<LayerStack> stack = FindStack();
    if (!stack)
        return Outcome::Refused;
    Exchange(*stack);
    Attempt([&] { stack->ForceUpdate(); });
    Attempt([this] { GetUndoPort().ContentChanged(GetPaintCore()); });
    return Outcome::Done;
}

PntUndoOper::Outcome PntUndoProperty::TryUndo()
{
    return IsUndone() ? Outcome::Refused : Run();
}

PntUndoOper::Outcome PntUndoProperty::TryRedo()
{
    return IsUndone() ? Run() : Outcome::Refused;
}

void PntUndoProperty::Revert() noexcept
{
    if (const qs::Reference<LayerStack> stack = FindStack())
        Exchange(*stack);
}

void PntUndoProperty::UndoOper()
{
    Undo();
}

void PntUndoProperty::RedoOper()
{
    Redo();
}

// --- what it holds ---

int PntUndoProperty::GetBytesUsed()
{
    return SumOfBytes(GetAllocatedBytes(), sizeof(PntUndoProperty));
}

int PntUndoProperty::GetAllocatedBytes()
{
    return SumOfBytes(PntUndoLS::GetAllocatedBytes(), static_cast<int64_t>(saved_.size() * sizeof(Saved)));
}
