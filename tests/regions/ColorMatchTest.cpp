#include "platform/imaging/regions/ColorMatch.h"
#include "tests/support/KernelTables.h"

#include <cmath>
#include <limits>

namespace {

uint32_t PackedAt(const std::vector<uint8_t>& pixels, size_t i)
{
    uint32_t packed = 0;
    std::memcpy(&packed, pixels.data() + 4 * i, 4);
    return packed;
}

/// The largest difference of straight components or alphas, in parts of full scale.
double StraightDifference(uint32_t a, uint32_t b)
{
    const double alphaA = a >> 24, alphaB = b >> 24;
    double difference = std::abs(alphaA - alphaB) / 255;
    for (int shift = 0; shift < 24 && alphaA > 0 && alphaB > 0; shift += 8)
        difference = std::max(difference, std::abs((a >> shift & 0xFF) / alphaA - (b >> shift & 0xFF) / alphaB));
    return difference;
}

constexpr float kTolerances[] = {0, 1.0F / 255, 0.1F, 40.0F / 255, 0.5F, 254.0F / 255, 0.9999F, 1, 7};

TEST(ColorMatch, IsThatOfStraightColoursToOne65535thOfFullScale)
{
    std::vector<uint8_t> pixels = RandomPixels(3000, 11);
    const std::vector<uint8_t> greys = AllPremultipliedGreys();
    pixels.insert(pixels.end(), greys.begin(), greys.end());
    RandomBits random(12);
    for (int round = 0; round < 60; ++round) {
        const uint32_t seed = PackedAt(pixels, static_cast<size_t>(random.Below(static_cast<int>(pixels.size() / 4))));
        for (const float tolerance : kTolerances) {
            const ColorMatch match(ilPixel(kUnsignedByte, 4, seed), tolerance);
            for (size_t i = 0; i < pixels.size() / 4; ++i) {
                const uint32_t packed = PackedAt(pixels, i);
                const double difference = StraightDifference(seed, packed);
                const bool isClear = difference <= tolerance - 1.0 / 65535 || difference > tolerance + 2.0 / 65535;
                ASSERT_TRUE(!isClear || match.IsLike(packed) == (difference <= tolerance))
                    << std::hex << seed << " and " << packed << ", tolerance " << tolerance;
            }
        }
    }
}

TEST(ColorMatch, IsExactForWholeLevelsAndIgnoresTheColourOfTransparency)
{
    for (int seed = 0; seed <= 255; ++seed)
        for (int levels = 0; levels <= 255; ++levels) {
            const auto tolerance = static_cast<float>(levels) / 255;
            const auto grey = [](int v) { return 0xFF000000 | static_cast<uint32_t>(v * 0x010101); };
            const ColorMatch opaque(ilPixel(kUnsignedByte, 4, grey(seed)), tolerance);
            const ColorMatch coverage(ilPixel(kUnsignedByte, 1, static_cast<uint32_t>(seed)), tolerance);
            for (int value = 0; value <= 255; ++value) {
                const bool isLike = std::abs(value - seed) <= levels;
                ASSERT_EQ(opaque.IsLike(grey(value)), isLike) << seed << ", " << value << ", " << levels;
                ASSERT_EQ(coverage.IsLike(static_cast<uint32_t>(value)), isLike) << seed << ", " << value;
            }
        }
    const ColorMatch transparent(ilPixel(kUnsignedByte, 4, 0x00102030), 0);
    EXPECT_TRUE(transparent.IsLike(0x00FFFFFF));
    EXPECT_FALSE(transparent.IsLike(0x01000000));
    EXPECT_TRUE(ColorMatch(ilPixel(kUnsignedByte, 4, 0), 5.0F / 255).IsLike(0x05050505));
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    for (const float tolerance : {nan, -nan, -inf, -0.001F, -0.0F, inf})
        EXPECT_EQ(ColorMatch(ilPixel(), tolerance).IsRefused(), !(tolerance >= 0)) << tolerance;
}

class MatchKernels : public EveryKernelTable {};

TEST_P(MatchKernels, GiveTheBitsOfSinglePixels)
{
    std::vector<uint8_t> pixels = AllPremultipliedGreys();  // 514 words
    const std::vector<uint8_t> random = RandomBytes(256 * 256, 21);  // colours above alpha as well
    pixels.insert(pixels.end(), random.begin(), random.end());
    std::vector<uint8_t> opaque = pixels;
    for (size_t i = 3; i < opaque.size(); i += 4)
        opaque[i] = 255;
    const int words = static_cast<int>(pixels.size() / 256);
    RandomBits pick(22);
    kernels::Use(&k);
    for (int round = 0; round < 40; ++round) {
        const uint32_t seed = PackedAt(pixels, static_cast<size_t>(pick.Below(64 * words)));
        const float tolerance = kTolerances[static_cast<size_t>(round) % std::size(kTolerances)];
        for (const int channels : {1, 4}) {
            const ColorMatch match(ilPixel(kUnsignedByte, channels, seed), tolerance);
            for (const bool isOpaque : {false, true}) {
                const std::vector<uint8_t>& bytes = isOpaque ? opaque : pixels;
                std::vector<uint64_t> bits(static_cast<size_t>(words));
                match.Match(bits.data(), bytes.data(), isOpaque, words);
                for (size_t i = 0; i < bits.size() * 64; ++i) {
                    const uint32_t packed = channels == 1 ? bytes[i] : PackedAt(bytes, i);
                    ASSERT_EQ((bits[i / 64] >> (i % 64) & 1) != 0, match.IsLike(packed))
                        << std::hex << seed << " and " << packed << ", tolerance " << tolerance;
                }
            }
        }
    }
    kernels::Use(nullptr);
}

INSTANTIATE_TEST_SUITE_P(All, MatchKernels, testing::ValuesIn(AllKernelTables()), KernelTableName);

}  // namespace
