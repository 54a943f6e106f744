#include "platform/geometry/gk_spline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace {

/// The squared distance from a point along a stretch of the curve, in Bernstein form. The form's smallest coefficient
/// is a lower bound of it, and its first and last coefficients are the values at the ends.
struct DistanceForm {
    std::array<double, 7> coefficient;
    int degree;
    double fromU, toU;

    double Start() const { return coefficient[0]; }
    double End() const { return coefficient[static_cast<std::size_t>(degree)]; }
    double LowerBound() const { return *std::min_element(coefficient.begin(), coefficient.begin() + degree + 1); }
};

DistanceForm MakeForm(const std::array<ilXYdouble, 4>& bezier, int degree, const ilXYdouble& point, int span)
{
    static constexpr double kChoose[7][7] = {
        {1}, {1, 1}, {1, 2, 1}, {1, 3, 3, 1}, {1, 4, 6, 4, 1}, {}, {1, 6, 15, 20, 15, 6, 1}};
    DistanceForm form{{}, 2 * degree, static_cast<double>(span), static_cast<double>(span + 1)};
    const auto last = static_cast<std::size_t>(degree);
    for (std::size_t i = 0; i <= last; ++i)
        for (std::size_t j = 0; j <= last; ++j)
            form.coefficient[i + j] += kChoose[last][i] * kChoose[last][j] / kChoose[2 * last][i + j] *
                                       (bezier[i] - point).Dot(bezier[j] - point);
    return form;
}

/// Cuts the form in the middle: the first half is returned, the second stays.
DistanceForm CutFirstHalf(DistanceForm& form)
{
    DistanceForm first = form;
    const double middle = (form.fromU + form.toU) / 2;
    for (int level = 1; level <= form.degree; ++level) {
        for (std::size_t i = 0; i <= static_cast<std::size_t>(form.degree - level); ++i)
            form.coefficient[i] = (form.coefficient[i] + form.coefficient[i + 1]) / 2;
        first.coefficient[static_cast<std::size_t>(level)] = form.coefficient[0];
    }
    first.toU = middle;
    form.fromU = middle;
    return first;
}

/// The nearest place seen so beyond.
struct Nearest {
    double u;
    double squaredDistance;

    void Offer(double otherU, double otherSquaredDistance)
    {
        if (otherSquaredDistance < squaredDistance)
            *this = {otherU, otherSquaredDistance};
    }
};

/// Looks only into stretches whose lower bound beats the nearest place by more than `tolerance`. The depth matters
/// where all of the curve is equally beyond, as around the centre of an arc, and nothing can be left out.
void Narrow(DistanceForm form, double tolerance, int depth, Nearest& nearest)
{
    nearest.Offer(form.fromU, form.Start());
    nearest.Offer(form.toU, form.End());
    if (depth == 0 || form.LowerBound() >= nearest.squaredDistance - tolerance)
        return;
    const DistanceForm first = CutFirstHalf(form);
    const bool firstIsNearer = first.Start() <= form.End();
    Narrow(firstIsNearer ? first : form, tolerance, depth - 1, nearest);
    Narrow(firstIsNearer ? form : first, tolerance, depth - 1, nearest);
}

}  // namespace

double gk_spline::ClosestParameter(const ilXYdouble& point) const
{
    if (points_.empty() || !IsInRange(point))
        return 0;
    const double extent = PolygonLength();
    const double tolerance = 1e-10 * extent * extent;
    constexpr int kMaxDepth = 14;

    const ilXYdouble fromStart = points_.front() - point;
    Nearest nearest{0, fromStart.Dot(fromStart)};
    for (int span = 0; span < NumSpans(); ++span) {
        const double start = span;
        const double end = span + 1;
        std::array<ilXYdouble, 4> bezier;
        // The Bezier point i of a span takes its end i times and its start for the rest.
        for (int i = 0; i <= Degree(); ++i)
            bezier[static_cast<std::size_t>(i)] =
                SampleSpan(span, {i > 0 ? end : start, i > 1 ? end : start, i > 2 ? end : start}).position;
        Narrow(MakeForm(bezier, Degree(), point, span), tolerance, kMaxDepth, nearest);
    }
    return DescendFrom(nearest.u, point) / NumSpans();
}

/// Follows the falling distance from u to the place where it stops falling.
double gk_spline::DescendFrom(double u, const ilXYdouble& point) const
{
    const auto slopeAt = [&](double at) {
        const Sample sample = SampleAt(at);
        return sample.velocity.Dot(sample.position - point);
    };
    const double startSlope = slopeAt(u);
    if (startSlope == 0)
        return u;
    const double direction = startSlope > 0 ? -1 : 1;

    double falling = u;
    double beyond = u;
    for (double step = 1e-6; slopeAt(beyond) * direction < 0; step *= 2) {
        falling = beyond;
        beyond = std::clamp(beyond + direction * step, 0.0, static_cast<double>(NumSpans()));
        if (beyond == falling)
            return beyond;
    }
    constexpr int kHalvings = 52;
    for (int i = 0; i < kHalvings; ++i) {
        const double middle = (falling + beyond) / 2;
        (slopeAt(middle) * direction < 0 ? falling : beyond) = middle;
    }
    return falling;
}
