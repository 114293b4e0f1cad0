#include "base/NumberParser.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <system_error>

#include "base/Ascii.h"
#include "base/ExactPowers.h"
#include "base/ShortNumber.h"

namespace {

std::size_t CountSpace(std::string_view text) {
    std::size_t count = 0;
    while (count < text.size() && IsSpace(text[count])) {
        ++count;
    }
    return count;
}

// The place of the first digit that isn't 0, counted from the point: 1 just before it, 0 just behind it.
std::ptrdiff_t LeadingPlace(std::string_view digits) {
    const std::size_t point = std::min(digits.find('.'), digits.size());
    const std::size_t first = digits.find_first_not_of("0.");
    return static_cast<std::ptrdiff_t>(point) - static_cast<std::ptrdiff_t>(first) + (first > point ? 1 : 0);
}

// What std::from_chars calls out of range: too large or too small, as the digits and the exponent say
// together.
double OutOfRangeValue(std::string_view number) {
    const bool negative = number.front() == '-';
    number.remove_prefix(negative ? 1 : 0);
    const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
    int exponent = 0;
    ParseInt(number.substr(std::min(mark + 1, number.size())), exponent);
    const bool small = LeadingPlace(number.substr(0, mark)) + exponent <= 0;
    const double magnitude = small ? 0.0 : std::numeric_limits<double>::infinity();
    return negative ? -magnitude : magnitude;
}

// The two to eight bytes of a text as a number whose lowest byte is the first, zeros behind them.
std::uint64_t LoadShort(const char* from, std::size_t size) {
    if (size >= 4) {
        std::uint32_t front = 0;
        std::uint32_t back = 0;
        std::memcpy(&front, from, 4);
        std::memcpy(&back, from + size - 4, 4);
        // Where the two overlap they are the same.
        return front | (static_cast<std::uint64_t>(back) << (8 * (size - 4)));
    }
    std::uint16_t front = 0;
    std::uint16_t back = 0;
    std::memcpy(&front, from, 2);
    std::memcpy(&back, from + size - 2, 2);
    return front | (static_cast<std::uint64_t>(back) << (8 * (size - 2)));
}

// Digits with at most a point, as most numbers are, and few enough that both they and the power of ten behind
// the point are exact as doubles: their quotient then is the nearest number. Null where it isn't such a
// number.
const char* ParseShortDecimal(const char* begin, const char* end, double& value) {
    const char* at = begin;
    const bool isNegative = at != end && *at == '-';
    at += isNegative ? 1 : 0;
    if constexpr (std::endian::native == std::endian::little) {
        if (end - at >= 2 && end - at <= 8 &&
            ParseWord(LoadShort(at, static_cast<std::size_t>(end - at)), static_cast<std::size_t>(end - at),
                      value)) {
            value = isNegative ? -value : value;
            return end;
        }
    }
    // With a point, and one digit more than are exact, so that it shows.
    const char* const last = end - at > MostExactDigits + 2 ? at + MostExactDigits + 2 : end;
    const char* const first = at;
    std::uint64_t digits = 0;
    for (; at != last && IsDigit(*at); ++at) {
        digits = digits * 10 + static_cast<unsigned int>(*at - '0');
    }
    std::ptrdiff_t count = at - first;
    std::ptrdiff_t fraction = 0;
    if (at != last && *at == '.') {
        const char* const point = at++;
        for (; at != last && IsDigit(*at); ++at) {
            digits = digits * 10 + static_cast<unsigned int>(*at - '0');
        }
        fraction = at - point - 1;
        count += fraction;
    }
    const bool hasExponent = at != end && (*at == 'e' || *at == 'E');
    if (count == 0 || count > MostExactDigits || hasExponent) {
        return nullptr;
    }
    const double magnitude = static_cast<double>(digits) / PowersOfTen[static_cast<std::size_t>(fraction)];
    value = isNegative ? -magnitude : magnitude;
    return at;
}

}  // namespace

std::size_t ParseDouble(std::string_view text, double& value) {
    value = 0.0;
    std::size_t start = CountSpace(text);
    if (start < text.size() && text[start] == '+') {
        ++start;
        if (start < text.size() && text[start] == '-') {
            return 0;
        }
    }
    const char* end = text.data() + text.size();
    if (const char* const behind = ParseShortDecimal(text.data() + start, end, value)) {
        return static_cast<std::size_t>(behind - text.data());
    }
    const auto [stop, error] = std::from_chars(text.data() + start, end, value);
    if (error == std::errc::invalid_argument) {
        value = 0.0;
        return 0;
    }
    const auto consumed = static_cast<std::size_t>(stop - text.data());
    if (error == std::errc::result_out_of_range) {
        value = OutOfRangeValue(text.substr(start, consumed - start));
    }
    return consumed;
}

std::size_t ParseInt(std::string_view text, int& value) {
    value = 0;
    std::size_t start = CountSpace(text);
    if (start < text.size() && text[start] == '+') {
        ++start;
        if (start < text.size() && text[start] == '-') {
            return 0;
        }
    }
    const auto [stop, error] = std::from_chars(text.data() + start, text.data() + text.size(), value);
    if (error == std::errc::invalid_argument) {
        value = 0;
        return 0;
    }
    if (error == std::errc::result_out_of_range) {
        value = text[start] == '-' ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
    }
    return static_cast<std::size_t>(stop - text.data());
}

double ToLeadingDouble(std::string_view text) {
    double value = 0.0;
    ParseDouble(text, value);
    return value;
}

int ToLeadingInt(std::string_view text) {
    int value = 0;
    ParseInt(text, value);
    return value;
}
