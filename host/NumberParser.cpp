#include "host/NumberParser.h"

#include <charconv>
#include <cmath>
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

// What std::from_chars calls out of range: too large, unless the number's exponent is negative.
double OutOfRangeValue(std::string_view number) {
    const bool negative = number.front() == '-';
    const std::size_t exponent = number.find_first_of("eE");
    bool small = false;
    if (exponent != std::string_view::npos) {
        small = number.substr(exponent + 1).starts_with('-');
    } else {
        // Without an exponent only a long row of digits before the point is too large.
        small = number.substr(negative ? 1 : 0).find_first_not_of("0.") > number.find('.');
    }
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
