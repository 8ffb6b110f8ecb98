#include "agent/command_line/settings_commands.h"

#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "agent/settings/settings_import.h"
#include "agent/settings/settings_store.h"
#include "agent/text/complaint.h"
#include "platform/error_codes.h"
#include "platform/text.h"

namespace orrery::agent {

namespace {

bool ReadKey(const std::string& text, WideString& key) {
    key = ToWide(text);
    if (IsSettingsKey(key)) return true;
    Complain("\"" + text + "\" is no key of three parts, section.group.name");
    return false;
}

int Write(ConfigUtil& store, const std::string& key, const std::string& value) {
    const uint32_t result = store.WriteValue(ToWide(key), ToWide(value), 0);
    return result == Success ? 0 : Complain("can't write " + key + " (error " + std::to_string(result) + ")");
}

// A line of a list stays one line.
std::string OneLine(std::string text) {
    for (size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) text.replace(at, 1, "\\n");
    return text;
}

}  // namespace

int ListSettings(ISettingsListing& listing, const std::string& prefix, bool json) {
    std::vector<std::pair<WideString, WideString>> settings;
    const uint32_t result = listing.List(ToWide(prefix), settings);
    if (result != Success) return Complain("can't read the settings (error " + std::to_string(result) + ")");
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (const auto& [key, value] : settings) {
        if (json) object[ToUtf8(key)] = ToUtf8(value);
        if (!json) std::printf("%s=%s\n", ToUtf8(key).c_str(), OneLine(ToUtf8(value)).c_str());
    }
    if (json) std::printf("%s\n", object.dump(2).c_str());
    return 0;
}

int GetSetting(ConfigUtil& store, const std::string& key) {
    WideString wideKey;
    WideString value;
    if (!ReadKey(key, wideKey)) return 1;
    if (store.ReadValue(wideKey, value, 0) != Success) return Complain(key + " is not set");
    std::printf("%s\n", ToUtf8(value).c_str());
    return 0;
}

int SetSetting(ConfigUtil& store, const std::string& key, const std::string& value) {
    WideString wideKey;
    return ReadKey(key, wideKey) ? Write(store, key, value) : 1;
}

int UnsetSetting(ConfigUtil& store, const std::string& key) {
    WideString wideKey;
    WideString value;
    if (!ReadKey(key, wideKey)) return 1;
    if (store.ReadValue(wideKey, value, 0) != Success) return Complain(key + " is not set");
    const uint32_t result = store.DeleteValue(wideKey);
    return result == Success ? 0
                             : Complain("can't remove " + key + " (error " + std::to_string(result) + ")");
}

int ImportSettings(ConfigUtil& store, const std::string& file) {
    std::ifstream input(file, std::ios::binary);
    std::ostringstream text;
    text << input.rdbuf();
    if (!input) return Complain("can't read " + file);
    SettingsList settings;
    std::string problem;
    if (!ReadSettingsText(text.str(), settings, problem)) return Complain(file + ": " + problem);
    for (const auto& [key, value] : settings) {
        if (const int result = Write(store, key, value)) return result;
    }
    std::printf("%zu settings written\n", settings.size());
    return 0;
}

}  // namespace orrery::agent
