#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Export.h"
#include "platform/imaging/pages/PaintColor.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/pages/ilTile.h"
#include "stack/LayerStackHandle.h"

/// Part of PaintManager: pixels of one layer, and where they lie. Tiles are canvas pixels. Undone like a stroke, where
/// not stated otherwise; false when nothing was done.
class PAINTLAYER_EXPORT PixelCommands {
public:
    /// Moves a layer on the canvas: its pixel (0, 0) comes to lie on (x, y).
    bool SetLayerOffset(int x, int y, const PntHandle& layer = kCurrentLayerHandle);
    bool SetCurrentLayerOffset(int x, int y, int layerStack = kCurrentLayerStack);

    /// Where a layer lies; untouched without one.
    void GetLayerOffset(int& x, int& y, const PntHandle& layer = kCurrentLayerHandle) const;

    /// Stores a colour (on a mask or stencil its alpha, as coverage) in nx × ny canvas pixels of a layer, as far as
    /// they lie on the canvas and are selected. A transparent colour erases.
    bool FillLayer(const ilTile& area, const PaintColor& color, const PntHandle& layer = kCurrentLayerHandle);

    /// Makes pixels transparent: all, those in the tile, those outside it, or what is selected.
    bool ClearCurrentLayer(int layerStack = kCurrentLayerStack);
    bool ClearLayerImageByRect(const ilTile& area, const PntHandle& layer = kCurrentLayerHandle);
    bool CropLayer(const ilTile& area, const PntHandle& layer = kCurrentLayerHandle);
    bool ClearLayerImageBySelMask(const PntHandle& layer = kCurrentLayerHandle);

    /// Each acts on layers of its own mode; colours of image layers, through the selection while one is used.
    bool InvertImageLayer(const PntHandle& layer = kCurrentLayerHandle);
    bool InvertMaskLayer(const PntHandle& layer = kCurrentLayerHandle);
    bool InvertStencilLayer(const PntHandle& layer = kCurrentLayerHandle);

    /// Mirrors the layer, with its transform group, within its bounds.
    bool FlipImageLayer(bool horizontal, bool vertical, const PntHandle& layer = kCurrentLayerHandle);

    /// Gives the layer a page-sharing copy of `image`, of as many channels. Not undoable.
    bool ReplaceLayerImage(qs::TempReference<ilImage> image, const PntHandle& layer = kCurrentLayerHandle);

protected:
    PixelCommands() = default;
    ~PixelCommands() = default;
};
