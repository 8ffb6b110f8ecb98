// Interval texts: `N` seconds, `N` with s, m, h or d, or `rand(a,b)` for a number from the range, both bounds
// included. No state; safe from any thread.
#pragma once

#include <cstdint>

#include "contracts/wide_string.h"

namespace orrery::prefstore {

// InvalidParameter, and `seconds` untouched, for any other text and for more than 32 bits of seconds. Blanks
// around the text and around the bounds are tolerated.
uint32_t EvaluateInterval(WideView text, uint32_t& seconds);

}  // namespace orrery::prefstore
