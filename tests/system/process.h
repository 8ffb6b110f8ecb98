// A program that a test has started, with its output in files that the test reads while it runs. It never
// outlives its object, nor the test program. One thread.
#pragma once

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace orrery::system_test {

using Command = std::vector<std::string>;
using Environment = std::map<std::string, std::string>;

// Asks again and again until it is so. False after a time that is enough for a program under a sanitizer on a
// busy machine.
inline bool Eventually(const std::function<bool()>& isSo) {
    constexpr std::chrono::seconds limit{60};
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!isSo()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

inline std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class Process {
  public:
    // Standard output and error go to `log` with .out and .err appended; `environment` is added to ours.
    Process(const Command& command, const std::string& log, const Environment& environment = {}) : log(log) {
        // What an earlier program with this log has said must not be taken for this one's.
        std::ofstream(log + ".out").close();
        output.open(log + ".out", std::ios::binary);
        id = fork();
        if (id < 0) throw std::runtime_error("no process can be made");
        if (id == 0) Become(command, environment);
    }
    ~Process() { End(SIGKILL); }

    // Waits for its end; with 0 instead of a signal for that it ends by itself. The exit code, or 128 and the
    // signal that ended it; none if it still runs after a long wait.
    std::optional<int> End(int signal = SIGTERM) {
        if (!HasEnded()) kill(id, signal);
        Eventually([this] { return HasEnded(); });
        return exitCode;
    }
    bool HasEnded() {
        int status = 0;
        if (exitCode || waitpid(id, &status, WNOHANG) != id) return exitCode.has_value();
        exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        return true;
    }

    // The next whole line of its standard output; none if there isn't one yet.
    std::optional<std::string> NextLine() {
        std::string line;
        output.clear();
        output.seekg(readUpTo);
        if (!std::getline(output, line) || output.eof()) return std::nullopt;
        readUpTo = output.tellg();
        return line;
    }
    std::string Errors() const { return ReadFile(log + ".err"); }
    // What the system tells of it.
    std::string Folder() const { return "/proc/" + std::to_string(id); }

  private:
    [[noreturn]] void Become(const Command& command, const Environment& environment) const {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const bool redirected = std::freopen((log + ".out").c_str(), "a", stdout) &&
                                std::freopen((log + ".err").c_str(), "a", stderr);
        for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
        std::vector<char*> arguments;
        for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
        arguments.push_back(nullptr);
        if (redirected) execvp(arguments[0], arguments.data());
        _exit(127);
    }

    const std::string log;
    pid_t id = -1;
    std::optional<int> exitCode;
    std::ifstream output;
    std::streamoff readUpTo = 0;
};

// Runs a command to its end; its exit code and standard output.
inline std::pair<int, std::string> RunToEnd(const Command& command, const std::string& log) {
    Process process(command, log);
    return {process.End(0).value_or(-1), ReadFile(log + ".out")};
}

}  // namespace orrery::system_test
