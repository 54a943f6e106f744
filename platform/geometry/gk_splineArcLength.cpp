#include "platform/geometry/gk_spline.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

/// Abscissas (both signs) and weights of Gauss and Legendre's rule with eight points on [-1, 1].
struct GaussPoint {
    double abscissa, weight;
};
constexpr GaussPoint kGauss[] = {{0.18343464249564980494, 0.36268378337836198297},
                                 {0.52553240991632898582, 0.31370664587788728734},
                                 {0.79666647741362673959, 0.22238103445337447054},
                                 {0.96028985649753623168, 0.10122853629037625915}};

/// Of the length of the control polygon, for each piece of the table.
constexpr double kTolerance = 1e-11;
constexpr double kRounding = 1e-14;
/// Halvings of a span; only a cusp comes near, where each halving quarters what is left.
constexpr int kMaxDepth = 20;

}  // namespace

/// Within one span; exact enough only for a span or a part of it that the table has accepted as one piece.
double gk_spline::ArcLength(double fromU, double toU) const
{
    const double middle = (fromU + toU) / 2;
    const double half = (toU - fromU) / 2;
    // The piece's own span, as its end belongs to the next one.
    const int span = std::min(static_cast<int>(middle), NumSpans() - 1);
    const auto speedAt = [this, span](double u) { return SampleSpan(span, {u, u, u}).velocity.Length(); };
    double sum = 0;
    for (const GaussPoint& point : kGauss) {
        const double offset = half * point.abscissa;
        sum += point.weight * (speedAt(middle - offset) + speedAt(middle + offset));
    }
    return half * sum;
}

void gk_spline::AppendArcPieces(double fromU, double toU, double length, double tolerance, int depth) const
{
    const double middle = (fromU + toU) / 2;
    const double firstHalf = ArcLength(fromU, middle);
    const double secondHalf = ArcLength(middle, toU);
    if (depth == kMaxDepth || std::abs(firstHalf + secondHalf - length) <= tolerance) {
        const double before = arcTable_.empty() ? 0 : arcTable_.back().endLength;
        arcTable_.push_back({toU, before + length});
        return;
    }
    AppendArcPieces(fromU, middle, firstHalf, tolerance, depth + 1);
    AppendArcPieces(middle, toU, secondHalf, tolerance, depth + 1);
}

const qs::vector<gk_spline::ArcPiece>& gk_spline::ArcTable() const
{
    if (arcTable_.empty()) {
        // Below the rounding of the coordinates no halving would ever be enough.
        double largest = 0;
        for (const ilXYdouble& point : points_)
            largest = std::max({largest, std::abs(point.x), std::abs(point.y)});
        const double tolerance = kTolerance * PolygonLength() + kRounding * largest;
        for (int span = 0; span < NumSpans(); ++span)
            AppendArcPieces(span, span + 1, ArcLength(span, span + 1), tolerance, 0);
    }
    return arcTable_;
}

double gk_spline::Length() const
{
    return ArcTable().back().endLength;
}

double gk_spline::LengthAtParameter(double t) const
{
    const double u = ToU(t);
    const auto& table = ArcTable();
    const auto piece = std::lower_bound(table.begin(), table.end(), u,
                                        [](const ArcPiece& left, double value) { return left.endU < value; });
    if (piece == table.begin())
        return ArcLength(0, u);
    const ArcPiece& before = *(piece - 1);
    return before.endLength + ArcLength(before.endU, u);
}

double gk_spline::ParameterAtLength(double arcLength) const
{
    const auto& table = ArcTable();
    const double total = table.back().endLength;
    if (!(arcLength > 0) || total == 0)
        return 0;
    if (arcLength >= total)
        return 1;

    const auto piece = std::lower_bound(table.begin(), table.end(), arcLength,
                                        [](const ArcPiece& left, double value) { return left.endLength < value; });
    const ArcPiece before = piece == table.begin() ? ArcPiece{0, 0} : *(piece - 1);
    const double wanted = arcLength - before.endLength;

    // Newton's steps, or halving where they would leave the bracket (the curve may stand still in a cusp).
    double low = before.endU;
    double high = piece->endU;
    double u = low + (high - low) * wanted / (piece->endLength - before.endLength);
    constexpr int kMaxSteps = 60;
    for (int step = 0; step < kMaxSteps; ++step) {
        const double excess = ArcLength(before.endU, u) - wanted;
        if (std::abs(excess) <= kTolerance * total)
            break;
        (excess > 0 ? high : low) = u;
        const double next = u - excess / SampleAt(u).velocity.Length();
        u = next > low && next < high ? next : (low + high) / 2;
    }
    return u / NumSpans();
}
