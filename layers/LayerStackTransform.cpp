#include "layers/LayerStackTransform.h"

#include "platform/imaging/pages/ilTile.h"

#include <cmath>

namespace {

/// To the nearest integer, halves away from zero, within the range of int; a NaN becomes 0.
int RoundToPixel(float value)
{
    const double wide = value;
    const double rounded = wide > 0 ? wide + 0.5 : wide - 0.5;
    if (!(rounded > INT32_MIN))
        return std::isnan(rounded) ? 0 : INT32_MIN;
    return rounded < INT32_MAX ? static_cast<int>(rounded) : INT32_MAX;
}

void StoreRounded(ilTile& tile, float x, float y, float width, float height)
{
    tile.x = RoundToPixel(x);
    tile.y = RoundToPixel(y);
    tile.nx = RoundToPixel(width);
    tile.ny = RoundToPixel(height);
}

void Rotate(float& x, float& y, float sine, float cosine)
{
    const float turnedX = cosine * x - sine * y;
    y = cosine * y + sine * x;
    x = turnedX;
}

}  // namespace

LayerStackTransform::LayerStackTransform()
{
    reset();
}

LayerStackTransform::LayerStackTransform(float xOffset, float yOffset, float xScale, float yScale, float xCenter,
                                         float yCenter, float degree)
    : xOffset_(xOffset), yOffset_(yOffset), xScale_(xScale), yScale_(yScale), xCenter_(xCenter), yCenter_(yCenter),
      degree_(degree)
{
    RegenMatrix();
}

bool LayerStackTransform::operator==(const LayerStackTransform& other) const
{
    return xOffset_ == other.xOffset_ && yOffset_ == other.yOffset_ && xScale_ == other.xScale_ &&
           yScale_ == other.yScale_ && xCenter_ == other.xCenter_ && yCenter_ == other.yCenter_ &&
           degree_ == other.degree_;
}

void LayerStackTransform::reset()
{
    *this = LayerStackTransform(0, 0, 1, 1, 0, 0, 0);
}

void LayerStackTransform::SetOffset(float x, float y)
{
    xOffset_ = x;
    yOffset_ = y;
}

void LayerStackTransform::SetScale(float xScale, float yScale)
{
    xScale_ = xScale;
    yScale_ = yScale;
    RegenMatrix();
}

void LayerStackTransform::SetScaleAndOffset(float x, float y, float scale)
{
    SetScaleAndOffset(x, y, scale, scale);
}

void LayerStackTransform::SetScaleAndOffset(float x, float y, float xScale, float yScale)
{
    SetOffset(x, y);
    SetScale(xScale, yScale);
}

void LayerStackTransform::SetRotation(float xCenter, float yCenter, float degree)
{
    SetPivot(xCenter, yCenter);
    SetAngle(degree);
}

void LayerStackTransform::SetAngle(float degree)
{
    degree_ = degree;
    RegenMatrix();
}

void LayerStackTransform::SetPivot(float xCenter, float yCenter)
{
    xCenter_ = xCenter;
    yCenter_ = yCenter;
}

void LayerStackTransform::SetScaleOffset(float x, float y)
{
    xScaleOffset_ = x;
    yScaleOffset_ = y;
}

void LayerStackTransform::SetPrevOffset(float x, float y)
{
    prevXOffset_ = x;
    prevYOffset_ = y;
}

void LayerStackTransform::SetTargetCenter(float x, float y)
{
    targetXCenter_ = x;
    targetYCenter_ = y;
}

void LayerStackTransform::GetRotation(float& xCenter, float& yCenter, float& degree) const
{
    GetPivot(xCenter, yCenter);
    degree = degree_;
}

void LayerStackTransform::GetPivot(float& xCenter, float& yCenter) const
{
    xCenter = xCenter_;
    yCenter = yCenter_;
}

void LayerStackTransform::GetScaleAndOffset(float& x, float& y, float& xScale, float& yScale) const
{
    x = xOffset_;
    y = yOffset_;
    xScale = xScale_;
    yScale = yScale_;
}

void LayerStackTransform::RegenMatrix()
{
    invXScale_ = xScale_ == 0 ? 0 : 1 / xScale_;
    invYScale_ = yScale_ == 0 ? 0 : 1 / yScale_;
    // The turn is halved in single precision and only then widened: views rely on these very bits.
    const float halfTurns = degree_ / 360.0F * 2.0F;
    const double radians = static_cast<double>(halfTurns) * 3.141592653589793;
    sin_ = static_cast<float>(std::sin(radians));
    cos_ = static_cast<float>(std::cos(radians));
    negSin_ = static_cast<float>(std::sin(-radians));
    negCos_ = static_cast<float>(std::cos(-radians));
}

void LayerStackTransform::XformCoords(float& x, float& y, ScaleStrategy strategy, bool noRotation) const
{
    x -= xCenter_;
    y -= yCenter_;
    if (Scales(strategy)) {
        x *= xScale_;
        y *= yScale_;
    }
    if (degree_ == 0) {
        x -= xOffset_;
        y -= yOffset_;
        x += xScale_ * xCenter_;
        y += yScale_ * yCenter_;
        return;
    }
    if (!noRotation)
        Rotate(x, y, sin_, cos_);
    x -= xScaleOffset_ + xOffset_;
    y -= yScaleOffset_ + yOffset_;
    x += xCenter_;
    y += yCenter_;
}

qsLinear::AffineMatrix LayerStackTransform::GetMatrix() const
{
    using qsLinear::AffineMatrix;
    const AffineMatrix scale = AffineMatrix::Scale(xScale_, yScale_);
    if (degree_ == 0)
        return AffineMatrix::Translation(-double{xOffset_}, -double{yOffset_}) * scale;
    const AffineMatrix turned =
        AffineMatrix::Rotation(degree_) * scale * AffineMatrix::Translation(-double{xCenter_}, -double{yCenter_});
    return AffineMatrix::Translation(double{xCenter_} - xScaleOffset_ - xOffset_,
                                     double{yCenter_} - yScaleOffset_ - yOffset_) *
           turned;
}

void LayerStackTransform::InvXformCoords(float& x, float& y, ScaleStrategy strategy, bool noRotation) const
{
    const bool rotated = degree_ != 0;
    x -= xCenter_;
    y -= yCenter_;
    if (rotated) {
        x += xScaleOffset_ + xOffset_;
        y += yScaleOffset_ + yOffset_;
        if (!noRotation)
            Rotate(x, y, negSin_, negCos_);
    } else {
        x += xOffset_;
        y += yOffset_;
    }
    if (Scales(strategy)) {
        x *= invXScale_;
        y *= invYScale_;
    }
    x += rotated ? xCenter_ : invXScale_ * xCenter_;
    y += rotated ? yCenter_ : invYScale_ * yCenter_;
}

void LayerStackTransform::XformTile(ilTile& tile, ScaleStrategy strategy, bool) const
{
    const float xScale = Scales(strategy) ? xScale_ : 1.0F;
    const float yScale = Scales(strategy) ? yScale_ : 1.0F;
    StoreRounded(tile, static_cast<float>(tile.x) * xScale - xOffset_, static_cast<float>(tile.y) * yScale - yOffset_,
                 static_cast<float>(tile.nx) * xScale, static_cast<float>(tile.ny) * yScale);
}

void LayerStackTransform::InvXformTile(ilTile& tile, ScaleStrategy strategy, bool) const
{
    const float xScale = Scales(strategy) ? invXScale_ : 1.0F;
    const float yScale = Scales(strategy) ? invYScale_ : 1.0F;
    StoreRounded(tile, (static_cast<float>(tile.x) + xOffset_) * xScale,
                 (static_cast<float>(tile.y) + yOffset_) * yScale, static_cast<float>(tile.nx) * xScale,
                 static_cast<float>(tile.ny) * yScale);
}
