#include "platform/imaging/stamps/StampGeometry.h"

#include "platform/imaging/stamps/Stamp.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace {

constexpr int kFinestBits = 4;  // of a pixel: 1/16
constexpr double kPositionsPerPixel = 256;  // positions are rounded to these first
constexpr int kPositionBits = 8;
constexpr int kMaxRadiusStepBits = 2;  // 4 pixels

constexpr unsigned kAspectDroppedBits = 17;  // of a float; six of its fraction stay
constexpr uint64_t kRoundAspect = std::bit_cast<uint32_t>(1.0F) >> kAspectDroppedBits;

/// Where the parts lie in the packed geometry.
constexpr unsigned kPhaseBitsAt = 15;  // the radius in 1/16 pixel is below
constexpr unsigned kPhaseXAt = 18;
constexpr unsigned kPhaseYAt = 22;
constexpr unsigned kAspectAt = 26;
constexpr unsigned kRotationAt = 40;

constexpr uint64_t Bits(uint64_t packed, unsigned at, unsigned count)
{
    return packed >> at & ((uint64_t{1} << count) - 1);
}

/// The exponent of the largest power of two that is not above `value`, which is normal and positive.
int FloorLog2(float value)
{
    return static_cast<int>(std::bit_cast<uint32_t>(value) >> 23) - 127;
}

int64_t RoundPosition(double value)
{
    const double scaled = value * kPositionsPerPixel + 0.5;
    const auto truncated = static_cast<int64_t>(scaled);
    return truncated - static_cast<int64_t>(scaled < static_cast<double>(truncated));
}

/// Splits a coordinate into its whole pixel and its phase of 1 << phaseBits.
uint64_t SplitPosition(double value, int phaseBits, int& whole)
{
    const int drop = kPositionBits - phaseBits;
    const int64_t position = RoundPosition(value);
    // Of two phases as near, the even one: a mirror image has the mirrored phase, and ties are one in `1 << drop`.
    const int64_t phases = (position + (int64_t{1} << (drop - 1)) - 1 + (position >> drop & 1)) >> drop;
    whole = static_cast<int>(phases >> phaseBits);
    return static_cast<uint64_t>(phases) & ((uint64_t{1} << phaseBits) - 1);
}

/// Steps of StampForm, 0 to below `period`, a multiple of `increment` (or 0, where that is nearer).
uint64_t RoundRotation(float degrees, int increment, int period)
{
    const double perDegree = StampForm::kRotationSteps / 360.0;
    double steps = static_cast<double>(degrees) * perDegree;
    if (steps < 0 || steps >= period) {
        steps = std::fmod(steps, period);
        steps = steps < 0 ? steps + period : steps;
    }
    const int rounded = static_cast<int>(steps / increment + 0.5) * increment;
    return rounded >= period || period - steps < std::abs(steps - rounded) ? 0 : static_cast<uint64_t>(rounded);
}

/// Masks take time to make, and more so the larger they are.
int MaxPhaseBits(float radiusPx, bool isMask)
{
    if (!isMask || radiusPx < 8)
        return kFinestBits;
    return radiusPx < 32 ? 3 : 2;
}

}  // namespace

bool StampGeometry::IsPlaceable(const StampPlacement& placement)
{
    constexpr double kMaxPosition = 1 << 30;
    constexpr float kMaxFloat = std::numeric_limits<float>::max();
    // Written so that a NaN fails every comparison.
    return std::abs(placement.x) <= kMaxPosition && std::abs(placement.y) <= kMaxPosition && placement.size > 0 &&
           placement.size <= kMaxFloat && placement.aspect > 0 && placement.aspect <= kMaxFloat &&
           std::abs(placement.rotation) <= kMaxFloat && std::abs(placement.opacity) <= kMaxFloat;
}

StampGeometry::StampGeometry(const StampPlacement& placement, const StampResolution& resolution)
{
    const float radius = std::clamp(placement.size, kMinRadiusPx, kMaxRadiusPx);
    const float aspect = std::clamp(placement.aspect, kMinRadiusPx / kMaxRadiusPx, StampPlacement::kMaxAspect);
    const int unseen = FloorLog2(radius * std::min(aspect, 1.0F) * resolution.stepByRadius);

    const int radiusDrop = std::clamp(unseen + 1, -kFinestBits, kMaxRadiusStepBits) + kFinestBits;
    const auto scaledRadius =
        static_cast<unsigned>(radius * (1 << kFinestBits) + 0.5F * static_cast<float>(1 << radiusDrop));
    packed = std::max(scaledRadius >> radiusDrop << radiusDrop, 1U);

    const int phaseBits = std::clamp(-unseen, 0, MaxPhaseBits(radius, resolution.isMask));
    packed |= static_cast<uint64_t>(phaseBits) << kPhaseBitsAt;
    packed |= SplitPosition(placement.x, phaseBits, x) << kPhaseXAt;
    packed |= SplitPosition(placement.y, phaseBits, y) << kPhaseYAt;

    const uint64_t roundedAspect =
        (std::bit_cast<uint32_t>(aspect) + (1U << (kAspectDroppedBits - 1))) >> kAspectDroppedBits;
    packed |= roundedAspect << kAspectAt;
    if (resolution.isMask || roundedAspect != kRoundAspect) {
        const int period = resolution.isMask ? StampForm::kRotationSteps : StampForm::kRotationSteps / 2;
        packed |= RoundRotation(placement.rotation, resolution.rotationIncrement, period) << kRotationAt;
    }
}

StampForm StampGeometry::Unpack(uint64_t packed)
{
    StampForm form;
    form.along = static_cast<double>(Bits(packed, 0, kPhaseBitsAt)) / (1 << kFinestBits);
    const auto aspectBits = static_cast<uint32_t>(Bits(packed, kAspectAt, kRotationAt - kAspectAt));
    const double aspect = std::bit_cast<float>(aspectBits << kAspectDroppedBits);
    form.across = std::clamp<double>(form.along * aspect, kMinRadiusPx, kMaxRadiusPx);
    form.rotation = static_cast<int>(packed >> kRotationAt);
    const double phases = 1 << Bits(packed, kPhaseBitsAt, kPhaseXAt - kPhaseBitsAt);
    form.centreX = static_cast<double>(Bits(packed, kPhaseXAt, kPhaseYAt - kPhaseXAt)) / phases;
    form.centreY = static_cast<double>(Bits(packed, kPhaseYAt, kAspectAt - kPhaseYAt)) / phases;
    return form;
}

uint64_t StampGeometry::WithoutPhase(uint64_t packed)
{
    return packed & ~(((uint64_t{1} << (kAspectAt - kPhaseXAt)) - 1) << kPhaseXAt);
}
