// What an installation writes into the settings: who the device is, where its server is and how it is called,
// and when it is polled. Run again it changes only what it is told, and fills in what a home of an earlier
// version lacks. Lays out no files. Used by one thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "agent/install/server_url.h"
#include "contracts/config_util.h"

namespace orrery::agent {

struct InstallOptions {
    std::optional<std::string> server{};
    std::optional<std::string> device{};
    std::optional<std::string> site{};
    std::optional<std::string> secret{};
    std::optional<int64_t> poll{};  // seconds, 0: never
};

// The same, checked.
struct InstallPlan {
    std::optional<ServerUrl> server;
    std::optional<WideString> device;
    std::optional<WideString> site;
    std::optional<WideString> secret;
    std::optional<int64_t> poll;
};

// Both: false, and `problem` says why.
bool PlanInstall(const InstallOptions& options, InstallPlan& plan, std::string& problem);
// A store that knows neither device nor notification id gets both.
bool ApplyPlan(const InstallPlan& plan, ConfigUtil& store, std::string& problem);

// The scheduler's task that polls.
extern const WideString pollTaskKey;

}  // namespace orrery::agent
