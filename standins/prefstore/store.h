// The settings store over one file: reads from memory, writes through to the disk, tells observers. It knows
// nothing of where the process keeps its store. Every operation may be called from any thread, also from
// within a notification.
//
// A change by another process reaches the memory as soon as that process has committed it; a change by this
// one before its write returns. Keys compare without regard to the case of ASCII letters.
#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "contracts/settings_listing.h"
#include "platform/mutex.h"
#include "standins/prefstore/change_watch.h"
#include "standins/prefstore/config_front.h"
#include "standins/prefstore/database.h"
#include "standins/prefstore/notifications.h"
#include "standins/prefstore/setting_key.h"

namespace orrery::prefstore {

class Store final : public ConfigFront, public ISettingsListing {
  public:
    // `folder` is a native path, made if it is missing. A store that could not be opened answers every
    // operation with AccessDenied, and Problem() tells why.
    explicit Store(const std::string& folder);
    // Ends the notifying thread after the call that it may be in. Not from within a notification.
    ~Store() override;

    bool IsOpen() const { return isOpen; }

    uint32_t ReadValue(const WideString& key, WideString& value, uint32_t flags) override;
    uint32_t Subscribe(const char16_t* section, IConfigChangeObserver* observer) override;
    uint32_t Unsubscribe(const char16_t* section, IConfigChangeObserver* observer) override;

    uint32_t List(const WideString& prefix,
                  std::vector<std::pair<WideString, WideString>>& settings) override;
    const char* Problem() override;

  private:
    using Settings = std::map<WideString, WideString, KeyLess>;

    uint32_t Change(const WideString& key, const WideString* value) override;
    uint32_t OpenLocked() REQUIRES(diskMutex);
    // Follows the file if it was replaced, as when a backup is put in its place.
    uint32_t FollowFileLocked() REQUIRES(diskMutex);
    // Leaves in `rows` what differs from the memory, and adds what the memory has and they don't.
    void KeepDifferencesLocked(std::vector<SettingRow>& rows) REQUIRES(diskMutex);
    void ApplyLocked(const std::vector<SettingRow>& rows) REQUIRES(diskMutex);
    // The value before.
    WideString Replace(const SettingRow& row);
    void AddProblem(const std::string& problem);

    void Notify();
    void Refresh();

    bool isOpen = false;  // constant after construction

    ChangeWatch watch;
    Notifications notifications;
    std::atomic<bool> isClosing = false;

    // Held over a whole transaction, so that memory and notifications follow in the order of revisions.
    Mutex diskMutex;
    Database database GUARDED_BY(diskMutex);
    int64_t lastRevision GUARDED_BY(diskMutex) = 0;  // the newest one in memory

    // Never held over disk access: reads don't wait for writes.
    Mutex memoryMutex ACQUIRED_AFTER(diskMutex);
    Settings settings GUARDED_BY(memoryMutex);
    std::list<std::string> problems GUARDED_BY(memoryMutex);  // none is removed: callers hold their text

    std::thread notifier;
};

}  // namespace orrery::prefstore
