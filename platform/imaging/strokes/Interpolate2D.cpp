#include "platform/imaging/strokes/Interpolate2D.h"

#include <cmath>

namespace {

float Mix(float from, float to, double share)
{
    return static_cast<float>(from + (static_cast<double>(to) - from) * share);
}

}  // namespace

double ShorterTurn(float fromDeg, float toDeg)
{
    const double turn = static_cast<double>(toDeg) - fromDeg;
    return std::abs(turn) <= 180 ? turn : std::remainder(turn, 360.0);
}

StrokeSample SampleBetween(const StrokeSample& from, const StrokeSample& to, double share)
{
    return {from.x + (to.x - from.x) * share,
            from.y + (to.y - from.y) * share,
            Mix(from.size, to.size, share),
            Mix(from.opacity, to.opacity, share),
            Mix(from.aspect, to.aspect, share),
            static_cast<float>(from.rotation + ShorterTurn(from.rotation, to.rotation) * share)};
}

void FltInterpolate2D::Reset()
{
    hasLast_ = false;
}

void FltInterpolate2D::AddSample(const StrokeSample& sample, qs::vector<StrokeSample>& path)
{
    const bool isRepeat = hasLast_ && sample.x == last_.x && sample.y == last_.y;
    if (isRepeat && !keepRepeats_)
        return;
    path.push_back(sample);
    last_ = sample;
    hasLast_ = true;
}

void FltInterpolate2D::Finish(qs::vector<StrokeSample>&)
{
    Reset();
}
