#include "platform/imaging/regions/CoverageFilters.h"
#include "platform/imaging/blend/ImageBlend.h"
#include "tests/support/RandomImages.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

/// Pixels of an image within an area, those outside as the nearest inside.
class Plain {
public:
    Plain(const ilMIOImage& image, const ilTile& area) : area_(area), bytes_(static_cast<size_t>(area.Area()))
    {
        image.ReadTile(area, bytes_.data(), area.nx);
    }
    int At(int x, int y) const
    {
        const int column = std::clamp(x - area_.x, 0, area_.nx - 1);
        const int row = std::clamp(y - area_.y, 0, area_.ny - 1);
        return bytes_[static_cast<size_t>(row * area_.nx + column)];
    }

private:
    ilTile area_;
    std::vector<uint8_t> bytes_;
};

TEST(CoverageFilters, GrowingAndShrinkingTakeTheExtremesOfADisc)
{
    Random random(1);
    for (const int radius : {1, 2, 9, 40}) {
        const auto image = MakeRandomImage(random, 1);
        const ilTile area = random.Tile(-90, -20, 110);
        const Plain plain(*image, area);
        const auto grown = GrowCoverage(*image, area, radius);
        const auto shrunk = ShrinkCoverage(*image, area, radius);
        for (int y = area.y; y < area.Bottom(); ++y)
            for (int x = area.x; x < area.Right(); ++x) {
                int most = 0;
                int least = 255;
                for (int dy = -radius; dy <= radius; ++dy)
                    for (int dx = -radius; dx <= radius; ++dx)
                        if (dx * dx + dy * dy <= radius * radius + radius) {
                            most = std::max(most, plain.At(x + dx, y + dy));
                            least = std::min(least, plain.At(x + dx, y + dy));
                        }
                ASSERT_EQ(grown->GetPixel(x, y).GetAlpha(), most) << radius << " at " << x << ", " << y;
                ASSERT_EQ(shrunk->GetPixel(x, y).GetAlpha(), least) << radius << " at " << x << ", " << y;
            }
        EXPECT_TRUE(area.Contains(grown->GetBounds()));
    }
}

TEST(CoverageFilters, BlurringWeighsByDistance)
{
    Random random(2);
    for (const float radius : {0.3F, 1.0F, 7.5F, 30.0F}) {
        const auto image = MakeRandomImage(random, 1);
        const ilTile area = random.Tile(-60, -20, 150);
        const Plain plain(*image, area);
        const auto blurred = BlurCoverage(*image, area, radius);
        const double deviation = double{radius} / 2;
        const int reach = static_cast<int>(4 * deviation) + 2;
        for (int i = 0; i < 300; ++i) {
            const int x = area.x + random.Int(0, area.nx - 1);
            const int y = area.y + random.Int(0, area.ny - 1);
            double sum = 0;
            double weights = 0;
            for (int dy = -reach; dy <= reach; ++dy)
                for (int dx = -reach; dx <= reach; ++dx) {
                    const double weight = std::exp(-0.5 * (dx * dx + dy * dy) / (deviation * deviation));
                    sum += weight * plain.At(x + dx, y + dy);
                    weights += weight;
                }
            // What is cut off at three deviations is 0.3 % each way.
            ASSERT_NEAR(blurred->GetPixel(x, y).GetAlpha(), sum / weights, 2.1) << radius;
        }
    }
}

TEST(CoverageFilters, WideAreasOfOneKindCostNoPixels)
{
    ilSmartImage image(ilPixel::Coverage(0));
    image.fillTile({1000, 1000, 9000, 9000}, ilPixel::Coverage(255));
    const ilTile canvas(0, 0, 10'000, 16'000);
    for (const auto& made : {GrowCoverage(image, canvas, 20), BlurCoverage(image, canvas, 20)}) {
        EXPECT_LT(made->GetAllocatedBytes(), size_t{4096} * 1500);
        EXPECT_EQ(made->GetPixel(5000, 5000).GetAlpha(), 255);
        EXPECT_EQ(made->GetPixel(9999, 5000).GetAlpha(), 255) << "the area's edge is no edge";
    }
    EXPECT_EQ(GrowCoverage(image, canvas, 20)->GetBounds(), ilTile(980, 980, 9020, 9040));
    EXPECT_EQ(ShrinkCoverage(image, canvas, 20)->GetBounds(), ilTile(1020, 1020, 8980, 8960));
}

TEST(CoverageFilters, AlphaAndFillsThroughCoverageFollowEachPixel)
{
    Random random(3);
    for (int round = 0; round < 12; ++round) {
        const int channels = round % 2 == 0 ? 4 : 1;
        const auto target = MakeRandomImage(random, channels);
        const auto before = target->Snapshot();
        const auto coverage = MakeRandomImage(random, 1);
        if (random.OneIn(3))
            coverage->SetFillValue(ilPixel::Coverage(static_cast<uint8_t>(random.OneIn(2) ? 255 : 90)));
        const ilPixel value = random.OneIn(4) ? ilPixel(kUnsignedByte, channels) : random.Pixel(channels);
        const ilTile tile = random.Tile(-150, 0, 250);
        const int dx = random.OneIn(2) ? 64 : random.Int(-70, 70);
        FillThrough(*target, tile, value, *coverage, tile.x + dx, tile.y - dx);
        const auto alpha = channels == 4 ? GetAlphaCoverage(*target, tile) : nullptr;
        for (int y = -200; y < 300; y += 1)
            for (int x = -200; x < 300; x += 1) {
                const ilPixel old = before->GetPixel(x, y);
                const ilPixel now = target->GetPixel(x, y);
                const double c = tile.Contains(x, y) ? coverage->GetPixel(x + dx, y - dx).GetAlpha() / 255.0 : 0;
                for (int i = 0; i < channels; ++i)
                    ASSERT_NEAR(now.GetComponent(i), (1 - c) * old.GetComponent(i) + c * value.GetComponent(i), 0.51)
                        << "round " << round << " at " << x << ", " << y;
                if (alpha) {
                    ASSERT_EQ(alpha->GetPixel(x, y).GetAlpha(), tile.Contains(x, y) ? now.GetAlpha() : 0);
                }
            }
    }
}

TEST(CoverageFilters, FillsOfWholeBlocksReachExactlyTheTile)
{
    Random random(4);
    for (int round = 0; round < 20; ++round) {
        ilSmartImage image(ilPixel::Coverage(0));
        std::vector<std::pair<ilTile, uint8_t>> fills;
        qs::Reference<ilMIOImage> kept;
        for (int i = 0; i < 6; ++i) {
            fills.emplace_back(random.Tile(-3000, 500, 5000), static_cast<uint8_t>(random.OneIn(2) ? 0 : 40 * i + 40));
            image.fillTile(fills.back().first, ilPixel::Coverage(fills.back().second));
            if (i == 3)
                kept = image.Snapshot();
        }
        const auto valueAt = [&](int x, int y, size_t count) {
            uint8_t value = 0;
            for (size_t i = 0; i < count; ++i)
                value = fills[i].first.Contains(x, y) ? fills[i].second : value;
            return value;
        };
        for (int i = 0; i < 2000; ++i) {
            const ilTile& near = fills[static_cast<size_t>(random.Int(0, 5))].first;
            const int x = random.OneIn(2) ? near.x + random.Int(-1, 0) : random.Int(-3100, 5600);
            const int y =
                random.OneIn(2) ? static_cast<int>(near.Bottom()) + random.Int(-1, 0) : random.Int(-3100, 5600);
            ASSERT_EQ(image.GetPixel(x, y).GetAlpha(), valueAt(x, y, 6)) << x << ", " << y;
            ASSERT_EQ(kept->GetPixel(x, y).GetAlpha(), valueAt(x, y, 4)) << "a snapshot stays";
        }
        image.SetPixel(700, 700, ilPixel::Coverage(7));
        EXPECT_EQ(image.GetPixel(700, 701).GetAlpha(), valueAt(700, 701, 6));
        EXPECT_EQ(image.GetPixel(700 + 1024, 700).GetAlpha(), valueAt(1724, 700, 6)) << "blocks do not write through";
    }
}

}  // namespace
