// What the helper program says by its exit code. With Done it has printed one answer to standard output.
#pragma once

namespace orrery::platform {

enum PacExit : int {
    PacDone = 0,
    PacBadArguments = 2,
    PacBadUrl = 3,
    PacNotFetched = 4,
    PacFailed = 5,  // the limits or the output, not the script
    PacBadScript = 6,
    PacNotDetected = 7,
};

}  // namespace orrery::platform
