#pragma once

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

#include "frame/RunCopying.h"
#include "text/LinePiece.h"

/**
 * Reads pieces of a text on several threads and hands them out in the order in which they were given, so that
 * what comes of them doesn't depend on the threads. What a sink leaves to be copied of a piece is copied by
 * any of them, too. Whoever waits for a piece does such work meanwhile.
 */
class PieceReaders : public RunCopying {
public:
    /** `threads` counts the caller's; 1: it does everything itself. */
    PieceReaders(LineRules lineRules, unsigned int threads);
    PieceReaders(const PieceReaders&) = delete;
    PieceReaders& operator=(const PieceReaders&) = delete;
    ~PieceReaders() override;

    bool HasOthers() const { return !workers.empty(); }
    /** Of what was given nothing is to be taken. */
    bool IsEmpty() const { return given == taken; }
    /** Whether a piece can be given; where there is none to take, it waits until that is so. */
    bool HasRoom();
    /** Where there is room. */
    void Give(std::string_view lines);
    /** The next piece, until it is let go of; raises what its reading raised. */
    const LinePiece& Take();
    /** The piece that was taken isn't looked at any more, but by who copies what is left of it. */
    void LetGo();
    /** Of what was given nothing more is wanted; what is being read is waited for. */
    void Forget();

    /** Of the piece that was taken. */
    RunCopies& GetCopies() override { return held->copies; }
    void FinishCopies() override;

private:
    enum class State { Free, Waiting, AtRead, Read, Held, ToCopy, AtCopy };
    struct Slot {
        std::string_view lines;
        LinePiece piece;
        State state = State::Free;
        std::exception_ptr failure;
        RunCopies copies;
    };

    Slot& SlotAt(std::size_t place) { return slots[place % slots.size()]; }
    Slot* FindSlot(State state);
    bool DoSomething(std::unique_lock<std::mutex>& lock);
    void ReadSlot(Slot& slot, std::unique_lock<std::mutex>& lock);
    void CopySlot(Slot& slot, std::unique_lock<std::mutex>& lock);
    void Work();

    const LineRules rules;
    std::vector<Slot> slots;
    std::size_t given = 0;  // pieces so far, and of these the ones that were handed out
    std::size_t taken = 0;
    Slot* held = nullptr;
    std::mutex mutex;
    std::condition_variable changed;
    bool isEnding = false;
    std::vector<std::thread> workers;
};
