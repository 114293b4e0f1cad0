#include "spreadsheet/NumberFormats.h"

#include <gtest/gtest.h>

#include <limits>

#include "base/DateText.h"
#include "spreadsheet/CellErrors.h"

namespace {

constexpr DateSystem From1900 = DateSystem::From1900;
constexpr DateSystem From1904 = DateSystem::From1904;

// What a serial number arrives as, with its type in front.
std::string Arrive(double serial, NumberKind kind, DateSystem system = From1900) {
    const SerialValue value = ConvertSerial(serial, kind, system);
    switch (value.type) {
        case SerialValue::Type::Number:
            return "number";
        case SerialValue::Type::Date:
            return "date " + FormatDate(static_cast<std::int32_t>(value.value));
        case SerialValue::Type::Time:
            return "time " + FormatTime(value.value);
        case SerialValue::Type::DateTime:
            return "datetime " + FormatDateTime(value.value);
        case SerialValue::Type::Duration:
            return "duration " + FormatDuration(value.value);
        case SerialValue::Type::NeverWas:
            return "text 1900-02-29";
    }
    return {};
}

}  // namespace

TEST(NumberFormatsTest, ACodeIsOneOfDatesByItsLetters) {
    EXPECT_EQ(NumberFormats::Classify("yyyy-mm-dd"), NumberKind::Date);
    EXPECT_EQ(NumberFormats::Classify("DD/MM/YYYY"), NumberKind::Date);
    EXPECT_EQ(NumberFormats::Classify("mmm"), NumberKind::Date);
    EXPECT_EQ(NumberFormats::Classify("yyyy\\-mm\\-dd\\ hh:mm:ss"), NumberKind::DateTime);
    EXPECT_EQ(NumberFormats::Classify("h:mm AM/PM"), NumberKind::Time);
    EXPECT_EQ(NumberFormats::Classify("mm:ss.0"), NumberKind::Time);
    EXPECT_EQ(NumberFormats::Classify("[$-409]m/d/yy h:mm AM/PM;@"), NumberKind::DateTime);
}

TEST(NumberFormatsTest, WhatShowsNoPartOfTheNumberDoesNotCount) {
    for (const char* code : {"0 \"days\"", "0\\d", "0_d", "*d0", "[Red]0.00", "[red]0", "[$-804]0", "General",
                             "GENERAL", "0.00;[h]:mm", "0;\"x;\"yyyy", "@", "", "0.00E+00",
                             "\"never closed y", "[Red", "0\\", "# ?/?", "[>100]0;0"}) {
        EXPECT_EQ(NumberFormats::Classify(code), NumberKind::Number) << code;
    }
    EXPECT_EQ(NumberFormats::Classify("\"a;b\"yyyy"), NumberKind::Date);
}

TEST(NumberFormatsTest, AnElapsedTokenCountsOn) {
    for (const char* code : {"[h]:mm:ss", "[HH]:mm", "[mm]:ss", "[s]", "[Red][hh]:mm"}) {
        EXPECT_EQ(NumberFormats::Classify(code), NumberKind::Elapsed) << code;
    }
    EXPECT_EQ(NumberFormats::Classify("[hm]0"), NumberKind::Number);
}

TEST(NumberFormatsTest, TheWorkbooksOwnCodeWins) {
    NumberFormats formats;
    EXPECT_EQ(formats.GetKind(14), NumberKind::Date);
    EXPECT_EQ(formats.GetKind(164), NumberKind::Number);
    formats.Define(14, "0.00");
    formats.Define(164, "0.00");
    formats.Define(164, "h:mm");
    EXPECT_EQ(formats.GetKind(14), NumberKind::Number);
    EXPECT_EQ(formats.GetKind(164), NumberKind::Time);
    formats.Clear();
    EXPECT_EQ(formats.GetKind(14), NumberKind::Date);
}

TEST(NumberFormatsTest, BuiltInNumbers) {
    const NumberFormats formats;
    std::string dates;
    for (int number = 0; number < 70; ++number) {
        dates += formats.GetKind(number) == NumberKind::Number ? "" : std::to_string(number) + " ";
    }
    EXPECT_EQ(
        dates,
        "14 15 16 17 18 19 20 21 22 27 28 29 30 31 32 33 34 35 36 45 46 47 50 51 52 53 54 55 56 57 58 ");
    EXPECT_EQ(formats.GetKind(22), NumberKind::DateTime);
    EXPECT_EQ(formats.GetKind(46), NumberKind::Elapsed);
    EXPECT_EQ(formats.GetKind(20), NumberKind::Time);
}

TEST(NumberFormatsTest, DatesFrom1900) {
    EXPECT_EQ(Arrive(44197, NumberKind::Date), "date 2021-01-01");
    EXPECT_EQ(Arrive(44197, NumberKind::DateTime), "datetime 2021-01-01T00:00:00");
    EXPECT_EQ(Arrive(44197.423726851855, NumberKind::DateTime), "datetime 2021-01-01T10:10:10");
    EXPECT_EQ(Arrive(44197.5, NumberKind::Date), "datetime 2021-01-01T12:00:00");
    EXPECT_EQ(Arrive(1, NumberKind::Date), "date 1900-01-01");
    EXPECT_EQ(Arrive(59, NumberKind::Date), "date 1900-02-28");
    EXPECT_EQ(Arrive(60, NumberKind::Date), "text 1900-02-29");
    EXPECT_EQ(Arrive(60.5, NumberKind::Date), "number");
    EXPECT_EQ(Arrive(61, NumberKind::Date), "date 1900-03-01");
    EXPECT_EQ(Arrive(2958465, NumberKind::Date), "date 9999-12-31");
    EXPECT_EQ(Arrive(0.25, NumberKind::DateTime), "time 06:00:00");
}

TEST(NumberFormatsTest, DatesFrom1904) {
    EXPECT_EQ(Arrive(42735, NumberKind::Date, From1904), "date 2021-01-01");
    EXPECT_EQ(Arrive(0, NumberKind::Date, From1904), "date 1904-01-01");
    EXPECT_EQ(Arrive(0.5, NumberKind::DateTime, From1904), "datetime 1904-01-01T12:00:00");
    EXPECT_EQ(Arrive(0.5, NumberKind::Time, From1904), "time 12:00:00");
    EXPECT_EQ(Arrive(1.25, NumberKind::Elapsed, From1904), "duration 30:00:00");
    EXPECT_EQ(Arrive(1.5, NumberKind::Time, From1904), "datetime 1900-01-01T12:00:00");
}

TEST(NumberFormatsTest, TimesAndElapsedTimes) {
    EXPECT_EQ(Arrive(0, NumberKind::Time), "time 00:00:00");
    EXPECT_EQ(Arrive(0.57083333333333333, NumberKind::Time), "time 13:42:00");
    EXPECT_EQ(Arrive(1.5, NumberKind::Time), "datetime 1900-01-01T12:00:00");
    EXPECT_EQ(Arrive(0.000011574074, NumberKind::Time), "time 00:00:01");
    EXPECT_EQ(Arrive(1.0 / 86400 / 1000 * 1500, NumberKind::Time), "time 00:00:01.5");
    EXPECT_EQ(Arrive(1.25, NumberKind::Elapsed), "duration 30:00:00");
    EXPECT_EQ(Arrive(-0.5, NumberKind::Elapsed), "duration -12:00:00");
    EXPECT_EQ(Arrive(0.5000001, NumberKind::Elapsed), "duration 12:00:00");
}

// Programs write a day in our time with fifteen digits, which is off by microseconds.
TEST(NumberFormatsTest, MillisecondsComeBackWhole) {
    EXPECT_EQ(Arrive(44197.4237282755, NumberKind::DateTime), "datetime 2021-01-01T10:10:10.123");
    EXPECT_EQ(Arrive(44197.9999999999999, NumberKind::DateTime), "datetime 2021-01-02T00:00:00");
    EXPECT_EQ(Arrive(45000.000001, NumberKind::DateTime), "datetime 2023-03-15T00:00:00.0864");
}

TEST(NumberFormatsTest, WhatNoDateCanBeStaysANumber) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const NumberKind kind :
         {NumberKind::Date, NumberKind::DateTime, NumberKind::Time, NumberKind::Elapsed}) {
        for (const double serial :
             {1e300, -1e300, 2958466.0 + 1, infinity, -infinity, std::numeric_limits<double>::quiet_NaN()}) {
            EXPECT_EQ(Arrive(serial, kind), "number") << serial;
            EXPECT_EQ(Arrive(serial, kind, From1904), "number") << serial;
        }
    }
    EXPECT_EQ(Arrive(-1, NumberKind::Date), "number");
    EXPECT_EQ(Arrive(2958466, NumberKind::Date), "number");
    EXPECT_EQ(Arrive(12.5, NumberKind::Number), "number");
}

TEST(CellErrorsTest, CodesAreComparedAsTheyAre) {
    EXPECT_EQ(GetErrorText(0x00), "#NULL!");
    EXPECT_EQ(GetErrorText(0x07), "#DIV/0!");
    EXPECT_EQ(GetErrorText(0x0f), "#VALUE!");
    EXPECT_EQ(GetErrorText(0x17), "#REF!");
    EXPECT_EQ(GetErrorText(0x1d), "#NAME?");
    EXPECT_EQ(GetErrorText(0x24), "#NUM!");
    EXPECT_EQ(GetErrorText(0x2a), "#N/A");
    EXPECT_EQ(GetErrorText(0x2b), "#GETTING_DATA");
    EXPECT_EQ(GetErrorText(0x01), "#UNKNOWN!");
}

TEST(CellErrorsTest, CellsHaveTheirSpreadsheetNames) {
    EXPECT_EQ(GetCellName(1, 1), "A1");
    EXPECT_EQ(GetCellName(26, 7), "Z7");
    EXPECT_EQ(GetCellName(27, 7), "AA7");
    EXPECT_EQ(GetCellName(16384, 1048576), "XFD1048576");
}

TEST(CellErrorsTest, OneNoteCountsTheErrors) {
    karta::Notes notes;
    ErrorCells cells;
    cells.AddTo(notes);
    EXPECT_TRUE(notes.IsEmpty());
    cells.Add(2, 7, "#N/A");
    cells.AddTo(notes);
    EXPECT_EQ(notes.GetAll().back().text, "1 cell holds the error #N/A (B7)");
    cells.Add(3, 8, "#REF!", "Other");
    cells.AddTo(notes);
    EXPECT_EQ(notes.GetAll().back().text, "2 cells hold errors such as #N/A (first: B7)");
    EXPECT_EQ(notes.GetAll().back().count, 2U);
    EXPECT_EQ(notes.GetAll().back().place, "B7");
}
