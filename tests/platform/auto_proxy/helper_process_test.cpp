#include "platform/linux/auto_proxy/helper_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

namespace orrery::platform {
namespace {

using namespace std::chrono_literals;

HelperResult RunShell(const std::string& script, std::chrono::milliseconds deadline = 60s) {
    return RunHelper({"/bin/sh", "-c", script}, deadline);
}

TEST(HelperProcess, SeesNothingOfOurs) {
    const int ours = open("/dev/null", O_RDONLY);  // without close-on-exec
    setenv("SECRET_OF_OURS", "1", 1);
    EXPECT_EQ(RunShell("cat; ls /proc/$$/fd; env | grep -c SECRET").output, "0\n1\n2\n0\n");
    unsetenv("SECRET_OF_OURS");
    close(ours);
}

TEST(HelperProcess, DeadlineHoldsWhateverStaysOpen) {
    // The one behind keeps the output open when the shell itself has gone.
    EXPECT_EQ(RunShell("sleep 1000 & exit 0", 200ms).error, ETIMEDOUT);
    // Still running with its output closed.
    EXPECT_EQ(RunShell("exec >&-; sleep 1000", 200ms).error, ETIMEDOUT);
}

TEST(HelperProcess, WholeGroupEndsWithIt) {
    int reader[2];
    ASSERT_EQ(pipe2(reader, O_CLOEXEC), 0);
    // The child opens its end anew, as it inherits none.
    const std::string writer = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(reader[1]);
    EXPECT_EQ(RunShell("exec 3> " + writer + "; sleep 1000 > /dev/null & exit 0").exitCode, 0);
    close(reader[1]);
    pollfd polled{reader[0], POLLIN, 0};
    EXPECT_EQ(poll(&polled, 1, 30'000), 1);
    EXPECT_EQ(polled.revents, POLLHUP);  // the last writer has gone
    close(reader[0]);
}

TEST(HelperProcess, EveryEndIsReportedAndLeavesNoChildAndNoDescriptor) {
    const auto openDescriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    const auto before = openDescriptors();
    const HelperResult result = RunShell("echo answer; exit 7");
    EXPECT_EQ(result.error, 0);
    EXPECT_EQ(result.exitCode, 7);
    EXPECT_EQ(result.output, "answer\n");
    EXPECT_EQ(RunShell("while :; do echo 0123456789012345678901234567890123456789; done").error, EMSGSIZE);
    EXPECT_EQ(RunShell("kill -SEGV $$").error, EINTR);
    EXPECT_EQ(RunHelper({"/nonexistent/program"}, 60s).error, ENOENT);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

}  // namespace
}  // namespace orrery::platform
