#include "standins/wirelink/proxy/proxy_list.h"

#include <cstdlib>
#include <utility>

#include "standins/wirelink/base/wide_text.h"
#include "standins/wirelink/proxy/system_proxy.h"

namespace orrery::wirelink {

bool ProxyList::AddDirect(bool fallback) {
    return Append({.fallback = fallback});
}

bool ProxyList::AddExplicit(const char16_t* proxyList, const char16_t* username, const char16_t* password,
                            const char16_t* furtherText, bool fallback) {
    return Append({.mode = ProxyExplicit,
                   .proxyList = TextOrEmpty(proxyList),
                   .username = TextOrEmpty(username),
                   .password = TextOrEmpty(password),
                   .furtherText = TextOrEmpty(furtherText),
                   .fallback = fallback});
}

bool ProxyList::AddPacUrl(const char16_t* pacUrl, const char16_t*, const char16_t*, const char16_t* username,
                          const char16_t* password, bool fallback) {
    return Append({.mode = ProxyWpad,
                   .username = TextOrEmpty(username),
                   .password = TextOrEmpty(password),
                   .wpadUrl = TextOrEmpty(pacUrl),
                   .fallback = fallback});
}

bool ProxyList::AddSystem(int32_t kind, bool fallback) {
    switch (kind) {
        case SystemProxyWinHttp:
        case SystemProxyIe:
            for (ProxyValues& values : EnvironmentProxies(std::getenv, fallback)) Append(std::move(values));
            return true;
        case SystemProxyDiscovery:
            return Append({.mode = ProxyWpad, .wpadAutoDetect = true, .fallback = fallback});
        default:
            return false;
    }
}

bool ProxyList::BeginEnumeration() {
    next = 0;
    return true;
}

IProxySetting* ProxyList::NextEntry() {
    return next < entries.size() ? entries[next++].get() : nullptr;
}

void ProxyList::EndEnumeration() {
    next = entries.size();
}

bool ProxyList::AddEntry(IProxySetting* entry) {
    if (!entry) return false;
    entries.emplace_back(entry);
    return true;
}

bool ProxyList::Append(ProxyValues values) {
    entries.push_back(std::make_unique<ProxySetting>(std::move(values)));
    return true;
}

}  // namespace orrery::wirelink
