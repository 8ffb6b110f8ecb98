// The HTTP interface to what devices asked for.
#pragma once

#include "hub/http/router.h"
#include "hub/web_api/exchange_log.h"

namespace orrery::hub {

// GET    /api/exchanges    oldest first
// DELETE /api/exchanges
// The log must outlive the router.
void AddExchangeHandlers(Router& router, ExchangeLog& exchanges);

}  // namespace orrery::hub
