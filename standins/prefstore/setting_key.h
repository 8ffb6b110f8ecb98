// The rules of a setting's key, `<section>.<group>.<name>`: how it is split and how keys compare. Values,
// no state.
#pragma once

#include <optional>

#include "contracts/wide_string.h"

namespace orrery::prefstore {

// Views into the key that was split.
struct KeyParts {
    WideView section;
    WideView group;
    WideView name;
};

// Splits at the first two dots; the name may hold more of them. Nothing if a part is missing or empty, or the
// key holds a NUL.
std::optional<KeyParts> SplitKey(WideView key);

// Nothing if a part is null or empty.
std::optional<WideString> JoinKey(const char16_t* section, const char16_t* group, const char16_t* name);

bool BeginsWithNoCase(WideView text, WideView prefix);

// The order of keys: by code units, without regard to the case of ASCII letters.
struct KeyLess {
    using is_transparent = void;
    bool operator()(WideView left, WideView right) const;
};

}  // namespace orrery::prefstore
