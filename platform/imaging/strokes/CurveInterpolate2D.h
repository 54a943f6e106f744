#pragma once

#include "platform/geometry/gk_spline.h"
#include "platform/imaging/strokes/Interpolate2D.h"

/// A path along a guide: each sample goes to the nearest place of the spline, and the path between two such places runs
/// along it, in straight pieces that miss it by at most 1/256 pixel where the spline is of ordinary size. Samples whose
/// places are less than a quarter pixel apart only trim the values there.
class PAINTLAYER_EXPORT CurveInterpolate2D : public Interpolate2D {
public:
    /// The spline is copied. Null, or a spline without points, gives straight lines between the samples.
    explicit CurveInterpolate2D(const gk_spline* spline);

    void Reset() override;
    void AddSample(const StrokeSample& sample, qs::vector<StrokeSample>& path) override;
    void Finish(qs::vector<StrokeSample>& path) override;

private:
    struct Place {
        double t;
        double length;  // from the beginning of the spline
        ilXYdouble point;
    };
    struct Stretch;

    Place PlaceAt(double t) const;
    void RunTo(const Place& place, const StrokeSample& sample, qs::vector<StrokeSample>& path);
    void AppendHalves(const Stretch& whole, const Place& from, const Place& to, int depth,
                      qs::vector<StrokeSample>& path) const;

    gk_spline spline_;
    bool hasSpline_;
    bool hasLast_ = false;
    Place lastPlace_ = {};
    StrokeSample last_;  // where the path stands, moved onto the spline
    bool hasTail_ = false;
    StrokeSample tail_;
};
