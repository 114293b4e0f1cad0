#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "base/ByteWord.h"
#include "text/FieldForm.h"

/**
 * A number of at most seven digits, and at most seven behind a point, at the front of a text: as PlainNumber
 * has it, but with a third of the work, which is most of what a text of numbers takes. All of it in the
 * header: it runs once a cell.
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
    static constexpr std::array<std::uint64_t, 8> Scales = {1,      10,      100,       1000,
                                                            10'000, 100'000, 1'000'000, 10'000'000};
    static constexpr std::array<double, 8> Quotients = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7};

    static int CountDigits(std::uint64_t word) { return std::countr_zero(ByteWord::FindNoDigit(word)) / 8; }
    // Of the first `count` bytes, 1 to 7, which are digits.
    static std::uint64_t ToNumber(std::uint64_t word, int count) {
        return ByteWord::ToNumber((word ^ (0x30 * ByteWord::Ones)) << (64 - 8 * count));
    }

    const char* first = nullptr;
    const char* end = nullptr;
    bool isNegative = false;
    bool hasPoint = false;
    int whole = 0;     // digits before the point
    int fraction = 0;  // and behind it
    std::uint64_t wholeWord = 0;
    std::uint64_t fractionWord = 0;
};

inline bool QuickNumber::Find(const char* at) {
    if constexpr (!ByteWord::IsUsable) {
        return false;
    }
    isNegative = *at == '-';
    first = at + (isNegative ? 1 : 0);
    wholeWord = ByteWord::Load(first);
    whole = CountDigits(wholeWord);
    if (whole == 0 || whole == 8) {
        return false;
    }
    end = first + whole;
    hasPoint = *end == '.';
    if (hasPoint) {
        fractionWord = ByteWord::Load(end + 1);
        fraction = CountDigits(fractionWord);
        end += 1 + fraction;
        return fraction != 0 && fraction != 8;
    }
    return true;
}

inline bool QuickNumber::GetValue(double& value, std::uint8_t& decimals) const {
    const std::uint64_t integer = ToNumber(wholeWord, whole);
    if (!hasPoint) {
        value = static_cast<double>(static_cast<std::int64_t>(integer));
        value = isNegative ? -value : value;
        // As those of many zeros, which may be written with an exponent.
        return integer != 0 ? whole < 6 || integer % ManyZeros != 0 : !isNegative;
    }
    const auto places = static_cast<std::size_t>(fraction);
    const std::uint64_t digits = integer * Scales[places] + ToNumber(fractionWord, fraction);
    const double magnitude = static_cast<double>(static_cast<std::int64_t>(digits)) / Quotients[places];
    value = isNegative ? -magnitude : magnitude;
    // What begins with 0.00 may be written with an exponent.
    const bool isShort = end[-1] != '0' && digits * 1000 >= Scales[places];
    decimals = isShort ? 0 : static_cast<std::uint8_t>(fraction + 1);
    return true;
}
