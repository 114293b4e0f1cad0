#include "tests/wear/StoppedThread.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <thread>

namespace {

double SecondsOf(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    constexpr double Nanosecond = 1e-9;
    return static_cast<double>(time.tv_sec) + Nanosecond * static_cast<double>(time.tv_nsec);
}

}  // namespace

int CountMoments() {
    return std::getenv("KARTA_WEAR_WHOLE") == nullptr ? 8 : 100;
}

double SecondsOfThisThread() {
    return SecondsOf(CLOCK_THREAD_CPUTIME_ID);
}

StoppedStep RunAndStop(const std::function<bool(std::stop_token)>& step, double stopAfter) {
    StoppedStep outcome;
    std::stop_source source;
    std::atomic<bool> hasEnded = false;
    std::atomic<bool> mayGo = false;
    std::thread thread([&] {
        outcome.wasStopped = step(source.get_token());
        outcome.ended = SecondsOfThisThread();
        hasEnded = true;
        // The thread's clock is looked at until it is told to go.
        mayGo.wait(false);
    });
    clockid_t clock{};
    EXPECT_EQ(pthread_getcpuclockid(thread.native_handle(), &clock), 0);
    while (!hasEnded && SecondsOf(clock) < stopAfter) {
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    outcome.asked = SecondsOf(clock);
    source.request_stop();
    mayGo = true;
    mayGo.notify_all();
    thread.join();
    return outcome;
}
