// Lays out a home, and freshens one that is there: folders, registry file, libraries, first settings. Run
// again it changes only what it is told. It starts nothing. Used by one thread.
#pragma once

#include <optional>
#include <string>

#include "agent/agent_home.h"
#include "agent/server_url.h"
#include "contracts/config_util.h"

namespace orrery::agent {

struct InstallOptions {
    std::optional<std::string> server;
    std::optional<std::string> device;
    std::optional<std::string> site;
};

// The same, checked.
struct InstallPlan {
    std::optional<ServerUrl> server;
    std::optional<WideString> device;
    std::optional<WideString> site;
};

// All of them: false, and `problem` says why.
bool PlanInstall(const InstallOptions& options, InstallPlan& plan, std::string& problem);
// Folders, registry file, libraries. `libraries` is the folder that they are copied from.
bool LayOutHome(const AgentHome& home, const std::string& libraries, std::string& problem);
// Settings. A store that knows neither device nor notification id gets both, and the defaults that a newcomer
// needs where they aren't set.
bool ApplyPlan(const InstallPlan& plan, ConfigUtil& store, std::string& problem);

// Where the libraries of this program lie: ORRERY_LIBRARIES, else `lib` beside the program's own folder.
std::string LibrarySource();

}  // namespace orrery::agent
