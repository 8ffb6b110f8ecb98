// The timers of the server's event loop. They go by the steady clock of platform/clock.h, as every wait does,
// so that a test lets minutes pass at once. One thread.
#pragma once

#include <boost/asio/basic_waitable_timer.hpp>
#include <chrono>

#include "platform/clock.h"

namespace orrery::hub {

// The steady clock in the form that the networking library asks for.
struct SteadyTime {
    using duration = std::chrono::duration<int64_t, std::ratio<1, platform::ticksPerSecond>>;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<SteadyTime>;
    static constexpr bool is_steady = true;

    static time_point now() { return time_point(duration(platform::SteadyTicks())); }
};

// How long the loop sleeps before it asks for the time again.
struct SteadyWait {
    static SteadyTime::duration to_wait_duration(const SteadyTime::duration& left) {
        return std::chrono::ceil<SteadyTime::duration>(
            platform::TimeUntil(platform::SteadyTicks() + left.count()));
    }
    static SteadyTime::duration to_wait_duration(const SteadyTime::time_point& moment) {
        return to_wait_duration(moment - SteadyTime::now());
    }
};

using ClockTimer = boost::asio::basic_waitable_timer<SteadyTime, SteadyWait>;

}  // namespace orrery::hub
