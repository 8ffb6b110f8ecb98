// New GUIDs.
#pragma once

#include "contracts/wide_string.h"

namespace orrery::platform {

// Lower case, 8-4-4-4-12, without braces. False if the system gave none; `text` is then untouched.
bool NewGuid(WideString& text);

}  // namespace orrery::platform
