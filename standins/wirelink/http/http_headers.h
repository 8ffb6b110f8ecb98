// Header fields as a list in the order of sending, and the texts that stand in them. It knows no connection.
// No state; any thread.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "contracts/calendar_time.h"

namespace orrery::wirelink {

using HeaderList = std::vector<std::pair<std::string, std::string>>;

// RFC 9110's token: what a method or a field's name consists of.
bool IsToken(std::string_view text);
// False, and nothing is added, for what would end the line or isn't a field: no header brings in another.
bool AddHeader(HeaderList& headers, const std::string& name, std::string_view value);
// In place of all of that name, letter case aside, whose spelling it keeps.
bool ReplaceHeader(HeaderList& headers, const std::string& name, std::string_view value);
// The first of that name, letter case aside; null if there is none. Valid until the list changes.
const std::string* FindHeader(const HeaderList& headers, const std::string& name);

// Without the blanks and line ends around it.
std::string_view TrimmedValue(std::string_view text);

// Lines ended by CR LF.
std::string HeaderLines(const HeaderList& headers);

// The elements of a field that is a list (RFC 9110, 5.6.1), empty ones left out.
std::vector<std::string> ListElements(std::string_view value);
// Whether a body in this content coding can be decoded here.
bool IsKnownEncoding(const std::string& name);
// What of an Accept-Encoding value can be decoded here, in its order and without weights.
std::string KnownEncodings(std::string_view accepted);

// UTC of a Date field in any form of RFC 9110; all zero if it has none of them.
CalendarTime ReadDate(const std::string& text);
// 2026-01-02T03:04:05.678Z
std::string TimestampText(const CalendarTime& time);

}  // namespace orrery::wirelink
