#pragma once

#include "platform/imaging/strokes/StampStroke.h"
#include "platform/imaging/strokes/StrokeParameters.h"
#include "platform/imaging/strokes/Symmetry.h"

#include <memory>

class gk_spline;

/// What strokes are made of.
struct BrushStrokeParts {
    PaintOps* painter = nullptr;
    qs::Reference<Stamp> stamp;
    StrokeParameters stroke;
    double spacingBias = 1;  // multiplies the spacing
    bool isSmear = false;
    StampStroke::StampReport report = nullptr;  // told of each stamp; not of those of timer strokes
};

/// A stroke on the painter; `spline`, which is only read, is what it follows when the parameters say so.
std::unique_ptr<Stroke> singleNewBrushStroke(const BrushStrokeParts& parts, const gk_spline* spline);

/// One stroke for each image of `symmetry`, which is in the painter's coordinates, fed as one. `copySpline` makes the
/// copy of the spline that is moved for an image; null, or one that returns null, leaves that to the library.
std::unique_ptr<Stroke> NewSymmetricBrushStroke(const BrushStrokeParts& parts, const Symmetry& symmetry,
                                                const gk_spline* spline, gk_spline* (*copySpline)(const gk_spline*));
