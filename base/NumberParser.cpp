#include "base/NumberParser.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <system_error>

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

}  // namespace

bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

void SkipSpace(std::string_view& text) {
    text.remove_prefix(CountSpace(text));
}

std::string_view TrimSpace(std::string_view text) {
    SkipSpace(text);
    while (!text.empty() && IsSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

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
