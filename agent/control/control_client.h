// Asks the agent that runs in a home, and waits for its answer as long as that agent lives. No state.
#pragma once

#include <string>

namespace orrery::agent {

// False, and `problem` says why: no agent runs there, or it went without an answer.
bool AskAgent(const std::string& home, const std::string& request, std::string& answer, std::string& problem);

}  // namespace orrery::agent
