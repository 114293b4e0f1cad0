#include "base/SideBySide.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

void DontLook() {}

}  // namespace

TEST(SideBySideTest, EachJobIsDoneOnce) {
    for (const unsigned int threads : {0U, 1U, 2U, 8U}) {
        for (const std::size_t count : {0U, 1U, 2U, 1000U}) {
            std::vector<std::atomic<int>> done(count);
            karta::DoSideBySide(count, threads, [&](std::size_t i) { ++done[i]; }, DontLook);
            for (std::size_t i = 0; i < count; ++i) {
                EXPECT_EQ(done[i], 1) << threads << " " << i;
            }
        }
    }
}

TEST(SideBySideTest, JobsAreAtWorkAtTheSameTime) {
    std::atomic<int> atWork = 0;
    std::atomic<int> met = 0;
    karta::DoSideBySide(
        2, 2,
        [&](std::size_t /*i*/) {
            ++atWork;
            for (int tries = 0; tries < 10'000 && atWork < 2; ++tries) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            met += atWork == 2 ? 1 : 0;
        },
        DontLook);
    EXPECT_EQ(met, 2);
}

// Whichever fails first by the clock.
TEST(SideBySideTest, FirstOfTheFailedJobsIsRaisedAndNoFurtherOneBegins) {
    for (int run = 0; run < 20; ++run) {
        std::atomic<int> begun = 0;
        std::string raised;
        try {
            karta::DoSideBySide(
                10'000, 4,
                [&](std::size_t i) {
                    ++begun;
                    if (i == 2) {
                        std::this_thread::sleep_for(std::chrono::milliseconds(1));
                    }
                    if (i >= 2) {
                        throw std::runtime_error("job " + std::to_string(i));
                    }
                },
                DontLook);
        } catch (const std::runtime_error& error) {
            raised = error.what();
        }
        EXPECT_EQ(raised, "job 2");
        EXPECT_LE(begun, 6);
    }
}

TEST(SideBySideTest, CallerLooksWhileItWaitsAndMayEndIt) {
    std::atomic<bool> isStopped = false;
    std::atomic<int> begun = 0;
    const std::thread::id caller = std::this_thread::get_id();
    int looks = 0;
    EXPECT_THROW(karta::DoSideBySide(
                     2, 2,
                     [&](std::size_t /*i*/) {
                         ++begun;
                         while (!isStopped && std::this_thread::get_id() != caller) {
                             std::this_thread::sleep_for(std::chrono::milliseconds(1));
                         }
                         // The caller's own job lasts until the other one has begun.
                         while (!isStopped && begun < 2) {
                             std::this_thread::sleep_for(std::chrono::milliseconds(1));
                         }
                     },
                     [&] {
                         if (++looks == 2) {
                             isStopped = true;
                             throw std::logic_error("stopped");
                         }
                     }),
                 std::logic_error);
    EXPECT_EQ(looks, 2);
}
