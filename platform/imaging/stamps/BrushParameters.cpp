#include "platform/imaging/stamps/BrushParameters.h"

#include <cmath>

namespace {

constexpr float kMaxSizePx = 1e6F;

bool IsSize(float radiusPx)
{
    return radiusPx >= 0 && radiusPx <= kMaxSizePx;  // false for a NaN
}

}  // namespace

bool BrushParameters::IsValid() const
{
    return color.IsFinite() && std::isfinite(profile.hardness) && IsSize(firstSize) && IsSize(secondSize) &&
           std::isfinite(threshold) && std::isfinite(markerWetness);
}
