#include "tests/support/KernelTables.h"

#include <cmath>
#include <initializer_list>

using kernels::Weight;

namespace {

/// The model's formulas on straight colours, word for word.
namespace model {

struct Rgb {
    double c[3];
};

double Lum(const Rgb& x)
{
    return 0.3 * x.c[0] + 0.59 * x.c[1] + 0.11 * x.c[2];
}

double Low(const Rgb& x)
{
    return std::min({x.c[0], x.c[1], x.c[2]});
}

double High(const Rgb& x)
{
    return std::max({x.c[0], x.c[1], x.c[2]});
}

double Sat(const Rgb& x)
{
    return High(x) - Low(x);
}

Rgb ClipColor(Rgb x)
{
    const double l = Lum(x), n = Low(x), high = High(x);
    for (double& c : x.c) {
        if (n < 0)
            c = l + (c - l) * l / (l - n);
        if (high > 1)
            c = l + (c - l) * (1 - l) / (high - l);
    }
    return x;
}

Rgb SetLum(Rgb x, double l)
{
    const double d = l - Lum(x);
    for (double& c : x.c)
        c += d;
    return ClipColor(x);
}

Rgb SetSat(const Rgb& x, double s)
{
    int order[3] = {0, 1, 2};
    std::sort(order, order + 3, [&](int a, int b) { return x.c[a] < x.c[b]; });
    Rgb result{{0, 0, 0}};
    if (High(x) > Low(x)) {
        result.c[order[1]] = (x.c[order[1]] - x.c[order[0]]) * s / (x.c[order[2]] - x.c[order[0]]);
        result.c[order[2]] = s;
    }
    return result;
}

double SoftLight(double cb, double cs)
{
    if (cs <= 0.5)
        return cb - (1 - 2 * cs) * cb * (1 - cb);
    const double d = cb <= 0.25 ? ((16 * cb - 12) * cb + 4) * cb : std::sqrt(cb);
    return cb + (2 * cs - 1) * (d - cb);
}

double HardLight(double cb, double cs)
{
    return cs <= 0.5 ? cb * 2 * cs : cb + (2 * cs - 1) - cb * (2 * cs - 1);
}

double Separable(int mode, double cb, double cs)
{
    switch (mode) {
    case kBlendMultiply: return cb * cs;
    case kBlendScreen: return cb + cs - cb * cs;
    case kBlendOverlay: return HardLight(cs, cb);
    case kBlendDarken: return std::min(cb, cs);
    case kBlendLighten: return std::max(cb, cs);
    case kBlendColorDodge: return cb == 0 ? 0 : cs == 1 ? 1 : std::min(1.0, cb / (1 - cs));
    case kBlendColorBurn: return cb == 1 ? 1 : cs == 0 ? 0 : 1 - std::min(1.0, (1 - cb) / cs);
    case kBlendHardLight: return HardLight(cb, cs);
    case kBlendSoftLight: return SoftLight(cb, cs);
    case kBlendDifference: return std::abs(cb - cs);
    case kBlendExclusion: return cb + cs - 2 * cb * cs;
    default: return cs;
    }
}

Rgb Blend(int mode, const Rgb& cb, const Rgb& cs)
{
    switch (mode) {
    case kBlendHue: return SetLum(SetSat(cs, Sat(cb)), Lum(cb));
    case kBlendSaturation: return SetLum(SetSat(cb, Sat(cs)), Lum(cb));
    case kBlendColor: return SetLum(cs, Lum(cb));
    case kBlendLuminosity: return SetLum(cb, Lum(cs));
    default: break;
    }
    Rgb result{};
    for (int c = 0; c < 3; ++c)
        result.c[c] = Separable(mode, cb.c[c], cs.c[c]);
    return result;
}

/// The premultiplied result in levels.
void Composite(int mode, const uint8_t* dst, const uint8_t* src, double weight, double* result)
{
    const double ab = dst[3] / 255.0, as = weight * src[3] / 255.0;
    Rgb cb{}, cs{};
    for (int c = 0; c < 3; ++c) {
        cb.c[c] = dst[3] == 0 ? 0 : double(dst[c]) / dst[3];
        cs.c[c] = src[3] == 0 ? 0 : double(src[c]) / src[3];
    }
    const Rgb mixed = Blend(mode, cb, cs);
    for (int c = 0; c < 3; ++c)
        result[c] = mode == kBlendPlus
                        ? std::min(255.0, weight * src[c] + dst[c])
                        : 255 * (cs.c[c] * as * (1 - ab) + cb.c[c] * ab * (1 - as) + as * ab * mixed.c[c]);
    result[3] = mode == kBlendPlus ? std::min(255.0, 255 * (as + ab)) : 255 * (as + ab - as * ab);
}

}  // namespace model

/// Pixels on a grid of alphas and colours, the places included where formulas change branch.
std::vector<uint8_t> GridPixels()
{
    std::vector<uint8_t> pixels;
    for (const int alpha : {0, 1, 2, 3, 50, 127, 128, 200, 254, 255}) {
        std::vector<int> values = {0,         1,    alpha / 4, alpha / 4 + 1, alpha / 2, alpha / 2 + 1, 3 * alpha / 4,
                                   alpha - 1, alpha};
        for (int& value : values)
            value = std::clamp(value, 0, alpha);
        for (size_t r = 0; r < values.size(); ++r) {
            for (size_t step = 0; step < 4; ++step) {
                const int color[3] = {values[r], values[(r + step) % 9], values[(2 * r + 5 * step) % 9]};
                for (const int c : color)
                    pixels.push_back(static_cast<uint8_t>(c));
                pixels.push_back(static_cast<uint8_t>(alpha));
            }
        }
    }
    return pixels;
}

constexpr double kTolerance = 0.52;  // of a level: one rounding, and what the products lose

class BlendModeKernels : public EveryKernelTable {};

TEST_P(BlendModeKernels, EveryModeAgreesWithTheModel)
{
    const std::vector<uint8_t> grid = GridPixels();
    const std::vector<uint8_t> random = RandomPixels(grid.size() / 4, 41);
    const size_t count = grid.size() / 4;
    for (int mode = 0; mode < kLayerBlendModeCount; ++mode) {
        double worst = 0;
        for (const Weight weight : std::initializer_list<Weight>{0, 1, 13000, 40000, 65535}) {
            for (size_t shift = 0; shift < count; ++shift) {
                // Every pixel of the grid meets every other one; now and then a random one instead.
                std::vector<uint8_t> src = shift % 8 == 7 ? random : grid;
                std::rotate(src.begin(), src.begin() + static_cast<ptrdiff_t>(4 * shift), src.end());
                std::vector<uint8_t> result = grid;
                k.blendMode[mode](result.data(), src.data(), weight, static_cast<int>(count));
                ASSERT_TRUE(ColorStaysWithinAlpha(result)) << "mode " << mode << ", weight " << weight;
                for (size_t i = 0; i < count; ++i) {
                    double exact[4];
                    model::Composite(mode, &grid[4 * i], &src[4 * i], weight / 65535.0, exact);
                    for (size_t c = 0; c < 4; ++c)
                        worst = std::max(worst, std::abs(exact[c] - result[4 * i + c]));
                }
            }
        }
        EXPECT_LE(worst, kTolerance) << "mode " << mode;
    }
}

TEST_P(BlendModeKernels, EveryPairOfOpaqueGreysAgreesWithTheModel)
{
    std::vector<uint8_t> src, dst;
    for (int pair = 0; pair < 65536; ++pair) {
        const auto s = static_cast<uint8_t>(pair), d = static_cast<uint8_t>(pair >> 8);
        src.insert(src.end(), {s, s, s, 255});
        dst.insert(dst.end(), {d, d, d, 255});
    }
    for (int mode = 0; mode < kLayerBlendModeCount; ++mode) {
        std::vector<uint8_t> result = dst;
        k.blendMode[mode](result.data(), src.data(), 65535, 65536);
        double worst = 0;
        for (size_t i = 0; i < dst.size(); i += 4) {
            double exact[4];
            model::Composite(mode, &dst[i], &src[i], 1, exact);
            worst = std::max(worst, std::abs(exact[0] - result[i]));
        }
        EXPECT_LE(worst, kTolerance) << "mode " << mode;
    }
}

TEST_P(BlendModeKernels, ColourStaysWithinAlphaForEveryAlphaAndValue)
{
    const std::vector<uint8_t> below = AllPremultipliedGreys();
    const std::vector<uint8_t> sources = AllPremultipliedGreys();
    const int count = static_cast<int>(below.size() / 4);
    for (size_t at = 0; at < sources.size(); at += 4 * size_t{499}) {
        std::vector<uint8_t> src(below.size());
        for (size_t i = 0; i < src.size(); ++i)
            src[i] = sources[at + i % 4];
        for (int mode = 0; mode < kLayerBlendModeCount; ++mode) {
            std::vector<uint8_t> result = below;
            k.blendMode[mode](result.data(), src.data(), static_cast<Weight>(at % 3 == 0 ? 65535 : 7 * at), count);
            ASSERT_TRUE(ColorStaysWithinAlpha(result)) << "mode " << mode << ", source " << at / 4;
        }
    }
}

TEST_P(BlendModeKernels, OpaqueStaysOpaqueAndNothingPaintsNothing)
{
    const std::vector<uint8_t> src = AllPremultipliedGreys();
    const int count = static_cast<int>(src.size() / 4);
    std::vector<uint8_t> opaque = RandomBytes(src.size(), 51);
    for (size_t i = 3; i < opaque.size(); i += 4)
        opaque[i] = 255;
    const std::vector<uint8_t> any = RandomPixels(src.size() / 4, 52);
    const std::vector<uint8_t> nothing(src.size(), 0);
    for (int mode = 0; mode < kLayerBlendModeCount; ++mode) {
        for (const Weight weight : std::initializer_list<Weight>{0, 1, 777, 40000, 65535}) {
            std::vector<uint8_t> result = opaque;
            k.blendMode[mode](result.data(), src.data(), weight, count);
            for (size_t i = 3; i < result.size(); i += 4)
                ASSERT_EQ(result[i], 255) << "mode " << mode << ", weight " << weight;
            result = any;
            k.blendMode[mode](result.data(), nothing.data(), weight, count);
            k.blendMode[mode](result.data(), src.data(), 0, count);
            EXPECT_EQ(result, any) << "mode " << mode << ", weight " << weight;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, BlendModeKernels, testing::ValuesIn(AllKernelTables()), KernelTableName);

}  // namespace
