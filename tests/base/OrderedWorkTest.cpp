#include "base/OrderedWork.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <thread>

// Jobs of uneven length on any number of threads, with a taker that is now faster and now slower than they
// are.
TEST(OrderedWork, ResultsComeInTheOrderOfTheJobs) {
    for (const unsigned threads : {0U, 1U, 2U, 5U}) {
        constexpr std::size_t Jobs = 3000;
        karta::OrderedWork<std::size_t> work(Jobs, threads, [](std::size_t job) {
            if (job % 97 == 0) {
                std::this_thread::sleep_for(std::chrono::microseconds(300));
            }
            return 7 * job;
        });
        for (std::size_t job = 0; job < Jobs; ++job) {
            ASSERT_EQ(work.Take(), 7 * job);
            if (job % 211 == 0) {
                std::this_thread::sleep_for(std::chrono::microseconds(300));
            }
        }
    }
}

TEST(OrderedWork, NoMoreIsDoneAheadThanThreadsNeed) {
    std::atomic<std::size_t> begun = 0;
    {
        karta::OrderedWork<int> work(1000, 3, [&](std::size_t) {
            ++begun;
            return 0;
        });
        for (int i = 0; i < 10; ++i) {
            work.Take();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_LE(begun, 10 + 3 * 4U);
    }
    // Nobody waits for what nobody takes.
    EXPECT_LE(begun, 10 + 3 * 4U);
}
