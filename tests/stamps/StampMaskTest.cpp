#include "platform/imaging/pages/ilMemoryImg.h"
#include "platform/imaging/stamps/Stamp.h"
#include "platform/imaging/stamps/StampCache.h"
#include "tests/stamps/StampReference.h"
#include "tests/support/Seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

qs::Reference<ilMemoryImg> RandomMask(int width, int height, int channels = 1)
{
    SeededNumbers random(11);
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

TEST(StampMask, AtItsOwnSizeTheAlphaOfTheImageIsReproducedAndTurnsClockwise)
{
    for (const auto& [width, height, channels] : {std::tuple{16, 16, 1}, {24, 10, 1}, {6, 40, 1}, {10, 10, 4}}) {
        const auto image = RandomMask(width, height, channels);
        const auto radius = static_cast<float>(std::max(width, height)) / 2;
        const auto stamp = MaskStamp(image);
        const PlacedCoverage upright = stamp->GetCoverage({100, 100, radius});
        const PlacedCoverage turned = stamp->GetCoverage({100, 100, radius, 1, 1, 90});
        for (int y = -1; y <= height; ++y)
            for (int x = -1; x <= width; ++x) {
                const int alpha = image->GetPixel(x, y).GetAlpha();
                ASSERT_EQ(PlacedAt(upright, 100 - width / 2 + x, 100 - height / 2 + y), alpha) << x << ", " << y;
                ASSERT_EQ(PlacedAt(turned, 99 + height / 2 - y, 100 - width / 2 + x), alpha) << x << ", " << y;
            }
    }
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
    for (const bool isUpright : {false, true}) {
        const PlacedCoverage flat = stamp->GetCoverage({0, 0, 16, 1, 0.25F, isUpright ? 90.0F : 0.0F});
        EXPECT_EQ(PlacedAt(flat, 14, 2), isUpright ? 0 : 255);
        EXPECT_EQ(PlacedAt(flat, 2, 14), isUpright ? 255 : 0);
    }
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

}  // namespace
