// The one way out for events: JSON text, handed to the library Eventgate.dll, which is loaded at first use.
// One delivery at a time in the whole process; a slow one holds up the others. Safe from any thread, but not
// from inside a delivery.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "contracts/eventgate.h"
#include "events/event_sequence.h"
#include "foundation/libraries/loader.h"

namespace orrery {

// All give 0, 87 for nothing to raise or a message that can't be written, the code of a failed load, or the
// library's own. `flag` is the library's.
class IDispatcherHelper {
  public:
    virtual ~IDispatcherHelper() = default;
    virtual uint32_t RaiseSequence(const CEventSequence& sequence, bool flag) = 0;
    // A message with a name goes out with its key and no enclosing braces.
    virtual uint32_t RaiseEvent(const CMessageObject& message, bool flag) = 0;
    virtual uint32_t RaiseEventText(const WideString& text, bool flag) = 0;
    // One after the other; the first failure ends it.
    virtual uint32_t RaiseEventList(const std::vector<WideString>& texts, bool flag) = 0;
    // All in one array. At least one text.
    virtual uint32_t RaiseEventArray(const std::vector<WideString>& texts, bool flag) = 0;
};

class CDispatcherHelper final : public IDispatcherHelper {
  public:
    CDispatcherHelper() = default;
    ~CDispatcherHelper() override;
    CDispatcherHelper(const CDispatcherHelper&) = delete;
    CDispatcherHelper& operator=(const CDispatcherHelper&) = delete;

    uint32_t RaiseSequence(const CEventSequence& sequence, bool flag) override;
    uint32_t RaiseEvent(const CMessageObject& message, bool flag) override;
    uint32_t RaiseEventText(const WideString& text, bool flag) override;
    uint32_t RaiseEventList(const std::vector<WideString>& texts, bool flag) override;
    uint32_t RaiseEventArray(const std::vector<WideString>& texts, bool flag) override;

  private:
    // Held over each delivery, loading and unloading; not recursive.
    static Mutex dispatchMutex;

    // A load that failed keeps its loader: it isn't tried again, and later raisings do nothing and give 0.
    uint32_t LoadLocked() REQUIRES(dispatchMutex);

    std::unique_ptr<CLoader> loader GUARDED_BY(dispatchMutex);
    IEventgate* eventgate GUARDED_BY(dispatchMutex) = nullptr;
};

}  // namespace orrery
