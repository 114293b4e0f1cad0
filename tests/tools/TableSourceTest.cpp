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

// Many at once, for a writer that takes them so.
TEST(NumericRows, NumbersOfARowAreThoseOfItsCells) {
    TableData table;
    const std::vector<int> rows = {1, 2, 4, 6};
    constexpr int Cols = 9;
    for (int row = 1; row <= 6; ++row) {
        table.Set(1, row, 0.5 * row);
        table.Set(2, row, 0.25F);
        table.Set(3, row, row % 2 == 0 ? "12.5" : "text");
        table.Set(4, row, "007");
        table.Set(5, row, std::int64_t{1} << 40);
        table.SetBool(6, row, true);
        table.SetDate(7, row, 20'000);
        table.SetMissing(8, row);
        table.Set(9, row, 1.0 / row);
        table.SetSource(9, row, "a third");
    }
    for (const int heads : {0, 1}) {
        NumericRows source(table, rows, false, heads);
        for (int row = 1; row <= static_cast<int>(rows.size()); ++row) {
            for (int first = 1; first <= Cols; ++first) {
                // One more than there are columns.
                std::vector<double> numbers(static_cast<std::size_t>(Cols - first + 2));
                source.GetNumbers(first, row, numbers, -1.0);
                for (int col = first; col <= Cols + 1; ++col) {
                    EXPECT_EQ(numbers[static_cast<std::size_t>(col - first)],
                              source.IsFloat(col, row) ? source.GetFloatValue(col, row) : -1.0)
                        << col << "," << row;
                }
            }
        }
    }
}
