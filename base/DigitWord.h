#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

/** Decimal digits in the bytes of a word, the first one lowest. */
struct DigitWord {
    /** What makes eight of them characters. */
    static constexpr std::uint64_t Zeros = 0x3030303030303030;

    /** The eight digits of a number below 10^8: it is parted into fours, pairs and digits, all of each at
     * once.
     */
    static std::uint64_t Part(std::uint32_t number) {
        const std::uint64_t fours = number / 10'000 | std::uint64_t{number % 10'000} << 32U;
        const std::uint64_t hundreds = (fours * 10'486 >> 20U) & 0x7f0000007fU;
        const std::uint64_t pairs = hundreds | (fours - hundreds * 100) << 16U;
        const std::uint64_t tens = (pairs * 103 >> 10U) & 0x000f000f000f000fU;
        return tens | (pairs - tens * 10) << 8U;
    }

    /** The same of two numbers, in two words. */
    static void Part(std::uint32_t first, std::uint32_t second, std::uint64_t& digits,
                     std::uint64_t& behind) {
#ifdef __SSE2__
        const __m128i both = _mm_set_epi64x(second, first);
        const __m128i upper = _mm_srli_epi64(_mm_mul_epu32(both, _mm_set1_epi64x(0xd1b71759)), 45);
        const __m128i lower = _mm_sub_epi32(both, _mm_mul_epu32(upper, _mm_set1_epi64x(10'000)));
        const __m128i fours = _mm_or_si128(upper, _mm_slli_epi64(lower, 32));
        const __m128i hundreds = _mm_srli_epi16(_mm_mulhi_epu16(fours, _mm_set1_epi16(5243)), 3);
        const __m128i rest = _mm_sub_epi16(fours, _mm_mullo_epi16(hundreds, _mm_set1_epi16(100)));
        const __m128i pairs = _mm_or_si128(hundreds, _mm_slli_epi32(rest, 16));
        const __m128i tens = _mm_mulhi_epu16(pairs, _mm_set1_epi16(6554));
        const __m128i ones = _mm_sub_epi16(pairs, _mm_mullo_epi16(tens, _mm_set1_epi16(10)));
        const __m128i all = _mm_or_si128(tens, _mm_slli_epi16(ones, 8));
        digits = static_cast<std::uint64_t>(_mm_cvtsi128_si64(all));
        behind = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(all, all)));
#else
        digits = Part(first);
        behind = Part(second);
#endif
    }

    /** Stores all bytes, the lowest first; returns `text`. */
    static char* Store(std::uint64_t word, char* text) {
        if constexpr (std::endian::native == std::endian::little) {
            std::memcpy(text, &word, sizeof word);
        } else {
            for (std::size_t i = 0; i < sizeof word; ++i) {
                text[i] = static_cast<char>(word >> (8 * i));
            }
        }
        return text;
    }
};
