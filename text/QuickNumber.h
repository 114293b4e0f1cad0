#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "base/ByteWord.h"
#include "base/ExactPowers.h"
#include "text/FieldForm.h"

/**
 * A number of at most eight digits, and at most eight behind a point, of no more than fifteen characters, at
 * the front of a text: as PlainNumber has it, but with half the work, which is most of what a text of numbers
 * takes. All of it in the header: it runs once a cell.
 */
class QuickNumber {
public:
    /** So many bytes from the front on are looked at. */
    static constexpr std::ptrdiff_t BytesLookedAt = 18;

    /** False where it may be another number, or none. */
    bool Find(const char* at);

    /** Behind it. */
    const char* GetEnd() const { return end; }
    /** Whether its form is one of FieldForm's by its digits alone. */
    bool HasForm() const { return *first != '0' || whole == 1; }
    /** Of the form. */
    std::uint32_t GetBits() const {
        if (!hasPoint) {
            return FieldForm::Integer;
        }
        const bool mayPartGroups = fraction == GroupSize && whole <= GroupSize && *first != '0';
        return mayPartGroups ? FieldForm::PointOrGroup : FieldForm::Point;
    }
    /** The value; false where it would be written otherwise in a way that `decimals` doesn't tell, as
     * FieldForm has them. */
    bool GetValue(double& value, std::uint8_t& decimals) const;

private:
    static constexpr int GroupSize = 3;
    static constexpr std::uint64_t ManyZeros = 100'000;
    // That many are a word.
    static constexpr int MostDigits = 8;
    static constexpr std::array<std::uint64_t, 9> Scales = {
        1, 10, 100, 1000, 10'000, 100'000, 1'000'000, 10'000'000, 100'000'000};

    // Of so many digits.
    static std::uint64_t ToNumber(const char* at, int count) {
        const std::uint64_t word = ByteWord::Load(at) ^ (0x30 * ByteWord::Ones);
        return ByteWord::ToNumber(word << (64 - 8 * count));
    }

    const char* first = nullptr;
    const char* end = nullptr;
    bool isNegative = false;
    bool hasPoint = false;
    int whole = 0;     // digits before the point
    int fraction = 0;  // and behind it
};

// All that is no digit in one look, so that where the next field begins is known before this one's value is.
inline bool QuickNumber::Find(const char* at) {
#ifdef __SSE2__
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    const __m128i digits = _mm_sub_epi8(bytes, _mm_set1_epi8('0'));
    auto others = static_cast<unsigned int>(
        _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_max_epu8(digits, _mm_set1_epi8(10)), digits)));
    isNegative = *at == '-';
    others &= isNegative ? ~1U : ~0U;
    if (others == 0) {
        return false;
    }
    first = at + (isNegative ? 1 : 0);
    end = at + std::countr_zero(others);
    whole = static_cast<int>(end - first);
    hasPoint = *end == '.';
    if (hasPoint) {
        others &= others - 1;
        if (others == 0) {
            return false;
        }
        const char* const point = end;
        end = at + std::countr_zero(others);
        fraction = static_cast<int>(end - point) - 1;
    }
    return whole >= 1 && whole <= MostDigits && (!hasPoint || (fraction >= 1 && fraction <= MostDigits));
#else
    static_cast<void>(at);
    return false;
#endif
}

inline bool QuickNumber::GetValue(double& value, std::uint8_t& decimals) const {
    const std::uint64_t integer = ToNumber(first, whole);
    if (!hasPoint) {
        value = static_cast<double>(static_cast<std::int64_t>(integer));
        value = isNegative ? -value : value;
        // As those of many zeros, which may be written with an exponent.
        return integer != 0 ? whole < 6 || integer % ManyZeros != 0 : !isNegative;
    }
    const auto places = static_cast<std::size_t>(fraction);
    const std::uint64_t digits = integer * Scales[places] + ToNumber(end - fraction, fraction);
    const double magnitude = static_cast<double>(static_cast<std::int64_t>(digits)) / PowersOfTen[places];
    value = isNegative ? -magnitude : magnitude;
    // What begins with 0.00 may be written with an exponent.
    const bool isShort = end[-1] != '0' && digits * 1000 >= Scales[places];
    decimals = isShort ? 0 : static_cast<std::uint8_t>(fraction + 1);
    return true;
}
