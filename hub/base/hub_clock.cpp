#include "hub/base/hub_clock.h"

#include <array>
#include <cstdio>

#include "platform/clock.h"

namespace orrery::hub {
namespace {

constexpr const char* days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

template <class... Values>
std::string Print(const char* format, Values... values) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

}  // namespace

int64_t HubClock::Seconds() const {
    return platform::UtcSeconds() + offset;
}

int64_t HubClock::Ticks() const {
    return platform::SystemTicks() + offset * platform::ticksPerSecond;
}

std::string HubClock::Iso() const {
    CalendarTime t;
    platform::CalendarOf(Ticks(), t);
    return Print("%04d-%02d-%02dT%02d:%02d:%02dZ", t.year, t.month, t.day, t.hour, t.minute, t.second);
}

// Not by strftime, whose names of days and months are the locale's.
std::string HubClock::HttpDate(int64_t seconds) const {
    CalendarTime t;
    if (!platform::CalendarOf(Ticks() + seconds * platform::ticksPerSecond, t)) return {};
    return Print("%s, %02d %s %04d %02d:%02d:%02d GMT", days[t.dayOfWeek], t.day, months[t.month - 1], t.year,
                 t.hour, t.minute, t.second);
}

}  // namespace orrery::hub
