#include "tests/support/KernelTables.h"

#include "platform/imaging/kernels/BlendFactor.h"

#include <cmath>
#include <functional>

using kernels::KernelTable;
using kernels::kFullWeight;
using kernels::MulDiv255;
using kernels::Weight;

namespace {

constexpr double kTolerance = 0.51;  // of a level: one rounding, and what the products lose

/// What a formula sees of one component, in levels; factors 0 to 1.
struct Sample {
    double s, sa, d, da, m, w;
    bool isAlpha;
};
using Formula = std::function<double(const Sample&)>;
using Call = std::function<void(uint8_t* dst, const uint8_t* src, const uint8_t* coverage, Weight weight, int count)>;

const Weight kWeights[] = {0, 1, 256, 20000, 32768, 51234, 65534, 65535};

/// Holds `call` against `formula` over every alpha and value of the source, with random pixels below.
void ExpectFormula(const char* name, int channels, const Call& call, const Formula& formula)
{
    const auto c = static_cast<size_t>(channels);
    const std::vector<uint8_t> src = channels == 4 ? AllPremultipliedGreys() : RandomBytes(65536, 1);
    const size_t count = src.size() / c;
    const std::vector<uint8_t> dst = channels == 4 ? RandomPixels(count, 2) : RandomBytes(count, 2);
    const std::vector<uint8_t> coverage = RandomBytes(count, 3);
    for (const Weight weight : kWeights) {
        std::vector<uint8_t> result = dst;
        call(result.data(), src.data(), coverage.data(), weight, static_cast<int>(count));
        double worst = 0;
        for (size_t i = 0; i < dst.size(); ++i) {
            const size_t alpha = channels == 4 ? i | 3 : i;
            const Sample sample{double(src[i]),          double(src[alpha]), double(dst[i]), double(dst[alpha]),
                                coverage[i / c] / 255.0, weight / 65535.0,   i == alpha};
            worst = std::max(worst, std::abs(std::clamp(formula(sample), 0.0, 255.0) - result[i]));
        }
        EXPECT_LE(worst, kTolerance) << name << ", weight " << weight;
        if (channels == 4) {
            EXPECT_TRUE(ColorStaysWithinAlpha(result)) << name << ", weight " << weight;
        }
    }
}

class SpanKernels : public EveryKernelTable {};

TEST_P(SpanKernels, PaintOverRoundsExactly)
{
    const std::vector<uint8_t> src = AllPremultipliedGreys();
    for (int d = 0; d < 256; ++d) {
        std::vector<uint8_t> dst(src.size(), static_cast<uint8_t>(d));
        k.paintOver(dst.data(), src.data(), static_cast<int>(src.size() / 4));
        for (size_t i = 0; i < src.size(); ++i)
            ASSERT_EQ(dst[i], src[i] + (2 * d * (255 - src[i | 3]) + 255) / 510) << +src[i] << " over " << d;
    }
}

TEST_P(SpanKernels, ComposingIsPaintingOneAfterTheOther)
{
    std::vector<std::vector<uint8_t>> pictures;
    std::vector<const uint8_t*> sources;
    for (unsigned i = 0; i < kernels::kMostSourcesComposed; ++i)
        sources.push_back(pictures.emplace_back(RandomPixels(1000, 80 + i)).data());
    for (int count = 1; count <= kernels::kMostSourcesComposed; ++count)
        for (const int pixels : {1, 17, 63, 1000}) {
            std::vector<uint8_t> expected = pictures.front();
            for (int i = 1; i < count; ++i)
                k.paintOver(expected.data(), sources[static_cast<size_t>(i)], pixels);
            std::vector<uint8_t> result = pictures.front();
            std::fill_n(result.begin(), 4 * pixels, uint8_t{9});
            k.composeOver(result.data(), sources.data(), count, pixels);
            ASSERT_EQ(result, expected) << count << " sources, " << pixels << " pixels";
        }
}

TEST_P(SpanKernels, PaintingAndCopyingAgreeWithTheFormulas)
{
    ExpectFormula(
        "paintOverWeighted", 4, [&](auto d, auto s, auto, Weight w, int n) { k.paintOverWeighted(d, s, w, n); },
        [](const Sample& p) { return p.w * p.s + p.d * (1 - p.w * p.sa / 255); });
    ExpectFormula(
        "paintOverCoverage", 4, [&](auto d, auto s, auto m, Weight w, int n) { k.paintOverCoverage(d, s, m, w, n); },
        [](const Sample& p) { return p.m * p.w * p.s + p.d * (1 - p.m * p.w * p.sa / 255); });
    ExpectFormula(
        "paintOverWeighted1", 1, [&](auto d, auto s, auto, Weight w, int n) { k.paintOverWeighted1(d, s, w, n); },
        [](const Sample& p) { return p.w * p.s + p.d * (1 - p.w * p.s / 255); });
    const Formula copied = [](const Sample& p) { return p.d + p.m * p.w * (p.s - p.d); };
    ExpectFormula(
        "copyCoverage", 4, [&](auto d, auto s, auto m, Weight w, int n) { k.copyCoverage(d, s, m, w, n); }, copied);
    ExpectFormula(
        "copyCoverage1", 1, [&](auto d, auto s, auto m, Weight w, int n) { k.copyCoverage1(d, s, m, w, n); }, copied);
}

TEST_P(SpanKernels, ErasingAndScalingAgreeWithTheFormulas)
{
    ExpectFormula(
        "eraseWeighted", 4, [&](auto d, auto s, auto, Weight w, int n) { k.eraseWeighted(d, s, w, n); },
        [](const Sample& p) { return p.d * (1 - p.w * p.sa / 255); });
    ExpectFormula(
        "eraseWeighted1", 1, [&](auto d, auto s, auto, Weight w, int n) { k.eraseWeighted1(d, s, w, n); },
        [](const Sample& p) { return p.d * (1 - p.w * p.s / 255); });
    ExpectFormula(
        "eraseCoverage", 4, [&](auto d, auto, auto m, Weight w, int n) { k.eraseCoverage(d, m, w, n); },
        [](const Sample& p) { return p.d * (1 - p.w * p.m); });
    ExpectFormula(
        "keepCoverage", 4, [&](auto d, auto, auto m, Weight w, int n) { k.keepCoverage(d, m, w, n); },
        [](const Sample& p) { return p.d * p.w * p.m; });
    ExpectFormula(
        "scalePixels", 4, [&](auto d, auto s, auto, Weight w, int n) { k.scalePixels(d, s, 50000, w, n); },
        [](const Sample& p) { return p.s * p.w * (p.isAlpha ? 1 : 50000 / 65535.0); });
}

TEST_P(SpanKernels, WeightZeroChangesNothingAndFullWeightIsExact)
{
    const std::vector<uint8_t> src = AllPremultipliedGreys();
    const int count = static_cast<int>(src.size() / 4);
    const std::vector<uint8_t> dst = RandomPixels(src.size() / 4, 9);
    const std::vector<uint8_t> full(src.size() / 4, 255);
    const auto after = [&](auto call) {
        std::vector<uint8_t> result = dst;
        call(result.data());
        return result;
    };
    EXPECT_EQ(after([&](uint8_t* d) { k.paintOverWeighted(d, src.data(), 0, count); }), dst);
    EXPECT_EQ(after([&](uint8_t* d) { k.paintOverCoverage(d, src.data(), full.data(), 0, count); }), dst);
    EXPECT_EQ(after([&](uint8_t* d) { k.copyCoverage(d, src.data(), full.data(), 0, count); }), dst);
    EXPECT_EQ(after([&](uint8_t* d) { k.eraseWeighted(d, src.data(), 0, count); }), dst);
    EXPECT_EQ(after([&](uint8_t* d) { k.eraseCoverage(d, full.data(), 0, count); }), dst);
    EXPECT_EQ(after([&](uint8_t* d) { k.keepCoverage(d, full.data(), kFullWeight, count); }), dst);
    EXPECT_EQ(after([&](uint8_t* d) { k.scalePixels(d, dst.data(), kFullWeight, kFullWeight, count); }), dst);
    EXPECT_EQ(after([&](uint8_t* d) { k.copyCoverage(d, src.data(), full.data(), kFullWeight, count); }), src);
    EXPECT_EQ(after([&](uint8_t* d) { k.eraseCoverage(d, full.data(), kFullWeight, count); }),
              std::vector<uint8_t>(dst.size(), 0));
    EXPECT_EQ(after([&](uint8_t* d) { k.paintOverWeighted(d, src.data(), kFullWeight, count); }),
              after([&](uint8_t* d) { k.paintOver(d, src.data(), count); }));
    for (const Weight weight : kWeights) {
        EXPECT_EQ(after([&](uint8_t* d) { k.copyCoverage(d, dst.data(), full.data(), weight, count); }), dst);
    }
}

TEST_P(SpanKernels, OverNeverLowersAlphaAndErasingNeverRaises)
{
    const std::vector<uint8_t> src = AllPremultipliedGreys();
    const int count = static_cast<int>(src.size() / 4);
    for (const Weight weight : kWeights) {
        for (int d = 0; d < 256; ++d) {
            const std::vector<uint8_t> dst(src.size(), static_cast<uint8_t>(d));
            std::vector<uint8_t> over = dst;
            std::vector<uint8_t> erased = dst;
            k.paintOverWeighted(over.data(), src.data(), weight, count);
            k.eraseWeighted(erased.data(), src.data(), weight, count);
            for (size_t i = 3; i < src.size(); i += 4) {
                ASSERT_GE(over[i], d) << "weight " << weight << ", alpha " << +src[i];
                ASSERT_LE(erased[i], d) << "weight " << weight << ", alpha " << +src[i];
            }
        }
    }
}

double FactorValue(int factor, const Sample& p)
{
    const double sa = p.w * p.sa / 255;
    const double values[kBlendFactorCount] = {0, 1, p.d / 255, 1 - p.d / 255, p.da / 255, 1 - p.da / 255, sa, 1 - sa};
    return values[factor];
}

TEST_P(SpanKernels, EveryPairOfFactorsAgreesWithTheFormula)
{
    const std::vector<uint8_t> src = RandomPixels(5000, 21);
    const std::vector<uint8_t> dst = RandomPixels(5000, 22);
    for (int pair = 0; pair < kBlendFactorCount * kBlendFactorCount * 2; ++pair) {
        const int fs = pair / 2 % kBlendFactorCount, fd = pair / 2 / kBlendFactorCount;
        const int channels = pair % 2 == 0 ? 4 : 1;
        for (const Weight weight : {Weight{0}, Weight{30000}, kFullWeight}) {
            std::vector<uint8_t> result = dst;
            k.blendFactors(result.data(), src.data(), weight, channels, fs, fd,
                           static_cast<int>(dst.size()) / channels);
            double worst = 0;
            for (size_t i = 0; i < dst.size(); ++i) {
                const size_t a = channels == 4 ? i | 3 : i;
                const Sample p{double(src[i]),   double(src[a]), double(dst[i]), double(dst[a]), 1,
                               weight / 65535.0, i == a};
                const double exact = FactorValue(fs, p) * p.w * p.s + FactorValue(fd, p) * p.d;
                worst = std::max(worst, std::abs(std::clamp(exact, 0.0, 255.0) - result[i]));
            }
            EXPECT_LE(worst, kTolerance) << fs << ", " << fd << ", channels " << channels << ", weight " << weight;
        }
    }
}

TEST_P(SpanKernels, ByteOperationsDoAsTheySay)
{
    const std::vector<uint8_t> src = RandomBytes(4096, 31);
    const std::vector<uint8_t> dst = RandomPixels(1024, 32);
    std::vector<uint8_t> inverted = dst, inColor = dst, largest = dst;
    k.invert(inverted.data(), 4096);
    k.invertColor(inColor.data(), 1024);
    k.maximum(largest.data(), src.data(), 4096);
    uint32_t allBits = ~0U, anyBits = 0;
    for (size_t i = 0; i < dst.size(); ++i) {
        ASSERT_EQ(inverted[i], 255 - dst[i]);
        ASSERT_EQ(inColor[i], i % 4 == 3 ? dst[i] : dst[i | 3] - dst[i]);
        ASSERT_EQ(largest[i], std::max(dst[i], src[i]));
    }
    for (const int bytes : {0, 64, 128, 4096}) {
        // One word stands out, at either end or within.
        for (const int odd : {0, bytes / 2, bytes - 4}) {
            std::vector<uint8_t> words(static_cast<size_t>(bytes), 0xF0);
            if (bytes > 0)
                words[static_cast<size_t>(odd)] = 0x3C;
            const uint32_t one = 0xF0F0F0F0, other = 0xF0F0F03C;
            k.foldWords(words.data(), bytes, &allBits, &anyBits);
            EXPECT_EQ(allBits, bytes == 0 ? ~0U : (one & other)) << bytes << ", " << odd;
            EXPECT_EQ(anyBits, bytes == 0 ? 0U : (one | other)) << bytes << ", " << odd;
        }
    }
}

TEST(Kernels, MulDiv255IsExact)
{
    for (uint32_t a = 0; a <= 255; ++a)
        for (uint32_t b = 0; b <= 255; ++b)
            ASSERT_EQ(MulDiv255(a, b), (2 * a * b + 255) / 510) << a << " * " << b;
}

INSTANTIATE_TEST_SUITE_P(All, SpanKernels, testing::ValuesIn(AllKernelTables()), KernelTableName);

}  // namespace
