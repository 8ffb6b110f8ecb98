// What every event handler receives: the way to the long-lived objects of the plug-in.
#pragma once

#include "contracts/ref_counter.h"

namespace orrery {

class CRealtimeManager;
class INotificationsManager;

class IPluginContext : public IRefCounter {
  public:
    virtual uint32_t Start() = 0;
    virtual void Stop() = 0;
    virtual CRealtimeManager* GetRealtimeManager() = 0;
    // Null while the device has no provider to poll.
    virtual INotificationsManager* GetDmpNotificationsManager() = 0;
};

}  // namespace orrery
