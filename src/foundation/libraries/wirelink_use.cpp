#include "foundation/libraries/wirelink_use.h"

#include "foundation/system/install_paths.h"

namespace orrery {

namespace {

// Empty if the agent isn't installed: then the system's own search finds the library, or doesn't.
WideString UtilsFolder() {
    WideString folder;
    GetUtilsFolder(folder);
    return folder;
}

}  // namespace

CWirelinkUse::CWirelinkUse() : wirelinkLoader(UtilsFolder()) {
    if (wirelinkLoader.Load()) wirelink = wirelinkLoader.GetInterface();
}

// The loader unloads what it has loaded itself.
CWirelinkUse::~CWirelinkUse() {
    wirelinkLoader.ReleaseInterface(&wirelink);
}

}  // namespace orrery
