// A settings store in memory, with knobs for failure and counters of calls. It obeys the same rules as the
// real one, but notifies on the writing thread before the write returns; so Unsubscribe has a call in flight
// to wait for only if another thread writes, and then it does not wait. Safe from any thread.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "contracts/config_util.h"
#include "platform/error_codes.h"
#include "platform/mutex.h"
#include "standins/prefstore/setting_key.h"

namespace orrery::test {

class FakeConfigUtil final : public ConfigUtil {
  public:
    // As if it had always been there: no notification, no count.
    void Set(const WideString& key, const WideString& value);
    std::optional<WideString> Value(const WideString& key) const;
    // No settings, subscriptions, knobs and counts.
    void Clear();

    // The next `count` writes and deletions change nothing and give `code`.
    void FailWrites(uint32_t count, uint32_t code = AccessDenied);
    void FailReadsOf(const WideString& key);
    // The answers to the next EvaluateInterval; then texts are evaluated by their rules again.
    void AnswerInterval(uint32_t result, uint32_t seconds);
    // What another process would cause; the settings stay as they are.
    void Notify(const WideString& key, const WideString& before, const WideString& after);

    uint32_t ReadsOf(const WideString& key) const;
    uint32_t Writes() const;                        // failed ones and deletions included
    std::vector<WideString> IntervalTexts() const;  // in the order of evaluation
    size_t Held() const;                            // values out by GetValue and not given back
    size_t Subscriptions() const;

    uint32_t GetValue(const WideString& key, const WideString** value, uint32_t flags) override;
    uint32_t ReadValue(const WideString& key, WideString& value, uint32_t flags) override;
    uint32_t ReadValueParts(const char16_t* section, const char16_t* group, const char16_t* name,
                            char16_t* buffer, uint32_t* size, uint32_t flags) override;
    uint32_t WriteValue(const WideString& key, const WideString& value, uint32_t flags) override;
    uint32_t WriteValueParts(const char16_t* section, const char16_t* group, const char16_t* name,
                             const char16_t* value, uint32_t flags) override;
    uint32_t DeleteValue(const WideString& key) override;
    void ReleaseValue(const WideString** value) override;
    uint32_t Subscribe(const char16_t* section, IConfigChangeObserver* observer) override;
    uint32_t Unsubscribe(const char16_t* section, IConfigChangeObserver* observer) override;
    uint32_t EvaluateInterval(const WideString& text, uint32_t& seconds) override;

  private:
    using Subscription = std::pair<WideString, IConfigChangeObserver*>;
    struct State {
        std::map<WideString, WideString, prefstore::KeyLess> settings;
        std::vector<Subscription> subscriptions;
        std::set<WideString, prefstore::KeyLess> failingReads;
        std::map<WideString, uint32_t, prefstore::KeyLess> reads;
        std::deque<std::pair<uint32_t, uint32_t>> intervals;  // result, seconds
        std::vector<WideString> intervalTexts;
        uint32_t failingWrites = 0;
        uint32_t failureCode = Success;
        uint32_t writes = 0;
        size_t held = 0;
    };

    // A null value deletes.
    uint32_t Change(const WideString& key, const WideString* value);
    bool IsSubscribed(const Subscription& subscription) const;

    mutable Mutex mutex;
    State state GUARDED_BY(mutex);
};

}  // namespace orrery::test
