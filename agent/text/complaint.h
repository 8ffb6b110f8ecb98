// How the program says that something went wrong.
#pragma once

#include <string>

namespace orrery::agent {

// "orrery-agent: ..." on standard error. Gives 1, the exit code of a failure.
int Complain(const std::string& problem);

}  // namespace orrery::agent
