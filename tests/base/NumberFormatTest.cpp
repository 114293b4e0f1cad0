#include "base/NumberFormat.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ios>
#include <iterator>
#include <limits>
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

// Those with few places go a way of their own.
TEST(NumberFormatTest, ShortestIsThatOfTheStandardLibrary) {
    std::mt19937_64 random(20261122);
    const auto expectSame = [](double value) {
        char expected[64];
        const std::string library(expected, std::to_chars(expected, std::end(expected), value).ptr);
        ASSERT_EQ(FormatShortest(value), std::isnan(value) ? "nan" : library);
    };
    for (int i = 0; i < 1000000 && !testing::Test::HasFatalFailure(); ++i) {
        const double power = std::pow(10.0, static_cast<double>(random() % 13));
        const auto number = static_cast<double>(random() % 10'000'000'000'000'000U >> random() % 50);
        expectSame(number / power);
        expectSame(-number / power);
        expectSame(std::nextafter(number / power, 0.0));
        expectSame(std::bit_cast<double>(random()));
    }
    // Whole numbers, which an exponent makes shorter where they end in enough zeros.
    for (double zeros = 1.0; zeros < 1e10; zeros *= 10.0) {
        for (const double digits : {1.0, 9.0, 10.0, 12.0, 99.0, 123.0, 1001.0, 12345.0, 99999.0}) {
            expectSame(digits * zeros);
            expectSame(-digits * zeros);
        }
    }
    for (const double value :
         {0.0, -0.0, 0.001, 0.0009999, 0.00123, 0.1, 1e5, 1e9, 999999999.9999995, 1e15, 1e-300}) {
        expectSame(value);
    }
}

namespace {

template <class Number>
void ExpectAsTheLibrary(Number value) {
    char expected[64];
    const std::string library(expected, std::to_chars(expected, std::end(expected), value).ptr);
    ASSERT_EQ(FormatShortest(value), std::isnan(value) ? "nan" : library) << std::hexfloat << value;
}

template <class Number>
void ExpectAsTheLibraryBesides(Number value) {
    ExpectAsTheLibrary(value);
    ExpectAsTheLibrary(-value);
    ExpectAsTheLibrary(std::nextafter(value, Number(0)));
    ExpectAsTheLibrary(std::nextafter(value, Number(1e30)));
}

// Of each power of two, with the numbers beside it, and of decimal numbers with so many digits as a number of
// this kind tells apart and one more.
template <class Number>
void ExpectEdgesAsTheLibrary() {
    for (int power = -160; power <= 160; ++power) {
        ExpectAsTheLibraryBesides(std::ldexp(Number(1), power));
        ExpectAsTheLibraryBesides(std::ldexp(Number(1.5), power));
    }
    for (int power = -25; power <= 25; ++power) {
        for (const double digits : {1.0, 2.0, 9.0, 9.9999995, 1.00000005, 1.23456789, 9.999999999999999}) {
            ExpectAsTheLibraryBesides(static_cast<Number>(digits * std::pow(10.0, power)));
        }
    }
    ExpectAsTheLibraryBesides(std::numeric_limits<Number>::denorm_min());
    ExpectAsTheLibraryBesides(std::numeric_limits<Number>::min());
    ExpectAsTheLibraryBesides(std::numeric_limits<Number>::max());
    ExpectAsTheLibrary(std::numeric_limits<Number>::infinity());
    ExpectAsTheLibrary(-std::numeric_limits<Number>::infinity());
    ExpectAsTheLibrary(std::numeric_limits<Number>::quiet_NaN());
    ExpectAsTheLibrary(-std::numeric_limits<Number>::quiet_NaN());
    ExpectAsTheLibrary(Number(0));
    ExpectAsTheLibrary(-Number(0));
}

}  // namespace

TEST(NumberFormatTest, NumbersOfAllDigitsAreShortestByExactArithmetic) {
    std::mt19937_64 random(20261124);
    std::normal_distribution<double> measured;
    ExpectEdgesAsTheLibrary<double>();
    ExpectEdgesAsTheLibrary<float>();
    for (int i = 0; i < 1000000 && !testing::Test::HasFatalFailure(); ++i) {
        const double value = measured(random) * std::pow(10.0, static_cast<double>(random() % 30) - 14.0);
        ExpectAsTheLibrary(value);
        ExpectAsTheLibrary(static_cast<float>(value));
        ExpectAsTheLibrary(std::bit_cast<float>(static_cast<std::uint32_t>(random())));
    }
}

// Each halfway between two texts of as many digits, and those beside it.
TEST(NumberFormatTest, NumbersBetweenTwoShortTextsAreShortest) {
    std::mt19937_64 random(20261125);
    for (int i = 0; i < 300000 && !testing::Test::HasFatalFailure(); ++i) {
        const auto middle = static_cast<double>(random() % 1'000'000'000 * 10 + 5);
        ExpectAsTheLibraryBesides(middle / static_cast<double>(std::uint64_t{1} << random() % 60));
        ExpectAsTheLibraryBesides(static_cast<float>(random() % 10'000'000) /
                                  static_cast<float>(std::uint64_t{1} << random() % 60));
    }
}

TEST(NumberFormatTest, WholeNumbersOfAllLengthsAreShortest) {
    const auto expectSame = [](double value) {
        char expected[32];
        std::snprintf(expected, sizeof expected, "%.0f", value);
        ASSERT_EQ(FormatShortest(value), expected);
    };
    for (int number = 1; number < 100000 && !testing::Test::HasFatalFailure(); ++number) {
        expectSame(number);
        expectSame(-number);
    }
    for (double power = 1e5; power < 1e9 && !testing::Test::HasFatalFailure(); power *= 10) {
        for (int i = 1; i < 1000; ++i) {
            expectSame(power + i);
            expectSame(10 * power - i);
            expectSame(-power * 3 - i);
        }
    }
}

TEST(NumberFormatTest, DecimalsAreAsPrinted) {
    std::mt19937_64 random(20261123);
    const auto expectSame = [](double value, int decimals) {
        char expected[512];
        std::snprintf(expected, sizeof expected, "%.*f", decimals, value);
        char text[ShortestNumberSize];
        const std::string printed(text, PrintDecimals(value, decimals, text));
        ASSERT_EQ(printed, std::strlen(expected) <= ShortestNumberSize ? expected : FormatShortest(value))
            << value << " with " << decimals;
    };
    for (int i = 0; i < 300000 && !testing::Test::HasFatalFailure(); ++i) {
        const int decimals = static_cast<int>(random() % 15);
        const double power = std::pow(10.0, static_cast<double>(random() % 15));
        const auto number = static_cast<double>(random() % 1'000'000'000'000'000U >> random() % 50);
        expectSame(number / power, decimals);
        expectSame(-number / power, decimals);
        expectSame(std::bit_cast<double>(random()), decimals);
    }
    // The middle between two texts, which is rounded to the even one.
    for (const double value : {0.125, 0.375, 2.5, -0.5, 0.0, -0.0, 1e300, 0.045}) {
        for (int decimals = 0; decimals < 5; ++decimals) {
            expectSame(value, decimals);
        }
    }
}

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
