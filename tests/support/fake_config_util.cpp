#include "support/fake_config_util.h"

#include <algorithm>

#include "platform/text.h"

namespace orrery::test {

using prefstore::SplitKey;

void FakeConfigUtil::Set(const WideString& key, const WideString& value) {
    MutexLock lock(mutex);
    state.settings[key] = value;
}

std::optional<WideString> FakeConfigUtil::Value(const WideString& key) const {
    MutexLock lock(mutex);
    const auto found = state.settings.find(key);
    return found == state.settings.end() ? std::nullopt : std::optional(found->second);
}

void FakeConfigUtil::Clear() {
    MutexLock lock(mutex);
    state = {};
    onUnsubscribe = nullptr;
}

void FakeConfigUtil::FailWrites(uint32_t count, uint32_t code) {
    MutexLock lock(mutex);
    state.failingWrites = count;
    state.failureCode = code;
}

void FakeConfigUtil::FailReadsOf(const WideString& key) {
    MutexLock lock(mutex);
    state.failingReads.insert(key);
}

void FakeConfigUtil::Notify(const WideString& key, const WideString& before, const WideString& after) {
    const auto parts = SplitKey(key);
    if (!parts) return;
    const WideString section(parts->section), group(parts->group), name(parts->name);
    std::vector<Subscription> listening;
    {
        MutexLock lock(mutex);
        std::ranges::copy_if(state.subscriptions, std::back_inserter(listening),
                             [&](const Subscription& s) { return EqualNoCase(s.first, section); });
    }
    for (const Subscription& subscription : listening) {
        if (!IsSubscribed(subscription)) continue;
        subscription.second->OnConfigChange(section.c_str(), group.c_str(), name.c_str(), before.c_str(),
                                            after.c_str());
    }
}

uint32_t FakeConfigUtil::ReadsOf(const WideString& key) const {
    MutexLock lock(mutex);
    const auto found = state.reads.find(key);
    return found == state.reads.end() ? 0 : found->second;
}

uint32_t FakeConfigUtil::Writes() const {
    MutexLock lock(mutex);
    return state.writes;
}

size_t FakeConfigUtil::Subscriptions() const {
    MutexLock lock(mutex);
    return state.subscriptions.size();
}

uint32_t FakeConfigUtil::ReadValue(const WideString& key, WideString& value, uint32_t) {
    if (!SplitKey(key)) return InvalidParameter;
    MutexLock lock(mutex);
    ++state.reads[key];
    if (state.failingReads.contains(key)) return AccessDenied;
    const auto found = state.settings.find(key);
    if (found == state.settings.end()) return NotFound;
    value = found->second;
    return Success;
}

uint32_t FakeConfigUtil::Subscribe(const char16_t* section, IConfigChangeObserver* observer) {
    if (section == nullptr || *section == u'\0' || observer == nullptr) return InvalidParameter;
    const Subscription subscription(section, observer);
    if (IsSubscribed(subscription)) return Success;
    MutexLock lock(mutex);
    state.subscriptions.push_back(subscription);
    return Success;
}

uint32_t FakeConfigUtil::Unsubscribe(const char16_t* section, IConfigChangeObserver* observer) {
    if (section == nullptr || observer == nullptr) return InvalidParameter;
    if (onUnsubscribe) onUnsubscribe();
    MutexLock lock(mutex);
    const size_t removed = std::erase_if(state.subscriptions, [&](const Subscription& s) {
        return s.second == observer && EqualNoCase(s.first, section);
    });
    return removed != 0 ? Success : NotFound;
}

uint32_t FakeConfigUtil::Change(const WideString& key, const WideString* value) {
    WideString spelling = key;
    WideString before;
    {
        MutexLock lock(mutex);
        ++state.writes;
        if (state.failingWrites != 0) {
            --state.failingWrites;
            return state.failureCode;
        }
        const auto found = state.settings.find(key);
        if (found == state.settings.end() && value == nullptr) return Success;
        if (found != state.settings.end()) {
            spelling = found->first;
            before = std::move(found->second);
        }
        if (value != nullptr) state.settings[spelling] = *value;
        if (value == nullptr) state.settings.erase(found);
    }
    Notify(spelling, before, value != nullptr ? *value : WideString());
    return Success;
}

bool FakeConfigUtil::IsSubscribed(const Subscription& subscription) const {
    MutexLock lock(mutex);
    return std::ranges::any_of(state.subscriptions, [&](const Subscription& s) {
        return s.second == subscription.second && EqualNoCase(s.first, subscription.first);
    });
}

}  // namespace orrery::test
