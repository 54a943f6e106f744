#include "platform/imaging/strokes/Symmetry.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kMaxOrder = 64;

}  // namespace

Symmetry::Symmetry(double centerX, double centerY) : centerX_(0), centerY_(0)
{
    SetCenter(centerX, centerY);
}

void Symmetry::SetMirror(bool on, double angleDeg)
{
    mirror_ = on;
    if (std::isfinite(angleDeg))
        mirrorAngle_ = angleDeg;
}

void Symmetry::SetOrder(int order)
{
    order_ = std::clamp(order, 1, kMaxOrder);
}

void Symmetry::SetCenter(double x, double y)
{
    if (!std::isfinite(x) || !std::isfinite(y))
        return;
    centerX_ = x;
    centerY_ = y;
}

void Symmetry::Translate(double dx, double dy)
{
    SetCenter(centerX_ + dx, centerY_ + dy);
}

int Symmetry::numImages() const
{
    if (!enabled_)
        return 1;
    return mirror_ ? 2 * order_ : order_;
}

Symmetry::ImageKind Symmetry::GetImageKind(int index) const
{
    if (index <= 0 || index >= numImages())
        return {false, 0};
    if (index < order_)
        return {false, 360.0 * index / order_};
    // A reflection followed by a turn about a point of its line is the reflection in a line turned by half as much.
    const double line = std::remainder(mirrorAngle_, 180.0);
    return {true, line + 180.0 * (index - order_) / order_};
}

qsLinear::AffineMatrix Symmetry::GetImageMatrix(int index) const
{
    using qsLinear::AffineMatrix;
    const ImageKind kind = GetImageKind(index);
    if (kind.isMirrored)
        return AffineMatrix::Reflection(centerX_, centerY_, kind.angleDeg);
    if (kind.angleDeg == 0)
        return {};
    return AffineMatrix::Translation(centerX_, centerY_) * AffineMatrix::Rotation(kind.angleDeg) *
           AffineMatrix::Translation(-centerX_, -centerY_);
}

double Symmetry::MapRotation(int index, double rotationDeg) const
{
    const ImageKind kind = GetImageKind(index);
    return kind.isMirrored ? 2 * kind.angleDeg - rotationDeg : kind.angleDeg + rotationDeg;
}
