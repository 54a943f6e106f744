#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Containers.h"
#include "platform/base/Reference.h"
#include "platform/imaging/blend/ComposePages.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/pages/ilTile.h"
#include "platform/os/Clock.h"

#include <algorithm>
#include <memory>

class LayerStack;

/// How a node meets the others.
enum class CompositeMode : int {
    Plain,  // 'P': its picture stands for itself and is painted over what lies below
    Effect,  // 'E': its blend mode reads what lies below
    Dropped,  // 'D': its container has left the document; draws nothing
};

/// A node of the composite tree, and by itself the kind without a container: the root, or a group of siblings that are
/// cached together.
///
/// A node shows one picture: its children's, bottom to top, over transparency. A live node (on the path to the
/// reference) composes it for each asked tile; any other keeps it as its cache. A node with one child that has nothing
/// to apply to it hands the child's image on and keeps none.
///
/// A member above which nothing reads what lies below, in its folder and in those around it, is fine: it joins the
/// picture with fractions of a level, which are rounded once, on the canvas. The others are applied one by one, each to
/// the nearest byte, so that whoever reads them reads the same bytes whatever is cached. So a node has fractions for
/// its fine children, or none.
class CompositeBase {
public:
    /// stack: borrowed, not null.
    explicit CompositeBase(LayerStack* stack) : stack_(stack) {}
    CompositeBase(const CompositeBase&) = delete;
    CompositeBase& operator=(const CompositeBase&) = delete;
    virtual ~CompositeBase();  // deletes the children

    /// The picture of the whole canvas: four channels, premultiplied, at offset (0, 0). Null when the node shows
    /// nothing by its kind (no children, an inactive folder); blank while composites are suspended.
    /// useCached: a good cache is returned as it is; otherwise it and those of the subtree are made again.
    /// keep: the result becomes the node's cache, which may reach beyond the canvas up to the next page edge.
    virtual qs::TempReference<ilSmartImage> Compose(bool useCached, bool keep);

    /// Replaces `tile` of the four-channel `target` by this node's picture.
    virtual void ComposeInto(ilMIOImage& target, const ilTile& tile);

    /// What makes up `tile`, bottom to top; none when the node is hidden. Borrowed, good until the next call.
    const qs::vector<CompositeSource>& GatherSources(const ilTile& tile);

    /// Writes the node and its subtree to the debug output.
    virtual void DebugPrint() const;

    /// The container of this node; the null handle for the root and for groups.
    virtual const PntHandle& GetHandle() const { return kNullHandle; }

    /// Appends what the node shows within `tile` to a composite's sources; borrowed images, good until the node or a
    /// layer changes.
    virtual void AppendSources(const ilTile& tile, qs::vector<CompositeSource>& sources);

    /// Appends the layers' images below this node one by one, as they are stored, whatever is cached; `isFolded` says
    /// that they reach the parent as one picture.
    struct StoredSource {
        CompositeSource source;
        bool isFolded = false;
    };
    virtual void AppendStored(qs::vector<StoredSource>& sources) const;

    /// Looks at the container again for the mode; nothing for a node without one.
    virtual void RefreshMode() {}

    /// Settles, in the whole subtree, from which member on all are fine. isExact: the node's own picture has to come
    /// out in whole bytes. Drops the caches that no longer fit. The nodes are to be grouped afterwards.
    void SettleFineness(bool isExact);

    /// The first fine member's position among all members; their number when none is.
    size_t GetFirstFineMember() const { return state_.firstFineMember; }

    /// The children, groups or not, from position `first` on are fine.
    void SetFirstFine(size_t first) { state_.firstFine = std::min(first, children_.size()); }
    size_t GetFirstFine() const { return state_.firstFine; }

    /// A copy for another document: the tree with its caches, which share pages. Owned by the caller.
    virtual CompositeBase* Copy(LayerStack* stack) const;

    /// Makes the cache of a node that needs one. useCached: as for Compose.
    void MakeCache(bool useCached);

    /// False when the container hides all that is in the node.
    virtual bool IsShown() const { return true; }

    // --- state ---

    LayerStack* GetStack() const { return stack_; }
    void MoveTo(LayerStack* stack) noexcept;  // with the subtree; both documents have the same containers
    CompositeMode GetMode() const { return state_.mode; }
    const PntHandle& GetEffectHandle() const { return state_.effect; }
    const qsOS::FILETIME& GetTimeStamp() const { return state_.timeStamp; }
    const qs::TempReference<ilSmartImage>& GetCache() const { return cache_.bytes; }
    bool IsPlain() const { return state_.mode == CompositeMode::Plain && state_.effect == kNullHandle; }

    /// On the path to the reference: composes anew for each tile. Drops the images of the other state.
    void SetLive(bool live);
    bool IsLive() const { return state_.isLive; }

    /// A group is made and dissolved by grouping; its children count as its parent's members.
    void SetGroup() { state_.isGroup = true; }
    bool IsGroup() const { return state_.isGroup; }

    /// The cache, if there is one, no longer holds within `tile`; it is mended there when it is next asked for.
    void MarkStale(const ilTile& tile) { state_.staleArea = ilTileUnion(state_.staleArea, tile); }

    /// Drops this node's cache, or those of the whole subtree.
    void DropCache();
    void DropCaches();

    // --- tree ---

    qs::vector<CompositeBase*>& GetChildren() { return children_; }  // bottom first, owned
    const qs::vector<CompositeBase*>& GetChildren() const { return children_; }

    /// Fills `path` with the nodes from this one down to the one of `handle`; false, with an empty path, when there is
    /// none.
    bool FindPath(const PntHandle& handle, qs::vector<CompositeBase*>& path);

    /// Puts `by` (null: nothing) in the place of the node of `handle`, which goes. For a tree without groups; fineness
    /// is to be settled afterwards. False when there is no such node below this one.
    bool Replace(const PntHandle& handle, std::unique_ptr<CompositeBase> by);

    /// Puts `node` right below the member `above`, in its group if it is in one; at the top for null. Groups that get
    /// it drop their caches. Fineness is to be settled and the node to be grouped afterwards.
    void InsertMember(std::unique_ptr<CompositeBase> node, const CompositeBase* above);

    /// Appends the children with groups opened: the containers' nodes, bottom first.
    void AppendMembers(qs::vector<CompositeBase*>& members) const;

protected:
    /// Replaces `sources_` by what makes up this node's picture within `tile`.
    virtual void CollectSources(const ilTile& tile);
    bool InsertBelow(std::unique_ptr<CompositeBase>& node, const CompositeBase* above);
    void MendCache();
    void CopyStateTo(CompositeBase& copy) const;
    ilTile GetCanvas() const;

    /// A picture with its fractions, where there can be some.
    struct Picture {
        qs::TempReference<ilSmartImage> bytes;
        qs::TempReference<ilSmartImage> fractions;
    };
    Picture NewPicture() const;
    static CompositeSource SourceOf(const Picture& picture);
    void ComposePicture(const Picture& picture, const ilTile& tile) const;

    /// What a copy of the node has besides its children and its cache.
    struct State {
        ilTile staleArea;  // where the cache must be mended
        PntHandle effect = kNullHandle;
        qsOS::FILETIME timeStamp;
        CompositeMode mode = CompositeMode::Plain;
        size_t firstFine = 0;  // among the children
        size_t firstFineMember = 0;
        bool isLive = false;
        bool isGroup = false;
    };

    LayerStack* stack_;
    State state_;
    qs::vector<CompositeBase*> children_;
    Picture cache_;  // the whole canvas; null when it must be made
    Picture live_;  // good for the tile asked for last
    qs::vector<CompositeSource> sources_;  // kept for its memory
};
