#include "spreadsheet/IsoTime.h"

#include <gtest/gtest.h>

#include "base/DateText.h"

namespace {

// What a text is, with its type in front.
std::string Parsed(std::string_view text) {
    const auto time = IsoTime::Parse(text);
    if (!time) {
        return "none";
    }
    switch (time->type) {
        case IsoTime::Type::Date:
            return "date " + FormatDate(static_cast<std::int32_t>(time->value));
        case IsoTime::Type::Time:
            return "time " + FormatTime(time->value);
        case IsoTime::Type::DateTime:
            return "datetime " + FormatDateTime(time->value);
        case IsoTime::Type::Duration:
            return "duration " + FormatDuration(time->value);
    }
    return {};
}

}  // namespace

TEST(IsoTimeTest, DatesAndTimes) {
    EXPECT_EQ(Parsed("2021-01-31"), "date 2021-01-31");
    EXPECT_EQ(Parsed(" 1969-12-31 "), "date 1969-12-31");
    EXPECT_EQ(Parsed("2021-01-31T10:10:10"), "datetime 2021-01-31T10:10:10");
    EXPECT_EQ(Parsed("2021-01-31T10:10"), "datetime 2021-01-31T10:10:00");
    EXPECT_EQ(Parsed("2021-01-31 10:10:10,25"), "datetime 2021-01-31T10:10:10.25");
    EXPECT_EQ(Parsed("2021-01-31T24:00:00"), "datetime 2021-02-01T00:00:00");
    EXPECT_EQ(Parsed("10:10:10"), "time 10:10:10");
}

TEST(IsoTimeTest, FractionsAreRoundedToMicroseconds) {
    EXPECT_EQ(Parsed("2009-05-07T11:01:02.00000024400651375"), "datetime 2009-05-07T11:01:02");
    EXPECT_EQ(Parsed("2014-01-16T15:59:59.99999979045242400"), "datetime 2014-01-16T16:00:00");
    EXPECT_EQ(Parsed("10:00:00.1234565"), "time 10:00:00.123457");
    EXPECT_EQ(Parsed("23:59:59.9999999"), "time 00:00:00");
}

TEST(IsoTimeTest, ATimeWithAZoneIsInUtc) {
    EXPECT_EQ(Parsed("2014-02-14T08:27:48.765Z"), "datetime 2014-02-14T08:27:48.765");
    EXPECT_EQ(Parsed("2014-02-14T08:27:48+02:00"), "datetime 2014-02-14T06:27:48");
    EXPECT_EQ(Parsed("2014-02-14T23:30:00-0100"), "datetime 2014-02-15T00:30:00");
}

TEST(IsoTimeTest, Durations) {
    EXPECT_EQ(Parsed("PT30H"), "duration 30:00:00");
    EXPECT_EQ(Parsed("P1DT6H0.5S"), "duration 30:00:00.5");
    EXPECT_EQ(Parsed("-PT1M"), "duration -0:01:00");
}

TEST(IsoTimeTest, AnyOtherTextIsNone) {
    for (const char* text : {"",
                             "-",
                             "P",
                             "PT",
                             "P1Y",
                             "PT1",
                             "1",
                             "2021",
                             "2021-02-30",
                             "2021-1-1",
                             "2021-01-31T",
                             "2021-01-31T10",
                             "2021-01-31T10:60",
                             "25:00:00",
                             "10:10:1",
                             "2021-01-31x",
                             "-10:10:10",
                             "2021-01-31T10:10:10+",
                             "PT1e400H",
                             "text"}) {
        EXPECT_EQ(Parsed(text), "none") << text;
    }
}
