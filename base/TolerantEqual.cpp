#include "base/TolerantEqual.h"

namespace {
// One unit in the last place of a float's fraction.
constexpr double Tolerance = 0x1p-23;
}  // namespace

bool karta::AreTolerantlyEqual(double left, double right) {
    if (std::isnan(left) || std::isnan(right)) {
        return std::isnan(left) && std::isnan(right);
    }
    if (std::isinf(left) || std::isinf(right)) {
        return left == right;
    }
    int exponent = 0;
    std::frexp(std::fabs(left) > std::fabs(right) ? left : right, &exponent);
    const double delta = std::ldexp(Tolerance, exponent);
    const double difference = left - right;
    return -delta <= difference && difference <= delta;
}
