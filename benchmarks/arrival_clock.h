// Counts what arrives, and keeps when the first and the last expected one came. Count comes from one thread.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace bench {

class ArrivalClock {
  public:
    explicit ArrivalClock(uint64_t expected) : expected(expected) {}

    void Count() {
        const uint64_t number = ++arrived;
        if (number == 1) first = Clock::now();
        if (number == expected) {
            last = Clock::now();
            complete = true;
        }
    }
    bool IsComplete() const { return complete; }
    double PerSecond() const {
        return static_cast<double>(expected - 1) / std::chrono::duration<double>(last - first).count();
    }

  private:
    using Clock = std::chrono::steady_clock;
    const uint64_t expected;
    std::atomic<uint64_t> arrived{0};
    Clock::time_point first;
    Clock::time_point last;
    std::atomic<bool> complete{false};
};

}  // namespace bench
