// Hands its calls to the program that has loaded it.
#include "contracts/iphlpapi.h"

extern "C" {

uint32_t orrery_test_notify(uint16_t, orrery::IpInterfaceChangeCallback, void*, bool, void**);
uint32_t orrery_test_cancel(void*);

uint32_t NotifyIpInterfaceChange(uint16_t family, orrery::IpInterfaceChangeCallback callback, void* context,
                                 bool initialNotification, void** handle) {
    return orrery_test_notify(family, callback, context, initialNotification, handle);
}
uint32_t CancelMibChangeNotify2(void* handle) {
    return orrery_test_cancel(handle);
}
}
