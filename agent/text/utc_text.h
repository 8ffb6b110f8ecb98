// Moments as milliseconds since 1970-01-01 UTC, and their ISO 8601 text. No state; safe from any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orrery::agent {

// Offset of local time from UTC at a moment, in seconds.
using LocalOffset = int64_t (*)(int64_t utcSeconds);

// By platform/clock.h.
int64_t NowMilliseconds();
// By the system's time zone.
int64_t SystemLocalOffset(int64_t utcSeconds);

// "2026-03-01T12:00:00.250Z". Years 0 to 9999.
std::string UtcText(int64_t milliseconds);
// Date, "T" or a blank, hours and minutes, then seconds with a fraction and a zone ("Z", "+01:00") if given.
// Text without a zone is local time if `local`, else UTC. False leaves `milliseconds` alone.
bool ParseTimeText(std::string_view text, bool local, LocalOffset offset, int64_t& milliseconds);

}  // namespace orrery::agent
