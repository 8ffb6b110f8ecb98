// The three events that switch the realtime channel from outside. They read nothing from the event and always
// give 0: a manager that fails to start is left to its own retries. Stop blocks until the manager's thread
// has ended or its limit is reached.
#pragma once

#include "execution/event_handler.h"

namespace orrery {

class CRealtimeManager;

// What the three share: finding the manager.
class CRealtimeSwitchHandler : public CEventHandler {
  public:
    CRealtimeSwitchHandler(ITracebox* tracebox, ISchedulerHelper* scheduler, const char16_t* name,
                           CMessageObject event)
        : CEventHandler(tracebox, scheduler, name, std::move(event)) {}

    uint32_t Run(IPluginContext* context, CMessageObject& response, CEventSequence& sequence,
                 uint32_t& runFlags) override;
    WideString GetDisplayName() const override { return u"Realtime::" + name; }

  private:
    virtual void Switch(CRealtimeManager& manager) const = 0;
};

// Off and on again; the server hears of the new state by the bind event of the stop.
class CRealtimeClearHandler final : public CRealtimeSwitchHandler {
  public:
    CRealtimeClearHandler(ITracebox* tracebox, ISchedulerHelper* scheduler,
                          CMessageObject event = CMessageObject{})
        : CRealtimeSwitchHandler(tracebox, scheduler, u"RealtimeClear", std::move(event)) {}
    IEventRun* NewInstance(const CMessageObject& toRun, ISchedulerHelper* helper) const override;

  private:
    void Switch(CRealtimeManager& manager) const override;
};

class CRealtimeEnableHandler final : public CRealtimeSwitchHandler {
  public:
    CRealtimeEnableHandler(ITracebox* tracebox, ISchedulerHelper* scheduler,
                           CMessageObject event = CMessageObject{})
        : CRealtimeSwitchHandler(tracebox, scheduler, u"RealtimeEnable", std::move(event)) {}
    IEventRun* NewInstance(const CMessageObject& toRun, ISchedulerHelper* helper) const override;

  private:
    void Switch(CRealtimeManager& manager) const override;
};

class CRealtimeDisableHandler final : public CRealtimeSwitchHandler {
  public:
    CRealtimeDisableHandler(ITracebox* tracebox, ISchedulerHelper* scheduler,
                            CMessageObject event = CMessageObject{})
        : CRealtimeSwitchHandler(tracebox, scheduler, u"RealtimeDisable", std::move(event)) {}
    IEventRun* NewInstance(const CMessageObject& toRun, ISchedulerHelper* helper) const override;

  private:
    void Switch(CRealtimeManager& manager) const override;
};

}  // namespace orrery
