// What the handlers of this module share: they work on its context, found here for all of them. They hold no
// state besides the event; one thread runs an instance.
#pragma once

#include <new>

#include "execution/event_handler.h"

namespace orrery {

class CRealtimeContext;

class CRealtimeHandler : public CEventHandler {
  public:
    using CEventHandler::CEventHandler;

    // After the host's stop there is no context, and nothing is done: 0.
    uint32_t Run(IPluginContext* context, CMessageObject& response, CEventSequence& sequence,
                 uint32_t& runFlags) final;
    WideString GetDisplayName() const override { return u"Realtime::" + name; }

  private:
    virtual uint32_t RunOn(CRealtimeContext& context, CEventSequence& sequence, uint32_t& runFlags) = 0;
};

// How a prototype makes its instances. `Handler` names its event in `eventName`.
template <class Handler>
class CRealtimeHandlerOf : public CRealtimeHandler {
  public:
    CRealtimeHandlerOf(ITracebox* tracebox, ISchedulerHelper* scheduler,
                       CMessageObject event = CMessageObject{})
        : CRealtimeHandler(tracebox, scheduler, Handler::eventName, std::move(event)) {}

    // The event's copy may be what there is no memory for.
    IEventRun* NewInstance(const CMessageObject& toRun, ISchedulerHelper* helper) const override {
        try {
            return new Handler(tracebox, helper, toRun);
        } catch (const std::bad_alloc&) {
            return nullptr;
        }
    }
};

}  // namespace orrery
