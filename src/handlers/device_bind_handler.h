// Tells the server through which provider it can reach this device, in one call, if that differs from what it
// was last told or if the event says `Force`. A failed call asks for a later retry. Runs of a process follow
// one another: the bind mutex is held over the call, and nothing else is.
#pragma once

#include "execution/event_handler.h"
#include "platform/mutex.h"

namespace orrery {

class CDeviceBindInfo;
class CRealtimeContext;
class IDispatcherHelper;

class CDeviceBindHandler final : public CEventHandler {
  public:
    CDeviceBindHandler(ITracebox* tracebox, ISchedulerHelper* scheduler,
                       CMessageObject event = CMessageObject{})
        : CEventHandler(tracebox, scheduler, u"DeviceBind", std::move(event)) {}

    // 0, the transport's code, or what the reply's status means. Throws if there is no settings store or no
    // transport.
    uint32_t Run(IPluginContext* context, CMessageObject& response, CEventSequence& sequence,
                 uint32_t& runFlags) override EXCLUDES(bindMutex);
    IEventRun* NewInstance(const CMessageObject& toRun, ISchedulerHelper* helper) const override;
    WideString GetDisplayName() const override { return u"Realtime::DeviceBind"; }

  private:
    static Mutex bindMutex;

    bool IsForced() const;
    uint32_t ChooseProvider(CRealtimeContext* context) const;
    uint32_t Bind(CDeviceBindInfo& info, IDispatcherHelper* dispatcher) const;
    uint32_t Judge(uint32_t status) const;
    void NoteAccepted(CDeviceBindInfo& info) const;
};

}  // namespace orrery
