#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

#include "base/Ascii.h"
#include "base/ByteWord.h"
#include "base/NumberParser.h"
#include "text/FieldForm.h"

/** Whether a delimiter could be a part of one: then what ends where a number does may be its end or not. */
inline bool IsPartOfNumbers(char delimiter) {
    return IsDigit(delimiter) || delimiter == '.' || delimiter == '-' || delimiter == '+';
}

/**
 * A number that is digits with at most a point, as most are, at the front of a text. All of it in the header:
 * it runs once a cell.
 */
class PlainNumber {
public:
    explicit PlainNumber(std::string_view text) : PlainNumber(text, text.data() + text.size()) {}
    /** The same where bytes up to `readable` may be looked at, which is faster. */
    PlainNumber(std::string_view text, const char* readable);

    bool IsThere() const { return whole + fraction > 0; }
    /** Behind it. */
    const char* GetEnd() const { return end; }
    FieldForm GetForm() const;
    /** Of the form, without the work that the number is. */
    std::uint32_t GetBits() const { return hasPoint ? GetPointBits() : GetWholeForm().bits; }

private:
    FieldForm GetWholeForm() const;
    std::uint32_t GetPointBits() const;
    FieldForm GetPointForm() const;
    const char* TakeDigits(const char* at, const char* last, const char* readable);

    static constexpr std::ptrdiff_t GroupSize = 3;
    static constexpr std::int64_t LargestExactInteger = std::int64_t{1} << 53;
    // So many digits fit into 64 bits, and so many fit into a double.
    static constexpr std::ptrdiff_t WideDigits = 19;
    static constexpr std::ptrdiff_t ExactDigits = 15;
    // A whole number with more zeros at its end may be written with an exponent.
    static constexpr std::int64_t ManyZeros = 100'000;

    // Powers of ten that are exact as doubles: a quotient of two exact numbers is rounded correctly.
    static constexpr std::array<double, 23> PowersOfTen = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                           1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                           1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

    const char* start;
    const char* first = nullptr;
    const char* end = nullptr;
    bool hasSign = false;
    bool isNegative = false;
    bool hasPoint = false;
    std::ptrdiff_t whole = 0;     // digits before the point
    std::ptrdiff_t fraction = 0;  // digits behind it
    std::uint64_t digits = 0;     // both, without the point, as long as they are few
};

inline PlainNumber::PlainNumber(std::string_view text, const char* readable) : start(text.data()) {
    const char* at = text.data();
    const char* const last = at + text.size();
    if (at != last && (*at == '-' || *at == '+')) {
        hasSign = true;
        isNegative = *at == '-';
        ++at;
    }
    first = at;
    at = TakeDigits(at, last, readable);
    whole = at - first;
    if (at != last && *at == '.') {
        hasPoint = true;
        const char* const point = at;
        at = TakeDigits(at + 1, last, readable);
        fraction = at - point - 1;
    }
    end = at;
}

// Adds the digits at `at` to those that are there; returns what is behind them. Eight at a time: the bytes of
// a word are found to be digits together, and added in pairs, then fours, then eights.
inline const char* PlainNumber::TakeDigits(const char* at, const char* last, const char* readable) {
    if constexpr (ByteWord::IsUsable) {
        static constexpr std::array<std::uint64_t, 9> Scales = {
            1, 10, 100, 1000, 10'000, 100'000, 1'000'000, 10'000'000, 100'000'000};
        while (readable - at >= 8) {
            const std::uint64_t word = ByteWord::Load(at);
            const std::uint64_t others = ByteWord::FindNoDigit(word);
            const int count = std::min(others == 0 ? 8 : std::countr_zero(others) / 8,
                                       static_cast<int>(std::min<std::ptrdiff_t>(last - at, 8)));
            if (count == 0) {
                return at;
            }
            const std::uint64_t taken = (word ^ (0x30 * ByteWord::Ones)) << (8 * (8 - count));
            digits = digits * Scales[static_cast<std::size_t>(count)] + ByteWord::ToNumber(taken);
            at += count;
            if (count < 8) {
                return at;
            }
        }
    }
    for (; at != last && IsDigit(*at); ++at) {
        digits = digits * 10 + static_cast<unsigned int>(*at - '0');
    }
    return at;
}

inline FieldForm PlainNumber::GetForm() const {
    return hasPoint ? GetPointForm() : GetWholeForm();
}

inline FieldForm PlainNumber::GetWholeForm() const {
    FieldForm form;
    if ((*first == '0' && whole > 1) || whole > WideDigits ||
        digits > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        form.bits = FieldForm::Text;
        return form;
    }
    const auto value = isNegative ? -static_cast<std::int64_t>(digits) : static_cast<std::int64_t>(digits);
    form.isCanonical = !hasSign || (isNegative && value != 0);
    if (value > LargestExactInteger || value < -LargestExactInteger) {
        form.bits = FieldForm::WideInteger;
        form.integer = value;
        return form;
    }
    form.bits = FieldForm::Integer;
    form.hasNumber = true;
    form.number = value == 0 && isNegative ? -0.0 : static_cast<double>(value);
    form.isCanonical = form.isCanonical && (value % ManyZeros != 0 || value == 0);
    return form;
}

inline std::uint32_t PlainNumber::GetPointBits() const {
    const bool mayPartGroups = fraction == GroupSize && whole >= 1 && whole <= GroupSize && *first != '0';
    return mayPartGroups ? FieldForm::PointOrGroup : FieldForm::Point;
}

inline FieldForm PlainNumber::GetPointForm() const {
    FieldForm form;
    form.bits = GetPointBits();
    form.hasNumber = true;
    if (whole + fraction > ExactDigits) {
        form.number = ToLeadingDouble({start, static_cast<std::size_t>(end - start)});
        return form;
    }
    const double scale = PowersOfTen[static_cast<std::size_t>(fraction)];
    const double magnitude = static_cast<double>(digits) / scale;
    form.number = isNegative ? -magnitude : magnitude;
    const bool isWholeShort = whole >= 1 && (*first != '0' || whole == 1);
    // What begins with 0.00 may be written with an exponent. Told by the digits, which are there before the
    // quotient is.
    const bool isFractionShort =
        fraction >= 1 && end[-1] != '0' && static_cast<double>(digits) * 1000 >= scale;
    const bool isDecimal = isWholeShort && fraction >= 1 && (!hasSign || isNegative);
    form.isCanonical = isDecimal && isFractionShort;
    form.decimals = isDecimal && !isFractionShort ? static_cast<std::uint8_t>(fraction + 1) : 0;
    return form;
}
