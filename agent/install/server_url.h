// The address of a server as a person gives it, taken apart into what the settings hold. No state.
#pragma once

#include <string>
#include <string_view>

namespace orrery::agent {

struct ServerUrl {
    std::string scheme;    // "ws" or "wss"
    std::string hostname;  // host, and ":port" if one was given
    std::string path;      // begins with a slash
};

// http, https, ws or wss; a host with an optional port; an optional path, without which it is "/commandhub".
// False, and `problem` says why, for anything else, user names and queries among it.
bool ParseServerUrl(std::string_view text, ServerUrl& url, std::string& problem);

}  // namespace orrery::agent
