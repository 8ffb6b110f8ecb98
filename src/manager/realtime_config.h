// The settings of the realtime manager, as last read from the store. It reads; it decides nothing.
#pragma once

#include "contracts/config_util.h"
#include "manager/retry_policy.h"

namespace orrery {

struct RealtimeConfig {
    bool enabled = true;
    bool checkOs = true;
    uint32_t checkInterval = 15;  // seconds, at least 1
    RetrySettings retry;

    // Reads all of it anew. Numbers and booleans that can't be read take their defaults; the interval texts
    // and the behaviour keep what they were.
    void Read(ConfigUtil& config);
};

// Scheme, host and path of the push server as one URI; empty unless all three can be read.
WideString ReadCommandHubUri(ConfigUtil& config);

}  // namespace orrery
