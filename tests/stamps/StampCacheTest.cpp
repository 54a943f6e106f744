#include "platform/imaging/stamps/StampCache.h"

#include "platform/imaging/stamps/Stamp.h"
#include "platform/imaging/stamps/StampCacheImpl.h"
#include "tests/support/Seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>

namespace {

qs::Reference<const StampCoverage> CoverageOfSide(int side)
{
    return qs::MakeReference<StampCoverage>(0, 0, side, side);
}

TEST(StampCache, BehavesAsAListInOrderOfUseBoundedByBytes)
{
    // Against the plainest cache there is, over keys that collide as often as they like.
    constexpr size_t kLimit = 200'000;
    StampCacheImpl cache(kLimit);
    std::list<std::pair<StampKey, qs::Reference<const StampCoverage>>> model;
    const auto bytesOfModel = [&] {
        size_t bytes = 0;
        for (const auto& [key, coverage] : model)
            bytes += coverage->GetByteCount();
        return bytes;
    };
    SeededNumbers random(3);
    for (int step = 0; step < 60'000; ++step) {
        const StampKey key{random() % 3, (random() % 150) * (random() % 2 ? 1 : uint64_t{1} << 40)};
        const auto known = std::find_if(model.begin(), model.end(), [&](const auto& e) { return e.first == key; });
        const StampCoverage* found = cache.Find(key);
        ASSERT_EQ(found, known == model.end() ? nullptr : known->second.get()) << step;
        if (known != model.end()) {
            model.splice(model.begin(), model, known);
            continue;
        }
        const bool isTooLarge = random() % 99 == 0;
        const auto made = CoverageOfSide(isTooLarge ? 600 : 1 + static_cast<int>(random() % 60));
        cache.Insert(key, made);
        if (!isTooLarge)
            model.emplace_front(key, made);
        while (bytesOfModel() > kLimit)
            model.pop_back();
        ASSERT_EQ(cache.GetBytes(), bytesOfModel());
        if (random() % 10'000 == 0) {
            if (random() % 2 == 0)
                cache.Clear();
            else
                cache.SetByteLimit(0);
            cache.SetByteLimit(kLimit);
            model.clear();
        }
    }
}

class SharedStampCache : public testing::Test {
protected:
    void SetUp() override { ILStampImpl::reset_cache(); }

    void TearDown() override
    {
        ILStampImpl::max_cache_size(64);
        ILStampImpl::reset_cache();
    }
};

TEST_F(SharedStampCache, SameStampIsMadeOnceAndHeldByItsUsersOnly)
{
    const auto stamp = qs::MakeReference<Stamp>();
    const auto first = stamp->GetCoverage({1.5, 2.5, 9}).coverage;
    EXPECT_EQ(stamp->GetCoverage({30.5, -70.5, 9}).coverage, first);
    EXPECT_EQ(first->GetRefCount(), 2);
    ILStampImpl::reset_cache();
    EXPECT_EQ(ILStampImpl::GetCachedBytes(), 0U);
    EXPECT_EQ(first->GetRefCount(), 1);
    EXPECT_NE(stamp->GetCoverage({1.5, 2.5, 9}).coverage, first);
}

TEST_F(SharedStampCache, StampsAreMadeWithoutACache)
{
    ILStampImpl::max_cache_size(0);
    EXPECT_EQ(ILStampImpl::max_cache_size(), 0);
    const auto stamp = qs::MakeReference<Stamp>();
    for (int i = 0; i < 3; ++i) {
        const PlacedCoverage placed = stamp->GetCoverage({0.5, 0.5, 9});
        ASSERT_TRUE(placed.coverage);
        EXPECT_EQ(placed.coverage->GetRow(9)[9], 255);
        EXPECT_EQ(placed.coverage->GetRefCount(), 1);
    }
    EXPECT_EQ(ILStampImpl::GetCachedBytes(), 0U);
    ILStampImpl::max_cache_size(-5);
    EXPECT_EQ(ILStampImpl::max_cache_size(), 0);
}

TEST_F(SharedStampCache, LargeStampsOfOneSizeAreKeptAndThoseOfManySizesAreNot)
{
    const auto stamp = qs::MakeReference<Stamp>();
    for (int i = 0; i < 50; ++i)
        stamp->GetCoverage({0, 0, 200 + static_cast<float>(i)});
    EXPECT_EQ(ILStampImpl::GetCachedBytes(), 0U);
    stamp->GetCoverage({0, 0, 300});
    const auto second = stamp->GetCoverage({0.5, 0, 300}).coverage;
    EXPECT_EQ(stamp->GetCoverage({7.5, 3, 300}).coverage, second);
}

TEST_F(SharedStampCache, AnyBrushStaysWithinTheBound)
{
    ILStampImpl::max_cache_size(1);
    SeededNumbers random(5);
    for (int i = 0; i < 1500; ++i) {
        const auto stamp = qs::MakeReference<Stamp>();
        stamp->set_profile(MakeProfile({static_cast<float>(random() % 4) / 4, BrushProfile::Falloff::Smooth}, 10));
        const float size = static_cast<float>(random() % 800) / 16;
        stamp->GetCoverage({static_cast<double>(random() % 1024) / 256, 0, size + 0.1F});
        ASSERT_LE(ILStampImpl::GetCachedBytes(), size_t{1} << 20);
    }
    EXPECT_GT(ILStampImpl::GetCachedBytes(), size_t{1} << 19);
}

}  // namespace
