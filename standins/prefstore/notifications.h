// Who wants to hear of changes, and the changes that are still to be told. It keeps no values and makes no
// thread. Any thread subscribes, unsubscribes and posts; one thread delivers.
#pragma once

#include <cstdint>
#include <deque>
#include <thread>
#include <vector>

#include "contracts/config_util.h"
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
        uint64_t number = 0;
        WideString section;
        IConfigChangeObserver* observer = nullptr;
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
    // The next observer after the subscription `last`, which moves on; null if all have heard.
    IConfigChangeObserver* BeginCall(const Change& change, uint64_t& last);
    void EndCall();

    Mutex mutex;
    ConditionVariable callEnded;
    uint64_t counter GUARDED_BY(mutex) = 0;
    std::vector<Subscription> subscriptions GUARDED_BY(mutex);  // by number
    std::deque<Change> pending GUARDED_BY(mutex);
    Subscription inFlight GUARDED_BY(mutex);  // number 0: no call
    std::thread::id deliverer GUARDED_BY(mutex);
};

}  // namespace orrery::prefstore
