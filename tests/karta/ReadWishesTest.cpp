// What is wished of a read, in words and as options, and back.
#include "karta/internal/ReadWishes.h"

#include <gtest/gtest.h>

#include "karta/Error.h"

TEST(ReadWishes, OptionsComeBackFromWishes) {
    karta::ReadOptions options;
    options.format = "text";
    options.part = "2,Results";
    options.delimiter = ";";
    options.mergeDelimiters = true;
    options.encoding = "cp850";
    options.header = 3;
    options.decimal = ",";
    options.textColumns = "1,Name";
    options.types = false;
    options.dateOrder = "DMY";
    options.rowNames = "r";
    options.columnNames = "c";
    options.sideBySide = true;
    options.include = {{1100, 1200}, {1500.25, 1400}};
    options.average = 4;
    options.password = "secret";
    options.settings = {{"SkipRows", "2"}, {"Empty", ""}};
    options.budget = 1'000'000;
    const karta::ReadOptions back = karta::MakeReadOptions(karta::MakeWishes({"a"}, options));
    EXPECT_EQ(back.ToRecord(), options.ToRecord());
    EXPECT_EQ(back.format, options.format);
    EXPECT_EQ(back.part, options.part);
    EXPECT_EQ(back.delimiter, options.delimiter);
    EXPECT_EQ(back.include, options.include);
    EXPECT_EQ(back.settings, options.settings);
    EXPECT_EQ(back.password, options.password);
    EXPECT_EQ(back.budget, options.budget);
    EXPECT_EQ(back.types, options.types);
    EXPECT_EQ(back.reading, options.reading);
}

TEST(ReadWishes, WhatOptionsHaveNoWordForIsRefused) {
    karta::ReadWishes ofRows;
    ofRows.want = "1-3";
    karta::ReadWishes ofSheets;
    ofSheets.sheets = "1";
    karta::ReadWishes ofInterval;
    ofInterval.includes = {"1100-1200"};
    for (const karta::ReadWishes& wishes : {ofRows, ofSheets, ofInterval}) {
        try {
            karta::MakeReadOptions(wishes);
            ADD_FAILURE();
        } catch (const karta::Error& error) {
            EXPECT_EQ(error.GetCode(), karta::ErrorCode::BadOption) << error.what();
        }
    }
}
