#include "core/BrushPickup.h"
#include "core/BrushPreview.h"
#include "core/BrushSamples.h"
#include "core/BrushState.h"
#include "core/BrushStroker.h"
#include "core/Guarded.h"
#include "core/PaintManager.h"
#include "core/StrokeSampleRules.h"
#include "platform/imaging/StampCache.h"

#include <cmath>

namespace {

constexpr float kMaxSampleScale = 8;

bool IsSampleScale(float scale)
{
    return scale > 0 && scale <= kMaxSampleScale;  // false for a NaN
}

bool IsSampleRequest(int width, int height, float size)
{
    return LayerStack::IsAcceptableSize(width, height) && std::isfinite(size) && size > 0;
}

}  // namespace

// --- parameters ---

void PaintManager::SetBrushParameters(const BrushParameters& brush, bool force)
{
    Attempt([&] { brush_->SetBrushParameters(brush, force); });
}

const BrushParameters& PaintManager::GetBrushParameters() const
{
    return brush_->GetBrush();
}

void PaintManager::SetStrokeParameters(const StrokeParameters& stroke)
{
    Attempt([&] { brush_->SetStrokeParameters(stroke); });
}

const StrokeParameters& PaintManager::GetStrokeParameters() const
{
    return brush_->GetStroke();
}

void PaintManager::SetColor(PaintColor color, bool force)
{
    Attempt([&] { brush_->SetColor(color, force); });
}

int PaintManager::updateFromOptions(const StrokeParameters& stroke, const BrushParameters& brush)
{
    if (InBrushStroke())
        return 0;
    brush_->UpdateUse16Bit();
    if (!GetLayerStack(kCurrentLayerStack) || !stroke.IsValid() || !brush.IsValid())
        return -1;
    SetStrokeParameters(stroke);
    SetBrushParameters(brush, true);
    return 0;
}

int PaintManager::overrideProfile(qs::Reference<LinearProfile> profile)
{
    brush_->OverrideProfile(std::move(profile));
    return 0;
}

qs::Reference<LinearProfile> PaintManager::GetOverridenProfile() const
{
    return brush_->GetOverridingProfile();
}

void PaintManager::SetEffectBrush(EffectBrush* brush)
{
    Attempt([&] { brush_->SetEffectBrush(brush); });
}

void PaintManager::UpdateProcessedLayerImage()
{
    Attempt([&] { brush_->UpdateProcessedLayerImage(); });
}

bool PaintManager::Use16BitBrush() const
{
    return brush_->Uses16Bit();
}

double PaintManager::GetSpacingBias(float size) const
{
    return Guarded(1.0, [&] { return brush_->GetSpacingBias(size); });
}

// --- shape and texture ---

bool PaintManager::PickupShape(const ilTile& area)
{
    return AskStack(*this, kCurrentLayerStack, false, [&](LayerStack& stack) {
        const Layer* layer = stack.GetCurrentLayerPtr();
        const qs::TempReference<ilImage> shape =
            layer != nullptr && !InBrushStroke() ? BrushPickup::TakeShape(*layer, area) : nullptr;
        if (!shape)
            return false;
        BrushParameters brush = brush_->GetBrush();
        brush.SetBrushShape(shape);
        brush_->SetBrushParameters(brush, false);
        return true;
    });
}

bool PaintManager::PickupTexture(const ilTile& area)
{
    return AskStack(*this, kCurrentLayerStack, false, [&](LayerStack& stack) {
        const Layer* layer = stack.GetCurrentLayerPtr();
        const qs::Reference<PaintObj> texture =
            layer != nullptr && !InBrushStroke() ? BrushPickup::TakeTexture(*layer, area) : nullptr;
        if (!texture)
            return false;
        BrushParameters brush = brush_->GetBrush();
        brush.SetBrushTexture(texture);
        brush_->SetBrushParameters(brush, false);
        return true;
    });
}

void PaintManager::ClearShape()
{
    BrushParameters brush = brush_->GetBrush();
    brush.SetBrushShape({});
    SetBrushParameters(brush, false);
}

void PaintManager::ClearTexture()
{
    BrushParameters brush = brush_->GetBrush();
    brush.SetBrushTexture({});
    SetBrushParameters(brush, false);
}

// --- stamp cache ---

void PaintManager::ResetStampCache()
{
    ILStampImpl::reset_cache();
}

void PaintManager::SetStampCacheSize(int mebibytes)
{
    ILStampImpl::max_cache_size(mebibytes);
}

int PaintManager::GetStampCacheSize() const
{
    return ILStampImpl::max_cache_size();
}

void PaintManager::SetStampRotationQuantizationIncrement(int degrees)
{
    ILStampImg::setRotationQuantizationIncrement(degrees);
}

// --- strokes ---

void PaintManager::BeginBrushStroke(bool noTimerUpdate)
{
    Attempt([&] { stroker_->Begin(noTimerUpdate); });
}

void PaintManager::AddStrokePoint(float x, float y, float size, float opacity, float aspect, float rotation, bool, bool)
{
    Attempt([&] { stroker_->AddPoint(x, y, size, opacity, aspect, rotation); });
}

void PaintManager::EndBrushStroke()
{
    Attempt([&] { stroker_->End(); });
}

bool PaintManager::InBrushStroke() const
{
    return stroker_->IsOpen();
}

uint64_t PaintManager::GetStampCount() const
{
    return stroker_->GetStampCount();
}

uint64_t PaintManager::GetStampedPixels() const
{
    return stroker_->GetStampedPixels();
}

// --- preview and samples ---

void PaintManager::BrushPreviewPoint(float x, float y, float size, float opacity, float aspect, float rotation)
{
    if (InBrushStroke() || !IsFiniteSample(x, y, size, opacity, aspect, rotation))
        return;
    StampPlacement placement{static_cast<double>(x), static_cast<double>(y), LimitedSampleSize(size)};
    placement.opacity = opacity;
    placement.aspect = LimitedSampleAspect(aspect, placement.size);
    placement.rotation = rotation;
    Attempt([&] { preview_->Show(placement); });
}

void PaintManager::ClearBrushPreview()
{
    Attempt([&] { preview_->Clear(); });
}

bool PaintManager::InPreview() const
{
    return preview_->IsRunning();
}

qs::TempReference<ilSmartImage> PaintManager::CreateSampleStamp(int width, int height, float size)
{
    if (!IsSampleRequest(width, height, size))
        return {};
    return Guarded(qs::TempReference<ilSmartImage>(),
                   [&] { return BrushSamples::MakeStamp(*brush_, width, height, size); });
}

qs::TempReference<ilSmartImage> PaintManager::CreateSampleStroke(int width, int height, float size)
{
    if (!IsSampleRequest(width, height, size))
        return {};
    return Guarded(qs::TempReference<ilSmartImage>(),
                   [&] { return BrushSamples::MakeStroke(*brush_, width, height, size); });
}

qs::Reference<PaintOps> PaintManager::CreateScaledPaintOps(int width, int height, float scale)
{
    if (!LayerStack::IsAcceptableSize(width, height) || !IsSampleScale(scale))
        return {};
    return Guarded(qs::Reference<PaintOps>(), [&] { return BrushSamples::MakePainter(*brush_, width, height, scale); });
}

qs::Reference<PaintOps> PaintManager::CreateScaledLayerPaintOps(const PntHandle& layer, float scale)
{
    return AskStack(*this, layer, qs::Reference<PaintOps>(), [&](LayerStack& stack) {
        const Layer* source = stack.GetLayerFromHandle(layer);
        return source != nullptr && IsSampleScale(scale)
                   ? BrushSamples::MakeLayerPainter(*brush_, *source, stack.GetSize(), scale)
                   : qs::Reference<PaintOps>();
    });
}
