#pragma once

#include "platform/base/Export.h"

namespace qsLinear {
class AffineMatrix;
}

/// A stroke in progress: takes samples and paints what lies between them.
class PAINTLAYER_EXPORT Stroke {
public:
    Stroke() = default;
    Stroke(const Stroke&) = delete;
    Stroke& operator=(const Stroke&) = delete;
    virtual ~Stroke() = default;

    /// Feeds one sample. x, y: pixels of the target image, fractions kept. size: stamp radius in pixels, above 0.
    /// opacity: 0 to 1. aspect: axis across by axis along the rotation. rotation: degrees.
    /// A NaN or an infinity refuses the sample.
    virtual void add_point(float x, float y, float size, float opacity, float aspect, float rotation) = 0;

    /// Paints everything that the samples so far settle.
    virtual void update() = 0;

    /// Paints what is still held back for smoothing, up to the last sample: the pen was lifted. Later samples begin
    /// a new run.
    virtual void finish() = 0;

    /// Says that this stroke paints the image of another under `map`, a turn or a reflection: what depends on the
    /// direction or the side of the path is then chosen as the other one chooses it. Before the first sample.
    virtual void SetImageMatrix(const qsLinear::AffineMatrix& map);
};
