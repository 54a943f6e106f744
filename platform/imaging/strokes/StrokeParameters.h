#pragma once

#include "platform/base/Export.h"

#include <cstdint>

class gk_spline;

/// How a stroke runs between its samples.
struct PAINTLAYER_EXPORT StrokeParameters {
    float spacing = 0.25F;  // distance of stamps in stamp radii, above 0
    float spacingJitter = 0;  // 0 to 1: share of the spacing by which stamps are moved along the stroke
    float scatter = 0;  // in radii: how far stamps are thrown sideways
    float timerScale = 1;  // multiplies the interval of timed updates
    uint32_t bleedInterval = 50;  // milliseconds between stamps of a stroke that rests (timer strokes)
    int interpolation = 1;  // 0 flat, 1 smooth, 2 along the guide spline; other values: none
    float directionFollow = 0;  // 0 to 1: how far stamps turn with the direction of the stroke
    gk_spline* guideSpline = nullptr;  // the host's; used when interpolation is 2
    bool markerBlend = false;  // one wet layer: a stroke that crosses itself does not darken
    bool timerStroke = false;  // keeps stamping while the pen rests
    bool sizeSpacing = true;  // spacing follows the size of each sample rather than the brush's second size

    bool IsValid() const;  // every number finite, spacing above 0
};

static_assert(sizeof(StrokeParameters) == 48);
