#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Export.h"
#include "platform/imaging/pages/PaintColor.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/pages/ilTile.h"
#include "platform/imaging/regions/PolygonRasterizer.h"
#include "stack/LayerStackHandle.h"
#include "stack/SelectionMode.h"

/// Part of PaintManager: what is selected, each as the operation of LayerStack of that name, and how masks and the
/// selection are shown.
class PAINTLAYER_EXPORT SelectionCommands {
public:
    // --- what is selected: one step of undo each. The composite mask and the views follow at once, a stroke on the
    // document ends. A selection that is made anew is inactive until SetSelectionMaskActive, unless stated there ---

    /// Exactly the tile, the whole canvas, or the image; everything but the tile, nothing, or everything but the image.
    void FillSelectionMask(const ilTile& tile, int layerStack = kCurrentLayerStack);
    void FillSelectionMask(int layerStack = kCurrentLayerStack);
    void FillSelectionMask(const qs::TempReference<ilMIOImage>& image, int layerStack = kCurrentLayerStack);
    void ClearSelectionMask(const ilTile& tile, int layerStack = kCurrentLayerStack);
    void ClearSelectionMask(int layerStack = kCurrentLayerStack);
    void ClearSelectionMask(const qs::TempReference<ilMIOImage>& image, int layerStack = kCurrentLayerStack);

    /// The tile as well, or no more.
    void AddToSelection(const ilTile& tile, int layerStack = kCurrentLayerStack);
    void SubtractFromSelection(const ilTile& tile, int layerStack = kCurrentLayerStack);

    /// The same with an image, whose pixel (0, 0) lies on canvas pixel (x, y).
    void AddToSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, int layerStack = kCurrentLayerStack);
    void SubtractFromSelection(const qs::TempReference<ilMIOImage>& image, int x, int y,
                               int layerStack = kCurrentLayerStack);
    void IntersectSelection(const qs::TempReference<ilMIOImage>& image, int x, int y,
                            int layerStack = kCurrentLayerStack);
    void CopyToSelection(const qs::TempReference<ilMIOImage>& image, int x, int y, int layerStack = kCurrentLayerStack);

    /// The selection into a one-channel image.
    void CopyFromSelection(const qs::TempReference<ilMIOImage>& image, int layerStack = kCurrentLayerStack) const;

    /// The same with a layer's coverage, where it lies.
    void AddToSelection(const PntHandle& layer = kCurrentLayerHandle);
    void SubtractFromSelection(const PntHandle& layer = kCurrentLayerHandle);
    void CopyToSelection(const PntHandle& layer = kCurrentLayerHandle);

    /// What the layer shows within the bounds of the selection, in canvas coordinates; null when that is nothing.
    qs::TempReference<ilSmartImage> CopyFromSelection(const PntHandle& layer = kCurrentLayerHandle);

    /// `count` canvas points, x and y in turn: takes the polygon away from the selection, which becomes active.
    void LassoSelection(const float* points, int count, int layerStack = kCurrentLayerStack);

    /// The polygon as a one-channel image; nonZero: what it winds around is inside, else by the even-odd rule.
    qs::TempReference<ilSmartImage> GetLassoImage(const float* points, int count, bool nonZero,
                                                  int layerStack = kCurrentLayerStack) const;

    /// Combines the polygon with the selection, which becomes active. False, with nothing changed, when refused.
    bool SelectLasso(const float* points, int count, SelectionMode mode, FillRule rule,
                     int layerStack = kCurrentLayerStack);

    /// Moves the selection, not the pixels under it.
    void MoveSelection(int dx, int dy, int layerStack = kCurrentLayerStack);
    void InvertSelection(int layerStack = kCurrentLayerStack);

    /// Wider by so many pixels, or narrower by minus as many.
    void GrowSelection(int pixels, int layerStack = kCurrentLayerStack);

    /// Softens the edge over about so many pixels on both sides.
    void FeatherSelection(float radius, int layerStack = kCurrentLayerStack);

    // --- the selection mask as a layer ---

    /// Whether the selection limits painting and is shown; not undoable.
    void SetSelectionMaskActive(bool active, int layerStack = kCurrentLayerStack);
    bool isSelectionMaskActive(int layerStack = kCurrentLayerStack) const;

    /// Active, not empty, and not the current layer.
    bool isSelectionMaskUsed(int layerStack = kCurrentLayerStack) const;

    /// Painted on like any layer; another layer becomes current by SetCurrentLayer.
    void SetSelectionMaskCurrent(int layerStack = kCurrentLayerStack);
    bool isSelectionMaskCurrent(int layerStack = kCurrentLayerStack) const;
    PntHandle GetSelectionMaskHandle(int layerStack = kCurrentLayerStack) const;

    /// The painted area in the mask's own coordinates, and where its (0, 0) lies on the canvas; untouched without one.
    void GetSelMaskBounds(ilTile& bounds, int layerStack = kCurrentLayerStack) const;
    void GetSelMaskOffset(int& x, int& y, int layerStack = kCurrentLayerStack) const;

    /// The selection's box in canvas pixels; untouched without a document.
    void GetSelectionMaskBnd(ilTile& bounds, int layerStack = kCurrentLayerStack) const;

    // --- how masks and the selection are shown ---

    /// Accepted and without effect: masking is always on.
    void EnableMasking(bool on, int layerStack = kCurrentLayerStack);
    bool isMaskingEnabled(int layerStack = kCurrentLayerStack) const;

    /// Masks of the current layer and the selection are shown over the picture when visible and not disabled.
    void SetMaskDisable(bool disable, int layerStack = kCurrentLayerStack);
    bool GetMaskDisable(int layerStack = kCurrentLayerStack) const;
    void SetMaskVisible(bool visible, int layerStack = kCurrentLayerStack);
    bool GetMaskVisible(int layerStack = kCurrentLayerStack) const;

    /// The colour and opacity, 0 to 1, of the selection, and of masks that are made from here on.
    void SetSelectionDefaultDisplayColor(const PaintColor& color, int layerStack = kCurrentLayerStack);
    PaintColor GetSelectionDefaultDisplayColor(int layerStack = kCurrentLayerStack) const;
    void SetSelectionDefaultDisplayOpacity(float opacity, int layerStack = kCurrentLayerStack);
    float GetSelectionDefaultDisplayOpacity(int layerStack = kCurrentLayerStack) const;
    void SetMaskDefaultDisplayColor(const PaintColor& color, int layerStack = kCurrentLayerStack);
    PaintColor GetMaskDefaultDisplayColor(int layerStack = kCurrentLayerStack) const;
    void SetMaskDefaultDisplayOpacity(float opacity, int layerStack = kCurrentLayerStack);
    float GetMaskDefaultDisplayOpacity(int layerStack = kCurrentLayerStack) const;

protected:
    SelectionCommands() = default;
    ~SelectionCommands() = default;
};
