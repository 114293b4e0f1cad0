#include "instrument/SPCDate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/instrument/SPCBuilder.h"

TEST(SPCDateTest, MonthsHaveTheirLengths) {
    const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (int month = 1; month <= 12; ++month) {
        EXPECT_EQ(GetDaysInMonth(28, month, 2023), lengths[month - 1]) << month;
    }
}

TEST(SPCDateTest, FebruaryFollowsTheLeapYears) {
    EXPECT_EQ(GetDaysInMonth(30, 2, 2024), 29);
    EXPECT_EQ(GetDaysInMonth(30, 2, 1900), 28);
    EXPECT_EQ(GetDaysInMonth(30, 2, 2000), 29);
}

TEST(SPCDateTest, EarlyDayIsNotLookedAt) {
    EXPECT_EQ(GetDaysInMonth(27, 2, 2023), 27);
    EXPECT_EQ(GetDaysInMonth(-3, 77, 2023), -3);
}

TEST(SPCDateTest, MonthThatIsNoneHasNoLength) {
    EXPECT_EQ(GetDaysInMonth(28, 0, 2023), -1);
    EXPECT_EQ(GetDaysInMonth(31, 13, 2023), -1);
}

TEST(SPCDateTest, FormFollowsTheLargestUnitThatIsThere) {
    EXPECT_EQ(FormatSPCDate(SPCDate(2004, 5, 6, 7, 8), 1.5F), "2004-05-06 07:08:01.500");
    EXPECT_EQ(FormatSPCDate(SPCDate(0, 5, 6, 7, 8), 1.5F), "05-06 07:08:01.500");
    EXPECT_EQ(FormatSPCDate(SPCDate(0, 0, 6, 7, 8), 1.5F), "06 07:08:01.500");
    EXPECT_EQ(FormatSPCDate(SPCDate(0, 0, 0, 7, 8), 1.5F), "07:08:01.500");
    EXPECT_EQ(FormatSPCDate(SPCDate(0, 0, 0, 0, 8), 1.5F), "08:01.500");
    EXPECT_EQ(FormatSPCDate(0, 1.5F), "01.500");
    EXPECT_EQ(FormatSPCDate(SPCDate(4, 0, 0, 0, 0), 0.0F), "0004-00-00 00:00:00.000");
}

TEST(SPCDateTest, TimeMovesTheDateOnByMinutes) {
    const std::uint32_t date = SPCDate(2004, 5, 6, 7, 8);
    EXPECT_EQ(FormatSPCDate(date, 0.0F), "2004-05-06 07:08:00.000");
    EXPECT_EQ(FormatSPCDate(date, 90.5F), "2004-05-06 07:09:30.500");
    EXPECT_EQ(FormatSPCDate(date, 3120.0F), "2004-05-06 08:00:00.000");
    EXPECT_EQ(FormatSPCDate(date, 60720.0F), "2004-05-07 00:00:00.000");
}

TEST(SPCDateTest, DaysCarryOverMonthsAndYears) {
    EXPECT_EQ(FormatSPCDate(SPCDate(2003, 12, 31, 23, 59), 60.0F), "2004-01-01 00:00:00.000");
    EXPECT_EQ(FormatSPCDate(SPCDate(2004, 2, 28, 0, 0), 86400.0F), "2004-02-29 00:00:00.000");
    EXPECT_EQ(FormatSPCDate(SPCDate(2004, 2, 28, 0, 0), 172800.0F), "2004-03-01 00:00:00.000");
    EXPECT_EQ(FormatSPCDate(SPCDate(2003, 1, 1, 0, 0), 31536000.0F), "2004-01-01 00:00:00.000");
    EXPECT_EQ(FormatSPCDate(SPCDate(2004, 1, 1, 0, 0), 31536000.0F), "2004-12-31 00:00:00.000");
}

TEST(SPCDateTest, MillisecondsAreCutAndNotRounded) {
    EXPECT_EQ(FormatSPCDate(0, 0.9999F), "00.999");
    EXPECT_EQ(FormatSPCDate(0, 1.001F), "01.001");
}

TEST(SPCDateTest, WithoutATimeItIsMidnight) {
    EXPECT_EQ(FormatSPCDate(SPCDate(2004, 5, 6, 7, 8), -1.0F), "00:00:00.000");
    EXPECT_EQ(FormatSPCDate(SPCDate(2004, 5, 6, 7, 8), std::nanf("")), "00:00:00.000");
    EXPECT_EQ(FormatSPCDate(SPCDate(2004, 5, 6, 7, 8), -0.0F), "2004-05-06 07:08:00.000");
}

TEST(SPCDateTest, TimesBeyondAnyClockAddNothing) {
    const std::uint32_t date = SPCDate(2004, 5, 6, 7, 8);
    EXPECT_EQ(FormatSPCDate(date, 1e30F), "2004-05-06 07:08:00.000");
    EXPECT_EQ(FormatSPCDate(date, std::numeric_limits<float>::infinity()), "2004-05-06 07:08:00.000");
}

TEST(SPCDateTest, DateThatIsNoneIsCarriedOnlyWhenMinutesAreAdded) {
    EXPECT_EQ(FormatSPCDate(SPCDate(2003, 2, 31, 0, 0), 59.0F), "2003-02-31 00:00:59.000");
    EXPECT_EQ(FormatSPCDate(SPCDate(2003, 2, 31, 0, 0), 60.0F), "2003-03-01 00:01:00.000");
    EXPECT_EQ(FormatSPCDate(SPCDate(2003, 13, 1, 0, 0), 60.0F), "2004-01-01 00:01:00.000");
    EXPECT_EQ(FormatSPCDate(SPCDate(0, 0, 27, 0, 0), 86400.0F), "01-01 00:00:00.000");
}

TEST(SPCDateTest, DayThatIsNoneAndAFullDayAreOneCarry) {
    EXPECT_EQ(FormatSPCDate(SPCDate(2003, 2, 30, 23, 59), 60.0F), "2003-03-01 00:00:00.000");
    EXPECT_EQ(FormatSPCDate(SPCDate(2003, 2, 30, 23, 58), 120.0F), "2003-03-02 00:00:00.000");
    EXPECT_EQ(FormatSPCDate(SPCDate(2003, 2, 31, 30, 63), 60.0F), "2003-03-01 07:04:00.000");
    EXPECT_EQ(FormatSPCDate(SPCDate(2003, 13, 28, 23, 59), 60.0F), "2004-02-01 00:00:00.000");
}

TEST(SPCDateTest, LongTimesAreAsManyShortOnes) {
    // Day by day, against the carries of many months at once.
    std::uint32_t day = 6;
    std::uint32_t month = 5;
    std::uint32_t year = 1996;
    for (int days = 0; days < 2000; days += 8) {
        // Multiples of 8 days are whole floats.
        EXPECT_EQ(FormatSPCDate(SPCDate(1996, 5, 6, 0, 0), static_cast<float>(days) * 86400.0F),
                  FormatSPCDate(SPCDate(year, month, day, 0, 0), 0.0F));
        for (int i = 0; i < 8; ++i) {
            ++day;
            if (static_cast<int>(day) > GetDaysInMonth(31, static_cast<int>(month), static_cast<int>(year))) {
                day = 1;
                ++month;
            }
            if (month == 13) {
                month = 1;
                ++year;
            }
        }
    }
}
