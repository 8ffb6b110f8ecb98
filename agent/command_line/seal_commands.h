// The commands that encipher a list of proxies and open one again. Each prints to standard output and gives
// the program's exit code.
#pragma once

#include <string>

#include "contracts/config_util.h"

namespace orrery::agent {

// `file` is a path, or "-" for standard input.
int PrintSealed(const std::string& file);
int StoreSealed(ConfigUtil& store, const std::string& file);
// The plain list, which may hold passwords.
int PrintOpened(const std::string& file);
int PrintStoredList(ConfigUtil& store);

}  // namespace orrery::agent
