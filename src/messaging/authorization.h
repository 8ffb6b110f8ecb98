// The device's credentials, as the transport signs with them. What becomes of them on the wire is the
// transport's. No state.
#pragma once

#include "contracts/config_util.h"
#include "contracts/wirelink.h"

namespace orrery {

// Reads `<section>.Authorization.*`; `section` is "Communications" or "Services". `timestamp` may be null.
// False leaves `out` alone: there is no id, no secret, or no store. A service or version that isn't known
// counts as version 1.
bool LoadAuthorization(ConfigUtil* configUtil, AuthorizationInfo& out, const char16_t* section,
                       const CalendarTime* timestamp, bool forWebApi);

}  // namespace orrery
