#include "foundation/settings/config_helper.h"

#include <stdexcept>

#include "foundation/system/install_paths.h"
#include "foundation/trace.h"
#include "platform/library.h"
#include "platform/mutex.h"

namespace orrery {

namespace {

Mutex storeLock;
platform::LibraryHandle library GUARDED_BY(storeLock) = nullptr;
GetUtilFunction getUtil GUARDED_BY(storeLock) = nullptr;
ConfigUtil* store GUARDED_BY(storeLock) = nullptr;

void LoadLocked() REQUIRES(storeLock) {
    WideString folder;
    if (!GetUtilsFolder(folder)) Trace::Error("the Utils folder isn't known");
    library = platform::OpenLibrary(folder, u"Prefstore.dll");
    if (!library) {
        Trace::Error("the settings store can't be loaded", folder, platform::LastLibraryError());
        return;
    }
    getUtil = reinterpret_cast<GetUtilFunction>(platform::FindExport(library, "GetUtil"));
    if (!getUtil) {
        Trace::Error("the settings store lacks its export", folder, platform::LastLibraryError());
        return;
    }
    store = getUtil();
}

}  // namespace

CConfigHelper::~CConfigHelper() {
    MutexLock lock(storeLock);
    if (library) platform::CloseLibrary(library);
    library = nullptr;
    getUtil = nullptr;
    store = nullptr;
}

ConfigUtil* GetConfigUtil() {
    static CConfigHelper helper;
    MutexLock lock(storeLock);
    if (!library) LoadLocked();
    return store;
}

ConfigUtil* ConfigUtilOrThrow(ConfigUtil* util, const char* what) {
    if (!util) util = GetConfigUtil();
    if (!util) throw std::invalid_argument(what);
    return util;
}

}  // namespace orrery
