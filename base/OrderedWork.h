#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace karta {

/**
 * Does jobs in several threads and hands out their results in the order of the jobs. No more are done ahead
 * than the threads can be kept busy with. A job must not raise anything.
 */
template <class Result>
class OrderedWork {
public:
    OrderedWork(std::size_t jobCount, unsigned threadCount, std::function<Result(std::size_t)> work)
        : jobs(jobCount), job(std::move(work)), window(std::size_t{threadCount} * JobsAhead) {
        try {
            for (unsigned i = 0; i < threadCount; ++i) {
                threads.emplace_back([this] { Work(); });
            }
        } catch (const std::system_error&) {
            // Where no more threads are to be had, those that are there do it, or else who waits for it.
        }
    }
    OrderedWork(const OrderedWork&) = delete;
    OrderedWork& operator=(const OrderedWork&) = delete;
    /** Waits for the jobs that have begun; no other one begins. */
    ~OrderedWork() {
        {
            const std::lock_guard lock(mutex);
            isOver = true;
        }
        hasRoom.notify_all();
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    /** Of the next job; to be asked for as often as there are jobs. */
    Result Take() {
        if (threads.empty()) {
            return job(taken++);
        }
        std::unique_lock lock(mutex);
        isDone.wait(lock, [this] { return done.contains(taken); });
        Result result = std::move(done.at(taken));
        done.erase(taken++);
        lock.unlock();
        hasRoom.notify_one();
        return result;
    }

private:
    static constexpr std::size_t JobsAhead = 4;

    void Work() {
        for (;;) {
            std::unique_lock lock(mutex);
            hasRoom.wait(lock, [this] { return isOver || next == jobs || next < taken + window; });
            if (isOver || next == jobs) {
                return;
            }
            const std::size_t number = next++;
            lock.unlock();
            Result result = job(number);
            lock.lock();
            done.emplace(number, std::move(result));
            const bool isNext = number == taken;
            lock.unlock();
            // Of thousands of small jobs, waking threads in vain would be much of the work.
            if (isNext) {
                isDone.notify_one();
            }
        }
    }

    std::size_t jobs;
    std::function<Result(std::size_t)> job;
    std::size_t window;
    std::mutex mutex;
    std::condition_variable isDone;   // the next job to be taken is
    std::condition_variable hasRoom;  // for one more ahead
    std::map<std::size_t, Result> done;
    std::size_t next = 0;
    std::size_t taken = 0;
    bool isOver = false;
    std::vector<std::thread> threads;
};

/** How many threads do so many jobs: as many as are wanted, 0 for one a core; one at least, and no more
 * than jobs. */
inline unsigned ChooseThreadCount(unsigned wanted, std::size_t jobs) {
    const unsigned cores = std::thread::hardware_concurrency();
    const std::size_t most = jobs == 0 ? 1 : jobs;
    const unsigned count = wanted != 0 ? wanted : cores == 0 ? 1 : cores;
    return count < most ? count : static_cast<unsigned>(most);
}

}  // namespace karta
