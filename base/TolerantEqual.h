#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace karta {

/** TolerantEqual of any two values, for those that it doesn't decide by itself. */
bool AreTolerantlyEqual(double left, double right);

}  // namespace karta

/**
 * Whether two axis values are the same for a reader: their difference is at most 2^-23 scaled by the
 * binary exponent of the one of larger magnitude. Two NaN are equal, and so are two infinities of one
 * sign.
 */
inline bool TolerantEqual(double left, double right) {
    constexpr int FractionBits = 52;
    constexpr std::uint64_t MostExponent = 0x7ff;
    // The last place of a float with the same exponent, which a double's has one less than frexp's.
    constexpr std::uint64_t PlaceBelow = 22;
    const double larger = std::fabs(left) > std::fabs(right) ? left : right;
    const std::uint64_t exponent = std::bit_cast<std::uint64_t>(larger) >> FractionBits & MostExponent;
    if (exponent <= PlaceBelow || exponent == MostExponent) {
        return karta::AreTolerantlyEqual(left, right);
    }
    const auto delta = std::bit_cast<double>((exponent - PlaceBelow) << FractionBits);
    const double difference = left - right;
    return -delta <= difference && difference <= delta;
}
