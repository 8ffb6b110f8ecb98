#include "events/event_scheduler.h"

#include "events/dispatcher_helper.h"
#include "foundation/trace.h"

namespace orrery {

bool CEventScheduler::Schedule(const WideString& text, EventOrigin origin) {
    const Trace::Scope trace("CEventScheduler::Schedule");
    return dispatcher->RaiseEventText(text, origin) == 0;
}

bool CEventScheduler::ScheduleList(const std::vector<WideString>& texts, EventOrigin origin) {
    const Trace::Scope trace("CEventScheduler::ScheduleList");
    return dispatcher->RaiseEventList(texts, origin) == 0;
}

}  // namespace orrery
