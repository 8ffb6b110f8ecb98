// Moments as text, for headers and for message files. No state.
#pragma once

#include "contracts/calendar_time.h"
#include "contracts/wide_string.h"

namespace orrery {

// "2026-01-02T03:04:05.678", with the separator between date and time: 23 characters.
WideString DateTimeText(const CalendarTime& time, char separator);
// " 2026.01.02 03.04.05.678", for a file's name; the blank at its front belongs to it.
WideString FileTimeText(const CalendarTime& time);

}  // namespace orrery
