// The agent's folders, found through what the installer left in the registry. Every path ends in a backslash.
// No state: each look-up reads the registry anew. Safe from any thread.
#pragma once

#include "contracts/wide_string.h"

namespace orrery {

// The registry key of the agent, under the local machine.
inline constexpr char16_t agentRegistryKey[] = u"SOFTWARE\\Zelko Security\\SetupEx\\Orrery Agent";

// The install folder (the value `Path`). False, `path` untouched, if it is missing.
bool GetInstallFolder(WideString& path);
// Where the sibling libraries lie: `Utils` in the install folder. False as above.
bool GetUtilsFolder(WideString& path);
// The same; empty if the agent isn't installed. Then the system's own search finds a library, or doesn't.
WideString UtilsFolder();
// The log folder: company and product below the common application data.
bool GetDataFolder(WideString& path);
// `Messages` in the data folder; made if it is missing. False if it can't be.
bool GetMessagesFolder(WideString& path);

}  // namespace orrery
