// A settings store in memory, with knobs for failure and counters of calls. It obeys the same rules as the
// real one, but notifies on the writing thread before the write returns. Safe from any thread.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <optional>

#include "platform/error_codes.h"
#include "standins/prefstore/config_front.h"
#include "standins/prefstore/notifications.h"
#include "standins/prefstore/setting_key.h"

namespace orrery::test {

class FakeConfigUtil final : public prefstore::ConfigFront {
  public:
    // Before each; set while no other thread is here.
    std::function<void()> onSubscribe, onUnsubscribe;
    std::atomic<bool> failsNextWrite{false};
    std::atomic<uint32_t> writes{0};         // failed ones and deletions included
    std::atomic<uint32_t> subscriptions{0};  // made and not given up

    // As if it had always been there: no notification, no count.
    void Set(const WideString& key, const WideString& value) {
        MutexLock lock(mutex);
        settings[key] = value;
    }
    std::optional<WideString> Value(const WideString& key) {
        WideString value;
        return ReadValue(key, value, 0) == Success ? std::optional(value) : std::nullopt;
    }
    // No settings, subscriptions and knobs.
    void Clear() {
        MutexLock lock(mutex);
        settings.clear();
        notifications.Close();
        subscriptions = 0;
        onSubscribe = onUnsubscribe = nullptr;
        failsNextWrite = false;
    }
    // What another process would cause; the settings stay as they are.
    void Notify(const WideString& key, const WideString& before, const WideString& after) {
        if (notifications.Post(key, before, after)) notifications.Deliver();
    }

    uint32_t ReadValue(const WideString& key, WideString& value, uint32_t) override {
        if (!prefstore::SplitKey(key)) return InvalidParameter;
        MutexLock lock(mutex);
        const auto found = settings.find(key);
        if (found == settings.end()) return NotFound;
        value = found->second;
        return Success;
    }
    uint32_t Subscribe(const char16_t* section, IConfigChangeObserver* observer) override {
        if (onSubscribe) onSubscribe();
        const uint32_t result = notifications.Subscribe(section, observer);
        if (result == Success) ++subscriptions;
        return result;
    }
    uint32_t Unsubscribe(const char16_t* section, IConfigChangeObserver* observer) override {
        if (onUnsubscribe) onUnsubscribe();
        const uint32_t result = notifications.Unsubscribe(section, observer);
        if (result == Success) --subscriptions;
        return result;
    }

  private:
    uint32_t Change(const WideString& key, const WideString* value) override {
        const WideString after = value ? *value : WideString();
        WideString spelling, before;
        {
            MutexLock lock(mutex);
            ++writes;
            if (failsNextWrite.exchange(false)) return AccessDenied;
            const auto [entry, isNew] = settings.try_emplace(key);
            spelling = entry->first;
            before = std::exchange(entry->second, after);
            if (!value) settings.erase(entry);
            if (!value && isNew) return Success;
        }
        Notify(spelling, before, after);
        return Success;
    }

    Mutex mutex;
    std::map<WideString, WideString, prefstore::KeyLess> settings GUARDED_BY(mutex);
    prefstore::Notifications notifications;
};

}  // namespace orrery::test
