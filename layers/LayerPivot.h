#pragma once

/// The centre about which a layer is transformed, in canvas pixels.
struct LayerPivot {
    float x = 0;
    float y = 0;
    bool valid = false;  // false: derived anew from the layer's bounds whenever it is asked for

    bool operator==(const LayerPivot&) const = default;
};
