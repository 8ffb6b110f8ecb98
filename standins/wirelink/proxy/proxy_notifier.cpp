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
    MutexLock lock(mutex);
    observer = newObserver;
    if (!observer) reports.clear();
    const uint64_t lastOfOld = callsBegun;
    const std::thread::id none;
    while (caller != none && caller != std::this_thread::get_id() && callsBegun == lastOfOld) {
        changed.wait(mutex);
    }
}

void ProxyNotifier::Report(std::unique_ptr<ProxySetting> proxy) {
    MutexLock lock(mutex);
    if (!observer || ending) return;
    if (!thread.joinable()) thread = std::thread([this] { DeliverReports(); });
    reports.push_back(std::move(proxy));
    changed.notify_all();
}

void ProxyNotifier::DeliverReports() {
    std::unique_ptr<ProxySetting> proxy;
    IProxyUsedObserver* target = nullptr;
    while (BeginCall(proxy, target)) {
        try {
            target->OnProxyUsed(proxy.get());
        } catch (...) {
            // An observer that fails costs this report; the connection has long gone on.
        }
        EndCall();
    }
}

// False at the end.
bool ProxyNotifier::BeginCall(std::unique_ptr<ProxySetting>& proxy, IProxyUsedObserver*& target) {
    MutexLock lock(mutex);
    while (!ending && reports.empty()) changed.wait(mutex);
    if (ending) return false;
    proxy = std::move(reports.front());
    reports.pop_front();
    target = observer;  // set, or there would be no reports
    caller = std::this_thread::get_id();
    ++callsBegun;
    return true;
}

void ProxyNotifier::EndCall() {
    MutexLock lock(mutex);
    caller = std::thread::id();
    changed.notify_all();
}

}  // namespace orrery::wirelink
