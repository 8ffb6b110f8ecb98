#include "handlers/notification_check_handler.h"

#include "context/realtime_context.h"
#include "events/event_sequence.h"
#include "foundation/trace.h"
#include "handlers/device_bind_info.h"
#include "platform/error_codes.h"

namespace orrery {

uint32_t CNotificationCheckHandler::RunOn(CRealtimeContext& context, CEventSequence& sequence,
                                          uint32_t& runFlags) {
    CAutoEventControl control(context.eventControl);
    control.acquired = context.eventControl.Acquire();
    if (!control.acquired) {
        Trace::Error("a poll is running already");
        return AlreadyRunning;
    }
    if (!ShouldPoll(context)) {
        Trace::Information("push reaches the device: no poll");
        return Success;
    }
    return SomethingWaits(context) ? AddPush(sequence, runFlags) : Success;
}

// What was last told to the server decides; before anything was told, the channel does.
bool CNotificationCheckHandler::ShouldPoll(CRealtimeContext& context) {
    const CDeviceBindInfo bound(ProviderNone, nullptr, {});
    if (bound.lastProvider != ProviderNone) return bound.lastProvider == ProviderDmp;
    CRealtimeManager* manager = context.GetRealtimeManager();
    return !manager || !manager->IsPushConnected();
}

bool CNotificationCheckHandler::SomethingWaits(CRealtimeContext& context) {
    INotificationsManager* manager = context.GetDmpNotificationsManager();
    WideString text;
    if (manager && manager->Check(text)) return true;
    Trace::Information(manager ? "nothing waits for the device" : "there is no provider to poll");
    return false;
}

uint32_t CNotificationCheckHandler::AddPush(CEventSequence& sequence, uint32_t& runFlags) const {
    CMessageObject push(u"NotificationPush");
    push.AddString(u"EventSource", GetDisplayName());
    const uint32_t result = sequence.AddEvent(push);
    if (result == Success) {
        runFlags |= RunFlagSequence;
    } else {
        Trace::Error("an event can't be raised", push.name, result);
    }
    return result;
}

}  // namespace orrery
