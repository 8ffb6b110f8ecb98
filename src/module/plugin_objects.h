// The objects behind the plug-in, one set for the process: log service, dispatch and scheduler helper, the
// registry of handlers with the context. They are made and published by GetIPlugin and withdrawn by the last
// FreeIPlugin. Whoever is inside them by then, such as a running event, holds a share and keeps them until it
// is done; who comes later finds none, or those of a new GetIPlugin.
//
// It counts no hosts and knows no export. Publish and Withdraw come one after the other; the rest is safe
// from any thread.
#pragma once

#include <memory>

#include "events/dispatcher_helper.h"
#include "events/scheduler_helper.h"
#include "module/log_service.h"
#include "module/realtime_event_handler.h"

namespace orrery {

class PluginObjects {
  public:
    // Of no use to others; see Make.
    PluginObjects() = default;
    PluginObjects(const PluginObjects&) = delete;
    PluginObjects& operator=(const PluginObjects&) = delete;

    // Null if there is no memory for one of them. What their constructors throw goes through, with nothing
    // left behind.
    static std::shared_ptr<PluginObjects> Make();

    static void Publish(std::shared_ptr<PluginObjects> objects);
    // Null if there are none.
    static std::shared_ptr<PluginObjects> Current();
    static std::shared_ptr<PluginObjects> Withdraw();

    CRealtimeEventHandler& Registry() const { return *registry; }
    // Stops the context and gives it up, if that hasn't been done.
    void StopContext();

  private:
    const LogService log;
    CDispatcherHelper dispatcher;
    CSchedulerHelper scheduler{dispatcher};
    std::unique_ptr<CRealtimeEventHandler> registry;  // null only within Make
};

}  // namespace orrery
