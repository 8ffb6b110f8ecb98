#include "channel/socket/connection_reaper.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <latch>

#include "support/call_log.h"

namespace orrery::test {
namespace {

// Linux lists the threads of a process there.
auto ThreadsOfThisProcess() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

TEST(ConnectionReaperTest, ItsThreadsLiveAsLongAsTheirWork) {
    ConnectionReaper reaper;
    const auto before = ThreadsOfThisProcess();
    for (int round = 0; round < 3; ++round) {
        std::latch bothInside(3), leave(1);
        for (int work = 0; work < 2; ++work) {
            EXPECT_TRUE(reaper.Give([&] {
                bothInside.arrive_and_wait();
                leave.wait();
            }));
        }
        bothInside.arrive_and_wait();
        EXPECT_EQ(ThreadsOfThisProcess(), before + 2);
        leave.count_down();
        EXPECT_TRUE(Eventually([&] { return ThreadsOfThisProcess() == before; }));
    }
}

TEST(ConnectionReaperTest, WaitsAtItsEndForWorkAndForWhatThatGives) {
    CallLog log;
    std::latch ending(1);
    {
        ConnectionReaper reaper;
        reaper.Give([&] {
            ending.wait();
            reaper.Give([&log] { log.Note("given by work"); });
            log.Note("work");
        });
        ending.count_down();
    }
    EXPECT_EQ(log.Take().size(), 2u);
}

}  // namespace
}  // namespace orrery::test
