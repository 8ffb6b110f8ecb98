#include "context/realtime_context.h"

#include "events/dispatcher_helper.h"
#include "foundation/settings/config_helper.h"
#include "foundation/trace.h"
#include "messaging/proxy_config.h"

namespace orrery {

CRealtimeContext::CRealtimeContext(ITracebox* tracebox, IDispatcherHelper* dispatcher)
    : configUtil(GetConfigUtil()), dispatcher(dispatcher), wirelink(transport.Get()) {
    if (wirelink) wirelink->SetProxyObserver(this);
    try {
        MakeManagers(tracebox);
    } catch (...) {
        if (wirelink) wirelink->SetProxyObserver(nullptr);
        throw;
    }
}

CRealtimeContext::~CRealtimeContext() {
    dmpManager.reset();
    manager.reset();
    if (wirelink) wirelink->SetProxyObserver(nullptr);
}

void CRealtimeContext::MakeManagers(ITracebox* tracebox) {
    manager = std::make_unique<CRealtimeManager>(tracebox, nullptr, dispatcher);
    if (wirelink) dmpManager = std::make_unique<CDmpNotificationsManager>(nullptr);
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
    const uint32_t result = dispatcher->RaiseEventText(event, EventOrigin::Local);
    if (result != 0) Trace::Error("an event can't be raised", event, result);
}

}  // namespace orrery
