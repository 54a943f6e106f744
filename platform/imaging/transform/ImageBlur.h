#pragma once

#include "platform/imaging/pages/ilSmartImage.h"

/// The image through a Gaussian whose standard deviation is `radius` pixels, 0.1 to 1000; what lies beyond the stored
/// area is the fill value. Null when the result would be too large, or for another radius.
PAINTLAYER_EXPORT qs::Reference<ilSmartImage> BlurImage(const ilMIOImage& image, double radius);

/// amount above 0, to 10: colours move away from their blurred surroundings by that many times the difference (unsharp
/// mask); alpha stays, coverage moves. Below 0, to -1: a blur that far. Pages that do not change are shared. Null as
/// above, and for another amount.
PAINTLAYER_EXPORT qs::Reference<ilSmartImage> SharpenOrBlurImage(const ilMIOImage& image, double amount, double radius);
