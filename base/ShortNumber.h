#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/ExactPowers.h"

// Numbers of a few characters, as most in files are, taken without a branch for each character.

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

/** The number of the first `size` bytes of a word, one to eight that are digits with at most a point. */
inline bool ParseWord(std::uint64_t word, std::size_t size, double& value) {
    const std::uint64_t points = ByteWord::Find(word, '.');
    const auto whole = points != 0 ? static_cast<std::size_t>(std::countr_zero(points)) / 8 : sizeof word;
    const bool hasPoint = whole < size;
    const std::size_t count = size - (hasPoint ? 1 : 0);
    if (count == 0) {
        return false;
    }
    const std::size_t before = hasPoint ? whole : size;
    const std::uint64_t below = before == 8 ? ~std::uint64_t{0} : (std::uint64_t{1} << (8 * before)) - 1;
    std::uint64_t digits = hasPoint ? (word & below) | ((word >> 8U) & ~below) : word;
    // To the upper end, so that what isn't there counts as leading zeros.
    digits = (digits ^ (0x30 * ByteWord::Ones)) << (8 * (8 - count));
    if ((((digits + 0x76 * ByteWord::Ones) | digits) & ByteWord::HighBits) != 0) {
        return false;
    }
    value = static_cast<double>(ByteWord::ToNumber(digits)) / PowersOfTen[count - before];
    return true;
}

/**
 * The field at `at`, where it is a short plain number (digits with at most a point, perhaps a minus) and a
 * delimiter stands behind it before `end`: where that is. Null, and nothing said, of any other field.
 */
inline const char* TakeShortNumber(const char* at, const char* end, char delimiter, double& value) {
    if (!ByteWord::IsUsable || end - at < 9) {
        return nullptr;
    }
    const bool isNegative = *at == '-';
    at += isNegative ? 1 : 0;
    const std::uint64_t word = ByteWord::Load(at);
    const std::uint64_t found = ByteWord::Find(word, delimiter);
    const auto size = static_cast<std::size_t>(std::countr_zero(found)) / 8;
    if (found == 0 || size == 0 || !ParseWord(word, size, value)) {
        return nullptr;
    }
    value = isNegative ? -value : value;
    return at + size;
}

/**
 * Up to seven digits at `at` put behind those of `number`; what stands behind them. Null where there may be
 * more of them.
 */
inline const char* TakeShortDigits(const char* at, const char* end, std::uint64_t& number) {
    static constexpr std::uint64_t Powers[] = {1, 10, 100, 1000, 10'000, 100'000, 1'000'000, 10'000'000};
    if (!ByteWord::IsUsable || end - at < 8) {
        return nullptr;
    }
    const std::uint64_t word = ByteWord::Load(at);
    const std::uint64_t behind = ByteWord::FindNoDigit(word);
    if (behind == 0) {
        return nullptr;
    }
    const auto count = static_cast<unsigned int>(std::countr_zero(behind)) / 8;
    const std::uint64_t digits = ((word ^ (0x30 * ByteWord::Ones)) << 8U) << (56 - 8 * count);
    number = number * Powers[count] + ByteWord::ToNumber(digits);
    return at + count;
}
