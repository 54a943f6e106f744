#pragma once

#include "core/brush/EffectBrush.h"
#include "layers/PntHandle.h"
#include "platform/imaging/painter/PaintOps.h"
#include "platform/imaging/stamps/BrushParameters.h"
#include "platform/imaging/stamps/Stamp.h"
#include "platform/imaging/strokes/StrokeParameters.h"

#include <memory>

class LayerStack;
struct PaintSession;

/// The brush as the host set it up, and the stamp that is made of it.
///
/// The setters do nothing during a stroke, nor with numbers that no brush can have.
class BrushState {
public:
    explicit BrushState(PaintSession& session);
    ~BrushState();

    void SetBrushParameters(const BrushParameters& brush, bool force);
    const BrushParameters& GetBrush() const { return brush_; }
    void SetStrokeParameters(const StrokeParameters& stroke);
    const StrokeParameters& GetStroke() const { return stroke_; }

    /// In marker blend the stamp gets a less saturated colour; the brush keeps the one given.
    void SetColor(PaintColor color, bool force);
    void SetColorSwizle(bool on) { isSwizzled_ = on; }
    bool GetColorSwizle() const { return isSwizzled_; }

    void SetErases(bool erases);
    bool Erases() const { return erases_; }

    /// What a stroke does with the pixels below it.
    BlendFactor GetSourceFactor() const { return erases_ ? kFactorZero : kFactorOne; }

    void OverrideProfile(qs::Reference<LinearProfile> profile) { overridingProfile_ = std::move(profile); }
    const qs::Reference<LinearProfile>& GetOverridingProfile() const { return overridingProfile_; }

    /// Owned from here on.
    void SetEffectBrush(EffectBrush* brush);
    EffectBrush* GetEffectBrush() const { return effectBrush_.get(); }
    void UpdateProcessedLayerImage();

    void UpdateUse16Bit();
    bool Uses16Bit() const { return uses16Bit_; }

    /// 1; closer in marker blend on the current layer, where the stamps of small brushes would show one by one.
    double GetSpacingBias(float sizePx) const;

    // --- what a stroke takes ---

    const qs::Reference<Stamp>& GetStamp() const { return stamp_; }

    /// False while a clone, smear or effect brush has no image to take pixels from.
    bool HasStampSource() const;

    /// Gives the stamp what its pixels come from: reference stamp, processed layer, texture or colour.
    void setCurrentStampIPO();

    /// Takes the guide spline, while there is one, from document into layer coordinates, in the host's own object.
    void snappedSplineToLayerCoords();

    /// The host took its guide spline back.
    void ForgetGuideSpline() { stroke_.guideSpline = nullptr; }

    /// The guide spline when strokes follow it, else null.
    gk_spline* GetGuideSpline() const;

    /// A stamp of its own with the brush's shape, profile (for radii times `scale`) and colour or texture: for pictures
    /// of the brush. Clone, smear and effect brushes show their colour.
    qs::Reference<Stamp> MakeSampleStamp(float scale = 1) const;

private:
    PaintOps* GetCurrentPainter() const;
    qs::Reference<LinearProfile> MakeBrushProfile(const BrushParameters& brush, float scale) const;
    void ApplyProfile(const BrushParameters& brush, bool force);
    void ApplyShape(const BrushParameters& brush, bool force);
    PaintColor StampColorOf(PaintColor color) const;

    PaintSession& session_;
    BrushParameters brush_;
    StrokeParameters stroke_;
    qs::Reference<Stamp> stamp_;
    qs::Reference<LinearProfile> overridingProfile_;
    std::unique_ptr<EffectBrush> effectBrush_;
    qs::TempReference<ilMIOImage> processedImage_;  // of the effect brush
    PntHandle processedLayer_ = kNullHandle;  // that it was made from
    bool takesPixels_ = false;  // clone or smear; the host's stamp itself is asked only when a stroke begins
    bool uses16Bit_ = false;
    bool isSwizzled_ = false;
    bool erases_ = false;
};
