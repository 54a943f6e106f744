#include "tests/support/KernelTables.h"

#include "platform/imaging/kernels/BlendFactor.h"

#include <cstdlib>
#include <functional>
#include <initializer_list>

using kernels::KernelTable;
using kernels::Weight;

namespace {

/// A kernel on spans: `bytes` says how long dst is for `count` pixels.
struct SpanCase {
    std::string name;
    int channels;
    std::function<void(const KernelTable&, uint8_t* dst, const uint8_t* src, const uint8_t* coverage, Weight,
                       int count)>
        call;
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

std::vector<SpanCase> AllSpanCases()
{
    using B = uint8_t*;
    using S = const uint8_t*;
    using T = const KernelTable&;
    std::vector<SpanCase> cases = {
        {"paintOver", 4, [](T k, B d, S s, S, Weight, int n) { k.paintOver(d, s, n); }},
        {"paintOverWeighted", 4, [](T k, B d, S s, S, Weight w, int n) { k.paintOverWeighted(d, s, w, n); }},
        {"paintOverCoverage", 4, [](T k, B d, S s, S m, Weight w, int n) { k.paintOverCoverage(d, s, m, w, n); }},
        {"paintOverWeighted1", 1, [](T k, B d, S s, S, Weight w, int n) { k.paintOverWeighted1(d, s, w, n); }},
        {"copyCoverage", 4, [](T k, B d, S s, S m, Weight w, int n) { k.copyCoverage(d, s, m, w, n); }},
        {"copyCoverage1", 1, [](T k, B d, S s, S m, Weight w, int n) { k.copyCoverage1(d, s, m, w, n); }},
        {"eraseWeighted", 4, [](T k, B d, S s, S, Weight w, int n) { k.eraseWeighted(d, s, w, n); }},
        {"eraseWeighted1", 1, [](T k, B d, S s, S, Weight w, int n) { k.eraseWeighted1(d, s, w, n); }},
        {"eraseCoverage", 4, [](T k, B d, S, S m, Weight w, int n) { k.eraseCoverage(d, m, w, n); }},
        {"keepCoverage", 4, [](T k, B d, S, S m, Weight w, int n) { k.keepCoverage(d, m, w, n); }},
        {"scalePixels", 4, [](T k, B d, S s, S, Weight w, int n) { k.scalePixels(d, s, w, 50000, n); }},
        {"invert", 1, [](T k, B d, S, S, Weight, int n) { k.invert(d, n); }},
        {"invertColor", 4, [](T k, B d, S, S, Weight, int n) { k.invertColor(d, n); }},
        {"maximum", 1, [](T k, B d, S s, S, Weight, int n) { k.maximum(d, s, n); }},
        {"paintFineWeighted", 4,
         [](T k, B d, S s, S, Weight w, int n) {
             WithFractions(d, s, n, [&](B fractions) { k.paintFineWeighted(d, fractions, s, w, n); });
         }},
    };
    for (int sources = 1; sources <= kernels::kMostSourcesComposedFine; ++sources)
        for (const bool isTopFine : {false, true}) {
            const auto call = [=](T k, B d, S s, S, Weight, int n) {
                const uint8_t* all[kernels::kMostSourcesComposedFine] = {d, s, s, s, s, s, s, s};
                const uint8_t* top = isTopFine && sources > 1 ? s : nullptr;
                WithFractions(d, s, n, [&](B own) { k.composeFine(d, own, all, own, top, sources, n); });
            };
            cases.push_back({"composeFine " + std::to_string(sources) + (isTopFine ? " fine" : ""), 4, call});
        }
    for (int pair = 0; pair < kBlendFactorCount * kBlendFactorCount; ++pair) {
        for (const int channels : {1, 4}) {
            const auto call = [=](T k, B d, S s, S, Weight w, int n) {
                k.blendFactors(d, s, w, channels, pair % kBlendFactorCount, pair / kBlendFactorCount, n);
            };
            cases.push_back({"blendFactors " + std::to_string(pair), channels, call});
        }
    }
    for (int mode = 0; mode < kLayerBlendModeCount; ++mode) {
        const auto call = [=](T k, B d, S s, S, Weight w, int n) { k.blendMode[mode](d, s, w, n); };
        cases.push_back({"blendMode " + std::to_string(mode), 4, call});
    }
    return cases;
}

class KernelVariants : public EveryKernelTable {
protected:
    const KernelTable& baseline = *AllKernelTables().front();
};

TEST_P(KernelVariants, SpansGiveTheBaselinesBytesForEveryAlphaAndValue)
{
    const std::vector<uint8_t> src = AllPremultipliedGreys();
    const size_t count = src.size() / 4;
    const std::vector<uint8_t> below = RandomPixels(count, 61);
    const std::vector<uint8_t> coverage = RandomBytes(count, 62);
    for (const SpanCase& c : AllSpanCases()) {
        for (const Weight weight : std::initializer_list<Weight>{0, 1, 30000, 65535}) {
            const int n = static_cast<int>(src.size()) / c.channels;
            const std::vector<uint8_t> covered = c.channels == 4 ? coverage : RandomBytes(src.size(), 63);
            std::vector<uint8_t> expected = below, result = below;
            c.call(baseline, expected.data(), src.data(), covered.data(), weight, n);
            c.call(k, result.data(), src.data(), covered.data(), weight, n);
            ASSERT_EQ(expected, result) << c.name << ", weight " << weight;
        }
    }
}

TEST_P(KernelVariants, SpansOfEveryLengthGiveTheBaselinesBytesAndNoMore)
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

TEST_P(KernelVariants, StampsGiveTheBaselinesBytes)
{
    constexpr size_t kPageBytes = 64 * 64 * 4;
    RandomBits random(81);
    for (int round = 0; round < 400; ++round) {
        const int channels = round % 2 == 0 ? 4 : 1;
        const std::vector<uint8_t> page = RandomPixels(kPageBytes / 4, random());
        std::vector<uint8_t> low = RandomBytes(kPageBytes, random());
        for (size_t i = 0; i < kPageBytes; ++i)  // a value below 0 does not occur
            low[i] = page[i] == 0 ? std::max<uint8_t>(low[i], 128) : low[i];
        const int x0 = random.Below(64);
        const int x1 = x0 + 1 + random.Below(64 - x0);
        const int rows = 1 + random.Below(64);
        // Rows as a mask keeps them: 64 zeros on either side.
        std::vector<uint8_t> coverage(192 * 64, 0);
        for (int y = 0; y < rows; ++y) {
            const std::vector<uint8_t> row = RandomBytes(static_cast<size_t>(x1 - x0), random());
            std::copy(row.begin(), row.end(), coverage.begin() + 192 * y + 64 + x0);
        }
        const auto alpha = static_cast<uint16_t>(random());
        const auto part = [&] { return static_cast<uint16_t>(random() % (alpha * 65280ULL / 65535 + 1)); };
        const kernels::StampColor color{{part(), part(), part(), static_cast<uint16_t>(alpha * 65280ULL / 65535)},
                                        alpha,
                                        {65280, 4711, static_cast<uint16_t>(random() % 65281), 0}};
        const auto wetness = static_cast<Weight>(random());
        const auto stamped = [&](const KernelTable& table, int kind) {
            std::vector<uint8_t> bytes = page, lowBytes = low;
            const kernels::StampBlock block{
                bytes.data(), lowBytes.data(), ptrdiff_t{64} * channels, coverage.data() + 64, 192, x0, x1, rows};
            if (kind == 0)
                (channels == 4 ? table.stampColor : table.stampCoverage)(block, color);
            else if (kind == 1)
                (channels == 4 ? table.stampColor16 : table.stampCoverage16)(block, color);
            else
                (channels == 4 ? table.stampWet : table.stampWetCoverage)(block, color, wetness);
            bytes.insert(bytes.end(), lowBytes.begin(), lowBytes.end());
            return bytes;
        };
        for (int kind = 0; kind < 3; ++kind)
            ASSERT_EQ(stamped(baseline, kind), stamped(k, kind)) << "round " << round << ", kind " << kind;
    }
}

TEST_P(KernelVariants, FoldsGiveTheBaselinesWords)
{
    const std::vector<uint8_t> bytes = RandomBytes(1024, 91);
    for (int count = 0; count <= 1024; count += 64) {
        uint32_t expected[2], result[2];
        baseline.foldWords(bytes.data(), count, &expected[0], &expected[1]);
        k.foldWords(bytes.data(), count, &result[0], &result[1]);
        EXPECT_EQ(expected[0], result[0]);
        EXPECT_EQ(expected[1], result[1]);
    }
}

INSTANTIATE_TEST_SUITE_P(All, KernelVariants, testing::ValuesIn(AllKernelTables()), KernelTableName);

TEST(KernelDispatch, UseHoldsUntilNullRestoresTheChoice)
{
    const KernelTable* const chosen = &kernels::Get();
    for (const KernelTable* const* table = kernels::GetAll(); *table != nullptr; ++table) {
        kernels::Use(*table);
        EXPECT_EQ(&kernels::Get(), *table);
    }
    kernels::Use(nullptr);
    EXPECT_EQ(&kernels::Get(), chosen);
}

TEST(KernelDispatch, TheEnvironmentNamesAVariantAndAnUnknownNameIsIgnored)
{
    // The choice is made once a process: each name gets a new one.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto exitsWith = [](const std::string& wanted) { std::exit(kernels::Get().name == wanted ? 0 : 1); };
    const KernelTable* fastest = nullptr;
    for (const KernelTable* const* table = kernels::GetAll(); *table != nullptr; ++table) {
        fastest = *table;
        setenv("PAINTLAYER_KERNELS", fastest->name, 1);
        EXPECT_EXIT(exitsWith(fastest->name), testing::ExitedWithCode(0), "");
    }
    setenv("PAINTLAYER_KERNELS", "none of them", 1);
    EXPECT_EXIT(exitsWith(fastest->name), testing::ExitedWithCode(0), "");
    unsetenv("PAINTLAYER_KERNELS");
}

}  // namespace
