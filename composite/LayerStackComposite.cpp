#include "composite/LayerStackComposite.h"

#include "composite/CompositeBase.h"
#include "composite/CompositeGrouping.h"
#include "composite/CompositeLayer.h"
#include "composite/CompositeLayerFolder.h"
#include "composite/CompositePort.h"
#include "layers/Layer.h"
#include "layers/LayerFolder.h"
#include "platform/imaging/pages/ilMemoryImg.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace {

constexpr int kSplitsBeforeRebuild = 20;

std::unique_ptr<CompositeBase> MakeNode(LayerStack* stack, const LayerContainer& container);

void AddNodes(LayerStack* stack, CompositeBase& parent, const LayerFolder& folder)
{
    for (const LayerContainer* child : folder.GetLCArray()) {
        std::unique_ptr<CompositeBase> node = MakeNode(stack, *child);
        parent.GetChildren().push_back(node.get());
        static_cast<void>(node.release());
    }
}

std::unique_ptr<CompositeBase> MakeNode(LayerStack* stack, const LayerContainer& container)
{
    if (const auto* folder = dynamic_cast<const LayerFolder*>(&container)) {
        auto node = std::make_unique<CompositeLayerFolder>(stack, folder->GetLayerContainerHandle());
        AddNodes(stack, *node, *folder);
        return node;
    }
    return std::make_unique<CompositeLayer>(stack, static_cast<const Layer&>(container));
}

/// The container that is live while `layer` is the current one: a stencil stands for its first owner, a mask and a
/// stencil without owners for none.
PntHandle ReferenceOf(LayerStack* stack, const Layer* layer)
{
    if (layer == nullptr || layer->isMask())
        return kNullHandle;
    if (!layer->isStencil())
        return layer->GetLayerContainerHandle();
    const qs::vector<PntHandle> owners = GetCompositePort().GetOwnerArray(stack, layer->GetLayerContainerHandle());
    return owners.empty() ? kNullHandle : owners.front();
}

/// Position of the path's node after `parent` among the parent's members; the number of members when the path ends
/// there or does not come by.
size_t PositionOnPath(const qs::vector<CompositeBase*>& path, const CompositeBase* parent,
                      const qs::vector<CompositeBase*>& members)
{
    const auto at = std::find(path.begin(), path.end(), parent);
    if (at == path.end() || at + 1 == path.end())
        return members.size();
    return static_cast<size_t>(std::find(members.begin(), members.end(), at[1]) - members.begin());
}

/// Dissolves the groups in the whole subtree.
void OpenAll(CompositeBase& node)
{
    CompositeGrouping::Open(node);
    for (CompositeBase* child : node.GetChildren())
        OpenAll(*child);
}

/// Appends the nodes of the containers that have members, from `node` down.
void AppendParents(CompositeBase& node, qs::vector<CompositeBase*>& parents)
{
    qs::vector<CompositeBase*> members;
    node.AppendMembers(members);
    if (!members.empty())
        parents.push_back(&node);
    for (CompositeBase* member : members)
        AppendParents(*member, parents);
}

/// The nodes of both lists, each once.
qs::vector<CompositeBase*> UnionOf(qs::vector<CompositeBase*> nodes, const qs::vector<CompositeBase*>& others)
{
    for (CompositeBase* node : others)
        if (std::find(nodes.begin(), nodes.end(), node) == nodes.end())
            nodes.push_back(node);
    return nodes;
}

}  // namespace

LayerStackComposite::LayerStackComposite() = default;

LayerStackComposite::~LayerStackComposite()
{
    DeleteTree();
}

void LayerStackComposite::FreeData()
{
    currentComposite_.reset();
    compositeMask_.reset();
    if (root_ != nullptr)
        root_->DropCaches();
}

void LayerStackComposite::DeleteTree()
{
    adjustPath_.clear();
    delete root_;
    root_ = nullptr;
}

// --- tree ---

CompositeBase* LayerStackComposite::MakeCompositeTree(LayerStack* stack, bool build)
{
    RebuildTree(stack);
    if (build) {
        MakeCompositeMask(stack, true);
        BuildCache(stack, false);
    }
    return root_;
}

void LayerStackComposite::RebuildTree(LayerStack* stack)
{
    FreeData();
    DeleteTree();
    owner_ = stack;
    const CompositePort& port = GetCompositePort();
    auto root = std::make_unique<CompositeBase>(stack);
    if (const LayerFolder* folder = port.GetImageFolder(stack))
        AddNodes(stack, *root, *folder);
    root_ = root.release();

    root_->SettleFineness(false);
    ChangeLive(FindCurrentReference(stack));
    GroupAnew(stack);
}

/// What the current layer makes the reference, where a node holds it; else the null handle.
PntHandle LayerStackComposite::FindCurrentReference(LayerStack* stack) const
{
    const PntHandle reference = ReferenceOf(stack, GetCompositePort().GetCurrentLayer(stack));
    return FindNodes(reference).size() < 2 ? kNullHandle : reference;
}

/// Groups all nodes, among them new ones, around the live container, which the current layer has made.
void LayerStackComposite::GroupAnew(LayerStack* stack)
{
    const Layer* current = GetCompositePort().GetCurrentLayer(stack);
    const bool isSoftStencil = current != nullptr && current->isStencil() && !current->IsHardLinkToOwnerLayer();
    grouping_.adjustLCH = isSoftStencil ? kNullHandle : grouping_.liveRef;
    grouping_.splitCount = 0;
    grouping_.isFinenessStale = grouping_.isStale = true;
    GroupAroundLive();
}

void LayerStackComposite::AddCompositeBase(LayerStack* stack, const Layer& layer)
{
    if (root_ == nullptr || !InsertNode(stack, layer)) {
        RebuildTree(stack);
        return;
    }
    grouping_.liveRef = FindCurrentReference(stack);
    GroupAnew(stack);
}

bool LayerStackComposite::InsertNode(LayerStack* stack, const Layer& layer)
{
    LayerFolder* top = GetCompositePort().GetImageFolder(stack);
    LayerFolder* holding = nullptr;
    if (top == nullptr || !top->FindLayerContainer(&layer, &holding))
        return false;
    qs::vector<CompositeBase*> path{root_};
    if (holding != top && (path.clear(), !root_->FindPath(holding->GetLayerContainerHandle(), path)))
        return false;
    const qs::vector<LayerContainer*>& siblings = holding->GetLCArray();
    const auto position = static_cast<size_t>(std::find(siblings.begin(), siblings.end(), &layer) - siblings.begin());
    qs::vector<CompositeBase*> members;
    path.back()->AppendMembers(members);
    if (members.size() + 1 != siblings.size())
        return false;
    const CompositeBase* above = position < members.size() ? members[position] : nullptr;
    path.back()->InsertMember(std::make_unique<CompositeLayer>(stack, layer), above);
    for (CompositeBase* node : path)
        node->DropCache();
    return true;
}

CompositeBase* LayerStackComposite::MakeCompositeTree(LayerStack* stack, const qs::vector<PntHandle>& containers)
{
    auto root = std::make_unique<CompositeBase>(stack);
    for (const PntHandle& handle : containers)
        if (const LayerContainer* container = GetCompositePort().GetContainer(stack, handle)) {
            std::unique_ptr<CompositeBase> node = MakeNode(stack, *container);
            root->GetChildren().push_back(node.get());
            static_cast<void>(node.release());
        }
    SettleSeparateTree(*root);
    return root.release();
}

void LayerStackComposite::SettleSeparateTree(CompositeBase& root)
{
    root.SettleFineness(false);
    OpenAll(root);
}

CompositeBase* LayerStackComposite::MakeCompositeTree(LayerStack* stack, LayerFolder* folder)
{
    return MakeCompositeTree(stack, folder != nullptr ? folder->GetLCHArray(true) : qs::vector<PntHandle>());
}

void LayerStackComposite::SplitCompositeTreeByRefLCH(LayerStack* stack, const PntHandle& ref, bool build, bool notify)
{
    ++grouping_.splitCount;
    if (root_ == nullptr || grouping_.splitCount > kSplitsBeforeRebuild)
        RebuildTree(stack);
    const CompositePort& port = GetCompositePort();
    const Layer* layer = port.GetLayer(stack, ref);
    PntHandle reference = layer != nullptr ? layer->GetLayerContainerHandle() : ref;
    if (layer != nullptr && layer->IsCoverage()) {
        reference = ReferenceOf(stack, layer);
        if (reference == kNullHandle) {
            DropReference(stack, notify);
            return;
        }
    }
    qs::vector<CompositeBase*> nodes = FindNodes(reference);
    if (nodes.size() < 2 && reference != kNullHandle && port.GetContainer(stack, reference) != nullptr) {
        RebuildTree(stack);  // a container that came after the tree was made
        nodes = FindNodes(reference);
    }
    grouping_.adjustLCH = nodes.size() < 2 ? kNullHandle : reference;
    ChangeLive(grouping_.adjustLCH);
    GroupAroundLive();
    GenerateAdjustLCHPath();
    if (notify)
        port.Notify(stack, true);
    if (build) {
        MakeCompositeMask(stack, true);
        BuildCache(stack, true);
    }
}

/// Leaves no reference. The grouping, and the caches with it, stays until the next composite asks for another one.
void LayerStackComposite::DropReference(LayerStack* stack, bool notify)
{
    grouping_.adjustLCH = kNullHandle;
    ChangeLive(kNullHandle);
    GenerateAdjustLCHPath();
    if (notify)
        GetCompositePort().Notify(stack, true);
}

/// The containers' nodes from the root to the one of `handle`; the root alone when there is none.
qs::vector<CompositeBase*> LayerStackComposite::FindNodes(const PntHandle& handle) const
{
    qs::vector<CompositeBase*> path;
    if (!root_->FindPath(handle, path))
        return {root_};
    std::erase_if(path, [](const CompositeBase* node) { return node->IsGroup(); });
    return path;
}

/// Makes `ref` the live container and damages what rounds otherwise for it; the grouping follows later.
void LayerStackComposite::ChangeLive(const PntHandle& ref)
{
    if (ref == grouping_.liveRef)
        return;
    const qs::vector<CompositeBase*> oldPath = FindNodes(grouping_.liveRef);
    const qs::vector<CompositeBase*> newPath = FindNodes(ref);
    qs::vector<CompositeBase*> members;
    for (CompositeBase* node : UnionOf(newPath, oldPath)) {
        members.clear();
        node->AppendMembers(members);
        CompositeGrouping::DamageDifference(*node, PositionOnPath(oldPath, node, members),
                                            PositionOnPath(newPath, node, members));
    }
    grouping_.liveRef = ref;
    grouping_.isStale = true;
}

/// Groups the nodes on the path to the live container around it, and joins those that were on the path before; where a
/// blend mode changed, all nodes.
void LayerStackComposite::GroupAroundLive()
{
    if (!grouping_.isStale)
        return;
    const qs::vector<CompositeBase*> newPath = FindNodes(grouping_.liveRef);
    qs::vector<CompositeBase*> changed = UnionOf(newPath, FindNodes(grouping_.groupedRef));
    if (grouping_.isFinenessStale) {
        root_->SettleFineness(false);
        qs::vector<CompositeBase*> parents;
        AppendParents(*root_, parents);
        changed = UnionOf(std::move(changed), parents);
    }
    qs::vector<CompositeBase*> members;
    for (CompositeBase* node : changed) {
        members.clear();
        node->AppendMembers(members);
        const size_t position = PositionOnPath(newPath, node, members);
        const bool isOnPath = std::find(newPath.begin(), newPath.end(), node) != newPath.end();
        if (position < members.size())
            CompositeGrouping::Split(*node, members[position]);
        else if (isOnPath && node != root_)
            CompositeGrouping::Open(*node);  // the reference itself: all that is in it may change
        else
            CompositeGrouping::Join(*node, node == root_);
        node->SetLive(isOnPath);
    }
    grouping_.groupedRef = grouping_.liveRef;
    grouping_.isStale = grouping_.isFinenessStale = false;
    GenerateAdjustLCHPath();
}

void LayerStackComposite::GenerateAdjustLCHPath()
{
    adjustPath_.clear();
    if (root_ != nullptr)
        root_->FindPath(grouping_.adjustLCH, adjustPath_);
}

void LayerStackComposite::CompositeBaseDirty(const PntHandle& handle)
{
    qs::vector<CompositeBase*> path;
    if (root_ == nullptr || !root_->FindPath(handle, path))
        return;
    for (CompositeBase* node : path)
        node->DropCache();
    CompositeBase& node = *path.back();
    node.DropCaches();
    const CompositeMode before = node.GetMode();
    node.RefreshMode();
    if (node.GetMode() != before)
        grouping_.isStale = grouping_.isFinenessStale = true;
}

void LayerStackComposite::CompositeBaseDirty(const PntHandle& handle, const ilTile& tile)
{
    qs::vector<CompositeBase*> path;
    if (root_ == nullptr || !root_->FindPath(handle, path))
        return;
    for (CompositeBase* node : path)
        node->MarkStale(tile);
}

void LayerStackComposite::DeleteCompositeBase(LayerStack* stack, const PntHandle&)
{
    MakeCompositeTree(stack, true);
}

void LayerStackComposite::DeleteLayerStack(LayerStack* stack)
{
    if (stack != owner_)
        return;
    FreeData();
    DeleteTree();
    owner_ = nullptr;
    grouping_ = {};
}

void LayerStackComposite::CopyFrom(LayerStackComposite* source)
{
    if (source == nullptr || source == this)
        return;
    LayerStack* owner = owner_ != nullptr ? owner_ : source->owner_;
    CompositeBase* root = source->root_ != nullptr ? source->root_->Copy(owner) : nullptr;
    DeleteTree();
    root_ = root;
    owner_ = owner;
    const auto share = [](const qs::TempReference<ilSmartImage>& image) {
        return qs::TempReference<ilSmartImage>(image ? new ilSmartImage(*image, 0, 0) : nullptr);
    };
    currentComposite_ = share(source->currentComposite_);
    compositeMask_ = share(source->compositeMask_);
    grouping_ = source->grouping_;
    GenerateAdjustLCHPath();
}

void LayerStackComposite::TakeFrom(LayerStackComposite& source) noexcept
{
    DeleteTree();
    root_ = std::exchange(source.root_, nullptr);
    if (root_ != nullptr)
        root_->MoveTo(owner_);
    adjustPath_ = std::exchange(source.adjustPath_, {});
    currentComposite_ = std::exchange(source.currentComposite_, {});
    compositeMask_ = std::exchange(source.compositeMask_, {});
    grouping_ = source.grouping_;
}

// --- caches ---

void LayerStackComposite::BuildCache(LayerStack* stack, bool useCached)
{
    if (root_ == nullptr || GetCompositePort().CompositesSuspended(stack))
        return;
    GroupAroundLive();
    const qs::vector<CompositeBase*> path = FindNodes(grouping_.liveRef);
    for (size_t i = 0; i < path.size(); ++i)
        for (CompositeBase* child : path[i]->GetChildren())
            if (i + 1 == path.size() || child != path[i + 1])
                BuildCacheOnPlain(stack, child, useCached);
}

void LayerStackComposite::BuildCacheOnPlain(LayerStack* stack, CompositeBase* node, bool useCached)
{
    if (node->IsPlain())
        node->MakeCache(useCached);
    else
        for (CompositeBase* child : node->GetChildren())
            BuildCacheOnPlain(stack, child, useCached);
}

void LayerStackComposite::MakeBelow(LayerStack* stack, const ilTile*, bool)
{
    BuildCache(stack, false);
}

void LayerStackComposite::MakeAbove(LayerStack* stack, bool, bool)
{
    MakeCompositeMask(stack, true);
    BuildCache(stack, false);
}

// --- pictures ---

void LayerStackComposite::MakeComposite(LayerStack* stack, const ilTile* tile)
{
    if (!currentComposite_ || (root_ != nullptr && tile == nullptr))
        currentComposite_.reset(new ilSmartImage(ilPixel(kUnsignedByte, 4)));
    if (root_ == nullptr)
        return;
    const CompositePort& port = GetCompositePort();
    const ilTile canvas = port.GetSize(stack);
    const ilTile area = tile != nullptr ? *tile : canvas;
    const ilTile shown = port.CompositesSuspended(stack) ? ilTile() : ilTileIntersection(area, canvas);
    if (shown != area)
        currentComposite_->fillTile(area, ilPixel(kUnsignedByte, 4));
    if (shown.IsEmpty())
        return;
    ComposePages(*currentComposite_, shown, GatherSources(stack, shown));
}

void LayerStackComposite::MakeCompositeIn(ilMemoryImg& target, LayerStack* stack, const ilTile& tile)
{
    const CompositePort& port = GetCompositePort();
    const ilTile shown =
        root_ == nullptr || port.CompositesSuspended(stack) ? ilTile() : ilTileIntersection(tile, port.GetSize(stack));
    if (shown != tile)
        target.fillTile(tile, ilPixel(kUnsignedByte, 4));
    if (!shown.IsEmpty())
        ComposePages(target, shown, GatherSources(stack, shown));
}

/// What makes up `tile` of the canvas. With the current layer alone shown, a folder around it that is inactive hides it
/// all the same.
qs::vector<CompositeSource> LayerStackComposite::GatherSources(LayerStack* stack, const ilTile& tile)
{
    GroupAroundLive();
    if (!GetCompositePort().IsShowCurrentLayerOnly(stack))
        return root_->GatherSources(tile);
    const qs::vector<CompositeBase*> path = FindNodes(grouping_.liveRef);
    qs::vector<CompositeSource> sources;
    const bool isShown =
        std::all_of(path.begin(), path.end(), [](const CompositeBase* node) { return node->IsShown(); });
    if (path.size() > 1 && isShown)
        path.back()->AppendSources(tile, sources);
    return sources;
}

// --- reference container ---

void LayerStackComposite::DetermineBelowAndAbove(const PntHandle& ref, const PntHandle& other, bool& below,
                                                 bool& above) const
{
    below = above = false;
    const LayerFolder* folder = owner_ != nullptr ? GetCompositePort().GetImageFolder(owner_) : nullptr;
    if (folder == nullptr || folder->GetLayerContainerFromHandle(ref) == nullptr ||
        folder->GetLayerContainerFromHandle(other) == nullptr)
        return;
    below = folder->IsBelow(ref, other);
    above = folder->IsAbove(ref, other);
}

void LayerStackComposite::Debug() const
{
    if (root_ != nullptr)
        root_->DebugPrint();
}
