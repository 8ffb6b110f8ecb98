// The library's exports. The store is made at the first call and destroyed with the library.
#include <string>

#include "foundation/system/install_paths.h"
#include "platform/files.h"
#include "standins/prefstore/store.h"

namespace {

// Empty if the system can't name it: then the store can't be opened and says so.
std::string DataFolder() {
    orrery::WideString folder;
    return orrery::GetDataFolder(folder) ? orrery::platform::NativePath(folder) : std::string();
}

orrery::prefstore::Store& TheStore() {
    static orrery::prefstore::Store store(DataFolder());
    return store;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) orrery::ConfigUtil* GetUtil() {
    return TheStore().IsOpen() ? &TheStore() : nullptr;
}

extern "C" __attribute__((visibility("default"))) orrery::ISettingsListing* GetListing() {
    return &TheStore();
}
