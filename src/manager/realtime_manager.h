// Owns the real-time channel of the device. Its thread is the main loop of the module: it reacts to four
// events, and at every period checks the channel and lets RetryPolicy decide whether to reconnect now or to
// wait. It sends nothing to the server itself; what it says to the rest of the system it says as local
// events.
//
// Threads: the manager thread; hosts' threads through Start, Stop and IsPushConnected; the store's through
// OnConfigChange; the interface watcher's, which only counts. Lock order: lifecycleLock, pushLock, then the
// chain's. readLock is held while settings are read; configLock is a leaf.
#pragma once

#include <memory>
#include <vector>

#include "contracts/config_util.h"
#include "contracts/tracebox.h"
#include "contracts/wirelink.h"
#include "foundation/libraries/wirelink_use.h"
#include "manager/push_chain_factory.h"
#include "manager/realtime_config.h"
#include "messaging/proxy_config.h"
#include "platform/event.h"
#include "platform/mutex.h"

namespace orrery {

class IDispatcherHelper;

class CRealtimeManager final : public IConfigChangeObserver {
  public:
    // A null `config` is replaced by the process's store; `chain` makes the members of the push chain. Throws
    // std::invalid_argument: "configUtil" without a store, "wirelink" without the transport; std::bad_alloc
    // if the system has no events left. `dispatcher` and `chain` outlive the manager. `stopTimeout`:
    // milliseconds for which Stop waits.
    CRealtimeManager(ITracebox* tracebox, ConfigUtil* config, IDispatcherHelper* dispatcher,
                     IPushChainFactory& chain = RealPushChain(), uint64_t stopTimeout = 30'000);
    ~CRealtimeManager() override;
    CRealtimeManager(const CRealtimeManager&) = delete;
    CRealtimeManager& operator=(const CRealtimeManager&) = delete;

    void OnConfigChange(const char16_t* section, const char16_t* group, const char16_t* name,
                        const char16_t* value1, const char16_t* value2) override;
    virtual bool Start() EXCLUDES(lifecycleLock);
    // `silent`: no bind event follows. Waits for the thread for at most `stopTimeout`; one that takes longer
    // ends by itself.
    virtual void Stop(bool silent) EXCLUDES(lifecycleLock);
    // False only without a push manager.
    virtual bool CheckPushManager() EXCLUDES(pushLock);
    // Waits while a connection attempt is running.
    virtual bool IsPushConnected() EXCLUDES(pushLock);

  private:
    class Worker;

    bool StartThread() REQUIRES(lifecycleLock);
    void StopThread(bool sendBind) REQUIRES(lifecycleLock);
    void Observe() REQUIRES(lifecycleLock);
    void StopObserving() REQUIRES(lifecycleLock);
    void StopLocked(bool silent) REQUIRES(lifecycleLock);
    void Run(Worker& worker);
    void OnEvent(Worker& worker, int index);
    void OnPeriod(Worker& worker);

    void ConnectPushManager(Worker& worker, bool reset) EXCLUDES(pushLock);
    void DisconnectPushManager(Worker& worker, bool sendBind) EXCLUDES(pushLock);
    void CreatePushManager(const WideString& deviceId, const WideString& uri) REQUIRES(pushLock);
    bool MakeChain(const WideString& deviceId, const WideString& uri) REQUIRES(pushLock);
    void DestroyPushManager() REQUIRES(pushLock);
    bool StartPushManager() REQUIRES(pushLock);
    void StopPushManager() REQUIRES(pushLock);
    bool CheckPushManagerLocked() REQUIRES(pushLock);
    bool Attempt() REQUIRES(pushLock);
    void StartConnectionWatcher() REQUIRES(pushLock);
    void StopConnectionWatcher() REQUIRES(pushLock);
    void OnConnectionChange(NotificationType type);

    bool SendDeviceBind(bool force);
    bool SendConnectivityTest(bool checkCommands) REQUIRES(pushLock);
    void OnPushConnected() REQUIRES(pushLock);
    bool Schedule(const char16_t* event);
    uint32_t EvaluateInterval(const WideString& interval);

    void GetConfig() EXCLUDES(readLock, configLock);
    void SignalEnabled() EXCLUDES(configLock);
    RealtimeConfig Config() EXCLUDES(configLock);
    bool IsEnabled() EXCLUDES(configLock);

    bool started GUARDED_BY(lifecycleLock) = false;
    bool observing GUARDED_BY(lifecycleLock) = false;
    std::unique_ptr<Worker> thread GUARDED_BY(lifecycleLock);
    // Threads that outlived their Stop; each ends by itself and is waited for before this object goes.
    std::vector<std::unique_ptr<Worker>> outlived GUARDED_BY(lifecycleLock);
    platform::Event enableEvent;
    platform::Event disableEvent;
    platform::Event reconnectEvent;
    Mutex pushLock;       // the push chain and the retry state
    Mutex lifecycleLock;  // Start and Stop
    std::unique_ptr<IPushChannel> channel GUARDED_BY(pushLock);
    std::unique_ptr<IPushService> service GUARDED_BY(pushLock);
    std::unique_ptr<IPushManager> pushManager GUARDED_BY(pushLock);
    // Whose chain stands: a thread that outlived its Stop leaves its successor's alone.
    const Worker* chainOwner GUARDED_BY(pushLock) = nullptr;
    std::unique_ptr<IConnectionWatcher> watcher GUARDED_BY(pushLock);
    ConfigUtil* const config;
    const CWirelinkUse transport;
    IWirelink* const wirelink;
    std::unique_ptr<CProxyConfig> proxyConfig GUARDED_BY(pushLock);
    ITracebox* const tracebox;
    Mutex readLock;  // one reading of the settings at a time, so that the last one read is the one kept
    Mutex configLock;
    RealtimeConfig realtimeConfig GUARDED_BY(configLock);
    RetryPolicy retry;
    bool watcherStarted GUARDED_BY(pushLock) = false;
    IDispatcherHelper* const dispatcher;
    IPushChainFactory& chain;
    const uint64_t stopTimeout;
};

}  // namespace orrery
