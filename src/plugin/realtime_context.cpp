#include "plugin/realtime_context.h"

#include "events/dispatch/dispatcher_helper.h"
#include "foundation/config_helper.h"
#include "foundation/install_paths.h"
#include "foundation/trace.h"
#include "messaging/proxy_config.h"

namespace orrery {

CRealtimeContext::CRealtimeContext(ITracebox* tracebox, IDispatcherHelper* dispatcher)
    : configUtil(GetConfigUtil()), dispatcher(dispatcher) {
    LoadTransport();
    try {
        manager = std::make_unique<CRealtimeManager>(tracebox, nullptr, dispatcher);
    } catch (...) {
        GiveTransportBack();
        throw;
    }
}

CRealtimeContext::~CRealtimeContext() {
    manager.reset();
    GiveTransportBack();
}

void CRealtimeContext::LoadTransport() {
    WideString folder;
    GetUtilsFolder(folder);
    wirelinkLoader = std::make_unique<CWirelinkLoader>(folder);
    if (!wirelinkLoader->Load()) {
        Trace::Error("the transport can't be loaded", folder);
        return;
    }
    wirelink = wirelinkLoader->GetInterface();
    if (!wirelink) {
        Trace::Error("the transport gives no object", folder);
        return;
    }
    wirelink->SetProxyObserver(this);
}

void CRealtimeContext::GiveTransportBack() {
    if (wirelink) {
        wirelink->SetProxyObserver(nullptr);
        wirelinkLoader->ReleaseInterface(&wirelink);
    }
    wirelinkLoader.reset();  // unloads what it loaded itself
}

uint32_t CRealtimeContext::Release() {
    const uint32_t count = --refCount;
    if (count == 0) delete this;
    return count;
}

uint32_t CRealtimeContext::Start() {
    if (!manager->Start()) Trace::Error("the realtime manager can't be started");
    return 0;
}

void CRealtimeContext::Stop() {
    manager->Stop(true);
}

void CRealtimeContext::OnProxyUsed(IProxySetting* proxy) {
    CProxyConfig stored(configUtil, wirelink);
    const IProxySetting* last = stored.GetUsedProxy(false);
    if (!last && !proxy) return;
    if (last && proxy && last->Equal(proxy)) return;
    constexpr char16_t event[] = u"{\"ConnectivityTest\":{}}";
    const uint32_t result = dispatcher->RaiseEventText(event, true);
    if (result != 0) Trace::Error("an event can't be raised", event, result);
}

}  // namespace orrery
