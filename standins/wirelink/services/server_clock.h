// The server's time as far as the transport knows it: the system's clock and the difference that the last
// answer of a service showed. For requests that are signed without a time of the caller's. Any thread.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/clock.h"
#include "standins/wirelink/http/http_headers.h"

namespace orrery::wirelink {

class ServerClock {
  public:
    CalendarTime Now() const {
        CalendarTime time;
        return platform::CalendarOf(platform::SystemTicks() + offset, time) ? time : platform::UtcTime();
    }

    // An answer without a readable Date changes nothing.
    void Learn(const HeaderList& headers) {
        const std::string* const date = FindHeader(headers, "Date");
        int64_t ticks = 0;
        if (date && platform::SystemTicksOf(ReadDate(*date), ticks)) offset = ticks - platform::SystemTicks();
    }

  private:
    std::atomic<int64_t> offset{0};  // ticks
};

}  // namespace orrery::wirelink
