#include "text/FieldMarks.h"

#include <algorithm>
#include <bit>

#include "base/ByteMask.h"

namespace {

constexpr char Point = '.';
constexpr std::size_t AddedAtOnce = 4;
// Set where nothing else is, so that the processor's own instruction serves.
constexpr std::uint64_t LastBit = std::uint64_t{1} << 63U;

}  // namespace

void FieldMarks::Begin(std::string_view lines, char fieldDelimiter) {
    end = lines.data() + lines.size();
    delimiter = fieldDelimiter;
}

// What is looked at next is asked for: the look is faster than memory.
FieldMarks::Reading FieldMarks::Look(const char* at) {
    Reading reading;
    reading.base = at;
    count = 0;
    atOnce = AddedAtOnce;
    std::uint32_t place = 0;
    for (; place < Window && end - at >= static_cast<std::ptrdiff_t>(Block); place += Block, at += Block) {
        __builtin_prefetch(at + Window);
        Add(ByteMask::FindAny(at, delimiter, '\n', Point), place);
    }
    if (place < Window && at < end) {
        std::array<char, Block> last;
        std::fill(std::copy(at, end, last.begin()), last.end(), '0');
        Add(ByteMask::FindAny(last.data(), delimiter, '\n', Point), place);
    }
    reading.next = places.data();
    reading.end = places.data() + count;
    return reading;
}

// As many as the fullest block so far had, so that the loop takes as many turns as for the block before,
// which the processor foresees. What is too many is written over.
inline void FieldMarks::Add(std::uint64_t mask, std::uint32_t place) {
    const auto marks = static_cast<std::size_t>(std::popcount(mask));
    while (atOnce < marks) {
        atOnce += AddedAtOnce;
    }
    std::uint32_t* const to = places.data() + count;
    for (std::size_t i = 0; i < atOnce; i += AddedAtOnce) {
        for (std::size_t j = i; j < i + AddedAtOnce; ++j) {
            to[j] = place + static_cast<std::uint32_t>(std::countr_zero(mask | LastBit));
            mask &= mask - 1;
        }
    }
    count += marks;
}
