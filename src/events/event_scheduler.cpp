#include "events/event_scheduler.h"

#include "events/dispatcher_helper.h"

namespace orrery {

bool CEventScheduler::Schedule(const WideString& text, bool flag) {
    return dispatcher->RaiseEventText(text, flag) == 0;
}

bool CEventScheduler::ScheduleList(const std::vector<WideString>& texts, bool flag) {
    return dispatcher->RaiseEventList(texts, flag) == 0;
}

}  // namespace orrery
