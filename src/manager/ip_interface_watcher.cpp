#include "manager/ip_interface_watcher.h"

#include <new>

#include "foundation/trace.h"

namespace orrery {

namespace {

constexpr uint16_t anyFamily = 0;

}  // namespace

CIpInterfaceWatcher::CIpInterfaceWatcher() : loader(std::make_unique<CLoader>(WideString())) {
    if (!loader->Load(u"Iphlpapi.dll", {})) {
        Trace::Error("interfaces can't be watched: there is no library for it");
        return;
    }
    notifyIpInterfaceChange =
        reinterpret_cast<NotifyIpInterfaceChangeFunction>(loader->GetProc("NotifyIpInterfaceChange"));
    cancelMibChangeNotify2 =
        reinterpret_cast<CancelMibChangeNotify2Function>(loader->GetProc("CancelMibChangeNotify2"));
}

CIpInterfaceWatcher::~CIpInterfaceWatcher() {
    CIpInterfaceWatcher::Stop();
}

bool CIpInterfaceWatcher::Start(ConnectionChangeCallback replacement) {
    const Trace::Scope trace("CIpInterfaceWatcher::Start");
    Stop();
    if (!notifyIpInterfaceChange || !cancelMibChangeNotify2) return false;
    SetCallback(std::move(replacement));
    const uint32_t result = notifyIpInterfaceChange(anyFamily, &CIpInterfaceWatcher::OnNotification, this,
                                                    false, &notificationHandle);
    if (result != 0) Trace::Error("interfaces can't be watched", result);
    return result == 0;
}

void CIpInterfaceWatcher::Stop() {
    const Trace::Scope trace("CIpInterfaceWatcher::Stop");
    SetCallback({});
    if (!cancelMibChangeNotify2 || !notificationHandle) return;
    cancelMibChangeNotify2(notificationHandle);  // waits for a notification in flight
    notificationHandle = nullptr;
}

void CIpInterfaceWatcher::SetCallback(ConnectionChangeCallback replacement) {
    MutexLock hold(callbackLock);
    callback = std::move(replacement);
}

ConnectionChangeCallback CIpInterfaceWatcher::Callback() {
    MutexLock hold(callbackLock);
    return callback;
}

void CIpInterfaceWatcher::OnNotification(void* context, const IpInterfaceRow*, NotificationType type) {
    if (!context) return;
    const ConnectionChangeCallback call = static_cast<CIpInterfaceWatcher*>(context)->Callback();
    if (!call) return;
    if (type == AddInstance || type == DeleteInstance) call(type);
}

std::unique_ptr<IConnectionWatcher> MakeConnectionWatcher() {
    return std::unique_ptr<IConnectionWatcher>(new (std::nothrow) CIpInterfaceWatcher);
}

}  // namespace orrery
