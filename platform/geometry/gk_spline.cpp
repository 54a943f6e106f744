#include "platform/geometry/gk_spline.h"

#include "platform/base/AffineMatrix.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>

namespace {

/// Squares and sums of coordinates up to here stay finite.
constexpr double kMaxCoordinate = 1e100;

/// Exact at both ends and between equal points: a curve on a spot does not tremble.
ilXYdouble Mix(const ilXYdouble& from, const ilXYdouble& to, double weight)
{
    const ilXYdouble way = to - from;
    return weight < 0.5 ? from + way * weight : to - way * (1 - weight);
}

}  // namespace

gk_spline::gk_spline(const qs::vector<ilXYdouble>& controlPoints)
{
    points_.reserve(controlPoints.size());
    std::copy_if(controlPoints.begin(), controlPoints.end(), std::back_inserter(points_), IsInRange);
}

gk_spline::~gk_spline() = default;

bool gk_spline::IsInRange(const ilXYdouble& point)
{
    return std::abs(point.x) <= kMaxCoordinate && std::abs(point.y) <= kMaxCoordinate;
}

int gk_spline::GetNumControlPoints() const
{
    return static_cast<int>(points_.size());
}

ilXYdouble gk_spline::GetControlPoint(int index) const
{
    if (index < 0 || index >= GetNumControlPoints())
        return {};
    return points_[static_cast<std::size_t>(index)];
}

bool gk_spline::SetControlPoint(int index, const ilXYdouble& point)
{
    if (index < 0 || index >= GetNumControlPoints() || !IsInRange(point))
        return false;
    points_[static_cast<std::size_t>(index)] = point;
    arcTable_.clear();
    return true;
}

bool gk_spline::Transform(const qsLinear::AffineMatrix& matrix)
{
    qs::vector<ilXYdouble> mapped = points_;
    for (ilXYdouble& point : mapped) {
        matrix.MapPoint(point.x, point.y);
        if (!IsInRange(point))
            return false;
    }
    points_.swap(mapped);
    arcTable_.clear();
    return true;
}

ilXYdouble gk_spline::Evaluate(double t) const
{
    return SampleAt(ToU(t)).position;
}

ilXYdouble gk_spline::Derivative(double t) const
{
    return SampleAt(ToU(t)).velocity * static_cast<double>(NumSpans());
}

int gk_spline::Degree() const
{
    return std::clamp(GetNumControlPoints() - 1, 0, 3);
}

int gk_spline::NumSpans() const
{
    return std::max(GetNumControlPoints() - Degree(), 1);
}

double gk_spline::ToU(double t) const
{
    return t > 0 ? std::min(t, 1.0) * NumSpans() : 0;
}

/// De Boor's scheme on one span, with an argument of its own at each level: three times u gives the point at u;
/// mixtures of the span's ends give its Bezier points. Velocity means something only in the first case.
gk_spline::Sample gk_spline::SampleSpan(int span, const std::array<double, 3>& arguments) const
{
    if (points_.empty())
        return {};
    const int degree = Degree();
    const int spans = NumSpans();
    ilXYdouble corner[4];
    std::copy_n(points_.begin() + span, degree + 1, corner);

    ilXYdouble velocity;
    for (int level = 1; level <= degree; ++level) {
        if (level == degree)
            velocity = (corner[degree] - corner[degree - 1]) * static_cast<double>(degree);
        for (int j = degree; j >= level; --j) {
            // The knots are 0 to `spans`, those at the ends as often as clamping wants them.
            const double left = std::max(span + j - degree, 0);
            const double right = std::min(span + j - level + 1, spans);
            const double weight = (arguments[static_cast<std::size_t>(level - 1)] - left) / (right - left);
            corner[j] = Mix(corner[j - 1], corner[j], weight);
        }
    }
    return {corner[degree], velocity};
}

gk_spline::Sample gk_spline::SampleAt(double u) const
{
    const int span = std::min(static_cast<int>(u), NumSpans() - 1);
    return SampleSpan(span, {u, u, u});
}

double gk_spline::PolygonLength() const
{
    double length = 0;
    for (std::size_t i = 1; i < points_.size(); ++i)
        length += (points_[i] - points_[i - 1]).Length();
    return length;
}
