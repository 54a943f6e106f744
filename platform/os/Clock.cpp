#include "platform/os/Clock.h"

#include <chrono>

namespace qsOS {

namespace {

using namespace std::chrono;

using FileTimeUnits = duration<int64_t, std::ratio<1, 10'000'000>>;

constexpr sys_days kFileTimeEpoch = 1601y / January / 1;
constexpr int64_t kNsPerSecond = 1'000'000'000;
constexpr int64_t kNsPerMs = 1'000'000;

ClockPort& SystemClock()
{
    // Never destroyed: documents still open at unload take their last time stamps from it.
    static ClockPort& clock = *new ClockPort;
    return clock;
}

ClockPort* replacedClock = nullptr;

ClockPort& CurrentClock()
{
    return replacedClock != nullptr ? *replacedClock : SystemClock();
}

}  // namespace

ClockPort::~ClockPort() = default;

uint64_t ClockPort::NowFileTimeUnits()
{
    // Cut first: the nanoseconds since 1601 do not fit into 64 bits.
    const auto now = time_point_cast<FileTimeUnits>(system_clock::now());
    return static_cast<uint64_t>((now - kFileTimeEpoch).count());
}

int64_t ClockPort::MonotonicNs()
{
    return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
}

void SetClockPort(ClockPort* port)
{
    replacedClock = port;
}

void GetSystemTime(SYSTEMTIME* time)
{
    if (time == nullptr)
        return;
    const FileTimeUnits sinceEpoch(static_cast<int64_t>(CurrentClock().NowFileTimeUnits()));
    const days wholeDays = floor<days>(sinceEpoch);
    const sys_days day = kFileTimeEpoch + wholeDays;
    const year_month_day date(day);
    const hh_mm_ss clock(floor<milliseconds>(sinceEpoch - wholeDays));
    time->wYear = static_cast<uint16_t>(static_cast<int>(date.year()));
    time->wMonth = static_cast<uint16_t>(static_cast<unsigned>(date.month()));
    time->wDayOfWeek = static_cast<uint16_t>(weekday(day).c_encoding());
    time->wDay = static_cast<uint16_t>(static_cast<unsigned>(date.day()));
    time->wHour = static_cast<uint16_t>(clock.hours().count());
    time->wMinute = static_cast<uint16_t>(clock.minutes().count());
    time->wSecond = static_cast<uint16_t>(clock.seconds().count());
    time->wMilliseconds = static_cast<uint16_t>(clock.subseconds().count());
}

bool SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* fileTime)
{
    if (time == nullptr || fileTime == nullptr)
        return false;
    const year_month_day date{year(time->wYear), month(time->wMonth), day(time->wDay)};
    if (time->wYear < 1601 || time->wYear > 30827 || !date.ok())
        return false;
    if (time->wHour > 23 || time->wMinute > 59 || time->wSecond > 59 || time->wMilliseconds > 999)
        return false;
    const FileTimeUnits sinceEpoch = (sys_days(date) - kFileTimeEpoch) + hours(time->wHour) + minutes(time->wMinute) +
                                     seconds(time->wSecond) + milliseconds(time->wMilliseconds);
    const auto units = static_cast<uint64_t>(sinceEpoch.count());
    fileTime->dwLowDateTime = static_cast<uint32_t>(units);
    fileTime->dwHighDateTime = static_cast<uint32_t>(units >> 32);
    return true;
}

FILETIME CurrentFileTime()
{
    SYSTEMTIME time;
    FILETIME fileTime;
    GetSystemTime(&time);
    SystemTimeToFileTime(&time, &fileTime);
    return fileTime;
}

uint32_t GetTickCount()
{
    return static_cast<uint32_t>(CurrentClock().MonotonicNs() / kNsPerMs);
}

bool QueryPerformanceCounter(int64_t* ticks)
{
    if (ticks == nullptr)
        return false;
    *ticks = CurrentClock().MonotonicNs();
    return true;
}

bool QueryPerformanceFrequency(int64_t* ticksPerSecond)
{
    if (ticksPerSecond == nullptr)
        return false;
    *ticksPerSecond = kNsPerSecond;
    return true;
}

}  // namespace qsOS
