#include "context/realtime_context.h"

#include <stdexcept>

#include "events/dispatcher_helper.h"
#include "foundation/settings/config_helper.h"
#include "foundation/trace.h"
#include "messaging/proxy_config.h"

namespace orrery {

namespace {

Mutex observerLock;  // held over the wait for a call in flight, which doesn't take it
const IProxyUsedObserver* lastObserver GUARDED_BY(observerLock) = nullptr;

}  // namespace

CRealtimeContext::CRealtimeContext(ITracebox* tracebox, IDispatcherHelper* dispatcher)
    : configUtil(GetConfigUtil()),
      dispatcher(dispatcher),
      wirelink(transport.Get()),
      observation(wirelink, this) {
    MakeManagers(tracebox);
}

CRealtimeContext::Observation::Observation(IWirelink* wirelink, IProxyUsedObserver* observer)
    : wirelink(wirelink), observer(observer) {
    if (!wirelink) return;
    MutexLock hold(observerLock);
    wirelink->SetProxyObserver(observer);
    lastObserver = observer;
}

// A context that a running event has kept may outlive the making of the next one.
CRealtimeContext::Observation::~Observation() {
    if (!wirelink) return;
    MutexLock hold(observerLock);
    if (lastObserver == observer) wirelink->SetProxyObserver(nullptr);
}

// What a manager refuses while there is a store is to work without the transport. The plug-in is of use even
// so: its events run, each as far as it gets.
void CRealtimeContext::MakeManagers(ITracebox* tracebox) {
    try {
        manager = std::make_unique<CRealtimeManager>(tracebox, nullptr, dispatcher);
        dmpManager = std::make_unique<CDmpNotificationsManager>(nullptr);
    } catch (const std::logic_error& refusal) {
        if (!configUtil) throw;
        Trace::Error("there is no channel or no provider to poll", refusal.what());
    }
}

uint32_t CRealtimeContext::Release() {
    const uint32_t count = --refCount;
    if (count == 0) delete this;
    return count;
}

uint32_t CRealtimeContext::Start() {
    const Trace::Scope trace("CRealtimeContext::Start");
    if (!manager) return 0;
    try {
        if (!manager->Start()) Trace::Error("the realtime manager can't be started");
    } catch (const std::exception& failure) {
        Trace::Error("the realtime manager can't be started", failure.what());
    }
    return 0;
}

void CRealtimeContext::Stop() {
    const Trace::Scope trace("CRealtimeContext::Stop");
    if (!manager) return;
    try {
        manager->Stop(true);
    } catch (const std::exception& failure) {
        Trace::Error("the realtime manager can't be stopped; it ends with the context", failure.what());
    }
}

void CRealtimeContext::OnProxyUsed(IProxySetting* proxy) {
    const Trace::Scope trace("CRealtimeContext::OnProxyUsed");
    CProxyConfig stored(configUtil, wirelink);
    const IProxySetting* last = stored.GetUsedProxy(false);
    if (!last && !proxy) return;
    if (last && proxy && last->Equal(proxy)) return;
    constexpr char16_t event[] = u"{\"ConnectivityTest\":{}}";
    const uint32_t result = dispatcher->RaiseEventText(event, EventOrigin::Local);
    if (result != 0) Trace::Error("an event can't be raised", event, result);
}

}  // namespace orrery
