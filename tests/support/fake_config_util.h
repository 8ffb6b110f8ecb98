// A settings store in memory, with knobs for failure and counters of calls. It obeys the same rules as the
// real one, but notifies on the writing thread before the write returns; so Unsubscribe has a call in flight
// to wait for only if another thread writes, and then it does not wait. Safe from any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "platform/error_codes.h"
#include "platform/mutex.h"
#include "standins/prefstore/config_front.h"
#include "standins/prefstore/setting_key.h"

namespace orrery::test {

class FakeConfigUtil final : public prefstore::ConfigFront {
  public:
    // As if it had always been there: no notification, no count.
    void Set(const WideString& key, const WideString& value);
    std::optional<WideString> Value(const WideString& key) const;
    // No settings, subscriptions, knobs and counts.
    void Clear();

    // The next `count` writes and deletions change nothing and give `code`.
    void FailWrites(uint32_t count, uint32_t code = AccessDenied);
    void FailReadsOf(const WideString& key);
    std::function<void()> onUnsubscribe;  // before each; set while no other thread is here
    // What another process would cause; the settings stay as they are.
    void Notify(const WideString& key, const WideString& before, const WideString& after);

    uint32_t ReadsOf(const WideString& key) const;
    uint32_t Writes() const;  // failed ones and deletions included
    size_t Subscriptions() const;

    uint32_t ReadValue(const WideString& key, WideString& value, uint32_t flags) override;
    uint32_t Subscribe(const char16_t* section, IConfigChangeObserver* observer) override;
    uint32_t Unsubscribe(const char16_t* section, IConfigChangeObserver* observer) override;

  private:
    using Subscription = std::pair<WideString, IConfigChangeObserver*>;
    struct State {
        std::map<WideString, WideString, prefstore::KeyLess> settings;
        std::vector<Subscription> subscriptions;
        std::set<WideString, prefstore::KeyLess> failingReads;
        std::map<WideString, uint32_t, prefstore::KeyLess> reads;
        uint32_t failingWrites = 0;
        uint32_t failureCode = Success;
        uint32_t writes = 0;
    };

    uint32_t Change(const WideString& key, const WideString* value) override;
    bool IsSubscribed(const Subscription& subscription) const;

    mutable Mutex mutex;
    State state GUARDED_BY(mutex);
};

}  // namespace orrery::test
