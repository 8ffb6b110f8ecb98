// The time by which something must have ended. One that has passed leaves nothing. Any thread may read it.
#pragma once

#include <algorithm>
#include <chrono>

#include "platform/clock.h"

namespace orrery::wirelink {

class Deadline {
  public:
    explicit Deadline(std::chrono::milliseconds atMost) : end(Now() + atMost) {}

    std::chrono::milliseconds Left() const { return std::max(end - Now(), std::chrono::milliseconds(0)); }

  private:
    static std::chrono::milliseconds Now() {
        return std::chrono::milliseconds(platform::SteadyTicks() / (platform::ticksPerSecond / 1000));
    }

    const std::chrono::milliseconds end;
};

}  // namespace orrery::wirelink
