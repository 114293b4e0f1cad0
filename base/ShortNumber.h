#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "base/ByteWord.h"
#include "base/ExactPowers.h"

// Numbers of a few characters, as most in files are, taken without a branch for each character.

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
