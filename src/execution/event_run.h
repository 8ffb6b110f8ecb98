// One kind of work that an event stands for. A prototype makes the instances; an instance runs one event.
#pragma once

#include <cstdint>

#include "contracts/wide_string.h"

namespace orrery {

class CEventSequence;
class CMessageObject;
class IPluginContext;
class ISchedulerHelper;

// What Run reports besides its result.
enum RunFlag : uint32_t {
    RunFlagSequence = 1,  // `sequence` is to be raised
    RunFlagRetry = 2,     // this event is to be run again later
};

class IEventRun {
  public:
    virtual ~IEventRun() = default;
    // On the host's thread, for as long as the work takes. Members put into `response` are taken as a
    // server's reply: its `Actions` are raised.
    virtual uint32_t Run(IPluginContext* context, CMessageObject& response, CEventSequence& sequence,
                         uint32_t& runFlags) = 0;
    // Owned by the caller; null if there is no memory for it.
    virtual IEventRun* NewInstance(const CMessageObject& event, ISchedulerHelper* scheduler) const = 0;
    virtual WideString GetDisplayName() const = 0;
};

}  // namespace orrery
