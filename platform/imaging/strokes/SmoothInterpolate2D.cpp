#include "platform/imaging/strokes/SmoothInterpolate2D.h"

#include <algorithm>
#include <cmath>

namespace {

// Positions are rounded to 1/256 pixel before coverage is computed, so a finer path could not be seen.
constexpr double kFlatness = 1.0 / 256;

constexpr double kKnotDistance = 0.25;  // pixels
constexpr double kSamePlace = 1.0 / 64;  // pixels

ilXYdouble PlaceOf(const StrokeSample& sample)
{
    return {sample.x, sample.y};
}

double Distance(const StrokeSample& a, const StrokeSample& b)
{
    return (PlaceOf(b) - PlaceOf(a)).Length();
}

bool HasSameValues(const StrokeSample& a, const StrokeSample& b)
{
    return a.size == b.size && a.opacity == b.opacity && a.aspect == b.aspect && a.rotation == b.rotation;
}

void TakeValues(StrokeSample& to, const StrokeSample& from)
{
    to.size = from.size;
    to.opacity = from.opacity;
    to.aspect = from.aspect;
    to.rotation = from.rotation;
}

/// One value between two knots, a cubic by the share of the length run. Its inner control values are kept between the
/// ends, and so it stays there too.
class ValueCurve {
public:
    ValueCurve() = default;
    ValueCurve(double from, double fromRise, double toRise, double to)
        : points_{from, Between(from, to, from + fromRise / 3), Between(from, to, to - toRise / 3), to}
    {}

    double At(double u) const
    {
        if (points_[0] == points_[3])
            return points_[0];
        const double v = 1 - u;
        return v * v * v * points_[0] + 3 * v * v * u * points_[1] + 3 * v * u * u * points_[2] +
               u * u * u * points_[3];
    }

    int CountSteps(double tolerance, int most) const
    {
        const double atStart = std::abs(points_[0] - 2 * points_[1] + points_[2]);
        const double atEnd = std::abs(points_[1] - 2 * points_[2] + points_[3]);
        return CountLinearSteps(6 * std::max(atStart, atEnd), tolerance, most);
    }

private:
    static double Between(double a, double b, double value)
    {
        return std::clamp(value, std::min(a, b), std::max(a, b));
    }

    double points_[4] = {};
};

/// What changes from one sample to the next, the rotation the shorter way round.
std::array<double, 4> Change(const StrokeSample& from, const StrokeSample& to)
{
    return {static_cast<double>(to.size) - from.size, static_cast<double>(to.opacity) - from.opacity,
            static_cast<double>(to.aspect) - from.aspect, ShorterTurn(from.rotation, to.rotation)};
}

}  // namespace

SmoothInterpolate2D::SmoothInterpolate2D(double cornerCosine, double gentleCosine, int levels)
    : rule_{cornerCosine, gentleCosine}, maxSteps_(1 << std::clamp(levels, 0, kMaxLevels))
{}

void SmoothInterpolate2D::Reset()
{
    numKnots_ = 0;
    hasFlow_ = false;
    hasTail_ = false;
}

void SmoothInterpolate2D::AddSample(const StrokeSample& sample, qs::vector<StrokeSample>& path)
{
    if (numKnots_ > 0 && Distance(last_.leaving, sample) < kKnotDistance) {
        tail_ = sample;
        hasTail_ = true;
        return;
    }
    // A pen in slow motion has only passed its tail; one that rested there starts from it.
    if (hasTail_ && Distance(tail_, sample) >= kKnotDistance)
        PushTail(path);
    hasTail_ = false;
    PushKnot(sample, path);
}

void SmoothInterpolate2D::Finish(qs::vector<StrokeSample>& path)
{
    if (hasTail_)
        PushTail(path);
    if (numKnots_ > 1)
        EmitPiece(previous_, last_, nullptr, path);
    if (numKnots_ > 0 && !HasSameValues(last_.arriving, last_.leaving))
        path.push_back(last_.leaving);
    Reset();
}

void SmoothInterpolate2D::PushTail(qs::vector<StrokeSample>& path)
{
    if (Distance(last_.leaving, tail_) < kSamePlace)
        TakeValues(last_.leaving, tail_);
    else
        PushKnot(tail_, path);
}

void SmoothInterpolate2D::PushKnot(const StrokeSample& sample, qs::vector<StrokeSample>& path)
{
    const Knot next{sample, sample};
    if (numKnots_ == 0)
        path.push_back(sample);
    if (numKnots_ > 1) {
        const Flow flow = FlowAt(previous_, last_, next);
        EmitPiece(previous_, last_, &flow, path);
        flow_ = flow;
        hasFlow_ = true;
    }
    previous_ = last_;
    last_ = next;
    numKnots_ = std::min(numKnots_ + 1, 2);
}

SmoothInterpolate2D::Values SmoothInterpolate2D::ChangePerPixel(const Knot& from, const Knot& to)
{
    Values change = Change(from.leaving, to.arriving);
    const double distance = Distance(from.leaving, to.arriving);
    for (double& value : change)
        value /= distance;
    return change;
}

SmoothInterpolate2D::Flow SmoothInterpolate2D::FlowAt(const Knot& previous, const Knot& knot, const Knot& next) const
{
    Flow flow;
    flow.tangents = TangentsAtKnot(PlaceOf(previous.leaving), PlaceOf(knot.leaving), PlaceOf(next.arriving), rule_);
    flow.slopeIn = ChangePerPixel(previous, knot);
    flow.slopeOut = ChangePerPixel(knot, next);
    if (!HasSameValues(knot.arriving, knot.leaving))
        return flow;
    // The slope of the parabola through the three.
    const double lengthIn = Distance(previous.leaving, knot.arriving);
    const double lengthOut = Distance(knot.leaving, next.arriving);
    for (int i = 0; i < kNumValues; ++i) {
        const double slope = (flow.slopeIn[i] * lengthOut + flow.slopeOut[i] * lengthIn) / (lengthIn + lengthOut);
        flow.slopeIn[i] = slope;
        flow.slopeOut[i] = slope;
    }
    return flow;
}

/// A piece whose end has no flow is the first or the last of the path.
void SmoothInterpolate2D::EmitPiece(const Knot& from, const Knot& to, const Flow* atEnd, qs::vector<StrokeSample>& path)
{
    const ilXYdouble start = PlaceOf(from.leaving);
    const ilXYdouble end = PlaceOf(to.arriving);
    const ilXYdouble chord = end - start;
    const Values mean = ChangePerPixel(from, to);

    ilXYdouble startTangent = chord;
    ilXYdouble endTangent = chord;
    Values startSlope = mean;
    Values endSlope = mean;
    const auto opposite = [&mean](const Values& slope) {
        Values mirrored;
        for (int i = 0; i < kNumValues; ++i)
            mirrored[i] = 2 * mean[i] - slope[i];
        return mirrored;
    };
    if (hasFlow_) {
        startTangent = flow_.tangents.out;
        startSlope = flow_.slopeOut;
    }
    if (atEnd != nullptr) {
        endTangent = atEnd->tangents.in;
        endSlope = atEnd->slopeIn;
    }
    if (hasFlow_ && atEnd == nullptr) {
        endTangent = FreeEndTangent(chord, startTangent);
        endSlope = opposite(startSlope);
    } else if (!hasFlow_ && atEnd != nullptr) {
        startTangent = FreeEndTangent(chord, endTangent);
        startSlope = opposite(endSlope);
    }

    if (!HasSameValues(from.arriving, from.leaving))
        path.push_back(from.leaving);
    AppendPiece(from, to, CubicPiece(start, startTangent, endTangent, end), startSlope, endSlope, path);
}

void SmoothInterpolate2D::AppendPiece(const Knot& from, const Knot& to, const CubicPiece& curve,
                                      const Values& fromSlope, const Values& toSlope,
                                      qs::vector<StrokeSample>& path) const
{
    const StrokeSample& start = from.leaving;
    const StrokeSample& end = to.arriving;
    const double chord = Distance(start, end);
    const Values change = Change(start, end);
    const Values base = {start.size, start.opacity, start.aspect, start.rotation};
    // What cannot be seen: half a percent of the radius, half a level of opacity, half a degree.
    const Values tolerance = {std::max(start.size, end.size) / 512.0, 1.0 / 512, 1.0 / 512, 0.5};

    int steps = curve.CountSteps(kFlatness, maxSteps_);
    std::array<ValueCurve, kNumValues> values;
    for (int i = 0; i < kNumValues; ++i) {
        values[i] = ValueCurve(base[i], fromSlope[i] * chord, toSlope[i] * chord, base[i] + change[i]);
        steps = std::max(steps, values[i].CountSteps(tolerance[i], maxSteps_));
    }

    // Values run with the length of the path, which is known when its points are.
    std::array<ilXYdouble, (1 << kMaxLevels) + 1> points;
    std::array<double, (1 << kMaxLevels) + 1> lengths;
    points[0] = PlaceOf(start);
    lengths[0] = 0;
    for (int i = 1; i <= steps; ++i) {
        points[i] = i < steps ? curve.At(static_cast<double>(i) / steps) : PlaceOf(end);
        lengths[i] = lengths[i - 1] + (points[i] - points[i - 1]).Length();
    }
    for (int i = 1; i < steps; ++i) {
        const double share = lengths[i] / lengths[steps];
        path.push_back({points[i].x, points[i].y, static_cast<float>(values[0].At(share)),
                        static_cast<float>(values[1].At(share)), static_cast<float>(values[2].At(share)),
                        static_cast<float>(values[3].At(share))});
    }
    path.push_back(end);
}
