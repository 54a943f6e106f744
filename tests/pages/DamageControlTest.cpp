#include "platform/imaging/pages/DamageControl.h"

#include "tests/support/Seed.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<ilTile> TakeAll(DamageControl& damage)
{
    std::vector<ilTile> tiles;
    for (ilTile tile; damage.nextDamaged(tile);)
        tiles.push_back(tile);
    return tiles;
}

bool AnyContains(const std::vector<ilTile>& tiles, const ilTile& tile)
{
    for (const ilTile& each : tiles)
        if (each.Contains(tile))
            return true;
    return false;
}

TEST(DamageControl, EveryTileAddedIsCoveredByAShortList)
{
    SeededNumbers random(1);
    for (int round = 0; round < 300; ++round) {
        DamageControl damage;
        std::vector<ilTile> added;
        ilTile all;
        const int count = 1 + static_cast<int>(random() % 120);
        for (int i = 0; i < count; ++i) {
            const ilTile tile{static_cast<int>(random() % 4000) - 2000, static_cast<int>(random() % 4000) - 2000,
                              static_cast<int>(random() % 300), static_cast<int>(random() % 300)};
            damage.DamageTile(tile);
            added.push_back(tile);
            all = ilTileUnion(all, tile);
        }
        EXPECT_EQ(damage.previewEntireDamaged(), all);
        const std::vector<ilTile> tiles = TakeAll(damage);
        ASSERT_LE(tiles.size(), 24U);
        for (const ilTile& tile : added)
            ASSERT_TRUE(AnyContains(tiles, tile)) << "round " << round;
        EXPECT_FALSE(damage.anyDamaged());
        EXPECT_TRUE(damage.previewEntireDamaged().IsEmpty());
    }
}

TEST(DamageControl, StampsOfAStrokeBecomeOneTileAndThoseOfSymmetricStrokesStayApart)
{
    DamageControl damage;
    for (int i = 0; i < 400; ++i) {
        damage.DamageTile({i, i / 3, 64, 64});
        damage.DamageTile({3000 - i, i / 3, 64, 64});
        damage.DamageTile({3000 - i, 2000 - i / 3, 64, 64});
    }
    const std::vector<ilTile> tiles = TakeAll(damage);
    ASSERT_EQ(tiles.size(), 3U);
    for (const ilTile& tile : tiles) {
        EXPECT_EQ(tile.nx, 463);
        EXPECT_EQ(tile.ny, 197);
    }
}

TEST(DamageControl, TilesComeOldestFirstAndAnEmptyOneAddsNothing)
{
    DamageControl damage;
    ilTile tile{1, 2, 3, 4};
    damage.DamageTile({});
    damage.DamageTile({5, 5, 0, 7});
    EXPECT_FALSE(damage.anyDamaged());
    EXPECT_FALSE(damage.nextDamaged(tile));
    EXPECT_EQ(tile, ilTile(1, 2, 3, 4));
    damage.DamageTile({0, 0, 10, 10});
    damage.DamageTile({1000, 0, 10, 10});
    EXPECT_TRUE(damage.nextDamaged(tile));
    EXPECT_EQ(tile, ilTile(0, 0, 10, 10));
    EXPECT_TRUE(damage.anyDamaged());
}

TEST(DamageControl, NoTileHoweverFarMakesDamageForgotten)
{
    SeededNumbers random(2);
    const int edges[] = {INT32_MIN, INT32_MIN + 1, -(1 << 30), -1000, -1, 0, 1, 640, 1 << 30, INT32_MAX - 1, INT32_MAX};
    const auto any = [&] { return edges[random() % std::size(edges)]; };
    for (int round = 0; round < 2000; ++round) {
        DamageControl damage;
        const ilTile shown{static_cast<int>(random() % 1000), static_cast<int>(random() % 1000), 10, 10};
        damage.DamageTile(shown);
        for (int i = 0; i < 60; ++i)
            damage.DamageTile({any(), any(), any(), any()});
        EXPECT_TRUE(damage.previewEntireDamaged().Contains(shown)) << "round " << round;
        ASSERT_TRUE(AnyContains(TakeAll(damage), shown)) << "round " << round;
    }
}

TEST(DamageControl, TilesApartStayApartAndAFullListGrowsWhereItCostsLeast)
{
    DamageControl damage;
    for (int i = 0; i < 24; ++i)
        damage.DamageTile({30 * i * (i + 1), 0, 20, 20});
    damage.DamageTile({180, 40, 20, 20});  // below the third
    const std::vector<ilTile> tiles = TakeAll(damage);
    ASSERT_EQ(tiles.size(), 24U);
    int64_t area = 0;
    for (const ilTile& tile : tiles)
        area += tile.Area();
    EXPECT_EQ(area, 23 * 400 + 20 * 60);
}

}  // namespace
