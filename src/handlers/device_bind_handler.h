// Tells the server through which provider it can reach this device, in one call, if that differs from what it
// was last told or if the event says `Force`. A failed call asks for a later retry. Runs of a process follow
// one another: the bind mutex is held over the call, and nothing else is.
#pragma once

#include "handlers/realtime_handler.h"
#include "platform/mutex.h"

namespace orrery {

class CDeviceBindInfo;
class IDispatcherHelper;

class CDeviceBindHandler final : public CRealtimeHandlerOf<CDeviceBindHandler> {
  public:
    using CRealtimeHandlerOf::CRealtimeHandlerOf;
    static constexpr char16_t eventName[] = u"DeviceBind";

  private:
    static Mutex bindMutex;

    // 0, the transport's code, or what the reply's status means. Throws if there is no settings store, or if
    // the transport has gone since the context was made.
    uint32_t RunOn(CRealtimeContext& context, CEventSequence& sequence, uint32_t& runFlags) override
        EXCLUDES(bindMutex);
    bool IsForced() const;
    uint32_t ChooseProvider(CRealtimeContext& context) const;
    uint32_t Bind(CDeviceBindInfo& info, IDispatcherHelper* dispatcher) const;
    uint32_t Judge(uint32_t status) const;
    void NoteAccepted(CDeviceBindInfo& info) const;
};

}  // namespace orrery
