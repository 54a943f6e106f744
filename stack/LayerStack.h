#pragma once

#include "composite/LayerStackComposite.h"
#include "layers/Layer.h"
#include "layers/LayerFolder.h"
#include "platform/base/CString.h"
#include "platform/base/Uuid.h"
#include "platform/imaging/pages/PaintColor.h"
#include "platform/imaging/pages/ilMemoryImg.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/painter/PaintOps.h"
#include "platform/imaging/regions/CoverageFilters.h"
#include "platform/imaging/regions/PolygonRasterizer.h"
#include "stack/DocumentProperties.h"
#include "stack/SelectionMode.h"

#include <cstdint>
#include <memory>

class LayerStackView;
class MIOLayerStack_sr;
class MaskingPaintOps;
class PageAccount;
struct StackParts;

/// One painting document: a canvas of fixed size with three ordered folders of layers (image, mask, stencil), a
/// selection mask outside them, a current layer with its painter, cached composites, and the image plane that its
/// views show. The work is done by the classes of tree/, canvas/, selection/ and edits/.
///
/// Invariants: every container carries the stack's instance handle in the first half of its own; folders nest one level
/// deep; the selection mask stands in no folder; a deletion that keeps one never leaves the image folder empty.
///
/// In every handle argument the current-layer handle names the current layer. A handle that resolves to nothing, or to
/// a container of the wrong kind, makes a call do nothing and return false, null, an empty list or the null handle.
/// Layers and folders are borrowed in arguments and results. Coordinates are canvas pixels unless stated.
/// Selections, fills, merges and SetSize that run out of memory throw std::bad_alloc and change nothing.
class PAINTLAYER_EXPORT LayerStack : public qs::ReferenceCount {
public:
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

    // --- the document's own properties ---

    qsOS::Uuid GetLsInstanceHandle() const;
    ilTile GetSize() const;
    bool GetClipToSize() const;
    /// Sides of 1 to kMaxSide and at most GetMaxPixelCount() pixels.
    static bool IsAcceptableSize(int64_t width, int64_t height);
    static constexpr int kMaxSide = 1'000'000;
    static int64_t GetMaxPixelCount();
    static void SetMaxPixelCount(int64_t count);  // below 1: unchanged

    void SetResolution(int x, int y);  // stored only; 100 by 100 at first
    void GetResolution(int& x, int& y) const;
    PaintColor GetBackgroundColor() const;
    void SetBackgroundColor(const PaintColor& color);
    void SetSymmetry(Symmetry* symmetry);  // owned from here on; null for none
    Symmetry* GetSymmetry() const;
    LayerStackComposite* GetLSComposite();
    bool GetShowCurrentLayerOnly() const;
    void SetShowCurrentLayerOnly(bool on);
    bool GetMaskDisable() const;
    void SetMaskDisable(bool disable);
    bool GetMaskVisible() const;
    void SetMaskVisible(bool visible);
    void EnableMasking(bool) {}
    bool isMaskingEnabled() const { return true; }
    /// Tells the host and the changed signal that the document was edited.
    void Notify(bool changed);
    /// Prints the folders and transform groups; only at debug level 8214.
    void debug();
    /// The properties of the document as they are stored; nothing is damaged.
    const DocumentProperties& GetProperties() const;
    void SwapProperties(DocumentProperties& properties) noexcept;

    // --- tree/: folders and look-up ---

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
    /// Masks or stencils connected to a layer, in folder order; owners of one, in the order of their connection.
    qs::vector<PntHandle> getMaskLayers(const PntHandle& owner) const;
    qs::vector<PntHandle> getStencilLayers(const PntHandle& owner) const;
    qs::vector<PntHandle> getOwnerArray(const PntHandle& handle) const;
    /// Between canvas and layer coordinates, in place: minus or plus the layer's offset.
    void LayerStackToLayerCoords(float& x, float& y, const PntHandle& layer) const;
    void LayerStackToLayerCoords(int& x, int& y, const PntHandle& layer) const;
    void LayerToLayerStackCoords(float& x, float& y, const PntHandle& layer) const;
    void LayerToLayerStackCoords(int& x, int& y, const PntHandle& layer) const;
    /// The canvas in the layer's coordinates; an empty tile when the handle is no layer's.
    ilTile GetLayerStackBndInLayerCoord(const PntHandle& layer) const;

    // --- tree/: structure ---

    /// Insert only: stamps the handle and takes one reference. False when the container is null or already here.
    bool AddLayerToStack(Layer* layer, const PntHandle& where, bool above);
    bool AddLayerFolderToStack(LayerFolder* folder, LayerMode mode, const PntHandle& where);

    /// Takes a layer out of its folder, with all that is hard-linked to it; a folder that it leaves empty goes as well.
    /// A current layer among them gives way to its neighbour. Not redrawn. Nothing for a layer that is not here.
    void RemoveLayerFromStack(Layer* layer);

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

    /// Adds a folder with one new empty layer in it above the container that `where` names, if not in a sub-folder.
    PntHandle AddLayerFolder(LayerMode mode, const PntHandle& where);

    /// Deletes the named layer, not the selection mask; the image folder keeps one. Redrawn now or at the next update.
    void DeleteCurrentLayer(const PntHandle& handle, bool redraw);
    /// Deletes a sub-folder and what it holds; the bottom image layer becomes current. Not redrawn.
    void DeleteLayerFolder(LayerFolder* folder);
    void DeleteAllLayers();  // leaves one new empty image layer
    void DeleteInvisibleLayers(bool notify);
    void DeleteAllMasks(bool notify);
    void DeleteAllStencils(bool notify, bool all);  // not `all`: those hard-linked to their owner stay

    /// Moves a container next to `target`, as LayerFolder::AddLayerContainer places it, within the folder of its mode.
    /// False, with nothing changed, when that is impossible or would nest folders. Not redrawn.
    bool MoveLayer(const PntHandle& moved, const PntHandle& target, bool above);

    // --- tree/: transform groups, of layers that transform together; a layer is in one at most ---

    const qs::list<qs::vector<PntHandle>>& GetTransformGroups() const;  // with handles that no longer resolve
    qs::vector<PntHandle> getTransformGroup(const PntHandle& handle) const;  // the named layer's, itself included

    /// Makes a group of at least two different layers, which leave the groups that they are in; fewer: false.
    bool AddTransformGroup(const qs::vector<PntHandle>& layers);
    /// Deletes the layers of the group that holds the named layer, as DeleteCurrentLayer does. False without a group.
    bool DeleteTransformGroup(const PntHandle& handle, bool redraw);

    /// Adds a layer to the group of the current layer, which becomes one with it if there is none; takes a layer out
    /// of it, or out of whatever group it is in. A group of one layer is none. False when nothing changes.
    bool addLayerToCurrTransformGroup(const PntHandle& handle);
    bool AddToTransformGroupOf(const PntHandle& member, const PntHandle& handle);  // the group of another layer
    bool removeLayerFromCurrTransformGroup(const PntHandle& handle);
    bool removeLayerFromTransformGroup(const PntHandle& handle);

    // --- canvas/: the current layer and its painter ---

    Layer* GetCurrentLayerPtr() const;

    /// Makes a layer current; a folder's handle, the layer that was current in it last; with `force`, no layer's: none.
    /// `splitFlag` notifies the host. Nothing happens for the current layer.
    void SetCurrentLayer(const PntHandle& handle, bool redraw, bool splitFlag, bool force);

    /// The painter of the current layer, bound to its image, clipped to the canvas and the selection; null without a
    /// current layer. Borrowed, good until the current layer changes.
    PaintOps* GetCurrentLayerPainter();
    PaintOps* GetCLP();  // as it was left by its last user when it exists
    MaskingPaintOps* GetMaskingPainter() const;  // while it composes a stroke over the saved original, else null
    void UpdateBrushClippingRect();  // lets the current painter's stamps reach exactly the canvas
    void setMarkerBlend(bool on);
    void setMarkerWetness(float wetness);

    /// What a composite shows of a layer over `tile` (layer coordinates): its image with stencils applied, and for the
    /// current layer the stroke under way. At full weight when `full`, else at the layer's opacity. Null without one.
    qs::TempReference<ilMIOImage> GetLayerTargetImg(Layer* layer, const ilTile& tile, bool full);
    void CleanStencilImg_spf();  // empties the image in which masked strokes are composed for display

    // --- canvas/: damage and the update pass ---

    /// Marks canvas pixels as stale; an empty tile changes nothing.
    void DamageTile(const ilTile& tile);

    /// Takes pending damage, cut to the canvas: with symmetry one tile, else the bounding tile of all; false for none.
    bool GetNextUpdateTile(ilTile& tile);
    ilTile PreviewUpdateTile();  // the bounding tile of the pending damage, which stays
    /// Memory ran out in the middle of a call: all that was composed is made anew at the next update.
    void DistrustCaches() noexcept;

    /// Layers were changed behind everybody's back: all that derives from them is made anew then. Needs no memory.
    void MarkAllStale() noexcept;

    /// The content of a layer was changed from outside within `tiles` (canvas pixels), or lies elsewhere as well
    /// (`isMoved`): caches, painter and damage follow. Nothing is drawn.
    void LayerContentChanged(Layer& layer, const qs::vector<ilTile>& tiles, bool isMoved);

    /// The stencils of the named layer changed; for a stencil, of its owners. Strokes on a stencil need no call.
    void SetStencilCompositeDirty(const PntHandle& handle);

    /// Brings the damaged tiles of `target`, or of the image plane (made if there is none), up to date, with the mask
    /// shown when `overlay`; views are told the tiles but not called. Nothing happens, and damage stays, while
    /// composites are suspended or without a target.
    void UpdateImagePlaneBits(bool overlay, PaintOps* target);
    void UpdateImagePlaneBits(bool overlay = true);
    /// Updates the image plane, then calls the views. A view may release this stack meanwhile.
    void ForceUpdate();
    void UpdateViewer(LayerStackView* view);

    /// The whole canvas in an image of its own, made afresh; null while suspended or without a current layer.
    qs::TempReference<ilImage> GetUpdateImagePlaneBits(bool overlay);
    qs::TempReference<ilImage> GetCompositeImage();  // without overlay
    /// Nests. The last resume damages the whole canvas and draws nothing.
    void SuspendComposites();
    void ResumeComposites();
    bool CompositesSuspended() const;
    void SetTimerBasedUpdate(bool on);
    void BeginTimerBasedUpdate(int intervalMs);
    void EndTimerBasedUpdate();
    void CheckTimerBasedUpdate();  // only while timer-based update is on

    // --- canvas/: redraw after a change; each ends with ForceUpdate, but for the last, which rebuilds caches only ---

    void RedrawEntireCanvas();
    void RebuildMaskAndRedrawEntireCanvas();
    void RebuildAllAndRedrawEntireCanvas();
    void ReuseLSCAndRedrawEntireCanvas(LayerMode mode, const PntHandle& handle);
    void ReuseLSCAndRedrawCanvas(const PntHandle& handle, bool rebuildCache);
    void RedrawCanvasDueToGeometryChange();
    void MakeBelowAndAbove(const PntHandle& handle);  // the composite cache around the current layer

    // --- canvas/: views, image plane and caches ---

    /// Views are kept once, in the order in which they came; null is ignored.
    void AddViewer(LayerStackView* view);
    void RemoveViewer(LayerStackView* view);
    void TakeViewsFrom(qs::Reference<LayerStack> other);

    /// The document is closed, and may be held by undo records for long: lets go of views, plane and caches for good.
    void BecomeClosed() noexcept;
    /// Counts what would come free with this document.
    void CountReleased(PageAccount& account) const;

    /// Goes on where `other` was shown: shares its image plane, if this stack has none and the sizes agree, and takes
    /// over the suspension of composites of another version of the same document.
    void TakePresentationFrom(LayerStack& other);

    /// Gives the stack a blank image plane of the size; layers are not touched. False, with nothing changed, for a size
    /// that IsAcceptableSize refuses.
    bool SetSize(const ilTile& size, bool clipToSize, bool notify, bool updateClip);
    qs::TempReference<ilSPMemoryImg> GetImagePlane() const;  // null before the first SetSize and after FreeCacheData
    /// Takes over the size and the image plane of `source`, whose cache data is freed; null does nothing.
    void CopyImagePlane(qs::Reference<LayerStack> source, bool, bool notify, bool updateClip);
    /// Frees and remakes what a document that is not shown does without.
    void AllocateCacheData();
    void FreeCacheData();
    void ReleaseCachedImages();

    // --- selection/: the selection mask ---

    Layer* GetSelectionMask() const;
    void SetSelectionMask(Layer* mask);
    /// The same for a mask that was this document's before, when nothing may fail; the caller sees to the redraw.
    void PutBackSelectionMask(Layer& mask) noexcept;
    void SetSelectionMaskActive(bool active);
    bool isSelectionMaskActive() const;
    void SetSelectionMaskCurrent();
    bool isSelectionMaskCurrent() const;
    bool isSelectionMaskUsed() const;  // active, not empty and not current: it limits painting and is shown

    /// The painted area in the mask's own coordinates, where its (0, 0) lies on the canvas, and the bounds of the
    /// selection in canvas pixels, cut to the canvas.
    ilTile GetSelMaskBounds() const;
    void GetSelMaskOffset(int& x, int& y) const;
    ilTile GetSelectionMaskBnd() const;
    float GetSelectionDefaultDisplayOpacity() const;
    void SetSelectionDefaultDisplayOpacity(float opacity);
    PaintColor GetSelectionDefaultDisplayColor() const;
    void SetSelectionDefaultDisplayColor(const PaintColor& color);

    // --- selection/: what is selected ---
    // Nothing outside the canvas is changed, and painting follows at once; with `rebuild` the composite mask and the
    // views as well, else at the next update. A selection made anew keeps its handle and is inactive, unless stated.

    /// Nothing, the whole canvas, exactly the tile, and everything but the tile.
    void ClearSelectionMask(bool rebuild);
    void FillSelectionMask(bool rebuild);
    void FillSelectionMask(const ilTile& tile, bool rebuild);
    void ClearSelectionMask(const ilTile& tile, bool rebuild);
    /// Nothing happens without a selection mask.
    void AddToSelection(const ilTile& tile, bool rebuild);
    void SubtractFromSelection(const ilTile& tile, bool rebuild);

    /// By an image whose pixel (0, 0) lies on canvas pixel (x, y); further than kMaxSelectionOffset away nothing
    /// happens. Of four channels the alpha counts; null is an empty image. Soft edges add up as 1 - (1 - a)(1 - b),
    /// subtract as a(1 - b), and intersect as ab. A missing selection mask is made first.
    void AddToSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild);
    void SubtractFromSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild);
    void IntersectSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild);

    /// Makes a copy of a one-channel image the selection, active and in the display colour and opacity of the one
    /// before; other images, and null, clear it and are told of on standard output.
    void CopyToSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, bool rebuild);
    /// Copies the selection into a one-channel image, over GetSelMaskBounds(); nothing from an empty one.
    void CopyFromSelection(const qs::TempReference<ilMIOImage>& image) const;
    /// Nothing but the image, and everything but it, from canvas pixel (0, 0) on.
    void FillSelectionMask(const qs::TempReference<ilMIOImage>& image, bool rebuild);
    void ClearSelectionMask(const qs::TempReference<ilMIOImage>& image, bool rebuild);
    /// The same of a layer's image where it lies.
    void AddToSelection(Layer* layer, bool rebuild);
    void SubtractFromSelection(Layer* layer, bool rebuild);
    void CopyToSelection(Layer* layer, bool rebuild);
    void AddToSelection(const PntHandle& layer, bool rebuild);
    void SubtractFromSelection(const PntHandle& layer, bool rebuild);
    void CopyToSelection(const PntHandle& layer, bool rebuild);

    /// What the layer shows at full opacity, stencils applied, within the bounds of the selection: an image of its own
    /// in canvas coordinates. Null without a layer or with an empty selection.
    qs::TempReference<ilSmartImage> CopyFromSelection(Layer* layer);
    qs::TempReference<ilSmartImage> CopyFromSelection(const PntHandle& layer);

    /// A lasso of `count` canvas points, x and y in turn, closed from the last to the first, as a one-channel image in
    /// canvas coordinates, exact at its edges. nonZero: a loop over itself leaves no hole; else, by the even-odd rule,
    /// it does. Fewer than three points give an empty image; a NaN or an infinity refuses it: null.
    qs::TempReference<ilSmartImage> GetLassoImage(const float* points, int count, bool nonZero) const;

    /// Takes the non-zero lasso away from the selection, or combines one with it; the selection becomes active.
    void LassoSelection(const float* points, int count);
    bool SelectLasso(const float* points, int count, SelectionMode mode, FillRule rule);

    /// Not the pixels under it; what leaves the canvas comes back. No further than kMaxSelectionOffset.
    void MoveSelection(int dx, int dy, bool rebuild);
    static constexpr int kMaxSelectionOffset = 1 << 30;
    void InvertSelection(bool rebuild);

    /// Widens or narrows by a disc, -kMaxGrowPx to kMaxGrowPx pixels; the canvas edge is no edge of the selection.
    void GrowSelection(int pixels, bool rebuild);
    /// Softens the selection's edge over about `radius` pixels on both sides, above 0 to kMaxBlurPx.
    void FeatherSelection(float radius, bool rebuild);

    /// Magic wands: move the selection to the colour's alpha where the layer is alike (see the flood fills): 1 selects,
    /// 0 deselects. fromAll: from a canvas that is selected whole. A point outside the canvas acts as the nearest one
    /// inside. Nothing happens for shape and object layers and without a selection mask.
    bool MagicWandDone(int x, int y, float tolerance, const PaintColor& color, bool fromAll, const PntHandle& layer);
    bool SmoothMagicWandDone(int x, int y, float tolerance, const PaintColor& color, bool fromAll,
                             const PntHandle& layer);

    // --- edits/: layer properties; what changes the picture damages and, with `redraw`, shows it ---

    LayerMode GetLayerMode(const PntHandle& handle) const;  // 0 when no layer
    LayerBlendMode GetLayerBlend(const PntHandle& handle) const;  // normal when no layer
    void SetLayerBlend(const PntHandle& handle, LayerBlendMode mode);
    void SetLayerOpacity(const PntHandle& handle, float opacity);  // clamped to 0 to 1; a NaN changes nothing
    float GetLayerOpacity(const PntHandle& handle) const;  // 1 when no layer
    void SetLayerVisible(const PntHandle& handle, bool visible, bool redraw);
    bool isLayerVisible(const PntHandle& handle) const;
    /// Visible, and not in an inactive folder: what strokes and fills may change.
    bool IsShown(const Layer& layer) const;
    /// All layers of the three folders, or the named ones.
    void SetAllLayerVisible(bool visible, bool redraw);
    void SetAllLayerVisible(const qs::vector<PntHandle>& handles, bool visible, bool redraw);
    void SetLayerFolderActive(const PntHandle& handle, bool active, bool redraw);
    void SetLayerActive(const PntHandle& handle, bool active);
    /// A null name stores the container's text for that.
    void SetLayerContainerName(const PntHandle& handle, const char* name);
    void SetLayerContainerLocked(const PntHandle& handle, bool locked);
    void SetLayerOffset(const PntHandle& handle, int x, int y, bool redraw);  // not farther than kFarthestPixel
    void SetCurrentLayerOffset(int x, int y, bool redraw);
    qsString::CString GetAppData(const PntHandle& handle, const qsString::CString& key) const;
    void SetAppData(const PntHandle& handle, const qsString::CString& key, const qsString::CString& value);

    /// Gives a container (the selection mask among them) the properties, by the calls above where they differ. Needs
    /// no memory for that: when there is none to show the change, it is shown at the next update.
    void SetContainerProperties(const PntHandle& handle, const ContainerProperties& properties) noexcept;
    /// Connects a mask or stencil to the layer that it acts on, or ends that. What is hard-linked has one owner alone.
    bool AddOwnerToLayer(const PntHandle& owner, const PntHandle& layer, bool hardLink);
    bool RemoveOwnerFromLayer(const PntHandle& owner, const PntHandle& layer);
    /// How masks and stencils are displayed: those made from here on, and one that is there.
    float GetMaskDefaultDisplayOpacity() const;
    void SetMaskDefaultDisplayOpacity(float opacity);
    PaintColor GetMaskDefaultDisplayColor() const;
    void SetMaskDefaultDisplayColor(const PaintColor& color);
    PaintColor GetMaskLayerDisplayColor(const PntHandle& handle) const;
    void SetMaskLayerDisplayColor(const PaintColor& color, const PntHandle& handle);
    float GetMaskLayerDisplayOpacity(const PntHandle& handle) const;  // 0.5 when no layer
    void SetMaskLayerDisplayOpacity(float opacity, const PntHandle& handle);

    // --- edits/: proxies ---

    /// The edits of the named layers (the selection mask may be among them) go to work images from here on, which are
    /// what is shown; no handles: those that the parameters name. True also when a proxy is in progress already
    /// (nothing changes); false, with nothing begun, when a handle names no layer with an image, or none is given.
    /// Without handles or parameters: of the current layer.
    bool BeginProxy(const ProxyParameters& parameters, const qs::vector<PntHandle>& layers);
    bool BeginProxy(ProxyParameters::ScopeHint scope, ProxyParameters::Images images);
    bool InProxy() const;
    void ForceOutProxy();

    /// Ends an active proxy: its layers show their originals again, unless a slot of the parameters' keep signal wants
    /// the edits to stay; then tells the ended signal. From inside such a slot nothing happens.
    void EndProxy();
    void RevertProxy();  // the edits are gone and the proxy goes on; nobody is told
    const qs::vector<PntHandle>& GetProxyLayers() const;  // those that the proxy in progress holds
    bool InProxyRotateCanvas() const;
    void BeginProxyRotateCanvas();
    void EndProxyRotateCanvas();
    void ProxyRotateCanvas(const LayerStackTransform&) {}

    // --- edits/: transforms and colours ---
    // Of the named layer, and transforms of its transform group when it is in one; where a selection is used, of what
    // it covers. What is refused for one layer changes none: false. A result of over 2^24 pixels is kept within
    // KeptAround the canvas only. ForceUpdate shows the change. The edits end a proxy first; the previews start from
    // the originals, in the proxy in progress (false for layers that are not in it) or one that they begin.

    /// Sends each canvas point of the content to where `transform` maps it (XformCoords).
    bool XForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
               const PntHandle& handle);
    bool ProxyXForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                    const PntHandle& handle);

    /// Draws the box around what is painted (of the group, of the selected part) into a quadrilateral (Layer::Deform).
    bool Deform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy, const PntHandle& handle);
    bool ProxyDeform(const Rect8f& corners, FilterMethod filter, int kind, double dx, double dy,
                     const PntHandle& handle);
    /// The canvas box of what XForm and Deform would change: where a tool shows its handles. Empty for nothing.
    ilTile GetTransformBounds(const PntHandle& handle) const;
    /// `amount` is 0 to 1. False, with nothing changed, for values that are not finite.
    bool ColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& handle);
    bool ProxyColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& handle);
    /// What the layer's original consists of within the box of what is selected; all zero for no layer.
    ImageAnalysisData AnalyzeLayer(const PntHandle& handle) const;

    /// amount: to 10 an unsharp mask; below 0, to -1, a Gaussian blur that far. radius: the Gaussian's standard
    /// deviation in pixels, 0.1 to 1000. False, with nothing changed, for other values.
    bool SharpenOrBlurDone(float amount, float radius, const PntHandle& handle);

    // --- edits/: the whole document ---
    // Layers, masks, stencils and the selection alike. Each layer whose pixels change gets a new image object: the old
    // one stays for whoever holds it. Ends a proxy, redraws and notifies. False, with nothing changed, for a size that
    // IsAcceptableSize refuses or content that would grow too large; over 2^24 pixels as with transforms.

    /// Resamples everything to a canvas of width by height, or by two factors above 0.
    bool ScaleAllLayers(int width, int height, FilterMethod minify, FilterMethod magnify);
    bool ScaleAllLayers(double xFactor, double yFactor, FilterMethod minify, FilterMethod magnify);
    /// Which point of the canvas keeps its place in the picture when the canvas changes around it.
    enum class Anchor : int { TopLeft, Top, TopRight, Left, Center, Right, BottomLeft, Bottom, BottomRight };

    /// Gives the canvas another size, or makes `canvas`, in pixels of the present one, the canvas; only offsets change.
    /// What lies outside stays there. Cropping does the same and is false as well for a tile that misses the canvas.
    bool ResizeDocument(int width, int height, Anchor anchor);
    bool ResizeDocument(const ilTile& canvas);
    bool CropDocument(const ilTile& canvasTile);
    /// Turns everything clockwise; the canvas grows to hold all of the turned one. Multiples of 90 degrees are exact.
    bool RotateCanvas(double angleDeg, FilterMethod minify, FilterMethod magnify);
    bool FlipDocument(bool horizontal, bool vertical);

    // --- edits/: merging; the picture on the canvas stays, pixels outside it go ---
    // The receiver gets a new image in canvas coordinates, offset (0, 0) and full opacity; images that existed before
    // are never written. What a merged layer's active stencils hide becomes transparent, and these stencils lose the
    // layer as an owner (a stencil without owners, or hard-linked to it, is deleted); its other stencils and its masks
    // go to the receiver. A merged layer that is not visible adds nothing and goes. A current layer that goes makes the
    // receiver current.

    /// The container directly below the layer in the folder that holds it, or the null handle.
    void GetLCHForMergeBelow(const PntHandle& layer, PntHandle& below) const;

    /// Merges `upper` into `lower`, which becomes visible; a hard-linked stencil stands for its owner. The result has
    /// the first blend mode that shows what the two showed, within a level (`lower` shown): that of `lower`, normal,
    /// or that of `upper`. Where none does, nothing happens: most layers that read what lies below them merge only into
    /// what is opaque or empty there. Two masks, or two stencils, unite when they act on the same layers, hard-linked
    /// both or neither, and both stencils do so (in a folder none does). Layers that are not raster layers stay, both.
    /// makeCurrent: `lower` becomes current whatever was. The image plane follows.
    void MergeLayers(const PntHandle& upper, const PntHandle& lower, bool makeCurrent);

    /// Puts one normal layer with the folder's picture and name in the folder's place. An inactive folder's is composed
    /// as if it were active and is not visible. The visible masks of a folder unite in the lowest of them, the hidden
    /// ones go; where they do not all act on the same layers nothing happens. A folder of stencils is left alone.
    void MergeLayerFolder(LayerFolder* folder);

    /// visibleOnly: the visible image layers merge into the lowest of them and the others stay where they are.
    /// Otherwise the whole image folder becomes one layer. The result is normal and visible.
    void MergeAllLayers(bool visibleOnly);

    /// The layer that the operation would give the pixels to, for whoever keeps it as it was; the null handle when
    /// nothing would be merged. For two image layers of which one reads what lies below, or below such a layer, this
    /// composes the document twice.
    PntHandle GetMergeReceiver(const PntHandle& upper, const PntHandle& lower);
    PntHandle GetFolderMergeReceiver(const LayerFolder* folder) const;
    PntHandle GetMergeAllReceiver(bool visibleOnly) const;

    // --- edits/: copies of layers ---

    /// What a duplicate becomes: the same as its source, or a layer of the mode one below the number.
    enum DuplicateTarget : int { kDuplicateSame, kDuplicateAsImage, kDuplicateAsMask, kDuplicateAsStencil };

    /// Puts an independent copy of the current layer beside it (above, or below), or at the top (bottom) of the folder
    /// of its mode, and makes it current; pages are shared, and a raster layer's offset goes into its pixels. Named as
    /// its source with -1, -2 and so on. What is hard-linked to the source is duplicated with it. In another role the
    /// pixels are converted as Layer::DuplicateAs does. connect: a mask or stencil acts on its source when that is an
    /// image layer, else on its source's owners. Null for the selection mask, an object image and an unknown target.
    PntHandle DuplicateCurrentLayer(bool above, bool redraw, int target, bool connect);
    /// Makes the named layer current and duplicates it as a mask or stencil; not the selection mask.
    PntHandle CopyLayerToMask(const PntHandle& handle, bool connect);
    PntHandle CopyLayerToStencil(const PntHandle& handle, bool connect);

    /// An image layer with the named layer's look: stencils applied, or the coverage of a mask, stencil or the
    /// selection mask in its display colour. Above its source, or the first owner of that; becomes current.
    PntHandle CopyLayerToImage(const PntHandle& handle);

    /// The union of the visible masks of a layer within the canvas, in an image of its own. Null without masks.
    qs::TempReference<ilSmartImage> MakeMaskComposite(const PntHandle& layer) const;

    // --- edits/: pixels of a layer ---
    // The layer's image is written, and the image plane follows. False when there is nothing to change. Tiles are
    // canvas pixels, empty ones refused.

    /// Makes what active stencils hide transparent in an image layer; they lose the layer as an owner, and the canvas
    /// looks the same. Those without an owner then go when deleteUnowned, those hard-linked to it always. newImage: the
    /// layer gets an image of its own. Not redrawn. All: hidden ones too, deleting what is unowned; redrawn.
    void BakeStencilMaskToLayer(const PntHandle& layer, bool deleteUnowned, bool newImage);
    void BakeAllStencilMaskToLayer();
    /// What lies outside the tile, or the canvas, becomes transparent.
    bool CropLayer(const PntHandle& layer, const ilTile& canvasTile);
    bool CropLayerToBrushClippingRect(const PntHandle& layer);

    /// Makes everything transparent, the unstored area included; a selection does not matter. By the selection mask:
    /// takes away as much of each pixel as is selected; nothing while no selection is used.
    bool ClearCurrentLayer();
    bool ClearLayerImageByRect(const PntHandle& layer, const ilTile& canvasTile);
    bool ClearLayerImageBySelMask(const PntHandle& layer);

    /// Inverts the colours of an image layer, through the selection while one is used; or a mask or stencil of the
    /// folders, the unstored area included.
    bool InvertImageLayer(const PntHandle& layer);
    bool InvertMaskLayer(const PntHandle& layer);
    bool InvertStencilLayer(const PntHandle& layer);

    /// Mirrors the layers of GetLayersFlippedWith within the bounds that the layer, or its transform group as a whole,
    /// has on the canvas. Twice is the identity, offsets and bounds included.
    bool FlipImageLayer(const PntHandle& layer, bool horizontal, bool vertical);
    /// The layer, those of its transform group, and the masks and stencils hard-linked to them.
    qs::vector<PntHandle> GetLayersFlippedWith(const PntHandle& layer) const;

    /// Gives the layer a page-sharing copy of `image`, which has as many channels as the layer's.
    bool ReplaceLayerImage(const PntHandle& layer, qs::TempReference<ilImage> image);

    // --- edits/: fills ---

    /// Stores a pixel of the layer's channels in the tile's canvas pixels of a layer: a used selection decides how much
    /// of it. A transparent pixel clears. False, with nothing changed, without such a layer or area. Not redrawn.
    bool FillLayer(const PntHandle& handle, const ilTile& tile, const ilPixel& pixel);

    /// Fills what is 4-connected to a canvas point and like it in colour (tolerance in parts of full scale, as
    /// ColorMatch takes it) with the colour; masks, stencils and the selection mask with its alpha as coverage. A used
    /// selection limits it. False, with nothing changed, on a layer that is hidden, itself or by its folder, for a
    /// point outside the canvas or the selection, and for a tolerance or colour that is no number.
    bool FloodFillDone(int x, int y, float tolerance, const PaintColor& color, const PntHandle& layer);

    /// The same, ending in the soft or anti-aliased edge around it. fillTile: becomes the canvas area of what was
    /// filled. The preview image is accepted and not used: it is the colour.
    bool SmoothFloodFillDone(int x, int y, float tolerance, const PaintColor& color,
                             const qs::TempReference<ilSmartImage>& previewImage, ilTile& fillTile,
                             const PntHandle& layer);
    /// By how many pixels smooth fills and wands reach beyond that, 0 (at first) to 500; clamped.
    void SetFloodFillGrowth(int pixels);
    int GetFloodFillGrowth() const;

private:
    std::unique_ptr<StackParts> parts_;
};
