#include "platform/linux/auto_proxy/helper_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>

namespace orrery::platform {
namespace {

// The system's clock and not the replaceable one: a real process is waited for.
using SteadyClock = std::chrono::steady_clock;

constexpr size_t maxOutput = 64 * 1024;  // bytes

class Descriptor {
  public:
    explicit Descriptor(int number = -1) : number(number) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Number() const { return number; }
    void Reset(int value) {
        Close();
        number = value;
    }
    void Close() {
        if (number >= 0) close(number);
        number = -1;
    }

  private:
    int number;
};

class SpawnPlan {
  public:
    explicit SpawnPlan(int output) {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
        PlanDescriptors(output);
        PlanAttributes();
    }
    ~SpawnPlan() {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;

    // The system's error number.
    int Spawn(std::vector<char*>& arguments, std::vector<char*>& environment, pid_t& process) const {
        return posix_spawn(&process, arguments[0], &actions, &attributes, arguments.data(),
                           environment.data());
    }

  private:
    // The output goes first: its number may be one of those that are opened anew.
    void PlanDescriptors(int output) {
        posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    }

    // A process group of its own, so that it can be killed with all that it may have started.
    void PlanAttributes() {
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_setflags(&attributes,
                                 POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setsigmask(&attributes, &none);
    }

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
};

// Scripts may ask for the local time of day; they need nothing else of our environment.
std::vector<std::string> HelperEnvironment() {
    const char* zone = std::getenv("TZ");
    return zone ? std::vector<std::string>{std::string("TZ=") + zone} : std::vector<std::string>{};
}

std::vector<char*> NullTerminated(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// A child that never outlives its object.
class Child {
  public:
    Child() = default;
    ~Child() { End(); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // The system's error number.
    int Start(std::vector<std::string> command, int output) {
        std::vector<std::string> variables = HelperEnvironment();
        std::vector<char*> arguments = NullTerminated(command);
        std::vector<char*> environment = NullTerminated(variables);
        const int error = SpawnPlan(output).Spawn(arguments, environment, process);
        if (error != 0) {
            process = -1;
            return error;
        }
        // The C library's header for it doesn't serve C++.
        handle.Reset(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
        return handle.Number() < 0 ? errno : 0;
    }

    // Readable once the child has ended.
    int Handle() const { return handle.Number(); }

    // Kills the group and reaps the child. The kill comes first: only an unreaped child keeps its number from
    // going to another process, and it leaves the status of one that has already ended as it is.
    int End() {
        if (process < 0) return -1;
        kill(-process, SIGKILL);
        int status = -1;
        while (waitpid(process, &status, 0) < 0) {
            if (errno == EINTR) continue;
            status = -1;  // somebody else took it
            break;
        }
        process = -1;
        return status;
    }

  private:
    pid_t process = -1;
    Descriptor handle;
};

int Remaining(SteadyClock::time_point end) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - SteadyClock::now());
    return static_cast<int>(std::clamp<int64_t>(left.count(), 0, 3'600'000));
}

// The system's error number, ETIMEDOUT when the end comes first.
int WaitReadable(int descriptor, SteadyClock::time_point end) {
    pollfd waited{descriptor, POLLIN, 0};
    int ready = 0;
    do {
        ready = poll(&waited, 1, Remaining(end));
    } while (ready < 0 && errno == EINTR);
    if (ready < 0) return errno;
    return ready == 0 ? ETIMEDOUT : 0;
}

int ReadToEnd(int descriptor, SteadyClock::time_point end, std::string& output) {
    std::array<char, 4096> buffer{};
    while (output.size() <= maxOutput) {
        // Also for output that never pauses.
        if (SteadyClock::now() >= end) return ETIMEDOUT;
        if (const int error = WaitReadable(descriptor, end); error != 0) return error;
        const ssize_t count = read(descriptor, buffer.data(), buffer.size());
        if (count == 0) return 0;
        if (count < 0 && errno != EINTR) return errno;
        if (count > 0) output.append(buffer.data(), static_cast<size_t>(count));
    }
    return EMSGSIZE;
}

int Run(const std::vector<std::string>& command, SteadyClock::time_point end, Child& child,
        std::string& output) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return errno;
    Descriptor readEnd(ends[0]);
    Descriptor writeEnd(ends[1]);
    if (const int error = child.Start(command, writeEnd.Number()); error != 0) return error;
    writeEnd.Close();
    if (const int error = ReadToEnd(readEnd.Number(), end, output); error != 0) return error;
    return WaitReadable(child.Handle(), end);
}

}  // namespace

HelperResult RunHelper(const std::vector<std::string>& command, std::chrono::milliseconds deadline) {
    HelperResult result;
    Child child;
    result.error = Run(command, SteadyClock::now() + deadline, child, result.output);
    const int status = child.End();
    if (result.error != 0) return result;
    if (status != -1 && WIFEXITED(status)) {
        result.exitCode = WEXITSTATUS(status);
    } else {
        result.error = EINTR;
    }
    return result;
}

}  // namespace orrery::platform
