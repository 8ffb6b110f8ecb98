#include "foundation/libraries/wirelink_use.h"

#include "foundation/system/install_paths.h"

namespace orrery {

CWirelinkUse::CWirelinkUse() : wirelinkLoader(UtilsFolder) {
    if (wirelinkLoader.Load()) wirelink = wirelinkLoader.GetInterface();
}

// The loader unloads what it has loaded itself.
CWirelinkUse::~CWirelinkUse() {
    wirelinkLoader.ReleaseInterface(&wirelink);
}

}  // namespace orrery
