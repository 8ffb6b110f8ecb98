// The base of every handler: the event that an instance runs, and the retry that any of them can ask for. A
// prototype holds an empty event. Used by one thread.
#pragma once

#include "contracts/tracebox.h"
#include "execution/event_run.h"
#include "foundation/json/message_object.h"

namespace orrery {

class CEventExecution;

class CEventHandler : public IEventRun {
  public:
    CEventHandler(ITracebox* tracebox, ISchedulerHelper* scheduler, WideString name, CMessageObject event)
        : tracebox(tracebox), scheduler(scheduler), event(std::move(event)), name(std::move(name)) {}

    WideString GetName() const { return name; }
    // Has the scheduler run this event again after the delay that its settings give.
    uint32_t RetryEvent(CEventExecution& execution) const;

    ITracebox* const tracebox;  // may be null
    ISchedulerHelper* const scheduler;
    const CMessageObject event;
    const WideString name;
};

}  // namespace orrery
