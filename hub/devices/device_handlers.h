// The HTTP interface to the devices: who is there, pushes, raw frames, and the ways to lose a connection.
#pragma once

#include "hub/devices/device_hub.h"
#include "hub/http/router.h"

namespace orrery::hub {

// GET  /api/health                          {"devices":n}
// GET  /api/devices[?all=1]                 the connected devices; with all=1 every known one
// POST /api/push                            {"topic":"...","message":M} or "messages":[M,...]; M is an
// object,
//                                           or a string that is sent as that text. Gives {"reached":n}
// POST /api/frame?device=ID[&kind=binary]   the body as one WebSocket frame, as it is
// POST /api/disconnect                      {"device":"...","how":"close"|"drop"|"stall"[,"code":n]}
// The hub must outlive the router.
void AddDeviceHandlers(Router& router, DeviceHub& hub);

}  // namespace orrery::hub
