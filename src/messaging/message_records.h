// The two records of an exchange, as they stand in its message file. Pure: they write nothing. One thread.
#pragma once

#include <cstdint>

#include "contracts/calendar_time.h"
#include "contracts/wide_string.h"
#include "contracts/wirelink.h"

namespace orrery {

class IRequest;

// `status` and `proxy` may be null. It asks the request for its headers, which fixes its id and date.
WideString RequestRecord(IRequest& request, const WideString& url, uint32_t result, const uint32_t* status,
                         const IProxySetting* proxy, const CalendarTime& localTime);

// Begins with an empty line, as it stands behind the request's. Reads no more of a reply that was never
// initialised than its size.
WideString ResponseRecord(const TransportResponse& reply, uint32_t result, const CalendarTime& localTime);

}  // namespace orrery
