// Hands event texts to the dispatcher and tells whether that went well. Made where it is needed and thrown
// away after use; as safe as the dispatcher.
#pragma once

#include <vector>

#include "contracts/wide_string.h"
#include "events/event_origin.h"

namespace orrery {

class IDispatcherHelper;

class IEventScheduler {
  public:
    virtual ~IEventScheduler() = default;
    virtual bool Schedule(const WideString& text, EventOrigin origin) = 0;
    virtual bool ScheduleList(const std::vector<WideString>& texts, EventOrigin origin) = 0;
};

class CEventScheduler final : public IEventScheduler {
  public:
    explicit CEventScheduler(IDispatcherHelper& dispatcher) : dispatcher(&dispatcher) {}

    bool Schedule(const WideString& text, EventOrigin origin) override;
    bool ScheduleList(const std::vector<WideString>& texts, EventOrigin origin) override;

  private:
    IDispatcherHelper* const dispatcher;
};

}  // namespace orrery
