// A call that stays in flight, to see whether the removal of its target waits for it.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <latch>

namespace orrery::test {

class HeldCall {
  public:
    // The call itself; it returns once a removal has been seen to wait.
    void Stay() {
        begun.count_down();
        leave.wait();
        hasLeft = true;
    }
    void WaitUntilBegun() const { begun.wait(); }
    // Two removals at once: the second may find nothing left to remove, and waits all the same.
    bool IsAwaitedBy(const std::function<void()>& remove) {
        using namespace std::chrono_literals;
        const auto removal = [&] {
            remove();
            return hasLeft.load();
        };
        begun.wait();
        std::future<bool> first = std::async(std::launch::async, removal);
        std::future<bool> second = std::async(std::launch::async, removal);
        const bool waits = first.wait_for(50ms) == std::future_status::timeout &&
                           second.wait_for(50ms) == std::future_status::timeout;
        leave.count_down();
        return first.get() && second.get() && waits;
    }

  private:
    std::latch begun{1}, leave{1};
    std::atomic<bool> hasLeft{false};
};

}  // namespace orrery::test
