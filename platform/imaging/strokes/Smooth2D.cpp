#include "platform/imaging/strokes/Smooth2D.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kFlatness = 1.0 / 256;  // pixels

/// As a float: between points at the end of the range the curve may leave it.
float Near(double coordinate)
{
    constexpr double kFarthest = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(coordinate, -kFarthest, kFarthest));
}

// Points closer than this say nothing of the direction.
constexpr double kSamePlace = 1.0 / 64;  // pixels

}  // namespace

Smooth2D::Smooth2D(double cornerCosine, double gentleCosine, int mostPoints)
    : rule_{cornerCosine, gentleCosine}, mostPoints_(std::clamp(mostPoints, 1, 16))
{}

void Smooth2D::add_point(const ilXYfloat& point)
{
    if (!std::isfinite(point.x) || !std::isfinite(point.y))
        return;
    if (numFetched_ == places_.size()) {
        places_.clear();
        numFetched_ = 0;
    }
    const ilXYdouble place(point.x, point.y);
    if (numKnots_ == 0) {
        last_ = place;
        numKnots_ = 1;
    } else if ((place - last_).Length() >= kSamePlace) {
        AppendCurveTo(place);
        previous_ = last_;
        last_ = place;
        numKnots_ = 2;
    }
    places_.push_back(point);
}

/// Appends the places between last_ and `point`.
void Smooth2D::AppendCurveTo(const ilXYdouble& point)
{
    const ilXYdouble chord = point - last_;
    const double length = chord.Length();
    if (numKnots_ < 2) {
        heading_ = chord / length;
        return;
    }
    // The line came to last_ without knowing where it would turn. It leaves in the same direction, the less far the
    // more it must turn, and arrives as the curve through the last three points does.
    const ilXYdouble atLast = TangentsAtKnot(previous_, last_, point, rule_).out;
    const double cameFrom = (last_ - previous_).Length();
    const double chordCosine = std::clamp(heading_.Dot(chord) / length, -1.0, 1.0);
    const double corner = rule_.Cornerness(chordCosine, std::max(length, cameFrom) / std::min(length, cameFrom));
    const double reach = std::min(1.0, std::sqrt(cameFrom / length)) * (1 + chordCosine) / 2;
    const ilXYdouble startTangent = heading_ * (length * (1 - corner + corner * reach));

    // At a corner the end of the curve would be thrown out of the way; a straight arrival is right there.
    const ilXYdouble arrival = FreeEndTangent(chord, atLast) * (1 - corner) + chord * corner;
    const CubicPiece curve(last_, startTangent, arrival, point);
    const int steps = curve.CountSteps(kFlatness, mostPoints_);
    for (int i = 1; i < steps; ++i) {
        const ilXYdouble place = curve.At(static_cast<double>(i) / steps);
        places_.emplace_back(Near(place.x), Near(place.y));
    }
    heading_ = arrival / arrival.Length();
}

bool Smooth2D::interpolate(ilXYfloat& place)
{
    if (numFetched_ == places_.size())
        return false;
    place = places_[numFetched_++];
    return true;
}
