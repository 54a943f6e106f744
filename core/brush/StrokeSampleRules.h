#pragma once

#include "core/PaintManager.h"
#include "platform/imaging/stamps/Stamp.h"

#include <algorithm>
#include <cmath>

// The limits of the numbers that come with the samples of a stroke and the points of a preview.

inline bool IsFiniteSample(float x, float y, float size, float opacity, float aspect, float rotation)
{
    return std::isfinite(x) && std::isfinite(y) && std::isfinite(size) && std::isfinite(opacity) &&
           std::isfinite(aspect) && std::isfinite(rotation);
}

/// 1 pixel up to the largest stamp.
inline float LimitedSampleSize(float size)
{
    return std::clamp(size, 1.0F, static_cast<float>(PaintManager::kMaxStampRadius));
}

/// The smaller axis stays at least a pixel wide; `size` is limited already.
inline float LimitedSampleAspect(float aspect, float size)
{
    return aspect < 1 ? std::max(aspect, 1 / size) : std::min(aspect, StampPlacement::kMaxAspect);
}

/// Cut towards 0; what lies beyond every image is held at the edge.
inline int TruncateToPixel(float value)
{
    constexpr float kFarthest = 1 << 30;
    return static_cast<int>(std::clamp(value, -kFarthest, kFarthest));
}
