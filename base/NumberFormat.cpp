#include "base/NumberFormat.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <system_error>

#include "base/DigitWord.h"
#include "base/ExactPowers.h"
#include "base/ShortestNumber.h"

namespace {

// Longer than any double with up to 64 digits and its exponent.
constexpr std::size_t BufferSize = 128;

constexpr int SixDigits = 6;
constexpr double LeastFixed = 1e-4;
constexpr double GreatestFixed = 1e6;
// Scaling to six digits may be off by 1e-10: only a value that close to the middle between two of them can
// be rounded wrongly, and those are left to the exact way.
constexpr double DoubtfulDistance = 1e-6;

// The exponent of ten of a value that is printed without one.
int ExponentOf(double magnitude) {
    int exponent = -4;
    if (magnitude >= 1.0) {
        exponent = 0;
        while (exponent < 5 && magnitude >= PowersOfTen[static_cast<std::size_t>(exponent) + 1]) {
            ++exponent;
        }
        return exponent;
    }
    constexpr double Below1[] = {1e-3, 1e-2, 1e-1};
    for (const double power : Below1) {
        exponent += magnitude >= power ? 1 : 0;
    }
    return exponent;
}

// As %g for what spectral axes mostly hold: the names of columns are by far the most of all numbers that are
// printed. Returns the text's end, or null for a value that takes the exact way.
char* PrintSixDigits(double value, char* text) {
    const double magnitude = std::fabs(value);
    if (!(magnitude >= LeastFixed && magnitude < GreatestFixed)) {
        return nullptr;
    }
    const int exponent = ExponentOf(magnitude);
    const double scaled = magnitude * PowersOfTen[static_cast<std::size_t>(SixDigits - 1 - exponent)];
    auto digits = static_cast<std::uint32_t>(scaled);
    const double fraction = scaled - digits;
    if (std::fabs(fraction - 0.5) < DoubtfulDistance) {
        return nullptr;
    }
    digits += fraction > 0.5 ? 1 : 0;
    if (digits >= 1000000) {
        return nullptr;
    }
    // The digits lie in one number, the first lowest: they are moved and stored at once, since text that is
    // stored in bytes and loaded in words makes processors wait.
    std::uint64_t places = 0;
    int size = 0;
    for (int i = SixDigits - 1; i >= 0; --i, digits /= 10) {
        const std::uint32_t digit = digits % 10;
        size = size == 0 && (digit != 0 || i == 0) ? i + 1 : size;
        places = places << 8U | ('0' + digit);
    }
    if (value < 0.0) {
        *text++ = '-';
    }
    if (exponent < 0) {
        *text++ = '0';
        *text++ = '.';
        text = std::fill_n(text, -1 - exponent, '0');
        return DigitWord::Store(places, text) + size;
    }
    const int whole = exponent + 1;
    if (size <= whole) {
        return DigitWord::Store(places, text) + whole;
    }
    const int wholeBits = 8 * whole;
    const std::uint64_t before = places & ((std::uint64_t{1} << wholeBits) - 1);
    const std::uint64_t point = std::uint64_t{'.'} << wholeBits;
    return DigitWord::Store(before | point | (places - before) << 8U, text) + size + 1;
}

// Below 10^9. Up to nine bytes are stored.
char* PrintWhole(std::uint32_t number, char* text) {
    constexpr std::uint32_t EightDigits = 100'000'000;
    std::uint64_t digits = DigitWord::Part(number % EightDigits);
    if (number >= EightDigits) {
        *text++ = static_cast<char>('0' + number / EightDigits);
        return DigitWord::Store(digits | DigitWord::Zeros, text) + sizeof digits;
    }
    // The last digit stays where the number is 0.
    const int leading = std::countr_zero(digits | std::uint64_t{1} << 56U) / 8;
    digits = (digits | DigitWord::Zeros) >> (8 * leading);
    return DigitWord::Store(digits, text) + (static_cast<int>(sizeof digits) - leading);
}

// The shortest text of a number with a few places behind the point, as most measured ones are: with at most
// fifteen digits no two texts mean one number, so that one that means this number is the only one. Returns
// the text's end, or null for a value that needs more places. Of no whole number.
template <int Places>
char* PrintPlaces(double magnitude, char* text) {
    constexpr double Scale = PowersOfTen[Places];
    constexpr auto Units = static_cast<std::uint64_t>(Scale);
    // One that this rounds wrongly isn't the same number behind it.
    // NOLINTNEXTLINE(bugprone-incorrect-roundings)
    const auto digits = static_cast<std::uint64_t>(magnitude * Scale + 0.5);
    if (static_cast<double>(digits) / Scale != magnitude) {
        return nullptr;
    }
    std::uint64_t fraction = digits % Units;
    text = PrintWhole(static_cast<std::uint32_t>(digits / Units), text);
    *text++ = '.';
    int places = Places;
    for (; fraction % 10 == 0; fraction /= 10) {
        --places;
    }
    for (int i = places - 1; i >= 0; --i, fraction /= 10) {
        text[i] = static_cast<char>('0' + fraction % 10);
    }
    return text + places;
}

// A whole number of few digits; null where it may be shorter with an exponent, as those may that end in more
// zeros.
char* PrintFewDigits(std::uint32_t whole, char* text) {
    constexpr std::uint32_t ShorterWithExponent = 100'000;
    return whole % ShorterWithExponent == 0 ? nullptr : PrintWhole(whole, text);
}

// Null for a value that takes the exact way, as all do that may be shorter with an exponent.
char* PrintFewPlaces(double magnitude, char* text) {
    if (!(magnitude >= 1e-3 && magnitude < 1e9)) {
        return nullptr;
    }
    if (const auto whole = static_cast<std::uint32_t>(magnitude); whole == magnitude) {
        return PrintFewDigits(whole, text);
    }
    if (char* const end = PrintPlaces<6>(magnitude, text)) {
        return end;
    }
    return magnitude < 1e5 ? PrintPlaces<10>(magnitude, text) : nullptr;
}

// What is below the precision of a float has no shorter text of its own there either.
char* PrintFewPlaces(float magnitude, char* text) {
    constexpr float MostExact = 1 << std::numeric_limits<float>::digits;
    if (!(magnitude >= 1.0F && magnitude < MostExact)) {
        return nullptr;
    }
    const auto whole = static_cast<std::uint32_t>(magnitude);
    return static_cast<float>(whole) == magnitude ? PrintFewDigits(whole, text) : nullptr;
}

template <class Number>
char* PrintShortestOf(Number value, char* text) {
    const Number magnitude = std::fabs(value);
    // Stored whether there is one or not, since signs can't be foreseen.
    *text = '-';
    char* const digits = text + (value < 0 ? 1 : 0);
    if (char* const end = PrintFewPlaces(magnitude, digits)) {
        return end;
    }
    if (char* const end = PrintShortestExactly(magnitude, digits)) {
        return end;
    }
    if (std::isnan(value)) {
        return std::copy_n("nan", 3, text);
    }
    return std::to_chars(text, text + ShortestNumberSize, value).ptr;
}

// As printf's %.<decimals>f where that is seen without its exact way; else null.
char* PrintPlainDecimals(double value, int decimals, char* text) {
    constexpr double MostDigits = 1e12;
    // So far from a whole number the true digits may be others.
    constexpr double Certain = 1e-2;
    if (decimals < 1 || static_cast<std::size_t>(decimals) >= std::size(PowersOfTen)) {
        return nullptr;
    }
    const double scale = PowersOfTen[static_cast<std::size_t>(decimals)];
    const double scaled = std::fabs(value) * scale;
    if (!(scaled < MostDigits && scale < MostDigits)) {
        return nullptr;
    }
    // NOLINTNEXTLINE(bugprone-incorrect-roundings)
    const auto digits = static_cast<std::uint64_t>(scaled + 0.5);
    if (std::fabs(scaled - static_cast<double>(digits)) > Certain) {
        return nullptr;
    }
    const auto parts = static_cast<std::uint64_t>(scale);
    if (std::signbit(value)) {
        *text++ = '-';
    }
    text = std::to_chars(text, text + std::numeric_limits<std::uint64_t>::digits10 + 1, digits / parts).ptr;
    *text++ = '.';
    std::uint64_t fraction = digits % parts;
    for (int i = decimals - 1; i >= 0; --i, fraction /= 10) {
        text[i] = static_cast<char>('0' + fraction % 10);
    }
    return text + decimals;
}

}  // namespace

std::string FormatG(double value, int precision) {
    if (std::isnan(value)) {
        return "nan";
    }
    char buffer[BufferSize];
    if (precision == SixDigits) {
        if (char* const end = PrintSixDigits(value, buffer)) {
            return {buffer, static_cast<std::size_t>(end - buffer)};
        }
    }
    const auto result = std::to_chars(buffer, std::end(buffer), value, std::chars_format::general, precision);
    return {buffer, result.ptr};
}

void AppendG(std::string& text, double value) {
    char buffer[BufferSize];
    const char* const end = PrintSixDigits(value, buffer);
    if (end != nullptr) {
        text.append(buffer, static_cast<std::size_t>(end - buffer));
    } else {
        text += FormatG(value);
    }
}

std::string FormatShortest(float value) {
    char buffer[ShortestNumberSize];
    return {buffer, PrintShortest(value, buffer)};
}

std::string FormatShortest(double value) {
    char buffer[ShortestNumberSize];
    return {buffer, PrintShortest(value, buffer)};
}

char* PrintShortest(double value, char* text) {
    return PrintShortestOf(value, text);
}

char* PrintShortest(float value, char* text) {
    return PrintShortestOf(value, text);
}

char* PrintDecimals(double value, int decimals, char* text) {
    if (char* const end = PrintPlainDecimals(value, decimals, text)) {
        return end;
    }
    const auto result =
        std::to_chars(text, text + ShortestNumberSize, value, std::chars_format::fixed, decimals);
    return result.ec == std::errc() ? result.ptr : PrintShortest(value, text);
}
