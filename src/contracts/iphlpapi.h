// Notification of IP interfaces that appear, go or change, Iphlpapi.dll.
#pragma once

#include <cstdint>

namespace orrery {

enum NotificationType : int32_t {
    ParameterNotification = 0,
    AddInstance = 1,
    DeleteInstance = 2,
    InitialNotification = 3,
};

// What is known of the interface a notification is about.
struct IpInterfaceRow {
    uint16_t family;  // AF_INET or AF_INET6
    uint32_t interfaceIndex;
};

// On the library's own thread, one call at a time. `row` is null for an initial notification, else the
// library's until the return. It must not throw.
using IpInterfaceChangeCallback = void (*)(void* context, const IpInterfaceRow* row, NotificationType type);

// Exported as "NotifyIpInterfaceChange". `family` 0 asks for both. 0 and a handle, which is owed to
// CancelMibChangeNotify2, or a system error code and `handle` as it was. `context` is passed through. Both
// functions may be called from any thread, and from a callback.
using NotifyIpInterfaceChangeFunction = uint32_t (*)(uint16_t family, IpInterfaceChangeCallback callback,
                                                     void* context, bool initialNotification, void** handle);
// Exported as "CancelMibChangeNotify2". No callback of this handle comes after the return: it waits for one
// in flight, unless it is called from it. 87 for a handle that isn't registered.
using CancelMibChangeNotify2Function = uint32_t (*)(void* handle);

}  // namespace orrery
