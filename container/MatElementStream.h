#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "base/Budget.h"

struct z_stream_s;
class FastInflate;

/**
 * The bytes of a MAT-file's data element from front to end, whether they lie in the file or come out of a
 * compressed element. Positions are those that alignment counts with.
 */
class MatElementStream {
public:
    virtual ~MatElementStream();

    /** Up to `size` bytes; fewer only where the element ends or can't be inflated. */
    std::size_t Read(std::uint8_t* target, std::size_t size);
    /** The next bytes, at most eight, without going on; fewer where the element ends. */
    std::size_t Peek(std::uint8_t* target, std::size_t size);
    /**
     * The next `size` bytes as they lie in memory, passed over. None, and none passed over, where they don't
     * lie there, are fewer, or don't begin at a multiple of `alignment`.
     */
    std::span<const std::uint8_t> Take(std::size_t size, std::size_t alignment);
    /** All `size` bytes, kept in `bytes`, which grows as they arrive; false when fewer came. */
    bool ReadAll(std::vector<std::uint8_t>& bytes, std::uint64_t size);
    /** Moves forward to the next multiple; the end may come first. */
    void Align(std::uint64_t multiple);
    /** Passes over `size` bytes; false when the end comes first. */
    bool Skip(std::uint64_t size);
    std::uint64_t Tell() const { return position; }

    /** Back to the first byte. */
    void Rewind();
    /** False when what follows is damaged, as far as a check value can tell. */
    virtual bool IsSoundToTheEnd() = 0;

protected:
    explicit MatElementStream(std::uint64_t firstPosition) : start(firstPosition), position(firstPosition) {}

    virtual std::size_t Fill(std::uint8_t* target, std::size_t size) = 0;
    /** The bytes that Fill would hand out next and that lie in memory anyway. */
    virtual std::span<const std::uint8_t> GetRest() const { return {}; }
    /** Passes over bytes; how many there were. */
    virtual std::uint64_t Drop(std::uint64_t size) = 0;
    virtual void Restart() = 0;

private:
    std::size_t TakeAhead(std::uint8_t* target, std::size_t size);

    std::uint64_t start;
    std::uint64_t position;
    std::array<std::uint8_t, 8> ahead{};  // filled but not yet read
    std::size_t aheadCount = 0;
};

/** An element as it lies in the file. */
class MatPlainStream : public MatElementStream {
public:
    /** The bytes stay the caller's and must outlive the stream. */
    MatPlainStream(std::span<const std::uint8_t> bytes, std::uint64_t firstPosition)
        : MatElementStream(firstPosition), all(bytes), rest(bytes) {}

    bool IsSoundToTheEnd() override { return true; }

private:
    std::size_t Fill(std::uint8_t* target, std::size_t size) override;
    std::span<const std::uint8_t> GetRest() const override { return rest; }
    std::uint64_t Drop(std::uint64_t size) override;
    void Restart() override { rest = all; }

    std::span<const std::uint8_t> all;
    std::span<const std::uint8_t> rest;
};

/**
 * The content of a compressed element, inflated as it is asked for and up to a bound: by the fast library
 * while the bytes are sound, and by zlib, which tells how far damaged ones go, from then on.
 */
class MatInflatingStream : public MatElementStream {
public:
    /** The payload and the budget stay the caller's and must outlive the stream. */
    MatInflatingStream(std::span<const std::uint8_t> payload, std::uint64_t bound, karta::Budget& readBudget);
    ~MatInflatingStream() override;

    /** Inflates the rest, up to the bound, and drops it. */
    bool IsSoundToTheEnd() override;

private:
    std::size_t Fill(std::uint8_t* target, std::size_t size) override;
    std::uint64_t Drop(std::uint64_t size) override;
    void Restart() override;
    std::size_t Inflate(std::uint8_t* target, std::size_t size);
    std::size_t InflateFast(std::uint8_t* target, std::size_t size);
    void CatchUp();

    std::span<const std::uint8_t> all;
    std::uint64_t limit;
    karta::Budget& budget;
    std::uint64_t left;                 // of the bound
    std::unique_ptr<FastInflate> fast;  // null once it has given up
    std::unique_ptr<z_stream_s> inflater;
    bool failed = false;
    bool finished = false;
};
