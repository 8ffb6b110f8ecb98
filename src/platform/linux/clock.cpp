#include "platform/clock.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>

namespace orrery::platform {

namespace {

using Ticks = std::chrono::duration<int64_t, std::ratio<1, ticksPerSecond>>;
using TickTime = std::chrono::sys_time<Ticks>;

constexpr TickTime startOfTicks = std::chrono::sys_days(std::chrono::year(1601) / 1 / 1);
// Years have four digits.
constexpr TickTime lastTime = std::chrono::sys_days(std::chrono::year(9999) / 12 / 31);

class SystemClock final : public Clock {
  public:
    int64_t SystemTicks() override {
        const auto now = std::chrono::floor<Ticks>(std::chrono::system_clock::now());
        return (now - startOfTicks).count();
    }
    int64_t SteadyTicks() override {
        const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
        return std::chrono::floor<Ticks>(sinceStart).count();
    }
    int64_t LocalOffset(int64_t utcSeconds) override {
        const std::time_t instant = utcSeconds;
        std::tm local{};
        ::tzset();  // a zone changed since the start counts; localtime_r alone wouldn't look
        return ::localtime_r(&instant, &local) ? local.tm_gmtoff : 0;
    }
    std::chrono::nanoseconds TimeUntil(int64_t deadline) override {
        return std::max(Ticks(deadline - SteadyTicks()), Ticks::zero());
    }
};

SystemClock systemClock;
std::atomic<Clock*> current{&systemClock};

TickTime Now() {
    return startOfTicks + Ticks(current.load()->SystemTicks());
}

int64_t SecondsOf(TickTime time) {
    return std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
}

CalendarTime Calendar(TickTime time) {
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss timeOfDay(std::chrono::floor<std::chrono::milliseconds>(time - day));
    CalendarTime result;
    result.year = static_cast<uint16_t>(static_cast<int>(date.year()));
    result.month = static_cast<uint16_t>(static_cast<unsigned>(date.month()));
    result.dayOfWeek = static_cast<uint16_t>(std::chrono::weekday(day).c_encoding());
    result.day = static_cast<uint16_t>(static_cast<unsigned>(date.day()));
    result.hour = static_cast<uint16_t>(timeOfDay.hours().count());
    result.minute = static_cast<uint16_t>(timeOfDay.minutes().count());
    result.second = static_cast<uint16_t>(timeOfDay.seconds().count());
    result.milliseconds = static_cast<uint16_t>(timeOfDay.subseconds().count());
    return result;
}

}  // namespace

int64_t SystemTicks() {
    return current.load()->SystemTicks();
}

int64_t SteadyTicks() {
    return current.load()->SteadyTicks();
}

int64_t SteadyDeadline(std::chrono::milliseconds wait) {
    constexpr std::chrono::milliseconds century = std::chrono::hours(100 * 366 * 24);
    return SteadyTicks() + std::chrono::floor<Ticks>(std::min(wait, century)).count();
}

std::chrono::nanoseconds TimeUntil(int64_t steadyDeadline) {
    return current.load()->TimeUntil(steadyDeadline);
}

bool WaitUntil(ConditionVariable& condition, Mutex& mutex, int64_t steadyDeadline) {
    const std::chrono::nanoseconds left = TimeUntil(steadyDeadline);
    if (left == left.zero()) return false;
    // How that ended doesn't tell: a notification may come together with the end of the time, and isn't to be
    // slept over.
    condition.wait_for(mutex, left);
    return TimeUntil(steadyDeadline) != left.zero();
}

int64_t UtcSeconds() {
    return SecondsOf(Now());
}

int64_t LocalOffset(int64_t utcSeconds) {
    return current.load()->LocalOffset(utcSeconds);
}

CalendarTime UtcTime() {
    return Calendar(Now());
}

CalendarTime LocalTime() {
    const TickTime now = Now();
    return Calendar(now + std::chrono::seconds(LocalOffset(SecondsOf(now))));
}

bool CalendarOf(int64_t systemTicks, CalendarTime& time) {
    if (systemTicks < 0 || systemTicks > (lastTime - startOfTicks).count()) return false;
    time = Calendar(startOfTicks + Ticks(systemTicks));
    return true;
}

bool SystemTicksOf(const CalendarTime& time, int64_t& systemTicks) {
    const std::chrono::year_month_day date{std::chrono::year(time.year), std::chrono::month(time.month),
                                           std::chrono::day(time.day)};
    if (!date.ok() || time.hour > 23 || time.minute > 59 || time.second > 59 || time.milliseconds > 999)
        return false;
    const TickTime moment = std::chrono::sys_days(date) + std::chrono::hours(time.hour) +
                            std::chrono::minutes(time.minute) + std::chrono::seconds(time.second) +
                            std::chrono::milliseconds(time.milliseconds);
    if (moment < startOfTicks || moment > lastTime) return false;
    systemTicks = (moment - startOfTicks).count();
    return true;
}

void SetClock(Clock* clock) {
    current = clock ? clock : &systemClock;
}

}  // namespace orrery::platform
