// The log service: every message becomes one line of a rotating file and, if asked for, of standard error.
// It neither knows where the file belongs nor counts its users. Safe from any thread.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "contracts/tracebox.h"

namespace spdlog {
class logger;
}

namespace orrery::tracebox {

// Three files in all: agent.log, agent.1.log, agent.2.log.
inline constexpr size_t maxFileSize = 5 * 1024 * 1024;
inline constexpr size_t rotatedFiles = 2;

class Tracebox final : public ITracebox {
  public:
    // `file` is a native path; its folders are made if they are missing. If it can't be opened, or is empty,
    // what is left of the outputs serves.
    Tracebox(const std::string& file, bool console);
    ~Tracebox() override;

    // Each line is flushed before the return.
    void LogArguments(int32_t level, const char* format, const LogArgument* arguments, size_t count) override;

  private:
    std::unique_ptr<spdlog::logger> logger;  // safe from any thread
};

}  // namespace orrery::tracebox
