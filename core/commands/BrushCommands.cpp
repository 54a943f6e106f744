#include "core/commands/BrushCommands.h"

#include "core/DocumentCalls.h"
#include "core/brush/BrushPickup.h"
#include "core/brush/BrushSamples.h"
#include "core/brush/StrokeSampleRules.h"
#include "platform/imaging/stamps/StampCache.h"

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

void BrushCommands::SetBrushParameters(const BrushParameters& brush, bool force)
{
    Attempt([&] { SessionOf(this).brush.SetBrushParameters(brush, force); });
}

const BrushParameters& BrushCommands::GetBrushParameters() const
{
    return SessionOf(this).brush.GetBrush();
}

void BrushCommands::SetStrokeParameters(const StrokeParameters& stroke)
{
    Attempt([&] { SessionOf(this).brush.SetStrokeParameters(stroke); });
}

const StrokeParameters& BrushCommands::GetStrokeParameters() const
{
    return SessionOf(this).brush.GetStroke();
}

void BrushCommands::SetColor(PaintColor color, bool force)
{
    Attempt([&] { SessionOf(this).brush.SetColor(color, force); });
}

void BrushCommands::SetBrushErases(bool erases)
{
    SessionOf(this).brush.SetErases(erases);
}

bool BrushCommands::GetBrushErases() const
{
    return SessionOf(this).brush.Erases();
}

int BrushCommands::updateFromOptions(const StrokeParameters& stroke, const BrushParameters& brush)
{
    PaintSession& session = SessionOf(this);
    if (session.stroker.IsOpen())
        return 0;
    session.brush.UpdateUse16Bit();
    if (session.registry.GetCurrent() == nullptr || !stroke.IsValid() || !brush.IsValid())
        return -1;
    SetStrokeParameters(stroke);
    SetBrushParameters(brush, true);
    return 0;
}

int BrushCommands::overrideProfile(qs::Reference<LinearProfile> profile)
{
    SessionOf(this).brush.OverrideProfile(std::move(profile));
    return 0;
}

qs::Reference<LinearProfile> BrushCommands::GetOverridenProfile() const
{
    return SessionOf(this).brush.GetOverridingProfile();
}

void BrushCommands::SetEffectBrush(EffectBrush* brush)
{
    Attempt([&] { SessionOf(this).brush.SetEffectBrush(brush); });
}

EffectBrush* BrushCommands::GetEffectBrush() const
{
    return SessionOf(this).brush.GetEffectBrush();
}

void BrushCommands::UpdateProcessedLayerImage()
{
    SessionOf(this).UpdateProcessedLayerImage();
}

bool BrushCommands::Use16BitBrush() const
{
    return SessionOf(this).brush.Uses16Bit();
}

double BrushCommands::GetSpacingBias(float size) const
{
    return Guarded(1.0, [&] { return SessionOf(this).brush.GetSpacingBias(size); });
}

// --- shape and texture ---

bool BrushCommands::PickupShape(const ilTile& area)
{
    return AskStack(this, kCurrentLayerStack, false, [&](LayerStack& stack) {
        const Layer* layer = stack.GetCurrentLayerPtr();
        const qs::TempReference<ilImage> shape =
            layer != nullptr && !SessionOf(this).stroker.IsOpen() ? BrushPickup::TakeShape(*layer, area) : nullptr;
        if (!shape)
            return false;
        BrushParameters brush = SessionOf(this).brush.GetBrush();
        brush.SetBrushShape(shape);
        SessionOf(this).brush.SetBrushParameters(brush, false);
        return true;
    });
}

bool BrushCommands::PickupTexture(const ilTile& area)
{
    return AskStack(this, kCurrentLayerStack, false, [&](LayerStack& stack) {
        const Layer* layer = stack.GetCurrentLayerPtr();
        const qs::Reference<PaintObj> texture =
            layer != nullptr && !SessionOf(this).stroker.IsOpen() ? BrushPickup::TakeTexture(*layer, area) : nullptr;
        if (!texture)
            return false;
        BrushParameters brush = SessionOf(this).brush.GetBrush();
        brush.SetBrushTexture(texture);
        SessionOf(this).brush.SetBrushParameters(brush, false);
        return true;
    });
}

void BrushCommands::ClearShape()
{
    BrushParameters brush = SessionOf(this).brush.GetBrush();
    brush.SetBrushShape({});
    SetBrushParameters(brush, false);
}

void BrushCommands::ClearTexture()
{
    BrushParameters brush = SessionOf(this).brush.GetBrush();
    brush.SetBrushTexture({});
    SetBrushParameters(brush, false);
}

// --- stamp cache ---

void BrushCommands::ResetStampCache()
{
    ILStampImpl::reset_cache();
}

void BrushCommands::SetStampCacheSize(int mebibytes)
{
    ILStampImpl::max_cache_size(mebibytes);
}

int BrushCommands::GetStampCacheSize() const
{
    return ILStampImpl::max_cache_size();
}

void BrushCommands::SetStampRotationQuantizationIncrement(int degrees)
{
    ILStampImg::setRotationQuantizationIncrement(degrees);
}

int BrushCommands::GetStampRotationQuantizationIncrement() const
{
    return ILStampImg::getRotationQuantizationIncrement();
}

// --- preview and samples ---

void BrushCommands::BrushPreviewPoint(float x, float y, float size, float opacity, float aspect, float rotation)
{
    if (SessionOf(this).stroker.IsOpen() || !SessionOf(this).MayEdit() ||
        !IsFiniteSample(x, y, size, opacity, aspect, rotation))
        return;
    StampPlacement placement{static_cast<double>(x), static_cast<double>(y), LimitedSampleSize(size)};
    placement.opacity = opacity;
    placement.aspect = LimitedSampleAspect(aspect, placement.size);
    placement.rotation = rotation;
    Attempt([&] { SessionOf(this).preview.Show(placement); });
}

void BrushCommands::ClearBrushPreview()
{
    if (SessionOf(this).MayEdit())
        Attempt([&] { SessionOf(this).preview.Clear(); });
}

bool BrushCommands::InPreview() const
{
    return SessionOf(this).preview.IsRunning();
}

qs::TempReference<ilSmartImage> BrushCommands::CreateSampleStamp(int width, int height, float size)
{
    if (!IsSampleRequest(width, height, size))
        return {};
    return Guarded(qs::TempReference<ilSmartImage>(),
                   [&] { return BrushSamples::MakeStamp(SessionOf(this).brush, width, height, size); });
}

qs::TempReference<ilSmartImage> BrushCommands::CreateSampleStroke(int width, int height, float size)
{
    if (!IsSampleRequest(width, height, size))
        return {};
    return Guarded(qs::TempReference<ilSmartImage>(),
                   [&] { return BrushSamples::MakeStroke(SessionOf(this).brush, width, height, size); });
}

qs::Reference<PaintOps> BrushCommands::CreateScaledPaintOps(int width, int height, float scale)
{
    if (!LayerStack::IsAcceptableSize(width, height) || !IsSampleScale(scale))
        return {};
    return Guarded(qs::Reference<PaintOps>(),
                   [&] { return BrushSamples::MakePainter(SessionOf(this).brush, width, height, scale); });
}

qs::Reference<PaintOps> BrushCommands::CreateScaledLayerPaintOps(const PntHandle& layer, float scale)
{
    return AskStack(this, layer, qs::Reference<PaintOps>(), [&](LayerStack& stack) {
        const Layer* source = stack.GetLayerFromHandle(layer);
        return source != nullptr && IsSampleScale(scale)
                   ? BrushSamples::MakeLayerPainter(SessionOf(this).brush, *source, stack.GetSize(), scale)
                   : qs::Reference<PaintOps>();
    });
}
