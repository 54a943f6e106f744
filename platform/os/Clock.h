#pragma once

#include "platform/base/Export.h"

#include <compare>
#include <cstdint>

namespace qsOS {

/// A point in time: 100 ns units since 1601-01-01 00:00 UTC, in two halves.
struct FILETIME {
    uint32_t dwLowDateTime = 0;
    uint32_t dwHighDateTime = 0;

    constexpr uint64_t Units() const noexcept { return uint64_t{dwHighDateTime} << 32 | dwLowDateTime; }

    constexpr bool operator==(const FILETIME&) const noexcept = default;
    constexpr std::strong_ordering operator<=>(const FILETIME& other) const noexcept
    {
        return Units() <=> other.Units();
    }
};

/// A point in time by calendar and clock, UTC, to the millisecond.
struct SYSTEMTIME {
    uint16_t wYear = 0;
    uint16_t wMonth = 0;  // 1 to 12
    uint16_t wDayOfWeek = 0;  // 0 is Sunday
    uint16_t wDay = 0;  // 1 to 31
    uint16_t wHour = 0;
    uint16_t wMinute = 0;
    uint16_t wSecond = 0;
    uint16_t wMilliseconds = 0;
};

/// Where the library gets its time from; the base class asks the system.
class PAINTLAYER_EXPORT ClockPort {
public:
    virtual ~ClockPort();
    /// 100 ns units since 1601-01-01 00:00 UTC; before the year 30828.
    virtual uint64_t NowFileTimeUnits();
    /// Nanoseconds since any fixed moment; never runs backwards.
    virtual int64_t MonotonicNs();
};

/// Replaces the clock for the whole process; `port` is borrowed. Null brings the system's clock back.
PAINTLAYER_EXPORT void SetClockPort(ClockPort* port);

/// The current time cut to milliseconds; does nothing with a null pointer.
PAINTLAYER_EXPORT void GetSystemTime(SYSTEMTIME* time);

/// The day of the week is not looked at. False, with `fileTime` unchanged, for a null pointer or a date that the
/// calendar does not have; years run from 1601 to 30827.
PAINTLAYER_EXPORT bool SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* fileTime);

/// The current time, to the millisecond.
PAINTLAYER_EXPORT FILETIME CurrentFileTime();

/// Milliseconds of the monotonic clock; begins again at 0 after 2^32 of them, so only differences mean anything.
PAINTLAYER_EXPORT uint32_t GetTickCount();

/// Ticks of the monotonic clock, QueryPerformanceFrequency() of them a second. False with a null pointer.
PAINTLAYER_EXPORT bool QueryPerformanceCounter(int64_t* ticks);
PAINTLAYER_EXPORT bool QueryPerformanceFrequency(int64_t* ticksPerSecond);

}  // namespace qsOS
