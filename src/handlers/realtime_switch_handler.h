// The three events that switch the realtime channel from outside. They read nothing from the event and always
// give 0: a manager that fails to start is left to its own retries, and where there is none nothing is done.
// Stop blocks until the manager's thread has ended or its limit is reached.
#pragma once

#include "handlers/realtime_handler.h"

namespace orrery {

class CRealtimeManager;

// What the three share: finding the manager.
template <class Handler>
class CRealtimeSwitchHandler : public CRealtimeHandlerOf<Handler> {
  public:
    using CRealtimeHandlerOf<Handler>::CRealtimeHandlerOf;

  private:
    uint32_t RunOn(CRealtimeContext& context, CEventSequence& sequence, uint32_t& runFlags) final;
};

// Off and on again; the server hears of the new state by the bind event of the stop.
class CRealtimeClearHandler final : public CRealtimeSwitchHandler<CRealtimeClearHandler> {
  public:
    using CRealtimeSwitchHandler::CRealtimeSwitchHandler;
    static constexpr char16_t eventName[] = u"RealtimeClear";
    static void Switch(CRealtimeManager& manager);
};

class CRealtimeEnableHandler final : public CRealtimeSwitchHandler<CRealtimeEnableHandler> {
  public:
    using CRealtimeSwitchHandler::CRealtimeSwitchHandler;
    static constexpr char16_t eventName[] = u"RealtimeEnable";
    static void Switch(CRealtimeManager& manager);
};

class CRealtimeDisableHandler final : public CRealtimeSwitchHandler<CRealtimeDisableHandler> {
  public:
    using CRealtimeSwitchHandler::CRealtimeSwitchHandler;
    static constexpr char16_t eventName[] = u"RealtimeDisable";
    static void Switch(CRealtimeManager& manager);
};

}  // namespace orrery
