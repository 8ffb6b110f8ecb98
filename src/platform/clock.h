// Every reading of time goes through here, so that a test can put a clock of its own in place.
#pragma once

#include <cstdint>

namespace orrery::platform {

// Year, month, day of week, day, hour, minute, second, milliseconds; all zero means no time.
struct CalendarTime {
    uint16_t year = 0;
    uint16_t month = 0;
    uint16_t dayOfWeek = 0;  // 0 is Sunday
    uint16_t day = 0;
    uint16_t hour = 0;
    uint16_t minute = 0;
    uint16_t second = 0;
    uint16_t milliseconds = 0;
};

constexpr int64_t ticksPerSecond = 10'000'000;

class Clock {
  public:
    virtual ~Clock() = default;
    // 100 ns ticks since 1601-01-01 UTC.
    virtual int64_t SystemTicks() = 0;
    // 100 ns ticks since an arbitrary start; never goes back.
    virtual int64_t SteadyTicks() = 0;
    // Offset of local time from UTC at that moment, in seconds.
    virtual int64_t LocalOffset(int64_t utcSeconds) = 0;
};

// 100 ns ticks of the system clock.
int64_t SystemTicks();
int64_t SteadyTicks();
// Seconds since 1970-01-01 UTC.
int64_t UtcSeconds();
CalendarTime UtcTime();
CalendarTime LocalTime();

// Puts `clock` in place of the system's, null puts the system's back. The clock outlives its use.
void SetClock(Clock* clock);

}  // namespace orrery::platform
