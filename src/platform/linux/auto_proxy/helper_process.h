// Runs a program to its end within a deadline and collects what it prints. It doesn't know what the program
// does. When it returns, the program and all of its process group are gone and reaped, and no descriptor is
// left open. Safe from any thread.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace orrery::platform {

struct HelperResult {
    // 0, or the system's number for why there is no exit code: ETIMEDOUT when the deadline has passed,
    // EMSGSIZE for more than 64 KB of output, EINTR when a signal ended the program.
    int error = 0;
    int exitCode = -1;
    std::string output;
};

// `command` is the program's path and its arguments. The program sees an empty standard input, no other
// descriptor of ours, default signal handling, and of our environment only the time zone.
HelperResult RunHelper(const std::vector<std::string>& command, std::chrono::milliseconds deadline);

}  // namespace orrery::platform
