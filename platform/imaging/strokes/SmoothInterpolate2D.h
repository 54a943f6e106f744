#pragma once

#include "platform/imaging/strokes/Interpolate2D.h"
#include "platform/imaging/strokes/SmoothCurve.h"

#include <array>

/// A smooth curve through the samples (SmoothCurve.h), cut into straight pieces that miss it by at most 1/256 pixel.
///
/// It depends on where the samples lie and not on how many there are, so a curve gives the same path at every rate of
/// samples. Samples closer than a quarter pixel to the last one in use only trim the values there: the trembling of a
/// resting pen adds no length. The path is one sample behind until Finish() takes it to the last one.
///
/// Size, opacity, aspect and rotation run along the path as smoothly, and stay between those of the two samples.
class PAINTLAYER_EXPORT SmoothInterpolate2D : public Interpolate2D {
public:
    /// cornerCosine, gentleCosine: see CurveRule. levels: 0 to 6; there are at most 2^levels pieces between two
    /// samples, however far apart.
    SmoothInterpolate2D(double cornerCosine, double gentleCosine, int levels);

    void Reset() override;
    void AddSample(const StrokeSample& sample, qs::vector<StrokeSample>& path) override;
    void Finish(qs::vector<StrokeSample>& path) override;

private:
    static constexpr int kMaxLevels = 6;
    static constexpr int kNumValues = 4;  // size, opacity, aspect, rotation
    using Values = std::array<double, kNumValues>;

    // A sample that the curve passes through. A pen that rests there while its pressure changes arrives with other
    // values than it leaves with.
    struct Knot {
        StrokeSample arriving;
        StrokeSample leaving;
    };

    // How position and values run on either side of a knot.
    struct Flow {
        KnotTangents tangents;
        Values slopeIn;  // per pixel
        Values slopeOut;
    };

    static Values ChangePerPixel(const Knot& from, const Knot& to);
    Flow FlowAt(const Knot& previous, const Knot& knot, const Knot& next) const;

    void PushKnot(const StrokeSample& sample, qs::vector<StrokeSample>& path);
    void PushTail(qs::vector<StrokeSample>& path);
    void EmitPiece(const Knot& from, const Knot& to, const Flow* atEnd, qs::vector<StrokeSample>& path);
    void AppendPiece(const Knot& from, const Knot& to, const CubicPiece& curve, const Values& fromSlope,
                     const Values& toSlope, qs::vector<StrokeSample>& path) const;

    CurveRule rule_;
    int maxSteps_;
    Knot previous_;  // valid from two knots on
    Knot last_;  // valid from one knot on
    int numKnots_ = 0;  // 0, 1, or 2 for more
    bool hasFlow_ = false;
    Flow flow_;  // at previous_, unless that is the first
    bool hasTail_ = false;
    StrokeSample tail_;  // the newest sample, while it is too close to last_ to be a knot
};
