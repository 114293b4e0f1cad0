// What a format's writer gets.
#include "tools/TableSource.h"

#include <gtest/gtest.h>

namespace {

void Fill(TableData& table) {
    table.Set(1, 1, "name");
    table.Set(2, 1, "x");
    table.Set(3, 1, "y");
    table.Set(1, 2, "007");
    table.Set(2, 2, " 1.5 ");
    table.SetBool(3, 2, true);
    table.Set(1, 3, "b");
    table.Set(2, 3, "-3e2");
    table.SetDate(3, 3, 20348);
}

}  // namespace

TEST(TableSource, NumericTextsAreNumbersForAWriterOfNumbers) {
    TableData table;
    Fill(table);
    const std::vector<int> rows = {1, 2, 3};
    NumericRows source(table, rows, false);
    int col = 0;
    int row = 0;
    EXPECT_TRUE(source.GetDataOrigin(&col, &row));
    EXPECT_EQ(col, 2);
    EXPECT_EQ(row, 2);
    EXPECT_EQ(source.GetFloatValue(2, 2), 1.5);
    EXPECT_EQ(source.GetFloatValue(3, 2), 1.0);
    EXPECT_EQ(source.GetFloatValue(2, 3), -300.0);
    EXPECT_TRUE(source.IsString(1, 2)) << "a leading zero makes a name";
    EXPECT_FALSE(source.IsString(2, 2));
    EXPECT_EQ(source.GetString(3, 3), "2025-09-17");
    EXPECT_EQ(source.CountUnwritable(), 1U);
    // Others get what is there.
    WantedRows plain(table, rows, false);
    EXPECT_TRUE(plain.IsString(2, 2));
    EXPECT_FALSE(plain.GetDataOrigin(&col, &row));
}

TEST(TableSource, OnlyWantedRowsAreThere) {
    TableData table;
    Fill(table);
    const std::vector<int> rows = {1, 3};
    NumericRows source(table, rows, false);
    EXPECT_EQ(source.GetNumberOfRows(), 2);
    EXPECT_EQ(source.GetFloatValue(2, 2), -300.0);
}

TEST(TableSource, SafeCellsAreNoFormulas) {
    for (const char* text : {"=1", "@x", "+x", "-x", "\tx", "\rx", "-1+1", "+"}) {
        EXPECT_EQ(SafeCell(text), "'" + std::string(text));
    }
    for (const char* text : {"", "a=1", "-1.5", "+1e3", "'=1", "1-1", " =1"}) {
        EXPECT_EQ(SafeCell(text), text);
    }
}
