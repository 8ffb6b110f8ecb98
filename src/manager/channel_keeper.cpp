#include "manager/channel_keeper.h"

#include <utility>

#include "events/event_scheduler.h"
#include "foundation/settings/registration.h"
#include "foundation/trace.h"
#include "platform/clock.h"

namespace orrery {

ChannelKeeper::ChannelKeeper(const PushChainNeeds& needs, const CurrentConfig& settings)
    : needs(needs),
      settings(settings),
      watcher(needs.factory.MakeWatcher()),
      retry([this](const WideString& interval) { return EvaluateInterval(interval); }, forcedAttempts) {}

void ChannelKeeper::TakeTheFloor(const ManagerThread& self) {
    MutexLock hold(pushLock);
    speaker = &self;
}

// A connection that came to stand before this was told is one of before: it can't take the bind event that is
// due now for its own. The same holds for the last word.
void ChannelKeeper::NoteSwitch() {
    MutexLock hold(pushLock);
    retry.bindPending = true;
}

void ChannelKeeper::SayLastWord(const ManagerThread& self) {
    MutexLock hold(pushLock);
    DestroyPushManager();
    speaker = nullptr;
    retry.bindPending = self.BindOnStop();
    if (retry.bindPending) SendAllowedDeviceBind();
}

void ChannelKeeper::ConnectPushManager() {
    const Trace::Scope trace("ChannelKeeper::ConnectPushManager");
    MutexLock hold(pushLock);
    DestroyPushManager();
    retry.Clear();
    CreateLocked();
}

void ChannelKeeper::DisconnectPushManager() {
    const Trace::Scope trace("ChannelKeeper::DisconnectPushManager");
    MutexLock hold(pushLock);
    DestroyPushManager();
    SendAllowedDeviceBind();
}

void ChannelKeeper::CreatePushManager() {
    const Trace::Scope trace("ChannelKeeper::CreatePushManager");
    MutexLock hold(pushLock);
    CreateLocked();
}

void ChannelKeeper::CreateLocked() {
    WideString deviceId;
    GetRegisteredDeviceId(deviceId);
    const WideString uri = ReadCommandHubUri(*needs.config);
    if (deviceId.empty() || uri.empty()) return;
    // Called inside Start of the chain, with pushLock held by whoever makes the attempt.
    const auto onConnect = [this]() NO_THREAD_SAFETY_ANALYSIS { OnPushConnected(); };
    auto made = std::make_unique<PushChain>(needs, deviceId, uri, onConnect);
    if (made->IsWhole()) {
        chain = std::move(made);
        StartPushManager();
    } else if (made->HasChannel()) {
        made.reset();
        SendAllowedDeviceBind();
    }
}

void ChannelKeeper::DestroyPushManager() {
    const Trace::Scope trace("ChannelKeeper::DestroyPushManager");
    if (!chain) return;
    StopConnectionWatcher();
    retry.ForgetForced();
    if (chain->IsConnected()) retry.Clear();
    chain.reset();
}

bool ChannelKeeper::CheckPushManager() {
    const Trace::Scope trace("ChannelKeeper::CheckPushManager");
    MutexLock hold(pushLock);
    if (!chain) return false;
    const int64_t now = platform::SystemTicks();
    const RetrySettings limits = settings.Get().retry;
    if (chain->IsConnected()) {
        retry.NoteUp(now, limits);
        return true;
    }
    if (retry.NoteDown(now, limits)) SendAllowedDeviceBind();
    StartPushManager();
    return true;
}

void ChannelKeeper::StartPushManager() {
    const Trace::Scope trace("ChannelKeeper::StartPushManager");
    if (chain->IsConnected()) return;
    if (retry.ShouldAttempt(platform::SystemTicks(), settings.Get().retry) && Attempt()) return;
    StartConnectionWatcher();
}

bool ChannelKeeper::Attempt() {
    if (chain->Start()) {
        StopConnectionWatcher();
        retry.NoteConnected(platform::SystemTicks());
        return true;
    }
    Trace::Error("the channel can't be connected");
    if (retry.NoteFailed(platform::SystemTicks(), settings.Get().retry)) SendAllowedDeviceBind();
    return false;
}

void ChannelKeeper::StartConnectionWatcher() {
    const Trace::Scope trace("ChannelKeeper::StartConnectionWatcher");
    if (watcherStarted || !watcher) return;
    watcherStarted = watcher->Start([this](NotificationType type) { OnConnectionChange(type); });
}

void ChannelKeeper::StopConnectionWatcher() {
    if (watcher) watcher->Stop();
    watcherStarted = false;
}

void ChannelKeeper::OnConnectionChange(NotificationType type) {
    const Trace::Scope trace("ChannelKeeper::OnConnectionChange");
    if (type == AddInstance) ++forcedAttempts;
}

bool ChannelKeeper::IsPushConnected() {
    const Trace::Scope trace("ChannelKeeper::IsPushConnected");
    MutexLock hold(pushLock);
    return chain && chain->IsConnected();
}

void ChannelKeeper::OnPushConnected() {
    const Trace::Scope trace("ChannelKeeper::OnPushConnected");
    if (IsSilenced()) return;
    const bool checkCommands = !std::exchange(retry.bindPending, false);
    SendDeviceBind();
    Schedule(u"{\"ConnectivityTest\":{}}");
    if (checkCommands && retry.LossNoted()) Schedule(u"{\"CheckCommands\":{}}");
}

void ChannelKeeper::SendAllowedDeviceBind() {
    if (!IsSilenced() && retry.BindAllowed(settings.Get().retry)) SendDeviceBind();
}

void ChannelKeeper::SendDeviceBind() {
    const Trace::Scope trace("ChannelKeeper::SendDeviceBind");
    Schedule(u"{\"DeviceBind\":{}}");
}

bool ChannelKeeper::IsSilenced() const {
    return speaker && speaker->IsStopped();
}

void ChannelKeeper::Schedule(const char16_t* event) {
    const Trace::Scope trace("ChannelKeeper::Schedule");
    CEventScheduler(*needs.dispatcher).Schedule(event, EventOrigin::Remote);
}

uint32_t ChannelKeeper::EvaluateInterval(const WideString& interval) {
    const Trace::Scope trace("ChannelKeeper::EvaluateInterval");
    uint32_t seconds = 0;
    needs.config->EvaluateInterval(interval, seconds);
    return seconds;
}

}  // namespace orrery
