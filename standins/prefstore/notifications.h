// Who wants to hear of changes, and the changes that are still to be told. It keeps no values and makes no
// thread. Any thread subscribes, unsubscribes and posts; one thread delivers.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "contracts/config_util.h"
#include "platform/call_gate.h"
#include "platform/mutex.h"

namespace orrery::prefstore {

class Notifications {
  public:
    // The observer outlives its subscription. A second subscription of the same pair changes nothing.
    uint32_t Subscribe(const char16_t* section, IConfigChangeObserver* observer);
    // Waits for a call in flight, unless it is made from that call. NotFound if there is no such pair.
    uint32_t Unsubscribe(const char16_t* section, IConfigChangeObserver* observer);

    // True if somebody is to hear of it; then Deliver() is due. Subscriptions that come later don't.
    bool Post(const WideString& key, const WideString& before, const WideString& after);
    // Tells everything posted, in the order of posting. No lock is held during a call.
    void Deliver();
    // Nothing more is delivered once a call in flight has returned.
    void Close();

  private:
    // Subscriptions and changes draw from one counter, so that it shows which came first.
    struct Subscription {
        Subscription(uint64_t number, const char16_t* section, IConfigChangeObserver* observer)
            : number(number), section(section), observer(observer) {}

        const uint64_t number;
        const WideString section;
        IConfigChangeObserver* const observer;
        CallGate calls;
    };
    struct Call {
        IConfigChangeObserver* observer;
        CallGate::Visit visit;
    };
    struct Change {
        uint64_t number = 0;
        WideString section;
        WideString group;
        WideString name;
        WideString before;
        WideString after;
    };

    bool TakeChange(Change& change);
    // To the next observer after the subscription `last`, which moves on; none if all have heard.
    std::optional<Call> BeginCall(const Change& change, uint64_t& last);

    Mutex mutex;
    uint64_t counter GUARDED_BY(mutex) = 0;
    std::vector<std::shared_ptr<Subscription>> subscriptions GUARDED_BY(mutex);  // by number
    std::deque<Change> pending GUARDED_BY(mutex);
    std::shared_ptr<Subscription> lastCalled GUARDED_BY(mutex);  // its call may still be in flight
};

}  // namespace orrery::prefstore
