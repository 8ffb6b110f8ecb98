#include "hub/base/json_text.h"

#include <utf8.h>

#include <functional>
#include <vector>

namespace orrery::hub {
namespace {

using Json = nlohmann::ordered_json;

constexpr size_t maxDepth = 512;
constexpr size_t maxMembers = 20'000;  // of one object
constexpr size_t maxShown = 4096;      // bytes
constexpr size_t maxLoggedText = 200;  // bytes

// Reads with an eye on the members of each object: the ordered kind looks through all of them for each new
// one, and the server has one thread.
class MemberCount {
  public:
    bool operator()(int, Json::parse_event_t event, const Json&) {
        if (event == Json::parse_event_t::object_start) counts.push_back(0);
        if (event == Json::parse_event_t::object_end) counts.pop_back();
        if (event == Json::parse_event_t::key && ++counts.back() > maxMembers) tooMany = true;
        return !tooMany;
    }
    bool IsTooMany() const { return tooMany; }

  private:
    std::vector<size_t> counts;  // of the objects that are open
    bool tooMany = false;
};

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
    MemberCount members;
    Json document = Json::parse(text, std::ref(members), false);
    return document.is_object() && !members.IsTooMany() ? document : unreadable;
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
