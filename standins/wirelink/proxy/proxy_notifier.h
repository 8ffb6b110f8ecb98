// Tells the observer which proxy a connection really used, on one thread of its own, so that a connection
// neither waits for the observer nor meets its locks. It keeps nothing while nobody observes. Any thread may
// call it; it is destroyed by none of the observer's calls.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <thread>

#include "contracts/wirelink.h"
#include "platform/mutex.h"
#include "standins/wirelink/proxy/proxy_setting.h"

namespace orrery::wirelink {

class ProxyNotifier {
  public:
    ProxyNotifier() = default;
    // Waits for a call in flight; reports that are still queued are dropped.
    ~ProxyNotifier();
    ProxyNotifier(const ProxyNotifier&) = delete;
    ProxyNotifier& operator=(const ProxyNotifier&) = delete;

    // Null for none. Waits for a call in flight, unless it is made from that call. Reports that are still
    // queued go to the new observer.
    void SetObserver(IProxyUsedObserver* newObserver);
    // `proxy` is null for a connection without one. Never waits for the observer. Throws std::system_error if
    // the system has no thread left.
    void Report(std::unique_ptr<ProxySetting> proxy);

  private:
    void DeliverReports();
    bool BeginCall(std::unique_ptr<ProxySetting>& proxy, IProxyUsedObserver*& target);
    void EndCall();

    Mutex mutex;
    ConditionVariable changed;  // the reports, the observer, a call's end, `ending`
    std::deque<std::unique_ptr<ProxySetting>> reports GUARDED_BY(mutex);
    IProxyUsedObserver* observer GUARDED_BY(mutex) = nullptr;
    std::thread thread GUARDED_BY(mutex);      // begins with the first report
    std::thread::id caller GUARDED_BY(mutex);  // that of a call in flight, else none
    uint64_t callsBegun GUARDED_BY(mutex) = 0;
    bool ending GUARDED_BY(mutex) = false;
};

}  // namespace orrery::wirelink
