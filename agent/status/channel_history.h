// What the host has heard of the channel: the module gives it no interface for that, but every connect raises
// ConnectivityTest and, once the retries are used up, DeviceBind comes without one. Only notes; what follows
// from the notes is ChannelView's.
//
// OnRaised comes on the delivering thread, OnExecuting and OnExecuted on workers, OnConfigChange on the
// store's notifying thread, Notes on the main thread.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "contracts/config_util.h"
#include "platform/mutex.h"

namespace orrery::agent {

// Times are milliseconds UTC.
struct ChannelNotes {
    std::optional<int64_t> lastConnect;
    std::optional<int64_t> lastUp;         // when the connection was last known to be there
    std::optional<int64_t> retriesUsedUp;  // since the last connect
    std::optional<int64_t> lossAfter;      // bounds of the last loss that was noticed
    std::optional<int64_t> lossBefore;
    bool switchedOff = false;  // by RealtimeDisable
};

class ChannelHistory final : public IConfigChangeObserver {
  public:
    // Called at each connect, on the delivering thread.
    explicit ChannelHistory(std::function<void()> onConnect) : onConnect(std::move(onConnect)) {}

    void OnRaised(WideView name, WideView source, bool flag, int64_t now);
    void OnExecuting(WideView name);
    void OnExecuted(WideView name, uint32_t result);
    void OnConfigChange(const char16_t* section, const char16_t* group, const char16_t* name,
                        const char16_t* before, const char16_t* after) override;
    // Someone looked whether the connection is there.
    void OnLookedAt(bool isUp, int64_t now);
    ChannelNotes Notes();

  private:
    void ConnectLocked(int64_t now) REQUIRES(lock);
    void LossLocked(int64_t now) REQUIRES(lock);

    const std::function<void()> onConnect;

    Mutex lock;
    ChannelNotes notes GUARDED_BY(lock);
    // A switch or a change of the settings makes the module send a bind that says nothing about retries.
    bool bindExpected GUARDED_BY(lock) = false;
    bool lossKnown GUARDED_BY(lock) = false;  // the loss of the connection of `lastConnect`
    // Before the last connect, if a loss since then went unnoticed until that connect.
    std::optional<int64_t> upBeforeConnect GUARDED_BY(lock);
};

}  // namespace orrery::agent
