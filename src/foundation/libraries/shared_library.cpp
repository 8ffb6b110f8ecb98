#include "foundation/libraries/shared_library.h"

#include <new>

namespace orrery {

bool SharedLibrary::AddUse(const FolderFunction& folder, FileNameFunction fileName) try {
    MutexLock hold(lock);
    if (!loader) {
        auto fresh = std::make_unique<CLoader>(folder());
        const bool loaded = fresh->Load(fileName(), {});
        if (loaded || afterFailure == AfterFailure::KeepsLoader) loader = std::move(fresh);
        if (!loaded) return false;
    }
    ++uses;
    return true;
} catch (const std::bad_alloc&) {
    Trace::Error("no memory for a loader");
    return false;
}

void SharedLibrary::DropUse() {
    MutexLock hold(lock);
    if (uses == 1) loader.reset();
    if (uses > 0) --uses;
}

}  // namespace orrery
