#include "text/PieceReaders.h"

#include <system_error>
#include <utility>

PieceReaders::PieceReaders(LineRules lineRules, unsigned int threads)
    // Each thread has a piece at hand and one to go on with; one is with the caller.
    : rules(std::move(lineRules)), slots(threads < 2 ? 1 : 2 * threads + 1) {
    try {
        for (unsigned int i = 1; i < threads; ++i) {
            workers.emplace_back([this] { Work(); });
        }
    } catch (const std::system_error&) {
        // Where no more threads are to be had, those that are there do it.
    }
}

PieceReaders::~PieceReaders() {
    {
        const std::lock_guard lock(mutex);
        isEnding = true;
    }
    changed.notify_all();
    for (std::thread& worker : workers) {
        worker.join();
    }
}

void PieceReaders::Give(std::string_view lines) {
    {
        const std::lock_guard lock(mutex);
        Slot& slot = SlotAt(given++);
        slot.lines = lines;
        slot.state = State::Waiting;
        slot.failure = nullptr;
    }
    changed.notify_one();
}

const LinePiece& PieceReaders::Take() {
    std::unique_lock lock(mutex);
    Slot& slot = SlotAt(taken);
    while (slot.state != State::Done) {
        if (Slot* waiting = FindWaiting()) {
            ReadSlot(*waiting, lock);
        } else {
            changed.wait(lock);
        }
    }
    ++taken;
    if (slot.failure) {
        std::rethrow_exception(slot.failure);
    }
    return slot.piece;
}

void PieceReaders::Forget() {
    std::unique_lock lock(mutex);
    for (; taken < given; ++taken) {
        Slot& slot = SlotAt(taken);
        slot.state = slot.state == State::Waiting ? State::Done : slot.state;
        changed.wait(lock, [&slot] { return slot.state == State::Done; });
    }
}

// The earliest piece that nobody reads yet.
PieceReaders::Slot* PieceReaders::FindWaiting() {
    for (std::size_t place = taken; place < given; ++place) {
        if (SlotAt(place).state == State::Waiting) {
            return &SlotAt(place);
        }
    }
    return nullptr;
}

// Lets go of the lock while it reads.
void PieceReaders::ReadSlot(Slot& slot, std::unique_lock<std::mutex>& lock) {
    slot.state = State::Read;
    lock.unlock();
    std::exception_ptr failure;
    try {
        slot.piece.Read(slot.lines, rules);
    } catch (...) {
        failure = std::current_exception();
    }
    lock.lock();
    slot.failure = failure;
    slot.state = State::Done;
    changed.notify_all();
}

void PieceReaders::Work() {
    std::unique_lock lock(mutex);
    while (!isEnding) {
        if (Slot* waiting = FindWaiting()) {
            ReadSlot(*waiting, lock);
        } else {
            changed.wait(lock);
        }
    }
}
