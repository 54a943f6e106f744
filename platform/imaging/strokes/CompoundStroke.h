#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/strokes/Stroke.h"

#include <memory>

/// Several strokes fed as one.
class PAINTLAYER_EXPORT CompoundStroke : public Stroke {
public:
    /// Takes the strokes over; earlier ones are destroyed unfinished.
    virtual void set_strokes(qs::vector<std::unique_ptr<Stroke>> strokes);
    int GetNumStrokes() const { return static_cast<int>(strokes_.size()); }

    void add_point(float x, float y, float size, float opacity, float aspect, float rotation) override;
    void update() override;
    void finish() override;

protected:
    const qs::vector<std::unique_ptr<Stroke>>& GetStrokes() const { return strokes_; }

private:
    qs::vector<std::unique_ptr<Stroke>> strokes_;
};
