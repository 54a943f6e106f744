#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/transform/FilterMethod.h"

/// What one axis of a scaling or blur does: source pixel x lies at scale·x + shift.
struct AxisScale {
    double scale = 1;  // above 0: target pixels per source pixel
    double shift = 0;
    FilterMethod filter = kFilterNearest;
    double sigma = 0;  // above 0: a Gaussian of this many source pixels instead of the filter
};

/// Which source pixels, by what weights, make up a run of pixels at another scale along one axis.
///
/// All pixels have the same number of taps. Weights are multiples of 2^-20 and add up to exactly 1, the same on every
/// machine.
struct ResampleTaps {
    int tapCount = 0;
    qs::vector<int> firsts;  // the first source pixel of each
    qs::vector<float> weights;  // tapCount of each

    /// For target pixels [first, first + count).
    ResampleTaps(int first, int count, const AxisScale& axis);

    int GetSourceBegin() const { return firsts.front(); }
    int GetSourceEnd() const { return firsts.back() + tapCount; }

    /// How far, in source pixels, a filter reaches from a target pixel's centre.
    static double GetReach(const AxisScale& axis);
};

/// The four Catmull-Rom weights of 1024 positions between two pixels, made at the first call; each four add up to 1.
using BicubicWeights = float[4];
const BicubicWeights* GetBicubicWeights();
