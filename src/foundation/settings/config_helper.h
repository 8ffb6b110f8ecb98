// Where the settings store comes from: the library Prefstore.dll in the Utils folder, loaded at first use and
// kept for the life of the process. Safe from any thread.
#pragma once

#include "contracts/config_util.h"

namespace orrery {

// Owner of the loaded library; one for the process, destroyed at its end.
class CConfigHelper {
  public:
    virtual ~CConfigHelper();
};

// Null if the store can't be had. A failed load is tried again at the next call; a library without the
// export is not.
ConfigUtil* GetConfigUtil();
// `util`, or the process's store for null. Throws std::invalid_argument(what) if there is none.
ConfigUtil* ConfigUtilOrThrow(ConfigUtil* util, const char* what);

}  // namespace orrery
