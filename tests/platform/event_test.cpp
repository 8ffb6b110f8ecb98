#include "platform/event.h"

#include <gtest/gtest.h>

#include <thread>

namespace orrery::platform {
namespace {

constexpr uint64_t generous = 60'000;
constexpr uint64_t endless = UINT64_MAX;

TEST(Event, TheLowestSignalledIndexWinsUntilReset) {
    Event first;
    Event second;
    Event third;
    Event* const all[] = {&first, &second, &third};
    EXPECT_EQ(WaitForAny(all, 0), WaitTimeout);
    third.Set();
    second.Set();
    second.Set();
    EXPECT_EQ(WaitForAny(all, generous), 1);
    EXPECT_EQ(WaitForAny(all, endless), 1);
    second.Reset();
    EXPECT_FALSE(second.IsSet());
    EXPECT_EQ(WaitForAny(all, generous), 2);
    third.Reset();
    third.Reset();
    EXPECT_EQ(WaitForAny(all, 1), WaitTimeout);
}

TEST(Event, AWaitIsWokenFromAnotherThread) {
    Event go;
    Event answer;
    int written = 0;  // plain: the event alone orders the two threads
    std::thread other([&] {
        Event* const waited[] = {&go};
        if (WaitForAny(waited, generous) == 0) ++written;
        answer.Set();
    });
    written = 1;
    go.Set();
    Event* const waited[] = {&answer};
    EXPECT_EQ(WaitForAny(waited, endless), 0);
    EXPECT_EQ(written, 2);
    other.join();
}

TEST(Event, AWaitForNothingFailsInsteadOfHanging) {
    EXPECT_EQ(WaitForAny({}, endless), WaitFailed);
}

}  // namespace
}  // namespace orrery::platform
