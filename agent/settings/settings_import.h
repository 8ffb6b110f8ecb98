// Reads a file of settings: lines `KEY=VALUE` with comments (#) and blank lines, or one JSON object of key to
// text. Touches no store. No state.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orrery::agent {

using SettingsList = std::vector<std::pair<std::string, std::string>>;

// UTF-8, in the order of the file. False, and `problem` names the line or key, if anything in it is wrong.
bool ReadSettingsText(std::string_view text, SettingsList& settings, std::string& problem);

}  // namespace orrery::agent
