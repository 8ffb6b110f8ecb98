#include "manager/realtime_manager.h"

#include <array>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "events/dispatcher_helper.h"
#include "events/event_scheduler.h"
#include "foundation/settings/config_helper.h"
#include "foundation/settings/registration.h"
#include "foundation/system/operating_system.h"
#include "foundation/trace.h"
#include "platform/clock.h"
#include "platform/error_codes.h"
#include "platform/text.h"

namespace orrery {

namespace {

constexpr uint64_t millisecondsPerSecond = 1000;
constexpr int32_t oldestFamily = 2;  // systems before version 6.0 have no channel

constexpr const char16_t* subscribed[] = {u"Register", u"Communications", u"Realtime", u"Proxy"};
constexpr const char16_t* unsubscribed[] = {u"Proxy", u"Communications", u"Register", u"Realtime"};

enum WaitIndex : int { StopIndex = 0, EnableIndex, DisableIndex, ReconnectIndex };

// A change of these leads to a new chain.
bool ShapesTheChain(WideView section, WideView group, WideView name) {
    if (EqualNoCase(section, u"Proxy")) return true;
    if (EqualNoCase(section, u"Communications")) return EqualNoCase(group, u"Method_CommandHub");
    if (EqualNoCase(section, u"Register")) {
        return EqualNoCase(group, u"Register") && EqualNoCase(name, u"DeviceId");
    }
    return EqualNoCase(section, u"Realtime") && EqualNoCase(group, u"Client") &&
           EqualNoCase(name, u"ValidateCertificates");
}

bool ShapesTheManager(WideView section, WideView group) {
    return EqualNoCase(section, u"Realtime") &&
           (EqualNoCase(group, u"Notifications") || EqualNoCase(group, u"Manager"));
}

}  // namespace

CRealtimeManager::CRealtimeManager(ITracebox* tracebox, ConfigUtil* store, IDispatcherHelper* dispatcher,
                                   IPushChainFactory& factory, uint64_t stopTimeout)
    : config(ConfigUtilOrThrow(store, "configUtil")),
      wirelink(transport.Get()),
      tracebox(tracebox),
      retry([this](const WideString& interval) { return EvaluateInterval(interval); }, forcedAttempts),
      dispatcher(dispatcher),
      factory(factory),
      stopTimeout(stopTimeout) {
    if (!wirelink) throw std::invalid_argument("wirelink");
    watcher = factory.MakeWatcher();
    GetConfig();
}

CRealtimeManager::~CRealtimeManager() {
    {
        MutexLock hold(lifecycleLock);
        StopLocked(true);
        StopObserving();  // a start that failed observes as well
        late.reset();     // waits
    }
    watcher.reset();
}

bool CRealtimeManager::Start() {
    MutexLock hold(lifecycleLock);
    if (started) return true;
    CatchUp();
    if (Config().checkOs && COperatingSystem().family() <= oldestFamily) {
        Trace::Error("the operating system is too old for the channel");
        SendDeviceBind();
        return false;
    }
    Observe();
    CatchUp();
    started = StartThread();
    if (!started) SendDeviceBind();
    return started;
}

void CRealtimeManager::Observe() {
    if (observing) return;
    for (const char16_t* section : subscribed) config->Subscribe(section, this);
    observing = true;
}

void CRealtimeManager::StopObserving() {
    if (!observing) return;
    for (const char16_t* section : unsubscribed) config->Unsubscribe(section, this);
    observing = false;
}

void CRealtimeManager::Stop(bool silent) {
    MutexLock hold(lifecycleLock);
    StopLocked(silent);
}

void CRealtimeManager::StopLocked(bool silent) {
    if (!started) return;
    StopObserving();
    switched = false;  // the stop decides what is pending from here on
    StopThread(!silent);
    started = false;
}

bool CRealtimeManager::StartThread() {
    uint32_t error = Success;
    try {
        thread = std::make_shared<ManagerThread>([this](ManagerThread& self) { Run(self); }, late);
        late.reset();
    } catch (const std::system_error& failure) {
        error = static_cast<uint32_t>(failure.code().value());
    } catch (const std::bad_alloc&) {
        error = NotEnoughMemory;
    }
    if (!thread) LogTo(tracebox, LogError, "Error %d: Creating realtime thread", error);
    return thread != nullptr;
}

void CRealtimeManager::StopThread(bool sendBind) {
    thread->Stop(sendBind);
    if (!thread->WaitForEnd(stopTimeout)) {
        Trace::Error("the manager thread is late; it ends by itself");
        late = thread;
    }
    thread.reset();
}

void CRealtimeManager::Run(ManagerThread& self) {
    TakeTheFloor(self);
    SignalEnabled();  // not earlier: a predecessor may have reset what was signalled
    const std::array<platform::Event*, 4> events{&self.stopEvent, &enableEvent, &disableEvent,
                                                 &reconnectEvent};
    for (;;) {
        const int index =
            platform::WaitForAny(events, uint64_t{Config().checkInterval} * millisecondsPerSecond);
        if (index == StopIndex) break;
        if (index == platform::WaitTimeout) {
            OnPeriod(self);
        } else {
            OnEvent(self, index);
        }
    }
    SayLastWord(self);
}

// An event is reset before its work is done: what is signalled meanwhile, such as a setting that changes
// during an attempt, is then seen by the next wait.
void CRealtimeManager::OnEvent(ManagerThread& self, int index) {
    switch (index) {
        case EnableIndex:
            enableEvent.Reset();
            NoteSwitch();
            if (!std::exchange(self.active, true)) ConnectPushManager();
            break;
        case DisableIndex:
            disableEvent.Reset();
            NoteSwitch();
            if (std::exchange(self.active, false)) DisconnectPushManager();
            break;
        case ReconnectIndex:
            reconnectEvent.Reset();
            if (self.active) ConnectPushManager();
            break;
        default:
            Trace::Error("waiting failed", index);
            break;
    }
}

void CRealtimeManager::OnPeriod(const ManagerThread& self) {
    if (!self.active || CheckPushManager()) return;
    MutexLock hold(pushLock);
    CreatePushManager();
}

void CRealtimeManager::TakeTheFloor(const ManagerThread& self) {
    MutexLock hold(pushLock);
    speaker = &self;
}

// That the switch was turned counts now and not when it was turned: a connection that came to stand meanwhile
// was one of before.
void CRealtimeManager::NoteSwitch() {
    MutexLock hold(pushLock);
    if (switched.exchange(false)) retry.bindPending = true;
}

// A stop counts here for the same reason. What went before it is over: no connection comes to stand any more
// that could take the bind event for its own.
void CRealtimeManager::SayLastWord(const ManagerThread& self) {
    MutexLock hold(pushLock);
    DestroyPushManager();
    speaker = nullptr;
    retry.bindPending = self.BindOnStop();
    if (retry.bindPending) SendAllowedDeviceBind();
}

void CRealtimeManager::ConnectPushManager() {
    MutexLock hold(pushLock);
    DestroyPushManager();
    retry.Clear();
    CreatePushManager();
}

void CRealtimeManager::DisconnectPushManager() {
    MutexLock hold(pushLock);
    DestroyPushManager();
    SendAllowedDeviceBind();
}

void CRealtimeManager::CreatePushManager() {
    WideString deviceId;
    GetRegisteredDeviceId(deviceId);
    const WideString uri = ReadCommandHubUri(*config);
    if (deviceId.empty() || uri.empty()) return;
    // Called inside Start of the chain, with pushLock held by whoever makes the attempt.
    const auto onConnect = [this]() NO_THREAD_SAFETY_ANALYSIS { OnPushConnected(); };
    const PushChainNeeds needs{factory, config, wirelink, dispatcher};
    auto made = std::make_unique<PushChain>(needs, deviceId, uri, onConnect);
    if (made->IsWhole()) {
        chain = std::move(made);
        StartPushManager();
    } else if (made->HasChannel()) {
        made.reset();
        SendAllowedDeviceBind();
    }
}

void CRealtimeManager::DestroyPushManager() {
    if (!chain) return;
    StopConnectionWatcher();
    retry.ForgetForced();
    if (chain->IsConnected()) retry.Clear();
    chain.reset();
}

bool CRealtimeManager::CheckPushManager() {
    MutexLock hold(pushLock);
    if (!chain) return false;
    const int64_t now = platform::SystemTicks();
    const RetrySettings settings = Config().retry;
    if (chain->IsConnected()) {
        retry.NoteUp(now, settings);
        return true;
    }
    if (retry.NoteDown(now, settings)) SendAllowedDeviceBind();
    StartPushManager();
    return true;
}

void CRealtimeManager::StartPushManager() {
    if (chain->IsConnected()) return;
    if (retry.ShouldAttempt(platform::SystemTicks(), Config().retry) && Attempt()) return;
    StartConnectionWatcher();
}

bool CRealtimeManager::Attempt() {
    if (chain->Start()) {
        StopConnectionWatcher();
        retry.NoteConnected(platform::SystemTicks());
        return true;
    }
    Trace::Error("the channel can't be connected");
    if (retry.NoteFailed(platform::SystemTicks(), Config().retry)) SendAllowedDeviceBind();
    return false;
}

void CRealtimeManager::StartConnectionWatcher() {
    if (watcherStarted || !watcher) return;
    watcherStarted = watcher->Start([this](NotificationType type) { OnConnectionChange(type); });
}

void CRealtimeManager::StopConnectionWatcher() {
    if (watcher) watcher->Stop();
    watcherStarted = false;
}

void CRealtimeManager::OnConnectionChange(NotificationType type) {
    if (type == AddInstance) ++forcedAttempts;
}

bool CRealtimeManager::IsPushConnected() {
    MutexLock hold(pushLock);
    return chain && chain->IsConnected();
}

void CRealtimeManager::Schedule(const char16_t* event) {
    CEventScheduler(*dispatcher).Schedule(event, false);
}

void CRealtimeManager::SendDeviceBind() {
    Schedule(u"{\"DeviceBind\":{}}");
}

void CRealtimeManager::SendAllowedDeviceBind() {
    if (!IsSilenced() && retry.BindAllowed(Config().retry)) SendDeviceBind();
}

bool CRealtimeManager::IsSilenced() const {
    return speaker && speaker->IsStopped();
}

void CRealtimeManager::OnPushConnected() {
    if (IsSilenced()) return;
    const bool checkCommands = !std::exchange(retry.bindPending, false);
    SendDeviceBind();
    Schedule(u"{\"ConnectivityTest\":{}}");
    if (checkCommands && retry.LossNoted()) Schedule(u"{\"CheckCommands\":{}}");
}

uint32_t CRealtimeManager::EvaluateInterval(const WideString& interval) {
    uint32_t seconds = 0;
    config->EvaluateInterval(interval, seconds);
    return seconds;
}

bool CRealtimeManager::ReadConfig() {
    MutexLock reading(readLock);
    RealtimeConfig fresh = Config();
    const bool before = fresh.enabled;
    fresh.Read(*config);
    MutexLock hold(configLock);
    realtimeConfig = fresh;
    return fresh.enabled != before;
}

bool CRealtimeManager::GetConfig() {
    const bool changed = ReadConfig();
    LogIfDisabled();
    return changed;
}

void CRealtimeManager::CatchUp() {
    if (ReadConfig()) LogIfDisabled();
}

void CRealtimeManager::LogIfDisabled() {
    if (!IsEnabled()) LogTo(tracebox, LogWarning, "Realtime notifications are disabled");
}

RealtimeConfig CRealtimeManager::Config() {
    MutexLock hold(configLock);
    return realtimeConfig;
}

bool CRealtimeManager::IsEnabled() {
    MutexLock hold(configLock);
    return realtimeConfig.enabled;
}

// Under the lock, so that the two events never contradict the value, whoever signals last.
void CRealtimeManager::SignalEnabled() {
    MutexLock hold(configLock);
    (realtimeConfig.enabled ? disableEvent : enableEvent).Reset();
    (realtimeConfig.enabled ? enableEvent : disableEvent).Set();
}

void CRealtimeManager::OnConfigChange(const char16_t* section, const char16_t* group, const char16_t* name,
                                      const char16_t* value1, const char16_t* value2) {
    if (ShapesTheManager(section, group)) {
        if (!GetConfig()) return;
        switched = true;
        SignalEnabled();
        return;
    }
    if (!ShapesTheChain(section, group, name)) return;
    if (IsEnabled() && WideView(value1) != WideView(value2)) reconnectEvent.Set();
}

}  // namespace orrery
