// Numbers that are gathered on their way to a table make the same table.
#include "frame/NumberRuns.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "frame/CellOutput.h"
#include "karta/internal/TableSink.h"
#include "table/TableData.h"

namespace {

struct Making {
    std::shared_ptr<karta::ReadContext> context = std::make_shared<karta::ReadContext>();
    karta::TableSink sink{context, 0};
    CellOutput output{sink};
};

// Cells row by row, some of them missing, of other kinds, set twice or far off.
template <class Number, class Other>
void Push(unsigned seed, Number number, Other other) {
    std::mt19937 random(seed);
    const int columns = 1 + static_cast<int>(random() % 300);
    const int rows = 1 + static_cast<int>(random() % 150);
    const auto oneIn = 2 + random() % 100;
    for (int row = 1; row <= rows; ++row) {
        for (int col = 1; col <= columns; ++col) {
            const auto chance = random() % oneIn;
            if (chance == 0) {
                other(col, row, static_cast<int>(random() % 3));
            } else if (chance == 1) {
                const int elsewhere = 1 + static_cast<int>(random() % 400);
                number(col, elsewhere, 0.25 * row);
            }
            if (chance != 2) {
                number(col, row, row + 0.5 * (col % 2));
            }
        }
    }
}

void PutOther(CellOutput& output, int col, int row, int kind) {
    if (kind == 0) {
        output.Text(col, row, "text");
    } else if (kind == 1) {
        output.Bool(col, row, true);
    } else {
        output.Missing(col, row);
    }
}

void ExpectSame(const karta::Table& found, const karta::Table& expected) {
    ASSERT_EQ(found.GetColumnCount(), expected.GetColumnCount());
    ASSERT_EQ(found.GetRowCount(), expected.GetRowCount());
    for (std::size_t col = 0; col < found.GetColumnCount(); ++col) {
        const karta::Column& one = found.GetColumn(col);
        const karta::Column& other = expected.GetColumn(col);
        ASSERT_EQ(one.GetType(), other.GetType());
        for (std::int64_t row = 0; row < one.GetRowCount(); ++row) {
            ASSERT_EQ(one.IsMissing(row), other.IsMissing(row)) << col << " " << row;
            ASSERT_TRUE(one.IsMissing(row) || one.ToText(row) == other.ToText(row)) << col << " " << row;
        }
    }
}

}  // namespace

TEST(NumberRunsTest, GatheredNumbersMakeTheSameTable) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        Making gathered;
        NumberRuns runs(gathered.sink, gathered.output);
        Push(
            seed, [&](int col, int row, double value) { runs.Put(col, row, value); },
            [&](int col, int row, int kind) {
                runs.End(col);
                PutOther(gathered.output, col, row, kind);
            });
        runs.EndAll();
        Making plain;
        Push(
            seed, [&](int col, int row, double value) { plain.output.Number(col, row, value); },
            [&](int col, int row, int kind) { PutOther(plain.output, col, row, kind); });
        SCOPED_TRACE(seed);
        ExpectSame(gathered.sink.Finish(), plain.sink.Finish());
    }
}

TEST(NumberRunsTest, ASinkOfCellsGetsEachNumberAtOnce) {
    TableData table;
    CellOutput output(table);
    NumberRuns runs(table, output);
    table.SetDataSize(2, 2);
    runs.Put(2, 1, 1.5);
    EXPECT_EQ(table.GetFloatValue(2, 1), 1.5);
    runs.Put(1, 2, 2.5);
    EXPECT_EQ(table.GetFloatValue(1, 2), 2.5);
}
