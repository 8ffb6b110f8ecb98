// Whether a request is signed by a device of ours, and when: the signature first, then the time. It keeps
// nothing and writes no answer. No state; any thread.
#pragma once

#include <optional>
#include <string>

#include "hub/base/hub_clock.h"
#include "hub/http/http_message.h"

namespace orrery::hub {

struct Authorization {
    unsigned status = 200;      // 401: not signed, or wrongly; 403: signed at another time
    std::string reason = "ok";  // for a person
};

Authorization Authorize(const HttpRequest& request, const std::string& secret, const HubClock& clock);

// The authorization id, which names the device, as the request claims it.
std::optional<std::string> ClaimedDevice(const HttpRequest& request);

}  // namespace orrery::hub
