#include "platform/imaging/strokes/StampStroke.h"

#include "platform/base/AffineMatrix.h"
#include "platform/imaging/strokes/StampSpacing.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double kFarthestPlace = 0x1p40;  // pixels; from there to the canvas, doubles still tell 1/4096 pixel
constexpr double kFarthestDrag = 0x1p30;  // pixels; farther, nothing is stored
constexpr float kSmallestSize = 1.0F / 64;
constexpr float kLargestSize = 1e6F;
constexpr float kSmallestAspect = 0.01F;
constexpr double kLargestScatter = 100;  // radii: stamps from as far away can reach the canvas, so all are looked at

// A closer spacing cannot be seen, and a size that outgrows a fixed spacing would cost without limit.
constexpr double kLeastSpacing = 0.01;  // radii

// The anchor that tells the direction trails by this much: far enough that the grain of the samples does not turn the
// stamps.
constexpr double kAnchorRadii = 0.5;
constexpr double kLeastAnchorPx = 2;

enum class Chance : uint64_t { Jitter = 1, Scatter = 2, RestingScatter = 3 };

/// -1/2 up to 1/2, evenly spread: a xorshift-multiply mixture of a stamp's number, the same for every stroke.
double Random(uint64_t stamp, Chance chance)
{
    uint64_t bits = stamp * 0x9E3779B97F4A7C15U + static_cast<uint64_t>(chance) * 0xD1B54A32D192ED03U;
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBU;
    bits ^= bits >> 31;
    return static_cast<double>(bits >> 11) * 0x1p-53 - 0.5;
}

double Limited(double value, double low, double high, double otherwise)
{
    return std::isfinite(value) ? std::clamp(value, low, high) : otherwise;
}

/// Degrees in steps of 1/64, so that maths libraries that differ in the last bit turn stamps alike.
double AngleOf(double x, double y)
{
    const double angle = std::atan2(y + 0.0, x + 0.0) * (180 / std::numbers::pi);  // + 0.0: no minus zero
    return std::round(angle * 64) / 64;
}

/// A range of places on a segment, in pixels from its beginning; empty when `end` is below `begin`.
struct Range {
    double begin;
    double end;
};

/// Cuts `range` to where a value that runs linearly from `start` to `end` in `length` pixels is not below 0.
void CutBelowZero(double start, double end, double length, Range& range)
{
    if (start >= 0 && end >= 0)
        return;
    if (!(start >= 0) && !(end >= 0)) {
        range.end = range.begin - 1;
        return;
    }
    const double zero = length * (start / (start - end));
    if (start < 0)
        range.begin = std::max(range.begin, zero);
    else
        range.end = std::min(range.end, zero);
}

/// The same for a coordinate and the space between low and high, that much wider at either end.
void CutToSlab(double start, double end, double length, double low, double high, double startReach, double endReach,
               Range& range)
{
    CutBelowZero(start - low + startReach, end - low + endReach, length, range);
    CutBelowZero(high - start + startReach, high - end + endReach, length, range);
}

}  // namespace

/// A straight piece of path.
struct StampStroke::Segment {
    const StrokeSample& from;
    const StrokeSample& to;
    double length;
    ilXYdouble direction;  // of length 1
    Range inReach;  // where stamps can touch the clipping rectangle

    Segment(const StrokeSample& from_, const StrokeSample& to_, double length_)
        : from(from_), to(to_), length(length_),
          direction((to_.x - from_.x) / length_, (to_.y - from_.y) / length_), inReach{0, length_}
    {}

    void CutToReach(const ilTile& clip, double scatter)
    {
        if (clip.IsEmpty()) {
            inReach.end = -1;
            return;
        }
        const double stamp = Stamp::GetReach(std::max(from.size, to.size), std::max(from.aspect, to.aspect));
        const double atFrom = stamp + scatter * from.size;
        const double atTo = stamp + scatter * to.size;
        CutToSlab(from.x, to.x, length, clip.x, static_cast<double>(clip.Right()), atFrom, atTo, inReach);
        CutToSlab(from.y, to.y, length, clip.y, static_cast<double>(clip.Bottom()), atFrom, atTo, inReach);
    }

    double RadiusAt(double place) const
    {
        return from.size + (static_cast<double>(to.size) - from.size) * (place / length);
    }
};

StampStroke::StampStroke(PaintOps* painter, qs::Reference<Stamp> stamp, const Parms& parms,
                         std::unique_ptr<Interpolate2D> interpolator)
    : painter_(painter), stamp_(std::move(stamp)), parms_(parms), interpolator_(std::move(interpolator))
{
    const Parms defaults;
    parms_.spacing = Limited(parms.spacing, kLeastSpacing, 1e6, defaults.spacing);
    parms_.spacingJitter = Limited(parms.spacingJitter, 0, 1, defaults.spacingJitter);
    parms_.scatter = Limited(parms.scatter, 0, kLargestScatter, defaults.scatter);
    parms_.directionFollow = Limited(parms.directionFollow, 0, 1, defaults.directionFollow);
}

StampStroke::~StampStroke() = default;

void StampStroke::SetImageMatrix(const qsLinear::AffineMatrix& map)
{
    isMirrored_ = map.determinant() < 0;
    originalX_ = {map.a, map.b};
    originalY_ = {map.c, map.d};
}

void StampStroke::add_point(float x, float y, float size, float opacity, float aspect, float rotation)
{
    for (const float number : {x, y, size, opacity, aspect, rotation})
        if (!std::isfinite(number))
            return;
    StrokeSample sample;
    sample.x = std::clamp<double>(x, -kFarthestPlace, kFarthestPlace);
    sample.y = std::clamp<double>(y, -kFarthestPlace, kFarthestPlace);
    sample.size = std::clamp(size, kSmallestSize, kLargestSize);
    sample.opacity = std::clamp(opacity, 0.0F, 1.0F);
    sample.aspect = std::clamp(aspect, kSmallestAspect, StampPlacement::kMaxAspect);
    sample.rotation = std::fmod(rotation, 360.0F);

    if (interpolator_)
        interpolator_->AddSample(sample, path_);
    else
        path_.push_back(sample);
    if (!hasSample_)
        firstSize_ = sample.size;
    last_ = sample;
    hasSample_ = true;
}

void StampStroke::update()
{
    WalkPath();
}

void StampStroke::finish()
{
    if (interpolator_)
        interpolator_->Finish(path_);
    WalkPath();
    // A tap has no direction to wait for.
    if (!isFirstLaid_ && !path_.empty())
        PlaceStamp(path_.front());
    ResetRun();
}

void StampStroke::ResetRun()
{
    path_.clear();
    hasSample_ = false;
    isFirstLaid_ = false;
    hasAnchor_ = false;
    hasHeading_ = false;
    restStamps_ = 0;
    hasPlaced_ = false;
    if (interpolator_)
        interpolator_->Reset();
}

void StampStroke::WalkPath()
{
    if (path_.empty())
        return;
    if (!isFirstLaid_) {
        nextStamp_ = 0;
        untilGrid_ = 0;
        if (!NeedsDirection()) {
            PlaceStamp(path_.front());
            isFirstLaid_ = true;
            nextStamp_ = 1;
            untilGrid_ = 1;
        }
    }
    // Taken out first: a piece during which memory runs out is not walked a second time.
    walking_.swap(path_);
    path_.assign(1, walking_.back());
    for (size_t i = 1; i < walking_.size(); ++i)
        WalkSegment(walking_[i - 1], walking_[i]);
}

double StampStroke::DistanceAt(double radius) const
{
    if (parms_.sizeSpacing)
        return std::max(parms_.spacing * radius, kLeastDistance);
    return std::max({parms_.spacing * firstSize_, kLeastSpacing * radius, kLeastDistance});
}

/// Walks the part of a segment that lies within kFarthestPlace: a guide may lead farther, where the number of stamps
/// would be more than can be counted.
void StampStroke::WalkSegment(const StrokeSample& from, const StrokeSample& to)
{
    const auto isFar = [](const StrokeSample& sample) {
        return std::max(std::abs(sample.x), std::abs(sample.y)) > kFarthestPlace;
    };
    if (!isFar(from) && !isFar(to)) {
        WalkNearSegment(from, to);
        return;
    }
    LeaveStamps();
    // From the end that is not far: from the other, doubles would not find the way back.
    const bool isBackwards = isFar(from);
    const StrokeSample& begin = isBackwards ? to : from;
    const StrokeSample& end = isBackwards ? from : to;
    Range near{0, 1};
    CutToSlab(begin.x, end.x, 1, -kFarthestPlace, kFarthestPlace, 0, 0, near);
    CutToSlab(begin.y, end.y, 1, -kFarthestPlace, kFarthestPlace, 0, 0, near);
    if (near.begin > near.end)
        return;
    const auto at = [&](double share) {
        StrokeSample sample = SampleBetween(begin, end, share);
        sample.x = std::clamp(sample.x, -kFarthestPlace, kFarthestPlace);
        sample.y = std::clamp(sample.y, -kFarthestPlace, kFarthestPlace);
        return sample;
    };
    WalkNearSegment(at(isBackwards ? near.end : near.begin), at(isBackwards ? near.begin : near.end));
    LeaveStamps();
}

/// Within a segment the radius runs linearly, and so does the distance between stamps but for one bend, where it leaves
/// its lower limit.
void StampStroke::WalkNearSegment(const StrokeSample& from, const StrokeSample& to)
{
    const double length = (ilXYdouble(to.x, to.y) - ilXYdouble(from.x, from.y)).Length();
    if (length == 0)
        return;
    Segment segment(from, to, length);
    segment.CutToReach(painter_ ? painter_->GetBrushClippingRect() : ilTile(), parms_.scatter);

    const double bendRadius = parms_.sizeSpacing ? kLeastDistance / parms_.spacing : DistanceAt(0) / kLeastSpacing;
    const double bend = length * (bendRadius - from.size) / (static_cast<double>(to.size) - from.size);
    if (bend > 0 && bend < length) {
        WalkPiece(segment, 0, bend);
        WalkPiece(segment, bend, length);
    } else {
        WalkPiece(segment, 0, length);
    }
}

void StampStroke::WalkPiece(const Segment& segment, double begin, double end)
{
    const StampSpacing spacing(DistanceAt(segment.RadiusAt(begin)), DistanceAt(segment.RadiusAt(end)), end - begin);
    const double stamps = spacing.StampsUntil(end - begin);
    const double reachBegin = std::max(begin, segment.inReach.begin) - begin;
    const double reachEnd = std::min(end, segment.inReach.end) - begin;
    if (reachBegin <= reachEnd) {
        if (reachBegin > 0)
            SkipUntil(spacing.StampsUntil(reachBegin));
        const double lastInReach = reachEnd < end - begin ? spacing.StampsUntil(reachEnd) : stamps;
        for (double ahead = UntilNextStamp(); ahead <= lastInReach; ahead = UntilNextStamp()) {
            const double place = begin + spacing.PlaceOf(std::max(ahead, 0.0));
            LayStamp(SampleBetween(segment.from, segment.to, std::min(place / segment.length, 1.0)), segment.direction);
            isFirstLaid_ = true;
            ++nextStamp_;
            untilGrid_ += 1;
        }
    }
    SkipUntil(stamps);
    untilGrid_ -= stamps;
}

/// Spacings from the walk to the next stamp.
double StampStroke::UntilNextStamp() const
{
    if (nextStamp_ == 0 || parms_.spacingJitter == 0)
        return untilGrid_;
    return untilGrid_ + parms_.spacingJitter * Random(nextStamp_, Chance::Jitter);
}

/// Passes over the stamps up to `stamps` spacings from the walk.
void StampStroke::SkipUntil(double stamps)
{
    if (UntilNextStamp() > stamps)
        return;
    // Jitter is less than one half, so these are all passed whatever theirs is.
    const double sure = std::floor(stamps - 0.5 - untilGrid_);
    if (sure > 0) {
        nextStamp_ += static_cast<uint64_t>(sure);
        untilGrid_ += sure;
    }
    while (UntilNextStamp() <= stamps) {
        ++nextStamp_;
        untilGrid_ += 1;
    }
    isFirstLaid_ = true;
    LeaveStamps();
}

/// The next stamp is no neighbour of the one before: neither its heading nor its smear comes from there.
void StampStroke::LeaveStamps()
{
    hasAnchor_ = false;
    hasPlaced_ = false;
}

/// Lays the stamp that is next on the path.
void StampStroke::LayStamp(const StrokeSample& sample, const ilXYdouble& pathDirection)
{
    if (!NeedsDirection()) {
        PlaceStamp(sample);
        return;
    }
    FollowPath({sample.x, sample.y}, sample.size, pathDirection);
    PlaceTurned(sample, Random(nextStamp_, Chance::Scatter));
}

/// Turns the heading to the next stamp: away from an anchor that is dragged behind the stamps, which lie the same way
/// whatever the rate of the samples.
void StampStroke::FollowPath(const ilXYdouble& place, double radius, const ilXYdouble& pathDirection)
{
    const double rope = std::max(kAnchorRadii * radius, kLeastAnchorPx);
    if (!hasAnchor_)
        anchor_ = place - pathDirection * rope;
    hasAnchor_ = true;
    const ilXYdouble pull = place - anchor_;
    const double distance = pull.Length();
    heading_ = distance > 0 ? pull / distance : pathDirection;
    if (distance > rope)
        anchor_ = place - heading_ * rope;

    const double angle = AngleOf(heading_.Dot(originalX_), heading_.Dot(originalY_));
    headingDeg_ = hasHeading_ ? headingDeg_ + std::remainder(angle - headingDeg_, 360.0) : angle;
    hasHeading_ = true;
}

/// Lays a stamp, turned with the heading and thrown to its side. chance: -1/2 to 1/2.
void StampStroke::PlaceTurned(StrokeSample sample, double chance)
{
    const double handed = isMirrored_ ? -1 : 1;
    const double turn = handed * parms_.directionFollow * headingDeg_;
    sample.rotation = static_cast<float>(std::fmod(sample.rotation + turn, 360.0));
    const double thrown = handed * 2 * chance * parms_.scatter * sample.size;
    sample.x -= heading_.y * thrown;
    sample.y += heading_.x * thrown;
    PlaceStamp(sample);
}

void StampStroke::StampAtLastSample()
{
    if (hasHeading_)
        PlaceTurned(last_, Random(++restStamps_, Chance::RestingScatter));
    else
        PlaceStamp(last_);
}

void StampStroke::PlaceStamp(const StrokeSample& sample)
{
    if (!painter_ || !stamp_)
        return;
    const ilTile& clip = painter_->GetBrushClippingRect();
    const double reach = Stamp::GetReach(sample.size, sample.aspect);
    if (clip.IsEmpty() || sample.x < clip.x - reach || sample.y < clip.y - reach ||
        sample.x > static_cast<double>(clip.Right()) + reach || sample.y > static_cast<double>(clip.Bottom()) + reach) {
        hasPlaced_ = false;  // a drag from outside would bring in pixels from afar
        return;
    }
    if (parms_.isSmear) {
        // Between whole pixels of both places, so that the roundings of many short drags do not add up.
        const ilXYdouble place(std::round(sample.x), std::round(sample.y));
        const ilXYdouble drag = hasPlaced_ ? placed_ - place : ilXYdouble();
        const auto pixels = [](double way) { return static_cast<int>(std::clamp(way, -kFarthestDrag, kFarthestDrag)); };
        stamp_->set_source_offset(pixels(drag.x), pixels(drag.y));
        placed_ = place;
        hasPlaced_ = true;
    }
    if (!(painter_->get_stamp() == stamp_))
        painter_->set_stamp(stamp_);
    painter_->draw_stamp({sample.x, sample.y, sample.size, sample.opacity, sample.aspect, sample.rotation});
    if (report_ != nullptr)
        report_(static_cast<float>(sample.x), static_cast<float>(sample.y), sample.size, sample.opacity);
}
