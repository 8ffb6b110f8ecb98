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

// On the library's own thread. `row` is null for an initial notification.
using IpInterfaceChangeCallback = void (*)(void* context, const IpInterfaceRow* row, NotificationType type);

// Exported as "NotifyIpInterfaceChange". `family` 0 asks for both. 0 and a handle, or a system error code.
using NotifyIpInterfaceChangeFunction = uint32_t (*)(uint16_t family, IpInterfaceChangeCallback callback,
                                                     void* context, bool initialNotification, void** handle);
// Exported as "CancelMibChangeNotify2". No callback runs after the return, unless it is called from one.
using CancelMibChangeNotify2Function = uint32_t (*)(void* handle);

}  // namespace orrery
