// Which hosts may hold the PAC file of this network, judged by the resolver's configuration. It looks no
// name up. Pure; safe from any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orrery::platform {

// The `wpad` host of each search domain and of its parents, nearest first, without doubles. `resolvConf` is
// the text of resolv.conf(5), of whose `search` and `domain` lines the last one counts. Parents with one
// label are not asked, nor are those that look like a country's public suffix ("co.uk"): a stranger can own
// `wpad` there and so choose our proxy.
std::vector<std::string> WpadHosts(std::string_view resolvConf);

}  // namespace orrery::platform
