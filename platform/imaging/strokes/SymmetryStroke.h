#pragma once

#include "platform/imaging/strokes/CompoundStroke.h"
#include "platform/imaging/strokes/Symmetry.h"

/// A stroke and its symmetric images, one stroke for each: samples are mapped for image i before stroke i takes them.
/// Jitter, scatter and direction follow the original, so the images are exact; only the mask image of a stamp is
/// turned but not mirrored.
class PAINTLAYER_EXPORT SymmetryStroke : public CompoundStroke {
public:
    /// Keeps a copy.
    explicit SymmetryStroke(const Symmetry& symmetry) : symmetry_(symmetry) {}

    /// In image order; strokes beyond the last image are fed as image 0.
    void set_strokes(qs::vector<std::unique_ptr<Stroke>> strokes) override;
    void add_point(float x, float y, float size, float opacity, float aspect, float rotation) override;

private:
    Symmetry symmetry_;
};
