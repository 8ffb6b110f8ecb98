// What the agent knows of this device's registration. Each call reads the process's settings store anew; a
// store that can't be had counts as a failed read. Safe from any thread.
#pragma once

#include <cstdint>

#include "contracts/wide_string.h"

namespace orrery {

// True only for a value that isn't empty; otherwise `out` is untouched.
bool GetRegisteredDeviceId(WideString& out);
bool GetRegisteredSiteId(WideString& out);
bool GetRegisteredNotificationId(WideString& out);

// The number of `Register.Agent.TestMode`; 0 for a text without one.
bool ReadTestMode(int32_t& out);
// Bit 0 of that number.
bool IsTestMode();

}  // namespace orrery
