#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

/** Eight bytes at once, the first one lowest. */
struct ByteWord {
    static constexpr std::uint64_t Ones = 0x0101010101010101U;
    static constexpr std::uint64_t HighBits = 0x8080808080808080U;

    /** Only where the machine has that order. */
    static constexpr bool IsUsable = std::endian::native == std::endian::little;

    static std::uint64_t Load(const char* from) {
        std::uint64_t word = 0;
        std::memcpy(&word, from, sizeof word);
        return word;
    }
    /** The lowest high bit stands over the first byte that is `sought`; 0 where there is none. */
    static std::uint64_t Find(std::uint64_t word, char sought) {
        const std::uint64_t differences = word ^ (Ones * static_cast<unsigned char>(sought));
        return (differences - Ones) & ~differences & HighBits;
    }
    /** The same of the first byte that is no digit. */
    static std::uint64_t FindNoDigit(std::uint64_t word) {
        const std::uint64_t digits = word ^ (0x30 * Ones);
        return ((digits + 0x76 * Ones) | digits) & HighBits;
    }
    /** Of eight digits as `word ^ 0x30...`, their number. */
    static std::uint64_t ToNumber(std::uint64_t digits) {
        digits = (digits * 10) + (digits >> 8U);
        return (((digits & 0x000000ff000000ffU) * 0x000f424000000064U) +
                (((digits >> 16U) & 0x000000ff000000ffU) * 0x0000271000000001U)) >>
               32U;
    }
};
