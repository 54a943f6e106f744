#include "core/brush/PointerInput.h"

void PointerInput::Reset()
{
    smoother_ = std::make_unique<Smooth2D>(0.9, 0.921, 6);
}

ilXYfloat* PointerInput::Smooth(const ilXYfloat& point, int& count)
{
    count = 0;
    if (!smoother_)
        return nullptr;
    smoother_->add_point(point);
    while (count < kMaxPoints && smoother_->interpolate(points_[static_cast<size_t>(count)]))
        ++count;
    return points_.data();
}
