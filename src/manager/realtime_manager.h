// Owns the real-time channel of the device. Its thread is the main loop of the module: it reacts to four
// events, and at every period has the channel looked at. What becomes of the channel is ChannelKeeper's; this
// class starts and stops the thread and hears of changes of the settings. It sends nothing to the server.
//
// Threads: the manager thread; hosts' threads through Start, Stop and IsPushConnected; the store's through
// OnConfigChange. Lock order: lifecycleLock, then the keeper's; signalLock, then the settings'.
#pragma once

#include <atomic>
#include <memory>

#include "contracts/config_util.h"
#include "contracts/tracebox.h"
#include "contracts/wirelink.h"
#include "foundation/libraries/wirelink_use.h"
#include "manager/channel_keeper.h"
#include "manager/current_config.h"
#include "manager/manager_thread.h"
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
    // False, and the bind event is raised, if the operating system is too old or there is no thread to be
    // had.
    virtual bool Start() EXCLUDES(lifecycleLock);
    // `silent`: no bind event follows. Waits for the thread for at most `stopTimeout`; one that takes longer
    // ends by itself.
    virtual void Stop(bool silent) EXCLUDES(lifecycleLock);
    // False only without a push manager.
    virtual bool CheckPushManager();
    // Waits while a connection attempt is running.
    virtual bool IsPushConnected();

  private:
    bool StartThread() REQUIRES(lifecycleLock);
    void StopThread(bool sendBind) REQUIRES(lifecycleLock);
    void Observe() REQUIRES(lifecycleLock);
    void StopObserving() REQUIRES(lifecycleLock);
    void StopLocked(bool silent) REQUIRES(lifecycleLock);

    void Run(ManagerThread& self);
    void OnEvent(ManagerThread& self, int index);
    void OnPeriod(const ManagerThread& self);
    void NoteSwitch();

    // Reads the settings, and says each time that they keep the channel off. True if that has changed.
    bool GetConfig();
    // The same for what nobody told of while the manager was stopped; it says only what is new.
    void CatchUp();
    void LogIfDisabled();
    void SignalEnabled() EXCLUDES(signalLock);

    bool started GUARDED_BY(lifecycleLock) = false;
    bool observing GUARDED_BY(lifecycleLock) = false;
    platform::Event enableEvent;
    platform::Event disableEvent;
    platform::Event reconnectEvent;
    Mutex lifecycleLock;  // Start and Stop
    ConfigUtil* const config;
    const CWirelinkUse transport;
    IWirelink* const wirelink;
    ITracebox* const tracebox;
    CurrentConfig settings;
    ChannelKeeper keeper;
    Mutex signalLock;                   // enableEvent against disableEvent
    std::atomic<bool> switched{false};  // `enabled` changed, and the thread doesn't know yet
    const uint64_t stopTimeout;
    std::shared_ptr<ManagerThread> thread GUARDED_BY(lifecycleLock);
    // Outlived its Stop: the next one waits for it. The last field, as its end is waited for before the
    // others go.
    std::shared_ptr<ManagerThread> late GUARDED_BY(lifecycleLock);
};

}  // namespace orrery
