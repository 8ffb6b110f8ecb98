// The registry of this module: its handlers, and the context that they work on.
#pragma once

#include "execution/plugin_event_handlers.h"

namespace orrery {

class CRealtimeEventHandler final : public CPluginEventHandlers {
  public:
    // What the context's constructor throws goes through.
    CRealtimeEventHandler(ITracebox* tracebox, IDispatcherHelper* dispatcher, ISchedulerHelper* scheduler);
};

}  // namespace orrery
