// Fetches a PAC file. It doesn't look at what it fetches.
#pragma once

#include <string>

namespace orrery::platform {

// From an http, https or file URL, within 10 s, at most 1 MB, by no proxy and over at most 5 redirections.
// False on failure, an empty file included.
bool FetchScript(const std::string& url, std::string& script);

}  // namespace orrery::platform
