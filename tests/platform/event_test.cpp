#include "platform/event.h"

#include <gtest/gtest.h>

namespace orrery::platform {
namespace {

TEST(Event, TheLowestSignalledIndexWinsUntilReset) {
    constexpr uint64_t generous = 60'000, endless = UINT64_MAX;
    Event first, second, third;
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
    EXPECT_EQ(WaitForAny({}, endless), WaitFailed) << "instead of hanging";
}

}  // namespace
}  // namespace orrery::platform
