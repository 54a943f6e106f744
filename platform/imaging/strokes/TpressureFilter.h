#pragma once

#include "platform/base/Export.h"

/// Turns a tablet's raw pressure into 0 to 1, rising with the raw value: 0 up to `min`, 1 from `max` on.
class PAINTLAYER_EXPORT TpressureFilter {
public:
    /// With `min` not below `max` the filter is a switch: 0 up to `min`, 1 above.
    TpressureFilter(unsigned short min, unsigned short max) : min_(min), max_(max) {}

    float getFilteredValue(unsigned raw) const;

private:
    unsigned min_;
    unsigned max_;
};
