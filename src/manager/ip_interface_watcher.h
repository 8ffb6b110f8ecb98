// Tells when an IP interface comes or goes. The library behind it is looked up at run time: on a system
// without it the watcher exists and its Start gives false.
//
// Start, Stop and the destructor belong to one thread at a time; the callback runs on a thread of the
// library.
#pragma once

#include <functional>
#include <memory>

#include "contracts/iphlpapi.h"
#include "foundation/libraries/loader.h"
#include "platform/mutex.h"

namespace orrery {

using ConnectionChangeCallback = std::function<void(NotificationType)>;

class IConnectionWatcher {
  public:
    virtual ~IConnectionWatcher() = default;
    virtual bool Start(ConnectionChangeCallback callback) = 0;
    // No callback runs after the return, unless Stop was called from it.
    virtual void Stop() = 0;
};

class CIpInterfaceWatcher final : public IConnectionWatcher {
  public:
    CIpInterfaceWatcher();
    ~CIpInterfaceWatcher() override;
    CIpInterfaceWatcher(const CIpInterfaceWatcher&) = delete;
    CIpInterfaceWatcher& operator=(const CIpInterfaceWatcher&) = delete;

    // The callback hears of AddInstance and DeleteInstance only.
    bool Start(ConnectionChangeCallback callback) override EXCLUDES(callbackLock);
    void Stop() override EXCLUDES(callbackLock);

  private:
    static void OnNotification(void* context, const IpInterfaceRow* row, NotificationType type);
    void SetCallback(ConnectionChangeCallback replacement) EXCLUDES(callbackLock);
    ConnectionChangeCallback Callback() EXCLUDES(callbackLock);

    std::unique_ptr<CLoader> loader;
    NotifyIpInterfaceChangeFunction notifyIpInterfaceChange = nullptr;
    CancelMibChangeNotify2Function cancelMibChangeNotify2 = nullptr;
    void* notificationHandle = nullptr;
    Mutex callbackLock;  // a leaf; not held while the callback runs
    ConnectionChangeCallback callback GUARDED_BY(callbackLock);
};

// Null if there is no memory for it.
std::unique_ptr<IConnectionWatcher> MakeConnectionWatcher();

}  // namespace orrery
