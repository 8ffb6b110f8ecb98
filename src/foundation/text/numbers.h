// Numbers at the head of a text: reading stops at the first character that is no digit. White space and a
// sign may stand before them, except for `PlainNumber`. No state.
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
// A number below 0 counts as 0. One that is too large stays a large one: where 0 stands for "no limit", a
// limit out of reach must not lift it.
uint32_t LeadingUInt32(WideView text);

// Digits from the very first character on. Nothing without one, or beyond the type.
std::optional<uint64_t> PlainNumber(WideView text);

WideString DecimalText(int64_t number);
WideString DecimalText(uint64_t number);

}  // namespace orrery
