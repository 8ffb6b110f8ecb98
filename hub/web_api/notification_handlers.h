// The HTTP interface to the data of devices: what there is, and putting a notification where a device polls.
#pragma once

#include "hub/http/router.h"
#include "hub/web_api/data_store.h"

namespace orrery::hub {

// GET  /api/data
// POST /api/notify    {"id":"...","message":M[,"service":"notifications"][,"product":"1"]}; M as in a push
// The data must outlive the router.
void AddNotificationHandlers(Router& router, DataStore& data);

}  // namespace orrery::hub
