// What every event handler receives: the way to the long-lived objects of the plug-in. Whoever keeps one
// holds it by a ContextRef.
#pragma once

#include "contracts/ref_counter.h"

namespace orrery {

class CRealtimeManager;
class INotificationsManager;

class IPluginContext : public IRefCounter {
  public:
    // 0, or why the context can't work. Throws nothing.
    virtual uint32_t Start() = 0;
    // May be called without a Start, and be followed by one. Throws nothing.
    virtual void Stop() = 0;
    // The two stay the context's. Both are null where there is no transport: the device then has no channel
    // and no provider to poll.
    virtual CRealtimeManager* GetRealtimeManager() = 0;
    virtual INotificationsManager* GetDmpNotificationsManager() = 0;
};

}  // namespace orrery
