#pragma once

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

#include "text/LinePiece.h"

/**
 * Reads pieces of a text on several threads and hands them out in the order in which they were given, so that
 * what comes of them doesn't depend on the threads. Whoever waits for a piece reads others meanwhile.
 */
class PieceReaders {
public:
    /** `threads` counts the caller's; 1: it reads everything itself. */
    PieceReaders(LineRules lineRules, unsigned int threads);
    PieceReaders(const PieceReaders&) = delete;
    PieceReaders& operator=(const PieceReaders&) = delete;
    ~PieceReaders();

    bool IsFull() const { return given - taken == slots.size(); }
    bool IsEmpty() const { return given == taken; }
    /** Not while it is full. */
    void Give(std::string_view lines);
    /** The next piece, until Take is called again or anything is given; raises what its reading raised. */
    const LinePiece& Take();
    /** Of what was given nothing more is wanted; what is being read is waited for. */
    void Forget();

private:
    enum class State { Waiting, Read, Done };
    struct Slot {
        std::string_view lines;
        LinePiece piece;
        State state = State::Done;
        std::exception_ptr failure;
    };

    Slot& SlotAt(std::size_t place) { return slots[place % slots.size()]; }
    Slot* FindWaiting();
    void ReadSlot(Slot& slot, std::unique_lock<std::mutex>& lock);
    void Work();

    const LineRules rules;
    std::vector<Slot> slots;
    std::size_t given = 0;  // pieces so far, and of these the ones that were handed out
    std::size_t taken = 0;
    std::mutex mutex;
    std::condition_variable changed;
    bool isEnding = false;
    std::vector<std::thread> workers;
};
