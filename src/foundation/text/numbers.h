// Numbers at the head of a text: leading white space and a sign are allowed, reading stops at the first
// character that is no digit. No state.
#pragma once

#include <cstdint>
#include <optional>

#include "contracts/wide_string.h"

namespace orrery {

// Nothing without a digit, for a number below 0 or beyond the type.
std::optional<uint64_t> LeadingUnsigned(WideView text);
std::optional<int64_t> LeadingSigned(WideView text);

// 0 without a digit; a number beyond 32 bits gives the nearest bound.
int32_t LeadingInt32(WideView text);

WideString DecimalText(int64_t number);
WideString DecimalText(uint64_t number);

}  // namespace orrery
