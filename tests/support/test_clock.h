// A clock that stands until it is told to go on. It is the process's clock for as long as it lives; any
// thread may read it and set it.
#pragma once

#include <atomic>

#include "platform/clock.h"

namespace orrery::test {

class TestClock final : public platform::Clock {
  public:
    explicit TestClock(int64_t utcSeconds = 1'700'000'000) {
        SetUtc(utcSeconds);
        platform::SetClock(this);
    }
    ~TestClock() override { platform::SetClock(nullptr); }
    TestClock(const TestClock&) = delete;
    TestClock& operator=(const TestClock&) = delete;

    // Seconds since 1970. The steady clock doesn't notice.
    void SetUtc(int64_t seconds) { system = (seconds + secondsBefore1970) * platform::ticksPerSecond; }
    // Both clocks.
    void Advance(int64_t seconds) {
        system += seconds * platform::ticksPerSecond;
        steady += seconds * platform::ticksPerSecond;
    }

    int64_t SystemTicks() override { return system; }
    int64_t SteadyTicks() override { return steady; }
    int64_t LocalOffset(int64_t) override { return offset; }

    std::atomic<int64_t> offset{0};  // of local time, in seconds

  private:
    static constexpr int64_t secondsBefore1970 = 11'644'473'600;
    std::atomic<int64_t> system{0};
    std::atomic<int64_t> steady{platform::ticksPerSecond};
};

}  // namespace orrery::test
