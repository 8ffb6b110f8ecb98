#include "platform/linux/auto_proxy/script_evaluation.h"

#include <curl/curl.h>
#include <pacparser.h>

#include <algorithm>
#include <cstdarg>
#include <memory>
#include <string_view>

namespace orrery::platform {
namespace {

int Ignore(const char*, va_list) {
    return 0;
}

bool IsHarmless(char c) {
    constexpr std::string_view harmful = "\\'\"`";
    return c > ' ' && c < '\x7f' && harmful.find(c) == std::string_view::npos;
}

bool ParsedHost(const std::string& url, std::string& host) {
    const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parser(curl_url(), &curl_url_cleanup);
    char* part = nullptr;
    if (!parser || curl_url_set(parser.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK) return false;
    if (curl_url_get(parser.get(), CURLUPART_HOST, &part, 0) != CURLUE_OK) return false;
    host = part;
    curl_free(part);
    return !host.empty();
}

}  // namespace

bool HostOfUrl(const std::string& url, std::string& host) {
    if (!std::ranges::all_of(url, IsHarmless) || !ParsedHost(url, host)) return false;
    // Scripts expect a literal IPv6 address without its brackets.
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    return std::ranges::all_of(host, IsHarmless);
}

bool EvaluateScript(const std::string& script, const std::string& url, const std::string& host,
                    std::string& answer) {
    // The engine takes zero-terminated text and would run the first part of anything else.
    if (script.find('\0') != std::string::npos) return false;
    pacparser_set_error_printer(&Ignore);
    if (pacparser_init() == 0) return false;
    const bool parsed = pacparser_parse_pac_string(script.c_str()) != 0;
    const char* found = parsed ? pacparser_find_proxy(url.c_str(), host.c_str()) : nullptr;
    if (found) answer = found;
    pacparser_cleanup();
    return found != nullptr;
}

}  // namespace orrery::platform
