#include "agent/install/server_url.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace orrery::agent {

namespace {

bool ReadScheme(std::string_view text, std::string& scheme) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), [](unsigned char c) { return std::tolower(c); });
    if (lower == "http" || lower == "ws") scheme = "ws";
    if (lower == "https" || lower == "wss") scheme = "wss";
    return !scheme.empty();
}

bool IsHost(std::string_view host) {
    const bool bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    if (bracketed) host = host.substr(1, host.size() - 2);
    return !host.empty() && std::ranges::all_of(host, [bracketed](unsigned char c) {
        if (bracketed) return std::isxdigit(c) || c == ':' || c == '.';
        return std::isalnum(c) || c == '-' || c == '.' || c == '_';
    });
}

bool IsPort(std::string_view text) {
    unsigned port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return error == std::errc() && end == text.data() + text.size() && port > 0 && port < 65'536;
}

bool IsAuthority(std::string_view text) {
    const size_t colon = text.rfind(':');
    if (colon == std::string_view::npos || text.ends_with(']')) return IsHost(text);
    return IsHost(text.substr(0, colon)) && IsPort(text.substr(colon + 1));
}

bool IsPath(std::string_view path) {
    return std::ranges::all_of(path,
                               [](unsigned char c) { return c > ' ' && c < 127 && c != '?' && c != '#'; });
}

}  // namespace

bool ParseServerUrl(std::string_view text, ServerUrl& url, std::string& problem) {
    const size_t schemeEnd = text.find("://");
    ServerUrl read;
    if (schemeEnd == std::string_view::npos || !ReadScheme(text.substr(0, schemeEnd), read.scheme)) {
        problem = "a server's address begins with http://, https://, ws:// or wss://";
        return false;
    }
    const std::string_view rest = text.substr(schemeEnd + 3);
    const size_t hostEnd = std::min(rest.find('/'), rest.size());
    read.hostname = rest.substr(0, hostEnd);
    read.path = rest.substr(hostEnd);
    if (read.path.size() < 2) read.path = "/commandhub";
    if (!IsAuthority(read.hostname)) {
        problem = "\"" + read.hostname + "\" is no host with an optional port";
    } else if (!IsPath(read.path)) {
        problem = "\"" + read.path + "\" is no path of a server's address";
    } else {
        url = std::move(read);
    }
    return problem.empty();
}

}  // namespace orrery::agent
