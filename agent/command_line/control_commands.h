// The commands that ask the running agent. Each prints its answer and gives the program's exit code.
#pragma once

#include <string>

#include "agent/home/agent_home.h"
#include "contracts/settings_listing.h"

namespace orrery::agent {

// Works whether or not an agent runs.
int ShowStatus(const AgentHome& home, ISettingsListing& listing, bool json);
// Has the running agent deliver an event; 0 only if its result is 0.
int SendEvent(const AgentHome& home, const std::string& event);

}  // namespace orrery::agent
