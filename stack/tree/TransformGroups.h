#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Containers.h"

class LayerStack;
class LayerTree;

/// Groups of layers that transform together; a layer is in one at most. Handles that no longer resolve may be among
/// them.
class TransformGroups {
public:
    TransformGroups(LayerStack& stack, LayerTree& tree) : stack_(stack), tree_(tree) {}

    /// The groups of another version of the document, without those that are lost in this one.
    void CopyPresent(const TransformGroups& source);

    const qs::list<qs::vector<PntHandle>>& Get() const { return groups_; }
    qs::vector<PntHandle> GetGroup(const PntHandle& handle) const;
    bool Add(const qs::vector<PntHandle>& layers);
    bool AddToGroupOf(const PntHandle& member, const PntHandle& handle);
    bool Remove(const PntHandle& handle);
    bool RemoveFromCurrent(const PntHandle& handle);

    /// Without telling anybody. False when the layer is in no group.
    bool Leave(const PntHandle& own);

    /// The layers that an edit of the named one, or a transform of it and its group, changes: those with an image.
    qs::vector<PntHandle> GetEditTarget(const PntHandle& handle) const;
    qs::vector<PntHandle> GetTransformTargets(const PntHandle& handle) const;

private:
    void DropLost();

    LayerStack& stack_;
    LayerTree& tree_;
    qs::list<qs::vector<PntHandle>> groups_;
};
