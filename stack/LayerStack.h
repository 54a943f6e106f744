#pragma once

#include "composite/LayerStackComposite.h"
#include "layers/Layer.h"
#include "layers/LayerFolder.h"
#include "platform/base/CString.h"
#include "platform/base/Uuid.h"
#include "platform/imaging/DamageControl.h"
#include "platform/imaging/PaintColor.h"
#include "platform/imaging/PaintOps.h"
#include "platform/imaging/Symmetry.h"
#include "platform/imaging/ilMemoryImg.h"
#include "platform/imaging/ilSmartImage.h"

#include <array>
#include <cstdint>
#include <memory>

class LayerStackView;
class MIOLayerStack_sr;
class MaskingPaintOps;

/// One painting document: a canvas of fixed size with three ordered folders of layers (image, mask, stencil), a
/// selection mask outside them, a current layer with its painter, cached composites, and the image plane that its
/// views show.
///
/// Invariants: every container carries the stack's instance handle in the first half of its own; folders nest one level
/// deep; the selection mask stands in no folder; a deletion that keeps one never leaves the image folder empty.
///
/// In every handle argument the current-layer handle names the current layer. A handle that resolves to nothing, or to
/// a container of the wrong kind, makes a call do nothing and return false, null, an empty list or the null handle.
/// Layers and folders are borrowed in arguments and results. Coordinates are canvas pixels unless stated.
class PAINTLAYER_EXPORT LayerStack : public qs::ReferenceCount {
public:
    // --- construction (LayerStack.cpp) ---

    /// An empty document without layers; width and height as IsAcceptableSize takes them, others act as 1 by 1.
    LayerStack(qsOS::Uuid instance, int width, int height);

    /// A copy that answers to the same handles: folders and selection mask are cloned (images are shared), the image
    /// plane is taken away from the source. A null source gives an empty stack without a canvas.
    explicit LayerStack(qs::Reference<LayerStack> source);

    /// An empty stack without a canvas: there is no stored form.
    explicit LayerStack(MIOLayerStack_sr* record);

    LayerStack(const LayerStack&) = delete;
    LayerStack& operator=(const LayerStack&) = delete;
    ~LayerStack() override;

    MIOLayerStack_sr* getMIOLayerStack_sr() { return nullptr; }
    static bool store(MIOLayerStack_sr*) { return false; }
    static bool dispose(MIOLayerStack_sr*) { return true; }
    static void connectLayers(MIOLayerStack_sr*) {}

    // --- the document's own properties (LayerStack.cpp) ---

    qsOS::Uuid GetLsInstanceHandle() const { return instance_; }
    ilTile GetSize() const { return size_; }
    bool GetClipToSize() const { return clipToSize_; }

    /// Sides of 1 to kMaxSide and at most GetMaxPixelCount() pixels.
    static bool IsAcceptableSize(int64_t width, int64_t height);
    static constexpr int kMaxSide = 1'000'000;
    static int64_t GetMaxPixelCount();
    static void SetMaxPixelCount(int64_t count);  // below 1: unchanged

    /// Stored only; 100 by 100 at first.
    void SetResolution(int x, int y);
    void GetResolution(int& x, int& y) const;

    PaintColor GetBackgroundColor() const { return backgroundColor_; }
    void SetBackgroundColor(const PaintColor& color) { backgroundColor_ = color; }

    /// Owned by the stack from here on; null for none.
    void SetSymmetry(Symmetry* symmetry);
    Symmetry* GetSymmetry() const { return symmetry_.get(); }

    LayerStackComposite* GetLSComposite() { return &composite_; }

    bool GetShowCurrentLayerOnly() const { return showCurrentLayerOnly_; }
    void SetShowCurrentLayerOnly(bool on);
    bool GetMaskDisable() const { return maskDisable_; }
    void SetMaskDisable(bool disable);
    bool GetMaskVisible() const { return maskVisible_; }
    void SetMaskVisible(bool visible);

    void EnableMasking(bool) {}
    bool isMaskingEnabled() const { return true; }

    /// Tells the host and the changed signal that the document was edited.
    void Notify(bool changed);

    /// Prints the folders and transform groups; only at debug level 8214.
    void debug();

    // --- folders and look-up (LayerStackLookup.cpp) ---

    /// Mode 0: the image folder, 2: the stencil folder, any other: the mask folder. Never null.
    LayerFolder* GetLayerFolder(LayerMode mode) const;

    LayerContainer* GetLayerContainerFromHandle(const PntHandle& handle) const;
    Layer* GetLayerFromHandle(const PntHandle& handle) const;
    LayerFolder* GetLayerFolderFromHandle(const PntHandle& handle) const;

    PntHandle GetCurrentLayerContainerHandle() const;
    PntHandle GetSelectionMaskHandle() const;

    /// Handles of the chosen folder's containers, bottom to top; without `directOnly` a folder's follow it.
    qs::vector<PntHandle> GetLayerContainerHandleArray(LayerMode mode, bool directOnly) const;

    /// The folder that directly holds the container: one of the three, or with `deep` a sub-folder as well.
    LayerFolder* FindLayerFolder(const PntHandle& handle, bool deep) const;
    LayerFolder* FindLayerFolderHasLayer(const PntHandle& handle) const;

    /// Compares with the names of all layers, not of folders, byte for byte. A null name is unique.
    bool IsLayerNameUnique(const char* name) const;

    /// Neighbours within the layer's own folder, upwards and downwards.
    Layer* GetNextLayer(Layer* layer) const;
    Layer* GetPreviousLayer(Layer* layer) const;
    LayerContainer* GetNextLayerContainer(LayerContainer* container) const;
    LayerContainer* GetPreviousLayerContainer(LayerContainer* container) const;
    Layer* GetTopLayer(LayerMode mode) const;
    Layer* GetBottomLayer(LayerMode mode) const;

    /// What a canvas point hits: the current stencil, else a mask of the current layer, else the first image layer.
    /// The flags and the tolerance in pixels are those of LayerFolder::FindLayer.
    PntHandle FindLayer(int x, int y, bool includeHidden, bool includeLocked, float tolerance) const;

    /// Handles of the masks or stencils connected to a layer, in folder order.
    qs::vector<PntHandle> getMaskLayers(const PntHandle& owner) const;
    qs::vector<PntHandle> getStencilLayers(const PntHandle& owner) const;

    /// The owners of the named mask or stencil, in the order in which they were connected.
    qs::vector<PntHandle> getOwnerArray(const PntHandle& handle) const;

    /// Between canvas and layer coordinates, in place: minus or plus the layer's offset.
    void LayerStackToLayerCoords(float& x, float& y, const PntHandle& layer) const;
    void LayerStackToLayerCoords(int& x, int& y, const PntHandle& layer) const;
    void LayerToLayerStackCoords(float& x, float& y, const PntHandle& layer) const;
    void LayerToLayerStackCoords(int& x, int& y, const PntHandle& layer) const;

    /// The canvas in the layer's coordinates; an empty tile when the handle is no layer's.
    ilTile GetLayerStackBndInLayerCoord(const PntHandle& layer) const;

    // --- structure (LayerStackAdd.cpp, LayerStackDelete.cpp, LayerStackMove.cpp) ---

    /// Insert only: stamps the handle and takes one reference. False when the container is null or already here.
    bool AddLayerToStack(Layer* layer, const PntHandle& where, bool above);
    bool AddLayerFolderToStack(LayerFolder* folder, LayerMode mode, const PntHandle& where);

    /// Adds `layer` beside the container that `where` names (inside a folder's top, when not `above`), else at the top
    /// or bottom of its mode's folder, and makes it current. With `rebuild` the composites follow at once, else at
    /// the next update. Returns its handle.
    PntHandle AddLayer(Layer* layer, const PntHandle& where, bool rebuild, bool above);

    /// Makes a raster layer of a copy of `image`, or an empty one, at canvas offset (x, y) and adds it as above;
    /// `redraw` brings the image plane up to date. The null handle, with nothing changed, for layer types 2 and 3, and
    /// for the current-layer position while the selection mask is current.
    PntHandle AddLayer(qs::TempReference<ilImage> image, qs::TempReference<ilImage> aux, LayerMode mode, LayerType type,
                       bool above, int shapeType, const PntHandle& where, bool redraw, int x, int y,
                       bool forceAlphaValid);

    /// Adds a folder with one new empty layer in it above the container that `where` names. The null handle when that
    /// one stands in a sub-folder.
    PntHandle AddLayerFolder(LayerMode mode, const PntHandle& where);

    /// Deletes the named layer, not the selection mask; the image folder keeps one layer. With `redraw` the canvas
    /// is redrawn, else at the next update.
    void DeleteCurrentLayer(const PntHandle& handle, bool redraw);

    /// Deletes a sub-folder and what it holds; the bottom image layer becomes current. Not redrawn.
    void DeleteLayerFolder(LayerFolder* folder);

    /// Leaves one new empty image layer.
    void DeleteAllLayers();
    void DeleteInvisibleLayers(bool notify);

    /// Moves a container next to `target`, as LayerFolder::AddLayerContainer places it, within the folder of its mode.
    /// False, with nothing changed, when that is impossible or would nest folders. Not redrawn.
    bool MoveLayer(const PntHandle& moved, const PntHandle& target, bool above);

    // --- the current layer and its painter (LayerStackCurrent.cpp) ---

    Layer* GetCurrentLayerPtr() const { return currentLayer_; }

    /// Makes a layer current; a folder's handle, the layer that was current in it last. `splitFlag` notifies the host.
    /// Nothing happens for the current layer; for no layer only with `force`: then none is current.
    void SetCurrentLayer(const PntHandle& handle, bool redraw, bool splitFlag, bool force);

    /// The painter of the current layer, bound to its image, clipped to the canvas and the selection; null without a
    /// current layer. Borrowed, good until the current layer changes.
    PaintOps* GetCurrentLayerPainter();

    /// The same, as it was left by its last user when it exists.
    PaintOps* GetCLP();

    /// The painter while it composes a stroke over the saved original, else null.
    MaskingPaintOps* GetMaskingPainter() const;

    /// Lets the current painter's stamps reach exactly the canvas.
    void UpdateBrushClippingRect();

    void setMarkerBlend(bool on);
    void setMarkerWetness(float wetness);

    // --- layer properties (LayerStackProperties.cpp); what changes the picture damages and, with `redraw`, shows it
    // ---

    LayerMode GetLayerMode(const PntHandle& handle) const;  // 0 when no layer
    LayerBlendMode GetLayerBlend(const PntHandle& handle) const;  // normal when no layer
    void SetLayerBlend(const PntHandle& handle, LayerBlendMode mode);

    /// Clamped to 0 to 1; a NaN changes nothing.
    void SetLayerOpacity(const PntHandle& handle, float opacity);
    float GetLayerOpacity(const PntHandle& handle) const;  // 1 when no layer

    void SetLayerVisible(const PntHandle& handle, bool visible, bool redraw);
    bool isLayerVisible(const PntHandle& handle) const;

    /// All layers of the three folders, or the named ones.
    void SetAllLayerVisible(bool visible, bool redraw);
    void SetAllLayerVisible(const qs::vector<PntHandle>& handles, bool visible, bool redraw);

    void SetLayerFolderActive(const PntHandle& handle, bool active, bool redraw);
    void SetLayerActive(const PntHandle& handle, bool active);

    /// A null name stores the container's text for that.
    void SetLayerContainerName(const PntHandle& handle, const char* name);
    void SetLayerContainerLocked(const PntHandle& handle, bool locked);

    void SetLayerOffset(const PntHandle& handle, int x, int y, bool redraw);
    void SetCurrentLayerOffset(int x, int y, bool redraw);

    /// Connects a mask or stencil to the layer that it acts on, or ends that.
    bool AddOwnerToLayer(const PntHandle& owner, const PntHandle& layer, bool hardLink);
    bool RemoveOwnerFromLayer(const PntHandle& owner, const PntHandle& layer);

    qsString::CString GetAppData(const PntHandle& handle, const qsString::CString& key) const;
    void SetAppData(const PntHandle& handle, const qsString::CString& key, const qsString::CString& value);

    // --- selection mask (LayerStackSelection.cpp) ---

    Layer* GetSelectionMask() const { return selectionMask_.get(); }
    void SetSelectionMask(Layer* mask);

    /// Makes a new, empty, inactive selection mask; `rebuild` remakes the composite mask at once.
    void ClearSelectionMask(bool rebuild);

    void SetSelectionMaskActive(bool active);
    bool isSelectionMaskActive() const;
    void SetSelectionMaskCurrent();
    bool isSelectionMaskCurrent() const;

    /// Active, not empty and not the current layer: it limits painting and is shown.
    bool isSelectionMaskUsed() const;

    /// The painted area in the mask's own coordinates, and where its (0, 0) lies on the canvas.
    ilTile GetSelMaskBounds() const;
    void GetSelMaskOffset(int& x, int& y) const;

    float GetSelectionDefaultDisplayOpacity() const { return selectionDisplayOpacity_; }
    void SetSelectionDefaultDisplayOpacity(float opacity);
    PaintColor GetSelectionDefaultDisplayColor() const { return selectionDisplayColor_; }
    void SetSelectionDefaultDisplayColor(const PaintColor& color);

    // --- masks and stencils (LayerStackMasks.cpp) ---

    float GetMaskDefaultDisplayOpacity() const { return maskDisplayOpacity_; }
    void SetMaskDefaultDisplayOpacity(float opacity);  // for layers made from here on
    PaintColor GetMaskDefaultDisplayColor() const { return maskDisplayColor_; }
    void SetMaskDefaultDisplayColor(const PaintColor& color);

    PaintColor GetMaskLayerDisplayColor(const PntHandle& handle) const;
    void SetMaskLayerDisplayColor(const PaintColor& color, const PntHandle& handle);
    float GetMaskLayerDisplayOpacity(const PntHandle& handle) const;  // 0.5 when no layer
    void SetMaskLayerDisplayOpacity(float opacity, const PntHandle& handle);

    void DeleteAllMasks(bool notify);

    /// Stencils hard-linked to their owner stay unless `all`.
    void DeleteAllStencils(bool notify, bool all);

    /// The stencils of the named layer changed; for a stencil, of its owners. Strokes on a stencil need no call: the
    /// update pass follows them.
    void SetStencilCompositeDirty(const PntHandle& handle);

    /// Empties the image in which masked strokes are composed for display.
    void CleanStencilImg_spf();

    /// What a composite shows of a layer over `tile` (layer coordinates): its image with stencils applied, and for the
    /// current layer the stroke under way. At full weight when `full`, else at the layer's opacity. Null without one.
    qs::TempReference<ilMIOImage> GetLayerTargetImg(Layer* layer, const ilTile& tile, bool full);

    // --- proxies and transform groups (LayerStackProxy.cpp) ---

    /// The current layer's edits go to a work image from here on. False without a current layer.
    bool BeginProxy(ProxyParameters::ScopeHint scope, ProxyParameters::Images images);
    bool InProxy() const { return inProxy_; }
    void ForceOutProxy() { inProxy_ = false; }

    /// Ends an active proxy: its layers show their originals again.
    void EndProxy();

    bool InProxyRotateCanvas() const { return inProxyRotateCanvas_; }
    void BeginProxyRotateCanvas() { inProxyRotateCanvas_ = true; }
    void EndProxyRotateCanvas() { inProxyRotateCanvas_ = false; }
    void ProxyRotateCanvas(const LayerStackTransform&) {}

    /// Groups of layers that transform together; handles that no longer resolve are allowed.
    const qs::list<qs::vector<PntHandle>>& GetTransformGroups() const { return transformGroups_; }

    // --- damage and the update pass (LayerStackUpdate.cpp) ---

    /// Marks canvas pixels as stale; an empty tile changes nothing.
    void DamageTile(const ilTile& tile);

    /// Takes pending damage, cut to the canvas: with symmetry one tile, otherwise the bounding tile of all. False, with
    /// `tile` empty, when there is none.
    bool GetNextUpdateTile(ilTile& tile);

    /// The bounding tile of the pending damage, which stays.
    ilTile PreviewUpdateTile();

    /// Brings the damaged tiles of `target` up to date, with the mask shown when `overlay`; views are told the tiles
    /// but not called. Nothing happens, and damage stays, while composites are suspended or without a target.
    void UpdateImagePlaneBits(bool overlay, PaintOps* target);
    void UpdateImagePlaneBits();

    /// Updates the image plane, then calls the views. A view may release this stack meanwhile.
    void ForceUpdate();
    void UpdateViewer(LayerStackView* view);

    /// Views are kept once, in the order in which they came; null is ignored.
    void AddViewer(LayerStackView* view);
    void RemoveViewer(LayerStackView* view);
    void TakeViewsFrom(qs::Reference<LayerStack> other);

    /// Of a document that is closed, which an undo record may hold for long: nobody takes its views away from it.
    void ForgetViews() { viewers_.clear(); }

    /// Goes on where `other` was shown: takes over its image plane, if this stack has none and the sizes agree, and for
    /// another version of the same document the suspension of composites. The plane is left to `other` as well.
    void TakePresentationFrom(LayerStack& other);

    /// The whole canvas in an image of its own, made afresh; null while composites are suspended or without a current
    /// layer.
    qs::TempReference<ilImage> GetUpdateImagePlaneBits(bool overlay);
    qs::TempReference<ilImage> GetCompositeImage() { return GetUpdateImagePlaneBits(false); }

    /// Null before the first SetSize and after FreeCacheData.
    qs::TempReference<ilSPMemoryImg> GetImagePlane() const { return imagePlane_; }

    /// Nests. The last resume damages the whole canvas and draws nothing.
    void SuspendComposites() { ++compositesSuspended_; }
    void ResumeComposites();
    bool CompositesSuspended() const { return compositesSuspended_ > 0; }

    void SetTimerBasedUpdate(bool on) { timerBasedUpdate_ = on; }
    void BeginTimerBasedUpdate(int intervalMs);
    void EndTimerBasedUpdate();
    void CheckTimerBasedUpdate();  // only while timer-based update is on

    // --- redraw after a change (LayerStackRedraw.cpp); each ends with ForceUpdate ---

    void RedrawEntireCanvas();
    void RebuildMaskAndRedrawEntireCanvas();
    void RebuildAllAndRedrawEntireCanvas();
    void ReuseLSCAndRedrawEntireCanvas(LayerMode mode, const PntHandle& handle);
    void ReuseLSCAndRedrawCanvas(const PntHandle& handle, bool rebuildCache);
    void RedrawCanvasDueToGeometryChange();

    /// The content of a layer was changed from outside within `tiles` (canvas pixels), or lies elsewhere as well
    /// (`isMoved`): caches, painter and damage follow. Nothing is drawn.
    void LayerContentChanged(Layer& layer, const qs::vector<ilTile>& tiles, bool isMoved);

    /// Rebuilds the composite cache around the current layer.
    void MakeBelowAndAbove(const PntHandle& handle);

    // --- image plane and caches (LayerStackPlane.cpp) ---

    /// Gives the stack a blank image plane of the size; layers are not touched. False, with nothing changed, for a size
    /// that IsAcceptableSize refuses. Throws std::bad_alloc, with nothing changed, when there is no memory.
    bool SetSize(const ilTile& size, bool clipToSize, bool notify, bool updateClip);

    /// Takes over the size and the image plane of `source`, whose cache data is freed; null does nothing.
    void CopyImagePlane(qs::Reference<LayerStack> source, bool, bool notify, bool updateClip);

    /// Frees and remakes what a document that is not shown does without.
    void AllocateCacheData();
    void FreeCacheData();
    void ReleaseCachedImages();

private:
    // Construction.
    void CopyPropertiesFrom(const LayerStack& source);
    void VerifyAllLsHandle();  // stamps all handles anew and drops those of the groups that name nothing

    // Looking up: the folder that directly holds a container, and optionally the one of the three above it.
    std::array<LayerFolder*, 3> TopFolders() const;  // image, mask, stencil
    bool IsTopFolder(const LayerFolder* folder) const;
    LayerFolder* HoldingFolder(const LayerContainer* container, LayerFolder** top) const;
    PntHandle ResolveHandle(const PntHandle& handle) const;  // the current-layer handle becomes the layer's own

    // Structure. A deletion does not redraw.
    bool InsertContainer(LayerContainer* container, LayerFolder* top, const PntHandle& where, bool above);
    void DeleteLayer(Layer* layer, bool keepOne);
    void RemoveLayerFromStack(Layer* layer);
    Layer* ChooseCurrentAfter(Layer* layer) const;
    void EnsureImageLayer();
    void DeleteLayersOf(LayerFolder* folder, bool keepHardLinked);

    // The current layer.
    void BecomeCurrent(Layer* layer);
    void RememberCurrentInFolder();
    void ResetCurrentPainter();  // without a clipping image
    void UpdatePainterClip();

    // What follows from a change: caches, damage, redraw.
    void MarkTreeStale();
    void TellChanged(Layer& layer);
    void DamageCanvas();
    void DamageLayer(Layer& layer);
    void ShowLayer(Layer& layer, bool visible);
    void ShowChange();

    // Composites.
    void BringCompositeUpToDate();
    void RebuildCompositeTree();
    void RebuildCompositeMask();
    bool HasCompositeMask();
    void PrepareFullRedraw();

    // The update pass.
    void DrainPainterDamage();
    void RefreshOwnersOfStencil(const Layer& stencil, const ilTile& onCanvas);
    void ComposeTile(const ilTile& tile, bool overlay, PaintOps& target);
    void DrawOverlay(const ilTile& tile, PaintOps& target);
    bool IsViewer(const LayerStackView* view) const;
    template <class Call>
    void CallViews(Call&& call);

    qsOS::Uuid instance_;
    int compositesSuspended_ = 0;
    qs::vector<LayerStackView*> viewers_;  // not owned, unique, in the order of AddViewer
    bool timerBasedUpdate_ = false;
    LayerStackComposite composite_;
    bool treeIsStale_ = false;  // the structure changed since the composite tree was built
    bool maskIsStale_ = false;  // the selection mask changed since the composite mask was made

    qs::TempReference<ilSPMemoryImg> imagePlane_;
    qs::Reference<PaintOps> imagePlanePainter_;
    ilTile size_;
    bool clipToSize_ = true;
    int resolutionX_ = 100;
    int resolutionY_ = 100;
    PaintColor backgroundColor_{1, 1, 1, 1};

    qs::Reference<LayerFolder> imageFolder_;
    qs::Reference<LayerFolder> maskFolder_;
    qs::Reference<LayerFolder> stencilFolder_;
    qs::Reference<Layer> selectionMask_;
    Layer* currentLayer_ = nullptr;  // held by its folder, or the selection mask
    qs::Reference<PaintOps> currentPainter_;  // of currentLayer_; null until it is asked for

    DamageControl canvasDamage_;
    DamageControl proxyDamage_;
    uint64_t damageSerial_ = 0;  // grows with every tile damaged
    bool needsFullRedraw_ = false;

    bool inProxy_ = false;
    bool inProxyRotateCanvas_ = false;
    qs::vector<PntHandle> proxyLayers_;
    qs::list<qs::vector<PntHandle>> transformGroups_;

    qs::TempReference<ilSmartImage> stencilScratch_;  // the current layer while a masked stroke runs
    qs::Reference<PaintOps> stencilScratchPainter_;

    float selectionDisplayOpacity_ = 0.5f;
    float maskDisplayOpacity_ = 0.5f;
    PaintColor selectionDisplayColor_{0.7245f, 0.4274f, 0.396f, 1.0f};
    PaintColor maskDisplayColor_{1.0f, 0.0f, 0.0f, 1.0f};
    std::unique_ptr<Symmetry> symmetry_;
    bool showCurrentLayerOnly_ = false;
    bool maskDisable_ = false;
    bool maskVisible_ = true;
};
