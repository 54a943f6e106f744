#include "platform/imaging/strokes/CompoundStroke.h"

void CompoundStroke::set_strokes(qs::vector<std::unique_ptr<Stroke>> strokes)
{
    strokes_ = std::move(strokes);
}

void CompoundStroke::add_point(float x, float y, float size, float opacity, float aspect, float rotation)
{
    for (const auto& stroke : strokes_)
        stroke->add_point(x, y, size, opacity, aspect, rotation);
}

void CompoundStroke::update()
{
    for (const auto& stroke : strokes_)
        stroke->update();
}

void CompoundStroke::finish()
{
    for (const auto& stroke : strokes_)
        stroke->finish();
}
