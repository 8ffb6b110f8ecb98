#include "platform/registry.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/text.h"

namespace orrery::platform {

namespace {

using Value = std::variant<std::monostate, WideString, uint32_t>;

const char* RegistryPath() {
    const char* configured = std::getenv("ORRERY_REGISTRY");
    return configured && *configured ? configured : "/etc/orrery-agent/registry.reg";
}

std::string_view TrimLeft(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
}

// Spaces, the carriage return of a foreign line end, and a comment may follow what was read.
bool IsEndOfLine(std::string_view rest) {
    const size_t first = rest.find_first_not_of(" \t\r");
    return first == rest.npos || rest[first] == ';';
}

bool Skip(std::string_view& rest, char expected) {
    rest = TrimLeft(rest);
    if (!rest.starts_with(expected)) return false;
    rest.remove_prefix(1);
    return true;
}

// Takes a quoted text, with \\ and \" in it, from the front of `rest`.
std::optional<WideString> TakeQuoted(std::string_view& rest) {
    if (!Skip(rest, '"')) return std::nullopt;
    std::string text;
    for (size_t at = 0; at < rest.size(); ++at) {
        if (rest[at] == '"') {
            rest.remove_prefix(at + 1);
            return ToWide(text);
        }
        if (rest[at] == '\\' && at + 1 < rest.size()) ++at;
        text += rest[at];
    }
    return std::nullopt;
}

std::optional<uint32_t> TakeNumber(std::string_view& rest) {
    constexpr std::string_view prefix = "dword:";
    if (!rest.starts_with(prefix)) return std::nullopt;
    uint32_t number = 0;
    const char* end = rest.data() + rest.size();
    const auto [next, error] = std::from_chars(rest.data() + prefix.size(), end, number, 16);
    if (error != std::errc()) return std::nullopt;
    rest.remove_prefix(static_cast<size_t>(next - rest.data()));
    return number;
}

Value ParseValue(std::string_view rest) {
    rest = TrimLeft(rest);
    Value value;
    if (const auto number = TakeNumber(rest)) {
        value = *number;
    } else if (auto text = TakeQuoted(rest)) {
        value = std::move(*text);
    }
    if (!IsEndOfLine(rest)) return {};
    return value;
}

// Whether a line that begins with '[' opens `section`. One that can't be read opens no section at all.
bool OpensSection(std::string_view line, WideView section) {
    const size_t end = line.rfind(']');
    if (end == line.npos || !IsEndOfLine(line.substr(end + 1))) return false;
    return EqualNoCase(ToWide(line.substr(1, end - 1)), section);
}

// As when such a file is imported, the last line for a name counts.
Value Find(const WideString& key, const WideString& name) {
    const WideString section = u"HKEY_LOCAL_MACHINE\\" + key;
    std::ifstream file(RegistryPath());
    Value found;
    bool isInside = false;
    for (std::string line; std::getline(file, line);) {
        constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
        std::string_view rest = line;
        if (rest.starts_with(byteOrderMark)) rest.remove_prefix(byteOrderMark.size());
        rest = TrimLeft(rest);
        if (rest.starts_with('[')) {
            isInside = OpensSection(rest, section);
        } else if (isInside) {
            const auto lineName = TakeQuoted(rest);
            if (lineName && EqualNoCase(*lineName, name) && Skip(rest, '=')) found = ParseValue(rest);
        }
    }
    return found;
}

template <class Kind>
bool Read(const WideString& key, const WideString& name, Kind& value) {
    Value found = Find(key, name);
    Kind* const wanted = std::get_if<Kind>(&found);
    if (!wanted) return false;
    value = std::move(*wanted);
    return true;
}

}  // namespace

bool ReadRegistryText(const WideString& key, const WideString& name, WideString& value) {
    return Read(key, name, value);
}

bool ReadRegistryNumber(const WideString& key, const WideString& name, uint32_t& value) {
    return Read(key, name, value);
}

}  // namespace orrery::platform
