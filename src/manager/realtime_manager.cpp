#include "manager/realtime_manager.h"

#include <array>
#include <atomic>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

#include "events/dispatcher_helper.h"
#include "events/event_scheduler.h"
#include "foundation/settings/config_helper.h"
#include "foundation/settings/registration.h"
#include "foundation/system/operating_system.h"
#include "foundation/trace.h"
#include "platform/clock.h"
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

// One manager thread with the state that is its own, so that it ends by itself even when it is late and
// another one has been started.
class CRealtimeManager::Worker {
  public:
    explicit Worker(CRealtimeManager& manager) : thread([this, &manager] { Run(manager); }) {}
    ~Worker() { thread.join(); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void Stop(bool sendBind) {
        bindOnStop = sendBind;
        stopEvent.Set();
    }
    bool WaitForEnd(uint64_t milliseconds) {
        platform::Event* const events[] = {&ended};
        return platform::WaitForAny(events, milliseconds) == 0;
    }
    bool HasEnded() const { return ended.IsSet(); }
    bool IsStopped() const { return stopEvent.IsSet(); }

    platform::Event stopEvent;
    std::atomic<bool> bindOnStop{true};  // the last act sends the bind event
    bool active = false;                 // the channel is wanted; the thread's own

  private:
    void Run(CRealtimeManager& manager) {
        manager.Run(*this);
        ended.Set();
    }

    platform::Event ended;
    std::thread thread;  // the last field: it runs when the others are there
};

CRealtimeManager::CRealtimeManager(ITracebox* tracebox, ConfigUtil* store, IDispatcherHelper* dispatcher,
                                   IPushChainFactory& chain, uint64_t stopTimeout)
    : config(ConfigUtilOrThrow(store, "configUtil")),
      wirelink(transport.Get()),
      tracebox(tracebox),
      retry([this](const WideString& interval) { return EvaluateInterval(interval); }),
      dispatcher(dispatcher),
      chain(chain),
      stopTimeout(stopTimeout) {
    if (!wirelink) throw std::invalid_argument("wirelink");
    watcher = chain.MakeWatcher();
    GetConfig();
}

CRealtimeManager::~CRealtimeManager() {
    {
        MutexLock hold(lifecycleLock);
        StopLocked(true);
        StopObserving();   // a start that failed observes as well
        outlived.clear();  // waits
    }
    watcher.reset();
}

bool CRealtimeManager::Start() {
    MutexLock hold(lifecycleLock);
    if (started) return true;
    if (Config().checkOs && COperatingSystem().family() <= oldestFamily) {
        Trace::Error("the operating system is too old for the channel");
        SendDeviceBind(true);
        return false;
    }
    started = StartThread();
    if (!started) SendDeviceBind(true);
    // Nobody told of changes while it was stopped; from here on none is missed.
    Observe();
    GetConfig();
    SignalEnabled();
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
    retry.bindPending = !silent;
    StopObserving();
    StopThread(!silent);
    started = false;
}

bool CRealtimeManager::StartThread() {
    std::erase_if(outlived, [](const std::unique_ptr<Worker>& worker) { return worker->HasEnded(); });
    try {
        if (!thread) thread = std::make_unique<Worker>(*this);
    } catch (const std::system_error& failure) {
        LogTo(tracebox, LogError, "Error %d: Creating realtime thread", failure.code().value());
    }
    return thread != nullptr;
}

void CRealtimeManager::StopThread(bool sendBind) {
    if (!thread) return;
    thread->Stop(sendBind);
    if (!thread->WaitForEnd(stopTimeout)) {
        Trace::Error("the manager thread is late; it ends by itself");
        outlived.push_back(std::move(thread));
    }
    thread.reset();
}

void CRealtimeManager::Run(Worker& worker) {
    const std::array<platform::Event*, 4> events{&worker.stopEvent, &enableEvent, &disableEvent,
                                                 &reconnectEvent};
    for (;;) {
        const int index =
            platform::WaitForAny(events, uint64_t{Config().checkInterval} * millisecondsPerSecond);
        if (index == StopIndex) break;
        if (index == platform::WaitTimeout) {
            OnPeriod(worker);
        } else {
            OnEvent(worker, index);
        }
    }
    DisconnectPushManager(worker, worker.bindOnStop);
}

// An event is reset before its work is done: what is signalled meanwhile, such as a setting that changes
// during an attempt, is then seen by the next wait.
void CRealtimeManager::OnEvent(Worker& worker, int index) {
    switch (index) {
        case EnableIndex:
            enableEvent.Reset();
            if (!std::exchange(worker.active, true)) ConnectPushManager(worker, true);
            break;
        case DisableIndex:
            disableEvent.Reset();
            if (std::exchange(worker.active, false)) DisconnectPushManager(worker, true);
            break;
        case ReconnectIndex:
            reconnectEvent.Reset();
            if (worker.active) ConnectPushManager(worker, true);
            break;
        default:
            Trace::Error("waiting failed", index);
            break;
    }
}

void CRealtimeManager::OnPeriod(Worker& worker) {
    if (!worker.active) return;
    if (!CheckPushManager()) ConnectPushManager(worker, false);
}

void CRealtimeManager::ConnectPushManager(Worker& worker, bool reset) {
    MutexLock hold(pushLock);
    WideString deviceId;
    GetRegisteredDeviceId(deviceId);
    const WideString uri = ReadCommandHubUri(*config);
    if (reset) retry.Clear();
    DestroyPushManager();
    chainOwner = &worker;
    CreatePushManager(deviceId, uri);
}

void CRealtimeManager::DisconnectPushManager(Worker& worker, bool sendBind) {
    MutexLock hold(pushLock);
    if (chainOwner == &worker) DestroyPushManager();
    if (sendBind) SendDeviceBind(false);
}

void CRealtimeManager::CreatePushManager(const WideString& deviceId, const WideString& uri) {
    if (deviceId.empty() || uri.empty()) return;
    bool made = false;
    try {
        made = MakeChain(deviceId, uri);
    } catch (const std::exception& failure) {
        Trace::Error("the push chain can't be made", failure.what());
    }
    if (made) {
        StartPushManager();
    } else if (channel) {
        DestroyPushManager();
        SendDeviceBind(false);
    }
}

bool CRealtimeManager::MakeChain(const WideString& deviceId, const WideString& uri) {
    proxyConfig = std::make_unique<CProxyConfig>(config, wirelink);
    channel = chain.MakeChannel(uri, proxyConfig->IsValid() ? proxyConfig->GetProxyList() : nullptr);
    if (!channel) return false;
    service = chain.MakeService(deviceId, channel.get(), config);
    if (!service) return false;
    pushManager = chain.MakeManager(service.get(), config, dispatcher);
    if (!pushManager) return false;
    // Called inside Start of the push manager, on the thread that made the attempt and holds pushLock.
    pushManager->SetConnectHandler([this]() NO_THREAD_SAFETY_ANALYSIS { OnPushConnected(); });
    pushManager->SetCloseHandler([] {});  // a loss is found by the next check
    return true;
}

void CRealtimeManager::DestroyPushManager() {
    if (pushManager) StopPushManager();
    pushManager.reset();
    service.reset();
    if (channel) channel->Close();
    channel.reset();
    proxyConfig.reset();
}

void CRealtimeManager::StopPushManager() {
    StopConnectionWatcher();
    retry.ForgetForced();
    if (!pushManager->IsConnected()) return;
    pushManager->Stop();
    retry.Clear();
}

bool CRealtimeManager::CheckPushManager() {
    MutexLock hold(pushLock);
    return CheckPushManagerLocked();
}

bool CRealtimeManager::CheckPushManagerLocked() {
    if (!pushManager) return false;
    const int64_t now = platform::SystemTicks();
    const RetrySettings settings = Config().retry;
    if (pushManager->IsConnected()) {
        retry.NoteUp(now, settings);
        return true;
    }
    if (retry.NoteDown(now, settings)) SendDeviceBind(false);
    return StartPushManager();
}

bool CRealtimeManager::StartPushManager() {
    if (!pushManager) return false;
    if (pushManager->IsConnected()) return true;
    if (retry.ShouldAttempt(platform::SystemTicks(), Config().retry) && Attempt()) return true;
    StartConnectionWatcher();
    return true;
}

bool CRealtimeManager::Attempt() {
    bool connected = false;
    try {
        connected = pushManager->Start();
    } catch (const std::exception& failure) {
        Trace::Error("an attempt broke off", failure.what());
    }
    if (connected) {
        StopConnectionWatcher();
        retry.NoteConnected(platform::SystemTicks());
        return true;
    }
    Trace::Error("the channel can't be connected");
    if (retry.NoteFailed(platform::SystemTicks(), Config().retry)) SendDeviceBind(false);
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
    if (type == AddInstance) retry.ForceAttempt();
}

bool CRealtimeManager::IsPushConnected() {
    MutexLock hold(pushLock);
    return pushManager && pushManager->IsConnected();
}

bool CRealtimeManager::Schedule(const char16_t* event) {
    return CEventScheduler(*dispatcher).Schedule(event, EventOrigin::Remote);
}

bool CRealtimeManager::SendDeviceBind(bool force) {
    if (!force && !retry.BindAllowed(Config().retry)) return true;
    return Schedule(u"{\"DeviceBind\":{}}");
}

void CRealtimeManager::OnPushConnected() {
    // A connection that comes to stand after Stop goes at once: to tell of it would be wrong twice, as the
    // bind event of the stop would then be missing.
    if (chainOwner && chainOwner->IsStopped()) return;
    const bool checkCommands = !retry.bindPending.exchange(false);
    SendDeviceBind(true);
    SendConnectivityTest(checkCommands);
}

bool CRealtimeManager::SendConnectivityTest(bool checkCommands) {
    const bool result = Schedule(u"{\"ConnectivityTest\":{}}");
    if (checkCommands && retry.LossNoted()) Schedule(u"{\"CheckCommands\":{}}");
    return result;
}

uint32_t CRealtimeManager::EvaluateInterval(const WideString& interval) {
    uint32_t seconds = 0;
    config->EvaluateInterval(interval, seconds);
    return seconds;
}

void CRealtimeManager::GetConfig() {
    MutexLock reading(readLock);
    RealtimeConfig fresh = Config();
    const bool disabled = fresh.Read(*config);
    {
        MutexLock hold(configLock);
        realtimeConfig = fresh;
    }
    if (disabled) LogTo(tracebox, LogWarning, "Realtime notifications are disabled");
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
        const bool before = IsEnabled();
        GetConfig();
        if (before == IsEnabled()) return;
        retry.bindPending = true;
        SignalEnabled();
        return;
    }
    if (!ShapesTheChain(section, group, name)) return;
    if (IsEnabled() && WideView(value1) != WideView(value2)) reconnectEvent.Set();
}

}  // namespace orrery
