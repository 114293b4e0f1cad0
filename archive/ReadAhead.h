#pragma once

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

/**
 * Reads a few blocks ahead in a thread of its own, so that what makes the bytes and what takes them run at
 * the same time. The blocks are the same as without it, in their order.
 */
class ReadAhead {
public:
    /** Fills a block and returns how much of it; 0 ends. Called by the other thread only. */
    using Fill = std::function<std::size_t(std::span<char> block)>;

    /** Raises std::system_error where no thread is to be had. */
    explicit ReadAhead(Fill fillBlock);
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;
    /** Waits for the block that is being filled. */
    ~ReadAhead();

    /** Whether a second thread is of use on this machine. */
    static bool IsWorthwhile();

    /** The next block, valid until the next call; empty at the end. Raises what filling it has raised. */
    std::span<char> Next();

    static constexpr std::size_t BlockSize = std::size_t{1} << 17;

private:
    static constexpr std::size_t BlockCount = 4;
    struct Block {
        std::vector<char> bytes;
        std::size_t size = 0;
    };

    void Run();

    Fill fill;
    std::vector<Block> blocks;
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t filled = 0;  // blocks, counted from the first
    std::size_t taken = 0;
    bool isEnded = false;  // by the other thread
    bool isUnwanted = false;
    std::exception_ptr failure;
    std::thread thread;
};
