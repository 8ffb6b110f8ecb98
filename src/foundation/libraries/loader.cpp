#include "foundation/libraries/loader.h"

#include "foundation/trace.h"

namespace orrery {

namespace {

WideString ClosedFolder(WideString folder) {
    if (!folder.empty() && !folder.ends_with(u'\\')) folder += u'\\';
    return folder;
}

}  // namespace

CLoader::CLoader(const WideString& folder) : folder(ClosedFolder(folder)) {}

CLoader::~CLoader() {
    CLoader::Unload();
}

bool CLoader::Load(const WideString& file, const WideString& from) {
    const Trace::Scope trace("CLoader::Load");
    MutexLock hold(lock);
    if (module) {
        ++loadCount;
        return true;
    }
    fileName = file;
    if (!from.empty()) folder = ClosedFolder(from);
    module = platform::OpenLibrary(folder, fileName);
    if (!module) {
        Trace::Error("a library can't be loaded", folder + fileName, platform::LastLibraryError());
        return false;
    }
    loadCount = 1;
    Trace::Information("library loaded", folder + fileName);
    return true;
}

void CLoader::Unload() {
    const Trace::Scope trace("CLoader::Unload");
    MutexLock hold(lock);
    if (loadCount == 0) return;
    --loadCount;
    if (loadCount > 0 || !module) return;
    procs.clear();
    if (platform::CloseLibrary(module)) {
        Trace::Information("library unloaded", fileName);
    } else {
        Trace::Error("a library can't be unloaded", fileName, platform::LastLibraryError());
    }
    module = nullptr;
}

void* CLoader::GetProc(const std::string& name) {
    MutexLock hold(lock);
    if (!module) return nullptr;
    const auto known = procs.find(name);
    if (known != procs.end()) return known->second;
    void* address = platform::FindExport(module, name.c_str());
    if (!address) {
        Trace::Error("a library lacks an export", fileName, name, platform::LastLibraryError());
        return nullptr;
    }
    procs.emplace(name, address);
    return address;
}

bool CLoader::HasProc(const std::string& name) {
    return GetProc(name) != nullptr;
}

}  // namespace orrery
