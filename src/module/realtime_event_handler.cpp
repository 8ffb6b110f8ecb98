#include "module/realtime_event_handler.h"

#include <new>

#include "context/realtime_context.h"
#include "handlers/device_bind_handler.h"
#include "handlers/notification_check_handler.h"
#include "handlers/realtime_switch_handler.h"

namespace orrery {

namespace {

template <class Handler>
void AddPrototype(CPluginEventHandlers& registry, ITracebox* tracebox, ISchedulerHelper* scheduler) {
    registry.AddEventHandler(Handler::eventName, std::make_unique<Handler>(tracebox, scheduler));
}

}  // namespace

CRealtimeEventHandler::CRealtimeEventHandler(ITracebox* tracebox, IDispatcherHelper* dispatcher,
                                             ISchedulerHelper* scheduler)
    : CPluginEventHandlers(tracebox, dispatcher, scheduler,
                           ContextRef(new (std::nothrow) CRealtimeContext(tracebox, dispatcher))) {
    AddPrototype<CDeviceBindHandler>(*this, tracebox, scheduler);
    AddPrototype<CNotificationCheckHandler>(*this, tracebox, scheduler);
    AddPrototype<CRealtimeClearHandler>(*this, tracebox, scheduler);
    AddPrototype<CRealtimeEnableHandler>(*this, tracebox, scheduler);
    AddPrototype<CRealtimeDisableHandler>(*this, tracebox, scheduler);
}

}  // namespace orrery
