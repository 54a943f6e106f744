#include "platform/imaging/strokes/SymmetryStroke.h"

#include "platform/base/AffineMatrix.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

/// `value` as a float; one that floats cannot hold becomes the farthest that they can.
float ToFloat(double value)
{
    constexpr double kFarthest = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(value, -kFarthest, kFarthest));
}

}  // namespace

void SymmetryStroke::set_strokes(qs::vector<std::unique_ptr<Stroke>> strokes)
{
    for (size_t i = 0; i < strokes.size(); ++i)
        strokes[i]->SetImageMatrix(symmetry_.GetImageMatrix(static_cast<int>(i)));
    CompoundStroke::set_strokes(std::move(strokes));
}

void SymmetryStroke::add_point(float x, float y, float size, float opacity, float aspect, float rotation)
{
    // A number that is not finite must not reach some images and miss others.
    for (const float number : {x, y, size, opacity, aspect, rotation})
        if (!std::isfinite(number))
            return;
    int image = 0;
    for (const auto& stroke : GetStrokes()) {
        double imageX = x;
        double imageY = y;
        symmetry_.GetImageMatrix(image).MapPoint(imageX, imageY);
        const double imageRotation = symmetry_.MapRotation(image, std::fmod(rotation, 360.0));
        stroke->add_point(ToFloat(imageX), ToFloat(imageY), size, opacity, aspect, ToFloat(imageRotation));
        ++image;
    }
}
