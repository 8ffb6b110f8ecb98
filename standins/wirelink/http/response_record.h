// Fills and empties the record by which a reply is handed over. The record owns copies, so that it stays good
// when the connection is gone. No state; any thread.
#pragma once

#include "contracts/wirelink.h"
#include "standins/wirelink/http/http_exchange.h"

namespace orrery::wirelink {

// Frees what an initialised record holds and leaves it zeroed but for `size`; any number of times.
void EmptyResponse(TransportResponse& response);
// An empty body gives a null `content`. What the record held goes if it is initialised.
void FillResponse(TransportResponse& response, const HttpReply& reply);

}  // namespace orrery::wirelink
