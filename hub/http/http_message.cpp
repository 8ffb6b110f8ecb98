#include "hub/http/http_message.h"

#include <charconv>

#include "hub/base/json_text.h"

namespace orrery::hub {
namespace {

// A percent sign without two hexadecimal digits stands for itself.
std::string PercentDecoded(std::string_view text) {
    std::string decoded;
    for (size_t i = 0; i < text.size(); ++i) {
        unsigned char byte = 0;
        const char* digits = text.data() + i + 1;
        const bool escape = text[i] == '%' && i + 2 < text.size() &&
                            std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2;
        decoded += escape ? static_cast<char>(byte) : text[i];
        if (escape) i += 2;
    }
    return decoded;
}

void ReadQuery(std::string_view text, std::map<std::string, std::string>& query) {
    while (!text.empty()) {
        const std::string_view pair = text.substr(0, text.find('&'));
        text.remove_prefix(std::min(text.size(), pair.size() + 1));
        const size_t equals = pair.find('=');
        const std::string_view value = equals == pair.npos ? "" : pair.substr(equals + 1);
        query[PercentDecoded(pair.substr(0, equals))] = PercentDecoded(value);
    }
}

}  // namespace

std::string HttpRequest::Query(const std::string& name) const {
    const auto found = query.find(name);
    return found != query.end() ? found->second : std::string();
}

std::optional<std::string> HttpRequest::Header(const std::string& name) const {
    const auto found = headers.find(name);
    return found != headers.end() ? std::optional(found->second) : std::nullopt;
}

HttpResponse JsonAnswer(std::string json) {
    HttpResponse response;
    response.body = std::move(json);
    return response;
}

HttpResponse ErrorAnswer(unsigned status, const std::string& text) {
    HttpResponse response = JsonAnswer(Dump({{"error", text}}));
    response.status = status;
    response.error = text;
    return response;
}

void ReadTarget(std::string_view target, HttpRequest& request) {
    const size_t mark = target.find('?');
    request.target = target;
    request.path = PercentDecoded(target.substr(0, mark));
    request.query.clear();
    if (mark != target.npos) ReadQuery(target.substr(mark + 1), request.query);
}

std::vector<std::string> PathParts(std::string_view target) {
    std::vector<std::string> parts;
    std::string_view rest = target.substr(0, target.find('?'));
    while (!rest.empty()) {
        rest.remove_prefix(1);  // the slash
        const std::string_view part = rest.substr(0, rest.find('/'));
        parts.push_back(PercentDecoded(part));
        rest.remove_prefix(part.size());
    }
    return parts;
}

}  // namespace orrery::hub
