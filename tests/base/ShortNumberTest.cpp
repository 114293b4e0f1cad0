// Short numbers taken a word at a time must be what the parser makes of the same characters, and end there.
#include "base/ShortNumber.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <random>
#include <string>

#include "base/NumberParser.h"

namespace {

std::string RandomField(std::mt19937& random) {
    static constexpr std::string_view Characters = "0123456789012345678901234567890123456789.-+e ,";
    std::string field;
    for (std::size_t length = random() % 10; field.size() < length;) {
        field += Characters[random() % Characters.size()];
    }
    return field;
}

TEST(ShortNumberTest, TakesWhatTheParserTakes) {
    std::mt19937 random(1);
    int taken = 0;
    for (int round = 0; round < 200'000; ++round) {
        const std::string field = RandomField(random);
        const std::string text = field + "\t" + RandomField(random) + "\tbehind it";
        double value = -1.0;
        const char* const behind = TakeShortNumber(text.data(), text.data() + text.size(), '\t', value);
        if (behind == nullptr) {
            continue;
        }
        ++taken;
        ASSERT_EQ(behind - text.data(), static_cast<std::ptrdiff_t>(field.size())) << field;
        double wanted = 0.0;
        ASSERT_EQ(ParseDouble(field, wanted), field.size()) << field;
        ASSERT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(wanted)) << field;
    }
    EXPECT_GT(taken, 50'000);
}

TEST(ShortNumberTest, TakesEachShortPlainNumber) {
    for (const std::string number :
         {"0", "7", "-3", "1234567", "-1234567", "0.5", ".25", "5.", "-0", "12.345"}) {
        const std::string text = number + "\t0123456789";
        double value = -1.0;
        EXPECT_EQ(TakeShortNumber(text.data(), text.data() + text.size(), '\t', value),
                  text.data() + number.size())
            << number;
        EXPECT_EQ(value, ToLeadingDouble(number));
    }
}

TEST(ShortNumberTest, LeavesAllElseAlone) {
    for (const std::string field :
         {"", ".", "-", "--1", "1.2.3", "1e5", "12345678", " 1", "1 ", "NaN", "\xb2"}) {
        const std::string text = field + "\t0123456789";
        double value = 0.0;
        EXPECT_EQ(TakeShortNumber(text.data(), text.data() + text.size(), '\t', value), nullptr) << field;
    }
    // Where the bytes end with the delimiter, or before it.
    const std::string last = "1\t";
    double value = 0.0;
    EXPECT_EQ(TakeShortNumber(last.data(), last.data() + last.size(), '\t', value), nullptr);
}

TEST(ShortNumberTest, PutsDigitsBehindOthers) {
    for (std::uint64_t digits : {0U, 5U, 12U, 9999999U}) {
        const std::string own = std::to_string(digits);
        const std::string text = own + "J2345678";
        std::uint64_t number = 3;
        EXPECT_EQ(TakeShortDigits(text.data(), text.data() + text.size(), number), text.data() + own.size());
        EXPECT_EQ(std::to_string(number), "3" + own);
    }
    const std::string none = "J2345678";
    std::uint64_t number = 3;
    EXPECT_EQ(TakeShortDigits(none.data(), none.data() + none.size(), number), none.data());
    EXPECT_EQ(number, 3U);
    const std::string many = "123456789";
    EXPECT_EQ(TakeShortDigits(many.data(), many.data() + many.size(), number), nullptr);
    EXPECT_EQ(TakeShortDigits(many.data(), many.data() + 7, number), nullptr);
    EXPECT_EQ(number, 3U);
}

}  // namespace
