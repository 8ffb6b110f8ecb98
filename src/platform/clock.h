// Every reading of time goes through here, so that a test can put a clock of its own in place.
#pragma once

#include <cstdint>

#include "contracts/calendar_time.h"

namespace orrery::platform {

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

// Between ticks of the system clock and the UTC calendar; both ways false, the output untouched, for what the
// other can't show, such as a time that is all zero.
bool CalendarOf(int64_t systemTicks, CalendarTime& time);
bool SystemTicksOf(const CalendarTime& time, int64_t& systemTicks);

// Puts `clock` in place of the system's, null puts the system's back. The clock outlives its use.
void SetClock(Clock* clock);

}  // namespace orrery::platform
