#include "foundation/text/time_text.h"

#include <array>
#include <cstdio>

#include "platform/text.h"

namespace orrery {

namespace {

constexpr size_t dateTimeLength = 23;

}  // namespace

WideString DateTimeText(const CalendarTime& time, char separator) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d%c%02d:%02d:%02d.%03d", time.year, time.month,
                  time.day, separator, time.hour, time.minute, time.second, time.milliseconds);
    return ToWide(text.data()).substr(0, dateTimeLength);
}

WideString FileTimeText(const CalendarTime& time) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), " %04d.%02d.%02d %02d.%02d.%02d.%03d", time.year, time.month,
                  time.day, time.hour, time.minute, time.second, time.milliseconds);
    return ToWide(text.data());
}

}  // namespace orrery
