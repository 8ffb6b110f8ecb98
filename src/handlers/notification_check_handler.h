// Polls the second provider where push doesn't reach the device, and raises NotificationPush if something
// waits. One run at a time: a run that meets another fails at once and counts as an error of the event.
#pragma once

#include "execution/event_handler.h"

namespace orrery {

class CRealtimeContext;

class CNotificationCheckHandler final : public CEventHandler {
  public:
    CNotificationCheckHandler(ITracebox* tracebox, ISchedulerHelper* scheduler,
                              CMessageObject event = CMessageObject{})
        : CEventHandler(tracebox, scheduler, u"NotificationCheck", std::move(event)) {}

    // 0, 1056 while another run is going on, or the code of a sequence that takes no event. Throws if there
    // is no settings store.
    uint32_t Run(IPluginContext* context, CMessageObject& response, CEventSequence& sequence,
                 uint32_t& runFlags) override;
    IEventRun* NewInstance(const CMessageObject& toRun, ISchedulerHelper* helper) const override;
    WideString GetDisplayName() const override { return u"Realtime::NotificationCheck"; }

  private:
    static bool ShouldPoll(CRealtimeContext& context);
    static bool SomethingWaits(CRealtimeContext& context);
    uint32_t AddPush(CEventSequence& sequence, uint32_t& runFlags) const;
};

}  // namespace orrery
