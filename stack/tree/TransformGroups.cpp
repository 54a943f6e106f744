#include "stack/tree/TransformGroups.h"

#include "layers/Layer.h"
#include "stack/StackPort.h"
#include "stack/edits/StackEdit.h"
#include "stack/tree/LayerTree.h"

#include <algorithm>

void TransformGroups::CopyPresent(const TransformGroups& source)
{
    groups_ = source.groups_;
    DropLost();
}

qs::vector<PntHandle> TransformGroups::GetGroup(const PntHandle& handle) const
{
    const PntHandle own = tree_.ResolveHandle(handle);
    for (const qs::vector<PntHandle>& group : groups_)
        if (std::find(group.begin(), group.end(), own) != group.end()) {
            qs::vector<PntHandle> present = group;
            std::erase_if(present, [&](const PntHandle& one) { return tree_.GetLayerFromHandle(one) == nullptr; });
            return present;
        }
    return {};
}

bool TransformGroups::Add(const qs::vector<PntHandle>& layers)
{
    const StackEdit edit(stack_);
    qs::vector<PntHandle> group;
    for (const PntHandle& handle : layers) {
        const Layer* layer = tree_.GetLayerFromHandle(handle);
        const bool canJoin = layer != nullptr && layer != tree_.GetSelectionMask();
        const PntHandle own = canJoin ? layer->GetLayerContainerHandle() : kNullHandle;
        if (canJoin && std::find(group.begin(), group.end(), own) == group.end())
            group.push_back(own);
    }
    if (group.size() < 2)
        return false;
    for (const PntHandle& handle : group)
        Leave(handle);
    groups_.push_back(group);
    for (const PntHandle& handle : group)
        GetStackPort().TransformGroup(handle);
    return true;
}

bool TransformGroups::AddToGroupOf(const PntHandle& member, const PntHandle& handle)
{
    const StackEdit edit(stack_);
    const PntHandle current = tree_.ResolveHandle(member);
    const PntHandle own = tree_.ResolveHandle(handle);
    qs::vector<PntHandle> group = GetGroup(current);
    if (std::find(group.begin(), group.end(), own) != group.end())
        return false;
    if (group.empty())
        return Add({current, own});
    if (tree_.GetLayerFromHandle(own) == nullptr || tree_.GetLayerFromHandle(own) == tree_.GetSelectionMask())
        return false;
    Leave(own);
    for (qs::vector<PntHandle>& one : groups_)
        if (std::find(one.begin(), one.end(), current) != one.end())
            one.push_back(own);
    GetStackPort().TransformGroup(own);
    return true;
}

bool TransformGroups::Remove(const PntHandle& handle)
{
    const StackEdit edit(stack_);
    const PntHandle own = tree_.ResolveHandle(handle);
    if (!Leave(own))
        return false;
    GetStackPort().TransformGroup(own);
    return true;
}

bool TransformGroups::RemoveFromCurrent(const PntHandle& handle)
{
    const qs::vector<PntHandle> group = GetGroup(kCurrentLayerHandle);
    const bool isMember = std::find(group.begin(), group.end(), tree_.ResolveHandle(handle)) != group.end();
    return isMember && Remove(handle);
}

bool TransformGroups::Leave(const PntHandle& own)
{
    for (auto group = groups_.begin(); group != groups_.end(); ++group)
        if (std::erase(*group, own) > 0) {
            if (group->size() < 2)
                groups_.erase(group);
            return true;
        }
    return false;
}

void TransformGroups::DropLost()
{
    for (qs::vector<PntHandle>& group : groups_)
        std::erase_if(group,
                      [&](const PntHandle& handle) { return tree_.GetLayerContainerFromHandle(handle) == nullptr; });
}

qs::vector<PntHandle> TransformGroups::GetEditTarget(const PntHandle& handle) const
{
    const Layer* layer = tree_.GetLayerFromHandle(handle);
    if (layer == nullptr || !layer->GetImage())
        return {};
    return {layer->GetLayerContainerHandle()};
}

qs::vector<PntHandle> TransformGroups::GetTransformTargets(const PntHandle& handle) const
{
    qs::vector<PntHandle> group = GetGroup(handle);
    std::erase_if(group, [&](const PntHandle& one) { return GetEditTarget(one).empty(); });
    return group.empty() ? GetEditTarget(handle) : group;
}
