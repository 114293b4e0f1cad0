#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "base/ExactPowers.h"

/**
 * A number of at most eight digits, and at most eight behind a point, of which is known where it may end and
 * where its point may stand: as PlainNumber has it, but with a third of the work, which is most of what a
 * text of numbers takes. All of it in the header: it runs once a cell.
 */
class MarkedNumber {
public:
    /** So many bytes in front of a number are looked at, too. */
    static constexpr std::ptrdiff_t BytesBefore = 8;

    /** Reads [at, end) with a point at `point`; false where it may be another number, or none. */
    bool ReadDecimal(const char* at, const char* point, const char* end);
    /** Reads [at, end) without a point. */
    bool ReadWhole(const char* at, const char* end);

    double GetValue() const { return value; }
    /** As FieldForm has them; 0 where the value would be written with the same characters. */
    std::uint8_t GetDecimals() const { return decimals; }

private:
    static constexpr std::int32_t ManyZeros = 100'000;
    // That many are half of what is looked at at once.
    static constexpr std::ptrdiff_t MostDigits = 8;

    // Which is none of a number, but for a single one: nobody foresees that, and so it is no branch.
    static bool BeginsWithZeros(const char* first, std::size_t whole) {
        return ((*first == '0' ? 1U : 0U) & (whole != 1 ? 1U : 0U)) != 0;
    }
    static double WithSign(double magnitude, bool isNegative) {
        return std::bit_cast<double>(std::bit_cast<std::uint64_t>(magnitude) |
                                     std::uint64_t{isNegative ? 1U : 0U} << 63U);
    }

#ifdef __SSE2__
    // The last so many of eight bytes.
    static constexpr std::array<std::uint64_t, MostDigits + 1> LastBytes = {0,
                                                                            0xff00'0000'0000'0000,
                                                                            0xffff'0000'0000'0000,
                                                                            0xffff'ff00'0000'0000,
                                                                            0xffff'ffff'0000'0000,
                                                                            0xffff'ffff'ff00'0000,
                                                                            0xffff'ffff'ffff'0000,
                                                                            0xffff'ffff'ffff'ff00,
                                                                            0xffff'ffff'ffff'ffff};

    static __m128i Load(const void* low) { return _mm_loadl_epi64(static_cast<const __m128i*>(low)); }
    static __m128i Load(const void* low, const void* high) {
        return _mm_castpd_si128(_mm_loadh_pd(_mm_castsi128_pd(Load(low)), static_cast<const double*>(high)));
    }
    static bool AreDigits(__m128i digits) {
        const __m128i others = _mm_cmpeq_epi8(_mm_max_epu8(digits, _mm_set1_epi8(10)), digits);
        return _mm_movemask_epi8(others) == 0;
    }
    // Of twice eight digits, their two numbers in the low half: added in pairs, then fours, then eights. A
    // pair is a word whose low byte counts tens: times ten and 1/256 its higher byte is their sum.
    static __m128i ToNumbers(__m128i digits) {
        const __m128i pairs = _mm_srli_epi16(_mm_mullo_epi16(digits, _mm_set1_epi16(10 * 256 + 1)), 8);
        const __m128i fours = _mm_madd_epi16(pairs, _mm_set1_epi32(0x0001'0064));
        return _mm_madd_epi16(_mm_packs_epi32(fours, fours), _mm_set1_epi32(0x0001'2710));
    }
#endif

    double value = 0;
    std::uint8_t decimals = 0;
};

inline bool MarkedNumber::ReadDecimal(const char* at, const char* point, const char* end) {
#ifdef __SSE2__
    const bool isNegative = *at == '-';
    const char* const first = at + (isNegative ? 1 : 0);
    const auto whole = static_cast<std::size_t>(point - first);
    const auto fraction = static_cast<std::size_t>(end - point - 1);
    if (whole - 1 >= MostDigits || fraction - 1 >= MostDigits || whole + fraction > MostExactDigits ||
        BeginsWithZeros(first, whole)) {
        return false;
    }
    const __m128i digits =
        _mm_and_si128(_mm_sub_epi8(Load(point - MostDigits, end - MostDigits), _mm_set1_epi8('0')),
                      Load(&LastBytes[whole], &LastBytes[fraction]));
    if (!AreDigits(digits)) {
        return false;
    }
    const __m128d both = _mm_cvtepi32_pd(ToNumbers(digits));
    const double scale = PowersOfTen[fraction];
    // Both parts are exact, and so is their sum.
    const double all = _mm_cvtsd_f64(both) * scale + _mm_cvtsd_f64(_mm_unpackhi_pd(both, both));
    value = WithSign(all / scale, isNegative);
    // What begins with 0.00 may be written with an exponent.
    const unsigned int isShort = (end[-1] != '0' ? 1U : 0U) & (all / scale >= 0.001 ? 1U : 0U);
    decimals = static_cast<std::uint8_t>((fraction + 1) & (isShort - 1));
    return true;
#else
    static_cast<void>(at);
    static_cast<void>(point);
    static_cast<void>(end);
    return false;
#endif
}

inline bool MarkedNumber::ReadWhole(const char* at, const char* end) {
#ifdef __SSE2__
    const bool isNegative = *at == '-';
    const char* const first = at + (isNegative ? 1 : 0);
    const auto whole = static_cast<std::size_t>(end - first);
    if (whole - 1 >= MostDigits || BeginsWithZeros(first, whole)) {
        return false;
    }
    const __m128i digits =
        _mm_and_si128(_mm_sub_epi8(Load(end - MostDigits), _mm_set1_epi8('0')), Load(&LastBytes[whole]));
    if (!AreDigits(digits)) {
        return false;
    }
    const std::int32_t number = _mm_cvtsi128_si32(ToNumbers(digits));
    value = WithSign(number, isNegative);
    decimals = 0;
    // Minus zero is written otherwise, and what has many zeros may be written with an exponent.
    return number != 0 ? whole < 6 || number % ManyZeros != 0 : !isNegative;
#else
    static_cast<void>(at);
    static_cast<void>(end);
    return false;
#endif
}
