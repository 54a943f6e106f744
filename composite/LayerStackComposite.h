#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Containers.h"
#include "platform/base/Export.h"
#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/pages/ilTile.h"

class CompositeBase;
class Layer;
class LayerFolder;
class LayerStack;
class ilMemoryImg;
struct CompositeSource;

/// The composite of one document's image folder: a tree with a node for each container. It is split at one of them, the
/// reference (adjust LCH), which is the current layer as a rule. What lies below the reference is cached, and so is
/// what lies above it up to the top as far as its blend modes are normal. A stroke on the reference costs those two
/// caches and what is between them, whatever the number of layers:
///
///     top     F ┐
///             E ┘ cached: normal to the top
///             D   multiply: reads what lies below it, so it is applied in its turn
///             C   the reference, composed anew for each damaged tile
///             B ┐
///     bottom  A ┘ cached
///
/// A folder that holds the reference is split in the same way; any other folder is a node like D or E.
///
/// What always holds:
/// - The picture is the same, within a level, whatever the reference is (CompositeBase says how).
/// - How the tree is grouped depends on the order of the containers, their blend modes and the reference, and on
/// nothing
///   that happened before. So a tree with caches and one made anew give the same bytes.
/// - Where another reference rounds a page differently, the split damages that page through the port.
///
/// What must be told: a change of a container's pixels or properties, by CompositeBaseDirty, unless it is the
/// reference; a change of a blend mode always, by the same; a new layer by AddCompositeBase; any other change of the
/// structure by MakeCompositeTree. Damaging the canvas is the caller's.
class PAINTLAYER_EXPORT LayerStackComposite {
public:
    LayerStackComposite();
    LayerStackComposite(const LayerStackComposite&) = delete;
    LayerStackComposite& operator=(const LayerStackComposite&) = delete;
    virtual ~LayerStackComposite();

    /// Drops the composite, the mask and every cached image; the tree stays and caches again on demand.
    virtual void FreeData();

    /// The document whose tree this is; set by every rebuild as well. Null before.
    void SetOwner(LayerStack* stack) { owner_ = stack; }
    LayerStack* GetOwner() const { return owner_; }

    // --- tree ---

    /// Makes the tree of the image folder anew, with nothing cached, split at the current layer (a hard-linked stencil
    /// stands for its owner). `build`: composite mask and caches as well. Returns the root.
    CompositeBase* MakeCompositeTree(LayerStack* stack, bool build);

    /// A separate tree over the given containers, bottom first, or over a folder's children; handles that name nothing
    /// are left out. Owned by the caller (delete it); CompositeBase::Compose makes its picture.
    CompositeBase* MakeCompositeTree(LayerStack* stack, const qs::vector<PntHandle>& containers);
    CompositeBase* MakeCompositeTree(LayerStack* stack, LayerFolder* folder);

    /// To be called when nodes of a separate tree were exchanged (CompositeBase::Replace).
    static void SettleSeparateTree(CompositeBase& root);

    /// Makes `ref` the reference container; a mask or a stencil without an owner leaves none, a stencil with owners
    /// stands for its first. The 21st split since the last rebuild rebuilds the tree first. `notify` announces an edit,
    /// `build` makes the composite mask and the missing caches.
    void SplitCompositeTreeByRefLCH(LayerStack* stack, const PntHandle& ref, bool build, bool notify);

    /// The container changed, everywhere or within a canvas tile: caches that hold it are made again, or mended there,
    /// on the next build or composite.
    void CompositeBaseDirty(const PntHandle& handle);
    void CompositeBaseDirty(const PntHandle& handle, const ilTile& tile);

    /// The layer entered the image folder: its node joins the tree, and caches that it has no part in stay. The
    /// reference follows the current layer. Without a tree that has all the others, the tree is made anew. The caller
    /// damages the canvas.
    void AddCompositeBase(LayerStack* stack, const Layer& layer);

    /// The container left or entered the document: makes the tree anew, with mask and caches.
    void DeleteCompositeBase(LayerStack* stack, const PntHandle& handle);

    /// Forgets the document: tree, images and owner go when `stack` is the owner.
    void DeleteLayerStack(LayerStack* stack);

    /// Takes over tree, reference and caches of `source` as copies that share pages; the owner stays this one's own
    /// when it has one.
    void CopyFrom(LayerStackComposite* source);

    /// The same without a copy: the source is left without a tree, mask and caches. This one has its owner already.
    void TakeFrom(LayerStackComposite& source) noexcept;

    // --- caches ---

    /// Makes the caches beside the path to the reference; nothing while composites are suspended or without a tree.
    /// useCached: those that are still good stay; otherwise all are made again.
    void BuildCache(LayerStack* stack, bool useCached);
    void MakeBelow(LayerStack* stack, const ilTile* tile, bool flag);
    void MakeAbove(LayerStack* stack, bool flag, bool update);

    // --- pictures ---

    /// Composes `tile` (canvas pixels) of the current composite and touches nothing else of it; null: all of it, in a
    /// new image. While composites are suspended the area becomes transparent.
    void MakeComposite(LayerStack* stack, const ilTile* tile);

    /// Composes `tile` straight into a four-channel memory image of the canvas: the same pixels without the way through
    /// the current composite, which stays as it is.
    void MakeCompositeIn(ilMemoryImg& target, LayerStack* stack, const ilTile& tile);
    const qs::TempReference<ilSmartImage>& GetCurrentComposite() const { return currentComposite_; }

    /// Makes the overlay that is shown over the composite: the selection mask while it is used, and the visible masks
    /// of the current layer while masks are shown. What a mask covers (what is selected) is tinted in its colour at its
    /// display opacity. remake: false keeps the one there is.
    void MakeCompositeMask(LayerStack* stack, bool remake);

    /// The same of the given masks, bottom first.
    void MakeCompositeMask(LayerStack* stack, const qs::vector<PntHandle>& masks, bool withSelection = false);

    /// Four channels, premultiplied, canvas coordinates; null when there is nothing to show.
    const qs::TempReference<ilSmartImage>& GetCompositeMask() const { return compositeMask_; }

    // --- reference container ---

    const PntHandle& GetAdjustLCH() const { return grouping_.adjustLCH; }
    void SetAdjustLCH(const PntHandle& handle) { grouping_.adjustLCH = handle; }

    /// The nodes from the root to the one of the adjust LCH; empty when no node holds it.
    qs::vector<CompositeBase*>* GetAdjustLCHPath() { return &adjustPath_; }
    void GenerateAdjustLCHPath();

    /// Whether `other` lies below or above `ref` in the image folder (LayerFolder::IsBelow, IsAbove); neither when one
    /// of them is not there.
    void DetermineBelowAndAbove(const PntHandle& ref, const PntHandle& other, bool& below, bool& above) const;

    CompositeBase* GetRoot() const { return root_; }
    int GetSplitCount() const { return grouping_.splitCount; }

    /// Writes the tree to the debug output.
    void Debug() const;

private:
    void RebuildTree(LayerStack* stack);
    bool InsertNode(LayerStack* stack, const Layer& layer);
    PntHandle FindCurrentReference(LayerStack* stack) const;
    void GroupAnew(LayerStack* stack);
    void DeleteTree();
    void DropReference(LayerStack* stack, bool notify);
    qs::vector<CompositeBase*> FindNodes(const PntHandle& handle) const;
    void ChangeLive(const PntHandle& ref);
    void GroupAroundLive();
    void BuildCacheOnPlain(LayerStack* stack, CompositeBase* node, bool useCached);
    qs::vector<CompositeSource> GatherSources(LayerStack* stack, const ilTile& tile);

    /// How the tree is split. A copy of the tree has all of this.
    struct Grouping {
        int splitCount = 0;  // since the tree was last made anew
        PntHandle adjustLCH = kNullHandle;
        PntHandle liveRef = kNullHandle;  // what the current layer makes the reference: the tree is grouped around it
        PntHandle groupedRef = kNullHandle;  // around which it was grouped last
        bool isStale = false;  // liveRef, a blend mode or the tree changed since
        bool isFinenessStale = false;  // a blend mode changed since
    };

    qs::TempReference<ilSmartImage> currentComposite_;
    qs::TempReference<ilSmartImage> compositeMask_;
    LayerStack* owner_ = nullptr;  // borrowed
    CompositeBase* root_ = nullptr;  // owned
    qs::vector<CompositeBase*> adjustPath_;
    Grouping grouping_;
};
