#include "support/fake_config_util.h"

#include <algorithm>
#include <memory>

#include "platform/text.h"
#include "standins/prefstore/interval.h"

namespace orrery::test {

using prefstore::JoinKey;
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

void FakeConfigUtil::AnswerInterval(uint32_t result, uint32_t seconds) {
    MutexLock lock(mutex);
    state.intervals.emplace_back(result, seconds);
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

std::vector<WideString> FakeConfigUtil::IntervalTexts() const {
    MutexLock lock(mutex);
    return state.intervalTexts;
}

size_t FakeConfigUtil::Held() const {
    MutexLock lock(mutex);
    return state.held;
}

size_t FakeConfigUtil::Subscriptions() const {
    MutexLock lock(mutex);
    return state.subscriptions.size();
}

uint32_t FakeConfigUtil::GetValue(const WideString& key, const WideString** value, uint32_t flags) {
    if (value == nullptr) return InvalidParameter;
    auto copy = std::make_unique<WideString>();
    const uint32_t result = ReadValue(key, *copy, flags);
    if (result != Success) return result;
    *value = copy.release();
    MutexLock lock(mutex);
    ++state.held;
    return Success;
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

uint32_t FakeConfigUtil::ReadValueParts(const char16_t* section, const char16_t* group, const char16_t* name,
                                        char16_t* buffer, uint32_t* size, uint32_t flags) {
    const auto key = JoinKey(section, group, name);
    if (!key || buffer == nullptr || size == nullptr) return InvalidParameter;
    WideString value;
    const uint32_t result = ReadValue(*key, value, flags);
    if (result != Success) return result;
    const uint32_t capacity = std::exchange(*size, static_cast<uint32_t>(value.size()));
    if (value.size() >= capacity) return NotEnoughMemory;
    std::copy_n(value.c_str(), value.size() + 1, buffer);
    return Success;
}

uint32_t FakeConfigUtil::WriteValue(const WideString& key, const WideString& value, uint32_t) {
    return Change(key, &value);
}

uint32_t FakeConfigUtil::WriteValueParts(const char16_t* section, const char16_t* group, const char16_t* name,
                                         const char16_t* value, uint32_t flags) {
    const auto key = JoinKey(section, group, name);
    if (!key || value == nullptr) return InvalidParameter;
    return WriteValue(*key, value, flags);
}

uint32_t FakeConfigUtil::DeleteValue(const WideString& key) {
    return Change(key, nullptr);
}

void FakeConfigUtil::ReleaseValue(const WideString** value) {
    if (value == nullptr || *value == nullptr) return;
    delete *value;
    *value = nullptr;
    MutexLock lock(mutex);
    --state.held;
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
    MutexLock lock(mutex);
    const size_t removed = std::erase_if(state.subscriptions, [&](const Subscription& s) {
        return s.second == observer && EqualNoCase(s.first, section);
    });
    return removed != 0 ? Success : NotFound;
}

uint32_t FakeConfigUtil::EvaluateInterval(const WideString& text, uint32_t& seconds) {
    MutexLock lock(mutex);
    state.intervalTexts.push_back(text);
    if (state.intervals.empty()) return prefstore::EvaluateInterval(text, seconds);
    const auto [result, answer] = state.intervals.front();
    state.intervals.pop_front();
    if (result == Success) seconds = answer;
    return result;
}

uint32_t FakeConfigUtil::Change(const WideString& key, const WideString* value) {
    if (!SplitKey(key) || (value != nullptr && value->find(u'\0') != WideString::npos))
        return InvalidParameter;
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
