#pragma once

#include "platform/base/Containers.h"
#include "platform/base/Export.h"
#include "platform/geometry/ilXY.h"

#include <array>

namespace qsLinear {
class AffineMatrix;
}

/// A planar B-spline curve over control points: uniform clamped knots, degree 3 (lower below four points), so it
/// begins at the first point, ends at the last and stays within the hull of its points.
///
/// The parameter t runs from 0 to 1; values outside are clamped to that, a NaN reads as 0. A curve of a single point
/// stands still there; one without points answers as if at (0, 0). Control points are finite and at most 1e100 from
/// the axes, so every answer is finite. Arc lengths are good to one part in 10^8; their table is made at the first
/// question after a change.
class PAINTLAYER_EXPORT gk_spline {
public:
    gk_spline() = default;
    /// Points out of range are left out.
    explicit gk_spline(const qs::vector<ilXYdouble>& controlPoints);
    gk_spline(const gk_spline&) = default;
    gk_spline& operator=(const gk_spline&) = default;
    virtual ~gk_spline();

    int GetNumControlPoints() const;
    /// (0, 0) when `index` is out of range.
    ilXYdouble GetControlPoint(int index) const;
    /// False, with nothing changed, when `index` or the point is out of range.
    bool SetControlPoint(int index, const ilXYdouble& point);

    ilXYdouble Evaluate(double t) const;
    /// By t; zero where the curve stands still.
    ilXYdouble Derivative(double t) const;

    /// Maps every control point, and so the curve. False, with nothing changed, when a point would leave the range.
    bool Transform(const qsLinear::AffineMatrix& matrix);

    double Length() const;
    /// Arc length from the beginning to t.
    double LengthAtParameter(double t) const;
    /// The t where the curve has run `arcLength`, clamped to the curve: equal steps of it are equal steps on the curve.
    double ParameterAtLength(double arcLength) const;

    /// The t of the place on the curve nearest to `point`; of places that are equally near to within 1e-4 of the
    /// curve's extent, any one. 0 when the point is out of range.
    double ClosestParameter(const ilXYdouble& point) const;

private:
    // Within the class a position is u = t · spans, so that knots are whole numbers and span i is [i, i + 1].
    struct Sample {
        ilXYdouble position;
        ilXYdouble velocity;  // by u
    };

    struct ArcPiece {
        double endU;
        double endLength;  // from the beginning of the curve
    };

    static bool IsInRange(const ilXYdouble& point);

    int Degree() const;
    int NumSpans() const;
    double ToU(double t) const;
    Sample SampleSpan(int span, const std::array<double, 3>& arguments) const;
    Sample SampleAt(double u) const;

    double ArcLength(double fromU, double toU) const;
    void AppendArcPieces(double fromU, double toU, double length, double tolerance, int depth) const;
    const qs::vector<ArcPiece>& ArcTable() const;

    double DescendFrom(double u, const ilXYdouble& point) const;
    double PolygonLength() const;

    qs::vector<ilXYdouble> points_;
    mutable qs::vector<ArcPiece> arcTable_;  // one or more pieces a span, in order; empty when stale
};
