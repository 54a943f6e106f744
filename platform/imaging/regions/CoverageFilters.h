#pragma once

#include "platform/imaging/pages/ilSmartImage.h"

/// The alpha of a four-channel image within `area` as coverage, in the same place; 0 outside.
PAINTLAYER_EXPORT qs::Reference<ilSmartImage> GetAlphaCoverage(const ilMIOImage& source, const ilTile& area);

/// Filters of one-channel images that look at the surroundings of each pixel. What lies outside `area` counts as the
/// nearest pixel inside, so that an edge of the area is no edge of the coverage. The result is a new image that is 0
/// outside `area`. Pages whose surroundings are all covered, or not at all, cost next to nothing.

/// The largest coverage, or the smallest, within `radius` pixels of each: a disc, 0 to kMaxGrowPx.
inline constexpr int kMaxGrowPx = 500;
PAINTLAYER_EXPORT qs::Reference<ilSmartImage> GrowCoverage(const ilMIOImage& source, const ilTile& area, int radius);
PAINTLAYER_EXPORT qs::Reference<ilSmartImage> ShrinkCoverage(const ilMIOImage& source, const ilTile& area, int radius);

/// A Gaussian blur whose standard deviation is half of `radius` (pixels, above 0 to kMaxBlurPx), cut off at three
/// deviations: a hard edge fades over about `radius` pixels on both sides. Rounded to nearest.
inline constexpr float kMaxBlurPx = 250;
PAINTLAYER_EXPORT qs::Reference<ilSmartImage> BlurCoverage(const ilMIOImage& source, const ilTile& area, float radius);
