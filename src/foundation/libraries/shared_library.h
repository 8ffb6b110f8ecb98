// One library that the loader objects of a process share, with the count of their uses: loaded with the
// first, unloaded with the last. Objects of the library are got and given back under its lock, so a library
// that blocks there holds up the others. Safe from any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "contracts/wide_string.h"
#include "foundation/libraries/loader.h"
#include "foundation/trace.h"
#include "platform/mutex.h"

namespace orrery {

class SharedLibrary {
  public:
    // What a failed load leaves behind: an empty loader, with which the next use counts as loaded and gives
    // no objects, or nothing, so that the next use tries again.
    enum class AfterFailure { KeepsLoader, TriesAgain };
    using FolderFunction = std::function<WideString()>;
    using FileNameFunction = const char16_t* (*)();

    explicit SharedLibrary(AfterFailure afterFailure) : afterFailure(afterFailure) {}

    // False, traced, if the library can't be loaded; then there is no use to be given up. Folder and name of
    // the file are asked for only where it is loaded.
    bool AddUse(const FolderFunction& folder, FileNameFunction fileName) EXCLUDES(lock);
    // Nothing if there is none.
    void DropUse() EXCLUDES(lock);

    // The object that the export gives; null, traced, without one or the other.
    template <class Interface>
    Interface* GetObject(const char* exportName) EXCLUDES(lock) {
        MutexLock hold(lock);
        const auto get = loader ? reinterpret_cast<Interface* (*)()>(loader->GetProc(exportName)) : nullptr;
        Interface* const object = get ? get() : nullptr;
        if (!object) Trace::Error("a library gives no object", exportName);
        return object;
    }

    // The export clears the pointer. Without it the object is left alone.
    template <class Interface>
    void ReleaseObject(const char* exportName, Interface** object) EXCLUDES(lock) {
        if (!*object) return;
        MutexLock hold(lock);
        const auto release =
            loader ? reinterpret_cast<void (*)(Interface**)>(loader->GetProc(exportName)) : nullptr;
        if (release) release(object);
    }

  private:
    const AfterFailure afterFailure;
    Mutex lock;
    std::unique_ptr<CLoader> loader GUARDED_BY(lock);
    uint32_t uses GUARDED_BY(lock) = 0;
};

}  // namespace orrery
