#include "agent/worker_pool.h"

#include <gtest/gtest.h>

#include <future>
#include <latch>

namespace orrery::agent {
namespace {

using namespace std::chrono_literals;

TEST(WorkerPool, GrowsToItsLimitAndShrinksToNothing) {
    WorkerPool pool(3, 1ms);
    std::latch running(3), release(1);
    std::atomic<int> together{0}, most{0}, done{0};
    for (int i = 0; i < 9; ++i) {
        ASSERT_TRUE(pool.Post([&, i] {
            const int count = ++together;
            for (int seen = most; seen < count && !most.compare_exchange_weak(seen, count);) {
            }
            if (i < 3) running.count_down();
            release.wait();
            --together;
            ++done;
        }));
    }
    running.wait();
    EXPECT_EQ(pool.WorkerCount(), 3u);
    release.count_down();
    while (done < 9 || pool.WorkerCount() > 0) std::this_thread::yield();
    EXPECT_EQ(most, 3);

    std::promise<void> again;
    ASSERT_TRUE(pool.Post([&again] { again.set_value(); }));
    again.get_future().wait();
    EXPECT_TRUE(pool.Drain(60s));
    EXPECT_FALSE(pool.Post([] {}));
}

TEST(WorkerPool, DrainGivesUpOnAJobThatStays) {
    WorkerPool pool;
    std::latch release(1);
    pool.Post([&release] { release.wait(); });
    EXPECT_FALSE(pool.Drain(1ms));
    release.count_down();
    EXPECT_TRUE(pool.Drain(60s));
}

}  // namespace
}  // namespace orrery::agent
