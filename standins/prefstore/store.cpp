#include "standins/prefstore/store.h"

#include <unistd.h>

#include <algorithm>
#include <set>

#include "platform/error_codes.h"

namespace orrery::prefstore {

Store::Store(const std::string& folder) : database(folder) {
    {
        MutexLock lock(diskMutex);
        isOpen = OpenLocked() == Success;
    }
    if (isOpen) notifier = std::thread([this] { Notify(); });
}

Store::~Store() {
    if (!isOpen) return;
    isClosing = true;
    notifications.Close();
    watch.Wake();
    notifier.join();
}

uint32_t Store::ReadValue(const WideString& key, WideString& value, uint32_t) {
    if (!isOpen) return AccessDenied;
    MutexLock lock(memoryMutex);
    const auto found = settings.find(key);
    if (found == settings.end()) return SplitKey(key) ? NotFound : InvalidParameter;
    value = found->second;
    return Success;
}

uint32_t Store::Subscribe(const char16_t* section, IConfigChangeObserver* observer) {
    return isOpen ? notifications.Subscribe(section, observer) : static_cast<uint32_t>(AccessDenied);
}

uint32_t Store::Unsubscribe(const char16_t* section, IConfigChangeObserver* observer) {
    return isOpen ? notifications.Unsubscribe(section, observer) : static_cast<uint32_t>(AccessDenied);
}

uint32_t Store::List(const WideString& prefix, std::vector<std::pair<WideString, WideString>>& found) {
    if (!isOpen) return AccessDenied;
    found.clear();
    MutexLock lock(memoryMutex);
    for (auto setting = settings.lower_bound(prefix);
         setting != settings.end() && BeginsWithNoCase(setting->first, prefix); ++setting)
        found.emplace_back(*setting);
    return Success;
}

const char* Store::Problem() {
    MutexLock lock(memoryMutex);
    return problems.empty() ? "" : problems.back().c_str();
}

uint32_t Store::Change(const WideString& key, const WideString* value) {
    if (!isOpen) return AccessDenied;
    MutexLock lock(diskMutex);
    const uint32_t followed = FollowFileLocked();
    if (followed != Success) return followed;
    std::vector<SettingRow> rows;
    const uint32_t result = database.Write(key, value, lastRevision, rows);
    if (result == Success) watch.Announce();
    ApplyLocked(rows);
    return result;
}

uint32_t Store::OpenLocked() {
    std::string problem;
    uint32_t result = database.Open(problem);
    // Before the first read, so that no change falls between the two.
    if (result == Success && !watch.Watch(database.Folder(), database.Path()))
        problem = "Changes of " + database.Path() + " by other processes will not be noticed.";
    if (!problem.empty()) AddProblem(problem);

    std::vector<SettingRow> rows;
    if (result == Success) result = database.ReadAfter(0, rows);
    if (result != Success) return result;
    const int64_t newest = rows.empty() ? 0 : rows.back().revision;
    KeepDifferencesLocked(rows);
    ApplyLocked(rows);
    lastRevision = newest;
    return Success;
}

uint32_t Store::FollowFileLocked() {
    return database.IsAstray() ? OpenLocked() : static_cast<uint32_t>(Success);
}

void Store::KeepDifferencesLocked(std::vector<SettingRow>& rows) {
    MutexLock lock(memoryMutex);
    std::set<WideView, KeyLess> present;
    for (const SettingRow& row : rows)
        if (row.value) present.insert(row.key);
    std::vector<SettingRow> different;
    for (const auto& [key, value] : settings)
        if (!present.contains(key)) different.push_back({key, std::nullopt, 0});
    for (const SettingRow& row : rows) {
        const auto known = settings.find(row.key);
        if (row.value && (known == settings.end() || known->second != *row.value)) different.push_back(row);
    }
    rows = std::move(different);
}

void Store::ApplyLocked(const std::vector<SettingRow>& rows) {
    bool isHeard = false;
    for (const SettingRow& row : rows) {
        const WideString before = Replace(row);
        isHeard |= notifications.Post(row.key, before, row.value.value_or(WideString()));
        lastRevision = std::max(lastRevision, row.revision);
    }
    if (isHeard) watch.Wake();
}

WideString Store::Replace(const SettingRow& row) {
    MutexLock lock(memoryMutex);
    const auto known = settings.find(row.key);
    const bool isKnown = known != settings.end();
    WideString before = isKnown ? std::move(known->second) : WideString();
    if (isKnown && !row.value) settings.erase(known);
    if (isKnown && row.value) known->second = *row.value;
    if (!isKnown && row.value) settings.emplace(row.key, *row.value);
    return before;
}

void Store::AddProblem(const std::string& problem) {
    MutexLock lock(memoryMutex);
    if (problems.empty() || problems.back() != problem) problems.push_back(problem);
}

void Store::Notify() {
    while (!isClosing) {
        if (watch.Wait()) Refresh();
        notifications.Deliver();
    }
}

void Store::Refresh() {
    MutexLock lock(diskMutex);
    // A file that was taken away is not made anew before somebody writes: another may be about to come.
    if (access(database.Path().c_str(), F_OK) != 0 || FollowFileLocked() != Success) return;
    std::vector<SettingRow> rows;
    database.ReadAfter(lastRevision, rows);
    ApplyLocked(rows);
}

}  // namespace orrery::prefstore
