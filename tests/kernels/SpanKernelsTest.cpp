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
const Weight kWeights[] = {0, 1, 256, 20000, 32768, 51234, 65534, 65535};

/// What a formula sees of one component, in levels; factors 0 to 1.
struct Sample {
    double s, sa, d, da, m, w;
    bool isAlpha;
};

/// A kernel on spans of pixels of so many channels, and what it makes of a component; no formula: others test that.
struct SpanCase {
    std::string name;
    int channels;
    std::function<void(const KernelTable&, uint8_t* dst, const uint8_t* src, const uint8_t* coverage, Weight,
                       int count)>
        call;
    std::function<double(const Sample&)> formula;
};

/// A kernel on bytes and fractions, seen as one span: the fractions begin as `src` and end within dst.
template <class Call>
void WithFractions(uint8_t* dst, const uint8_t* src, int count, Call&& call)
{
    std::vector<uint8_t> fractions(src, src + 4 * count);
    call(fractions.data());
    for (size_t i = 0; i < fractions.size(); ++i)
        dst[i] ^= fractions[i];
}

double FactorValue(int factor, const Sample& p)
{
    const double sa = p.w * p.sa / 255;
    const double values[kBlendFactorCount] = {0, 1, p.d / 255, 1 - p.d / 255, p.da / 255, 1 - p.da / 255, sa, 1 - sa};
    return values[factor];
}

std::vector<SpanCase> AllSpanCases()
{
    using B = uint8_t*;
    using S = const uint8_t*;
    using T = const KernelTable&;
    using P = const Sample&;
    const auto over = [](P p) { return p.w * p.s + p.d * (1 - p.w * p.sa / 255); };
    const auto erased = [](P p) { return p.d * (1 - p.w * p.sa / 255); };
    const auto copied = [](P p) { return p.d + p.m * p.w * (p.s - p.d); };
    std::vector<SpanCase> cases = {
        {"paintOver", 4, [](T k, B d, S s, S, Weight, int n) { k.paintOver(d, s, n); },
         [](P p) { return p.s + p.d * (1 - p.sa / 255); }},
        {"paintOverWeighted", 4, [](T k, B d, S s, S, Weight w, int n) { k.paintOverWeighted(d, s, w, n); }, over},
        {"paintOverCoverage", 4, [](T k, B d, S s, S m, Weight w, int n) { k.paintOverCoverage(d, s, m, w, n); },
         [](P p) { return p.m * p.w * p.s + p.d * (1 - p.m * p.w * p.sa / 255); }},
        {"paintOverWeighted1", 1, [](T k, B d, S s, S, Weight w, int n) { k.paintOverWeighted1(d, s, w, n); }, over},
        {"copyCoverage", 4, [](T k, B d, S s, S m, Weight w, int n) { k.copyCoverage(d, s, m, w, n); }, copied},
        {"copyCoverage1", 1, [](T k, B d, S s, S m, Weight w, int n) { k.copyCoverage1(d, s, m, w, n); }, copied},
        {"eraseWeighted", 4, [](T k, B d, S s, S, Weight w, int n) { k.eraseWeighted(d, s, w, n); }, erased},
        {"eraseWeighted1", 1, [](T k, B d, S s, S, Weight w, int n) { k.eraseWeighted1(d, s, w, n); }, erased},
        {"eraseCoverage", 4, [](T k, B d, S, S m, Weight w, int n) { k.eraseCoverage(d, m, w, n); },
         [](P p) { return p.d * (1 - p.w * p.m); }},
        {"keepCoverage", 4, [](T k, B d, S, S m, Weight w, int n) { k.keepCoverage(d, m, w, n); },
         [](P p) { return p.d * p.w * p.m; }},
        {"scalePixels", 4, [](T k, B d, S s, S, Weight w, int n) { k.scalePixels(d, s, 50000, w, n); },
         [](P p) { return p.s * p.w * (p.isAlpha ? 1 : 50000 / 65535.0); }},
        {"invert", 1, [](T k, B d, S, S, Weight, int n) { k.invert(d, n); }, [](P p) { return 255 - p.d; }},
        {"invertColor", 4, [](T k, B d, S, S, Weight, int n) { k.invertColor(d, n); },
         [](P p) { return p.isAlpha ? p.d : p.da - p.d; }},
        {"maximum", 1, [](T k, B d, S s, S, Weight, int n) { k.maximum(d, s, n); },
         [](P p) { return std::max(p.s, p.d); }},
        {"paintFineWeighted",
         4,
         [](T k, B d, S s, S, Weight w, int n) {
             WithFractions(d, s, n, [&](B fractions) { k.paintFineWeighted(d, fractions, s, w, n); });
         },
         {}},
    };
    for (int sources = 1; sources <= kernels::kMostSourcesComposedFine; ++sources)
        for (const bool isTopFine : {false, true}) {
            const auto call = [=](T k, B d, S s, S, Weight, int n) {
                const uint8_t* all[kernels::kMostSourcesComposedFine] = {d, s, s, s, s, s, s, s};
                const uint8_t* top = isTopFine && sources > 1 ? s : nullptr;
                WithFractions(d, s, n, [&](B own) { k.composeFine(d, own, all, own, top, sources, n); });
            };
            cases.push_back({"composeFine " + std::to_string(sources) + (isTopFine ? " fine" : ""), 4, call, {}});
        }
    for (int pair = 0; pair < kBlendFactorCount * kBlendFactorCount; ++pair)
        for (const int channels : {1, 4}) {
            const int fs = pair % kBlendFactorCount, fd = pair / kBlendFactorCount;
            const auto call = [=](T k, B d, S s, S, Weight w, int n) { k.blendFactors(d, s, w, channels, fs, fd, n); };
            const auto formula = [=](P p) { return FactorValue(fs, p) * p.w * p.s + FactorValue(fd, p) * p.d; };
            cases.push_back({"blendFactors " + std::to_string(pair), channels, call, formula});
        }
    for (int mode = 0; mode < kLayerBlendModeCount; ++mode) {
        const auto call = [=](T k, B d, S s, S, Weight w, int n) { k.blendMode[mode](d, s, w, n); };
        cases.push_back({"blendMode " + std::to_string(mode), 4, call, {}});
    }
    return cases;
}

class SpanKernels : public EveryKernelTable {
protected:
    const KernelTable& baseline = *AllKernelTables().front();
};

TEST_P(SpanKernels, AgreeWithTheirFormulas)
{
    // Every alpha and value of the source, with random pixels below.
    const std::vector<uint8_t> greys = AllPremultipliedGreys(), below = RandomPixels(greys.size() / 4, 2);
    const std::vector<uint8_t> coverage = RandomBytes(greys.size(), 3);
    for (const SpanCase& c : AllSpanCases())
        for (const Weight weight : kWeights) {
            const auto channels = static_cast<size_t>(c.channels);
            const bool isOneOfMany = c.name.starts_with("blendFactors");
            if (!c.formula || (isOneOfMany && weight % 5 != 0))
                continue;
            const size_t size = isOneOfMany ? 20000 : greys.size();
            const std::vector<uint8_t> src = isOneOfMany ? RandomPixels(size / 4, 21) : greys;
            const std::vector<uint8_t> dst(below.begin(), below.begin() + static_cast<ptrdiff_t>(size));
            std::vector<uint8_t> result = dst;
            c.call(k, result.data(), src.data(), coverage.data(), weight, static_cast<int>(size / channels));
            double worst = 0;
            for (size_t i = 0; i < size; ++i) {
                const size_t alpha = channels == 4 ? i | 3 : i;
                const Sample sample{double(src[i]),
                                    double(src[alpha]),
                                    double(dst[i]),
                                    double(dst[alpha]),
                                    coverage[i / channels] / 255.0,
                                    weight / 65535.0,
                                    i == alpha};
                worst = std::max(worst, std::abs(std::clamp(c.formula(sample), 0.0, 255.0) - result[i]));
            }
            EXPECT_LE(worst, kTolerance) << c.name << ", weight " << weight;
            EXPECT_TRUE(channels == 1 || isOneOfMany || ColorStaysWithinAlpha(result)) << c.name << weight;
        }
}

TEST_P(SpanKernels, GiveTheBaselinesBytesForEveryAlphaAndValue)
{
    const std::vector<uint8_t> src = AllPremultipliedGreys();
    const size_t count = src.size() / 4;
    const std::vector<uint8_t> below = RandomPixels(count, 61);
    const std::vector<uint8_t> coverage = RandomBytes(count, 62);
    for (const SpanCase& c : AllSpanCases()) {
        for (const Weight weight : {Weight{0}, Weight{1}, Weight{30000}, kFullWeight}) {
            const int n = static_cast<int>(src.size()) / c.channels;
            const std::vector<uint8_t> covered = c.channels == 4 ? coverage : RandomBytes(src.size(), 63);
            std::vector<uint8_t> expected = below, result = below;
            c.call(baseline, expected.data(), src.data(), covered.data(), weight, n);
            c.call(k, result.data(), src.data(), covered.data(), weight, n);
            ASSERT_EQ(expected, result) << c.name << ", weight " << weight;
        }
    }
}

TEST_P(SpanKernels, SpansOfEveryLengthGiveTheBaselinesBytesAndNoMore)
{
    RandomBits random(71);
    std::vector<int> counts = {2048, 2049, 2063, 8200};  // long enough to be prefetched
    for (int count = 0; count <= 2 * 64 + 3; ++count)
        counts.push_back(count);
    for (const SpanCase& c : AllSpanCases()) {
        for (const int count : counts) {
            const auto bytes = static_cast<size_t>(count * c.channels);
            const auto weight = static_cast<Weight>(random());
            const std::vector<uint8_t> src = RandomPixels(bytes / 4 + 1, random());
            const std::vector<uint8_t> coverage = RandomBytes(static_cast<size_t>(count), random());
            std::vector<uint8_t> below = RandomPixels(bytes / 4 + 1, random());
            below.resize(bytes);
            GuardedBytes expected(below), result(below);
            c.call(baseline, expected.data(), src.data(), coverage.data(), weight, count);
            c.call(k, result.data(), src.data(), coverage.data(), weight, count);
            ASSERT_EQ(expected.Bytes(), result.Bytes()) << c.name << ", count " << count << ", weight " << weight;
            ASSERT_TRUE(result.GuardsAreWhole()) << c.name << ", count " << count;
        }
    }
}

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

TEST_P(SpanKernels, FoldsJoinTheBitsOfAllWords)
{
    uint32_t allBits = 0, anyBits = 0;
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
