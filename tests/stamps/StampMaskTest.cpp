#include "platform/imaging/pages/ilMemoryImg.h"
#include "platform/imaging/stamps/Stamp.h"
#include "platform/imaging/stamps/StampCache.h"
#include "tests/stamps/StampReference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

qs::Reference<ilMemoryImg> RandomMask(int width, int height, int channels = 1)
{
    std::mt19937 random(11);
    auto image = qs::MakeReference<ilMemoryImg>(width, height, channels);
    uint8_t* bytes = image->WriteRows(image->GetBounds());
    std::generate_n(bytes, image->GetStrideBytes() * height, [&] { return static_cast<uint8_t>(random()); });
    return image;
}

qs::Reference<ilMemoryImg> SolidMask(int width, int height, uint8_t value = 255)
{
    auto image = qs::MakeReference<ilMemoryImg>(width, height, 1);
    image->fillTile(image->GetBounds(), ilPixel::Coverage(value));
    return image;
}

qs::Reference<Stamp> MaskStamp(qs::TempReference<ilImage> mask)
{
    auto stamp = qs::MakeReference<Stamp>();
    stamp->set_stamp_mask(std::move(mask));
    return stamp;
}

int PlacedAt(const PlacedCoverage& placed, int x, int y)
{
    return CoverageAt(*placed.coverage, x - placed.x, y - placed.y);
}

TEST(StampMask, AtItsOwnSizeTheImageIsReproduced)
{
    for (const auto& [width, height] : {std::pair{16, 16}, {24, 10}, {6, 40}}) {
        const auto image = RandomMask(width, height);
        const auto longer = static_cast<float>(std::max(width, height));
        const PlacedCoverage placed = MaskStamp(image)->GetCoverage({100.0, 100.0, longer / 2});
        for (int y = -1; y <= height; ++y)
            for (int x = -1; x <= width; ++x)
                ASSERT_EQ(PlacedAt(placed, 100 - width / 2 + x, 100 - height / 2 + y), image->GetPixel(x, y).GetAlpha())
                    << x << ", " << y;
    }
}

TEST(StampMask, QuarterTurnsAreExactAndClockwise)
{
    const auto image = RandomMask(12, 8);
    const auto stamp = MaskStamp(image);
    const PlacedCoverage placed = stamp->GetCoverage({50, 50, 6, 1, 1, 90});
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 12; ++x)
            ASSERT_EQ(PlacedAt(placed, 50 + 3 - y, 50 - 6 + x), image->GetPixel(x, y).GetAlpha()) << x << ", " << y;
}

TEST(StampMask, HalvedImageIsTheAverageOfItsPixels)
{
    for (const int factor : {2, 4, 8}) {
        const auto image = RandomMask(64, 64);
        const PlacedCoverage placed = MaskStamp(image)->GetCoverage({0, 0, 32.0F / static_cast<float>(factor)});
        for (int y = 0; y < 64 / factor; ++y) {
            for (int x = 0; x < 64 / factor; ++x) {
                int sum = 0;
                for (int i = 0; i < factor * factor; ++i)
                    sum += image->GetPixel(x * factor + i % factor, y * factor + i / factor).GetAlpha();
                ASSERT_NEAR(PlacedAt(placed, x - 32 / factor, y - 32 / factor), 1.0 * sum / (factor * factor), 1.6);
            }
        }
    }
}

TEST(StampMask, SolidImageCoversItsAreaAtAnySizeAspectAndAngle)
{
    for (const float size : {1.5F, 5.0F, 40.0F}) {
        for (const float aspect : {1.0F, 0.5F}) {
            for (const float rotation : {0.0F, 30.0F, 45.0F, 200.0F}) {
                for (const int side : {1, 3, 40, 333}) {
                    const auto placed =
                        MaskStamp(SolidMask(2 * side, side))->GetCoverage({7.25, 3.5, size, 1, aspect, rotation});
                    const double area = 2 * size * size * aspect;
                    EXPECT_NEAR(TotalCoverage(*placed.coverage), area, 0.03 * area + 0.2)
                        << size << " aspect " << aspect << " rotation " << rotation << " side " << side;
                    if (size > 2) {
                        EXPECT_EQ(PlacedAt(placed, 7, 3), 255);
                    }
                }
            }
        }
    }
}

TEST(StampMask, AspectSquashesAcrossTheRotation)
{
    const auto stamp = MaskStamp(SolidMask(10, 10));
    const PlacedCoverage flat = stamp->GetCoverage({0, 0, 16, 1, 0.25F, 0});
    EXPECT_EQ(PlacedAt(flat, 14, 2), 255);
    EXPECT_EQ(PlacedAt(flat, 2, 14), 0);
    const PlacedCoverage upright = stamp->GetCoverage({0, 0, 16, 1, 0.25F, 90});
    EXPECT_EQ(PlacedAt(upright, 2, 14), 255);
    EXPECT_EQ(PlacedAt(upright, 14, 2), 0);
}

TEST(StampMask, AlphaOfAColourImageIsItsCoverage)
{
    const auto image = RandomMask(10, 10, 4);
    const PlacedCoverage placed = MaskStamp(image)->GetCoverage({5, 5, 5});
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(PlacedAt(placed, i, 9 - i), image->GetPixel(i, 9 - i).GetAlpha());
}

TEST(StampMask, ImageLargerThanAnyStampKeepsItsProportions)
{
    const auto image = qs::MakeReference<ilMemoryImg>(9001, 3000, 1);
    image->fillTile({0, 0, 4500, 3000}, ilPixel::Coverage(255));
    const PlacedCoverage placed = MaskStamp(image)->GetCoverage({0, 0, 90});
    EXPECT_EQ(PlacedAt(placed, -80, 0), 255);
    EXPECT_EQ(PlacedAt(placed, -2, 28), 255);
    EXPECT_EQ(PlacedAt(placed, 2, 0), 0);
    EXPECT_EQ(PlacedAt(placed, -80, 31), 0);
}

TEST(StampMask, AnotherMaskNeverShowsTheCoverageOfTheOldOne)
{
    const StampPlacement place{5, 5, 8};
    const auto stamp = qs::MakeReference<Stamp>();
    const auto disc = stamp->GetCoverage(place).coverage;
    for (const int value : {40, 80, 255}) {
        stamp->set_stamp_mask(SolidMask(8, 8, static_cast<uint8_t>(value)));
        EXPECT_EQ(PlacedAt(stamp->GetCoverage(place), 5, 5), value);
    }
    // The same image again may hold other pixels by now.
    const auto image = SolidMask(8, 8, 10);
    stamp->set_stamp_mask(image);
    stamp->GetCoverage(place);
    image->fillTile(image->GetBounds(), ilPixel::Coverage(99));
    stamp->set_stamp_mask(image);
    EXPECT_EQ(PlacedAt(stamp->GetCoverage(place), 5, 5), 99);
    stamp->set_stamp_mask(nullptr);
    EXPECT_EQ(stamp->GetCoverage(place).coverage, disc);
}

TEST(StampMask, RotationIsRoundedToTheIncrement)
{
    const auto stamp = MaskStamp(RandomMask(20, 20));
    const auto at = [&](float rotation) { return stamp->GetCoverage({0, 0, 10, 1, 1, rotation}).coverage; };
    EXPECT_NE(at(3), at(4));
    EXPECT_EQ(at(3.3F), at(3));
    ILStampImg::setRotationQuantizationIncrement(30);
    EXPECT_EQ(at(14), at(0));
    EXPECT_EQ(at(17), at(30));
    EXPECT_EQ(at(-16), at(330));
    EXPECT_EQ(at(355), at(0));
    ILStampImg::setRotationQuantizationIncrement(400);
    EXPECT_EQ(ILStampImg::getRotationQuantizationIncrement(), 90);
    ILStampImg::setRotationQuantizationIncrement(0);
    EXPECT_EQ(ILStampImg::getRotationQuantizationIncrement(), 1);
}

TEST(StampMask, ReachBoundsTheCornersOfATurnedSquare)
{
    const auto stamp = MaskStamp(SolidMask(3, 3));
    for (const float size : {0.5F, 10.0F, 90.0F}) {
        const ilTile tile = stamp->GetCoverage({0, 0, size, 1, 1.9F, 45}).GetTile();
        EXPECT_LE(std::max(-static_cast<double>(tile.x), static_cast<double>(tile.Right())),
                  Stamp::GetReach(size, 1.9F));
    }
}

}  // namespace
