// Keeps the channel up while it is wanted: owns the push chain, the state of its retries and the interface
// watcher, and says in local events what becomes of the channel. It has no thread and knows no switch: the
// manager thread tells it when to connect, to look and to end.
//
// Threads: the manager thread; any for IsPushConnected and CheckPushManager; the watcher's, which only
// counts. pushLock is held over a whole attempt; the chain's locks come below it.
#pragma once

#include <atomic>
#include <memory>

#include "manager/current_config.h"
#include "manager/manager_thread.h"
#include "manager/push_chain.h"
#include "manager/retry_policy.h"
#include "platform/mutex.h"

namespace orrery {

class ChannelKeeper {
  public:
    // All of it outlives the keeper.
    ChannelKeeper(const PushChainNeeds& needs, const CurrentConfig& settings);
    ChannelKeeper(const ChannelKeeper&) = delete;
    ChannelKeeper& operator=(const ChannelKeeper&) = delete;

    // For the manager thread alone, which so decides who speaks and what is said last.
    void TakeTheFloor(const ManagerThread& self) EXCLUDES(pushLock);
    // The channel was switched on or off.
    void NoteSwitch() EXCLUDES(pushLock);
    void SayLastWord(const ManagerThread& self) EXCLUDES(pushLock);
    // From nothing, with an attempt at once.
    void ConnectPushManager() EXCLUDES(pushLock);
    void DisconnectPushManager() EXCLUDES(pushLock);
    // Makes the chain that is missing; the state of the retries stays.
    void CreatePushManager() EXCLUDES(pushLock);

    // False only without a chain.
    bool CheckPushManager() EXCLUDES(pushLock);
    // Waits while a connection attempt is running.
    bool IsPushConnected() EXCLUDES(pushLock);
    // Whatever the state. From any thread.
    void SendDeviceBind();

  private:
    void CreateLocked() REQUIRES(pushLock);
    void DestroyPushManager() REQUIRES(pushLock);
    void StartPushManager() REQUIRES(pushLock);
    bool Attempt() REQUIRES(pushLock);
    void StartConnectionWatcher() REQUIRES(pushLock);
    void StopConnectionWatcher() REQUIRES(pushLock);
    void OnConnectionChange(NotificationType type);

    void OnPushConnected() REQUIRES(pushLock);
    void SendAllowedDeviceBind() REQUIRES(pushLock);
    // Between Stop and its last word a thread says nothing.
    bool IsSilenced() const REQUIRES(pushLock);
    // Nobody could do anything about a failure.
    void Schedule(const char16_t* event);
    uint32_t EvaluateInterval(const WideString& interval);

    const PushChainNeeds needs;
    const CurrentConfig& settings;
    std::atomic<int32_t> forcedAttempts{0};                 // attempts owed at once
    Mutex pushLock;                                         // the push chain and the retry state
    std::unique_ptr<PushChain> chain GUARDED_BY(pushLock);  // whole, or null
    const ManagerThread* speaker GUARDED_BY(pushLock) = nullptr;
    std::unique_ptr<IConnectionWatcher> watcher GUARDED_BY(pushLock);
    RetryPolicy retry GUARDED_BY(pushLock);
    bool watcherStarted GUARDED_BY(pushLock) = false;
};

}  // namespace orrery
