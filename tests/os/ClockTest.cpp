#include "platform/os/Clock.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using namespace qsOS;

constexpr uint64_t kUnitsPerMs = 10'000;
constexpr uint64_t kUnitsPerDay = 864'000'000'000;

class StoppedClock : public ClockPort {
public:
    StoppedClock() { SetClockPort(this); }
    ~StoppedClock() override { SetClockPort(nullptr); }
    uint64_t NowFileTimeUnits() override { return units; }
    int64_t MonotonicNs() override { return ns; }

    uint64_t units = 0;
    int64_t ns = 0;
};

TEST(Clock, KnownDatesHaveTheirKnownFileTimesAndOthersAreRefused)
{
    constexpr uint64_t kRefused = ~uint64_t{0};
    const struct {
        SYSTEMTIME time;  // year, month, weekday (not looked at), day, hour, minute, second, milliseconds
        uint64_t units;
    } cases[] = {
        {{1601, 1, 9, 1, 0, 0, 0, 0}, 0},
        {{1601, 1, 0, 1, 0, 0, 0, 1}, kUnitsPerMs},
        {{1970, 1, 0, 1, 0, 0, 0, 0}, 116444736000000000},  // the Unix epoch
        {{2001, 9, 0, 9, 1, 46, 40, 0}, 126444736000000000},  // 10^9 seconds later
        {{2038, 1, 0, 19, 3, 14, 7, 0}, 137919572470000000},  // 2^31 - 1 seconds later
        {{30827, 12, 0, 31, 23, 59, 59, 999}, 0x7FFF35F4F06C58F0},  // the last millisecond
        {{1600, 12, 0, 31, 0, 0, 0, 0}, kRefused},
        {{30828, 1, 0, 1, 0, 0, 0, 0}, kRefused},
        {{2000, 0, 0, 1, 0, 0, 0, 0}, kRefused},
        {{2000, 13, 0, 1, 0, 0, 0, 0}, kRefused},
        {{2000, 1, 0, 0, 0, 0, 0, 0}, kRefused},
        {{2000, 4, 0, 31, 0, 0, 0, 0}, kRefused},
        {{1900, 2, 0, 29, 0, 0, 0, 0}, kRefused},
        {{2000, 1, 0, 1, 24, 0, 0, 0}, kRefused},
        {{2000, 1, 0, 1, 0, 60, 0, 0}, kRefused},
        {{2000, 1, 0, 1, 0, 0, 60, 0}, kRefused},
        {{2000, 1, 0, 1, 0, 0, 0, 1000}, kRefused},
    };
    for (const auto& [time, units] : cases) {
        FILETIME fileTime = {1, 2};
        EXPECT_EQ(SystemTimeToFileTime(&time, &fileTime), units != kRefused);
        EXPECT_EQ(fileTime.Units(), units != kRefused ? units : (FILETIME{1, 2}.Units())) << time.wYear;
        EXPECT_FALSE(SystemTimeToFileTime(nullptr, &fileTime) || SystemTimeToFileTime(&time, nullptr));
    }
    EXPECT_LT((FILETIME{0xFFFFFFFF, 1}), (FILETIME{0, 2}));
    EXPECT_GT((FILETIME{2, 1}), (FILETIME{1, 1}));
}

TEST(Clock, EveryDayOfFourCenturiesSurvivesTheCalendarAndItsWeekdaysRunOn)
{
    StoppedClock clock;
    const int kMonday = 1;  // 1601-01-01
    for (uint64_t day = 0; day < 146097; ++day) {
        clock.units = day * kUnitsPerDay + kUnitsPerDay - 1;
        SYSTEMTIME time;
        GetSystemTime(&time);
        ASSERT_EQ(time.wDayOfWeek, (kMonday + day) % 7);
        ASSERT_EQ(CurrentFileTime().Units(), clock.units / kUnitsPerMs * kUnitsPerMs);
    }
}

TEST(Clock, CountersFollowTheMonotonicClockAndTicksWrap)
{
    StoppedClock clock;
    int64_t frequency = 0, before = 0, after = 0;
    ASSERT_TRUE(QueryPerformanceFrequency(&frequency) && QueryPerformanceCounter(&before));
    clock.ns += 2'500'000'000;
    ASSERT_TRUE(QueryPerformanceCounter(&after));
    EXPECT_DOUBLE_EQ(static_cast<double>(after - before) / static_cast<double>(frequency), 2.5);
    EXPECT_EQ(GetTickCount(), 2500U);
    clock.ns = (int64_t{1} << 32) * 1'000'000 + 7'999'999;
    EXPECT_EQ(GetTickCount(), 7U);
    EXPECT_FALSE(QueryPerformanceCounter(nullptr));
}

TEST(Clock, TheSystemsClockIsOfThisCenturyAndNeverRunsBackwards)
{
    SYSTEMTIME now;
    GetSystemTime(&now);
    EXPECT_TRUE(now.wYear >= 2020 && now.wYear < 2200) << now.wYear;
    int64_t last = 0;
    for (int i = 0; i < 1000; ++i) {
        int64_t ticks = 0;
        ASSERT_TRUE(QueryPerformanceCounter(&ticks));
        ASSERT_GE(ticks, last);
        last = ticks;
    }
}

}  // namespace
