#include "standins/wirelink/proxy/proxy_routes.h"

#include <algorithm>
#include <utility>

#include "platform/auto_proxy.h"
#include "platform/text.h"
#include "standins/wirelink/base/url.h"

namespace orrery::wirelink {
namespace {

WideString Trimmed(const WideString& text) {
    const size_t begin = text.find_first_not_of(u" \t");
    if (begin == text.npos) return {};
    return text.substr(begin, text.find_last_not_of(u" \t") - begin + 1);
}

// A piece of a list is an entry of its own, without the rest of the list: that can be long.
void AppendSteps(ProxyValues entry, std::deque<ProxyValues>& steps) {
    if (entry.mode != ProxyExplicit) {
        steps.push_back(std::move(entry));
        return;
    }
    const WideString list = std::exchange(entry.proxyList, {});
    for (size_t begin = 0; begin < list.size();) {
        const size_t end = std::min(list.find(u';', begin), list.size());
        WideString piece = Trimmed(list.substr(begin, end - begin));
        begin = end + 1;
        if (piece.empty()) continue;
        steps.push_back(entry);
        steps.back().proxyList = std::move(piece);
    }
}

}  // namespace

ProxyRoutes::ProxyRoutes(const std::vector<ProxyValues>& entries, std::string scheme, PacQuestion ask)
    : scheme(std::move(scheme)), ask(std::move(ask)) {
    for (const bool fallback : {false, true}) {
        for (const ProxyValues& entry : entries) {
            if (entry.fallback == fallback) AppendSteps(entry, steps);
        }
    }
}

std::optional<Route> ProxyRoutes::Next() {
    while (!steps.empty()) {
        auto route = RouteOf(std::move(steps.front()));
        steps.pop_front();
        if (!route || !IsNew(*route)) continue;
        given.push_back(*route);
        return route;
    }
    if (!given.empty()) return {};
    return given.emplace_back();
}

std::optional<Route> ProxyRoutes::RouteOf(ProxyValues step) {
    if (step.mode == ProxyDirect) return Route{.used = {.fallback = step.fallback}};
    if (step.mode == ProxyWpad) {
        const auto& answer = PacAnswer(step.wpadUrl);
        if (!answer) return {};
        step.proxyList = *answer;
        if (answer->empty()) return Route{.used = std::move(step)};
    } else if (step.mode != ProxyExplicit) {
        return {};
    }
    std::string address = ProxyAddress(ToUtf8(step.proxyList), scheme);
    if (address.empty()) return {};
    return Route{std::move(address), std::move(step)};
}

const std::optional<WideString>& ProxyRoutes::PacAnswer(const WideString& pacUrl) {
    const auto known = pacAnswers.find(pacUrl);
    return known != pacAnswers.end() ? known->second : pacAnswers.emplace(pacUrl, ask(pacUrl)).first->second;
}

bool ProxyRoutes::IsNew(const Route& route) const {
    return std::none_of(given.begin(), given.end(), [&route](const Route& earlier) {
        if (earlier.proxy != route.proxy) return false;
        return route.IsDirect() ||
               (earlier.used.username == route.used.username && earlier.used.password == route.used.password);
    });
}

std::vector<ProxyValues> EntriesOf(IProxyList* list) {
    std::vector<ProxyValues> entries;
    if (!list || !list->BeginEnumeration()) return entries;
    while (const IProxySetting* entry = list->NextEntry()) entries.push_back(ValuesOf(*entry));
    list->EndEnumeration();
    return entries;
}

std::string ProxyAddress(const std::string& text, const std::string& scheme) {
    std::string address = text;
    if (const size_t equals = text.find('='); equals != text.npos) {
        if (!EqualNoCase(ToWide(text.substr(0, equals)), ToWide(scheme))) return {};
        address = text.substr(equals + 1);
    }
    if (address.find("://") == address.npos) address = "http://" + address;
    const auto url = Url::Read(address);
    return url && !url->HasUser() ? url->Origin() : std::string();
}

std::optional<WideString> AskPacFile(const std::string& url, const WideString& pacUrl,
                                     const Deadline& deadline) {
    using namespace platform;
    const auto atMost = [&deadline] { return std::min(autoProxyDeadline, deadline.Left()); };
    WideString found = pacUrl;
    if (found.empty() && !DetectAutoProxyConfigUrl(DetectByDhcp | DetectByDns, found, atMost())) return {};
    const auto session = OpenAutoProxySession(atMost());
    WideString proxy;
    if (!session || !session->GetProxyForUrl(ToWide(url), found, proxy)) return {};
    return proxy;
}

}  // namespace orrery::wirelink
