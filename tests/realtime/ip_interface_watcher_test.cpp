#include "realtime/ip_interface_watcher.h"

#include <gtest/gtest.h>

namespace orrery::test {
namespace {

TEST(IpInterfaceWatcherTest, StartsAndStopsAtWill) {
    CIpInterfaceWatcher watcher;
    watcher.Stop();
    for (int start = 0; start < 2; ++start) EXPECT_TRUE(watcher.Start([](NotificationType) {}));
    watcher.Stop();
    EXPECT_TRUE(watcher.Start({})) << "the destructor stops it";
}

}  // namespace
}  // namespace orrery::test
