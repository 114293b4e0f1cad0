#include "base/ByteCursor.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>

#include "base/TolerantEqual.h"

namespace {

const std::array<std::uint8_t, 12> Bytes = {1, 2, 3, 4, 0xff, 0xfe, 'a', 0, 'b', 0x80, 0x3f, 9};

}  // namespace

TEST(ByteCursor, ReadsBothByteOrders) {
    ByteCursor cursor(Bytes);
    EXPECT_EQ(cursor.ReadU16(), 0x0201);
    EXPECT_EQ(cursor.ReadBigU16(), 0x0304);
    EXPECT_EQ(cursor.ReadI16(), -257);
    EXPECT_TRUE(cursor.Seek(0));
    EXPECT_EQ(cursor.ReadU32(), 0x04030201U);
    EXPECT_TRUE(cursor.Seek(0));
    EXPECT_EQ(cursor.ReadBigU32(), 0x01020304U);
    EXPECT_TRUE(cursor.Seek(7));
    EXPECT_EQ(cursor.ReadFloat(), ByteCursor(std::span(Bytes).subspan(7)).ReadFloat());
}

TEST(ByteCursor, ReadBeyondTheEndFailsAndGivesZero) {
    ByteCursor cursor(Bytes);
    EXPECT_TRUE(cursor.Seek(10));
    EXPECT_EQ(cursor.ReadU32(), 0U);
    EXPECT_TRUE(cursor.HasFailed());
    EXPECT_TRUE(cursor.AtEnd());
    EXPECT_EQ(cursor.ReadU8(), 0);
    EXPECT_TRUE(cursor.Seek(11));
    EXPECT_FALSE(cursor.HasFailed());
    EXPECT_EQ(cursor.ReadU8(), 9);
}

TEST(ByteCursor, NoCountIsTooLargeToAskFor) {
    ByteCursor cursor(Bytes);
    EXPECT_TRUE(cursor.Has(3, 4));
    EXPECT_FALSE(cursor.Has(4, 4));
    EXPECT_FALSE(cursor.Has(std::numeric_limits<std::uint64_t>::max(), 8));
    EXPECT_TRUE(cursor.Take(std::numeric_limits<std::uint64_t>::max()).empty());
    EXPECT_TRUE(cursor.HasFailed());
    cursor.Clear();
    EXPECT_FALSE(cursor.Seek(13));
    EXPECT_TRUE(cursor.Seek(12));
    EXPECT_TRUE(cursor.Skip(0));
    EXPECT_FALSE(cursor.Skip(1));
}

TEST(ByteCursor, TextsEndAtTheirFieldOrTheirNul) {
    ByteCursor cursor(Bytes);
    EXPECT_TRUE(cursor.Seek(6));
    EXPECT_EQ(cursor.ReadTerminatedText(3), "a");
    EXPECT_TRUE(cursor.Seek(6));
    EXPECT_EQ(cursor.ReadText(3), std::string_view("a\0b", 3));
}

TEST(TolerantEqual, HoldsWithinAFloatsLastPlace) {
    EXPECT_TRUE(TolerantEqual(1.0, 1.0 + 0x1p-23));
    EXPECT_TRUE(TolerantEqual(1.0, 1.0 + 0x1p-22));
    EXPECT_FALSE(TolerantEqual(1.0, 1.0 + 0x1p-21));
    EXPECT_TRUE(TolerantEqual(0.0, 0.0));
    EXPECT_FALSE(TolerantEqual(0.0, 1e-30));
    EXPECT_FALSE(TolerantEqual(-1.0, 1.0));
    EXPECT_TRUE(TolerantEqual(1e300, 1e300));
}

// By the definition, with any exponent.
TEST(TolerantEqual, QuickDecisionIsThatOfTheDefinition) {
    const auto equalByDefinition = [](double left, double right) {
        int exponent = 0;
        std::frexp(std::fabs(left) > std::fabs(right) ? left : right, &exponent);
        return std::fabs(left - right) <= std::ldexp(0x1p-23, exponent);
    };
    std::mt19937_64 random(5);
    int equal = 0;
    for (int round = 0; round < 200'000; ++round) {
        const double left = std::ldexp(static_cast<double>(random() >> 11U) * 0x1p-53 + 0.5,
                                       static_cast<int>(random() % 2040) - 1040) *
                            (round % 2 == 0 ? 1 : -1);
        const double apart = std::ldexp(left, -22 - static_cast<int>(random() % 4));
        for (const double right : {left, left + apart, left - apart, left + 2 * apart, -left, left * 1.5}) {
            ASSERT_EQ(TolerantEqual(left, right), equalByDefinition(left, right)) << left << " " << right;
            equal += TolerantEqual(left, right) ? 1 : 0;
        }
    }
    EXPECT_GT(equal, 400'000);
    EXPECT_LT(equal, 1'000'000);
}

TEST(TolerantEqual, NonNumbersEqualTheirOwnKind) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(TolerantEqual(nan, -nan));
    EXPECT_FALSE(TolerantEqual(nan, 1.0));
    EXPECT_TRUE(TolerantEqual(infinity, infinity));
    EXPECT_FALSE(TolerantEqual(infinity, -infinity));
    EXPECT_FALSE(TolerantEqual(infinity, 1e308));
}
