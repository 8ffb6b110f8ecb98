// Moments as milliseconds since 1970-01-01 UTC, and their ISO 8601 text. No state; safe from any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orrery::agent {

// What a time is whose text names no zone.
enum class UnnamedZone : uint8_t { Utc, Local };

// By platform/clock.h.
int64_t NowMilliseconds();

// "2026-03-01T12:00:00.250Z". Years 0 to 9999.
std::string UtcText(int64_t milliseconds);
// Date, "T" or a blank, hours and minutes, then seconds with a fraction and a zone ("Z", "+01:00") if given.
// False leaves `milliseconds` alone.
bool ParseTimeText(std::string_view text, UnnamedZone unnamed, int64_t& milliseconds);

}  // namespace orrery::agent
