// The helper program that touches what the agent doesn't want in its own process: PAC files, the scripts in
// them, and look-ups of names without a deadline. One question for each process:
//
//   orrery-pac URL PAC-URL                 prints what the script answers for URL
//   orrery-pac --discover [RESOLV-CONF]    prints the URL of this network's PAC file
//
// Standard output is a pipe or a terminal: under the limits nothing can be written to a file.
// The exit code is one of pac_exit.h, or the process ends by a signal when a script runs into its limits.
#include <netdb.h>
#include <resolv.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/linux/auto_proxy/pac_exit.h"
#include "platform/linux/auto_proxy/process_limits.h"
#include "platform/linux/auto_proxy/script_evaluation.h"
#include "platform/linux/auto_proxy/script_fetch.h"
#include "platform/linux/auto_proxy/wpad_hosts.h"

namespace orrery::platform {
namespace {

PacExit Print(const std::string& answer) {
    return std::puts(answer.c_str()) >= 0 && std::fflush(stdout) == 0 ? PacDone : PacFailed;
}

PacExit Ask(const std::string& url, const std::string& pacUrl) {
    std::string host;
    std::string script;
    std::string answer;
    if (!HostOfUrl(url, host)) return PacBadUrl;
    if (!FetchScript(pacUrl, script)) return PacNotFetched;
    if (!LimitForScript()) return PacFailed;
    if (!EvaluateScript(script, url, host, answer)) return PacBadScript;
    return Print(answer);
}

bool Resolves(const std::string& host) {
    addrinfo* found = nullptr;
    if (getaddrinfo(host.c_str(), nullptr, nullptr, &found) != 0) return false;
    freeaddrinfo(found);
    return true;
}

// The hosts are full names. Left to itself the resolver would append the search domains to them once more.
void ResolveFullNamesOnly() {
    res_init();
    _res.options &= ~static_cast<decltype(_res.options)>(RES_DNSRCH | RES_DEFNAMES);
}

PacExit Discover(const char* resolvConf) {
    std::ifstream file(resolvConf);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    ResolveFullNamesOnly();
    for (const std::string& host : WpadHosts(text)) {
        if (Resolves(host)) return Print("http://" + host + "/wpad.dat");
    }
    return PacNotDetected;
}

PacExit Answer(int count, char** arguments) {
    const std::string first = count > 1 ? arguments[1] : "";
    if (first == "--discover" && count <= 3) return Discover(count == 3 ? arguments[2] : "/etc/resolv.conf");
    if (count == 3) return Ask(first, arguments[2]);
    std::fputs("usage: orrery-pac URL PAC-URL\n       orrery-pac --discover [RESOLV-CONF]\n", stderr);
    return PacBadArguments;
}

}  // namespace
}  // namespace orrery::platform

int main(int count, char** arguments) {
    orrery::platform::LimitLifetime();
    // At once: the script engine loses memory of its own, which a leak check would report as ours.
    std::_Exit(orrery::platform::Answer(count, arguments));
}
