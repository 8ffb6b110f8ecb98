// Everything that `status` tells, gathered from the settings and from what the running agent has observed, as
// one JSON object. What isn't known is null. Passwords and secrets never get in. No state.
#pragma once

#include <cstdint>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "agent/status/channel_history.h"
#include "contracts/wide_string.h"

namespace orrery::agent {

using SettingsMap = std::map<WideString, WideString>;

// What a running agent tells of itself.
struct AgentObservation {
    int64_t processId = 0;
    int64_t startedAt = 0;   // milliseconds UTC
    std::optional<bool> up;  // see ChannelFacts
    ChannelNotes notes;
};

// The form in which the agent hands it to whoever asks.
std::string ObservationText(const AgentObservation& observation);
bool ReadObservation(const std::string& text, AgentObservation& observation);

// Without an observation no agent runs.
nlohmann::ordered_json StatusReport(const SettingsMap& settings,
                                    const std::optional<AgentObservation>& observation, int64_t now);

}  // namespace orrery::agent
