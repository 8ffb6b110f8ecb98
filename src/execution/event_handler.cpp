#include "execution/event_handler.h"

#include "events/scheduler_helper.h"
#include "execution/event_execution.h"
#include "foundation/trace.h"

namespace orrery {

uint32_t CEventHandler::RetryEvent(CEventExecution& execution) const {
    const Trace::Scope trace("CEventHandler::RetryEvent");
    const uint32_t delay = execution.GetRetryDelay();
    const uint32_t result = scheduler->ScheduleEvent(event, delay, GetDisplayName());
    if (result == 0) {
        LogTo(tracebox, LogInformation, "Retrying event %ws in %d seconds", name, delay);
    } else {
        LogTo(tracebox, LogError, "Error %d: Retrying event %ws", result, name);
    }
    return result;
}

}  // namespace orrery
