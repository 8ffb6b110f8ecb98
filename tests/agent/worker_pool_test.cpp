#include "agent/events/worker_pool.h"

#include <gtest/gtest.h>

#include <latch>

#include "support/call_log.h"
#include "support/test_clock.h"

namespace orrery::agent {
namespace {

using namespace std::chrono_literals;

TEST(WorkerPool, GrowsToItsLimitAndShrinksToNothing) {
    test::TestClock clock;
    WorkerPool pool(3);
    std::latch running(3), release(1);
    std::atomic<int> done{0};
    for (int i = 0; i < 9; ++i) {
        ASSERT_TRUE(pool.Post(std::u16string(1, static_cast<char16_t>(u'a' + i)), [&, i] {
            if (i < 3) running.count_down();
            release.wait();
            ++done;
        }));
    }
    running.wait();
    EXPECT_EQ(pool.WorkerCount(), 3u);
    release.count_down();
    EXPECT_TRUE(test::Eventually([&] { return done == 9; }));
    EXPECT_EQ(pool.WorkerCount(), 3u) << "they wait for more";
    EXPECT_TRUE(test::Eventually([&] { return clock.Advance(5), pool.WorkerCount() == 0; }));
}

TEST(WorkerPool, JobsThatHangHoldUpNoneButTheirLike) {
    WorkerPool pool;
    std::latch release(1);
    std::atomic<int> begun{0}, others{0};
    for (int i = 0; i < 40; ++i) {
        ASSERT_TRUE(pool.Post(u"hangs", [&] {
            ++begun;
            release.wait();
        }));
    }
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(pool.Post(u"other", [&] { ++others; }));
    EXPECT_TRUE(test::Eventually([&] { return others == 3 && begun == 2; }));
    release.count_down();
    EXPECT_TRUE(pool.Drain(60s));
    EXPECT_EQ(begun, 40);
}

}  // namespace
}  // namespace orrery::agent
