// The Web API method by which a device tells how it is to be reached.
#pragma once

#include "hub/devices/device_hub.h"
#include "hub/http/router.h"

namespace orrery::hub {

// POST /webapi/bind    {"NotificationProvider":n,"RecipientId":"..."}
// For a router behind the gate: the device is the one that signed. The hub must outlive the router.
void AddBindHandlers(Router& router, DeviceHub& hub);

}  // namespace orrery::hub
