// The library's two exports and the one monitor behind them, which lives while somebody is registered.
#include <sys/socket.h>

#include <cerrno>
#include <exception>
#include <memory>
#include <utility>

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

uint32_t Register(std::shared_ptr<ChangeMonitor::Registration> registration, void** handle) {
    MutexLock lock(processLock);
    if (!EnsureMonitorLocked()) return errno ? static_cast<uint32_t>(errno) : NotEnoughMemory;
    Current()->Add(std::move(registration), handle);
    return Success;
}

// The registration of `handle`, null if there is none. `last` is then the monitor if it has nobody left: it
// is the caller's from here on.
std::shared_ptr<ChangeMonitor::Registration> Withdraw(void* handle, std::shared_ptr<ChangeMonitor>& last) {
    MutexLock lock(processLock);
    if (!Current()) return nullptr;
    auto registration = Current()->Remove(handle);
    if (registration && !Current()->HasRegistrations()) last = std::exchange(Current(), nullptr);
    return registration;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) uint32_t NotifyIpInterfaceChange(
    uint16_t family, IpInterfaceChangeCallback callback, void* context, bool initialNotification,
    void** handle) {
    const bool isFamily = family == 0 || family == AF_INET || family == AF_INET6;
    if (!isFamily || !callback || !handle) return InvalidParameter;
    try {
        using Registration = ChangeMonitor::Registration;
        return Register(
            std::shared_ptr<Registration>(new Registration{family, callback, context, initialNotification}),
            handle);
    } catch (const std::exception&) {
        return NotEnoughMemory;
    }
}

// Waits outside the lock: the callback that is waited for may itself come back to these exports.
extern "C" __attribute__((visibility("default"))) uint32_t CancelMibChangeNotify2(void* handle) {
    std::shared_ptr<ChangeMonitor> last;
    const auto registration = Withdraw(handle, last);
    if (!registration) return InvalidParameter;
    registration->calls.Close();
    if (last) last->End();
    return Success;
}

}  // namespace orrery::iphlpapi
