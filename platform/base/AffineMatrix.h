#pragma once

#include "platform/base/Export.h"

namespace qsLinear {

/// An affine map of the plane: x' = a·x + c·y + tx, y' = b·x + d·y + ty. The identity by default.
///
/// Angles are degrees, from the x axis towards the y axis (clockwise on a canvas, whose y axis points down). Sines
/// and cosines are rounded to multiples of 2^-40, so that every machine gets the same matrix; those of multiples of
/// 90 degrees are exact.
class PAINTLAYER_EXPORT AffineMatrix {
public:
    constexpr AffineMatrix() noexcept = default;
    constexpr AffineMatrix(double a_, double b_, double c_, double d_, double tx_, double ty_) noexcept
        : a(a_), b(b_), c(c_), d(d_), tx(tx_), ty(ty_)
    {}

    static AffineMatrix Translation(double dx, double dy);
    static AffineMatrix Scale(double sx, double sy);
    /// About the origin.
    static AffineMatrix Rotation(double angleDeg);
    /// Across the line through (x, y) that makes `angleDeg` with the x axis.
    static AffineMatrix Reflection(double x, double y, double angleDeg);

    /// (A * B) maps a point by B first and by A then.
    AffineMatrix operator*(const AffineMatrix& first) const;

    double determinant() const;

    /// False, with `out` unchanged, when the map is singular, not finite, or its inverse is out of range.
    bool Invert(AffineMatrix& out) const;

    /// Maps (x, y) in place.
    void MapPoint(double& x, double& y) const;

    bool operator==(const AffineMatrix&) const = default;

    double a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;
};

}  // namespace qsLinear
