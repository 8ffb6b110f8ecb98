// What can truly be said of the channel, from the notes of the host and the settings, at a given time. What
// can't be told stays empty: nothing is guessed. No state; safe from any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>

#include "agent/status/channel_history.h"

namespace orrery::agent {

enum class ChannelState : uint8_t { Unknown, Disabled, NotConfigured, Connecting, Connected, Lost };

struct ChannelFacts {
    bool enabled = true;     // by the settings
    bool configured = true;  // a server and a device id are set
    std::optional<bool> up;  // the connection of the last connect is still there; none if it can't be told
    ChannelNotes notes;
    int64_t checkInterval = 15;  // seconds, as the next two
    int64_t successfulTimeAlive = 15;
    int64_t retriesWait = 1800;
};

enum class RetryState : uint8_t { Unknown, None, AtMaximum };

// Times are milliseconds UTC.
struct ChannelView {
    ChannelState state = ChannelState::Unknown;
    std::optional<int64_t> connectedSince;
    RetryState retries = RetryState::Unknown;
    std::optional<std::pair<int64_t, int64_t>> lastLoss;     // between these two
    std::optional<std::pair<int64_t, int64_t>> nextAttempt;  // between these two, unless an interface appears
};

ChannelView ViewChannel(const ChannelFacts& facts, int64_t now);

}  // namespace orrery::agent
