#include "platform/imaging/strokes/CurveInterpolate2D.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kFlatness = 1.0 / 256;
constexpr double kShortestRun = 0.25;  // pixels
constexpr int kMaxDepth = 10;

/// How far `point` lies from the line through `from` and `to`, or from `from` where these are one place.
double DistanceToLine(const ilXYdouble& point, const ilXYdouble& from, const ilXYdouble& to)
{
    const ilXYdouble chord = to - from;
    const ilXYdouble offset = point - from;
    const double length = chord.Length();
    if (length == 0)
        return offset.Length();
    return std::abs(chord.x * offset.y - chord.y * offset.x) / length;
}

}  // namespace

/// The run from one sample's place to the next one's.
struct CurveInterpolate2D::Stretch {
    const StrokeSample& from;
    const StrokeSample& to;
    double fromLength;
    double toLength;
    int leastDepth;  // halvings before the flatness can be trusted: below a span of the spline

    StrokeSample At(const Place& place) const
    {
        const double share = std::clamp((place.length - fromLength) / (toLength - fromLength), 0.0, 1.0);
        StrokeSample sample = SampleBetween(from, to, share);
        sample.x = place.point.x;
        sample.y = place.point.y;
        return sample;
    }
};

CurveInterpolate2D::CurveInterpolate2D(const gk_spline* spline)
    : hasSpline_(spline != nullptr && spline->GetNumControlPoints() > 0)
{
    if (hasSpline_)
        spline_ = *spline;
}

void CurveInterpolate2D::Reset()
{
    hasLast_ = false;
    hasTail_ = false;
}

CurveInterpolate2D::Place CurveInterpolate2D::PlaceAt(double t) const
{
    return {t, spline_.LengthAtParameter(t), spline_.Evaluate(t)};
}

void CurveInterpolate2D::AddSample(const StrokeSample& sample, qs::vector<StrokeSample>& path)
{
    if (!hasSpline_) {
        path.push_back(sample);
        return;
    }
    const Place place = PlaceAt(spline_.ClosestParameter({sample.x, sample.y}));
    StrokeSample onSpline = sample;
    onSpline.x = place.point.x;
    onSpline.y = place.point.y;
    if (hasLast_ && std::abs(place.length - lastPlace_.length) < kShortestRun) {
        tail_ = onSpline;
        hasTail_ = true;
        return;
    }
    // What a resting pen changed last is what the path goes on with.
    if (hasTail_) {
        tail_.x = last_.x;
        tail_.y = last_.y;
        last_ = tail_;
        path.push_back(last_);
        hasTail_ = false;
    }
    if (hasLast_)
        RunTo(place, onSpline, path);
    else
        path.push_back(onSpline);
    hasLast_ = true;
    last_ = onSpline;
    lastPlace_ = place;
}

void CurveInterpolate2D::Finish(qs::vector<StrokeSample>& path)
{
    if (hasTail_)
        path.push_back(tail_);
    Reset();
}

void CurveInterpolate2D::RunTo(const Place& place, const StrokeSample& sample, qs::vector<StrokeSample>& path)
{
    const double spans = std::max(1, spline_.GetNumControlPoints() - 3) * std::abs(place.t - lastPlace_.t);
    int leastDepth = 1;
    while ((1 << leastDepth) < 2 * spans && leastDepth < kMaxDepth)
        ++leastDepth;
    const Stretch stretch{last_, sample, lastPlace_.length, place.length, leastDepth};
    AppendHalves(stretch, lastPlace_, place, 0, path);
    path.push_back(sample);
}

/// Appends the vertices strictly between two places.
void CurveInterpolate2D::AppendHalves(const Stretch& whole, const Place& from, const Place& to, int depth,
                                      qs::vector<StrokeSample>& path) const
{
    if (depth >= kMaxDepth)
        return;
    const Place middle = PlaceAt((from.t + to.t) / 2);
    if (depth >= whole.leastDepth && DistanceToLine(middle.point, from.point, to.point) <= kFlatness) {
        // An S crosses its chord in the middle and shows itself at the quarter.
        const ilXYdouble quarter = spline_.Evaluate((from.t + middle.t) / 2);
        if (DistanceToLine(quarter, from.point, to.point) <= kFlatness)
            return;
    }
    AppendHalves(whole, from, middle, depth + 1, path);
    path.push_back(whole.At(middle));
    AppendHalves(whole, middle, to, depth + 1, path);
}
