#include "core/PaintSession.h"

#include "platform/base/Attempt.h"
#include "stack/StackPort.h"

PaintSession::PaintSession(PaintManager& owner)
    : manager(owner), notices(*GetStackPort().notices), brush(*this), stroker(*this), preview(*this), fillTools(*this)
{}

LayerStack* PaintSession::Find(int layerStack) const
{
    return layerStack == kCurrentLayerStack ? registry.GetCurrent() : registry.Get(layerStack);
}

LayerStack* PaintSession::Find(const PntHandle& container) const
{
    return registry.Get(registry.FindHolder(container));
}

PntHandle PaintSession::GetCurrentContainer() const
{
    const LayerStack* stack = registry.GetCurrent();
    return stack != nullptr ? stack->GetCurrentLayerContainerHandle() : kNullHandle;
}

void PaintSession::EndStrokeOn(const LayerStack* stack)
{
    if (MayEdit())
        Attempt([&] { stroker.EndOn(stack); });
}

void PaintSession::EndCurrentProxy()
{
    if (const qs::Reference<LayerStack> stack = registry.GetCurrent())
        stack->EndProxy();
}

void PaintSession::ReplaceDocument(const qs::Reference<LayerStack>& stack, int handle)
{
    if (registry.Get(handle) != stack.get())
        stroker.StackIsLeaving(registry.Get(handle));
    const Notices::Scope hold(notices);
    const qs::Reference<LayerStack> old = registry.Get(handle);
    if (old && old != stack) {
        stack->TakePresentationFrom(*old);
        stack->TakeViewsFrom(old);
        old->FreeCacheData();
    }
    registry.Put(handle, stack);
    if (handle == registry.GetCurrentHandle())
        registry.SetCurrent(stack);
    Attempt([&] { stack->AllocateCacheData(); });  // without the memory, at the next update
    stack->Notify(true);
    UpdateProcessedLayerImage();
}

void PaintSession::UpdateProcessedLayerImage()
{
    Attempt([&] { brush.UpdateProcessedLayerImage(); });
}
