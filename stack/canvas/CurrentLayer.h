#pragma once

#include "platform/base/Reference.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/painter/PaintOps.h"

class Canvas;
class Layer;
class LayerTree;
class MaskingPaintOps;
class SelectionMask;

/// The painter of a document's current layer: bound to its image, clipped to the canvas and the selection.
class CurrentLayer {
public:
    CurrentLayer(LayerTree& tree, Canvas& canvas, SelectionMask& selection)
        : tree_(tree), canvas_(canvas), selection_(selection)
    {}

    /// Makes a layer of this document current, or none.
    void Become(Layer* layer);

    PaintOps* GetPainter();  // bound anew; null without a current layer
    PaintOps* GetPainterAsLeft();  // by its last user, while it is bound to the image
    MaskingPaintOps* GetMaskingPainter() const;
    bool HasPainter() const { return painter_.get() != nullptr; }
    void ForgetPainter() { painter_ = nullptr; }
    void ResetPainter();  // without a clipping image

    /// Canvas or layer have moved; the selection has changed.
    void UpdateBrushClippingRect();
    void UpdateClip();
    void SetMarkerBlend(bool on);
    void SetMarkerWetness(float wetness);

    /// Makes what was painted damage of the canvas.
    void DrainDamage();

    /// LayerStack::GetLayerTargetImg.
    qs::TempReference<ilMIOImage> ComposeTarget(Layer* layer, const ilTile& tile, bool full);
    void CleanScratch();
    void FreeScratch();

private:
    LayerTree& tree_;
    Canvas& canvas_;
    SelectionMask& selection_;
    qs::Reference<PaintOps> painter_;  // null until it is asked for
    qs::TempReference<ilSmartImage> scratch_;  // the current layer while a masked stroke runs
    qs::Reference<PaintOps> scratchPainter_;
};
