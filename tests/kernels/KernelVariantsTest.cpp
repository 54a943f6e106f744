#include "tests/support/KernelTables.h"

#include <cstdlib>

using kernels::KernelTable;
using kernels::Weight;

namespace {

class KernelVariants : public EveryKernelTable {
protected:
    const KernelTable& baseline = *AllKernelTables().front();
};

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
