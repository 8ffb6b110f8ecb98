#include "foundation/libraries/wirelink_loader.h"

#include <memory>

#include "foundation/libraries/loader.h"
#include "foundation/system/operating_system.h"
#include "foundation/trace.h"

namespace orrery {

namespace {

Mutex sharedLock;
std::unique_ptr<CLoader> sharedLoader GUARDED_BY(sharedLock);
uint32_t sharedUses GUARDED_BY(sharedLock) = 0;

// The newer build of the transport needs version 6.3 of the system or later.
const char16_t* TransportFile() {
    return COperatingSystem().family() >= 9 ? u"Wirelink.dll" : u"WirelinkLC.dll";
}

void DropUseLocked() REQUIRES(sharedLock) {
    if (sharedUses == 1) sharedLoader.reset();
    if (sharedUses > 0) --sharedUses;
}

}  // namespace

CWirelinkLoader::CWirelinkLoader(WideString folder) : folder(std::move(folder)) {}

CWirelinkLoader::~CWirelinkLoader() {
    if (loaded) Unload();
}

bool CWirelinkLoader::Load() {
    MutexLock hold(sharedLock);
    if (sharedLoader) {
        ++sharedUses;
        loaded = true;
        return true;
    }
    sharedLoader = std::make_unique<CLoader>(folder);
    if (sharedLoader->Load(TransportFile(), {})) {
        sharedUses = 1;
        loaded = true;
        return true;
    }
    Trace::Error("the transport can't be loaded", folder);
    DropUseLocked();
    return false;
}

void CWirelinkLoader::Unload() {
    MutexLock hold(sharedLock);
    DropUseLocked();
    loaded = false;
}

IWirelink* CWirelinkLoader::GetInterface() {
    MutexLock hold(sharedLock);
    if (!loaded || !sharedLoader) return nullptr;
    const auto get = reinterpret_cast<GetIWirelinkFunction>(sharedLoader->GetProc("GetIWirelink"));
    if (!get) {
        Trace::Error("the transport lacks GetIWirelink");
        return nullptr;
    }
    IWirelink* wirelink = get();
    if (!wirelink) Trace::Error("the transport gives no object");
    return wirelink;
}

void CWirelinkLoader::ReleaseInterface(IWirelink** wirelink) {
    if (!*wirelink) return;
    MutexLock hold(sharedLock);
    if (!loaded || !sharedLoader) return;
    const auto release = reinterpret_cast<FreeIWirelinkFunction>(sharedLoader->GetProc("FreeIWirelink"));
    if (!release) {
        Trace::Error("the transport lacks FreeIWirelink");
        return;
    }
    release(wirelink);
}

}  // namespace orrery
