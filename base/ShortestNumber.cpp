#include "base/ShortestNumber.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "base/DigitWord.h"

namespace {

using Wide = unsigned __int128;

// Of 2^-s, the highest s with which ten times the unit below is a number of 64 bits.
constexpr int MostHalvings = 85;

// How often 2^-s has to be multiplied by ten to be one at least; right for s up to that and beyond.
constexpr int PlacesOf(int halvings) {
    return (halvings * 1233 >> 12) + 1;
}

constexpr int MostFives = PlacesOf(MostHalvings);
constexpr std::array<std::uint64_t, MostFives + 1> PowersOfFive = [] {
    std::array<std::uint64_t, MostFives + 1> powers{1};
    for (std::size_t i = 1; i < powers.size(); ++i) {
        powers[i] = powers[i - 1] * 5;
    }
    return powers;
}();

/** digits x 10^-places. */
struct Decimal {
    std::uint64_t digits;
    int places;
};

/**
 * Of m x 2^-s, a number whose neighbours are 2^-s away on either side, a decimal one that reads back to it:
 * the only one with a place less, if there is one, else the nearest. All is exact: with q places the number
 * is V = 2m x 5^q / 2^t, and what reads back to it lies within 5^q / 2^t, which is between a half and five.
 */
inline Decimal FindShortest(std::uint64_t m, int halvings) {
    const int places = PlacesOf(halvings);
    const int t = halvings - places + 1;
    const std::uint64_t within = PowersOfFive[static_cast<std::size_t>(places)];
    const Wide product = static_cast<Wide>(2 * m) * within;
    const auto whole = static_cast<std::uint64_t>(product >> t);
    const std::uint64_t unit = std::uint64_t{1} << t;
    const std::uint64_t part = static_cast<std::uint64_t>(product) & (unit - 1);

    // Halfway to a neighbour, a text is read as the even one of the two. What the digits are like can't be
    // foreseen: so there is no branch on the way, which the processor would take wrongly.
    const std::uint64_t limit = within - (m & 1U);
    const std::uint64_t last = whole % 10;
    const std::uint64_t below = last * unit + part;
    const std::uint64_t isBelow = below <= limit ? 1 : 0;
    const std::uint64_t isAbove = 10 * unit - below <= limit ? 1 : 0;
    const std::uint64_t half = unit / 2;
    const std::uint64_t isUp = part + (whole & 1U) > half ? 1 : 0;
    const std::uint64_t hasNoneLess = (isBelow | isAbove) - 1;
    return Decimal{whole - (last & ~hasNoneLess) + 10 * isAbove + (isUp & hasNoneLess), places};
}

/** Seventeen digits as characters, and how many there are without the zeros at the end. */
struct DigitText {
    char first;
    std::uint64_t next8;
    std::uint64_t last8;
    int count;

    // Each but the first in eight digits.
    DigitText(std::uint64_t firstNumber, std::uint64_t nextNumber, std::uint64_t lastNumber)
        : first(static_cast<char>('0' + firstNumber)) {
        DigitWord::Part(static_cast<std::uint32_t>(nextNumber), static_cast<std::uint32_t>(lastNumber), next8,
                        last8);
        count = last8 != 0 ? 17 - CountZeros(last8) : next8 != 0 ? 9 - CountZeros(next8) : 1;
        next8 |= DigitWord::Zeros;
        last8 |= DigitWord::Zeros;
    }

    // At the end of a word that has another digit.
    static int CountZeros(std::uint64_t word) {
        return static_cast<int>(static_cast<unsigned int>(std::countl_zero(word)) / 8);
    }
    // Those behind the first one but for so many, fifteen at most.
    void StoreBehind(int skipped, char* text) const {
        const Wide rest = (static_cast<Wide>(last8) << 64U | next8) >> (8 * skipped);
        DigitWord::Store(static_cast<std::uint64_t>(rest), text);
        DigitWord::Store(static_cast<std::uint64_t>(rest >> 64U), text + sizeof next8);
    }
};

char* PrintWithExponent(const DigitText& digits, int exponent, char* text) {
    *text++ = digits.first;
    if (digits.count > 1) {
        *text = '.';
        digits.StoreBehind(0, text + 1);
        text += digits.count;
    }
    const int magnitude = exponent < 0 ? -exponent : exponent;
    *text++ = 'e';
    *text++ = exponent < 0 ? '-' : '+';
    *text++ = static_cast<char>('0' + magnitude / 10);
    *text++ = static_cast<char>('0' + magnitude % 10);
    return text;
}

// With the exponent where that is shorter. It is the first digit's, and has two digits at most.
inline char* Print(const DigitText& digits, int exponent, char* text) {
    // All bits of a number below one. What is written is the same steps for every number: "0.000", over it
    // the digits from where they begin, the point over one of them, and those behind it once more. Of whole
    // numbers the point is behind the end.
    const int isBelowOne = exponent >> 31;
    const int count = digits.count;
    const int before = exponent & ~isBelowOne;
    const int begin = (1 - exponent) & isBelowOne;
    const int point = before + 1;
    const int pointInside = before < count - 1 ? 1 + isBelowOne : 0;
    const int size = std::max(begin + count + pointInside, point);
    if (size > count + (count > 1 ? 1 : 0) + 4) {
        return PrintWithExponent(digits, exponent, text);
    }
    DigitWord::Store(DigitWord::Zeros, text);
    text[begin] = digits.first;
    digits.StoreBehind(0, text + begin + 1);
    text[point] = '.';
    digits.StoreBehind(before, text + std::max(begin, point) + 1);
    return text + size;
}

template <class Number>
char* PrintMagnitude(Number magnitude, char* text) {
    using Bits = std::conditional_t<sizeof(Number) == sizeof(std::uint64_t), std::uint64_t, std::uint32_t>;
    constexpr int Fraction = std::numeric_limits<Number>::digits - 1;
    constexpr int Bias = std::numeric_limits<Number>::max_exponent - 1;
    constexpr Bits Hidden = Bits{1} << Fraction;
    const auto bits = std::bit_cast<Bits>(magnitude);
    const Bits fraction = bits & (Hidden - 1);
    const int halvings = Bias + Fraction - static_cast<int>(bits >> Fraction);
    // The neighbour below a power of two is nearer than the one above it.
    if (fraction == 0 || halvings < 1 || halvings > MostHalvings) {
        return nullptr;
    }
    const Decimal decimal = FindShortest(Hidden | fraction, halvings);
    // Doubles have sixteen digits or seventeen here, floats seven to nine, which a power of ten makes up.
    constexpr bool IsDouble = sizeof(Number) == sizeof(double);
    constexpr std::uint64_t Most = IsDouble ? 10'000'000'000'000'000 : 100'000'000;
    constexpr int Digits = IsDouble ? 17 : 9;
    std::uint64_t digits = decimal.digits;
    int exponent = Digits - 1 - decimal.places;
    for (int i = 0; i < (IsDouble ? 1 : 2); ++i) {
        const bool hasOneMore = digits >= Most;
        exponent -= hasOneMore ? 0 : 1;
        digits *= hasOneMore ? 1 : 10;
    }
    constexpr std::uint64_t EightDigits = 100'000'000;
    const std::uint64_t upper = digits / EightDigits;
    return Print(IsDouble ? DigitText(upper / EightDigits, upper % EightDigits, digits % EightDigits)
                          : DigitText(upper, digits % EightDigits, 0),
                 exponent, text);
}

}  // namespace

char* PrintShortestExactly(double magnitude, char* text) {
    return PrintMagnitude(magnitude, text);
}

char* PrintShortestExactly(float magnitude, char* text) {
    return PrintMagnitude(magnitude, text);
}
