#pragma once

#include "core/EffectBrush.h"
#include "core/PaintCoreCallbacks.h"
#include "layers/LayerEnums.h"
#include "platform/base/Signal.h"
#include "platform/geometry/ilXY.h"
#include "platform/imaging/BrushParameters.h"
#include "platform/imaging/LayerBlendMode.h"
#include "platform/imaging/PaintOps.h"
#include "platform/imaging/StrokeParameters.h"
#include "platform/imaging/ilMemoryImg.h"
#include "platform/imaging/ilSmartImage.h"
#include "stack/LayerStack.h"
#include "stack/LayerStackView.h"
#include "undo/PntUndoLayerStack.h"

#include <functional>
#include <memory>

class BrushPreview;
class BrushState;
class BrushStroker;
class FillTools;
class LayerStackRegistry;
class PointerInput;
class TpressureFilter;

/// The library's one entry object (PaintCore): the open documents, the brush and the stroke in progress, the host's
/// callbacks, and every command.
///
/// An `int` layer-stack handle is a document's place in the table of 512; -2, the default, means the current one. A
/// PntHandle defaults to the current layer of the current document. A handle that resolves to nothing makes a call do
/// nothing and return false, null, -1, 0 or the null handle. Numbers that are NaN or infinite, and sizes that no
/// document can have, are refused likewise; so is a call that memory does not suffice for. Nothing throws.
/// All calls come from one thread.
class PAINTLAYER_EXPORT PaintManager {
public:
    PaintManager();
    ~PaintManager();
    PaintManager(const PaintManager&) = delete;
    PaintManager& operator=(const PaintManager&) = delete;

    static constexpr int kMaxLayerStacks = 512;
    static constexpr int kCurrentLayerStack = -2;
    static constexpr int kMaxStampRadius = 1280;  // pixels

    // --- signals, in the order by which hosts may connect ---

    qsRTB::Signal<> StackNotifySignal;  // never emitted by the library
    qsRTB::Signal<bool> StackChangedSignal;  // a structural edit
    qsRTB::Signal<int> StackAddedSignal;  // layer-stack handle
    qsRTB::Signal<int> StackDeletedSignal;  // layer-stack handle
    qsRTB::Signal<int, PntHandle> ContainerAddedSignal;  // layer-stack handle, container
    qsRTB::Signal<int, PntHandle> ContainerRemovedSignal;  // current layer-stack handle, container
    qsRTB::Signal<PntHandle> ContainerStateSignal;  // current, visible or active changed
    qsRTB::Signal<PntHandle> TransformGroupSignal;
    qsRTB::Signal<PntHandle, float> OpacitySignal;
    qsRTB::Signal<PntHandle, PntHandle, bool> LayerMovedSignal;  // moved, beside, above

    // --- set-up ---

    /// Copies all 37 entries.
    void SetCallbacks(const PaintCoreCallbacks& callbacks);
    const PaintCoreCallbacks* CB() const { return &callbacks_; }

    /// Warms up the stamp machinery; runs once.
    void InitPaintManager();
    void preparePaintCore();

    /// Prints every open document; only at debug level 8214.
    void debug();

    // --- documents ---

    /// Opens a document of width × height pixels, which becomes current. -1 when all 512 places are taken, a side is
    /// below 1 or above 1,000,000, or memory does not suffice.
    int AddLayerStack(int width, int height);

    /// Closes a document; a stroke on it ends. Only the current one can be brought back by undo, and no other becomes
    /// current in its place.
    void DeleteLayerStack(int handle, bool recordUndo);

    /// Puts another document into a place, which takes over the views of the one there. For a place that is empty the
    /// count of documents stays one short.
    void ReplaceLayerStack(qs::Reference<LayerStack> stack, int handle);
    void SetCurrentLayerStack(int handle);
    int GetCurrentLayerStack() const;

    /// The document that holds the container, the lowest one when several do; -1 for none.
    int GetCurrentLayerStack(const PntHandle& container) const;
    int GetLayerStackCount() const;
    qs::Reference<LayerStack> GetLayerStack(int handle) const;

    /// As GetLayerStack; a -2 is overwritten with the current handle.
    qs::Reference<LayerStack> LayerStackFromHandle(int& handle) const;
    qs::Reference<LayerStack> LayerStackFromHandle(const PntHandle& container) const;
    int GetLayerStackHandle(const qs::Reference<LayerStack>& stack) const;
    qsOS::Uuid GetLayerStackInstanceHandle(int handle = kCurrentLayerStack) const;
    bool ValidLayerStackHandle(int handle) const;
    bool CheckLayerStackHandle(int handle) const;
    bool isLayerContainerHandleValid(const PntHandle& container) const;
    void ResetLayerStackIterator();
    int NextLayerStack();
    void* GetCurrentLayerStackPtr_Private_() const;
    bool isCurrLSLocked() const { return currLSLocked_; }
    void setCurrLSLocked(bool locked) { currLSLocked_ = locked; }

    bool store() { return true; }
    bool setMIOLayerStack_sr(MIOLayerStack_sr*) { return false; }
    int remapRetrievedHandle(int) { return -1; }
    void rememberStoredHandle(int) {}

    // --- options ---

    void BeginOperation() { inOperation_ = true; }
    void CancelOperation() { inOperation_ = false; }
    void EndOperation(bool) { inOperation_ = false; }
    bool InOperation() const { return inOperation_; }

    void SetColorSwizle(bool on);
    bool GetColorSwizle() const;
    void SetScaleFilter(int minify, int magnify);
    void GetScaleFilter(int& minify, int& magnify) const;
    void EnableBrushFeedback(bool on) { isBrushFeedbackEnabled_ = on; }
    bool isBrushFeedbackEnabled() const { return isBrushFeedbackEnabled_; }
    void InteractivePanZoom(bool on) { interactivePanZoom_ = on; }
    bool inInteractivePanZoom() const { return interactivePanZoom_; }
    void SetWarpDefaultDisplayColor(const PaintColor& color);
    PaintColor GetWarpDefaultDisplayColor() const { return warpColor_; }
    void SetWarpDefaultDisplayOpacity(float opacity);
    float GetWarpDefaultDisplayOpacity() const { return warpOpacity_; }
    float GetShapeOpacity(const PntHandle& = kCurrentLayerHandle) const { return 1.0F; }
    void SetShapeOpacity(float, const PntHandle& = kCurrentLayerHandle) {}

    // --- undo ---

    void SetLogUndoOper(bool on) { logUndo_ = on; }
    void SuspendUndo(bool suspend);

    /// Whether edits are recorded now: not switched off by the environment ("MIO_UNDO_DISABLE" is "1" at the first
    /// call), not suspended, and logging is on.
    bool UndoEnable();

    /// Puts a copy in the document's place, ready for a structural edit, and returns the record that holds the document
    /// as it is; kept as a step of its own when pushToList. Null without the document, when memory does not suffice,
    /// and while edits are not recorded.
    qs::Reference<PntUndoLayerStack> AddUndoLayerStack(int handle, bool pushToList);

    /// The history does not fit the documents any more: it is flushed before the next step is kept.
    void UndoListSetDirty();

    /// Empties the undo store, whichever there is.
    void FlushUndoQueue();

    // --- brush ---

    /// Ignored during a stroke, and with numbers that no brush can have. `force` sets even what has not changed. The
    /// reference stamp stays the host's and is asked again when a stroke begins.
    void SetBrushParameters(const BrushParameters& brush, bool force);
    const BrushParameters& GetBrushParameters() const;
    void SetStrokeParameters(const StrokeParameters& stroke);
    const StrokeParameters& GetStrokeParameters() const;
    void SetColor(PaintColor color, bool force);
    int updateFromOptions(const StrokeParameters& stroke, const BrushParameters& brush);
    int overrideProfile(qs::Reference<LinearProfile> profile);
    qs::Reference<LinearProfile> GetOverridenProfile() const;

    /// Owned by the manager from here on; null for none.
    void SetEffectBrush(EffectBrush* brush);

    /// Makes the effect brush's image of the current layer anew; drops it without an effect brush or a layer.
    void UpdateProcessedLayerImage();

    /// Takes the brush's shape from the current layer's coverage, or its texture from the layer's colours, within a
    /// tile of the canvas (an empty one: the whole layer). False when there is nothing to take.
    bool PickupShape(const ilTile& area);
    bool PickupTexture(const ilTile& area);
    void ClearShape();
    void ClearTexture();

    bool Use16BitBrush() const;
    double GetSpacingBias(float size) const;

    void ResetStampCache();
    void SetStampCacheSize(int mebibytes);
    int GetStampCacheSize() const;
    void SetStampRotationQuantizationIncrement(int degrees);
    int GetMaxStampRadius() const { return kMaxStampRadius; }

    // --- strokes ---

    /// Begins a stroke on the current layer, if it is visible. noTimerUpdate: views are updated by damage alone.
    void BeginBrushStroke(bool noTimerUpdate);

    /// Feeds one sample to the open stroke; does nothing when none is open.
    /// x, y: canvas pixels, fractions kept. size: stamp radius in pixels, below 1 acts as 1 and above
    /// GetMaxStampRadius() as that. opacity: 0 to 1. aspect: axis across by axis along the rotation, up to 1.9.
    /// rotation: degrees. A NaN or infinity refuses it. A stroke whose layer is no longer current ends instead.
    void AddStrokePoint(float x, float y, float size, float opacity, float aspect, float rotation, bool, bool);
    void EndBrushStroke();
    bool InBrushStroke() const;

    /// Stamps laid down by strokes so far, and the pixels of their rectangles.
    uint64_t GetStampCount() const;
    uint64_t GetStampedPixels() const;

    // --- preview and samples of the brush ---

    /// Shows one stamp of the brush on the image plane at a canvas point, without touching the layer; replaces the
    /// preview before. size: radius in pixels. Nothing during a stroke.
    void BrushPreviewPoint(float x, float y, float size, float opacity, float aspect, float rotation);
    void ClearBrushPreview();
    bool InPreview() const;

    /// A picture of one stamp of the brush, centred in width × height pixels of transparency; null when refused.
    qs::TempReference<ilSmartImage> CreateSampleStamp(int width, int height, float size);

    /// A picture of an S-shaped stroke of the brush with pressure rising and falling; null when refused.
    qs::TempReference<ilSmartImage> CreateSampleStroke(int width, int height, float size);

    /// A painter with the current brush on an image of its own, width × height pixels, for drawing at another scale
    /// (radii times `scale`); null when refused.
    qs::Reference<PaintOps> CreateScaledPaintOps(int width, int height, float scale);

    /// The same on a copy of a layer, scaled; for previews of a layer at `scale`, above 0 to 8.
    qs::Reference<PaintOps> CreateScaledLayerPaintOps(const PntHandle& layer, float scale);

    // --- pointer input ---

    static void InitPressureFilter(unsigned short min, unsigned short max);
    static float PressureFilter(unsigned int raw);
    void ResetPointSmoother();

    /// Smooths one point; the points to draw now, `count` of them (at most 16), in a buffer good until the next call.
    /// Null, with count 0, before ResetPointSmoother.
    ilXYobj<ilXYstruct<float>, float>* SmoothPoints(const ilXYobj<ilXYstruct<float>, float>& point, int& count);

    static TpressureFilter* PressFilter;
    static unsigned short minPressure;
    static unsigned short maxPressure;
    static const int CheckInterval;  // 5 samples
    static const int MinUpdateInterval;  // 10 ms
    static const int MaxUpdateInterval;  // 100 ms
    static const float MinUpdateIntRadius;  // 5 pixels
    static const float MaxUpdateIntRadius;  // 96 pixels

    // --- layers and folders of a document ---

    /// A new empty raster layer (or one with a copy of `image`) beside `where`, which becomes current. Kinds other than
    /// raster and images of other channels than the mode's (image 4, mask and stencil 1) are refused. owners: the
    /// layers that a mask or stencil acts on.
    PntHandle AddLayer(qs::TempReference<ilImage> image, LayerMode mode = kLayerModeImage,
                       LayerType type = kLayerTypeRaster, bool above = true,
                       const PntHandle& where = kCurrentLayerHandle, int x = 0, int y = 0,
                       int layerStack = kCurrentLayerStack, const qs::vector<PntHandle>& owners = {});
    PntHandle AddLayerFolder(LayerMode mode, const PntHandle& where = kCurrentLayerHandle,
                             int layerStack = kCurrentLayerStack);

    /// A layer of any kind but the selection mask; of image layers one always stays.
    void DeleteLayer(const PntHandle& layer = kCurrentLayerHandle);
    void DeleteCurrentLayer(int layerStack = kCurrentLayerStack);
    void DeleteAllLayers(int layerStack = kCurrentLayerStack);
    void DeleteAllMasks(int layerStack = kCurrentLayerStack);

    /// Stencils that are hard-linked to their owner stay unless `all`.
    void DeleteAllStencils(bool all, int layerStack = kCurrentLayerStack);
    void DeleteInvisibleLayers(int layerStack = kCurrentLayerStack);
    bool MoveLayer(const PntHandle& moved, const PntHandle& target, bool above);

    /// Connects a mask or stencil to a layer that it acts on, or ends that.
    bool AddOwnerToLayer(const PntHandle& owner, const PntHandle& layer, bool hardLink);
    bool RemoveOwnerFromLayer(const PntHandle& owner, const PntHandle& layer);
    void SetCurrentLayer(const PntHandle& layer);

    /// Makes the visible layer that shows at a canvas point, or no farther from it than `tolerance` pixels, current.
    PntHandle PickLayer(int x, int y, float tolerance, int layerStack = kCurrentLayerStack);
    PntHandle GetCurrentLayerContainerHandle(int layerStack = kCurrentLayerStack) const;
    qs::vector<PntHandle> GetLayerContainerHandles(LayerMode mode, bool directOnly,
                                                   int layerStack = kCurrentLayerStack) const;

    void SetLayerVisible(bool visible, const PntHandle& layer = kCurrentLayerHandle);
    bool isLayerVisible(const PntHandle& layer = kCurrentLayerHandle) const;
    void SetLayerOpacity(float opacity, const PntHandle& layer = kCurrentLayerHandle);
    float GetLayerOpacity(const PntHandle& layer = kCurrentLayerHandle) const;
    void SetLayerBlend(LayerBlendMode mode, const PntHandle& layer = kCurrentLayerHandle);
    void SetLayerContainerName(const char* name, const PntHandle& layer = kCurrentLayerHandle);
    void SetLayerFolderActive(bool active, const PntHandle& folder);
    void SetLayerActive(bool active, const PntHandle& layer = kCurrentLayerHandle);
    void SetLayerContainerLocked(bool locked, const PntHandle& layer = kCurrentLayerHandle);

    // --- merging, baking and copying layers; false, or the null handle, when nothing was done ---

    /// Into the layer below in the same folder. The picture on the canvas stays, for all merges.
    bool MergeLayerWithBelow(const PntHandle& layer = kCurrentLayerHandle);
    bool MergeFolder(const PntHandle& folder, int layerStack = kCurrentLayerStack);

    /// All image layers become one, hidden ones go; or the visible ones become one and the others stay.
    bool MergeAllLayers(int layerStack = kCurrentLayerStack);
    bool MergeVisibleLayers(int layerStack = kCurrentLayerStack);

    /// Makes transparent what stencils hide; the stencils go.
    bool BakeAllStencils(int layerStack = kCurrentLayerStack);

    /// A copy of the current layer above it, which becomes current.
    PntHandle DuplicateCurrentLayer(int layerStack = kCurrentLayerStack);

    /// A new layer of the layer's look, or of its coverage; connect: it acts on the layer.
    PntHandle CopyLayerToImage(const PntHandle& layer = kCurrentLayerHandle);
    PntHandle CopyLayerToMask(const PntHandle& layer = kCurrentLayerHandle, bool connect = true);
    PntHandle CopyLayerToStencil(const PntHandle& layer = kCurrentLayerHandle, bool connect = true);

    // --- pixels of a layer; tiles are canvas pixels. Undone like a stroke, where not stated otherwise ---

    /// Moves a layer on the canvas: its pixel (0, 0) comes to lie on (x, y).
    void SetLayerOffset(int x, int y, const PntHandle& layer = kCurrentLayerHandle);
    void SetCurrentLayerOffset(int x, int y, int layerStack = kCurrentLayerStack);

    /// Stores a colour (on a mask or stencil its alpha, as coverage) in nx × ny canvas pixels of a layer, as far as
    /// they lie on the canvas and are selected.
    void FillLayer(const ilTile& area, const PaintColor& color, const PntHandle& layer = kCurrentLayerHandle);

    /// Makes pixels transparent: all, those in the tile, those outside it, or what is selected.
    void ClearCurrentLayer(int layerStack = kCurrentLayerStack);
    void ClearLayerImageByRect(const ilTile& area, const PntHandle& layer = kCurrentLayerHandle);
    void CropLayer(const ilTile& area, const PntHandle& layer = kCurrentLayerHandle);
    void ClearLayerImageBySelMask(const PntHandle& layer = kCurrentLayerHandle);

    /// Each acts on layers of its own mode; colours of image layers, through the selection while one is used.
    void InvertImageLayer(const PntHandle& layer = kCurrentLayerHandle);
    void InvertMaskLayer(const PntHandle& layer = kCurrentLayerHandle);
    void InvertStencilLayer(const PntHandle& layer = kCurrentLayerHandle);

    /// Mirrors the layer, with its transform group, within its bounds.
    void FlipImageLayer(bool horizontal, bool vertical, const PntHandle& layer = kCurrentLayerHandle);

    /// Gives the layer a page-sharing copy of `image`, of as many channels. Not undoable.
    bool ReplaceLayerImage(qs::TempReference<ilImage> image, const PntHandle& layer = kCurrentLayerHandle);

    // --- transforms, colours and sharpness, limited by a used selection; what the LayerStack methods of the same name
    // take. False, with nothing changed, when refused. The Proxy forms are previews that go with EndProxy() ---

    /// Of the layer, or of its transform group: through a map of canvas points, or into a quadrilateral.
    bool XForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
               const PntHandle& layer = kCurrentLayerHandle);
    bool ProxyXForm(const LayerStackTransform& transform, FilterMethod minify, FilterMethod magnify,
                    const PntHandle& layer = kCurrentLayerHandle);
    bool Deform(const Rect8f& corners, FilterMethod filter, int kind, const PntHandle& layer = kCurrentLayerHandle);
    bool ProxyDeform(const Rect8f& corners, FilterMethod filter, int kind,
                     const PntHandle& layer = kCurrentLayerHandle);

    /// The canvas box of what they would change.
    ilTile GetTransformBounds(const PntHandle& layer = kCurrentLayerHandle) const;

    /// amount: 0 to 1 of the way; of sharpening above 0, of blurring below 0, with the radius in pixels.
    bool ColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& layer = kCurrentLayerHandle);
    bool ProxyColorAdjust(const ColorAdjustParm& parm, float amount, const PntHandle& layer = kCurrentLayerHandle);
    ImageAnalysisData AnalyzeLayer(const PntHandle& layer = kCurrentLayerHandle) const;
    bool SharpenOrBlurDone(float amount, float radius, const PntHandle& layer = kCurrentLayerHandle);

    /// Layers that transform together; a layer is in one group at most.
    qs::vector<PntHandle> getTransformGroup(const PntHandle& layer = kCurrentLayerHandle) const;
    bool AddTransformGroup(const qs::vector<PntHandle>& layers, int layerStack = kCurrentLayerStack);
    bool addLayerToCurrTransformGroup(const PntHandle& layer);
    bool removeLayerFromTransformGroup(const PntHandle& layer = kCurrentLayerHandle);
    bool DeleteTransformGroup(const PntHandle& layer = kCurrentLayerHandle);

    // --- the whole document: layers, masks, stencils, selection and canvas alike ---

    bool ScaleAllLayers(int width, int height, FilterMethod minify, FilterMethod magnify,
                        int layerStack = kCurrentLayerStack);

    /// A tile of the present canvas, or reaching beyond it, becomes the canvas; cropping needs one that meets it.
    /// No pixel is lost: what lies outside stays in the layers.
    bool ResizeDocument(const ilTile& canvas, int layerStack = kCurrentLayerStack);
    bool CropDocument(const ilTile& canvas, int layerStack = kCurrentLayerStack);

    /// Clockwise; the canvas grows to hold the turned one.
    bool RotateCanvas(double angleDeg, FilterMethod minify, FilterMethod magnify, int layerStack = kCurrentLayerStack);
    bool FlipDocument(bool horizontal, bool vertical, int layerStack = kCurrentLayerStack);

    // --- canvas ---

    void DamageRegion(const ilTile& tile, int layerStack = kCurrentLayerStack);
    void SuspendLayerStackComposites(int layerStack = kCurrentLayerStack);
    void ResumeLayerStackComposites(int layerStack = kCurrentLayerStack);
    void AddViewer(LayerStackView* view, int layerStack = kCurrentLayerStack);
    void RemoveViewer(LayerStackView* view, int layerStack = kCurrentLayerStack);
    void UpdateViewer(LayerStackView* view, int layerStack = kCurrentLayerStack);
    void ForceUpdate(int layerStack = kCurrentLayerStack);
    void RedrawCanvasDueToGeometryChange(int layerStack = kCurrentLayerStack);
    void FreeLayerStackCacheData(int layerStack);
    bool GetNextUpdateTile(ilTile& tile, int layerStack = kCurrentLayerStack);
    void UpdateImagePlaneBits(int layerStack = kCurrentLayerStack);
    qs::TempReference<ilSPMemoryImg> GetImagePlane(int layerStack = kCurrentLayerStack) const;
    qs::TempReference<ilImage> GetCompositeImage(int layerStack = kCurrentLayerStack);
    bool SetLayerStackSize(const ilTile& size, int layerStack = kCurrentLayerStack);
    void GetLayerStackSize(ilTile& size, int layerStack = kCurrentLayerStack) const;
    void SetBackgroundColor(const PaintColor& color, int layerStack = kCurrentLayerStack);
    PaintColor GetBackgroundColor(int layerStack = kCurrentLayerStack) const;

    /// Owned by the document from here on, unless there is no such document; null for none.
    void SetSymmetry(Symmetry* symmetry, int layerStack = kCurrentLayerStack);
    Symmetry* GetSymmetry(int layerStack = kCurrentLayerStack) const;

    void SetShowCurrentLayerOnly(bool on, int layerStack = kCurrentLayerStack);
    bool GetShowCurrentLayerOnly(int layerStack = kCurrentLayerStack) const;

    /// The layers' edits are previews from here on: LayerStack::BeginProxy.
    bool BeginProxy(const ProxyParameters& parameters, const qs::vector<PntHandle>& layers,
                    int layerStack = kCurrentLayerStack);
    void RevertProxy(int layerStack = kCurrentLayerStack);
    bool InProxy(int layerStack = kCurrentLayerStack) const;
    void EndProxy(int layerStack = kCurrentLayerStack);

    // --- fill and wand tools (PaintManagerFill.cpp): what is connected to a canvas point and like it in colour, as
    // LayerStack fills and selects it. tolerance: parts of full scale, 0 to 1.
    //
    // A Do call shows the result in a proxy of the layer (of the selection mask, for the wand); while that lasts a
    // further one takes the attempt before back and tries again. The proxy's end takes the last one back as well,
    // unless the host's callback keeps it; a Done call after that fills for good. All of it is one step of undo.
    // Without a document the user is told. A refused fill leaves no proxy and no step. ---

    void DoFloodFill(int x, int y, float tolerance, const PaintColor& color,
                     const PntHandle& layer = kCurrentLayerHandle);
    void FloodFillDone(int x, int y, float tolerance, const PaintColor& color,
                       const PntHandle& layer = kCurrentLayerHandle);

    /// From the first Do to the Done call a smooth fill is in progress.
    void DoSmoothFloodFill(int x, int y, float tolerance, const PaintColor& color,
                           const PntHandle& layer = kCurrentLayerHandle);
    void SmoothFloodFillDone(int x, int y, float tolerance, const PaintColor& color,
                             const PntHandle& layer = kCurrentLayerHandle);

    /// Moves the selection to the colour's alpha where the layer is alike, with soft edges; fromAll: from a canvas that
    /// is selected whole.
    void DoMagicWand(int x, int y, float tolerance, const PaintColor& color, bool fromAll,
                     const PntHandle& layer = kCurrentLayerHandle);
    void MagicWandDone(int x, int y, float tolerance, const PaintColor& color, bool fromAll,
                       const PntHandle& layer = kCurrentLayerHandle);

    /// By how many pixels smooth fills and wands of a document reach beyond their region, 0 (at first) to 500; clamped.
    void SetFloodFillGrowth(int pixels, int layerStack = kCurrentLayerStack);
    int GetFloodFillGrowth(int layerStack = kCurrentLayerStack) const;

    /// Whether a smooth fill in progress fills with that colour here: within the canvas box that it filled, whose right
    /// and bottom edges count one pixel wider.
    bool IsPointBeingFilled(int x, int y, const PaintColor& color) const;

    // --- masks and selection ---

    void EnableMasking(bool on, int layerStack = kCurrentLayerStack);
    bool isMaskingEnabled(int layerStack = kCurrentLayerStack) const;
    void SetMaskDisable(bool disable, int layerStack = kCurrentLayerStack);
    bool GetMaskDisable(int layerStack = kCurrentLayerStack) const;
    void SetMaskVisible(bool visible, int layerStack = kCurrentLayerStack);
    bool GetMaskVisible(int layerStack = kCurrentLayerStack) const;
    void ClearSelectionMask(int layerStack = kCurrentLayerStack);
    void SetSelectionMaskActive(bool active, int layerStack = kCurrentLayerStack);
    bool isSelectionMaskActive(int layerStack = kCurrentLayerStack) const;
    bool isSelectionMaskUsed(int layerStack = kCurrentLayerStack) const;
    void SetSelectionMaskCurrent(int layerStack = kCurrentLayerStack);
    bool isSelectionMaskCurrent(int layerStack = kCurrentLayerStack) const;
    PntHandle GetSelectionMaskHandle(int layerStack = kCurrentLayerStack) const;

    /// The painted area in the mask's own coordinates, and where its (0, 0) lies on the canvas; untouched without one.
    void GetSelMaskBounds(ilTile& bounds, int layerStack = kCurrentLayerStack) const;
    void GetSelMaskOffset(int& x, int& y, int layerStack = kCurrentLayerStack) const;
    void SetSelectionDefaultDisplayColor(const PaintColor& color, int layerStack = kCurrentLayerStack);
    PaintColor GetSelectionDefaultDisplayColor(int layerStack = kCurrentLayerStack) const;
    void SetSelectionDefaultDisplayOpacity(float opacity, int layerStack = kCurrentLayerStack);
    float GetSelectionDefaultDisplayOpacity(int layerStack = kCurrentLayerStack) const;
    void SetMaskDefaultDisplayColor(const PaintColor& color, int layerStack = kCurrentLayerStack);
    PaintColor GetMaskDefaultDisplayColor(int layerStack = kCurrentLayerStack) const;
    void SetMaskDefaultDisplayOpacity(float opacity, int layerStack = kCurrentLayerStack);
    float GetMaskDefaultDisplayOpacity(int layerStack = kCurrentLayerStack) const;

    // --- what is selected (PaintManagerSelection.cpp); each as the operation of LayerStack of that name. The composite
    // mask and the views follow at once. A stroke on the document ends ---

    void FillSelectionMask(const ilTile& tile, int layerStack = kCurrentLayerStack);
    void FillSelectionMask(int layerStack = kCurrentLayerStack);
    void ClearSelectionMask(const ilTile& tile, int layerStack = kCurrentLayerStack);
    void AddToSelection(const ilTile& tile, int layerStack = kCurrentLayerStack);
    void SubtractFromSelection(const ilTile& tile, int layerStack = kCurrentLayerStack);

    /// The image's pixel (0, 0) lies on canvas pixel (x, y).
    void AddToSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, int layerStack = kCurrentLayerStack);
    void SubtractFromSelection(const qs::TempReference<ilMIOImage>& image, int x, int y,
                               int layerStack = kCurrentLayerStack);
    void IntersectSelection(const qs::TempReference<ilMIOImage>& image, int x, int y,
                            int layerStack = kCurrentLayerStack);
    void CopyToSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, int layerStack = kCurrentLayerStack);
    void CopyFromSelection(const qs::TempReference<ilMIOImage>& image, int layerStack = kCurrentLayerStack) const;
    void FillSelectionMask(const qs::TempReference<ilMIOImage>& image, int layerStack = kCurrentLayerStack);
    void ClearSelectionMask(const qs::TempReference<ilMIOImage>& image, int layerStack = kCurrentLayerStack);

    void AddToSelection(const PntHandle& layer = kCurrentLayerHandle);
    void SubtractFromSelection(const PntHandle& layer = kCurrentLayerHandle);
    void CopyToSelection(const PntHandle& layer = kCurrentLayerHandle);
    qs::TempReference<ilSmartImage> CopyFromSelection(const PntHandle& layer = kCurrentLayerHandle);

    /// `count` canvas points, x and y in turn.
    void LassoSelection(const float* points, int count, int layerStack = kCurrentLayerStack);
    qs::TempReference<ilSmartImage> GetLassoImage(const float* points, int count, bool nonZero,
                                                  int layerStack = kCurrentLayerStack) const;
    bool SelectLasso(const float* points, int count, SelectionMode mode, FillRule rule,
                     int layerStack = kCurrentLayerStack);

    void MoveSelection(int dx, int dy, int layerStack = kCurrentLayerStack);
    void InvertSelection(int layerStack = kCurrentLayerStack);
    void GrowSelection(int pixels, int layerStack = kCurrentLayerStack);
    void FeatherSelection(float radius, int layerStack = kCurrentLayerStack);

    /// Untouched without a document.
    void GetSelectionMaskBnd(ilTile& bounds, int layerStack = kCurrentLayerStack) const;

private:
    void CloseCurrentLayerStack(bool recordUndo);
    void CloseLayerStack(int handle);
    bool HasLayers(LayerMode mode, int layerStack) const;
    bool ChangeStructure(int layerStack, const std::function<void(LayerStack&)>& change);
    bool ChangePixels(const PntHandle& layer, const std::function<void(LayerStack&)>& change);
    bool EditPixels(const PntHandle& layer, bool withGroup, const std::function<bool(LayerStack&)>& edit);
    bool Preview(const PntHandle& layer, const std::function<bool(LayerStack&)>& preview);
    bool MergeLayers(bool visibleOnly, int layerStack);
    bool Merge(int layerStack, const PntHandle& receiver, const std::function<void(LayerStack&)>& merge);
    PntHandle Duplicate(int layerStack, const std::function<PntHandle(LayerStack&)>& duplicate);

    PaintCoreCallbacks callbacks_;
    std::unique_ptr<LayerStackRegistry> registry_;
    std::unique_ptr<BrushState> brush_;
    std::unique_ptr<BrushStroker> stroker_;
    std::unique_ptr<BrushPreview> preview_;
    std::unique_ptr<PointerInput> pointer_;
    std::unique_ptr<FillTools> fillTools_;
    const LayerStack* closing_ = nullptr;  // a slot that hears of it may ask for the same once more
    bool currLSLocked_ = false;
    bool initialised_ = false;
    bool inOperation_ = false;
    bool isBrushFeedbackEnabled_ = false;
    bool interactivePanZoom_ = false;
    bool logUndo_ = true;
    int minifyFilter_ = 0;
    int magnifyFilter_ = 0;
    PaintColor warpColor_{0, 0, 0, 1};
    float warpOpacity_ = 0.5F;
};

/// The process's paint manager: exists from load time to unload.
extern PAINTLAYER_EXPORT PaintManager PaintCore;
