// The commands on settings. Each prints to standard output, its complaint to standard error, and gives the
// exit code of the program. They work on the store itself, so a running agent hears of a change at once.
#pragma once

#include <string>

#include "contracts/config_util.h"
#include "contracts/settings_listing.h"

namespace orrery::agent {

// KEY=VALUE lines, or one JSON object, which ImportSettings takes again.
int ListSettings(ISettingsListing& listing, const std::string& prefix, bool json);
int GetSetting(ConfigUtil& store, const std::string& key);
int SetSetting(ConfigUtil& store, const std::string& key, const std::string& value);
int UnsetSetting(ConfigUtil& store, const std::string& key);
// Writes nothing if anything in the file is wrong.
int ImportSettings(ConfigUtil& store, const std::string& file);

}  // namespace orrery::agent
