#include "base/DateText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>

namespace {

constexpr std::int64_t Second = 1'000'000;
constexpr std::int64_t Day = 86'400 * Second;

std::string Printed(const char* form, long long a, int b, int c) {
    char text[64];
    std::snprintf(text, sizeof text, form, a, b, c);
    return text;
}

}  // namespace

TEST(DateText, DatesStandAsPeopleWriteThem) {
    EXPECT_EQ(FormatDate(0), "1970-01-01");
    EXPECT_EQ(FormatDate(-1), "1969-12-31");
    EXPECT_EQ(FormatDate(11016), "2000-02-29");
    EXPECT_EQ(FormatDate(20'348), "2025-09-17");
    EXPECT_EQ(FormatDate(-719'528), "0000-01-01");
    EXPECT_EQ(FormatDate(-719'529), "-001-12-31");
    EXPECT_EQ(FormatDate(2'932'896), "9999-12-31");
    EXPECT_EQ(FormatDate(2'932'897), "10000-01-01");
    EXPECT_EQ(FormatDate(std::numeric_limits<std::int32_t>::max()), "5881580-07-11");
    EXPECT_EQ(FormatDate(std::numeric_limits<std::int32_t>::min()), "-5877641-06-23");
}

// Counted up day by day over twelve hundred years, those before the year 0 too.
TEST(DateText, EveryDayFollowsTheOneBefore) {
    constexpr int Lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    std::int32_t days = -719'528 - 365 * 200 - 48;  // the first day of the year -200
    int mismatches = 0;
    for (int year = -200; year <= 1000; ++year) {
        const bool isLeap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
        for (int month = 1; month <= 12; ++month) {
            const int length = Lengths[month - 1] + (month == 2 && isLeap ? 1 : 0);
            for (int day = 1; day <= length; ++day) {
                mismatches += FormatDate(days++) == Printed("%04lld-%02d-%02d", year, month, day) ? 0 : 1;
            }
        }
    }
    EXPECT_EQ(mismatches, 0);
}

TEST(DateText, TimesHaveAsMuchOfAFractionAsThereIs) {
    EXPECT_EQ(FormatTime(0), "00:00:00");
    EXPECT_EQ(FormatTime(Day - 1), "23:59:59.999999");
    EXPECT_EQ(FormatTime(13 * 3600 * Second + 42 * 60 * Second + Second / 2), "13:42:00.5");
    EXPECT_EQ(FormatTime(1), "00:00:00.000001");
    EXPECT_EQ(FormatDateTime(0), "1970-01-01T00:00:00");
    EXPECT_EQ(FormatDateTime(-1, ' '), "1969-12-31 23:59:59.999999");
    EXPECT_EQ(FormatDateTime(20'348 * Day + 9 * 3600 * Second + 10), "2025-09-17T09:00:00.00001");
}

TEST(DateText, DurationsHaveHoursWithoutEndAndASign) {
    EXPECT_EQ(FormatDuration(0), "0:00:00");
    EXPECT_EQ(FormatDuration(30 * 3600 * Second), "30:00:00");
    EXPECT_EQ(FormatDuration(-1 * Second - Second / 2), "-0:00:01.5");
    EXPECT_EQ(FormatDuration(std::numeric_limits<std::int64_t>::max()), "2562047788:00:54.775807");
    EXPECT_EQ(FormatDuration(std::numeric_limits<std::int64_t>::min()), "-2562047788:00:54.775808");
}
