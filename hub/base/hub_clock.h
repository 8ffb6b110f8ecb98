// The hub's notion of time: the system's, or shifted, so that a device with a wrong clock can be played by a
// hub that has one. A value; any thread.
#pragma once

#include <cstdint>
#include <string>

namespace orrery::hub {

class HubClock {
  public:
    explicit HubClock(int64_t offsetSeconds = 0) : offset(offsetSeconds) {}

    int64_t Seconds() const;  // since 1970-01-01 UTC
    int64_t Ticks() const;    // 100 ns since 1601-01-01 UTC
    std::string Iso() const;  // 2000-01-01T00:00:00Z
    // As the header Date has it (RFC 9110, section 5.6.7), `seconds` further on.
    std::string HttpDate(int64_t seconds = 0) const;

  private:
    int64_t offset;  // seconds
};

}  // namespace orrery::hub
