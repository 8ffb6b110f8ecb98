// Owns the real-time channel of the device. Its thread is the main loop of the module: it reacts to four
// events, and at every period checks the channel and lets RetryPolicy decide whether to reconnect now or to
// wait. It sends nothing to the server itself; what it says to the rest of the system it says as local
// events.
//
// Threads: the manager thread; hosts' threads through Start, Stop and IsPushConnected; the store's through
// OnConfigChange; the interface watcher's, which only counts. Lock order: lifecycleLock, pushLock, then the
// chain's. readLock is held while settings are read; configLock is a leaf.
#pragma once

#include <atomic>
#include <memory>

#include "contracts/config_util.h"
#include "contracts/tracebox.h"
#include "contracts/wirelink.h"
#include "foundation/libraries/wirelink_use.h"
#include "manager/manager_thread.h"
#include "manager/push_chain.h"
#include "manager/realtime_config.h"
#include "platform/event.h"
#include "platform/mutex.h"

namespace orrery {

class CRealtimeManager final : public IConfigChangeObserver {
  public:
    // A null `config` is replaced by the process's store; `factory` makes the members of the push chain.
    // Throws std::invalid_argument: "configUtil" without a store, "wirelink" without the transport;
    // std::bad_alloc if the system has no events left. `dispatcher` and `factory` outlive the manager.
    // `stopTimeout`: milliseconds for which Stop waits.
    CRealtimeManager(ITracebox* tracebox, ConfigUtil* config, IDispatcherHelper* dispatcher,
                     IPushChainFactory& factory = RealPushChain(), uint64_t stopTimeout = 30'000);
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
    bool StartThread() REQUIRES(lifecycleLock);
    void StopThread(bool sendBind) REQUIRES(lifecycleLock);
    void Observe() REQUIRES(lifecycleLock);
    void StopObserving() REQUIRES(lifecycleLock);
    void StopLocked(bool silent) REQUIRES(lifecycleLock);
    void Run(ManagerThread& self);
    void OnEvent(ManagerThread& self, int index);
    void OnPeriod(const ManagerThread& self);

    // Who speaks, and what counts, changes on the manager thread alone.
    void TakeTheFloor(const ManagerThread& self) EXCLUDES(pushLock);
    void NoteSwitch() EXCLUDES(pushLock);
    void SayLastWord(const ManagerThread& self) EXCLUDES(pushLock);
    // Between Stop and the last word a thread says nothing.
    bool IsSilenced() const REQUIRES(pushLock);

    // From nothing, with an attempt at once.
    void ConnectPushManager() EXCLUDES(pushLock);
    void DisconnectPushManager() EXCLUDES(pushLock);
    void CreatePushManager() REQUIRES(pushLock);
    void DestroyPushManager() REQUIRES(pushLock);
    void StartPushManager() REQUIRES(pushLock);
    bool Attempt() REQUIRES(pushLock);
    void StartConnectionWatcher() REQUIRES(pushLock);
    void StopConnectionWatcher() REQUIRES(pushLock);
    void OnConnectionChange(NotificationType type);

    void OnPushConnected() REQUIRES(pushLock);
    void SendAllowedDeviceBind() REQUIRES(pushLock);
    void SendDeviceBind();
    // Nobody could do anything about a failure.
    void Schedule(const char16_t* event);
    uint32_t EvaluateInterval(const WideString& interval);

    // Both are true if that changed `enabled`. GetConfig says each time that it is off.
    bool ReadConfig() EXCLUDES(readLock, configLock);
    bool GetConfig() EXCLUDES(readLock, configLock);
    // Nobody told of what changed while the manager was stopped. It says so only if that is news.
    void CatchUp() EXCLUDES(readLock, configLock);
    void LogIfDisabled() EXCLUDES(configLock);
    void SignalEnabled() EXCLUDES(configLock);
    RealtimeConfig Config() EXCLUDES(configLock);
    bool IsEnabled() EXCLUDES(configLock);

    bool started GUARDED_BY(lifecycleLock) = false;
    bool observing GUARDED_BY(lifecycleLock) = false;
    std::shared_ptr<ManagerThread> thread GUARDED_BY(lifecycleLock);
    // Outlived its Stop: the next one waits for it, else the destructor.
    std::shared_ptr<ManagerThread> late GUARDED_BY(lifecycleLock);
    platform::Event enableEvent;
    platform::Event disableEvent;
    platform::Event reconnectEvent;
    Mutex pushLock;                                         // the push chain and the retry state
    Mutex lifecycleLock;                                    // Start and Stop
    std::unique_ptr<PushChain> chain GUARDED_BY(pushLock);  // whole, or null
    const ManagerThread* speaker GUARDED_BY(pushLock) = nullptr;
    std::unique_ptr<IConnectionWatcher> watcher GUARDED_BY(pushLock);
    ConfigUtil* const config;
    const CWirelinkUse transport;
    IWirelink* const wirelink;
    ITracebox* const tracebox;
    Mutex readLock;  // one reading of the settings at a time, so that the last one read is the one kept
    Mutex configLock;
    RealtimeConfig realtimeConfig GUARDED_BY(configLock);
    RetryPolicy retry GUARDED_BY(pushLock);
    bool watcherStarted GUARDED_BY(pushLock) = false;
    std::atomic<int32_t> forcedAttempts{0};  // attempts owed at once
    std::atomic<bool> switched{false};       // `enabled` changed, and the thread doesn't know yet
    IDispatcherHelper* const dispatcher;
    IPushChainFactory& factory;
    const uint64_t stopTimeout;
};

}  // namespace orrery
