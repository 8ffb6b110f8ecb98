// Tells the observer which proxy a connection really used, on one thread of its own, so that a connection
// neither waits for the observer nor meets its locks. It keeps nothing while nobody observes. Any thread may
// call it; it is destroyed by none of the observer's calls.
#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <thread>

#include "contracts/wirelink.h"
#include "platform/call_gate.h"
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
    struct Delivery {
        std::unique_ptr<ProxySetting> proxy;
        IProxyUsedObserver* observer;
        CallGate::Visit visit;
    };

    void DeliverReports();
    std::optional<Delivery> BeginDelivery();

    CallGate calls;  // entered under `mutex`, so that a new observer's caller finds the calls to the old one
    Mutex mutex;
    ConditionVariable changed;  // the reports, `ending`
    std::deque<std::unique_ptr<ProxySetting>> reports GUARDED_BY(mutex);
    IProxyUsedObserver* observer GUARDED_BY(mutex) = nullptr;
    std::thread thread GUARDED_BY(mutex);  // begins with the first report
    bool ending GUARDED_BY(mutex) = false;
};

}  // namespace orrery::wirelink
