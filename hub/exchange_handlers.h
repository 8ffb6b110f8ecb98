// The HTTP interface to what devices asked for.
#pragma once

#include "hub/exchange_log.h"
#include "hub/router.h"

namespace orrery::hub {

// GET    /api/exchanges    oldest first
// DELETE /api/exchanges
// The log must outlive the router.
void AddExchangeHandlers(Router& router, ExchangeLog& exchanges);

}  // namespace orrery::hub
