#include "system/process.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <stdexcept>
#include <thread>

namespace orrery::system_test {

bool Eventually(const std::function<bool()>& isSo) {
    constexpr std::chrono::seconds limit{60};
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!isSo()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

Process::Process(const Command& command, const std::string& log, const Environment& environment) : log(log) {
    // What an earlier program with this log has said must not be taken for this one's.
    std::ofstream(log + ".out").close();
    output.open(log + ".out", std::ios::binary);
    id = fork();
    if (id < 0) throw std::runtime_error("no process can be made");
    if (id == 0) Become(command, environment);
}

void Process::Become(const Command& command, const Environment& environment) const {
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

bool Process::HasEnded() {
    int status = 0;
    if (exitCode || waitpid(id, &status, WNOHANG) != id) return exitCode.has_value();
    exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return true;
}

std::optional<int> Process::End(int signal) {
    if (!HasEnded()) kill(id, signal);
    Eventually([this] { return HasEnded(); });
    return exitCode;
}

std::optional<std::string> Process::NextLine() {
    std::string line;
    output.clear();
    output.seekg(readUpTo);
    if (!std::getline(output, line) || output.eof()) return std::nullopt;
    readUpTo = output.tellg();
    return line;
}

std::pair<int, std::string> RunToEnd(const Command& command, const std::string& log) {
    Process process(command, log);
    return {process.End(0).value_or(-1), ReadFile(log + ".out")};
}

}  // namespace orrery::system_test
