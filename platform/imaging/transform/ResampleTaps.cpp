#include "platform/imaging/transform/ResampleTaps.h"

#include "platform/imaging/kernels/Kernels.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kWeightUnit = 1 << 20;

double Triangle(double x)
{
    return std::max(0.0, 1 - std::fabs(x));
}

/// R. Keys, "Cubic convolution interpolation" (1981), with a = -1/2.
double CatmullRom(double x)
{
    x = std::fabs(x);
    if (x < 1)
        return (1.5 * x - 2.5) * x * x + 1;
    return x < 2 ? ((-0.5 * x + 2.5) * x - 4) * x + 2 : 0;
}

double Lanczos3(double x)
{
    constexpr double kPi = 3.141592653589793;
    x = std::fabs(x);
    if (x < 1e-9)
        return 1;
    return x < 3 ? 3 * std::sin(kPi * x) * std::sin(kPi * x / 3) / (kPi * kPi * x * x) : 0;
}

double WeightAt(FilterMethod filter, double x)
{
    switch (filter) {
    case kFilterBicubic: return CatmullRom(x);
    case kFilterLanczos: return Lanczos3(x);
    default: return Triangle(x);
    }
}

double RadiusOf(FilterMethod filter)
{
    switch (filter) {
    case kFilterNearest:
    case kFilterArea: return 0.5;
    case kFilterBicubic: return 2;
    case kFilterLanczos: return 3;
    default: return 1;
    }
}

/// How far the filter reaches from the middle of a target pixel, in source pixels.
double HalfWidthOf(const AxisScale& axis)
{
    constexpr double kSigmas = 3;  // beyond lies less than half a level of a full step
    return axis.sigma > 0 ? kSigmas * axis.sigma : RadiusOf(axis.filter) * std::max(1.0, 1 / axis.scale);
}

/// Rounds weights to multiples of the unit. Rounding the running sum lets the errors cancel: the total is exactly 1.
void StoreWeights(float* stored, const qs::vector<double>& weights)
{
    double total = 0;
    for (const double weight : weights)
        total += weight;
    double sum = 0;
    double before = 0;
    for (size_t k = 0; k < weights.size(); ++k) {
        sum += weights[k] / total;
        const double rounded = k + 1 == weights.size() ? kWeightUnit : std::floor(sum * kWeightUnit + 0.5);
        stored[k] = static_cast<float>((rounded - before) / kWeightUnit);
        before = rounded;
    }
}

}  // namespace

double ResampleTaps::GetReach(const AxisScale& axis)
{
    if (axis.sigma == 0 && axis.filter == kFilterNearest)
        return 0.5;
    return HalfWidthOf(axis) + 0.5;
}

ResampleTaps::ResampleTaps(int first, int count, const AxisScale& axis)
{
    const bool isGaussian = axis.sigma > 0;
    const bool isNearest = !isGaussian && axis.filter == kFilterNearest;
    const bool isArea = !isGaussian && axis.filter == kFilterArea;
    const double stretch = std::max(1.0, 1 / axis.scale);
    // A pixel's footprint may begin anywhere within a source pixel, hence one more than it is wide.
    const double width = isArea ? 1 / axis.scale : 2 * HalfWidthOf(axis);
    tapCount = isNearest ? 1 : static_cast<int>(std::ceil(width)) + 1;
    firsts.resize(static_cast<size_t>(count));
    weights.assign(static_cast<size_t>(count) * static_cast<size_t>(tapCount), 0.0F);
    qs::vector<double> exact(static_cast<size_t>(tapCount));
    for (int i = 0; i < count; ++i) {
        const double center = (first + i + 0.5 - axis.shift) / axis.scale;
        const double low = isNearest ? center : center - width / 2;
        // Source pixel j counts by the distance of its middle, or by the part of [j, j + 1) within the footprint.
        const int begin = static_cast<int>(std::floor(isArea || isNearest ? low : low - 0.5));
        for (int k = 0; k < tapCount; ++k) {
            const int j = begin + k;
            const double distance = j + 0.5 - center;
            double& weight = exact[static_cast<size_t>(k)];
            if (isNearest)
                weight = 1;
            else if (isArea)
                weight = std::max(0.0, std::min(j + 1.0, low + width) - std::max<double>(j, low));
            else if (isGaussian)
                weight = std::exp(-distance * distance / (2 * axis.sigma * axis.sigma));
            else
                weight = WeightAt(axis.filter, distance / stretch);
        }
        firsts[static_cast<size_t>(i)] = begin;
        StoreWeights(&weights[static_cast<size_t>(i) * static_cast<size_t>(tapCount)], exact);
    }
}

const BicubicWeights* GetBicubicWeights()
{
    struct Table {
        Table()
        {
            for (int phase = 0; phase < kernels::kSampleUnit; ++phase) {
                const double x = static_cast<double>(phase) / kernels::kSampleUnit;
                StoreWeights(weights[phase], {CatmullRom(1 + x), CatmullRom(x), CatmullRom(1 - x), CatmullRom(2 - x)});
            }
        }
        BicubicWeights weights[kernels::kSampleUnit];
    };
    static const Table table;
    return table.weights;
}
