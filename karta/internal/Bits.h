#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace karta {

// Bits in a row, the lowest of a byte first.

inline bool GetBit(const std::uint8_t* bits, std::int64_t place) {
    return (bits[place >> 3] >> (place & 7) & 1) != 0;
}

inline void SetBit(std::uint8_t* bits, std::int64_t place) {
    bits[place >> 3] = static_cast<std::uint8_t>(bits[place >> 3] | 1U << (place & 7));
}

inline void ClearBit(std::uint8_t* bits, std::int64_t place) {
    bits[place >> 3] = static_cast<std::uint8_t>(bits[place >> 3] & ~(1U << (place & 7)));
}

inline std::size_t BytesOfBits(std::int64_t count) {
    return static_cast<std::size_t>((count + 7) / 8);
}

/** How many of `count` bits from `first` on are set. */
inline std::int64_t CountBits(const std::uint8_t* bits, std::int64_t first, std::int64_t count) {
    std::int64_t set = 0;
    const std::int64_t end = first + count;
    while (first < end && (first & 7) != 0) {
        set += GetBit(bits, first++) ? 1 : 0;
    }
    for (; first + 8 <= end; first += 8) {
        set += std::popcount(bits[first >> 3]);
    }
    while (first < end) {
        set += GetBit(bits, first++) ? 1 : 0;
    }
    return set;
}

inline void SetBits(std::uint8_t* bits, int first, int count) {
    for (; count > 0 && (first & 7) != 0; ++first, --count) {
        SetBit(bits, first);
    }
    std::memset(bits + first / 8, 0xff, static_cast<std::size_t>(count / 8));
    first += count / 8 * 8;
    for (count %= 8; count > 0; ++first, --count) {
        SetBit(bits, first);
    }
}

}  // namespace karta
