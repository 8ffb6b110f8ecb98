// The one loader of dynamic libraries: counted load and unload, look-ups of exports remembered by name. Safe
// from any thread.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "contracts/wide_string.h"
#include "platform/library.h"
#include "platform/mutex.h"

namespace orrery {

class ILoader {
  public:
    virtual ~ILoader() = default;
    virtual bool Load(const WideString& fileName, const WideString& folder) = 0;
    virtual void Unload() = 0;
    virtual void* GetProc(const std::string& name) = 0;
    virtual bool HasProc(const std::string& name) = 0;
    virtual const WideString& GetFileName() const = 0;
    virtual const WideString& GetFolder() const = 0;
};

class CLoader final : public ILoader {
  public:
    // An empty folder makes the search go by the file name alone.
    explicit CLoader(const WideString& folder);
    // Undoes one Load: a count above 1 leaves the library mapped.
    ~CLoader() override;
    CLoader(const CLoader&) = delete;
    CLoader& operator=(const CLoader&) = delete;

    // Once loaded, it only counts, and the arguments are ignored. An empty `folder` keeps the constructor's.
    bool Load(const WideString& fileName, const WideString& folder) override;
    void Unload() override;
    // Null for an export that isn't there; that is looked up again at the next call.
    void* GetProc(const std::string& name) override;
    bool HasProc(const std::string& name) override;
    // To be read while no other thread loads.
    const WideString& GetFileName() const override { return fileName; }
    const WideString& GetFolder() const override { return folder; }

  private:
    platform::LibraryHandle module GUARDED_BY(lock) = nullptr;
    WideString folder;
    WideString fileName;
    std::map<std::string, void*> procs GUARDED_BY(lock);
    Mutex lock;
    uint32_t loadCount GUARDED_BY(lock) = 0;
};

}  // namespace orrery
