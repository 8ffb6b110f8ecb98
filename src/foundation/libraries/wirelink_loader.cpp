#include "foundation/libraries/wirelink_loader.h"

#include "foundation/libraries/shared_library.h"
#include "foundation/system/operating_system.h"
#include "foundation/trace.h"

namespace orrery {

namespace {

SharedLibrary wirelinkShared(SharedLibrary::AfterFailure::KeepsLoader);

// The newer build of the transport needs version 6.3 of the system or later.
const char16_t* TransportFile() {
    return COperatingSystem().family() >= 9 ? u"Wirelink.dll" : u"WirelinkLC.dll";
}

}  // namespace

CWirelinkLoader::CWirelinkLoader(WideString folder)
    : CWirelinkLoader([folder = std::move(folder)] { return folder; }) {}

CWirelinkLoader::CWirelinkLoader(std::function<WideString()> folder) : folder(std::move(folder)) {}

CWirelinkLoader::~CWirelinkLoader() {
    if (loaded) Unload();
}

bool CWirelinkLoader::Load() {
    const Trace::Scope trace("CWirelinkLoader::Load");
    if (!wirelinkShared.AddUse(folder, TransportFile)) return false;
    loaded = true;
    return true;
}

void CWirelinkLoader::Unload() {
    const Trace::Scope trace("CWirelinkLoader::Unload");
    wirelinkShared.DropUse();
    loaded = false;
}

IWirelink* CWirelinkLoader::GetInterface() {
    const Trace::Scope trace("CWirelinkLoader::GetInterface");
    return loaded ? wirelinkShared.GetObject<IWirelink>("GetIWirelink") : nullptr;
}

void CWirelinkLoader::ReleaseInterface(IWirelink** wirelink) {
    const Trace::Scope trace("CWirelinkLoader::ReleaseInterface");
    if (loaded) wirelinkShared.ReleaseObject("FreeIWirelink", wirelink);
}

}  // namespace orrery
