// A clock that stands until it is told to go on. It is the process's clock for as long as it lives; any
// thread may read it, set it and wait by it. Who waits for a time that has come goes on within a millisecond.
#pragma once

#include <atomic>
#include <chrono>

#include "platform/clock.h"
#include "support/call_log.h"

namespace orrery::test {

class TestClock final : public platform::Clock {
  public:
    explicit TestClock(int64_t utcSeconds = 1'700'000'000) {
        SetUtc(utcSeconds);
        platform::SetClock(this);
    }
    ~TestClock() override { platform::SetClock(nullptr); }

    // Seconds since 1970. The steady clock doesn't notice.
    void SetUtc(int64_t seconds) { system = (seconds + secondsBefore1970) * platform::ticksPerSecond; }
    // Both clocks.
    void Advance(int64_t seconds) {
        system += seconds * platform::ticksPerSecond;
        steady += seconds * platform::ticksPerSecond;
    }

    // Advances once a thread waits for a later time than this; false if none does.
    bool AdvanceWaiter(int64_t seconds) {
        // Two questions: the first may have been asked before the last advance.
        const bool waited = Eventually([this, asked = waits + 2] { return waits >= asked; });
        if (waited) Advance(seconds);
        return waited;
    }

    int64_t SystemTicks() override { return system; }
    int64_t SteadyTicks() override { return steady; }
    int64_t LocalOffset(int64_t) override { return offset; }
    std::chrono::nanoseconds TimeUntil(int64_t deadline) override {
        if (deadline <= steady) return std::chrono::nanoseconds::zero();
        ++waits;
        return std::chrono::milliseconds(1);
    }

    std::atomic<int64_t> offset{0};  // of local time, in seconds

  private:
    static constexpr int64_t secondsBefore1970 = 11'644'473'600;
    std::atomic<int64_t> system{0};
    std::atomic<int64_t> steady{platform::ticksPerSecond};
    std::atomic<int64_t> waits{0};  // questions for a time that hadn't come
};

}  // namespace orrery::test
