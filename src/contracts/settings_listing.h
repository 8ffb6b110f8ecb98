// How the host lists what the settings store holds. The module doesn't use it.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "contracts/wide_string.h"

namespace orrery {

class ISettingsListing {
  public:
    virtual ~ISettingsListing() = default;
    // Replaces `settings` by every key that begins with `prefix`, letter case aside, and its value, in the
    // order of the keys. 0 on success, else `settings` is as it was. Any thread; answered from memory.
    virtual uint32_t List(const WideString& prefix,
                          std::vector<std::pair<WideString, WideString>>& settings) = 0;
    // Why the store could not be opened or was set aside; empty if nothing is wrong. UTF-8. Valid until the
    // process ends. Any thread.
    virtual const char* Problem() = 0;
};

// Exported by Prefstore.dll as "GetListing": the same store as that of "GetUtil", never null.
using GetListingFunction = ISettingsListing* (*)();

}  // namespace orrery
