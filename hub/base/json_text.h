// JSON texts that come from outside and go there. No state; any thread.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace orrery::hub {

// More than 512 levels. A text of nothing but brackets would become a tree of gigabytes, and a deep one takes
// the stack when it is written.
bool NestedTooDeep(std::string_view text);

// Members keep their order. Discarded (is_object() is false) for what is no object, is nested too deep or has
// an object of more than 20,000 members.
nlohmann::ordered_json ReadObject(std::string_view text);
inline constexpr char unreadableBody[] =
    "the body is no JSON object, or one of more than 512 levels or 20,000 members";

// One line; bytes that are no UTF-8 come out as U+FFFD.
std::string Dump(const nlohmann::ordered_json& json);

// The body of a request, to be shown: null if it is longer than 4 KiB or no UTF-8.
nlohmann::ordered_json Shown(const std::string& body);

// For the log: a text of a device must not break the line or flood the log.
std::string Quoted(const std::string& text);

}  // namespace orrery::hub
