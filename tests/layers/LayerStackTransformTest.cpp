#include "layers/LayerStackTransform.h"

#include "platform/imaging/pages/ilTile.h"
#include "tests/support/Seed.h"

#include <gtest/gtest.h>

#include <cmath>

using Transform = LayerStackTransform;

TEST(LayerStackTransform, TheInverseBringsPointsBack)
{
    SeededNumbers random(20240);
    std::uniform_real_distribution<float> coordinate(-2000, 2000), scale(0.1F, 8), degree(-720, 720);
    for (int i = 0; i < 500; ++i) {
        Transform transform(coordinate(random), coordinate(random), scale(random), scale(random), coordinate(random),
                            coordinate(random), i % 2 == 0 ? 0.0F : degree(random));
        transform.SetScaleOffset(coordinate(random), coordinate(random));
        const float x = coordinate(random), y = coordinate(random);
        float mappedX = x, mappedY = y;
        transform.XformCoords(mappedX, mappedY, Transform::kScaleAlways, i % 3 == 0);
        transform.InvXformCoords(mappedX, mappedY, Transform::kScaleAlways, i % 3 == 0);
        // The smallest scale magnifies the rounding of coordinates of some ten thousand pixels.
        ASSERT_NEAR(mappedX, x, 0.1F) << i;
        ASSERT_NEAR(mappedY, y, 0.1F) << i;
    }
}

TEST(LayerStackTransform, ScalesTurnsFromXTowardsYAndPans)
{
    const auto mapped = [](const Transform& transform, float x, float y) {
        transform.XformCoords(x, y, Transform::kScaleAlways, false);
        return std::pair(std::round(x * 1000) / 1000, std::round(y * 1000) / 1000);
    };
    for (const float center : {0.0F, 100.0F, -37.5F})
        EXPECT_EQ(mapped({10, -20, 2, 0.5F, center, center, 0}, 30, 40), std::pair(50.0F, 40.0F));
    Transform transform;
    transform.SetRotation(100, 50, 90);
    EXPECT_EQ(mapped(transform, 110, 50), std::pair(100.0F, 60.0F));
    transform.SetScaleOffset(3, 4);  // counts only when there is an angle
    EXPECT_EQ(mapped(transform, 110, 50), std::pair(97.0F, 56.0F));
    transform.SetAngle(0);
    EXPECT_EQ(mapped(transform, 110, 50), std::pair(110.0F, 50.0F));
}

TEST(LayerStackTransform, TheStrategyDecidesOnTheScaleButTheScaledCentreComesBackAnyway)
{
    const Transform in(0, 0, 4, 4, 10, 10, 0);
    const Transform out(0, 0, 0.5F, 0.5F, 10, 10, 0);
    const auto mapped = [](const Transform& transform, Transform::ScaleStrategy strategy) {
        float x = 12, y = 0;
        transform.XformCoords(x, y, strategy, false);
        return x;
    };
    EXPECT_FLOAT_EQ(mapped(in, Transform::kScaleNever), 2 + 40);
    EXPECT_FLOAT_EQ(mapped(in, Transform::kScaleWhenZoomedOut), 2 + 40);
    EXPECT_FLOAT_EQ(mapped(out, Transform::kScaleWhenZoomedOut), 1 + 5);
}

TEST(LayerStackTransform, TilesRoundHalvesAwayFromZero)
{
    struct Case {
        int x;
        float scale, offset;
        int expected;
    };
    for (const Case& c : {Case{-3, 0.5F, 0, -2}, Case{3, 0.5F, 0, 2}, Case{0, 1, 0, 0}, Case{5, 1, 0.4F, 5},
                          Case{5, 1, 4.5F, 1}, Case{-5, 1, -4.5F, -1}}) {
        const Transform transform(c.offset, 0, c.scale, 1, 77, 77, 45);
        ilTile tile(c.x, 0, 7, 10, 20, 3);
        transform.XformTile(tile, Transform::kScaleAlways, true);
        EXPECT_EQ(tile.x, c.expected) << c.x << " * " << c.scale << " - " << c.offset;
        EXPECT_EQ(tile.z, 7);
        EXPECT_EQ(tile.nz, 3);
    }
    ilTile tile(10, 20, 30, 40);
    const Transform transform(8, -8, 4, 2, 0, 0, 0);
    transform.XformTile(tile, Transform::kScaleAlways, false);
    EXPECT_EQ(tile, ilTile(32, 48, 120, 80));
    transform.InvXformTile(tile, Transform::kScaleAlways, false);
    EXPECT_EQ(tile, ilTile(10, 20, 30, 40));
    transform.InvXformTile(tile, Transform::kScaleWhenZoomedOut, false);
    EXPECT_EQ(tile, ilTile(18, 12, 30, 40));
    tile = {1 << 30, -(1 << 30), 1 << 30, 0};
    Transform(0, 0, 1e6F, NAN, 0, 0, 0).XformTile(tile, Transform::kScaleAlways, false);
    EXPECT_EQ(tile, ilTile(INT32_MAX, 0, INT32_MAX, 0)) << "what leaves the range of int is cut";
}

TEST(LayerStackTransform, EqualityLooksAtTheSevenGivenValuesOnly)
{
    const Transform base(1, 2, 3, 4, 5, 6, 7);
    Transform other = base;
    other.SetPrevOffset(9, 9);
    other.SetTargetCenter(9, 9);
    other.SetScaleOffset(9, 9);
    EXPECT_EQ(other, base);
    for (int changed = 0; changed < 7; ++changed) {
        float v[7] = {1, 2, 3, 4, 5, 6, 7};
        v[changed] += 0.5F;
        EXPECT_NE(Transform(v[0], v[1], v[2], v[3], v[4], v[5], v[6]), base) << changed;
    }
}
