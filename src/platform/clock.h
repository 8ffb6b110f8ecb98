// Every reading of time and every wait for it goes through here, so that a test can put a clock of its own in
// place.
#pragma once

#include <chrono>
#include <cstdint>

#include "contracts/calendar_time.h"
#include "platform/mutex.h"

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
    // How long to wait in real time before asking again; zero once SteadyTicks has reached `deadline`.
    virtual std::chrono::nanoseconds TimeUntil(int64_t deadline) = 0;
};

// 100 ns ticks of the system clock.
int64_t SystemTicks();
int64_t SteadyTicks();
// The steady time that lies so far ahead, at most a century.
int64_t SteadyDeadline(std::chrono::milliseconds wait);
std::chrono::nanoseconds TimeUntil(int64_t steadyDeadline);
// Waits with `mutex` held until `condition` is notified, which may be for nothing; false once the deadline
// has passed.
bool WaitUntil(ConditionVariable& condition, Mutex& mutex, int64_t steadyDeadline) REQUIRES(mutex);
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
