#pragma once

#include "platform/imaging/painter/SoftPaintOps.h"

/// A painter that can compose a stroke as one wet layer over the saved original (marker blend): where the stroke
/// crosses itself it does not darken, unless it is wet. The layer's image changes only when the operation ends.
class PAINTLAYER_EXPORT MaskingPaintOps : public SoftPaintOps {
public:
    using SoftPaintOps::SoftPaintOps;

    void set_target_img(qs::TempReference<ilImage> target) override;

    /// With marker blend on: keeps the target as the original (its pages are shared) and starts an empty wet layer.
    void BeginOperation() override;

    /// Paints the wet layer over the target and drops it.
    void EndOperation() override;

    /// Changes between strokes only; during an operation it takes effect with the next one.
    void SetMarkerBlend(bool on) override { markerBlend_ = on; }
    bool IsMarkerBlend() const override { return markerBlend_; }

    /// 0 to 1 (clamped; a NaN changes nothing): how much the stroke builds up where it crosses itself.
    void SetMarkerWetness(float wetness) override;
    float GetMarkerWetness() const override { return wetness_; }

    /// True while a stroke is being composed over the original.
    bool IsMasking() const { return original_ != nullptr; }

    /// The target as it was when the operation began; null outside one.
    qs::TempReference<ilMIOImage> GetOriginalImage() const { return original_; }

    /// The stroke so far; null outside an operation.
    qs::TempReference<ilMIOImage> GetWetImage() const { return wet_; }

    /// True when the wet layer erases instead of painting over (blend function (0, 7)).
    bool IsErasing() const;

    /// Composes original and wet layer into `into` over `tile` (target coordinates): the picture to show meanwhile.
    void ComposeOperation(ilMIOImage& into, const ilTile& tile) const;

protected:
    StampTarget GetStampTarget() override;

private:
    qs::TempReference<ilMIOImage> original_;
    qs::TempReference<ilMIOImage> wet_;
    float wetness_ = 0;
    bool markerBlend_ = false;
};
