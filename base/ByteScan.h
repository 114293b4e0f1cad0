#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "base/ByteWord.h"

// Looking for bytes in text that is mostly short: eight or sixteen at a time and without a call, which for
// cells of ten characters is faster than the C library's functions.

/** The first byte in [begin, end) that is one of these, or `end`. */
template <class Char, class... Byte>  // char, or const char
Char* FindByte(Char* begin, Char* end, Byte... bytes) {
#ifdef __SSE2__
    while (end - begin >= 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(begin));
        __m128i found = _mm_setzero_si128();
        ((found = _mm_or_si128(found, _mm_cmpeq_epi8(block, _mm_set1_epi8(bytes)))), ...);
        const auto places = static_cast<unsigned int>(_mm_movemask_epi8(found));
        if (places != 0) {
            return begin + std::countr_zero(places);
        }
        begin += 16;
    }
#endif
    if constexpr (ByteWord::IsUsable) {
        while (end - begin >= 8) {
            const std::uint64_t word = ByteWord::Load(begin);
            const std::uint64_t found = (ByteWord::Find(word, bytes) | ...);
            if (found != 0) {
                return begin + std::countr_zero(found) / 8;
            }
            begin += 8;
        }
    }
    while (begin != end && ((*begin != bytes) && ...)) {
        ++begin;
    }
    return begin;
}

/** How many times `byte` stands in [begin, end). */
inline std::size_t CountByte(const char* begin, const char* end, char byte) {
    std::size_t count = 0;
    while (begin != end) {
        // Runs short enough for a sum in single bytes, which the compiler turns into wide instructions.
        const std::ptrdiff_t run = end - begin < 255 ? end - begin : 255;
        std::uint8_t sum = 0;
        for (std::ptrdiff_t i = 0; i < run; ++i) {
            sum = static_cast<std::uint8_t>(sum + (begin[i] == byte ? 1 : 0));
        }
        count += sum;
        begin += run;
    }
    return count;
}
