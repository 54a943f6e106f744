#pragma once

#include "platform/base/Reference.h"
#include "platform/geometry/ilXY.h"
#include "platform/imaging/painter/PaintOps.h"
#include "platform/imaging/strokes/Interpolate2D.h"
#include "platform/imaging/strokes/Stroke.h"

#include <memory>

/// A stroke of stamps along the interpolated path, `spacing × radius` of arc length apart, whatever the rate of the
/// samples. Size, opacity, aspect and rotation are interpolated between samples. The first sample is stamped; after
/// it, a stamp falls wherever the path has run another spacing, so nothing is stamped twice at the end.
///
/// Stamps that cannot touch the painter's brush clipping rectangle are passed over in one step: a stroke costs what
/// lies on the canvas, wherever its samples are. With an empty rectangle nothing is stamped. What a guide leads beyond
/// 2^40 pixels has no stamps and no length.
class PAINTLAYER_EXPORT StampStroke : public Stroke {
public:
    struct Parms {
        double spacing = 0.25;  // distance of stamps in stamp radii; below 0.01 acts as 0.01
        double spacingJitter = 0;  // 0 to 1: share of the spacing by which stamps are moved along the stroke
        double scatter = 0;  // 0 to 100, in radii: how far stamps are thrown to either side
        double directionFollow = 0;  // 0 to 1: how far stamps turn with the direction of the stroke
        bool sizeSpacing = true;  // spacing follows each sample's size, not the first one's
        bool isSmear = false;  // the stamp drags the pixels under it from one stamp to the next
    };

    /// No two stamps are asked to lie closer than this, in pixels, however small the radius.
    static constexpr double kLeastDistance = 0.25;

    /// Told of each stamp that is laid down.
    using StampReport = void (*)(float x, float y, float size, float opacity);

    /// The painter and the stamp are kept; the interpolator is owned, null for straight lines. Numbers in `parms` that
    /// are not finite act as their defaults, others are clamped.
    StampStroke(PaintOps* painter, qs::Reference<Stamp> stamp, const Parms& parms,
                std::unique_ptr<Interpolate2D> interpolator);
    ~StampStroke() override;

    /// As Stroke::add_point. Size is limited to 10^6, opacity to 0 to 1, aspect to 0.01 to 1.9; places beyond 2^40
    /// pixels are moved to that distance.
    void add_point(float x, float y, float size, float opacity, float aspect, float rotation) override;

    /// As Stroke::update. While scatter or directionFollow is on, the first stamp waits for the path to take a
    /// direction, at most until finish().
    void update() override;
    void finish() override;
    void SetImageMatrix(const qsLinear::AffineMatrix& map) override;

    void SetStampReport(StampReport report) { report_ = report; }

protected:
    /// Lays down one stamp at a sample, unless it would miss the brush clipping rectangle.
    void PlaceStamp(const StrokeSample& sample);
    /// Stamps once more where the newest sample is, turned and thrown as the path's stamps are. There must be one.
    void StampAtLastSample();
    const StrokeSample& GetLastSample() const { return last_; }
    /// Whether a sample came since the stroke began or was last finished.
    bool HasSample() const { return hasSample_; }

private:
    struct Segment;

    void WalkPath();
    void WalkSegment(const StrokeSample& from, const StrokeSample& to);
    void WalkNearSegment(const StrokeSample& from, const StrokeSample& to);
    void WalkPiece(const Segment& segment, double begin, double end);
    void SkipUntil(double stamps);
    void LeaveStamps();
    double UntilNextStamp() const;
    double DistanceAt(double radius) const;
    bool NeedsDirection() const { return parms_.scatter > 0 || parms_.directionFollow > 0; }
    void LayStamp(const StrokeSample& sample, const ilXYdouble& pathDirection);
    void FollowPath(const ilXYdouble& place, double radius, const ilXYdouble& pathDirection);
    void PlaceTurned(StrokeSample sample, double chance);
    void ResetRun();

    qs::Reference<PaintOps> painter_;
    qs::Reference<Stamp> stamp_;
    Parms parms_;
    std::unique_ptr<Interpolate2D> interpolator_;
    StampReport report_ = nullptr;

    qs::vector<StrokeSample> path_;  // vertices not walked yet; the first is where the walk stands
    qs::vector<StrokeSample> walking_;  // those that WalkPath() is at
    StrokeSample last_;
    bool hasSample_ = false;
    float firstSize_ = 0;

    bool isFirstLaid_ = false;
    uint64_t nextStamp_ = 0;  // number of the next stamp; decides its jitter and scatter, so passing over costs nothing
    double untilGrid_ = 0;  // spacings from the walk to the next stamp's place before jitter

    bool hasAnchor_ = false;
    ilXYdouble anchor_;  // trails the stamps at a short distance: the heading is from here to the stamp
    bool hasHeading_ = false;
    ilXYdouble heading_;  // of the newest stamp, of length 1
    double headingDeg_ = 0;  // in the original's frame, without jumps of a whole turn
    uint64_t restStamps_ = 0;  // stamps laid where the pen rested

    bool isMirrored_ = false;
    ilXYdouble originalX_{1, 0};  // the original's axes in this image
    ilXYdouble originalY_{0, 1};

    bool hasPlaced_ = false;
    ilXYdouble placed_;  // the whole pixel that a smear drags from
};
