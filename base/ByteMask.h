#pragma once

#include <cstddef>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

/** Looking at 64 bytes at once: a mask has a bit for each of them, the first one lowest. */
struct ByteMask {
    static constexpr std::size_t Width = 64;

#ifdef __SSE2__
    /** Whether that is faster than going from byte to byte. */
    static constexpr bool IsFast = true;

    static std::uint64_t Find(const char* block, char sought) {
        const __m128i wanted = _mm_set1_epi8(sought);
        return Gather(block, [&](__m128i bytes) { return _mm_cmpeq_epi8(bytes, wanted); });
    }
    /** Any of these. */
    template <class... Byte>
    static std::uint64_t FindAny(const char* block, Byte... sought) {
        return Gather(block, [&](__m128i bytes) {
            __m128i found = _mm_setzero_si128();
            ((found = _mm_or_si128(found, _mm_cmpeq_epi8(bytes, _mm_set1_epi8(sought)))), ...);
            return found;
        });
    }
    static std::uint64_t FindDigits(const char* block) {
        return Gather(block, [](__m128i bytes) {
            const __m128i above = _mm_sub_epi8(bytes, _mm_set1_epi8('0'));
            return _mm_cmpeq_epi8(_mm_min_epu8(above, _mm_set1_epi8(9)), above);
        });
    }

private:
    template <class Compare>
    static std::uint64_t Gather(const char* block, const Compare& compare) {
        constexpr std::size_t Step = sizeof(__m128i);
        std::uint64_t mask = 0;
        for (std::size_t i = 0; i < Width; i += Step) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + i));
            mask |= static_cast<std::uint64_t>(static_cast<std::uint32_t>(_mm_movemask_epi8(compare(bytes))))
                    << i;
        }
        return mask;
    }
#else
    static constexpr bool IsFast = false;

    static std::uint64_t Find(const char* block, char sought) {
        return Gather(block, [sought](char byte) { return byte == sought; });
    }
    template <class... Byte>
    static std::uint64_t FindAny(const char* block, Byte... sought) {
        return Gather(block, [&](char byte) { return ((byte == sought) || ...); });
    }
    static std::uint64_t FindDigits(const char* block) {
        return Gather(block, [](char byte) { return byte >= '0' && byte <= '9'; });
    }

private:
    template <class Test>
    static std::uint64_t Gather(const char* block, const Test& test) {
        std::uint64_t mask = 0;
        for (std::size_t i = 0; i < Width; ++i) {
            mask |= std::uint64_t{test(block[i])} << i;
        }
        return mask;
    }
#endif
};
