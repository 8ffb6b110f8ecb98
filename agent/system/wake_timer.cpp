#include "agent/system/wake_timer.h"

#include <sys/timerfd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace orrery::agent {

WakeTimer::WakeTimer() : timer(timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC)) {
    if (!timer.IsOpen()) throw std::system_error(errno, std::system_category(), "timer");
}

void WakeTimer::Set(std::optional<int64_t> moment) {
    itimerspec setting{};
    if (moment) {
        // All zero would stop the timer instead.
        const int64_t milliseconds = std::max<int64_t>(*moment, 1);
        setting.it_value.tv_sec = milliseconds / 1000;
        setting.it_value.tv_nsec = milliseconds % 1000 * 1'000'000;
    }
    timerfd_settime(timer.Get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &setting, nullptr);
}

bool WakeTimer::TakeWake() {
    uint64_t expirations = 0;
    return read(timer.Get(), &expirations, sizeof expirations) < 0 && errno == ECANCELED;
}

}  // namespace orrery::agent
