// The proxies of the system, which on this platform are those of the environment. It connects to nothing and
// knows no list. No state: any thread may call it.
#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "standins/wirelink/proxy/proxy_setting.h"

namespace orrery::wirelink {

// Null if the variable isn't set.
using EnvironmentReader = std::function<const char*(const char* name)>;

// What https_proxy, HTTPS_PROXY, http_proxy, all_proxy and ALL_PROXY say, in the manner of curl (see its
// manual on environment variables; HTTP_PROXY is left out as there, since a web server may set it from a
// request). An explicit entry bears "https=<scheme>://<host>:<port>;http=..." or, if one proxy serves both,
// its address alone; proxies with different credentials give an entry each. Without any it is one direct
// entry. A value that names no host counts as not set. Bypass lists (no_proxy) have no place in an entry and
// aren't read.
std::vector<ProxyValues> EnvironmentProxies(const EnvironmentReader& environment, bool fallback);

}  // namespace orrery::wirelink
