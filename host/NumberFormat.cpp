#include "host/NumberFormat.h"

#include <charconv>
#include <cmath>
#include <iterator>

namespace {

// Longer than any double with up to 64 digits and its exponent.
constexpr std::size_t BufferSize = 128;

template <class Float>
std::string Shortest(Float value) {
    if (std::isnan(value)) {
        return "nan";
    }
    char buffer[BufferSize];
    return {buffer, std::to_chars(buffer, std::end(buffer), value).ptr};
}

}  // namespace

std::string FormatG(double value, int precision) {
    if (std::isnan(value)) {
        return "nan";
    }
    char buffer[BufferSize];
    const auto result = std::to_chars(buffer, std::end(buffer), value, std::chars_format::general, precision);
    return {buffer, result.ptr};
}

std::string FormatShortest(float value) {
    return Shortest(value);
}

std::string FormatShortest(double value) {
    return Shortest(value);
}
