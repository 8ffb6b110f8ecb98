// The operations by which a PAC file is found and asked. They block, each for as long as it is allowed, and
// take no lock. Safe from any thread.
//
// The network and the script are touched by a helper program with limits on memory, processor time and the
// clock, never by this process. Nothing is remembered: each question fetches the script anew.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "contracts/wide_string.h"

namespace orrery::platform {

// An address server can only be asked with rights that this process doesn't want, so detection by DHCP finds
// nothing here.
enum AutoDetect : uint32_t { DetectByDhcp = 1, DetectByDns = 2 };

// Failures that are not the system's. The numbers are those of WinHTTP's documented error list, so that a
// trace can be looked up.
enum AutoProxyError : uint32_t {
    AutoProxyInvalidUrl = 12005,
    AutoProxyBadScript = 12166,  // didn't parse, ran into a limit, or gave no proxy answer
    AutoProxyNoScript = 12167,   // couldn't be fetched
    AutoProxyHelperFailed = 12178,
    AutoProxyNotDetected = 12180,
};

inline constexpr std::chrono::milliseconds autoProxyDeadline{15'000};

class AutoProxySession {
  public:
    virtual ~AutoProxySession() = default;
    // Fetches the script and asks it for `url`. False on failure; `proxy` is then untouched. On true `proxy`
    // is the first proxy of the answer that an HTTP client can use, without its keyword: "p:3128", or
    // "https://p:3128" for one that is itself reached by TLS. It is empty if a direct connection comes before
    // any such proxy, or if there is none. `pacUrl` is an http, https or file URL.
    virtual bool GetProxyForUrl(const WideString& url, const WideString& pacUrl, WideString& proxy) = 0;
};

// The URL of the PAC file of this network: the `wpad` host of the machine's search domains.
bool DetectAutoProxyConfigUrl(uint32_t flags, WideString& pacUrl,
                              std::chrono::milliseconds atMost = autoProxyDeadline);
// Null on failure, which is when the helper program is missing. `atMost` is for each question. Destroying the
// session closes it.
std::unique_ptr<AutoProxySession> OpenAutoProxySession(std::chrono::milliseconds atMost = autoProxyDeadline);
// What became of the calling thread's last operation here: 0 for success, an AutoProxyError, or the system's
// error number.
uint32_t LastAutoProxyError();

}  // namespace orrery::platform
