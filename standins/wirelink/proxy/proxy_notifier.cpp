#include "standins/wirelink/proxy/proxy_notifier.h"

#include <utility>

namespace orrery::wirelink {

ProxyNotifier::~ProxyNotifier() {
    {
        MutexLock lock(mutex);
        ending = true;
    }
    changed.notify_all();
    if (thread.joinable()) thread.join();
}

void ProxyNotifier::SetObserver(IProxyUsedObserver* newObserver) {
    {
        MutexLock lock(mutex);
        observer = newObserver;
        if (!observer) reports.clear();
    }
    calls.AwaitOthers();
}

void ProxyNotifier::Report(std::unique_ptr<ProxySetting> proxy) {
    {
        MutexLock lock(mutex);
        if (!observer || ending) return;
        if (!thread.joinable()) thread = std::thread([this] { DeliverReports(); });
        reports.push_back(std::move(proxy));
    }
    changed.notify_all();  // without the lock, which the woken thread takes first
}

void ProxyNotifier::DeliverReports() {
    while (const auto next = BeginDelivery()) {
        try {
            next->observer->OnProxyUsed(next->proxy.get());
        } catch (...) {
            // An observer that fails costs this report; the connection has long gone on.
        }
    }
}

// None at the end.
std::optional<ProxyNotifier::Delivery> ProxyNotifier::BeginDelivery() {
    MutexLock lock(mutex);
    while (!ending && reports.empty()) changed.wait(mutex);
    if (ending) return {};
    auto proxy = std::move(reports.front());
    reports.pop_front();
    // There is an observer, or there would be no reports.
    return Delivery{std::move(proxy), observer, calls.Enter()};
}

}  // namespace orrery::wirelink
