// Text and 32-bit values of the local machine's registry, by key and name. Each look-up reads anew; a value
// that is missing or of the other kind counts as missing. Safe from any thread.
//
// On Linux the registry is a `.reg` text file (REGEDIT4 manner, UTF-8): ORRERY_REGISTRY, else
// /etc/orrery-agent/registry.reg. Keys and names compare without regard to case.
#pragma once

#include <cstdint>

#include "contracts/wide_string.h"

namespace orrery::platform {

bool ReadRegistryText(const WideString& key, const WideString& name, WideString& value);
bool ReadRegistryNumber(const WideString& key, const WideString& name, uint32_t& value);

}  // namespace orrery::platform
