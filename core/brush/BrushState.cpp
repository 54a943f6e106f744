#include "core/brush/BrushState.h"

#include "core/HostCalls.h"
#include "core/PaintSession.h"
#include "core/brush/BrushStampKinds.h"
#include "platform/geometry/gk_spline.h"
#include "platform/imaging/stamps/StampMask.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kMarkerSaturation = 0.85F;
constexpr float kSmallest16BitRadius = 5;
constexpr float kLeast8BitThreshold = 0.2F;

/// Cut to whole pixels; what no image reaches is held at its edge.
int TruncateToInt(float value)
{
    constexpr float kFarthest = 1 << 30;
    return std::isnan(value) ? 0 : static_cast<int>(std::clamp(value, -kFarthest, kFarthest));
}

void SetStampColor(Stamp& stamp, const PaintColor& color, bool isSwizzled)
{
    const float red = color.r * color.a;
    const float blue = color.b * color.a;
    stamp.set_color(isSwizzled ? blue : red, color.g * color.a, isSwizzled ? red : blue, color.a);
}

bool IsSameBrush(const EffectBrush* a, const EffectBrush* b)
{
    return a == b || (a != nullptr && b != nullptr && a->IsEqual(b));
}

}  // namespace

BrushState::BrushState(PaintSession& session) : session_(session), stamp_(new Stamp) {}

BrushState::~BrushState() = default;

PaintOps* BrushState::GetCurrentPainter() const
{
    const qs::Reference<LayerStack> stack = session_.registry.GetCurrent();
    return stack ? stack->GetCLP() : nullptr;
}

// --- parameters ---

void BrushState::SetBrushParameters(const BrushParameters& brush, bool force)
{
    if (session_.stroker.IsOpen() || !brush.IsValid())
        return;
    SetColor(brush.color, force);
    if (force || (stroke_.markerBlend && brush.markerWetness != brush_.markerWetness))
        if (PaintOps* painter = GetCurrentPainter())
            painter->SetMarkerWetness(brush.markerWetness);
    ApplyProfile(brush, force);
    ApplyShape(brush, force);
    brush_ = brush;
    takesPixels_ = isSmearStamp(brush.referenceStamp) || isCloneStamp(brush.referenceStamp);
    UpdateUse16Bit();
}

void BrushState::ApplyProfile(const BrushParameters& brush, bool force)
{
    const bool isUnchanged =
        brush.profile == brush_.profile && brush.firstSize == brush_.firstSize && brush.secondSize == brush_.secondSize;
    if (force || overridingProfile_ || !isUnchanged)
        stamp_->set_profile(MakeBrushProfile(brush, 1));
}

qs::Reference<LinearProfile> BrushState::MakeBrushProfile(const BrushParameters& brush, float scale) const
{
    if (overridingProfile_)
        return overridingProfile_;
    return MakeProfile(brush.profile, (brush.firstSize + brush.secondSize) * 0.5F * scale);
}

void BrushState::ApplyShape(const BrushParameters& brush, bool force)
{
    const qs::TempReference<ilImage>& shape = brush.GetBrushShape();
    const bool isWanted = force || !(shape == brush_.GetBrushShape());
    if (!isWanted || stamp_->get_stamp_mask() == shape)
        return;
    stamp_->set_stamp_mask(shape);
    if (PaintOps* painter = GetCurrentPainter()) {
        painter->set_stamp({});
        painter->set_stamp(stamp_);
    }
}

void BrushState::SetStrokeParameters(const StrokeParameters& stroke)
{
    if (session_.stroker.IsOpen() || !stroke.IsValid())
        return;
    if (const qs::Reference<LayerStack> stack = session_.registry.GetCurrent())
        stack->setMarkerBlend(stroke.markerBlend);
    stroke_ = stroke;
    UpdateUse16Bit();
}

void BrushState::SetColor(PaintColor color, bool force)
{
    if (session_.stroker.IsOpen() || !color.IsFinite())
        return;
    if (force || color != brush_.color)
        SetStampColor(*stamp_, StampColorOf(color), isSwizzled_);
    // As given: every stroke sets the stamp's colour anew from this one, which must not fade from stroke to stroke.
    brush_.color = color;
}

void BrushState::SetErases(bool erases)
{
    if (!session_.stroker.IsOpen())
        erases_ = erases;
}

PaintColor BrushState::StampColorOf(PaintColor color) const
{
    color.Clamp();
    if (!stroke_.markerBlend)
        return color;
    float hue = 0;
    float saturation = 0;
    float value = 0;
    RGBtoHSV(color.r, color.g, color.b, hue, saturation, value);
    HSVtoRGB(hue, saturation * kMarkerSaturation, value, color.r, color.g, color.b);
    color.Clamp();
    return color;
}

void BrushState::UpdateUse16Bit()
{
    uses16Bit_ = brush_.secondSize > kSmallest16BitRadius && brush_.threshold < kLeast8BitThreshold &&
                 !brush_.GetBrushTexture() && !stroke_.markerBlend && !takesPixels_ && !effectBrush_;
}

double BrushState::GetSpacingBias(float sizePx) const
{
    const PaintOps* painter = GetCurrentPainter();
    if (painter == nullptr || !painter->IsMarkerBlend() || !(sizePx <= 40))
        return 1;
    if (sizePx >= 20)
        return 0.8 + 0.2 * (static_cast<double>(sizePx) - 20) / 20;
    if (sizePx < 8)
        return 0.3;
    return 0.3 + 0.5 * (static_cast<double>(sizePx) - 8) / 12;
}

// --- effect brush ---

void BrushState::SetEffectBrush(EffectBrush* brush)
{
    const bool isOwn = brush == effectBrush_.get();
    std::unique_ptr<EffectBrush> taken(isOwn ? nullptr : brush);
    const PntHandle layer = session_.GetCurrentContainer();
    if (processedLayer_ == layer && IsSameBrush(brush, effectBrush_.get()))
        return;
    if (!isOwn)
        effectBrush_ = std::move(taken);
    UpdateProcessedLayerImage();
    if (!session_.stroker.IsOpen())
        UpdateUse16Bit();
}

void BrushState::UpdateProcessedLayerImage()
{
    processedImage_ = nullptr;
    processedLayer_ = kNullHandle;
    const qs::Reference<LayerStack> stack = session_.registry.GetCurrent();
    const qs::Reference<Layer> layer = stack ? stack->GetCurrentLayerPtr() : nullptr;
    const qs::TempReference<ilMIOImage> image = layer ? layer->GetImage() : nullptr;
    if (!effectBrush_ || !image)
        return;
    const BusyScope busy(session_.callbacks);
    const qs::TempReference<ilMIOImage> processed = effectBrush_->ProcessLayer(*image);
    if (processed && processed->GetNumChannels() == image->GetNumChannels())
        processedImage_ = processed;
    processedLayer_ = layer->GetLayerContainerHandle();
}

// --- what a stroke takes ---

bool BrushState::HasStampSource() const
{
    if (effectBrush_ && !processedImage_)
        return false;
    return brush_.referenceStamp == nullptr || brush_.referenceStamp->GetRefImage() != nullptr;
}

void BrushState::setCurrentStampIPO()
{
    if (BrushStampReferenceStamp* reference = brush_.referenceStamp) {
        stamp_->set_source(new ImagePaintObj(reference->GetRefImage()));
        stamp_->set_method(Stamp::kMethodImage);
        stamp_->set_source_offset(TruncateToInt(reference->GetXOff()), TruncateToInt(reference->GetYOff()));
        return;
    }
    if (processedImage_) {
        stamp_->set_source(new ImagePaintObj(processedImage_));
        stamp_->set_method(Stamp::kMethodImage);
        stamp_->set_source_offset(0, 0);
        return;
    }
    stamp_->set_source(brush_.GetBrushTexture());
    if (!brush_.GetBrushTexture())
        SetColor(brush_.color, true);
    stamp_->set_source_offset(0, 0);
    stamp_->set_method(Stamp::kMethodTexture);
}

gk_spline* BrushState::GetGuideSpline() const
{
    constexpr int kAlongSpline = 2;
    return stroke_.interpolation == kAlongSpline ? stroke_.guideSpline : nullptr;
}

void BrushState::snappedSplineToLayerCoords()
{
    gk_spline* spline = GetGuideSpline();
    const qs::Reference<LayerStack> stack = session_.registry.GetCurrent();
    const Layer* layer = stack ? stack->GetCurrentLayerPtr() : nullptr;
    if (spline == nullptr || layer == nullptr)
        return;
    const ilXYdouble offset(layer->getXOffset(), layer->getYOffset());
    for (int i = 0; i < spline->GetNumControlPoints(); ++i)
        spline->SetControlPoint(i, spline->GetControlPoint(i) - offset);
}

qs::Reference<Stamp> BrushState::MakeSampleStamp(float scale) const
{
    const qs::Reference<Stamp> sample(new Stamp(*stamp_));
    SetStampColor(*sample, StampColorOf(brush_.color), isSwizzled_);
    sample->set_profile(MakeBrushProfile(brush_, scale));
    sample->set_source(brush_.GetBrushTexture());
    sample->set_source_offset(0, 0);
    sample->set_method(Stamp::kMethodTexture);
    return sample;
}
