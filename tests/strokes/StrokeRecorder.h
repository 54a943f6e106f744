#pragma once

#include "platform/base/Containers.h"
#include "platform/imaging/pages/ilSmartImage.h"
#include "platform/imaging/painter/PaintOps.h"
#include "platform/imaging/strokes/SmoothInterpolate2D.h"
#include "platform/imaging/strokes/StampStroke.h"

#include <cmath>
#include <memory>
#include <numbers>

/// A painter on an empty image, a stamp, and a list of the stamps that strokes lay down with them.
class StrokeRecorder {
public:
    struct Laid {
        float x, y, size, opacity;
        bool operator==(const Laid&) const = default;
    };

    StrokeRecorder()
        : image(new ilSmartImage(ilPixel::Rgba(0, 0, 0, 0))), painter(new PaintOps(image)), stamp(new Stamp)
    {
        painter->blend_func(1, 7);
        painter->SetBrushClippingRect({0, 0, 1000, 1000});
        laid().clear();
    }

    static qs::vector<Laid>& laid()
    {
        static qs::vector<Laid> list;
        return list;
    }

    static std::unique_ptr<Interpolate2D> Smooth() { return std::make_unique<SmoothInterpolate2D>(0.9, 0.921, 6); }

    template <class StrokeType = StampStroke>
    std::unique_ptr<StrokeType> MakeStroke(const StampStroke::Parms& parms,
                                           std::unique_ptr<Interpolate2D> interpolator = nullptr) const
    {
        auto stroke = std::make_unique<StrokeType>(painter.get(), stamp, parms, std::move(interpolator));
        stroke->SetStampReport([](float x, float y, float size, float opacity) {
            laid().push_back({x, y, size, opacity});
        });
        return stroke;
    }

    uint8_t AlphaAt(int x, int y) const
    {
        uint8_t rgba[4] = {};
        image->ReadTile({x, y, 1, 1}, rgba, 4);
        return rgba[3];
    }

    qs::Reference<ilSmartImage> image;
    qs::Reference<PaintOps> painter;
    qs::Reference<Stamp> stamp;
};

/// A spiral of one second and three turns, from (600, 500) out: what a pen in motion might draw.
inline StrokeSample SpiralAt(double seconds)
{
    const double angle = seconds * 6 * std::numbers::pi;
    const double radius = 100 + 150 * seconds;
    StrokeSample sample;
    sample.x = 500 + radius * std::cos(angle);
    sample.y = 500 + radius * std::sin(angle);
    sample.size = static_cast<float>(10 + 5 * std::sin(7 * seconds));
    sample.opacity = static_cast<float>(0.5 + 0.4 * std::cos(5 * seconds));
    return sample;
}

inline void Feed(Stroke& stroke, const StrokeSample& sample)
{
    stroke.add_point(static_cast<float>(sample.x), static_cast<float>(sample.y), sample.size, sample.opacity,
                     sample.aspect, sample.rotation);
}
