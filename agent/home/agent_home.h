// Where everything of one agent lies, below one folder. Knows names only: it makes and reads nothing but what
// it says. Immutable; safe from any thread.
#pragma once

#include <string>

#include "contracts/wide_string.h"

namespace orrery::agent {

class AgentHome {
  public:
    // `folder` may be relative, or empty: then ORRERY_HOME, else /var/lib/orrery-agent.
    explicit AgentHome(const std::string& folder);

    const std::string& Folder() const { return folder; }
    std::string RegistryFile() const { return folder + "/registry.reg"; }
    std::string AgentFolder() const { return folder + "/agent"; }
    std::string UtilsFolder() const { return folder + "/agent/Utils"; }
    std::string DataFolder() const { return folder + "/data"; }
    std::string StoreFolder() const { return folder + "/data/Zelko Security/Orrery Agent"; }
    std::string LockFile() const { return folder + "/agent.lock"; }
    // Wide, with backslashes, and one at the end.
    WideString WideAgentFolder() const;
    WideString WideUtilsFolder() const;

    // Whether an agent was installed here.
    bool IsInstalled() const;
    // Makes this home the one that registry and data folder of this process lie in. Before any thread is
    // started and any library loaded: it changes the environment.
    void Enter() const;

  private:
    std::string folder;  // absolute
};

}  // namespace orrery::agent
