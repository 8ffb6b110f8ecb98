// A timer on the system's wall clock whose descriptor the main loop polls. It wakes at the set moment and
// when the clock is set meanwhile, and never otherwise. Set is safe from any thread.
//
// This wait is the system's, not that of platform/clock.h: one poll waits for it, for signals and for clients
// together, and only the system tells that its clock was set. It decides nothing: whoever is woken reads
// the clock, so that a test of what is due needs no wake.
#pragma once

#include <cstdint>
#include <optional>

#include "agent/system/file_descriptor.h"

namespace orrery::agent {

class WakeTimer {
  public:
    // Throws std::system_error if the system has no timer.
    WakeTimer();

    int Descriptor() const { return timer.Get(); }
    // Milliseconds UTC; none stops the timer. A moment that has passed wakes at once.
    void Set(std::optional<int64_t> moment);
    // After a wake. True if the clock was set; the moment must then be set anew.
    bool TakeWake();

  private:
    FileDescriptor timer;
};

}  // namespace orrery::agent
