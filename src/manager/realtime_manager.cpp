#include "manager/realtime_manager.h"

#include <array>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "foundation/settings/config_helper.h"
#include "foundation/system/operating_system.h"
#include "foundation/trace.h"
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

IWirelink* ObjectOrThrow(const CWirelinkUse& transport) {
    if (!transport.Get()) throw std::invalid_argument("wirelink");
    return transport.Get();
}

}  // namespace

CRealtimeManager::CRealtimeManager(ITracebox* tracebox, ConfigUtil* store, IDispatcherHelper* dispatcher,
                                   IPushChainFactory& factory, uint64_t stopTimeout)
    : config(ConfigUtilOrThrow(store, "configUtil")),
      wirelink(ObjectOrThrow(transport)),
      tracebox(tracebox),
      settings(*config),
      keeper({factory, config, wirelink, dispatcher}, settings),
      stopTimeout(stopTimeout) {
    GetConfig();
}

CRealtimeManager::~CRealtimeManager() {
    MutexLock hold(lifecycleLock);
    StopLocked(true);
    StopObserving();  // a start that failed observes as well
}

bool CRealtimeManager::Start() {
    const Trace::Scope trace("CRealtimeManager::Start");
    MutexLock hold(lifecycleLock);
    if (started) return true;
    CatchUp();
    if (settings.Get().checkOs && COperatingSystem().family() <= oldestFamily) {
        Trace::Error("the operating system is too old for the channel");
        keeper.SendDeviceBind();
        return false;
    }
    Observe();
    CatchUp();
    started = StartThread();
    if (!started) keeper.SendDeviceBind();
    return started;
}

void CRealtimeManager::Observe() {
    if (std::exchange(observing, true)) return;  // also if it stays half done
    for (const char16_t* section : subscribed) config->Subscribe(section, this);
}

void CRealtimeManager::StopObserving() {
    if (!observing) return;
    for (const char16_t* section : unsubscribed) config->Unsubscribe(section, this);
    observing = false;
}

void CRealtimeManager::Stop(bool silent) {
    const Trace::Scope trace("CRealtimeManager::Stop");
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
    const Trace::Scope trace("CRealtimeManager::StartThread");
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
    const Trace::Scope trace("CRealtimeManager::StopThread");
    thread->Stop(sendBind);
    if (!thread->WaitForEnd(stopTimeout)) {
        Trace::Error("the manager thread is late; it ends by itself");
        late = thread;
    }
    thread.reset();
}

void CRealtimeManager::Run(ManagerThread& self) {
    const Trace::Scope trace("CRealtimeManager::Run");
    keeper.TakeTheFloor(self);
    SignalEnabled();  // not earlier: a predecessor may have reset what was signalled
    const std::array<platform::Event*, 4> events{&self.stopEvent, &enableEvent, &disableEvent,
                                                 &reconnectEvent};
    for (;;) {
        const uint64_t period = settings.Get().checkInterval * millisecondsPerSecond;
        const int index = platform::WaitForAny(events, period);
        if (index == StopIndex) break;
        if (index == platform::WaitTimeout) {
            OnPeriod(self);
        } else {
            OnEvent(self, index);
        }
    }
    keeper.SayLastWord(self);
}

// An event is reset before its work is done: what is signalled meanwhile, such as a setting that changes
// during an attempt, is then seen by the next wait.
void CRealtimeManager::OnEvent(ManagerThread& self, int index) {
    switch (index) {
        case EnableIndex:
            enableEvent.Reset();
            NoteSwitch();
            if (!std::exchange(self.active, true)) keeper.ConnectPushManager();
            break;
        case DisableIndex:
            disableEvent.Reset();
            NoteSwitch();
            if (std::exchange(self.active, false)) keeper.DisconnectPushManager();
            break;
        case ReconnectIndex:
            reconnectEvent.Reset();
            if (self.active) keeper.ConnectPushManager();
            break;
        default:
            Trace::Error("waiting failed", index);
            break;
    }
}

void CRealtimeManager::OnPeriod(const ManagerThread& self) {
    if (self.active && !CheckPushManager()) keeper.CreatePushManager();
}

// The signal may be for more than one turn of the switch, or for none, as at the thread's start.
void CRealtimeManager::NoteSwitch() {
    if (switched.exchange(false)) keeper.NoteSwitch();
}

bool CRealtimeManager::CheckPushManager() {
    const Trace::Scope trace("CRealtimeManager::CheckPushManager");
    return keeper.CheckPushManager();
}

bool CRealtimeManager::IsPushConnected() {
    const Trace::Scope trace("CRealtimeManager::IsPushConnected");
    return keeper.IsPushConnected();
}

bool CRealtimeManager::GetConfig() {
    const Trace::Scope trace("CRealtimeManager::GetConfig");
    const bool changed = settings.Refresh();
    LogIfDisabled();
    return changed;
}

void CRealtimeManager::CatchUp() {
    if (settings.Refresh()) LogIfDisabled();
}

void CRealtimeManager::LogIfDisabled() {
    if (!settings.Get().enabled) LogTo(tracebox, LogWarning, "Realtime notifications are disabled");
}

// The value is read under the lock, so that the two events never contradict it, whoever signals last.
void CRealtimeManager::SignalEnabled() {
    MutexLock hold(signalLock);
    const bool enabled = settings.Get().enabled;
    (enabled ? disableEvent : enableEvent).Reset();
    (enabled ? enableEvent : disableEvent).Set();
}

void CRealtimeManager::OnConfigChange(const char16_t* section, const char16_t* group, const char16_t* name,
                                      const char16_t* value1, const char16_t* value2) {
    const Trace::Scope trace("CRealtimeManager::OnConfigChange");
    if (ShapesTheManager(section, group)) {
        if (!GetConfig()) return;
        switched = true;
        SignalEnabled();
        return;
    }
    if (!ShapesTheChain(section, group, name)) return;
    if (settings.Get().enabled && WideView(value1) != WideView(value2)) reconnectEvent.Set();
}

}  // namespace orrery
