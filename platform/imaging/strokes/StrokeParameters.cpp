#include "platform/imaging/strokes/StrokeParameters.h"

#include <cmath>

bool StrokeParameters::IsValid() const
{
    return std::isfinite(spacing) && spacing > 0 && std::isfinite(spacingJitter) && std::isfinite(scatter) &&
           std::isfinite(timerScale) && std::isfinite(directionFollow);
}
