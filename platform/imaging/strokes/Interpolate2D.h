#pragma once

#include "platform/base/Containers.h"
#include "platform/base/Export.h"

class gk_spline;

/// One sample of a stroke, or a point between two samples.
struct StrokeSample {
    double x = 0;
    double y = 0;
    float size = 1;
    float opacity = 1;
    float aspect = 1;
    float rotation = 0;
};

/// The way from one rotation to another, in degrees, -180 to 180.
PAINTLAYER_EXPORT double ShorterTurn(float fromDeg, float toDeg);

/// What lies between two samples; share: 0 at `from` to 1 at `to`. The rotation goes the shorter way round.
PAINTLAYER_EXPORT StrokeSample SampleBetween(const StrokeSample& from, const StrokeSample& to, double share);

/// Turns samples into the path of a stroke: a polyline fine enough that its corners do not show. All values are
/// interpolated with the position; rotation goes the shorter way round.
class PAINTLAYER_EXPORT Interpolate2D {
public:
    virtual ~Interpolate2D() = default;

    /// Begins a new path.
    virtual void Reset() = 0;

    /// Takes the next sample and appends the vertices of the path that are settled by it. The first sample appends
    /// itself.
    virtual void AddSample(const StrokeSample& sample, qs::vector<StrokeSample>& path) = 0;

    /// Appends what is held back, ending exactly at the last sample.
    virtual void Finish(qs::vector<StrokeSample>& path) = 0;
};

/// Straight lines between the samples. keepRepeats: a sample at the place of the one before is a vertex of its own.
class PAINTLAYER_EXPORT FltInterpolate2D : public Interpolate2D {
public:
    explicit FltInterpolate2D(bool keepRepeats) : keepRepeats_(keepRepeats) {}
    void Reset() override;
    void AddSample(const StrokeSample& sample, qs::vector<StrokeSample>& path) override;
    void Finish(qs::vector<StrokeSample>& path) override;

private:
    bool keepRepeats_;
    bool hasLast_ = false;
    StrokeSample last_;
};
