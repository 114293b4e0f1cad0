#include "base/DateParser.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

constexpr double Day19970318 = 35507;

double Parse(std::string_view text) {
    COleDateTime date;
    return date.ParseDateTime(text) ? date.GetSerial() : -1e9;
}

constexpr double None = -1e9;

}  // namespace

TEST(DateParserTest, MonthDayYear) {
    EXPECT_EQ(Parse("3/18/1997"), Day19970318);
    EXPECT_EQ(Parse("03/18/97"), Day19970318);
    EXPECT_EQ(Parse("3-18-97"), Day19970318);
}

TEST(DateParserTest, DayFirstWhereItCanBeNoMonth) {
    EXPECT_EQ(Parse("18/3/1997"), Day19970318);
    EXPECT_EQ(Parse("18.3.97"), Day19970318);
}

TEST(DateParserTest, YearFirst) {
    EXPECT_EQ(Parse("1997/03/18"), Day19970318);
    EXPECT_EQ(Parse("1997-3-18"), Day19970318);
    EXPECT_EQ(Parse("97/03/18"), Day19970318);
}

TEST(DateParserTest, NamedMonths) {
    for (const char* text : {"18-Mar-97", "18 March 1997", "March 18, 1997", "mar 18 97", "18-MAR-1997",
                             "1997 Mar 18", "Tuesday, March 18, 1997", "Tue Mar 18 1997"}) {
        EXPECT_EQ(Parse(text), Day19970318) << text;
    }
}

TEST(DateParserTest, YearsOfTwoDigitsTurnAtThirty) {
    EXPECT_EQ(Parse("1/1/29"), 47119);
    EXPECT_EQ(Parse("1/1/30"), 10959);
}

TEST(DateParserTest, Times) {
    EXPECT_EQ(Parse("06:00"), 0.25);
    EXPECT_EQ(Parse("18:00:00"), 0.75);
    EXPECT_EQ(Parse("6 pm"), 0.75);
    EXPECT_EQ(Parse("12:00 AM"), 0.0);
    EXPECT_EQ(Parse("12:00 PM"), 0.5);
}

TEST(DateParserTest, DateWithTimeInEitherOrder) {
    EXPECT_EQ(Parse("97/03/18 06:00:00"), Day19970318 + 0.25);
    EXPECT_EQ(Parse("06:00 18-Mar-97"), Day19970318 + 0.25);
    EXPECT_EQ(Parse("1997-03-18T18:00:00"), Day19970318 + 0.75);
    EXPECT_EQ(Parse("18-Mar-97, 18:00:00"), Day19970318 + 0.75);
}

TEST(DateParserTest, BeforeDayZeroTheTimeStillCountsUp) {
    EXPECT_EQ(Parse("12/29/1899 06:00"), -1.25);
    EXPECT_EQ(Parse("12/30/1899"), 0.0);
}

TEST(DateParserTest, LeapDays) {
    EXPECT_EQ(Parse("2/29/2000"), 36585);
    EXPECT_EQ(Parse("2/29/1900"), None);
}

TEST(DateParserTest, WhatIsNoDateLeavesTheValue) {
    for (const char* text : {"", " ", "hello", "13/13/97", "18 Brumaire 1997", "1/2", "1997", "25:00",
                             "12:60", "13 pm", "1/2/3/4", "Mar Apr 1997", "99999/1/1", "18#3#97", "Mar 18"}) {
        COleDateTime date;
        ASSERT_TRUE(date.ParseDateTime("3/18/1997"));
        EXPECT_FALSE(date.ParseDateTime(text)) << text;
        EXPECT_EQ(date.GetSerial(), Day19970318);
    }
}
