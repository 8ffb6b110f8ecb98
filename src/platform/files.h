// Folders and small files. Paths are wide text with backslashes; folders end in one. Safe from any thread.
#pragma once

#include <string>

#include "contracts/wide_string.h"

namespace orrery::platform {

// The native path of a wide one, UTF-8 with forward slashes, and the way back.
std::string NativePath(const WideString& path);
WideString WidePath(const std::string& nativePath);

// The common application data folder: ORRERY_DATA, else /var/lib. False only if it can't be named.
bool CommonDataFolder(WideString& path);

bool PathExists(const WideString& path);
// The last level only.
bool CreateFolder(const WideString& path);
// A new file, or an existing one emptied; others may write to it meanwhile. Mode 0600.
bool WriteNewFile(const WideString& path, const std::string& bytes);
// Only a file that exists.
bool AppendToFile(const WideString& path, const std::string& bytes);

}  // namespace orrery::platform
