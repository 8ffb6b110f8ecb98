// The library's two exports and the one monitor behind them, which lives while somebody is registered.
#include <sys/socket.h>

#include <cerrno>
#include <exception>
#include <memory>

#include "change_monitor.h"
#include "platform/error_codes.h"
#include "platform/mutex.h"

namespace orrery::iphlpapi {
namespace {

Mutex processLock;

// Never destroyed: at the end of the process a registration may be left, and its thread with it.
std::shared_ptr<ChangeMonitor>& Current() REQUIRES(processLock) {
    static auto* const current = new std::shared_ptr<ChangeMonitor>;
    return *current;
}

bool EnsureMonitorLocked() REQUIRES(processLock) {
    if (Current()) return true;
    const std::shared_ptr<ChangeMonitor> monitor = ChangeMonitor::Create();
    if (!monitor) return false;
    monitor->Start(monitor);
    Current() = monitor;
    return true;
}

uint32_t Register(const ChangeMonitor::Registration& registration, void** handle) {
    MutexLock lock(processLock);
    if (!EnsureMonitorLocked()) return errno ? static_cast<uint32_t>(errno) : NotEnoughMemory;
    Current()->Add(registration, handle);
    return Success;
}

// The monitor that served `handle`, null if none did. `last` if it has nobody left: it is then the caller's.
std::shared_ptr<ChangeMonitor> Withdraw(void* handle, bool& last) {
    MutexLock lock(processLock);
    const std::shared_ptr<ChangeMonitor> monitor = Current();
    if (!monitor || !monitor->Remove(handle)) return nullptr;
    last = !monitor->HasRegistrations();
    if (last) Current() = nullptr;
    return monitor;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) uint32_t NotifyIpInterfaceChange(
    uint16_t family, IpInterfaceChangeCallback callback, void* context, bool initialNotification,
    void** handle) {
    const bool isFamily = family == 0 || family == AF_INET || family == AF_INET6;
    if (!isFamily || !callback || !handle) return InvalidParameter;
    try {
        return Register({family, callback, context, initialNotification}, handle);
    } catch (const std::exception&) {
        return NotEnoughMemory;
    }
}

// Waits outside the lock: the callback that is waited for may itself come back to these exports.
extern "C" __attribute__((visibility("default"))) uint32_t CancelMibChangeNotify2(void* handle) {
    bool last = false;
    const std::shared_ptr<ChangeMonitor> monitor = Withdraw(handle, last);
    if (!monitor) return InvalidParameter;
    monitor->AwaitCall(handle);
    if (last) monitor->End();
    return Success;
}

}  // namespace orrery::iphlpapi
