#include "platform/base/AffineMatrix.h"

#include <cmath>
#include <initializer_list>
#include <limits>
#include <numbers>

namespace qsLinear {

namespace {

struct CosSin {
    double cos, sin;
};

/// Rounded well above the last bits, in which maths libraries differ from one processor to the next.
double Quantised(double value)
{
    constexpr double kSteps = 0x1p40;
    return std::round(value * kSteps) / kSteps;
}

CosSin CosSinOfDegrees(double angleDeg)
{
    int quarters = 0;
    const double restDeg = std::remquo(angleDeg, 90.0, &quarters);  // exact, so a multiple of 90 leaves 0
    const double rest = restDeg * (std::numbers::pi / 180.0);
    const double cosine = Quantised(std::cos(rest));
    const double sine = Quantised(std::sin(rest));
    switch (static_cast<unsigned>(quarters) % 4) {  // remquo keeps the low bits of the quotient, in two's complement
    case 0: return {cosine, sine};
    case 1: return {-sine, cosine};
    case 2: return {-cosine, -sine};
    default: return {sine, -cosine};
    }
}

}  // namespace

AffineMatrix AffineMatrix::Translation(double dx, double dy)
{
    return {1, 0, 0, 1, dx, dy};
}

AffineMatrix AffineMatrix::Scale(double sx, double sy)
{
    return {sx, 0, 0, sy, 0, 0};
}

AffineMatrix AffineMatrix::Rotation(double angleDeg)
{
    const CosSin angle = CosSinOfDegrees(angleDeg);
    return {angle.cos, angle.sin, -angle.sin, angle.cos, 0, 0};
}

AffineMatrix AffineMatrix::Reflection(double x, double y, double angleDeg)
{
    const CosSin twice = CosSinOfDegrees(2 * angleDeg);
    const AffineMatrix throughOrigin(twice.cos, twice.sin, twice.sin, -twice.cos, 0, 0);
    return Translation(x, y) * throughOrigin * Translation(-x, -y);
}

AffineMatrix AffineMatrix::operator*(const AffineMatrix& first) const
{
    return {a * first.a + c * first.b, b * first.a + d * first.b,        a * first.c + c * first.d,
            b * first.c + d * first.d, a * first.tx + c * first.ty + tx, b * first.tx + d * first.ty + ty};
}

double AffineMatrix::determinant() const
{
    return a * d - b * c;
}

bool AffineMatrix::Invert(AffineMatrix& out) const
{
    const double det = determinant();
    // A difference as small as the rounding of its terms says nothing: the columns are parallel.
    const double rounding = std::numeric_limits<double>::epsilon() * (std::abs(a * d) + std::abs(b * c));
    if (!(std::abs(det) > rounding))
        return false;
    const double ia = d / det, ib = -b / det, ic = -c / det, id = a / det;
    const AffineMatrix inverse(ia, ib, ic, id, -(ia * tx + ic * ty), -(ib * tx + id * ty));
    for (const double value : {inverse.a, inverse.b, inverse.c, inverse.d, inverse.tx, inverse.ty})
        if (!std::isfinite(value))
            return false;
    out = inverse;
    return true;
}

void AffineMatrix::MapPoint(double& x, double& y) const
{
    const double mappedX = a * x + c * y + tx;
    y = b * x + d * y + ty;
    x = mappedX;
}

}  // namespace qsLinear
