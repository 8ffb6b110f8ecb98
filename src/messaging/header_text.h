// Headers as text: one line each, name and value separated by a colon, lines ended by CR LF. No state.
#pragma once

#include <map>

#include "contracts/wide_string.h"

namespace orrery {

// Names compare exactly.
using HeaderMap = std::map<WideString, WideString>;

// Adds what the text holds; a name that is already there keeps its value. A line without a colon is skipped.
// A line without a value ends the parsing with false, and what came before it stays.
bool ParseHeaderText(WideView text, HeaderMap& headers);

}  // namespace orrery
