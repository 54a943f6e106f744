#pragma once

#include "platform/base/Containers.h"
#include "platform/geometry/ilXY.h"
#include "platform/imaging/strokes/SmoothCurve.h"

/// Smooths a line of points as they come: each new point yields a few places on a curve that leads from the one before
/// to exactly the new one. Nothing is held back, so the line never lags behind the pen.
class Smooth2D {
public:
    /// cornerCosine, gentleCosine: see CurveRule. mostPoints: 1 to 16 places at most for each new point.
    Smooth2D(double cornerCosine, double gentleCosine, int mostPoints);

    /// Takes the next point; a NaN or an infinity is ignored. Places not fetched yet stay in line.
    void add_point(const ilXYfloat& point);

    /// Stores the next place of the line in `place`; false, with nothing stored, when there is none for now.
    bool interpolate(ilXYfloat& place);

private:
    void AppendCurveTo(const ilXYdouble& point);

    CurveRule rule_;
    int mostPoints_;
    qs::vector<ilXYfloat> places_;
    size_t numFetched_ = 0;
    int numKnots_ = 0;  // 0, 1, or 2 for more
    ilXYdouble previous_;
    ilXYdouble last_;
    ilXYdouble heading_;  // the direction in which the line reached last_, of length 1
};
