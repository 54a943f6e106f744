#include "composite/CompositeGrouping.h"

#include "composite/CompositeBase.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace {

using Nodes = qs::vector<CompositeBase*>;

constexpr size_t kGroupSize = 16;  // below the path; what is left over there is composed with the last ones
constexpr size_t kGroupSizeAbove = 32;

/// One change of the grouping under a node; nothing is changed before Commit.
class Regrouping {
public:
    explicit Regrouping(CompositeBase& parent)
        : parent_(parent), stack_(parent.GetStack()), firstFine_(parent.GetFirstFineMember())
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

    size_t GetFirstFine() const { return firstFine_; }

    /// Nodes in order, the fine ones from a position on.
    struct Row {
        Nodes nodes;
        size_t firstFine = SIZE_MAX;
    };

    /// The group of the nodes: a present one, or a new one.
    CompositeBase* Group(Row row)
    {
        const size_t firstFine = std::min(row.firstFine, row.nodes.size());
        for (size_t i = 0; i < present_.size(); ++i)
            if (present_[i]->GetChildren() == row.nodes && present_[i]->GetFirstFine() == firstFine) {
                used_[i] = true;
                return present_[i];
            }
        made_.push_back(std::make_unique<CompositeBase>(stack_));
        CompositeBase* group = made_.back().get();
        group->GetChildren() = std::move(row.nodes);
        group->SetFirstFine(firstFine);
        group->SetGroup();
        return group;
    }

    /// Members from the bottom up, 16 by 16 in a chain of groups, each inside the next; fewer than 32 at its end.
    Row Chain(size_t count)
    {
        Row row;
        for (size_t i = 0; i < count; ++i) {
            if (i >= firstFine_)
                row.firstFine = std::min(row.firstFine, row.nodes.size());
            row.nodes.push_back(members_[i]);
            if ((i + 1) % kGroupSize == 0 && count - (i + 1) >= kGroupSize) {
                const bool isFine = row.firstFine != SIZE_MAX;
                row = {{Group(std::move(row))}, isFine ? 0 : SIZE_MAX};
            }
        }
        return row;
    }

    /// The same as one node, if it is any.
    Row OneOf(Row row)
    {
        if (row.nodes.size() < 2)
            return row;
        const bool isFine = row.firstFine != SIZE_MAX;
        return {{Group(std::move(row))}, isFine ? 0 : SIZE_MAX};
    }

    /// The fine members from `begin` on, above the path. A single one is a group nevertheless, so that its opacity
    /// rounds as it does beside members that happen to be empty.
    CompositeBase* Run(size_t begin)
    {
        const size_t end = members_.size();
        Row row{{}, 0};
        for (size_t block = begin; block < end;) {
            const size_t rest = (end - block) % kGroupSizeAbove;
            const size_t next = block + (rest != 0 ? rest : kGroupSizeAbove);
            // A lone member at the bottom of the run is painted over nothing, which rounds it just as a group does.
            if (next == block + 1 && next < end)
                row.nodes.push_back(members_[block]);
            else
                row.nodes.push_back(Group({Nodes(members_.begin() + static_cast<ptrdiff_t>(block),
                                                 members_.begin() + static_cast<ptrdiff_t>(next)),
                                           0}));
            block = next;
        }
        return row.nodes.size() == 1 ? row.nodes.front() : Group(std::move(row));
    }

    void Commit(Row row) noexcept
    {
        parent_.GetChildren() = std::move(row.nodes);
        parent_.SetFirstFine(row.firstFine);
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
    size_t firstFine_;
    Nodes members_;
    Nodes present_;
    qs::vector<bool> used_;
    qs::vector<std::unique_ptr<CompositeBase>> made_;
};

}  // namespace

namespace CompositeGrouping {

void Split(CompositeBase& parent, const CompositeBase* pathChild)
{
    Regrouping regrouping(parent);
    const Nodes& members = regrouping.GetMembers();
    const auto path = static_cast<size_t>(std::find(members.begin(), members.end(), pathChild) - members.begin());
    const size_t above = std::max(path + 1, regrouping.GetFirstFine());
    Regrouping::Row row = regrouping.OneOf(regrouping.Chain(path));
    if (path >= regrouping.GetFirstFine())
        row.firstFine = std::min(row.firstFine, row.nodes.size());
    row.nodes.insert(row.nodes.end(), members.begin() + static_cast<ptrdiff_t>(path),
                     members.begin() + static_cast<ptrdiff_t>(above));
    row.firstFine = std::min(row.firstFine, row.nodes.size());
    if (above < members.size())
        row.nodes.push_back(regrouping.Run(above));
    regrouping.Commit(std::move(row));
}

void Join(CompositeBase& parent, bool asOneGroup)
{
    Regrouping regrouping(parent);
    Regrouping::Row row = regrouping.Chain(regrouping.GetMembers().size());
    regrouping.Commit(asOneGroup ? regrouping.OneOf(std::move(row)) : std::move(row));
}

void Open(CompositeBase& parent)
{
    Regrouping regrouping(parent);
    regrouping.Commit({regrouping.GetMembers(), regrouping.GetFirstFine()});
}

}  // namespace CompositeGrouping
