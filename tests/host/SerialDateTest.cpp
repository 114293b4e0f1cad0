#include "host/SerialDate.h"

#include <gtest/gtest.h>

#include <limits>

TEST(SerialDate, WholeNumbersAreDates) {
    EXPECT_EQ(IEEEDate_2_string(1), "1900-01-01");
    EXPECT_EQ(IEEEDate_2_string(59), "1900-02-28");
    EXPECT_EQ(IEEEDate_2_string(60), "1900-02-29");
    EXPECT_EQ(IEEEDate_2_string(61), "1900-03-01");
    EXPECT_EQ(IEEEDate_2_string(36526), "2000-01-01");
    EXPECT_EQ(IEEEDate_2_string(2958465), "9999-12-31");
}

TEST(SerialDate, NumbersBelowOneAreTimes) {
    EXPECT_EQ(IEEEDate_2_string(0), "00:00:00");
    EXPECT_EQ(IEEEDate_2_string(0.5), "12:00:00");
    EXPECT_EQ(IEEEDate_2_string(0.25 + 1.0 / 86400), "06:00:01");
}

TEST(SerialDate, OthersAreBoth) {
    EXPECT_EQ(IEEEDate_2_string(36526.75), "2000-01-01 18:00:00");
}

TEST(SerialDate, SecondsRoundIntoTheDay) {
    EXPECT_EQ(IEEEDate_2_string(36526.999999), "2000-01-02");
    EXPECT_EQ(IEEEDate_2_string(0.999999), "1900-01-01");
    EXPECT_EQ(IEEEDate_2_string(2958465.999994), "9999-12-31 23:59:59");
}

TEST(SerialDate, WhatIsNoDateIsANumber) {
    EXPECT_EQ(IEEEDate_2_string(-1.5), "-1.5");
    EXPECT_EQ(IEEEDate_2_string(2958466), "2958466");
    EXPECT_EQ(IEEEDate_2_string(1e300), "1e+300");
    EXPECT_EQ(IEEEDate_2_string(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(IEEEDate_2_string(std::numeric_limits<double>::infinity()), "inf");
}
