// Runs a PAC script. The engine is one global interpreter that a script can keep busy for ever or crash: a
// process does this once, under limits.
#pragma once

#include <string>

namespace orrery::platform {

// The host of a URL that may be handed to a script: printable ASCII without quotes and backslashes, since
// the engine pastes it into the text of a call. False for any other.
bool HostOfUrl(const std::string& url, std::string& host);

// What the script's FindProxyForURL returned, as text. False if it doesn't parse or raises an error.
bool EvaluateScript(const std::string& script, const std::string& url, const std::string& host,
                    std::string& answer);

}  // namespace orrery::platform
