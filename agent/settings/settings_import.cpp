#include "agent/settings/settings_import.h"

#include <nlohmann/json.hpp>

#include "agent/settings/settings_store.h"
#include "platform/text.h"

namespace orrery::agent {

namespace {

constexpr std::string_view blanks = " \t\r";

std::string_view Trim(std::string_view text) {
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool CheckEntry(const std::string& key, const std::string& value, std::string& problem) {
    if (!IsSettingsKey(ToWide(key))) problem = "\"" + key + "\" is no key of three parts, section.group.name";
    if (value.find('\0') != std::string::npos) problem = "the value of " + key + " holds a character 0";
    return problem.empty();
}

bool ReadLine(std::string_view line, SettingsList& settings, std::string& problem) {
    // A carriage return belongs to the line's end; other blanks behind the sign belong to the value.
    if (line.ends_with('\r')) line.remove_suffix(1);
    const std::string_view trimmed = Trim(line);
    if (trimmed.empty() || trimmed.front() == '#') return true;
    const size_t sign = line.find('=');
    if (sign == std::string_view::npos) {
        problem = "this is not KEY=VALUE";
        return false;
    }
    settings.emplace_back(Trim(line.substr(0, sign)), line.substr(sign + 1));
    return CheckEntry(settings.back().first, settings.back().second, problem);
}

bool ReadLines(std::string_view text, SettingsList& settings, std::string& problem) {
    for (int number = 1; !text.empty(); ++number) {
        const size_t end = std::min(text.find('\n'), text.size());
        if (!ReadLine(text.substr(0, end), settings, problem)) {
            problem = "line " + std::to_string(number) + ": " + problem;
            return false;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return true;
}

bool ReadJson(std::string_view text, SettingsList& settings, std::string& problem) {
    const auto document = nlohmann::ordered_json::parse(text, nullptr, false);
    if (!document.is_object()) {
        problem = "the file begins like JSON but is no JSON object";
        return false;
    }
    for (const auto& [key, value] : document.items()) {
        if (!value.is_string()) {
            problem = "the value of " + key + " is no text";
            return false;
        }
        settings.emplace_back(key, value.get<std::string>());
        if (!CheckEntry(key, settings.back().second, problem)) return false;
    }
    return true;
}

}  // namespace

bool ReadSettingsText(std::string_view text, SettingsList& settings, std::string& problem) {
    const size_t first = text.find_first_not_of(" \t\r\n");
    const bool isJson = first != std::string_view::npos && text[first] == '{';
    return isJson ? ReadJson(text, settings, problem) : ReadLines(text, settings, problem);
}

}  // namespace orrery::agent
