#include "platform/imaging/stamps/Stamp.h"

#include "platform/imaging/stamps/HardStampRasterizer.h"
#include "platform/imaging/stamps/MaskStampRasterizer.h"
#include "platform/imaging/stamps/SoftStampRasterizer.h"
#include "platform/imaging/stamps/StampCache.h"
#include "platform/imaging/stamps/StampCacheImpl.h"
#include "platform/imaging/stamps/StampGeometry.h"
#include "platform/imaging/stamps/StampIdentity.h"
#include "platform/imaging/stamps/StampMask.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

/// How coarsely the places of a stamp may be quantised, in radii: where its coverage falls by `steepness` per radius at
/// the steepest, moving it so far changes no pixel by more than two of 255 levels. Stamps whose places fall into the
/// same step share one cached coverage.
float StepByRadius(float steepness)
{
    return 2 / (255 * std::clamp(steepness, 1.0F, 1e6F));
}

constexpr float kHardSteepness = 1e6F;

/// Coverages up to this size (a radius of about 90 pixels) are cached when they are made; larger ones only when two
/// stamps in a row have the same shape. While pressure changes the size of a large stamp from one to the next, none is
/// ever used again: caching it would only push others out, and the memory of the stamp before, which is reused at once,
/// is still in the processor's cache.
constexpr size_t kAlwaysKeptBytes = 32768;

bool IsShapeRepeated(const StampKey& key)
{
    static StampKey last;
    const StampKey shape{key.identity, StampGeometry::WithoutPhase(key.geometry)};
    const bool isRepeated = shape == last;
    last = shape;
    return isRepeated;
}

}  // namespace

Stamp::Stamp()
{
    UpdateShape();
}

Stamp::~Stamp() = default;

void Stamp::set_color(float r, float g, float b, float a)
{
    color_ = {r, g, b, a};
    color_.Clamp();
}

void Stamp::set_opacity(float opacity)
{
    if (!std::isnan(opacity))
        opacity_ = std::clamp(opacity, 0.0F, 1.0F);
}

void Stamp::set_profile(qs::Reference<LinearProfile> profile)
{
    profile_ = std::move(profile);
    UpdateShape();
}

void Stamp::set_stamp_mask(qs::TempReference<ilImage> mask)
{
    qs::Reference<const StampMask> bytes;
    if (mask)
        bytes = qs::MakeReference<StampMask>(*mask);
    mask_ = std::move(mask);
    maskBytes_ = std::move(bytes);
    UpdateShape();
}

void Stamp::set_source(qs::Reference<PaintObj> source)
{
    source_ = std::move(source);
}

void Stamp::set_method(int method)
{
    if (method == kMethodTexture || method == kMethodImage)
        method_ = method;
}

void Stamp::set_source_offset(int dx, int dy)
{
    sourceDx_ = dx;
    sourceDy_ = dy;
}

void Stamp::UpdateShape()
{
    if (maskBytes_) {
        shapeIdentity_ = maskBytes_->GetIdentity();
        stepByRadius_ = StepByRadius(maskBytes_->GetSteepness());
    } else if (profile_ && !profile_->IsHard()) {
        shapeIdentity_ = profile_->GetIdentity();
        stepByRadius_ = StepByRadius(profile_->GetSteepness());
    } else {
        shapeIdentity_ = kHardStampIdentity;
        stepByRadius_ = StepByRadius(kHardSteepness);
    }
}

PlacedCoverage Stamp::GetCoverage(const StampPlacement& placement) const
{
    if (!StampGeometry::IsPlaceable(placement))
        return {};
    StampResolution resolution{stepByRadius_, 1, false};
    if (maskBytes_) {
        if (maskBytes_->IsEmpty())
            return {};
        const int stepsPerDegree = StampForm::kRotationSteps / 360;
        resolution = {stepByRadius_, ILStampImg::getRotationQuantizationIncrement() * stepsPerDegree, true};
    }
    const StampGeometry geometry(placement, resolution);
    const StampKey key{shapeIdentity_, geometry.packed};
    StampCacheImpl& cache = StampCacheImpl::Get();
    if (const StampCoverage* known = cache.Find(key))
        return {known, geometry.x, geometry.y};

    qs::Reference<const StampCoverage> made = MakeCoverage(geometry.packed);
    if (made->GetByteCount() <= kAlwaysKeptBytes || IsShapeRepeated(key))
        cache.Insert(key, made);
    return {std::move(made), geometry.x, geometry.y};
}

qs::Reference<const StampCoverage> Stamp::MakeCoverage(uint64_t geometry) const
{
    const StampForm form = StampGeometry::Unpack(geometry);
    if (maskBytes_)
        return MakeMaskCoverage(*maskBytes_, form);
    if (profile_ && !profile_->IsHard()) {
        static SoftStampRasterizer& soft = *new SoftStampRasterizer;  // never destroyed, as the stamp cache
        return soft.Make(*profile_, form);
    }
    static HardStampRasterizer& hard = *new HardStampRasterizer;
    return hard.Make(form);
}

double Stamp::GetReach(float size, float aspect)
{
    constexpr double kMaxRadius = StampPlacement::kMaxRadius;
    const double along = size > 0 ? std::min<double>(size, kMaxRadius) : 0;
    const double wider = aspect > 1 ? std::min<double>(aspect, StampPlacement::kMaxAspect) : 1;
    // A square mask reaches farthest with its corner, the square root of 2 times its half side. Quantising may have
    // made the stamp two pixels larger and moved its centre by half a pixel, and a pixel is covered as soon as the
    // stamp touches it.
    return (std::min(along * wider, kMaxRadius) + 2) * std::numbers::sqrt2 + 2;
}
