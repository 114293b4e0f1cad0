#include "base/NumberFormat.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>

namespace {

// Tests run in the C locale, in which snprintf is what FormatG promises.
std::string Printed(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

void ExpectAsPrinted(double value) {
    ASSERT_EQ(FormatG(value), Printed(value));
    ASSERT_EQ(FormatG(-value), Printed(-value));
}

}  // namespace

TEST(NumberFormatTest, MillionRandomDoublesAreAsPrinted) {
    std::mt19937_64 random(20261121);
    std::uniform_real_distribution<double> exponent(-6.0, 8.0);
    for (int i = 0; i < 1000000 && !testing::Test::HasFatalFailure(); ++i) {
        if (i % 10 == 0) {
            const auto anyDouble = std::bit_cast<double>(random());
            ExpectAsPrinted(std::isnan(anyDouble) ? 1.0 : anyDouble);
        } else {
            ExpectAsPrinted(std::pow(10.0, exponent(random)));
        }
    }
}

TEST(NumberFormatTest, ValuesBetweenTwoSixthDigitsAreAsPrinted) {
    std::mt19937 random(6);
    for (int i = 0; i < 200000 && !testing::Test::HasFatalFailure(); ++i) {
        const double middle = static_cast<double>(random() % 900000 + 100000) + 0.5;
        const double scale = std::pow(10.0, static_cast<int>(random() % 14) - 10);
        const double value = middle * scale;
        ExpectAsPrinted(value);
        ExpectAsPrinted(std::nextafter(value, 0.0));
        ExpectAsPrinted(std::nextafter(value, 1e9));
    }
}

TEST(NumberFormatTest, PowersOfTenAndTheirNeighboursAreAsPrinted) {
    for (int power = -12; power <= 12; ++power) {
        const double value = std::pow(10.0, power);
        for (const double factor : {1.0, 9.0, 9.99999, 9.999994, 9.999995, 9.999996, 9.9999999}) {
            ExpectAsPrinted(value * factor);
            ExpectAsPrinted(std::nextafter(value * factor, 0.0));
            ExpectAsPrinted(std::nextafter(value * factor, 1e300));
        }
    }
    EXPECT_EQ(FormatG(0.0), "0");
    EXPECT_EQ(FormatG(-0.0), "-0");
    EXPECT_EQ(FormatG(std::nan("")), "nan");
    EXPECT_EQ(FormatG(HUGE_VAL), "inf");
    EXPECT_EQ(FormatG(1234567.0, 9), "1234567");
}
