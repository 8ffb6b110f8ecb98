// Manual-reset events: signalled until reset. Safe from any thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>

namespace orrery::platform {

class Event {
  public:
    // Unsignalled. Throws std::bad_alloc if the system has none left.
    Event();
    ~Event();
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void Set();
    void Reset();
    bool IsSet() const;

  private:
    friend int WaitForAny(std::span<Event* const>, uint64_t);
    int descriptor;
    // What was written before Set is seen by whoever sees the event: the language knows nothing of the
    // system's own ordering.
    std::atomic<uint32_t> sets{0};
};

enum WaitResult : int { WaitTimeout = -1, WaitFailed = -2 };

// The index of the lowest signalled event, or a WaitResult. The events outlive the wait.
int WaitForAny(std::span<Event* const> events, uint64_t milliseconds);

}  // namespace orrery::platform
