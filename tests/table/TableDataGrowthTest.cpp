#include "table/TableData.h"

#include <gtest/gtest.h>

#include <string>

#include "base/Budget.h"

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

// The last column of a worksheet in each of many rows: the cells cost what they are, not their rows' width.
TEST(TableDataGrowthTest, CellsFarToTheRightCostThemselvesAlone) {
    constexpr int Far = 16384;
    constexpr int Rows = 100'000;
    karta::Budget budget;
    TableData table;
    table.SetBudget(&budget);
    table.SetDataSize(Far, Rows);
    for (int row = 1; row <= Rows; ++row) {
        table.Set(1, row, row);
        table.Set(Far, row, row + 1);
    }
    EXPECT_LT(budget.GetMemory(), 200U * Rows);
    EXPECT_EQ(table.GetInt64(1, Rows), Rows);
    EXPECT_EQ(table.GetInt64(Far, Rows), Rows + 1);
    EXPECT_EQ(table.GetKind(Far - 1, Rows), TableData::Missing);
    int col = 0;
    int row = 0;
    EXPECT_TRUE(table.GetDataOrigin(&col, &row));
    EXPECT_EQ(col, 1);
    table.SetDataSize(Far - 1, Rows);
    EXPECT_EQ(table.GetKind(Far, 7), TableData::Missing);
}

// However a wide row is filled, what was set is there.
TEST(TableDataGrowthTest, RowsFilledFromFarAndNear) {
    constexpr int Cols = 3000;
    constexpr int Rows = 2000;
    for (const int step : {1, 7, 101, 1499}) {
        TableData table;
        table.SetDataSize(Cols, Rows);
        for (const int row : {1, 2, Rows}) {
            for (int i = 0, col = step; i < Cols; ++i, col = (col + step) % Cols) {
                table.Set(col + 1, row, col + row);
            }
        }
        for (const int row : {1, 2, Rows}) {
            for (int i = 0, col = step; i < Cols; ++i, col = (col + step) % Cols) {
                ASSERT_EQ(table.GetInt64(col + 1, row), col + row) << step;
            }
        }
        EXPECT_EQ(table.GetKind(5, 3), TableData::Missing);
    }
    TableData backwards;
    backwards.SetDataSize(Cols, Rows);
    for (int col = Cols; col >= 1; --col) {
        backwards.Set(col, Rows, col);
    }
    for (int col = 1; col <= Cols; ++col) {
        ASSERT_EQ(backwards.GetInt64(col, Rows), col);
    }
}

TEST(TableDataGrowthTest, LongTextInManyCellsIsKeptOnce) {
    const std::string text(1 << 20, 'x');
    karta::Budget budget;
    TableData table;
    table.SetBudget(&budget);
    for (int row = 1; row <= 500; ++row) {
        table.Set(1, row, text.c_str());
        table.SetText(2, row, text);
    }
    EXPECT_LT(budget.GetMemory(), 3U << 20);
    EXPECT_EQ(table.GetString(2, 500), text);
}

TEST(TableDataGrowthTest, BudgetEndsATableThatOutgrowsIt) {
    karta::Budget budget;
    budget.SetLimit(1 << 20);
    TableData table;
    table.SetBudget(&budget);
    const auto fill = [&] {
        for (int row = 1; row <= 1'000'000; ++row) {
            table.Set(1, row, row);
        }
    };
    EXPECT_THROW(fill(), karta::BudgetExceeded);
    EXPECT_LE(budget.GetMemory(), 1U << 20);
    try {
        fill();
    } catch (const karta::BudgetExceeded& exceeded) {
        EXPECT_NE(std::string(exceeded.what()).find("--limit"), std::string::npos);
    }
}
