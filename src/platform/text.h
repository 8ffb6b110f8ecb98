// Conversions between wide text, UTF-8 and the system's ANSI code page. Safe from any thread.
//
// Each works on the zero-terminated form: text stops at the first NUL. The empty text converts to the empty
// text. False only when nothing could be converted or memory ran out; `out` is then untouched.
#pragma once

#include <string>
#include <string_view>

#include "contracts/wide_string.h"

namespace orrery {

// A malformed sequence comes out as U+FFFD.
bool WideToUtf8(WideView in, std::string& out);
bool Utf8ToWide(std::string_view in, WideString& out);

// The ANSI code page is the character set of the C locale, UTF-8 if it names none. A character that the page
// lacks comes out as '?'.
bool WideToAnsi(WideView in, std::string& out);
bool AnsiToWide(std::string_view in, WideString& out);

// For text known to convert, such as our own: empty on failure.
std::string ToUtf8(WideView in);
WideString ToWide(std::string_view in);

// Compares without regard to case, each code unit by its own lower case: no letter becomes two, and letters
// beyond the basic plane compare exactly.
bool EqualNoCase(WideView left, WideView right);

}  // namespace orrery
