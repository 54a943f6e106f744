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

SYSTEMTIME At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0, int ms = 0)
{
    const auto word = [](int value) { return static_cast<uint16_t>(value); };
    return {word(year), word(month), 0, word(day), word(hour), word(minute), word(second), word(ms)};
}

TEST(Clock, KnownDatesHaveTheirKnownFileTimes)
{
    const struct {
        SYSTEMTIME time;
        uint64_t units;
    } cases[] = {
        {At(1601, 1, 1), 0},
        {At(1601, 1, 1, 0, 0, 0, 1), kUnitsPerMs},
        {At(1970, 1, 1), 116444736000000000},  // the Unix epoch
        {At(2001, 9, 9, 1, 46, 40), 126444736000000000},  // 10^9 seconds later
        {At(2038, 1, 19, 3, 14, 7), 137919572470000000},  // 2^31 - 1 seconds later
        {At(30827, 12, 31, 23, 59, 59, 999), 0x7FFF35F4F06C58F0},  // the last millisecond
    };
    for (const auto& expected : cases) {
        FILETIME fileTime;
        ASSERT_TRUE(SystemTimeToFileTime(&expected.time, &fileTime));
        EXPECT_EQ(fileTime.Units(), expected.units) << expected.time.wYear;
    }
}

TEST(Clock, DatesThatTheCalendarLacksAreRefused)
{
    const SYSTEMTIME wrong[] = {At(1600, 12, 31),      At(30828, 1, 1),          At(2000, 0, 1),
                                At(2000, 13, 1),       At(2000, 1, 0),           At(2000, 4, 31),
                                At(1900, 2, 29),       At(2023, 2, 29),          At(2000, 1, 1, 24),
                                At(2000, 1, 1, 0, 60), At(2000, 1, 1, 0, 0, 60), At(2000, 1, 1, 0, 0, 0, 1000)};
    for (const SYSTEMTIME& time : wrong) {
        FILETIME fileTime = {1, 2};
        EXPECT_FALSE(SystemTimeToFileTime(&time, &fileTime)) << time.wYear << '-' << time.wMonth << '-' << time.wDay;
        EXPECT_EQ(fileTime, (FILETIME{1, 2}));
    }
    const SYSTEMTIME leap = At(2000, 2, 29);
    FILETIME fileTime;
    EXPECT_TRUE(SystemTimeToFileTime(&leap, &fileTime));
    EXPECT_FALSE(SystemTimeToFileTime(nullptr, &fileTime));
    EXPECT_FALSE(SystemTimeToFileTime(&leap, nullptr));
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

TEST(Clock, FileTimesAreOrderedAsOneNumber)
{
    EXPECT_LT((FILETIME{0xFFFFFFFF, 1}), (FILETIME{0, 2}));
    EXPECT_GT((FILETIME{2, 1}), (FILETIME{1, 1}));
}

TEST(Clock, CountersFollowTheMonotonicClockAndTicksWrap)
{
    StoppedClock clock;
    int64_t frequency = 0;
    int64_t before = 0;
    int64_t after = 0;
    ASSERT_TRUE(QueryPerformanceFrequency(&frequency));
    ASSERT_TRUE(QueryPerformanceCounter(&before));
    clock.ns += 2'500'000'000;
    ASSERT_TRUE(QueryPerformanceCounter(&after));
    EXPECT_DOUBLE_EQ(static_cast<double>(after - before) / static_cast<double>(frequency), 2.5);
    EXPECT_EQ(GetTickCount(), 2500U);
    clock.ns = (int64_t{1} << 32) * 1'000'000 + 7'999'999;
    EXPECT_EQ(GetTickCount(), 7U);
    EXPECT_FALSE(QueryPerformanceCounter(nullptr));
}

TEST(Clock, TheSystemsClockIsPastTheYear2020AndNeverRunsBackwards)
{
    const SYSTEMTIME start2020 = At(2020, 1, 1);
    const SYSTEMTIME start2200 = At(2200, 1, 1);
    FILETIME earliest;
    FILETIME latest;
    ASSERT_TRUE(SystemTimeToFileTime(&start2020, &earliest) && SystemTimeToFileTime(&start2200, &latest));
    EXPECT_GT(CurrentFileTime(), earliest);
    EXPECT_LT(CurrentFileTime(), latest);
    int64_t last = 0;
    for (int i = 0; i < 1000; ++i) {
        int64_t now = 0;
        ASSERT_TRUE(QueryPerformanceCounter(&now));
        ASSERT_GE(now, last);
        last = now;
    }
}

}  // namespace
