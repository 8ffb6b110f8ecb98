// Reads the answer of a PAC script, such as "PROXY a:1; SOCKS b:2; DIRECT". It doesn't ask whether the
// proxies exist. Pure; safe from any thread.
#pragma once

#include <string>
#include <string_view>

namespace orrery::platform {

// True if the answer holds at least one well-formed entry of a known kind; `proxy` is then the first PROXY,
// HTTP or HTTPS entry before any DIRECT one, or empty. SOCKS entries count as known but are passed over:
// no client here speaks it. False, with `proxy` untouched, for anything else that a script may return.
bool ReadPacAnswer(std::string_view answer, std::string& proxy);

}  // namespace orrery::platform
