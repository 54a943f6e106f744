#include "stack/LayerStack.h"
#include "stack/StackEdit.h"
#include "stack/StackPort.h"

#include <algorithm>

qs::vector<PntHandle> LayerStack::getTransformGroup(const PntHandle& handle) const
{
    const PntHandle own = ResolveHandle(handle);
    for (const qs::vector<PntHandle>& group : transformGroups_)
        if (std::find(group.begin(), group.end(), own) != group.end()) {
            qs::vector<PntHandle> present = group;
            std::erase_if(present, [&](const PntHandle& one) { return GetLayerFromHandle(one) == nullptr; });
            return present;
        }
    return {};
}

bool LayerStack::AddTransformGroup(const qs::vector<PntHandle>& layers)
{
    const StackEdit edit(*this);
    qs::vector<PntHandle> group;
    for (const PntHandle& handle : layers) {
        const Layer* layer = GetLayerFromHandle(handle);
        const bool canJoin = layer != nullptr && layer != selectionMask_.get();
        const PntHandle own = canJoin ? layer->GetLayerContainerHandle() : kNullHandle;
        if (canJoin && std::find(group.begin(), group.end(), own) == group.end())
            group.push_back(own);
    }
    if (group.size() < 2)
        return false;
    for (const PntHandle& handle : group)
        LeaveTransformGroup(handle);
    transformGroups_.push_back(group);
    for (const PntHandle& handle : group)
        GetStackPort().TransformGroup(handle);
    return true;
}

bool LayerStack::DeleteTransformGroup(const PntHandle& handle, bool redraw)
{
    const StackEdit edit(*this);
    const qs::vector<PntHandle> group = getTransformGroup(handle);
    if (group.empty())
        return false;
    for (const PntHandle& layer : group)
        LeaveTransformGroup(layer);
    for (const PntHandle& layer : group)
        DeleteCurrentLayer(layer, redraw && layer == group.back());
    return true;
}

bool LayerStack::addLayerToCurrTransformGroup(const PntHandle& handle)
{
    return AddToTransformGroupOf(kCurrentLayerHandle, handle);
}

bool LayerStack::AddToTransformGroupOf(const PntHandle& member, const PntHandle& handle)
{
    const StackEdit edit(*this);
    const PntHandle current = ResolveHandle(member);
    const PntHandle own = ResolveHandle(handle);
    qs::vector<PntHandle> group = getTransformGroup(current);
    if (std::find(group.begin(), group.end(), own) != group.end())
        return false;
    if (group.empty())
        return AddTransformGroup({current, own});
    if (GetLayerFromHandle(own) == nullptr || GetLayerFromHandle(own) == selectionMask_.get())
        return false;
    LeaveTransformGroup(own);
    for (qs::vector<PntHandle>& one : transformGroups_)
        if (std::find(one.begin(), one.end(), current) != one.end())
            one.push_back(own);
    GetStackPort().TransformGroup(own);
    return true;
}

bool LayerStack::removeLayerFromCurrTransformGroup(const PntHandle& handle)
{
    const qs::vector<PntHandle> group = getTransformGroup(kCurrentLayerHandle);
    const bool isMember = std::find(group.begin(), group.end(), ResolveHandle(handle)) != group.end();
    return isMember && removeLayerFromTransformGroup(handle);
}

bool LayerStack::removeLayerFromTransformGroup(const PntHandle& handle)
{
    const StackEdit edit(*this);
    const PntHandle own = ResolveHandle(handle);
    if (!LeaveTransformGroup(own))
        return false;
    GetStackPort().TransformGroup(own);
    return true;
}

bool LayerStack::LeaveTransformGroup(const PntHandle& own)
{
    for (auto group = transformGroups_.begin(); group != transformGroups_.end(); ++group)
        if (std::erase(*group, own) > 0) {
            if (group->size() < 2)
                transformGroups_.erase(group);
            return true;
        }
    return false;
}
