// The settings store as the host holds it: loaded from the home, kept until the process ends. The objects
// behind it are safe from any thread.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "agent/home/agent_home.h"
#include "agent/system/loaded_library.h"
#include "contracts/config_util.h"
#include "contracts/settings_listing.h"

namespace orrery::agent {

class SettingsStore {
  public:
    // The process has entered `home`. Null on failure, and `problem` says why.
    static std::unique_ptr<SettingsStore> Open(const AgentHome& home, std::string& problem);

    ConfigUtil& Util() { return *util; }
    ISettingsListing& Listing() { return *listing; }

  private:
    SettingsStore() = default;
    bool Bind(const AgentHome& home, std::string& problem);

    ConfigUtil* util = nullptr;
    ISettingsListing* listing = nullptr;
};

// The value of `key`, or the empty text if it isn't set.
WideString ReadSetting(ConfigUtil& store, const WideString& key);

// A key has a section, a group and a name, joined by dots; the name may hold further dots.
bool IsSettingsKey(WideView key);

}  // namespace orrery::agent
