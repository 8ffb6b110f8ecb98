#include "agent/worker_pool.h"

#include <gtest/gtest.h>

#include <latch>

#include "support/call_log.h"

namespace orrery::agent {
namespace {

using namespace std::chrono_literals;

TEST(WorkerPool, GrowsToItsLimitShrinksToNothingAndDrains) {
    WorkerPool pool(3, 1ms);
    std::latch running(3), release(1), releaseLast(1);
    std::atomic<int> done{0};
    for (int i = 0; i < 9; ++i) {
        ASSERT_TRUE(pool.Post([&, i] {
            if (i < 3) running.count_down();
            release.wait();
            ++done;
        }));
    }
    running.wait();
    EXPECT_EQ(pool.WorkerCount(), 3u);
    release.count_down();
    EXPECT_TRUE(test::Eventually([&] { return done == 9 && pool.WorkerCount() == 0; }));

    ASSERT_TRUE(pool.Post([&] { releaseLast.wait(); }));
    EXPECT_FALSE(pool.Drain(1ms));
    releaseLast.count_down();
    EXPECT_TRUE(pool.Drain(60s));
    EXPECT_FALSE(pool.Post([] {}));
}

}  // namespace
}  // namespace orrery::agent
