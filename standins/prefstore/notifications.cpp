#include "standins/prefstore/notifications.h"

#include <algorithm>
#include <utility>

#include "platform/error_codes.h"
#include "platform/text.h"
#include "standins/prefstore/setting_key.h"

namespace orrery::prefstore {

namespace {

// A subscription of this observer to this section.
auto Matches(const char16_t* section, const IConfigChangeObserver* observer) {
    return [section, observer](const auto& subscription) {
        return subscription->observer == observer && EqualNoCase(subscription->section, section);
    };
}

}  // namespace

uint32_t Notifications::Subscribe(const char16_t* section, IConfigChangeObserver* observer) {
    if (section == nullptr || *section == u'\0' || observer == nullptr) return InvalidParameter;
    MutexLock lock(mutex);
    if (std::ranges::none_of(subscriptions, Matches(section, observer)))
        subscriptions.push_back(std::make_shared<Subscription>(++counter, section, observer));
    return Success;
}

uint32_t Notifications::Unsubscribe(const char16_t* section, IConfigChangeObserver* observer) {
    if (section == nullptr || observer == nullptr) return InvalidParameter;
    const auto matches = Matches(section, observer);
    bool isFound = false;
    std::shared_ptr<Subscription> called;
    {
        MutexLock lock(mutex);
        isFound = std::erase_if(subscriptions, matches) != 0;
        // Also when another thread was first to unsubscribe: this caller may destroy the observer as well.
        if (lastCalled && matches(lastCalled)) called = lastCalled;
    }
    if (called) called->calls.AwaitOthers();
    return isFound ? Success : NotFound;
}

bool Notifications::Post(const WideString& key, const WideString& before, const WideString& after) {
    const auto parts = SplitKey(key);
    if (!parts) return false;
    MutexLock lock(mutex);
    const auto isListening = [&](const auto& s) { return EqualNoCase(s->section, parts->section); };
    if (std::ranges::none_of(subscriptions, isListening)) return false;
    pending.push_back({++counter, WideString(parts->section), WideString(parts->group),
                       WideString(parts->name), before, after});
    return true;
}

void Notifications::Deliver() {
    Change change;
    while (TakeChange(change)) {
        uint64_t last = 0;
        while (const auto call = BeginCall(change, last)) {
            call->observer->OnConfigChange(change.section.c_str(), change.group.c_str(), change.name.c_str(),
                                           change.before.c_str(), change.after.c_str());
        }
    }
}

void Notifications::Close() {
    MutexLock lock(mutex);
    subscriptions.clear();
    pending.clear();
}

bool Notifications::TakeChange(Change& change) {
    MutexLock lock(mutex);
    if (pending.empty()) return false;
    change = std::move(pending.front());
    pending.pop_front();
    return true;
}

std::optional<Notifications::Call> Notifications::BeginCall(const Change& change, uint64_t& last) {
    MutexLock lock(mutex);
    const auto isNext = [&](const auto& s) {
        return s->number > last && s->number < change.number && EqualNoCase(s->section, change.section);
    };
    const auto next = std::ranges::find_if(subscriptions, isNext);
    if (next == subscriptions.end()) return {};
    lastCalled = *next;
    last = lastCalled->number;
    return Call{lastCalled->observer, lastCalled->calls.Enter()};
}

}  // namespace orrery::prefstore
