#include "archive/ReadAhead.h"

#include <csignal>
#include <utility>

ReadAhead::ReadAhead(Fill fillBlock) : fill(std::move(fillBlock)), blocks(BlockCount) {
    for (Block& block : blocks) {
        block.bytes.resize(BlockSize);
    }
    // Signals are for the program's own threads.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        thread = std::thread([this] { Run(); });
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

ReadAhead::~ReadAhead() {
    {
        const std::lock_guard lock(mutex);
        isUnwanted = true;
    }
    changed.notify_all();
    thread.join();
}

bool ReadAhead::IsWorthwhile() {
    return std::thread::hardware_concurrency() > 1;
}

void ReadAhead::Run() {
    std::size_t place = 0;
    std::unique_lock lock(mutex);
    while (true) {
        // The block that the reader has in hand isn't free.
        changed.wait(lock, [&] { return isUnwanted || place < taken + BlockCount - 1; });
        if (isUnwanted) {
            return;
        }
        Block& block = blocks[place % BlockCount];
        lock.unlock();
        std::exception_ptr raised;
        try {
            block.size = fill(block.bytes);
        } catch (...) {
            raised = std::current_exception();
        }
        lock.lock();
        failure = raised;
        isEnded = raised != nullptr || block.size == 0;
        if (!isEnded) {
            filled = ++place;
        }
        changed.notify_all();
        if (isEnded) {
            return;
        }
    }
}

std::span<char> ReadAhead::Next() {
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return taken < filled || isEnded; });
    if (taken == filled) {
        if (failure != nullptr) {
            std::rethrow_exception(failure);
        }
        return {};
    }
    Block& block = blocks[taken % BlockCount];
    ++taken;
    changed.notify_all();
    return std::span(block.bytes).first(block.size);
}
