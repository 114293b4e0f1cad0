#include "table/TableData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "base/TextArena.h"

TEST(TableData, KeepsEachNumberInItsType) {
    TableData table;
    table.Set(1, 1, 7);
    table.Set(2, 1, std::int64_t{1} << 60);
    table.Set(3, 1, 0.1F);
    table.Set(4, 1, 0.1);
    table.Set(5, 1, "text");
    EXPECT_EQ(table.GetKind(1, 1), TableData::Int);
    EXPECT_EQ(table.GetKind(2, 1), TableData::Int64);
    EXPECT_EQ(table.GetKind(3, 1), TableData::Float);
    EXPECT_EQ(table.GetKind(4, 1), TableData::Double);
    EXPECT_EQ(table.GetKind(5, 1), TableData::Text);
    EXPECT_EQ(table.GetKind(6, 1), TableData::Missing);
    EXPECT_EQ(table.GetInt64(2, 1), std::int64_t{1} << 60);
    EXPECT_EQ(table.GetFloat(3, 1), 0.1F);
    EXPECT_EQ(table.GetFloatValue(4, 1), 0.1);
    EXPECT_STREQ(table.GetText(5, 1), "text");
    EXPECT_EQ(table.GetString(3, 1), "0.1");
    EXPECT_EQ(table.GetString(1, 1), "7");
}

TEST(TableData, PlainNumbersAreFoundAndNothingElse) {
    TableData table;
    table.Set(1, 1, 0.1F);
    table.Set(2, 1, -1e300);
    table.Set(3, 1, 7);
    table.Set(4, 1, "0.5");
    table.SetMissing(5, 1);
    table.Set(6, 1, 1.5);
    table.SetSource(6, 1, "1.50");
    double value = 42.0;
    for (const int col : {3, 4, 5, 6, 7}) {
        EXPECT_EQ(table.FindPlainNumber(col, 1, value), TableData::Missing) << col;
        EXPECT_EQ(value, 42.0);
    }
    EXPECT_EQ(table.FindNumber(6, 1, value), TableData::Double) << "whatever it was written as";
    EXPECT_EQ(value, 1.5);
    table.SetSource(1, 1, "0.10");
    EXPECT_EQ(table.FindNumber(1, 1, value), TableData::Float);
    EXPECT_EQ(static_cast<float>(value), 0.1F);
    EXPECT_EQ(table.FindPlainNumber(1, 1, value), TableData::Missing);
    EXPECT_EQ(table.FindNumber(3, 1, value), TableData::Missing);
    table.Set(1, 1, 0.1F);
    EXPECT_EQ(table.FindPlainNumber(1, 1, value), TableData::Float);
    EXPECT_EQ(static_cast<float>(value), 0.1F);
    EXPECT_EQ(table.FindPlainNumber(2, 1, value), TableData::Double);
    EXPECT_EQ(value, -1e300);
}

namespace {

void ExpectSameCells(TableData& table, TableData& expected) {
    ASSERT_EQ(table.GetNumberOfColumns(), expected.GetNumberOfColumns());
    ASSERT_EQ(table.GetNumberOfRows(), expected.GetNumberOfRows());
    for (int row = 1; row <= expected.GetNumberOfRows() + 1; ++row) {
        const TableData::RowNumbers numbers = table.GetRowNumbers(row);
        for (int col = 1; col <= expected.GetNumberOfColumns() + 1; ++col) {
            ASSERT_EQ(table.GetKind(col, row), expected.GetKind(col, row)) << col << "," << row;
            if (expected.GetKind(col, row) == TableData::Missing) {
                continue;
            }
            ASSERT_EQ(table.GetString(col, row), expected.GetString(col, row)) << col << "," << row;
            double number = 0.0;
            double wanted = 0.0;
            if (numbers.IsBeyond(col)) {
                ASSERT_EQ(numbers.Find(col, number), TableData::Missing);
                continue;
            }
            ASSERT_EQ(numbers.FindPlain(col, number), expected.FindPlainNumber(col, row, wanted));
            ASSERT_EQ(numbers.Find(col, number), expected.FindNumber(col, row, wanted));
            if (expected.FindNumber(col, row, wanted) != TableData::Missing) {
                ASSERT_EQ(number, wanted);
            }
        }
    }
}

}  // namespace

// Of any length, at any place, over cells of other kinds, far to the right, and with sources behind.
TEST(TableData, RunsAreTheCellsThatTheyHold) {
    std::mt19937 random(5);
    for (const int columns : {3, 40, 900, 5000}) {
        TableData table;
        TableData expected;
        for (int step = 0; step < 300; ++step) {
            const int col = static_cast<int>(random() % 7 == 0 ? random() % static_cast<unsigned int>(columns)
                                                               : random() % 3);
            const int row = static_cast<int>(random() % 20);
            std::vector<double> doubles(random() % 3 == 0 ? random() % 1200 : random() % 5);
            std::generate(doubles.begin(), doubles.end(), [&] { return static_cast<double>(random()) / 7; });
            std::vector<float> floats(doubles.begin(), doubles.end());
            const auto kind = random() % 6;
            const int count = static_cast<int>(doubles.size());
            for (int i = 0; i < count; ++i) {
                const auto place = static_cast<std::size_t>(i);
                if (kind == 0) {
                    expected.Set(col + i, row, doubles[place]);
                } else if (kind == 1) {
                    expected.Set(col + i, row, floats[place]);
                } else if (kind == 2) {
                    expected.Set(col, row + i, doubles[place]);
                } else if (kind == 3) {
                    expected.Set(col, row + i, floats[place]);
                }
            }
            if (kind == 0) {
                table.SetRowRun(col, row, doubles);
            } else if (kind == 1) {
                table.SetRowRun(col, row, floats);
            } else if (kind == 2) {
                table.SetColumnRun(col, row, doubles);
            } else if (kind == 3) {
                table.SetColumnRun(col, row, floats);
            } else {
                for (TableData* const each : {&table, &expected}) {
                    each->SetSource(col, row, "source " + std::to_string(step));
                    each->Set(col + 1, row, step % 2 == 0 ? "text" : "another text");
                }
            }
        }
        ExpectSameCells(table, expected);
    }
}

TEST(TableData, NegativeNumbersStay) {
    TableData table;
    table.Set(1, 1, -7);
    table.Set(2, 1, std::int64_t{-7});
    table.Set(3, 1, -7.5F);
    EXPECT_EQ(table.GetInt64(1, 1), -7);
    EXPECT_EQ(table.GetInt64(2, 1), -7);
    EXPECT_EQ(table.GetFloatValue(3, 1), -7.5);
}

TEST(TableData, GrowingKeepsContents) {
    TableData table;
    for (int n = 1; n <= 300; ++n) {
        table.SetDataSize(n, n);
        table.Set(n, n, n);
        table.Set(1, n, "first");
    }
    for (int n = 2; n <= 300; ++n) {
        EXPECT_EQ(table.GetInt64(n, n), n);
        EXPECT_STREQ(table.GetText(1, n), "first");
    }
}

TEST(TableData, ColumnByColumnIsAsGoodAsRowByRow) {
    TableData table;
    table.SetDataSize(200, 500);
    for (int col = 1; col <= 200; ++col) {
        for (int row = 1; row <= 500; ++row) {
            table.Set(col, row, static_cast<double>(col * 1000 + row));
        }
    }
    EXPECT_EQ(table.GetFloatValue(200, 500), 200500.0);
    EXPECT_EQ(table.GetFloatValue(1, 1), 1001.0);
}

TEST(TableData, RaggedRowsCostWhatTheirCellsCost) {
    // A hundred thousand rows and, in one of them, a million columns: as a full grid this would be 10^11
    // cells.
    TableData table;
    table.SetDataSize(1000000, 100000);
    for (int row = 1; row <= 100000; ++row) {
        table.Set(1, row, row);
    }
    for (int col = 1; col <= 1000000; ++col) {
        table.Set(col, 50000, col);
    }
    EXPECT_EQ(table.GetInt64(1000000, 50000), 1000000);
    EXPECT_EQ(table.GetInt64(1, 100000), 100000);
}

TEST(TableData, SizeThatLiesCostsNothing) {
    TableData table;
    table.SetDataSize(2147483647, 2147483647);
    EXPECT_EQ(table.GetNumberOfRows(), 2147483647);
    table.Set(1, 1, 1);
    EXPECT_EQ(table.GetInt64(1, 1), 1);
}

TEST(TableData, RowsOfEveryWidthKeepTheirCellsWhateverTheOrder) {
    // Widths about those of the blocks that the table takes its memory in, and in orders that let rows grow
    // where they are, move, or wait for one another.
    for (const int cols : {1, 7, 255, 257, 32769, 65535, 65536, 65537, 300000}) {
        const int rows = std::max(3, 200000 / cols);
        TableData byRows;
        TableData inTurns;
        TableData widening;
        byRows.SetDataSize(cols, rows);
        inTurns.SetDataSize(cols, rows);
        for (int row = 1; row <= rows; ++row) {
            for (int col = 1; col <= cols; ++col) {
                byRows.Set(col, row, col * 7 + row);
                inTurns.Set(col, (row + col) % rows + 1, col * 7 + (row + col) % rows + 1);
                widening.Set(col, row, col * 7 + row);
            }
        }
        for (int row = 1; row <= rows; ++row) {
            for (int col = 1; col <= cols; ++col) {
                ASSERT_EQ(byRows.GetInt64(col, row), col * 7 + row) << cols;
                ASSERT_EQ(inTurns.GetInt64(col, row), col * 7 + row) << cols;
                ASSERT_EQ(widening.GetInt64(col, row), col * 7 + row) << cols;
            }
        }
    }
}

TEST(TableData, SmallerSizeDropsCells) {
    TableData table;
    table.Set(3, 3, 1);
    table.Set(1, 1, 2);
    table.SetDataSize(2, 2);
    table.SetDataSize(3, 3);
    EXPECT_EQ(table.GetKind(3, 3), TableData::Missing);
    EXPECT_EQ(table.GetInt64(1, 1), 2);
}

TEST(TableData, CellsOutsideGrowTheTableAndBelowOneAreIgnored) {
    TableData table;
    table.SetDataSize(1, 1);
    table.Set(4, 2, "x");
    table.Set(0, 1, "y");
    table.Set(1, -1, 5.0);
    EXPECT_EQ(table.GetNumberOfColumns(), 4);
    EXPECT_EQ(table.GetNumberOfRows(), 2);
    EXPECT_EQ(table.GetKind(0, 1), TableData::Missing);
}

TEST(TableData, EmptyTextIsMissingForAWriter) {
    TableData table;
    table.Set(1, 1, "");
    table.Set(2, 1, "x");
    table.Set(3, 1, 1);
    EXPECT_TRUE(table.IsMissing(1, 1));
    EXPECT_FALSE(table.IsString(1, 1));
    EXPECT_TRUE(table.IsString(2, 1));
    EXPECT_TRUE(table.IsFloat(3, 1));
    EXPECT_TRUE(table.IsMissing(4, 1));
}

TEST(TableData, DataOriginIsBehindTheIdentifiers) {
    TableData table;
    table.Set(1, 1, "id");
    table.Set(2, 1, "x");
    table.Set(1, 2, "a");
    table.Set(2, 2, 1.5F);
    int col = 0;
    int row = 0;
    EXPECT_TRUE(table.GetDataOrigin(&col, &row));
    EXPECT_EQ(col, 2);
    EXPECT_EQ(row, 2);
    TableData texts;
    texts.Set(1, 1, "a");
    EXPECT_FALSE(texts.GetDataOrigin(&col, &row));
}

TEST(TableData, ClearForgetsAll) {
    TableData table;
    table.Set(2, 2, "x");
    table.Clear();
    EXPECT_EQ(table.GetNumberOfColumns(), 0);
    EXPECT_EQ(table.GetKind(2, 2), TableData::Missing);
    table.Set(1, 1, "y");
    EXPECT_STREQ(table.GetText(1, 1), "y");
}

TEST(TextArena, KeepsTextsOfAllLengths) {
    TextArena arena;
    std::vector<std::pair<const char*, std::string>> kept;
    for (std::size_t length = 0; length < 3000; length += 7) {
        const std::string text(length, static_cast<char>('a' + length % 26));
        kept.emplace_back(arena.Add(text.c_str()), text);
        kept.emplace_back(arena.Add(std::string_view(text)), text);
    }
    const std::string large(5000000, 'L');
    kept.emplace_back(arena.Add(large.c_str()), large);
    kept.emplace_back(arena.Add("after"), "after");
    for (const auto& [place, text] : kept) {
        EXPECT_EQ(place, text);
    }
}
