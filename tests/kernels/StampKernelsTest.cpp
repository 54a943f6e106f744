#include "tests/support/KernelTables.h"

#include <cmath>
#include <initializer_list>

using kernels::StampBlock;
using kernels::StampColor;
using kernels::Weight;

namespace {

constexpr int kSide = 64;
constexpr double kTolerance = 0.51;  // of a level: one rounding, and what the products lose

/// One page of pixels and a coverage of one row with the padding that kernels may read.
struct Canvas {
    int channels;
    alignas(64) uint8_t pixels[4 * kSide * kSide] = {};
    alignas(64) uint8_t lowBits[4 * kSide * kSide];
    uint8_t coverage[kSide + 2 * 64] = {};

    explicit Canvas(int channelCount) : channels(channelCount) { std::memset(lowBits, 128, sizeof lowBits); }

    uint8_t* CoverageOf(int x) { return coverage + 64 + x; }
    uint8_t* PixelOf(int x, int y) { return pixels + channels * (kSide * y + x); }

    /// The stamp's one row of coverage for all `rows` rows.
    StampBlock Block(int rows, int x0 = 0, int x1 = kSide)
    {
        return {pixels, lowBits, ptrdiff_t{kSide} * channels, CoverageOf(0), 0, x0, x1, rows};
    }
};

StampColor ColorOf(double r, double g, double b, double a, double opacity)
{
    const auto component = [=](double value) { return static_cast<uint16_t>(value * opacity * 256 + 0.5); };
    const auto goal = [=](double value) { return static_cast<uint16_t>(a > 0 ? value / a * 65280 + 0.5 : 0); };
    return {{component(r), component(g), component(b), component(a)},
            kernels::WeightFrom(a / 255 * opacity),
            {goal(r), goal(g), goal(b), goal(a)}};
}

const StampColor kColors[] = {
    ColorOf(255, 255, 255, 255, 1),      ColorOf(0, 0, 0, 255, 1),
    ColorOf(255, 128, 3, 255, 1),        ColorOf(255, 128, 3, 255, 0.5),
    ColorOf(200, 100, 50, 200, 1),       ColorOf(77, 1, 0, 120, 0.3),
    ColorOf(255, 90, 200, 255, 0.01),    ColorOf(0, 0, 0, 0, 1),
    {{0, 0, 0, 0}, 65535, {0, 0, 0, 0}}, {{0, 0, 0, 0}, 20000, {0, 0, 0, 0}},
    {{0, 0, 0, 0}, 65534, {0, 0, 0, 0}}, {{0, 0, 0, 0}, 300, {0, 0, 0, 0}},
};

using Stamp = void (*)(const StampBlock&, const StampColor&);

/// Sees every destination byte under every coverage byte: `check(d, m, channel, result)`.
template <typename Check>
void ForAllBytesAndCoverages(Stamp stamp, int channels, const StampColor& color, Check check)
{
    for (int m0 = 0; m0 < 256; m0 += kSide) {
        for (int d0 = 0; d0 < 256; d0 += kSide) {
            Canvas canvas(channels);
            for (int x = 0; x < kSide; ++x)
                *canvas.CoverageOf(x) = static_cast<uint8_t>(m0 + x);
            for (int y = 0; y < kSide; ++y)
                std::memset(canvas.PixelOf(0, y), d0 + y, static_cast<size_t>(channels) * kSide);
            stamp(canvas.Block(kSide), color);
            for (int y = 0; y < kSide; ++y)
                for (int x = 0; x < kSide; ++x)
                    for (int c = 0; c < channels; ++c)
                        check(d0 + y, m0 + x, channels == 1 ? 3 : c, canvas.PixelOf(x, y)[c]);
        }
    }
}

class StampKernels : public EveryKernelTable {};

TEST_P(StampKernels, EveryByteUnderEveryCoverageAgreesWithTheFormula)
{
    for (const int channels : {4, 1}) {
        for (const StampColor& color : kColors) {
            double worst = 0;
            int wrongEnds = 0;
            const auto check = [&](int d, int m, int c, int result) {
                const double covered = m / 255.0;
                const double expected =
                    color.component[c] / 256.0 * covered + d * (1 - color.alpha / 65535.0 * covered);
                worst = std::max(worst, std::abs(expected - result));
                const bool storesColor = m == 255 && color.alpha == 65535 && color.component[c] % 256 == 0;
                wrongEnds += color.component[3] == 0 && result > d;  // without components it never raises
                wrongEnds += (m == 0 && result != d) || (storesColor && result != color.component[c] / 256);
            };
            ForAllBytesAndCoverages(channels == 4 ? k.stampColor : k.stampCoverage, channels, color, check);
            EXPECT_LE(worst, kTolerance) << "alpha " << color.alpha;
            EXPECT_EQ(wrongEnds, 0) << "alpha " << color.alpha;
        }
    }
}

TEST_P(StampKernels, TheFirstSixteenBitStampIsWithinALevelOfTheEightBitOne)
{
    for (const int channels : {4, 1}) {
        for (const StampColor& color : kColors) {
            Canvas eight(channels);
            const auto bytes = RandomPixels(sizeof eight.pixels / 4, 7);
            std::memcpy(eight.pixels, bytes.data(), bytes.size());
            std::memcpy(eight.CoverageOf(0), RandomBytes(kSide, 8).data(), kSide);
            Canvas sixteen = eight;
            (channels == 4 ? k.stampColor : k.stampCoverage)(eight.Block(kSide), color);
            (channels == 4 ? k.stampColor16 : k.stampCoverage16)(sixteen.Block(kSide), color);
            for (size_t i = 0; i < sizeof eight.pixels; ++i)
                ASSERT_NEAR(eight.pixels[i], sixteen.pixels[i], 1) << i;
        }
    }
}

TEST_P(StampKernels, FaintStampsApproachTheColourFromBelowWithoutBanding)
{
    const double target[4] = {255, 128, 40, 255};
    const double opacity = 0.01;
    const StampColor color = ColorOf(target[0], target[1], target[2], target[3], opacity);
    Canvas canvas(4);
    for (int x = 0; x < kSide; ++x)
        *canvas.CoverageOf(x) = static_cast<uint8_t>(66 + 3 * x);
    std::vector<uint8_t> before(4 * kSide);
    for (int n = 1; n <= 4000; ++n) {
        k.stampColor16(canvas.Block(1), color);
        for (int x = 0; x < kSide; ++x) {
            const double perStamp = opacity * *canvas.CoverageOf(x) / 255;
            for (int c = 0; c < 4; ++c) {
                const int level = canvas.PixelOf(x, 0)[c];
                const double exact = target[c] * (1 - std::pow(1 - perStamp, n));
                ASSERT_GE(level, before[static_cast<size_t>(4 * x + c)]) << "stamp " << n << ", x " << x;
                ASSERT_LE(level, target[c]) << "stamp " << n << ", x " << x;
                // Each stamp errs by up to 1/256 of a level, and forgets its share of the errors before.
                ASSERT_LE(level, exact + 0.5 + 1 / (256 * perStamp)) << "stamp " << n << ", x " << x;
                ASSERT_GE(level, exact - 0.5 - 1 / (256 * perStamp)) << "stamp " << n << ", x " << x;
                ASSERT_LE(level, canvas.PixelOf(x, 0)[3]);
                before[static_cast<size_t>(4 * x + c)] = static_cast<uint8_t>(level);
            }
        }
    }
}

TEST_P(StampKernels, ThousandsOfAnyStampsKeepColourWithinAlpha)
{
    Canvas canvas(4);
    RandomBits random(11);
    for (int n = 0; n < 4000; ++n) {
        const double alpha = random.Below(256);
        const auto part = [&] { return random.Below(5) == 0 ? alpha : alpha * random.Below(256) / 255; };
        const double opacity = std::pow(random.Below(1000) / 1000.0, 4);
        const StampColor color = ColorOf(part(), part(), part(), alpha, opacity);
        for (int x = 0; x < kSide; ++x)
            *canvas.CoverageOf(x) = static_cast<uint8_t>(random.Below(3) == 0 ? 255 : random());
        const StampBlock block = canvas.Block(4);
        if (n % 3 == 0)
            k.stampColor(block, color);
        else if (n % 3 == 1)
            k.stampColor16(block, color);
        else
            k.stampWet(block, color, static_cast<Weight>(random()));
        ASSERT_TRUE(ColorStaysWithinAlpha({canvas.pixels, canvas.pixels + sizeof canvas.pixels})) << "stamp " << n;
    }
}

TEST_P(StampKernels, WetStampMixesReplacingAndPaintingOver)
{
    const StampColor color = ColorOf(200, 100, 50, 220, 0.6);
    for (const Weight wetness : std::initializer_list<Weight>{0, 1, 20000, 65535}) {
        for (const int channels : {4, 1}) {
            double worst = 0;
            int lowered = 0;
            const auto check = [&](int d, int m, int c, int result) {
                const double wet = wetness / 65535.0, covered = m / 255.0;
                const double added = color.component[c] / 256.0 * covered;
                const double addedAlpha = color.component[3] / 256.0 * covered;
                const double over = added + d * (1 - color.alpha / 65535.0 * covered);
                const double kept = addedAlpha > d ? added : d;
                // Where both cover the same within the products' error, either may be kept.
                if (c == 3 || std::abs(addedAlpha - d) > 0.02)
                    worst = std::max(worst, std::abs(kept + wet * (over - kept) - result));
                lowered += c == 3 && result < d;
            };
            const auto stamp = [&](const StampBlock& block, const StampColor& with) {
                (channels == 4 ? k.stampWet : k.stampWetCoverage)(block, with, wetness);
            };
            for (int m0 = 0; m0 < 256; m0 += kSide) {
                for (int d = 0; d < 256; ++d) {
                    Canvas canvas(channels);
                    for (int x = 0; x < kSide; ++x)
                        *canvas.CoverageOf(x) = static_cast<uint8_t>(m0 + x);
                    std::memset(canvas.pixels, d, sizeof canvas.pixels);
                    stamp(canvas.Block(1), color);
                    const auto once = canvas.pixels[9];
                    for (int i = 0; i < kSide * channels; ++i)
                        check(d, m0 + i / channels, channels == 1 ? 3 : i % 4, canvas.pixels[i]);
                    stamp(canvas.Block(1), color);  // a dry stroke that crosses itself does not darken
                    EXPECT_TRUE(wetness != 0 || canvas.pixels[9] == once) << d;
                }
            }
            EXPECT_LE(worst, kTolerance) << "wetness " << wetness << ", channels " << channels;
            EXPECT_EQ(lowered, 0) << "wetness " << wetness << ", channels " << channels;
        }
    }
}

TEST_P(StampKernels, OnlyRowsAndColumnsOfTheBlockChange)
{
    RandomBits random(5);
    for (int round = 0; round < 300; ++round) {
        const int channels = round % 2 == 0 ? 4 : 1;
        const int x0 = random.Below(64);
        const int x1 = x0 + 1 + random.Below(64 - x0);
        const int y0 = random.Below(64);
        const int rows = 1 + random.Below(64 - y0);
        Canvas canvas(channels);
        for (int x = x0; x < x1; ++x)
            *canvas.CoverageOf(x) = 255;
        StampBlock block = canvas.Block(rows, x0, x1);
        block.pixels = canvas.PixelOf(0, y0);
        block.lowBits = canvas.lowBits + (block.pixels - canvas.pixels);
        const bool fine = round % 3 == 0;
        const StampColor white = ColorOf(255, 255, 255, 255, 1);
        (channels == 4 ? (fine ? k.stampColor16 : k.stampColor) : (fine ? k.stampCoverage16 : k.stampCoverage))(block,
                                                                                                                white);
        for (int y = 0; y < kSide; ++y) {
            for (int x = 0; x < kSide; ++x) {
                const bool inside = x >= x0 && x < x1 && y >= y0 && y < y0 + rows;
                ASSERT_EQ(*canvas.PixelOf(x, y), inside ? 255 : 0) << x << ", " << y << " in round " << round;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, StampKernels, testing::ValuesIn(AllKernelTables()), KernelTableName);

}  // namespace
