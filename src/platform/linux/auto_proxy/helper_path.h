// Where the helper program lies. Safe from any thread.
#pragma once

#include <string>

namespace orrery::platform {

// ORRERY_PAC_HELPER if set, else the first found of: beside the library or program that holds this code, in
// the folder above, in the `lib` folder next to it. A native path, empty if there is no such program.
std::string FindPacHelper();

}  // namespace orrery::platform
