// The zero-terminated texts that callers hand over. No state; any thread.
#pragma once

#include <string>

#include "contracts/wide_string.h"
#include "platform/text.h"

namespace orrery::wirelink {

// Null reads as empty.
inline WideString TextOrEmpty(const char16_t* text) {
    return text ? WideString(text) : WideString();
}

inline std::string Narrow(const char16_t* text) {
    return ToUtf8(TextOrEmpty(text));
}

}  // namespace orrery::wirelink
