// Text that a terminal takes for nothing but text, whatever came from outside. No state; safe from any
// thread.
#pragma once

#include <string>
#include <string_view>

namespace orrery::agent {

// One line, UTF-8. Control characters, line breaks and those that turn the direction of writing come out as
// "\x1B" or "\u202E", malformed sequences as U+FFFD. The text ends at the first NUL.
std::string Printable(std::string_view line);

}  // namespace orrery::agent
