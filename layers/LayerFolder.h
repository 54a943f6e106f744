#pragma once

#include "layers/HandleHints.h"
#include "layers/LayerContainer.h"

class Layer;

/// An ordered group of layers and further folders. Position 0 is the bottom.
///
/// Each child carries one counted reference from its folder, released when it leaves. "Flattened" means depth first,
/// bottom to top, a folder right before its contents.
class PAINTLAYER_EXPORT LayerFolder : public LayerContainer {
public:
    LayerFolder();
    explicit LayerFolder(const PntHandle& handle);
    LayerFolder(const LayerFolder&) = delete;
    LayerFolder& operator=(const LayerFolder&) = delete;
    ~LayerFolder() override;

    /// A deep copy with the same handles.
    LayerContainer* Clone() override;
    bool RemoveLayerFromOwnerLayer(LayerContainer* owner) override;
    void SetStencilCompositeDirty(bool dirty) override;
    bool isMask() const override { return false; }
    bool isStencil() const override { return false; }
    bool HasOwner(const PntHandle&) const override { return false; }
    qs::vector<PntHandle> GetOwnerLayerArray() const override { return {}; }
    LayerFolder* AsLayerFolder() override { return this; }

    /// Gives the folder the next "Folder-%d" name; numbers begin at 1 and are never used again.
    void CreateDefaultName();

    // --- contents ---

    /// Number of direct children; GetLayerContainerSize() counts nested ones as well.
    int GetSize() const;
    int GetLayerContainerSize() const;

    /// The children themselves; who changes the list keeps the counts right.
    qs::vector<LayerContainer*>& GetLCArray() { return children_; }
    const qs::vector<LayerContainer*>& GetLCArray() const { return children_; }

    /// Appends the flattened contents.
    void GetLCArray_FLATTEN(qs::vector<LayerContainer*>* out) const;

    /// Handles of the children, directOnly: without the contents of folders; else flattened.
    qs::vector<PntHandle> GetLCHArray(bool directOnly) const;

    void Clear();

    /// Replaces the contents by clones of the source's; takes its handle, name and active flag.
    void Copy(const LayerFolder& source);

    /// The same with all flags and what is remembered, also of the folders in it: for another version of a document.
    void CopyWhole(const LayerFolder& source);

    /// The first / last child, null when empty. Not shallow: goes down into folders until it meets a layer or an
    /// empty folder.
    LayerContainer* GetBottomLayerContainer(bool shallow) const;
    LayerContainer* GetTopLayerContainer(bool shallow) const;

    /// The layer met by going down the first / last children; null when that ends in an empty folder.
    Layer* GetBottomLayer() const;
    Layer* GetTopLayer() const;

    /// Neighbours in the flattened contents; null at the ends and for a stranger.
    LayerContainer* GetNextLayerContainer(const LayerContainer* container) const;
    LayerContainer* GetPreviousLayerContainer(const LayerContainer* container) const;

    /// The same, passing over folders.
    Layer* GetNextLayer(const Layer* layer) const;
    Layer* GetPreviousLayer(const Layer* layer) const;

    // --- looking up ---

    /// This folder itself, a direct child, or what a child folder finds, in this order; null when there is none.
    LayerContainer* GetLayerContainerFromHandle(const PntHandle& handle) const;

    /// Sets `where` to the folder that directly holds the container, at any depth; null and false when there is none.
    bool FindLayerContainer(const LayerContainer* container, LayerFolder** where);

    /// True for a direct child.
    bool FindLayerContainer(const LayerFolder* folder) const;

    /// True when `b` stands below (above) `a`. A folder and its first member stand level; a handle that is not found
    /// stands below all. Equal handles: false.
    bool IsBelow(const PntHandle& a, const PntHandle& b) const;
    bool IsAbove(const PntHandle& a, const PntHandle& b) const;

    /// Appends the masks that have `owner` among their owners, at any depth.
    void GetMaskLayers(qs::vector<PntHandle>& out, const PntHandle& owner) const;

    /// Appends the stencils among the direct children that have `owner` among their owners; child folders contribute
    /// their masks instead.
    void GetStencilLayers(qs::vector<PntHandle>& out, const PntHandle& owner) const;

    /// The owners of the container that `handle` names in this folder; empty when there is none.
    qs::vector<PntHandle> GetOwnerArray(const PntHandle& handle) const;

    /// The layers with a pixel of alpha (or coverage) above 0 at canvas pixel (x, y) or no farther from it than
    /// `tolerance` pixels, top to bottom. Layers that are invisible or stand in an inactive folder are left out unless
    /// includeHidden, locked ones unless includeLocked.
    qs::vector<Layer*> FindLayer(int x, int y, bool includeHidden, bool includeLocked, float tolerance) const;

    // --- changing ---

    /// Puts `container` next to `ref`, which may stand at any depth; without a `ref`, at the top (`above`) or the
    /// bottom of this folder. Below a folder means inside it, at its top. Takes a reference.
    /// False, with nothing changed, when `ref` is nowhere in this folder or `container` is null or holds this folder.
    bool AddLayerContainer(LayerContainer* container, LayerContainer* ref, bool above);

    /// The same with a handle; one that is not found acts as no reference.
    bool AddLayerContainer(LayerContainer* container, const PntHandle& ref, bool above);

    /// Takes the container out, at whatever depth it stands, and releases it; tells the host. A child folder that is
    /// emptied by this vanishes. False when it is not found.
    bool RemoveLayerContainer(LayerContainer* container);

    /// Moves every layer on the canvas.
    void Translate(int dx, int dy);

    /// Scales every layer's content about a canvas point. False, with nothing changed, for factors that are not above 0
    /// and where a result would grow too large.
    bool Scale(float xScale, float yScale, float xCenter, float yCenter);

    // --- flags and the remembered layer ---

    void SetCacheCurrentLC(const PntHandle& handle) { cachedCurrent_ = handle; }

    /// True when the remembered handle resolves inside this folder.
    bool HasCacheCurrentLC() const;

    /// The remembered layer; null when it is no layer or not found.
    Layer* GetCacheCurrentLC() const;

    /// Writes the document part of this handle, of the remembered one and of all contents.
    void VerifyAllLsHandle(const qsOS::Uuid& layerStack);

    void SetActive(bool active) { properties_.isActive = active; }
    bool isActive() const { return properties_.isActive; }

    /// Prints the folder and its contents on standard output when the host's debug level asks for dumps.
    void Debug();

private:
    int IndexOf(const LayerContainer* container) const;  // of a direct child, or -1
    LayerContainer* FindChild(const PntHandle& handle) const;
    int LCArrayIndex(const PntHandle& handle, int multiplier, int base) const;
    LayerContainer* GetNeighbour(const LayerContainer* container, int step, bool layersOnly) const;
    void InsertChild(int position, LayerContainer* container);
    void CollectHits(qs::vector<Layer*>& hits, int x, int y, bool includeHidden, bool includeLocked,
                     float tolerance) const;

    qs::vector<LayerContainer*> children_;  // bottom to top, one counted reference each
    mutable HandleHints hints_;
    PntHandle cachedCurrent_ = kNullHandle;
};
