#pragma once

#include "platform/imaging/ImageTransform.h"

/// What one axis of a scaling does: source pixel x lies at scale·x + shift.
struct AxisScale {
    double scale = 1;  // above 0
    double shift = 0;
    FilterMethod filter = kFilterNearest;
};

/// The image at another scale, each axis by itself and each source pixel read once. Null when the result is too large
/// or too far away.
qs::Reference<ilSmartImage> ScaleImage(const ilMIOImage& source, const AxisScale& x, const AxisScale& y);
