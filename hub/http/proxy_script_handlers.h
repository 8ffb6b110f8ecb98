// Serves a proxy auto-configuration script that was posted before.
#pragma once

#include "hub/http/router.h"

namespace orrery::hub {

// POST /api/pac                 the body is the script from now on
// GET  /proxy.pac[?delay=ms]    the script, 404 before there is one; the delay is at most 60000
void AddProxyScriptHandlers(Router& router);

}  // namespace orrery::hub
