// The HTTP interface by which the answers to devices are made to go wrong.
#pragma once

#include "hub/faults/fault_list.h"
#include "hub/http/router.h"

namespace orrery::hub {

// POST   /api/faults    one fault; its members stand in docs/hub.md
// GET    /api/faults    those that are pending, with what is left of their counts
// DELETE /api/faults
// The list must outlive the router.
void AddFaultHandlers(Router& router, FaultList& faults);

}  // namespace orrery::hub
