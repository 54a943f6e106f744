#include "platform/imaging/Interpolate2D.h"

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
