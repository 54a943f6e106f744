#pragma once

#include "platform/base/AffineMatrix.h"
#include "platform/base/Export.h"

struct ilTile;

/// The map between canvas pixels and what a view shows: a pan, a scale per axis, a rotation about a centre. A small
/// value; sine, cosine and inverse scales are kept ready so that mapping a point costs no division.
class PAINTLAYER_EXPORT LayerStackTransform {
public:
    /// When a mapping applies the scale.
    enum ScaleStrategy : int {
        kScaleAlways = 0,
        kScaleNever = 1,
        kScaleWhenZoomedOut = 2,  // the x scale is below 1
    };

    LayerStackTransform();
    LayerStackTransform(float xOffset, float yOffset, float xScale, float yScale, float xCenter, float yCenter,
                        float degree);

    /// Compares offsets, scales, centre and angle exactly; derived values and bookkeeping take no part.
    bool operator==(const LayerStackTransform& other) const;

    /// Back to the identity, bookkeeping included.
    void reset();

    void SetOffset(float x, float y);  // in scaled units
    void SetScale(float xScale, float yScale);
    void SetScaleAndOffset(float x, float y, float scale);
    void SetScaleAndOffset(float x, float y, float xScale, float yScale);
    void SetRotation(float xCenter, float yCenter, float degree);
    void SetAngle(float degree);
    void SetPivot(float xCenter, float yCenter);  // canvas pixels
    void SetScaleOffset(float x, float y);  // extra pan, applied only when rotated
    void SetPrevOffset(float x, float y);
    void SetTargetCenter(float x, float y);

    float GetXOffset() const { return xOffset_; }
    float GetYOffset() const { return yOffset_; }
    float GetScale() const { return xScale_; }
    float GetXScale() const { return xScale_; }
    float GetYScale() const { return yScale_; }
    float GetInvXScale() const { return invXScale_; }  // 0 for a scale of 0
    float GetInvYScale() const { return invYScale_; }
    float GetXCenter() const { return xCenter_; }
    float GetYCenter() const { return yCenter_; }
    float GetDegree() const { return degree_; }
    float GetRotation() const { return degree_; }
    void GetRotation(float& xCenter, float& yCenter, float& degree) const;
    void GetPivot(float& xCenter, float& yCenter) const;
    void GetScaleAndOffset(float& x, float& y, float& xScale, float& yScale) const;
    float GetXScaleOffset() const { return xScaleOffset_; }
    float GetYScaleOffset() const { return yScaleOffset_; }
    float GetPrevOffsetX() const { return prevXOffset_; }
    float GetPrevOffsetY() const { return prevYOffset_; }
    float GetTargetXCenter() const { return targetXCenter_; }
    float GetTargetYCenter() const { return targetYCenter_; }

    bool ZoomedIn() const { return xScale_ > 1.0F; }
    bool ZoomedOut() const { return xScale_ < 1.0F; }
    bool Zoomed() const { return xScale_ != 1.0F || yScale_ != 1.0F; }

    /// Canvas to view. Without an angle and with kScaleAlways: x · scale - offset. The scaled centre is added back
    /// whether or not the strategy scaled.
    void XformCoords(float& x, float& y, ScaleStrategy strategy, bool noRotation) const;

    /// The map of XformCoords with kScaleAlways as a matrix; exact for multiples of 90 degrees.
    qsLinear::AffineMatrix GetMatrix() const;

    /// View to canvas.
    void InvXformCoords(float& x, float& y, ScaleStrategy strategy, bool noRotation) const;

    /// Tiles are mapped without rotation and without the centre; results are rounded to the nearest pixel, halves away
    /// from zero, and cut to the range of int. Depth stays. The flag is accepted and not used.
    void XformTile(ilTile& tile, ScaleStrategy strategy, bool) const;
    void InvXformTile(ilTile& tile, ScaleStrategy strategy, bool) const;

private:
    void RegenMatrix();
    bool Scales(ScaleStrategy strategy) const
    {
        return strategy == kScaleAlways || (strategy == kScaleWhenZoomedOut && xScale_ < 1.0F);
    }

    float xOffset_ = 0;
    float yOffset_ = 0;
    float xScale_ = 1;
    float yScale_ = 1;
    float xCenter_ = 0;
    float yCenter_ = 0;
    float degree_ = 0;
    float invXScale_ = 1;  // derived from here
    float invYScale_ = 1;
    float sin_ = 0;
    float cos_ = 1;
    float negSin_ = 0;  // of minus the angle
    float negCos_ = 1;  // to here
    float xScaleOffset_ = 0;
    float yScaleOffset_ = 0;
    float prevXOffset_ = 0;
    float prevYOffset_ = 0;
    float targetXCenter_ = 0;
    float targetYCenter_ = 0;
};
