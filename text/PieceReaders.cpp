#include "text/PieceReaders.h"

#include <system_error>
#include <utility>

PieceReaders::PieceReaders(LineRules lineRules, unsigned int threads)
    // Each thread has a piece at hand and one to go on with; one is with the caller.
    : rules(std::move(lineRules)), slots(threads < 2 ? 1 : 2 * threads + 1) {
    workers.reserve(threads);
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

bool PieceReaders::HasRoom() {
    std::unique_lock lock(mutex);
    const Slot& slot = SlotAt(given);
    while (slot.state != State::Free && IsEmpty()) {
        if (!DoSomething(lock)) {
            changed.wait(lock);
        }
    }
    return slot.state == State::Free;
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
    while (slot.state != State::Read) {
        if (!DoSomething(lock)) {
            changed.wait(lock);
        }
    }
    ++taken;
    held = &slot;
    slot.state = State::Held;
    if (slot.failure) {
        std::rethrow_exception(slot.failure);
    }
    return slot.piece;
}

void PieceReaders::LetGo() {
    if (held == nullptr) {
        return;
    }
    {
        const std::lock_guard lock(mutex);
        held->state = held->copies.IsEmpty() ? State::Free : State::ToCopy;
        held = nullptr;
    }
    changed.notify_one();
}

void PieceReaders::Forget() {
    std::unique_lock lock(mutex);
    for (; taken < given; ++taken) {
        Slot& slot = SlotAt(taken);
        changed.wait(lock, [&slot] { return slot.state != State::AtRead; });
        slot.state = State::Free;
    }
}

// What is left of the piece at hand is copied at once: the sink waits for that.
void PieceReaders::FinishCopies() {
    if (held != nullptr) {
        held->copies.Do();
    }
    std::unique_lock lock(mutex);
    while (true) {
        if (Slot* const waiting = FindSlot(State::ToCopy)) {
            CopySlot(*waiting, lock);
        } else if (FindSlot(State::AtCopy) != nullptr) {
            changed.wait(lock);
        } else {
            return;
        }
    }
}

// The earliest one in this state.
PieceReaders::Slot* PieceReaders::FindSlot(State state) {
    const std::size_t first = given > slots.size() ? given - slots.size() : 0;
    for (std::size_t place = first; place < given; ++place) {
        if (SlotAt(place).state == state) {
            return &SlotAt(place);
        }
    }
    return nullptr;
}

// Copying goes first: it makes room for further pieces.
bool PieceReaders::DoSomething(std::unique_lock<std::mutex>& lock) {
    if (Slot* const copied = FindSlot(State::ToCopy)) {
        CopySlot(*copied, lock);
        return true;
    }
    if (Slot* const waiting = FindSlot(State::Waiting)) {
        ReadSlot(*waiting, lock);
        return true;
    }
    return false;
}

// Lets go of the lock while it reads.
void PieceReaders::ReadSlot(Slot& slot, std::unique_lock<std::mutex>& lock) {
    slot.state = State::AtRead;
    lock.unlock();
    std::exception_ptr failure;
    try {
        slot.piece.Read(slot.lines, rules);
    } catch (...) {
        failure = std::current_exception();
    }
    lock.lock();
    slot.failure = failure;
    slot.state = State::Read;
    changed.notify_all();
}

void PieceReaders::CopySlot(Slot& slot, std::unique_lock<std::mutex>& lock) {
    slot.state = State::AtCopy;
    lock.unlock();
    slot.copies.Do();
    lock.lock();
    slot.state = State::Free;
    changed.notify_all();
}

void PieceReaders::Work() {
    std::unique_lock lock(mutex);
    while (!isEnding) {
        if (!DoSomething(lock)) {
            changed.wait(lock);
        }
    }
}
