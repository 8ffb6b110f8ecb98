// Takes from this process what a foreign script has no use for.
#pragma once

namespace orrery::platform {

// No core file, and an end by SIGALRM after 20 s should the parent be gone by then. To be called first.
void LimitLifetime();

// From here on: 2 s of processor time over all, 256 MB of memory beyond what is in use, few descriptors, no
// writing to files, no new privileges, and not the rights of root. False if any of it can't be had.
bool LimitForScript();

}  // namespace orrery::platform
