#pragma once

#include "layers/PntHandle.h"
#include "platform/base/Export.h"
#include "platform/imaging/pages/PaintColor.h"
#include "stack/LayerStackHandle.h"

/// Part of PaintManager: fill and wand tools, for what is connected to a canvas point and like it in colour.
/// tolerance: parts of full scale, 0 to 1.
///
/// A Do call shows the result in a proxy of the layer (of the selection mask, for the wand); while that lasts a further
/// one takes the attempt before back and tries again. The proxy's end takes the last one back as well, unless the
/// host's callback keeps it; a Done call after that fills for good. All of it is one step of undo. Without a document
/// the user is told. A refused fill leaves no proxy and no step.
class PAINTLAYER_EXPORT FillCommands {
public:
    /// With the colour; on a mask, a stencil or the selection mask with its alpha as coverage.
    void DoFloodFill(int x, int y, float tolerance, const PaintColor& color,
                     const PntHandle& layer = kCurrentLayerHandle);
    void FloodFillDone(int x, int y, float tolerance, const PaintColor& color,
                       const PntHandle& layer = kCurrentLayerHandle);

    /// The same with soft edges. From the first Do to the Done call a smooth fill is in progress.
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

protected:
    FillCommands() = default;
    ~FillCommands() = default;
};
