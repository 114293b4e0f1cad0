#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "container/MatArray.h"
#include "container/MatElementStream.h"

/**
 * Numbers of one type that stand one behind the other in a stream. Converted as they are read; what is stored
 * as a whole number of 64 bits is only read without loss as such.
 */
class MatNumbers {
public:
    MatNumbers() = default;
    /** The stream stays the caller's. `swapped` where the numbers aren't little-endian. */
    MatNumbers(MatElementStream& source, std::uint32_t storedType, std::uint64_t numberCount, bool swapped)
        : stream(&source), type(storedType), count(numberCount), swap(swapped) {}

    std::uint32_t GetType() const { return type; }
    /** How many there are, as their element says. */
    std::uint64_t GetCount() const { return count; }

    /** The next numbers; false when the stream ends before. */
    bool Read(std::span<double> target);
    bool Read(std::span<float> target);
    bool Read(std::span<std::int64_t> target);
    bool Read(std::span<std::uint64_t> target);

    /**
     * The next numbers as they lie in the file, for as long as its bytes are there. None, and none passed
     * over, where they are of another type there, in another order, compressed, or fewer.
     */
    template <class Number>
    std::span<const Number> Take(std::size_t numberCount);
    /** The same as bytes, which may begin anywhere. */
    template <class Number>
    std::span<const std::uint8_t> TakeBytes(std::size_t numberCount, std::size_t alignment = 1);

private:
    template <class Target>
    bool ReadAs(std::span<Target> target);
    template <class Stored, class Target>
    bool Convert(std::span<Target> target);

    MatElementStream* stream = nullptr;
    std::uint32_t type = 0;
    std::uint64_t count = 0;
    bool swap = false;
    std::vector<std::uint8_t> piece;
};
