#include "table/TableData.h"

#include <gtest/gtest.h>

// A million cells that each widen the table by one: were the row moved for each of them, this would take
// gigabytes and minutes.
TEST(TableDataGrowthTest, RowThatWidensTheTableCellByCell) {
    constexpr int Cols = 1'000'000;
    TableData table;
    for (int row = 1; row <= 3; ++row) {
        for (int col = 1; col <= Cols; ++col) {
            if (table.GetNumberOfColumns() < col) {
                table.SetDataSize(col, row);
            }
            table.Set(col, row, col + row);
        }
    }
    EXPECT_EQ(table.GetInt64(1, 1), 2);
    EXPECT_EQ(table.GetInt64(Cols, 1), Cols + 1);
    EXPECT_EQ(table.GetInt64(Cols / 2, 3), Cols / 2 + 3);
}

TEST(TableDataGrowthTest, AllRowsWidenedInTurn) {
    constexpr int Cols = 2000;
    constexpr int Rows = 200;
    TableData table;
    for (int col = 1; col <= Cols; ++col) {
        for (int row = 1; row <= Rows; ++row) {
            table.Set(col, row, col * row);
        }
    }
    EXPECT_EQ(table.GetInt64(1, Rows), Rows);
    EXPECT_EQ(table.GetInt64(Cols, Rows), Cols * Rows);
    EXPECT_EQ(table.GetInt64(Cols / 2, 7), Cols / 2 * 7);
}
