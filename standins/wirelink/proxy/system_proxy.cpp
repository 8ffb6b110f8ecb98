#include "standins/wirelink/proxy/system_proxy.h"

#include <charconv>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>

#include "platform/text.h"

namespace orrery::wirelink {
namespace {

struct Proxy {
    std::string address;  // scheme://host:port
    std::string username;
    std::string password;

    bool operator==(const Proxy&) const = default;
};

std::string PercentDecoded(std::string_view text) {
    std::string decoded;
    for (size_t at = 0; at < text.size(); ++at) {
        unsigned char byte = 0;
        const char* const digits = text.data() + at + 1;
        const bool isEscape = text[at] == '%' && at + 2 < text.size() &&
                              std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2;
        decoded += isEscape ? static_cast<char>(byte) : text[at];
        if (isEscape) at += 2;
    }
    return decoded;
}

// Cuts off what stands before `mark`; nothing, and `text` stays, if it isn't there.
std::string_view CutBefore(std::string_view& text, std::string_view mark, size_t position) {
    if (position == std::string_view::npos) return {};
    const std::string_view head = text.substr(0, position);
    text.remove_prefix(position + mark.size());
    return head;
}

std::optional<Proxy> ReadProxyUrl(std::string_view url) {
    std::string_view scheme = CutBefore(url, "://", url.find("://"));
    if (scheme.empty()) scheme = "http";
    url = url.substr(0, url.find_first_of("/?#"));
    std::string_view password = CutBefore(url, "@", url.rfind('@'));
    std::string_view username = password.substr(0, password.find(':'));
    password.remove_prefix(std::min(username.size() + 1, password.size()));
    // Marks of the list's own form can't be part of a host.
    if (url.empty() || url.front() == ':' || url.find_first_of(";= \t") != std::string_view::npos) return {};
    return Proxy{std::string(scheme) + "://" + std::string(url), PercentDecoded(username),
                 PercentDecoded(password)};
}

std::optional<Proxy> FirstOf(const EnvironmentReader& environment, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        const char* value = environment(name);
        if (auto proxy = ReadProxyUrl(value ? value : "")) return proxy;
    }
    return {};
}

ProxyValues ExplicitEntry(const std::string& list, const Proxy& credentials, bool fallback) {
    ProxyValues values;
    values.mode = ProxyExplicit;
    values.proxyList = ToWide(list);
    values.username = ToWide(credentials.username);
    values.password = ToWide(credentials.password);
    values.fallback = fallback;
    return values;
}

}  // namespace

std::vector<ProxyValues> EnvironmentProxies(const EnvironmentReader& environment, bool fallback) {
    const auto https = FirstOf(environment, {"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"});
    const auto http = FirstOf(environment, {"http_proxy", "all_proxy", "ALL_PROXY"});
    if (https && https == http) return {ExplicitEntry(https->address, *https, fallback)};

    // The server is reached by https as a rule, so that proxy stands first.
    std::vector<ProxyValues> entries;
    if (https) entries.push_back(ExplicitEntry("https=" + https->address, *https, fallback));
    if (http) {
        ProxyValues entry = ExplicitEntry("http=" + http->address, *http, fallback);
        const bool sameUser = https && https->username == http->username && https->password == http->password;
        if (sameUser) {
            entries.front().proxyList += u";" + entry.proxyList;
        } else {
            entries.push_back(std::move(entry));
        }
    }
    if (entries.empty()) entries.push_back({.fallback = fallback});
    return entries;
}

}  // namespace orrery::wirelink
