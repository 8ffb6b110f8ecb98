// Builds the one line of a log message from its format and arguments. It knows neither levels nor files.
// No state: any thread may call it.
#pragma once

#include <span>
#include <string>

#include "contracts/tracebox.h"

namespace orrery::tracebox {

// UTF-8. Each directive (%ws, %s, %d, %u, %x) takes the next argument, of whatever kind, and writes it as
// what it is; only %x turns a number into hexadecimal digits. A directive without an argument stands for
// itself, as does a '%' that begins none; surplus arguments are ignored; a null text reads "NULL". Control
// characters and line ends are written as escapes, so that a message can't pass for two.
std::string FormatLine(const char* format, std::span<const LogArgument> arguments);

}  // namespace orrery::tracebox
