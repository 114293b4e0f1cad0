#include "base/SideBySide.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <limits>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace karta {

namespace {

constexpr std::chrono::milliseconds BetweenLooks{20};

/** What the threads share. */
class Jobs {
public:
    Jobs(std::size_t jobCount, const std::function<void(std::size_t)>& oneJob)
        : count(jobCount), job(oneJob) {}

    /** Until no job is left to begin. */
    void Work() {
        std::unique_lock lock(mutex);
        ++working;
        while (next < count) {
            const std::size_t number = next++;
            lock.unlock();
            std::exception_ptr raised;
            try {
                job(number);
            } catch (...) {
                raised = std::current_exception();
            }
            lock.lock();
            if (raised && number < failedNumber) {
                failedNumber = number;
                failure = raised;
            }
            next = failure ? count : next;
        }
        --working;
        changed.notify_all();
    }

    void WaitForOthers(const std::function<void()>& look) {
        std::unique_lock lock(mutex);
        while (!changed.wait_for(lock, BetweenLooks, [this] { return working == 0; })) {
            lock.unlock();
            look();
            lock.lock();
        }
    }

    void BeginNoMore() {
        const std::lock_guard lock(mutex);
        next = count;
    }

    /** When nobody is at work. */
    void RaiseFailure() const {
        if (failure) {
            std::rethrow_exception(failure);
        }
    }

private:
    const std::size_t count;
    const std::function<void(std::size_t)>& job;
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t next = 0;
    unsigned int working = 0;
    std::size_t failedNumber = std::numeric_limits<std::size_t>::max();
    std::exception_ptr failure;
};

/** Threads that are waited for, whatever happens. */
class Helpers {
public:
    Helpers(Jobs& theirJobs, unsigned int wanted) : jobs(theirJobs) {
        threads.reserve(wanted);
        try {
            for (unsigned int i = 0; i < wanted; ++i) {
                threads.emplace_back([this] { jobs.Work(); });
            }
        } catch (const std::system_error&) {
            // Where no more threads are to be had, those that are there do it.
        }
    }
    Helpers(const Helpers&) = delete;
    Helpers& operator=(const Helpers&) = delete;
    ~Helpers() {
        jobs.BeginNoMore();
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

private:
    Jobs& jobs;
    std::vector<std::thread> threads;
};

}  // namespace

void DoSideBySide(std::size_t count, unsigned int threads, const std::function<void(std::size_t)>& job,
                  const std::function<void()>& look) {
    Jobs jobs(count, job);
    {
        const Helpers helpers(jobs, threads > 1 && count > 1 ? threads - 1 : 0);
        jobs.Work();
        jobs.WaitForOthers(look);
    }
    jobs.RaiseFailure();
}

}  // namespace karta
