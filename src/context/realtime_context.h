// Owns the long-lived working objects of the plug-in: the realtime manager, the provider that is polled, and
// the use of the HTTP transport. It also watches which proxy the transport really used.
//
// Its fields don't change after construction. OnProxyUsed comes on a thread of the transport, everything else
// on threads of the host.
#pragma once

#include <atomic>
#include <memory>

#include "context/plugin_context.h"
#include "contracts/config_util.h"
#include "contracts/tracebox.h"
#include "contracts/wirelink.h"
#include "events/event_control.h"
#include "foundation/libraries/wirelink_use.h"
#include "manager/realtime_manager.h"
#include "polling/dmp_notifications_manager.h"

namespace orrery {

class IDispatcherHelper;

class CRealtimeContext final : public IPluginContext, public IProxyUsedObserver {
  public:
    // Born with one reference. A missing transport is only traced, and leaves the context without its two
    // managers. Throws std::invalid_argument("configUtil") without a settings store, and std::bad_alloc.
    CRealtimeContext(ITracebox* tracebox, IDispatcherHelper* dispatcher);
    CRealtimeContext(const CRealtimeContext&) = delete;
    CRealtimeContext& operator=(const CRealtimeContext&) = delete;

    uint32_t AddRef() override { return ++refCount; }
    uint32_t Release() override;
    uint32_t Start() override;  // always 0: a manager that doesn't start is traced
    void Stop() override;       // silent: no bind event follows
    CRealtimeManager* GetRealtimeManager() override { return manager.get(); }
    INotificationsManager* GetDmpNotificationsManager() override { return dmpManager.get(); }
    // The process's; outlives the context.
    IDispatcherHelper* GetDispatcher() const { return dispatcher; }
    void OnProxyUsed(IProxySetting* proxy) override;

    // One run at a time for work that excludes itself; a second attempt fails at once.
    CEventControl eventControl{ControlRefuse};

  private:
    // While it lives, the transport tells the context which proxy it used, or a context that was made later:
    // it knows one observer. The end of the one that it knows waits for a call in flight.
    class Observation {
      public:
        Observation(IWirelink* wirelink, IProxyUsedObserver* observer);
        ~Observation();
        Observation(const Observation&) = delete;
        Observation& operator=(const Observation&) = delete;

      private:
        IWirelink* const wirelink;  // may be null
        IProxyUsedObserver* const observer;
    };

    ~CRealtimeContext() override = default;
    void MakeManagers(ITracebox* tracebox);

    std::atomic<uint32_t> refCount{1};
    ConfigUtil* const configUtil;
    IDispatcherHelper* const dispatcher;
    const CWirelinkUse transport;
    IWirelink* const wirelink;  // may be null
    const Observation observation;
    std::unique_ptr<CRealtimeManager> manager;
    std::unique_ptr<CDmpNotificationsManager> dmpManager;
};

}  // namespace orrery
