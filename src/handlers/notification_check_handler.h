// Polls the second provider where push doesn't reach the device, and raises NotificationPush if something
// waits. One run at a time: a run that meets another fails at once and counts as an error of the event.
#pragma once

#include "handlers/realtime_handler.h"

namespace orrery {

class CNotificationCheckHandler final : public CRealtimeHandlerOf<CNotificationCheckHandler> {
  public:
    using CRealtimeHandlerOf::CRealtimeHandlerOf;
    static constexpr char16_t eventName[] = u"NotificationCheck";

  private:
    // 0, 1056 while another run is going on, or the code of a sequence that takes no event. Throws if there
    // is no settings store.
    uint32_t RunOn(CRealtimeContext& context, CEventSequence& sequence, uint32_t& runFlags) override;
    static bool ShouldPoll(CRealtimeContext& context);
    static bool SomethingWaits(CRealtimeContext& context);
    uint32_t AddPush(CEventSequence& sequence, uint32_t& runFlags) const;
};

}  // namespace orrery
