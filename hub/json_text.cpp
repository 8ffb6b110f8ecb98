#include "hub/json_text.h"

#include <utf8.h>

namespace orrery::hub {
namespace {

using Json = nlohmann::ordered_json;

constexpr size_t maxDepth = 512;
constexpr size_t maxShown = 4096;      // bytes
constexpr size_t maxLoggedText = 200;  // bytes

}  // namespace

bool NestedTooDeep(std::string_view text) {
    size_t depth = 0;
    bool inString = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inString && c == '\\') {
            ++i;
        } else if (c == '"') {
            inString = !inString;
        } else if (!inString && (c == '[' || c == '{')) {
            if (++depth > maxDepth) return true;
        } else if (!inString && (c == ']' || c == '}')) {
            if (depth > 0) --depth;
        }
    }
    return false;
}

Json ReadObject(std::string_view text) {
    Json unreadable(Json::value_t::discarded);
    if (NestedTooDeep(text)) return unreadable;
    Json document = Json::parse(text, nullptr, false);
    return document.is_object() ? document : unreadable;
}

std::string Dump(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json Shown(const std::string& body) {
    const bool isText = body.size() <= maxShown && utf8::is_valid(body.begin(), body.end());
    return isText ? Json(body) : Json();
}

std::string Quoted(const std::string& text) {
    return Json(text.substr(0, maxLoggedText)).dump(-1, ' ', true, Json::error_handler_t::replace);
}

}  // namespace orrery::hub
