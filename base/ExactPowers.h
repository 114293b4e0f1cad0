#pragma once

#include <array>

// A whole number of so many digits is a double without loss, and so is so high a power of ten: one operation
// on the two then rounds their product or quotient as it should be.

constexpr int MostExactDigits = 15;
constexpr int MostExactPower = 22;
constexpr std::array<double, MostExactPower + 1> PowersOfTen = {
    1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
