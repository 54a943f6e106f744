#pragma once

#include "platform/imaging/pages/PaintColor.h"
#include "platform/imaging/stamps/BrushProfile.h"
#include "platform/imaging/stamps/BrushStampReferenceStamp.h"
#include "platform/imaging/stamps/PaintObj.h"

/// The brush as a person set it up. Sizes are stamp radii in pixels.
class PAINTLAYER_EXPORT BrushParameters {
public:
    PaintColor color{0, 0, 0, 1};
    BrushProfile profile;
    BrushStampReferenceStamp* referenceStamp = nullptr;  // clone or smear source, the host's; null for neither
    float firstSize = 10;  // radius at the lightest pressure
    float secondSize = 10;  // radius at the fullest: spacing, update timer, 16-bit choice
    float threshold = 0;  // 0 to 1; from 0.2 on, painting stays in 8 bits
    float markerWetness = 0;  // 0 to 1: how much a marker builds up where it crosses itself

    const qs::TempReference<ilImage>& GetBrushShape() const { return shape_; }
    void SetBrushShape(qs::TempReference<ilImage> shape) { shape_ = std::move(shape); }
    const qs::Reference<PaintObj>& GetBrushTexture() const { return texture_; }
    void SetBrushTexture(qs::Reference<PaintObj> texture) { texture_ = std::move(texture); }

    /// True when every number is finite, sizes are not negative and at most 10^6 pixels.
    bool IsValid() const;

private:
    qs::TempReference<ilImage> shape_;  // one channel
    qs::Reference<PaintObj> texture_;
};
