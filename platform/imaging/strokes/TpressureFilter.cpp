#include "platform/imaging/strokes/TpressureFilter.h"

float TpressureFilter::getFilteredValue(unsigned raw) const
{
    if (raw <= min_)
        return 0;
    if (raw >= max_)
        return 1;
    // Half straight, half an S: the ends, where a pen's sensor is roughest, run flatter, and no part of the range gets
    // steeper than 5/4.
    const double u = static_cast<double>(raw - min_) / (max_ - min_);
    return static_cast<float>(0.5 * u + 0.5 * u * u * (3 - 2 * u));
}
