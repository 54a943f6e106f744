#include "platform/imaging/transform/ColorAdjust.h"
#include "platform/imaging/kernels/Kernels.h"
#include "platform/imaging/transform/ImageBlur.h"
#include "tests/support/RandomImages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

std::vector<const kernels::KernelTable*> AllKernelTables();  // of KernelTables.cpp

namespace {

constexpr ilTile kAll(-300, -300, 600, 600);
constexpr ilTile kEverywhere(-(1 << 30), -(1 << 30), INT32_MAX, INT32_MAX);

qs::Reference<ilSmartImage> Adjust(const ilMIOImage& image, const ColorAdjustParm& parm)
{
    return AdjustColors(image, parm, kEverywhere, 1);
}

ilPixel AdjustPixel(const ilPixel& pixel, const ColorAdjustParm& parm)
{
    ilSmartImage image(ilPixel(kUnsignedByte, pixel.GetNumChannels()));
    image.SetPixel(3, 4, pixel);
    return Adjust(image, parm)->GetPixel(3, 4);
}

ColorAdjustParm RandomParm(Random& random)
{
    const auto unit = [&] { return static_cast<float>(random.Int(-100, 100)) / 100; };
    ColorAdjustParm parm;
    parm.brightness = unit() / 2;
    parm.contrast = unit() / 2;
    parm.hue = unit() * 400;
    parm.saturation = unit();
    parm.lightness = unit();
    for (LevelsParm* levels : {&parm.master, &parm.channels[0], &parm.channels[2]})
        *levels = {0.2F * (unit() + 1), 0.6F + 0.2F * (unit() + 1), std::exp(unit()), 0.1F, 0.9F};
    return parm;
}

TEST(ColorAdjust, NeutralAdjustmentsChangeNoByteEvenTheLongWay)
{
    Random random(11);
    const auto image = MakeRandomImage(random, 4);
    for (int i = 0; i < 65536; ++i) {  // all pairs of alpha and colour within it
        const int alpha = i / 256, c = std::min(i % 256, alpha);
        image->SetPixel(i % 256, i / 256,
                        ilPixel::Rgba(static_cast<uint8_t>(c), static_cast<uint8_t>(alpha - c),
                                      static_cast<uint8_t>(alpha / 2), static_cast<uint8_t>(alpha)));
    }
    ColorAdjustParm fullTurns;
    fullTurns.hue = -720;
    ColorAdjustParm longWay;
    longWay.brightness = longWay.saturation = longWay.lightness = 1e-9F;
    EXPECT_TRUE(ColorAdjustParm().IsNeutral() && fullTurns.IsNeutral() && !longWay.IsNeutral());
    for (const ColorAdjustParm& parm : {ColorAdjustParm(), fullTurns, longWay})
        EXPECT_EQ(FirstDifference(*Adjust(*image, parm), *image, kAll), "");
    ColorAdjustParm bad;
    bad.channels[1].gamma = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(bad.IsValid());
}

TEST(ColorAdjust, AlphaStaysUniformPagesAreOnePixelAndVariantsAgree)
{
    Random random(12);
    for (int i = 0; i < 8; ++i) {
        const auto image = MakeRandomImage(random, i % 4 == 3 ? 1 : 4, 100);
        const ColorAdjustParm parm = RandomParm(random);
        kernels::Use(AllKernelTables().front());
        const auto result = Adjust(*image, parm);
        for (const kernels::KernelTable* table : AllKernelTables()) {
            kernels::Use(table);
            EXPECT_EQ(FirstDifference(*Adjust(*image, parm), *result, {-130, -130, 260, 260}), "") << table->name;
        }
        kernels::Use(nullptr);
        for (int k = 0; k < 1000; ++k) {
            const int x = random.Int(-150, 150), y = random.Int(-150, 150);
            const ilPixel before = image->GetPixel(x, y), after = result->GetPixel(x, y);
            ASSERT_EQ(after, AdjustPixel(before, parm));
            ASSERT_TRUE(before.GetNumChannels() == 1 || before.GetAlpha() == after.GetAlpha());
            ASSERT_LE(std::max({after.GetComponent(0), after.GetComponent(1), after.GetComponent(2)}),
                      after.GetNumChannels() == 4 ? after.GetAlpha() : 255);
        }
        // Half of the way lies in the middle.
        const auto half = AdjustColors(*image, parm, kEverywhere, 0.5F);
        for (int k = 0; k < 200; ++k) {
            const int x = random.Int(-150, 150), y = random.Int(-150, 150);
            const int sum = image->GetPixel(x, y).GetComponent(0) + result->GetPixel(x, y).GetComponent(0);
            EXPECT_NEAR(half->GetPixel(x, y).GetComponent(0), sum / 2.0, 1.0);
        }
    }
    const qs::Reference<ilSmartImage> uniform(new ilSmartImage(ilPixel()));
    uniform->fillTile({0, 0, 640, 640}, ilPixel::Rgba(10, 20, 30, 40));
    ColorAdjustParm parm;
    parm.brightness = 0.3F;
    EXPECT_EQ(Adjust(*uniform, parm)->GetAllocatedBytes(), 0U);
    const qs::Reference<ilSmartImage> mask(new ilSmartImage(ilPixel::Coverage(0)));
    EXPECT_EQ(Adjust(*mask, parm)->GetPixel(5, 5), ilPixel::Coverage(77)) << "what is not stored changes too";
    const auto part = AdjustColors(*mask, parm, {0, 0, 10, 10}, 1);
    EXPECT_EQ(part->GetPixel(9, 9), ilPixel::Coverage(77));
    EXPECT_EQ(part->GetPixel(10, 10), ilPixel::Coverage(0));
}

TEST(ColorAdjust, EachValueDoesWhatItSays)
{
    const auto with = [](float ColorAdjustParm::*value, float to) {
        ColorAdjustParm parm;
        parm.*value = to;
        return parm;
    };
    const ilPixel orange = ilPixel::Rgba(200, 100, 50, 255);
    EXPECT_EQ(AdjustPixel(ilPixel::Rgba(200, 0, 0, 200), with(&ColorAdjustParm::hue, 120)),
              ilPixel::Rgba(0, 200, 0, 200));
    EXPECT_EQ(AdjustPixel(orange, with(&ColorAdjustParm::hue, 240)), ilPixel::Rgba(100, 50, 200, 255));
    EXPECT_EQ(AdjustPixel(orange, with(&ColorAdjustParm::saturation, -1)), ilPixel::Rgba(125, 125, 125, 255));
    EXPECT_EQ(AdjustPixel(orange, with(&ColorAdjustParm::lightness, 0.5F)), ilPixel::Rgba(229, 177, 151, 255));
    EXPECT_EQ(AdjustPixel(orange, with(&ColorAdjustParm::lightness, -1)), ilPixel::Rgba(0, 0, 0, 255));
    EXPECT_EQ(AdjustPixel(orange, with(&ColorAdjustParm::brightness, 0.2F)), ilPixel::Rgba(251, 151, 101, 255));
    EXPECT_EQ(AdjustPixel(orange, with(&ColorAdjustParm::contrast, 1)), ilPixel::Rgba(255, 0, 0, 255));
    EXPECT_EQ(AdjustPixel(orange, with(&ColorAdjustParm::contrast, -1)), ilPixel::Rgba(128, 128, 128, 255));
    for (int value = 0; value <= 255; ++value) {
        ColorAdjustParm parm;
        parm.channels[1] = {0.2F, 0.8F, 2, 0, 1};
        parm.master = {0, 1, 1, 0.25F, 0.75F};
        const double green = std::sqrt(std::clamp((value / 255.0 - 0.2) / 0.6, 0.0, 1.0)) * 0.5 + 0.25;
        const auto v = static_cast<uint8_t>(value);
        const ilPixel result = AdjustPixel(ilPixel::Rgba(v, v, v, 255), parm);
        EXPECT_NEAR(result.GetComponent(0), value * 0.5 + 63.75, 0.51);
        EXPECT_NEAR(result.GetComponent(1), green * 255, 0.51);
    }
}

TEST(ColorAdjust, AutomaticLevelsStretchWhatTheAnalysisFinds)
{
    qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel()));
    for (int i = 0; i < 101; ++i)
        image->fillTile({i * 3, 0, 3, 50},
                        ilPixel::Rgba(static_cast<uint8_t>(50 + i), 100, static_cast<uint8_t>(i), 255));
    const ImageAnalysisData data = AnalyzeImage(*image, kEverywhere);
    EXPECT_EQ(data.count, 101U * 150);
    EXPECT_EQ(data.channels[0].histogram[70], 150U);
    EXPECT_EQ(data.channels[0].min, 50);
    EXPECT_EQ(data.channels[0].max, 150);
    EXPECT_DOUBLE_EQ(data.channels[0].mean, 100);
    ColorAdjustParm parm;
    parm.channels = MakeAutoLevels(data, 0);
    const ImageAnalysisData after = AnalyzeImage(*Adjust(*image, parm), kEverywhere);
    for (const size_t c : {0, 2})
        EXPECT_TRUE(after.channels[c].min == 0 && after.channels[c].max == 255);
    EXPECT_EQ(after.channels[1].min, 100) << "one value has no range to stretch";
    EXPECT_NEAR(MakeAutoLevels(data, 0.1)[0].inBlack * 255, 60, 1);
}

TEST(ImageBlur, IsTheGaussianAndSharpensBesideEdges)
{
    Random random(13);
    const qs::Reference<ilSmartImage> image(new ilSmartImage(ilPixel()));
    for (int y = 0; y < 20; ++y)
        for (int x = 50; x < 70; ++x)
            image->SetPixel(x, y, random.Premultiplied());
    constexpr double kRadius = 2.5;
    const auto blurred = BlurImage(*image, kRadius);
    const auto weight = [](int d) {
        return std::exp(-d * d / (2 * kRadius * kRadius)) / (kRadius * std::sqrt(2 * std::acos(-1.0)));
    };
    for (int y = -5; y < 25; y += 3)
        for (int x = 45; x < 75; ++x) {
            double sum = 0;
            for (int sy = 0; sy < 20; ++sy)
                for (int sx = 50; sx < 70; ++sx)
                    sum += weight(sx - x) * weight(sy - y) * image->GetPixel(sx, sy).GetAlpha();
            EXPECT_NEAR(blurred->GetPixel(x, y).GetAlpha(), sum, 1.5);
        }

    // A large radius, by way of smaller images: total and spread.
    const qs::Reference<ilSmartImage> dot(new ilSmartImage(ilPixel::Coverage(0)));
    dot->fillTile({-60, -60, 120, 120}, ilPixel::Coverage(255));
    const auto wide = BlurImage(*dot, 40);
    double total = 0, spread = 0, middle = 0;
    for (int y = -400; y < 400; ++y)
        for (int x = -400; x < 400; ++x) {
            const int value = wide->GetPixel(x, y).GetAlpha();
            total += value;
            middle += value * (x + 0.5);
            spread += value * (x + 0.5) * (x + 0.5);
        }
    EXPECT_NEAR(total / 255, 120 * 120, 150);
    EXPECT_NEAR(middle / total, 0, 0.2);
    EXPECT_NEAR(std::sqrt(spread / total), std::sqrt(40 * 40 + 120 * 120 / 12.0), 1.0);

    // Dark and light halves: each side of the edge moves away from the other, alpha and what is far stay.
    const qs::Reference<ilSmartImage> edge(new ilSmartImage(ilPixel()));
    edge->fillTile({0, 0, 128, 128}, ilPixel::Rgba(40, 40, 40, 200));
    edge->fillTile({64, 0, 64, 128}, ilPixel::Rgba(120, 120, 120, 200));
    const auto sharp = SharpenOrBlurImage(*edge, 1, 2);
    EXPECT_LT(sharp->GetPixel(63, 64).GetComponent(0), 15);
    EXPECT_GT(sharp->GetPixel(64, 64).GetComponent(0), 145);
    for (const int x : {0, 20, 100, 127})
        EXPECT_EQ(sharp->GetPixel(x, 0), edge->GetPixel(x, 0)) << "the image's own rim is no edge";
    EXPECT_EQ(sharp->GetPixel(64, 64).GetAlpha(), 200);
    const auto half = SharpenOrBlurImage(*edge, -0.5, 2);
    const auto full = SharpenOrBlurImage(*edge, -1, 2);
    for (int x = -6; x < 134; ++x)
        EXPECT_NEAR(half->GetPixel(x, 3).GetAlpha(),
                    (edge->GetPixel(x, 3).GetAlpha() + full->GetPixel(x, 3).GetAlpha()) / 2.0, 1.0);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double bad : {nan, -1.5, 11.0})
        EXPECT_FALSE(SharpenOrBlurImage(*edge, bad, 2));
    for (const double bad : {nan, 0.0, -1.0, 1e9})
        EXPECT_FALSE(BlurImage(*edge, bad));
}

}  // namespace
