#pragma once

#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/transform/ResampleTaps.h"

/// The image at another scale, or blurred, each axis by itself. Null when the result is too large
/// or too far away. kept: as TransformImage has it.
qs::Reference<ilSmartImage> ScaleImage(const ilMIOImage& source, const AxisScale& x, const AxisScale& y,
                                       const ilTile& kept = {});
