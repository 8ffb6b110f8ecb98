#include "events/event_scheduler.h"

#include "events/dispatcher_helper.h"

namespace orrery {

bool CEventScheduler::Schedule(const WideString& text, EventOrigin origin) {
    return dispatcher->RaiseEventText(text, origin) == 0;
}

bool CEventScheduler::ScheduleList(const std::vector<WideString>& texts, EventOrigin origin) {
    return dispatcher->RaiseEventList(texts, origin) == 0;
}

}  // namespace orrery
