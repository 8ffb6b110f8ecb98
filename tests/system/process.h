// A program that a test has started, with its output in files that the test reads while it runs. It never
// outlives its object, nor the test program. One thread.
#pragma once

#include <sys/types.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orrery::system_test {

using Command = std::vector<std::string>;
using Environment = std::map<std::string, std::string>;

// Asks again and again until it is so. False after a time that is enough for a program under a sanitizer on a
// busy machine.
bool Eventually(const std::function<bool()>& isSo);

std::string ReadFile(const std::string& path);

class Process {
  public:
    // Standard output and error go to `log` with .out and .err appended; `environment` is added to ours.
    Process(const Command& command, const std::string& log, const Environment& environment = {});
    ~Process() { End(SIGKILL); }

    // Waits for its end; with 0 instead of a signal for that it ends by itself. The exit code, or 128 and the
    // signal that ended it; none if it still runs after a long wait.
    std::optional<int> End(int signal = SIGTERM);
    bool HasEnded();

    // The next whole line of its standard output; none if there isn't one yet.
    std::optional<std::string> NextLine();
    std::string Errors() const { return ReadFile(log + ".err"); }
    // What the system tells of it.
    std::string Folder() const { return "/proc/" + std::to_string(id); }

  private:
    [[noreturn]] void Become(const Command& command, const Environment& environment) const;

    const std::string log;
    pid_t id = -1;
    std::optional<int> exitCode;
    std::ifstream output;
    std::streamoff readUpTo = 0;
};

// Runs a command to its end; its exit code and standard output.
std::pair<int, std::string> RunToEnd(const Command& command, const std::string& log);

}  // namespace orrery::system_test
