#include "agent/status/channel_history.h"

#include "platform/error_codes.h"
#include "platform/text.h"

namespace orrery::agent {

namespace {

bool IsSwitch(WideView name) {
    return name == u"RealtimeClear" || name == u"RealtimeEnable" || name == u"RealtimeDisable";
}

}  // namespace

// The manager's own events bear no source and are raised without the flag; a server's action bears the source
// "RealTime", and a test of connectivity after a change of proxy the flag.
void ChannelHistory::OnRaised(WideView name, WideView source, bool flag, int64_t now) {
    const bool byManager = source.empty() && !flag;
    bool connected = false;
    {
        MutexLock hold(lock);
        if (source == u"RealTime") notes.lastUp = now;
        if (byManager && name == u"ConnectivityTest") {
            ConnectLocked(now);
            connected = true;
        } else if (byManager && name == u"CheckCommands" && upBeforeConnect) {
            notes.lossAfter = upBeforeConnect;
            notes.lossBefore = notes.lastConnect;
        } else if (byManager && name == u"DeviceBind") {
            if (!bindExpected) notes.retriesUsedUp = now;
            bindExpected = false;
        }
    }
    if (connected && onConnect) onConnect();
}

void ChannelHistory::OnExecuting(WideView name) {
    if (!IsSwitch(name)) return;
    MutexLock hold(lock);
    bindExpected = name != u"RealtimeEnable";
    notes.retriesUsedUp.reset();
}

void ChannelHistory::OnExecuted(WideView name, uint32_t result) {
    if (!IsSwitch(name) || result != Success) return;
    MutexLock hold(lock);
    notes.switchedOff = name == u"RealtimeDisable";
}

// Whatever the module makes of it, it may begin its retries anew.
void ChannelHistory::OnConfigChange(const char16_t* section, const char16_t* group, const char16_t* name,
                                    const char16_t* before, const char16_t* after) {
    if (WideView(before) == after) return;
    MutexLock hold(lock);
    notes.retriesUsedUp.reset();
    bindExpected |= EqualNoCase(section, u"Realtime") && EqualNoCase(group, u"Notifications") &&
                    EqualNoCase(name, u"Enabled");
}

void ChannelHistory::OnLookedAt(bool isUp, int64_t now) {
    MutexLock hold(lock);
    if (!notes.lastConnect) return;
    if (isUp) {
        notes.lastUp = now;
    } else {
        LossLocked(now);
    }
}

ChannelNotes ChannelHistory::Notes() {
    MutexLock hold(lock);
    return notes;
}

void ChannelHistory::ConnectLocked(int64_t now) {
    upBeforeConnect = lossKnown ? std::nullopt : notes.lastUp;
    lossKnown = false;
    notes.lastConnect = now;
    notes.lastUp = now;
    notes.retriesUsedUp.reset();
    bindExpected = false;
}

void ChannelHistory::LossLocked(int64_t now) {
    if (lossKnown) return;
    lossKnown = true;
    notes.lossAfter = notes.lastUp;
    notes.lossBefore = now;
}

}  // namespace orrery::agent
