#include "platform/imaging/strokes/StampSpacing.h"

#include <cmath>
#include <numbers>

namespace {

constexpr double kSmallestTerm = 1e-17;

/// atanh(z) / z of |z| <= 1/3.
double AtanhRatio(double z)
{
    const double square = z * z;
    double sum = 1;
    double power = square;
    for (int n = 3; power > kSmallestTerm; n += 2, power *= square)
        sum += power / n;
    return sum;
}

/// The natural logarithm of x above 0.
double Logarithm(double x)
{
    int exponent = 0;
    const double mantissa = std::frexp(x, &exponent);  // 1/2 to 1
    const double z = (mantissa - 1) / (mantissa + 1);
    return 2 * z * AtanhRatio(z) + exponent * std::numbers::ln2;
}

/// (e^x - 1) / x of |x| <= 1.
double GrowthRatio(double x)
{
    double sum = 1;
    double term = 1;
    for (int n = 2; std::abs(term) > kSmallestTerm; ++n) {
        term *= x / n;
        sum += term;
    }
    return sum;
}

/// e^x - 1.
double Growth(double x)
{
    if (std::abs(x) <= 1)
        return x * GrowthRatio(x);
    const double exponent = std::round(x / std::numbers::ln2);
    const double rest = x - exponent * std::numbers::ln2;
    return std::ldexp(1 + rest * GrowthRatio(rest), static_cast<int>(exponent)) - 1;
}

}  // namespace

double StampSpacing::StampsUntil(double place) const
{
    const double reached = from_ + growth_ * place;
    // ln(reached / from) / growth; with atanh nothing cancels as the growth vanishes.
    const double z = (reached - from_) / (reached + from_);
    if (std::abs(z) <= 1.0 / 3)
        return 2 * place / (reached + from_) * AtanhRatio(z);
    return Logarithm(reached / from_) / growth_;
}

double StampSpacing::PlaceOf(double stamps) const
{
    const double exponent = growth_ * stamps;
    if (std::abs(exponent) <= 1)
        return from_ * stamps * GrowthRatio(exponent);
    return from_ * Growth(exponent) / growth_;
}
