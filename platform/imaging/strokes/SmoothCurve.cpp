#include "platform/imaging/strokes/SmoothCurve.h"

#include <algorithm>
#include <cmath>

namespace {

// Chords of lengths up to this ratio are even; from the second on they are uneven. Reports that a system drops or
// doubles make a ratio of 2.
constexpr double kEvenRatio = 3;
constexpr double kUnevenRatio = 6;

/// 0 below `from`, 1 above `to`, smooth between; a step where the range is empty.
double SmoothStep(double from, double to, double value)
{
    if (value <= from)
        return 0;
    if (value >= to)
        return 1;
    const double u = (value - from) / (to - from);
    return u * u * (3 - 2 * u);
}

ilXYdouble Unit(const ilXYdouble& vector)
{
    const double length = vector.Length();
    return length > 0 ? vector / length : ilXYdouble();
}

}  // namespace

double CurveRule::Cornerness(double halfTurnCosine, double lengthRatio) const
{
    const double sharp = SmoothStep(-gentleCosine, -cornerCosine, -halfTurnCosine);
    const double uneven = SmoothStep(kEvenRatio, kUnevenRatio, lengthRatio);
    return std::max(sharp, uneven);
}

KnotTangents TangentsAtKnot(const ilXYdouble& previous, const ilXYdouble& knot, const ilXYdouble& next,
                            const CurveRule& rule)
{
    const ilXYdouble chordIn = knot - previous;
    const ilXYdouble chordOut = next - knot;
    const double lengthIn = chordIn.Length();
    const double lengthOut = chordOut.Length();
    const ilXYdouble unitIn = chordIn / lengthIn;
    const ilXYdouble unitOut = chordOut / lengthOut;
    const double turnCosine = std::clamp(unitIn.Dot(unitOut), -1.0, 1.0);
    const double ratio = std::max(lengthIn, lengthOut) / std::min(lengthIn, lengthOut);
    const double halfTurnCosine = std::sqrt((1 + turnCosine) / 2);
    const double corner = rule.Cornerness(halfTurnCosine, ratio);

    const ilXYdouble ofCircle = Unit(unitIn * lengthOut + unitOut * lengthIn);
    const ilXYdouble bisecting = Unit(unitIn + unitOut);
    const ilXYdouble direction = Unit(ofCircle * (1 - corner) + bisecting * corner);

    const double rootIn = std::sqrt(lengthIn);
    const double rootOut = std::sqrt(lengthOut);
    const auto scale = [&](const ilXYdouble& unit, double root, double neighbourRoot) {
        // 2 / (1 + cos) makes the cubic meet the circle's arc in its middle; it matters only where turns are gentle.
        const double onCircle = corner < 1 ? 2 / (1 + direction.Dot(unit)) : 0;
        const double centripetal = halfTurnCosine * std::min(1.0, 2 * neighbourRoot / (root + neighbourRoot));
        return onCircle * (1 - corner) + centripetal * corner;
    };
    return {direction * (lengthIn * scale(unitIn, rootIn, rootOut)),
            direction * (lengthOut * scale(unitOut, rootOut, rootIn))};
}

CubicPiece::CubicPiece(const ilXYdouble& from, const ilXYdouble& fromTangent, const ilXYdouble& toTangent,
                       const ilXYdouble& to)
    : points_{from, from + fromTangent / 3.0, to - toTangent / 3.0, to}
{}

ilXYdouble CubicPiece::At(double t) const
{
    const double u = 1 - t;
    return points_[0] * (u * u * u) + points_[1] * (3 * u * u * t) + points_[2] * (3 * u * t * t) +
           points_[3] * (t * t * t);
}

int CubicPiece::CountSteps(double tolerance, int most) const
{
    const double atStart = (points_[0] - 2.0 * points_[1] + points_[2]).Length();
    const double atEnd = (points_[1] - 2.0 * points_[2] + points_[3]).Length();
    return CountLinearSteps(6 * std::max(atStart, atEnd), tolerance, most);
}

int CountLinearSteps(double bend, double tolerance, int most)
{
    const double steps = std::ceil(std::sqrt(bend / (8 * tolerance)));
    if (!(steps < most))
        return most;
    return std::max(1, static_cast<int>(steps));
}
