// A moment as a calendar shows it. Whether it is UTC or local time is told where it stands.
#pragma once

#include <cstdint>

namespace orrery {

// All zero means no time.
struct CalendarTime {
    uint16_t year = 0;
    uint16_t month = 0;      // 1 to 12
    uint16_t dayOfWeek = 0;  // 0 is Sunday
    uint16_t day = 0;
    uint16_t hour = 0;
    uint16_t minute = 0;
    uint16_t second = 0;
    uint16_t milliseconds = 0;
};

}  // namespace orrery
