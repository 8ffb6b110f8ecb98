// The services that devices reach beside the Web API, at /services/<service>/<product>/: data by id, and what
// they hand in. Of files, messages and containers nothing is kept but the record of the exchange.
#pragma once

#include "hub/http/router.h"
#include "hub/web_api/data_store.h"

namespace orrery::hub {

// GET  .../<id>                                    with If-None-Match: 304 if the tag is the current one
// PUT  .../<id>                                    creates or replaces
// PUT  .../files/<container>/<name>
// POST .../queues/<container>
// PUT  .../containers/<container>/<version>/<name>
// For a router behind the gate. The data must outlive the router.
void AddServiceHandlers(Router& router, DataStore& data);

}  // namespace orrery::hub
