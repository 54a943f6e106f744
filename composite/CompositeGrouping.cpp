#include "composite/CompositeGrouping.h"

#include "composite/CompositeBase.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace {

using Nodes = qs::vector<CompositeBase*>;

constexpr size_t kGroupSize = 16;

/// One change of the grouping under a node; nothing is changed before Commit.
class Regrouping {
public:
    Regrouping(CompositeBase& parent, LayerStack* stack) : parent_(parent), stack_(stack)
    {
        CollectGroups(parent);
        parent.AppendMembers(members_);
    }
    Regrouping(const Regrouping&) = delete;
    Regrouping& operator=(const Regrouping&) = delete;

    /// Groups that were made and are not used own nothing.
    ~Regrouping()
    {
        for (const auto& group : made_)
            group->GetChildren().clear();
    }

    const Nodes& GetMembers() const { return members_; }

    /// The group of the nodes: a present one, or a new one.
    CompositeBase* Group(Nodes nodes)
    {
        for (size_t i = 0; i < present_.size(); ++i)
            if (present_[i]->GetChildren() == nodes) {
                used_[i] = true;
                return present_[i];
            }
        made_.push_back(std::make_unique<CompositeBase>(stack_));
        CompositeBase* group = made_.back().get();
        group->GetChildren() = std::move(nodes);
        group->SetGroup();
        return group;
    }

    /// Members from the bottom up, 16 by 16 in a chain of groups, each inside the next.
    Nodes Chain(size_t count)
    {
        Nodes nodes;
        for (size_t i = 0; i < count; ++i) {
            nodes.push_back(members_[i]);
            if ((i + 1) % kGroupSize == 0)
                nodes = {Group(std::move(nodes))};
        }
        return nodes;
    }

    /// A run of normal members [begin, end) above the path. One of a single member is a group nevertheless, so that its
    /// opacity rounds as it does beside members that happen to be empty.
    CompositeBase* Run(size_t begin, size_t end)
    {
        Nodes nodes;
        for (size_t block = begin; block < end;) {
            const size_t rest = (end - block) % kGroupSize;
            const size_t next = block + (rest != 0 ? rest : kGroupSize);
            // A lone member at the bottom of the run is painted over nothing, which rounds it just as a group does.
            if (next == block + 1 && next < end)
                nodes.push_back(members_[block]);
            else
                nodes.push_back(Group(Nodes(members_.begin() + static_cast<ptrdiff_t>(block),
                                            members_.begin() + static_cast<ptrdiff_t>(next))));
            block = next;
        }
        return nodes.size() == 1 ? nodes.front() : Group(std::move(nodes));
    }

    void Commit(Nodes children) noexcept
    {
        parent_.GetChildren() = std::move(children);
        for (size_t i = 0; i < present_.size(); ++i)
            if (!used_[i]) {
                present_[i]->GetChildren().clear();
                delete present_[i];
            }
        for (auto& group : made_)
            static_cast<void>(group.release());  // the tree owns it now
        made_.clear();
    }

private:
    void CollectGroups(const CompositeBase& node)
    {
        for (CompositeBase* child : node.GetChildren())
            if (child->IsGroup()) {
                present_.push_back(child);
                used_.push_back(false);
                CollectGroups(*child);
            }
    }

    CompositeBase& parent_;
    LayerStack* stack_;
    Nodes members_;
    Nodes present_;
    qs::vector<bool> used_;
    qs::vector<std::unique_ptr<CompositeBase>> made_;
};

}  // namespace

namespace CompositeGrouping {

void Split(CompositeBase& parent, const CompositeBase* pathChild)
{
    Regrouping regrouping(parent, parent.GetStack());
    const Nodes& members = regrouping.GetMembers();
    const auto path = static_cast<size_t>(std::find(members.begin(), members.end(), pathChild) - members.begin());
    Nodes children = regrouping.Chain(path);
    if (children.size() > 1)
        children = {regrouping.Group(std::move(children))};
    for (size_t i = path; i < members.size();) {
        size_t end = i;
        while (end < members.size() && end != path && members[end]->GetMode() != CompositeMode::Effect)
            ++end;
        if (end == i)
            children.push_back(members[i++]);
        else {
            children.push_back(regrouping.Run(i, end));
            i = end;
        }
    }
    regrouping.Commit(std::move(children));
}

void Join(CompositeBase& parent, bool asOneGroup)
{
    Regrouping regrouping(parent, parent.GetStack());
    Nodes children = regrouping.Chain(regrouping.GetMembers().size());
    if (asOneGroup && children.size() > 1)
        children = {regrouping.Group(std::move(children))};
    regrouping.Commit(std::move(children));
}

void Open(CompositeBase& parent)
{
    Regrouping regrouping(parent, parent.GetStack());
    regrouping.Commit(regrouping.GetMembers());
}

}  // namespace CompositeGrouping
