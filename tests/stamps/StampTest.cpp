#include "platform/imaging/stamps/Stamp.h"

#include "platform/imaging/pages/ilMemoryImg.h"
#include "tests/stamps/StampReference.h"
#include "tests/support/Seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

namespace {

using Falloff = BrushProfile::Falloff;

qs::Reference<Stamp> MakeStamp(float hardness, float radius, Falloff falloff = Falloff::Dome)
{
    auto stamp = qs::MakeReference<Stamp>();
    if (hardness < 1)
        stamp->set_profile(MakeProfile({hardness, falloff}, radius));
    return stamp;
}

int LargestDifference(const PlacedCoverage& a, const PlacedCoverage& b)
{
    const ilTile all = ilTileUnion(a.GetTile(), b.GetTile());
    int largest = 0;
    for (int y = all.y; y < all.Bottom(); ++y)
        for (int x = all.x; x < all.Right(); ++x)
            largest = std::max(largest, std::abs(PlacedAt(a, x, y) - PlacedAt(b, x, y)));
    return largest;
}

TEST(Stamp, NumbersThatAreNotFiniteOrTooLargeCoverNothing)
{
    const auto stamp = MakeStamp(1, 1);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double bad : {nan, infinity, -infinity}) {
        const auto f = static_cast<float>(bad);
        for (const StampPlacement& placement : {StampPlacement{bad, 10, 4},
                                                {10, bad, 4},
                                                {10, 10, f},
                                                {10, 10, 4, f},
                                                {10, 10, 4, 1, f},
                                                {10, 10, 4, 1, 0.5F, f}}) {
            const PlacedCoverage placed = stamp->GetCoverage(placement);
            EXPECT_TRUE(!placed.coverage && placed.GetTile().IsEmpty()) << bad;
        }
    }
    for (const StampPlacement& placement :
         {StampPlacement{1.1e9, 0, 4}, {0, -1.1e9, 4}, {0, 0, 0}, {0, 0, -3}, {0, 0, 4, 1, 0}})
        EXPECT_FALSE(stamp->GetCoverage(placement).coverage);
    for (const StampPlacement& placement : {StampPlacement{-1e9, 1e9, 4}, {0, 0, 4, 1, 0.5F, -1e30F}})
        EXPECT_TRUE(stamp->GetCoverage(placement).coverage);
}

TEST(Stamp, SizesAreLimited)
{
    const auto stamp = MakeStamp(1, 1);
    EXPECT_EQ(stamp->GetCoverage({0, 0, 1e30F}).coverage->GetWidth(), 2560);
    EXPECT_EQ(stamp->GetCoverage({0.5, 0.5, 1e-30F}).coverage, stamp->GetCoverage({0.5, 0.5, 1.0F / 16}).coverage);
    const ilTile wide = stamp->GetCoverage({0.5, 0.5, 1280, 1, 1.9F, 0}).GetTile();
    EXPECT_LE(wide.ny, 2562);
    EXPECT_EQ(stamp->GetCoverage({0.5, 0.5, 8, 1, 50, 0}).coverage,
              stamp->GetCoverage({0.5, 0.5, 8, 1, 1.9F, 0}).coverage);
}

TEST(Stamp, CoverageFollowsThePlaceToASixteenthOfAPixel)
{
    // The centre of mass of a hard stamp is the place, also across whole pixels and below zero.
    const auto stamp = MakeStamp(1, 1);
    for (double place = -2.03; place < 1.5; place += 0.0717) {
        const PlacedCoverage placed = stamp->GetCoverage({place, -place, 6});
        double weight = 0, x = 0, y = 0;
        const ilTile tile = placed.GetTile();
        for (int row = tile.y; row < tile.Bottom(); ++row) {
            for (int column = tile.x; column < tile.Right(); ++column) {
                const int coverage = PlacedAt(placed, column, row);
                weight += coverage;
                x += coverage * (column + 0.5);
                y += coverage * (row + 0.5);
            }
        }
        EXPECT_NEAR(x / weight, place, 1.0 / 32 + 0.01);
        EXPECT_NEAR(y / weight, -place, 1.0 / 32 + 0.01);
    }
}

TEST(Stamp, NeighbouringPlacesOfASoftStampDifferByFewLevels)
{
    // Moving by 1/256 pixel changes the phase at most once along each axis. Below radius 16 a dome of hardness 0.5 is
    // steeper than what 16 phases resolve.
    SeededNumbers random(7);
    for (const float radius : {16.0F, 30.0F, 64.0F, 200.0F}) {
        const auto stamp = MakeStamp(0.5F, radius);
        for (int i = 0; i < 12; ++i) {
            const double x = static_cast<double>(random() % 4096) / 256;
            const double y = static_cast<double>(random() % 4096) / 256;
            const auto here = stamp->GetCoverage({x, y, radius});
            const auto there = stamp->GetCoverage({x + 1.0 / 256, y + 1.0 / 256, radius});
            ASSERT_LE(LargestDifference(here, there), 4) << radius << " at " << x << ", " << y;
        }
    }
}

TEST(Stamp, RoundingOfTheRadiusIsHardlySeen)
{
    for (const float radius : {16.0F, 50.0F, 200.0F, 900.0F}) {
        const auto stamp = MakeStamp(0.5F, radius);
        for (int i = 0; i < 6; ++i) {
            const float size = radius * (1 + 0.0037F * static_cast<float>(i));
            const auto here = stamp->GetCoverage({0, 0, size});
            const auto next = stamp->GetCoverage({0, 0, size + 0.0001F * radius});
            ASSERT_LE(LargestDifference(here, next), 6) << size;
        }
    }
    // A hard stamp's radius is kept to 1/16 pixel at any size.
    const auto hard = MakeStamp(1, 1);
    for (const float size : {3.3F, 77.77F, 611.4F}) {
        const double area = TotalCoverage(*hard->GetCoverage({0, 0, size}).coverage);
        EXPECT_NEAR(std::sqrt(area / 3.14159265), size, 1.0 / 32 + 0.002 * size / 50) << size;
    }
}

TEST(Stamp, FewPhasesAreMadeOfLargeSoftStamps)
{
    const auto countDistinct = [](float hardness, float radius) {
        const auto stamp = MakeStamp(hardness, radius);
        std::vector<qs::Reference<const StampCoverage>> seen;
        // Twice over: a large coverage is kept from its second use on.
        for (int x = 0; x < 512; x += 4) {
            const auto coverage = stamp->GetCoverage({x % 256 / 256.0, 0, radius}).coverage;
            if (x == 256)
                seen.clear();
            if (std::find(seen.begin(), seen.end(), coverage) == seen.end())
                seen.push_back(coverage);
        }
        return seen.size();
    };
    EXPECT_LE(countDistinct(0.5F, 200), 2U);
    EXPECT_LE(countDistinct(0.5F, 64), 4U);
    EXPECT_EQ(countDistinct(1, 20), 16U);
}

TEST(Stamp, RoundStampsIgnoreRotationAndOpacityButEllipsesTurn)
{
    const auto stamp = MakeStamp(1, 1);
    const auto round = stamp->GetCoverage({3, 3, 8, 1, 1, 0}).coverage;
    EXPECT_EQ(stamp->GetCoverage({3, 3, 8, 0.25F, 1, 77}).coverage, round);
    const auto ellipse = stamp->GetCoverage({3, 3, 8, 1, 0.5F, 0}).coverage;
    EXPECT_NE(stamp->GetCoverage({3, 3, 8, 1, 0.5F, 5}).coverage, ellipse);
    for (const float halfTurn : {180.0F, 360.0F, -180.0F, 1080.0F})
        EXPECT_EQ(stamp->GetCoverage({3, 3, 8, 1, 0.5F, halfTurn}).coverage, ellipse) << halfTurn;
}

TEST(Stamp, ReachBoundsEveryTile)
{
    const auto square = qs::MakeReference<Stamp>();
    const auto mask = qs::MakeReference<ilMemoryImg>(3, 3, 1);
    mask->fillTile(mask->GetBounds(), ilPixel::Coverage(255));
    square->set_stamp_mask(mask);
    for (const auto& stamp : {MakeStamp(0.3F, 10), square})
        for (const float size : {0.01F, 0.9F, 7.3F, 100.0F, 5000.0F})
            for (const float aspect : {0.01F, 0.5F, 1.0F, 1.9F})
                for (const float rotation : {0.0F, 33.0F, 45.0F, 90.0F}) {
                    const ilTile tile = stamp->GetCoverage({0.49, 0.51, size, 1, aspect, rotation}).GetTile();
                    const double reach = Stamp::GetReach(size, aspect);
                    EXPECT_LE(std::max(0.49 - tile.x, static_cast<double>(tile.Right()) - 0.49), reach);
                    EXPECT_LE(std::max(0.51 - tile.y, static_cast<double>(tile.Bottom()) - 0.51), reach);
                }
}

TEST(Stamp, AnotherProfileNeverShowsTheCoverageOfTheOldOne)
{
    const StampPlacement place{5.5, 5.5, 10};
    const auto stamp = qs::MakeReference<Stamp>();
    const int hardRim = PlacedAt(stamp->GetCoverage(place), 14, 5);
    EXPECT_EQ(hardRim, 255);
    for (const float level : {0.25F, 0.5F, 0.75F}) {
        stamp->set_profile(qs::MakeReference<LinearProfile>(qs::vector<float>{level, level, 0}));
        EXPECT_NEAR(PlacedAt(stamp->GetCoverage(place), 5, 5), 255 * level, 1);
    }
    stamp->set_profile(nullptr);
    EXPECT_EQ(PlacedAt(stamp->GetCoverage(place), 14, 5), hardRim);
}

TEST(Stamp, SettersRefuseWhatIsOutOfRange)
{
    const auto stamp = qs::MakeReference<Stamp>();
    stamp->set_color(2, -1, std::numeric_limits<float>::quiet_NaN(), 0.5F);
    EXPECT_EQ(stamp->get_color(), PaintColor(1, 0, 0, 0.5F));
    stamp->set_opacity(0.5F);
    stamp->set_opacity(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(stamp->get_opacity(), 0.5F);
    stamp->set_opacity(7);
    EXPECT_EQ(stamp->get_opacity(), 1);
    stamp->set_method(Stamp::kMethodImage);
    stamp->set_method(9);
    EXPECT_EQ(stamp->get_method(), Stamp::kMethodImage);
}

}  // namespace
