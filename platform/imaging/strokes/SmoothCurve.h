#pragma once

#include "platform/geometry/ilXY.h"

/// The geometry of curves through samples, shared by those who smooth: which way a curve runs through a sample, and
/// the cubic between two of them.
///
///            next           The tangent at a knot lies between the two chords. Where the samples lie evenly on a
///           /               gentle curve it is that of the circle through the three, whatever the distances, so
///   -------*--  tangent     that a circle stays a circle at any rate of samples. At a corner, or where a short
///      ___/                 chord meets a long one, it is centripetal: it halves the turn and fades with the
///   prev                    sharpness and with the neighbour's length, so the curve cannot bulge or loop.
///
/// No tangent is longer than its chord by more than a few percent, which keeps a cubic within about a seventh of the
/// chord from it.

/// Where a turn counts as a corner, by the cosine of half the turn, the angle between chord and tangent: a curve from
/// `gentleCosine` up, a corner from `cornerCosine` down, and a mixture between.
struct CurveRule {
    double cornerCosine;
    double gentleCosine;

    /// 0 for an even, gentle turn to 1 for a corner. lengthRatio: longer by shorter chord.
    double Cornerness(double halfTurnCosine, double lengthRatio) const;
};

/// Tangents at a knot, scaled for the cubics of the chord that comes in and the one that goes out.
struct KnotTangents {
    ilXYdouble in;
    ilXYdouble out;
};

/// No two neighbours may coincide.
KnotTangents TangentsAtKnot(const ilXYdouble& previous, const ilXYdouble& knot, const ilXYdouble& next,
                            const CurveRule& rule);

/// The tangent at the free end of a chord, given the one at its other end: makes the piece a parabola.
inline ilXYdouble FreeEndTangent(const ilXYdouble& chord, const ilXYdouble& tangent)
{
    return 2.0 * chord - tangent;
}

/// The cubic between two knots.
class CubicPiece {
public:
    CubicPiece(const ilXYdouble& from, const ilXYdouble& fromTangent, const ilXYdouble& toTangent,
               const ilXYdouble& to);

    /// t: 0 to 1.
    ilXYdouble At(double t) const;

    /// The number of equal steps of t, 1 to `most`, whose chords stay within `tolerance` of the curve.
    int CountSteps(double tolerance, int most) const;

private:
    ilXYdouble points_[4];
};

/// The number of steps, 1 to `most`, after which a function whose second derivative by t (0 to 1) is at most `bend`
/// differs by at most `tolerance` from the straight lines between them.
int CountLinearSteps(double bend, double tolerance, int most);
