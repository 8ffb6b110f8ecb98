// Lays out a home, and freshens one that is there: folders, registry file, libraries. It writes no settings
// and starts nothing. Used by one thread.
#pragma once

#include <string>

#include "agent/home/agent_home.h"

namespace orrery::agent {

// `libraries` is the folder that they are copied from. False, and `problem` says why.
bool LayOutHome(const AgentHome& home, const std::string& libraries, std::string& problem);
// Where the libraries of this program lie: ORRERY_LIBRARIES, else `lib` beside the program's own folder.
std::string LibrarySource();

}  // namespace orrery::agent
