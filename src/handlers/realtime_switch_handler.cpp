#include "handlers/realtime_switch_handler.h"

#include "context/realtime_context.h"
#include "foundation/trace.h"

namespace orrery {

template <class Handler>
uint32_t CRealtimeSwitchHandler<Handler>::RunOn(CRealtimeContext& context, CEventSequence&, uint32_t&) {
    CRealtimeManager* manager = context.GetRealtimeManager();
    if (manager) Handler::Switch(*manager);
    return 0;
}

template class CRealtimeSwitchHandler<CRealtimeClearHandler>;
template class CRealtimeSwitchHandler<CRealtimeEnableHandler>;
template class CRealtimeSwitchHandler<CRealtimeDisableHandler>;

void CRealtimeClearHandler::Switch(CRealtimeManager& manager) {
    manager.Stop(false);
    manager.Start();
}

void CRealtimeEnableHandler::Switch(CRealtimeManager& manager) {
    if (!manager.Start()) Trace::Error("the realtime manager can't be started");
}

void CRealtimeDisableHandler::Switch(CRealtimeManager& manager) {
    manager.Stop(false);
}

}  // namespace orrery
