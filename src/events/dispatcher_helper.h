// The one way out for events: JSON text, handed to the library Eventgate.dll, which is loaded at first use.
// One delivery at a time in the whole process; a slow one holds up the others. Safe from any thread, but not
// from inside a delivery.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "contracts/eventgate.h"
#include "events/event_origin.h"
#include "events/event_sequence.h"
#include "foundation/libraries/loader.h"

namespace orrery {

// All give 0, 87 for nothing to raise or a message that can't be written, the code of a failed load, or the
// library's own.
class IDispatcherHelper {
  public:
    virtual ~IDispatcherHelper() = default;
    virtual uint32_t RaiseSequence(const CEventSequence& sequence, EventOrigin origin) = 0;
    // A message with a name goes out with its key and no enclosing braces.
    virtual uint32_t RaiseEvent(const CMessageObject& message, EventOrigin origin) = 0;
    virtual uint32_t RaiseEventText(const WideString& text, EventOrigin origin) = 0;
    // One after the other; the first failure ends it.
    virtual uint32_t RaiseEventList(const std::vector<WideString>& texts, EventOrigin origin) = 0;
    // All in one array.
    virtual uint32_t RaiseEventArray(const std::vector<WideString>& texts, EventOrigin origin) = 0;
};

class CDispatcherHelper final : public IDispatcherHelper {
  public:
    CDispatcherHelper() = default;
    ~CDispatcherHelper() override;
    CDispatcherHelper(const CDispatcherHelper&) = delete;
    CDispatcherHelper& operator=(const CDispatcherHelper&) = delete;

    uint32_t RaiseSequence(const CEventSequence& sequence, EventOrigin origin) override;
    uint32_t RaiseEvent(const CMessageObject& message, EventOrigin origin) override;
    uint32_t RaiseEventText(const WideString& text, EventOrigin origin) override;
    uint32_t RaiseEventList(const std::vector<WideString>& texts, EventOrigin origin) override;
    uint32_t RaiseEventArray(const std::vector<WideString>& texts, EventOrigin origin) override;

  private:
    // Held over each delivery, loading and unloading; not recursive.
    static Mutex dispatchMutex;

    // A load that failed keeps its loader: it isn't tried again, and later raisings do nothing and give 0.
    // Only where memory ran out the next raising loads anew.
    uint32_t LoadLocked() REQUIRES(dispatchMutex);
    uint32_t LoadFromLocked(const WideString& folder) REQUIRES(dispatchMutex);

    std::unique_ptr<CLoader> loader GUARDED_BY(dispatchMutex);
    IEventgate* eventgate GUARDED_BY(dispatchMutex) = nullptr;
};

}  // namespace orrery
