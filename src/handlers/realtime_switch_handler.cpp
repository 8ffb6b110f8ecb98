#include "handlers/realtime_switch_handler.h"

#include <new>

#include "context/realtime_context.h"
#include "foundation/trace.h"

namespace orrery {

uint32_t CRealtimeSwitchHandler::Run(IPluginContext* context, CMessageObject&, CEventSequence&, uint32_t&) {
    auto* realtime = dynamic_cast<CRealtimeContext*>(context);
    CRealtimeManager* manager = realtime ? realtime->GetRealtimeManager() : nullptr;
    if (manager) Switch(*manager);
    return 0;
}

void CRealtimeClearHandler::Switch(CRealtimeManager& manager) const {
    manager.Stop(false);
    manager.Start();
}

void CRealtimeEnableHandler::Switch(CRealtimeManager& manager) const {
    if (!manager.Start()) Trace::Error("the realtime manager can't be started");
}

void CRealtimeDisableHandler::Switch(CRealtimeManager& manager) const {
    manager.Stop(false);
}

IEventRun* CRealtimeClearHandler::NewInstance(const CMessageObject& toRun, ISchedulerHelper* helper) const {
    return new (std::nothrow) CRealtimeClearHandler(tracebox, helper, toRun);
}

IEventRun* CRealtimeEnableHandler::NewInstance(const CMessageObject& toRun, ISchedulerHelper* helper) const {
    return new (std::nothrow) CRealtimeEnableHandler(tracebox, helper, toRun);
}

IEventRun* CRealtimeDisableHandler::NewInstance(const CMessageObject& toRun, ISchedulerHelper* helper) const {
    return new (std::nothrow) CRealtimeDisableHandler(tracebox, helper, toRun);
}

}  // namespace orrery
