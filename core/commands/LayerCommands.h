#pragma once

#include "layers/LayerEnums.h"
#include "layers/PntHandle.h"
#include "platform/base/CString.h"
#include "platform/base/Containers.h"
#include "platform/base/Export.h"
#include "platform/imaging/kernels/LayerBlendMode.h"
#include "platform/imaging/pages/PaintColor.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "stack/LayerStackHandle.h"

/// Part of PaintManager: which layers and folders a document has, in which order, and their properties.
class PAINTLAYER_EXPORT LayerCommands {
public:
    // --- structure; one step of undo each ---

    /// A new raster layer beside `where`, empty or with a copy of `image` at canvas offset (x, y), which becomes
    /// current. Kinds other than raster and images of other channels than the mode's (image 4, mask and stencil 1) are
    /// refused: the null handle. owners: the layers that a mask or stencil acts on, with `hardLink` the first of them
    /// alone, whose visibility it follows. second: checked as the layer's constructor does, and not kept.
    /// inTransformGroup: it joins the transform group of the layer that was current.
    PntHandle AddLayer(qs::TempReference<ilImage> image, LayerMode mode = kLayerModeImage,
                       LayerType type = kLayerTypeRaster, bool above = true,
                       const PntHandle& where = kCurrentLayerHandle, int x = 0, int y = 0,
                       int layerStack = kCurrentLayerStack, const qs::vector<PntHandle>& owners = {},
                       bool hardLink = false, qs::TempReference<ilImage> second = {}, bool inTransformGroup = false);

    /// A folder with one new empty layer in it, which becomes current, above `where`. The null handle inside a folder.
    PntHandle AddLayerFolder(LayerMode mode, const PntHandle& where = kCurrentLayerHandle,
                             int layerStack = kCurrentLayerStack);

    /// A layer of any kind but the selection mask, with what is hard-linked to it; of image layers one always stays.
    /// False when there is no such layer.
    bool DeleteLayer(const PntHandle& layer = kCurrentLayerHandle);
    bool DeleteCurrentLayer(int layerStack = kCurrentLayerStack);

    /// All layers, masks and stencils: one new empty image layer is left.
    bool DeleteAllLayers(int layerStack = kCurrentLayerStack);
    bool DeleteAllMasks(int layerStack = kCurrentLayerStack);

    /// Stencils that are hard-linked to their owner stay unless `all`.
    bool DeleteAllStencils(bool all, int layerStack = kCurrentLayerStack);

    /// Hidden layers, and inactive folders with all that they hold.
    bool DeleteInvisibleLayers(int layerStack = kCurrentLayerStack);

    /// Puts a layer or folder next to another of its mode (below a folder: inside it). False where that is impossible.
    bool MoveLayer(const PntHandle& moved, const PntHandle& target, bool above);

    /// Connects a mask or stencil to a layer that it acts on, or ends that. hardLink: it follows that layer alone.
    bool AddOwnerToLayer(const PntHandle& owner, const PntHandle& layer, bool hardLink);
    bool RemoveOwnerFromLayer(const PntHandle& owner, const PntHandle& layer);

    // --- the current layer ---

    /// Makes a layer current; for a folder the one that was current in it last. Not undoable.
    void SetCurrentLayer(const PntHandle& layer);
    PntHandle GetCurrentLayerContainerHandle(int layerStack = kCurrentLayerStack) const;

    /// Makes the visible layer that shows at a canvas point, or no farther from it than `tolerance` pixels, current.
    PntHandle PickLayer(int x, int y, float tolerance, int layerStack = kCurrentLayerStack);

    /// Bottom to top; without `directOnly` the contents of a folder follow it.
    qs::vector<PntHandle> GetLayerContainerHandles(LayerMode mode, bool directOnly,
                                                   int layerStack = kCurrentLayerStack) const;

    /// The layers that a mask or stencil acts on.
    qs::vector<PntHandle> GetOwnersOfLayer(const PntHandle& layer = kCurrentLayerHandle) const;

    // --- properties; not undoable. Without such a layer setters do nothing, and getters answer as for a new one ---

    /// Shown or hidden; for all layers of a document, or for the named ones.
    void SetLayerVisible(bool visible, const PntHandle& layer = kCurrentLayerHandle);
    void SetAllLayerVisible(bool visible, int layerStack = kCurrentLayerStack);
    void SetAllLayerVisible(const qs::vector<PntHandle>& layers, bool visible, int layerStack = kCurrentLayerStack);
    bool isLayerVisible(const PntHandle& layer = kCurrentLayerHandle) const;  // false without one

    /// 0 to 1, clamped.
    void SetLayerOpacity(float opacity, const PntHandle& layer = kCurrentLayerHandle);
    float GetLayerOpacity(const PntHandle& layer = kCurrentLayerHandle) const;

    /// How the layer combines with what lies below it.
    void SetLayerBlend(LayerBlendMode mode, const PntHandle& layer = kCurrentLayerHandle);
    LayerBlendMode GetLayerBlend(const PntHandle& layer = kCurrentLayerHandle) const;

    /// Image, mask or stencil; fixed for the life of a layer.
    LayerMode GetLayerMode(const PntHandle& layer = kCurrentLayerHandle) const;

    /// Of a layer or folder, at most 127 bytes.
    void SetLayerContainerName(const char* name, const PntHandle& layer = kCurrentLayerHandle);
    qsString::CString GetLayerContainerName(const PntHandle& layer = kCurrentLayerHandle) const;

    /// Whether a stencil hides what it covers.
    void SetLayerActive(bool active, const PntHandle& layer = kCurrentLayerHandle);
    bool isLayerActive(const PntHandle& layer = kCurrentLayerHandle) const;  // false without one

    /// An inactive folder hides all that it holds.
    void SetLayerFolderActive(bool active, const PntHandle& folder);
    bool isLayerFolderActive(const PntHandle& folder) const;  // false without one

    /// A flag of the host's own: strokes, fills and commands do not look at it.
    void SetLayerContainerLocked(bool locked, const PntHandle& layer = kCurrentLayerHandle);
    bool isLayerContainerLocked(const PntHandle& layer = kCurrentLayerHandle) const;

    /// How a mask or stencil is shown while it is current, or over the picture.
    void SetMaskLayerDisplayColor(const PaintColor& color, const PntHandle& layer = kCurrentLayerHandle);
    PaintColor GetMaskLayerDisplayColor(const PntHandle& layer = kCurrentLayerHandle) const;
    void SetMaskLayerDisplayOpacity(float opacity, const PntHandle& layer = kCurrentLayerHandle);
    float GetMaskLayerDisplayOpacity(const PntHandle& layer = kCurrentLayerHandle) const;

    /// The host's own data of a layer; an unknown key reads as an empty text.
    void SetAppData(const qsString::CString& key, const qsString::CString& value,
                    const PntHandle& layer = kCurrentLayerHandle);
    qsString::CString GetAppData(const qsString::CString& key, const PntHandle& layer = kCurrentLayerHandle) const;

protected:
    LayerCommands() = default;
    ~LayerCommands() = default;
};
