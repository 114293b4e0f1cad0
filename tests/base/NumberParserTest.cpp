#include "base/NumberParser.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <system_error>

#include "base/NumberFormat.h"
#include "host/NvString.h"

namespace {

double Number(std::string_view text) {
    double value = 99.0;
    EXPECT_TRUE(NvString::ToDouble(text, value)) << text;
    return value;
}

bool IsDouble(std::string_view text) {
    double value = 99.0;
    const bool is = NvString::ToDouble(text, value);
    EXPECT_TRUE(is || value == 0.0) << text;
    return is;
}

bool IsInt(std::string_view text) {
    int value = 99;
    const bool is = NvString::ToInt(text, value);
    EXPECT_TRUE(is || value == 0) << text;
    return is;
}

}  // namespace

TEST(NumberParser, WholeTextIsOneNumber) {
    EXPECT_EQ(Number("1.5"), 1.5);
    EXPECT_EQ(Number(" \t-2e3\r\n"), -2000.0);
    EXPECT_EQ(Number("+.5"), 0.5);
    EXPECT_EQ(Number("5."), 5.0);
    EXPECT_EQ(Number("1E+02"), 100.0);
}

// Short ones go a way of their own.
TEST(NumberParser, TakesWhatTheStandardLibraryTakes) {
    std::mt19937 random(1);
    for (int i = 0; i < 200'000; ++i) {
        static constexpr std::string_view Bytes = "0123456789012345678901234567890123456789..-eE+x ";
        std::string text(random() % 24, ' ');
        for (char& c : text) {
            c = Bytes[random() % (i % 2 == 0 ? 41 : Bytes.size())];
        }
        text += i % 3 == 0 ? "." + std::to_string(random()) : "";
        const std::string_view trimmed = TrimSpace(text);
        if (trimmed.starts_with('+')) {
            continue;
        }
        double expected = 0.0;
        const auto [stop, error] = std::from_chars(trimmed.data(), trimmed.data() + trimmed.size(), expected);
        if (error == std::errc::result_out_of_range) {
            continue;
        }
        double value = 99.0;
        ASSERT_EQ(ParseDouble(trimmed, value), static_cast<std::size_t>(stop - trimmed.data())) << trimmed;
        ASSERT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(expected)) << trimmed;
    }
}

TEST(NumberParser, AnythingElseIsNone) {
    for (const char* text : {"", " ", "1,5", "1.5x", "x", "--1", "+-1", "1 2", "e5", ".", "+", "0x10"}) {
        EXPECT_FALSE(IsDouble(text)) << text;
    }
}

TEST(NumberParser, OutOfRangeBecomesInfinityOrZero) {
    EXPECT_EQ(Number("1e999"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(Number("-1e999"), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(Number("1e-999"), 0.0);
    EXPECT_EQ(Number(std::string(400, '9')), std::numeric_limits<double>::infinity());
    EXPECT_EQ(Number("0." + std::string(400, '0') + "1"), 0.0);
}

TEST(NumberParser, DigitsAndExponentDecideTogetherWhatIsOutOfRange) {
    const std::string zeros(400, '0');
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(Number("0." + zeros + "1e5"), 0.0);
    EXPECT_TRUE(std::signbit(Number("-0." + zeros + "1e5")));
    EXPECT_EQ(Number("1" + zeros + "e-5"), infinity);
    EXPECT_EQ(Number("-001" + zeros + ".5e-5"), -infinity);
    EXPECT_EQ(Number("1" + zeros + "e-800"), 0.0);
    EXPECT_EQ(Number("0." + zeros + "1e800"), infinity);
    EXPECT_EQ(Number("0." + zeros + "1e401"), 1.0);
    EXPECT_EQ(Number(".1e99999999999999999999"), infinity);
}

TEST(NumberParser, NamesOfNonNumbers) {
    EXPECT_TRUE(std::isnan(Number("nan")));
    EXPECT_TRUE(std::isinf(Number("-inf")));
}

TEST(NumberParser, IntsHoldTheRangeOfInt) {
    int value = 0;
    EXPECT_TRUE(NvString::ToInt(" 2147483647 ", value));
    EXPECT_EQ(value, 2147483647);
    EXPECT_TRUE(NvString::ToInt("-2147483648", value));
    EXPECT_TRUE(NvString::ToInt("+7", value));
    EXPECT_EQ(value, 7);
    for (const char* text : {"2147483648", "-2147483649", "1.0", "", "7x", "99999999999999999999"}) {
        EXPECT_FALSE(IsInt(text)) << text;
    }
}

TEST(NumberParser, ReadsAsFarAsItGoes) {
    double value = 0.0;
    EXPECT_EQ(ParseDouble("12.5abc", value), 4U);
    EXPECT_EQ(value, 12.5);
    EXPECT_EQ(ParseDouble("  7", value), 3U);
    EXPECT_EQ(ParseDouble("abc", value), 0U);
    int whole = 0;
    EXPECT_EQ(ParseInt("12.5", whole), 2U);
    EXPECT_EQ(ParseInt("99999999999", whole), 11U);
    EXPECT_EQ(whole, std::numeric_limits<int>::max());
    EXPECT_EQ(ParseInt("-99999999999", whole), 12U);
    EXPECT_EQ(whole, std::numeric_limits<int>::min());
}

TEST(NumberParser, TellsWhereItEnded) {
    const char* text = " 1.25;rest";
    char* end = nullptr;
    EXPECT_EQ(NvString::nvstrtod(text, &end), 1.25);
    EXPECT_STREQ(end, ";rest");
    EXPECT_EQ(NvString::nvstrtod("none", nullptr), 0.0);
}

TEST(NumberFormat, IsThatOfPrintfInTheCLocale) {
    for (const double value : {0.0, 1.0, 0.1, 1e-5, 123456.0, 1234567.0, 1e100, -2.5, 1.0 / 3.0}) {
        EXPECT_EQ(FormatG(value), NvString::Format("%g", value));
        EXPECT_EQ(FormatG(value, 17), NvString::Format("%.17g", value));
    }
    EXPECT_EQ(FormatG(-std::nan("")), "nan");
    EXPECT_EQ(FormatG(std::numeric_limits<double>::infinity()), "inf");
}

TEST(NumberFormat, ShortestReadsBackTheSame) {
    EXPECT_EQ(FormatShortest(0.1F), "0.1");
    EXPECT_EQ(FormatShortest(0.1), "0.1");
    EXPECT_EQ(FormatShortest(-std::nanf("")), "nan");
    EXPECT_EQ(FormatShortest(-std::numeric_limits<float>::infinity()), "-inf");
}

TEST(NumberFormat, ProcessLocaleChangesNothing) {
    if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8") == nullptr) {
        GTEST_SKIP() << "there is no locale with a decimal comma here";
    }
    EXPECT_EQ(NvString::Format("%.1f", 1.5), "1.5");
    EXPECT_EQ(FormatG(1.5), "1.5");
    EXPECT_EQ(Number("1.5"), 1.5);
    std::setlocale(LC_NUMERIC, "C");
}

TEST(NvStringDuplicate, IsACopyOfItsOwn) {
    const char* text = "abc";
    char* copy = NvString::nvstrdup(text);
    EXPECT_NE(copy, text);
    EXPECT_STREQ(copy, "abc");
    delete[] copy;
}
