// Cells that are gathered on their way to a table make the same table.
#include "frame/CellRuns.h"

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

// Equal texts stand in it twice, and an empty one.
void FillList(TextList& list, const std::string& mark) {
    for (int i = 0; i < 40; ++i) {
        list.Add(i == 7 ? "" : mark + std::to_string(i % 30));
    }
}

// Cells row by row, some of them missing, of other kinds, set twice or far off; columns of numbers and of
// texts of either list, and such that change.
template <class Number, class Listed, class Other>
void Push(unsigned seed, Number number, Listed listed, Other other) {
    std::mt19937 random(seed);
    const int columns = 1 + static_cast<int>(random() % 300);
    const int rows = 1 + static_cast<int>(random() % 150);
    const auto oneIn = 2 + random() % 100;
    const unsigned lists = 1 + seed % 2;
    for (int row = 1; row <= rows; ++row) {
        for (int col = 1; col <= columns; ++col) {
            const auto chance = random() % oneIn;
            const bool isText = (col % 2 == 0) != (random() % (4 * oneIn) == 0);
            if (chance == 0) {
                other(col, row, static_cast<int>(random() % 3));
            } else if (chance == 1) {
                const int elsewhere = 1 + static_cast<int>(random() % 400);
                number(col, elsewhere, 0.25 * row);
            }
            if (chance == 2) {
                continue;
            }
            if (isText) {
                listed(col, row, random() % lists, random() % 40);
            } else {
                number(col, row, row + 0.5 * (col % 3));
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
        ASSERT_EQ(one.GetBuffers().dictionary == nullptr, other.GetBuffers().dictionary == nullptr);
        for (std::int64_t row = 0; row < one.GetRowCount(); ++row) {
            ASSERT_EQ(one.IsMissing(row), other.IsMissing(row)) << col << " " << row;
            ASSERT_TRUE(one.IsMissing(row) || one.ToText(row) == other.ToText(row)) << col << " " << row;
        }
    }
}

}  // namespace

TEST(CellRunsTest, GatheredCellsMakeTheSameTable) {
    TextList lists[2];
    FillList(lists[0], "one ");
    FillList(lists[1], "another ");
    for (unsigned seed = 0; seed < 60; ++seed) {
        Making gathered;
        CellRuns runs(gathered.sink, gathered.output);
        Push(
            seed, [&](int col, int row, double value) { runs.Put(col, row, value); },
            [&](int col, int row, std::size_t list, std::size_t place) {
                runs.PutListed(col, row, lists[list], place);
            },
            [&](int col, int row, int kind) {
                runs.End(col);
                PutOther(gathered.output, col, row, kind);
            });
        runs.EndAll();
        Making listed;
        Push(
            seed, [&](int col, int row, double value) { listed.output.Number(col, row, value); },
            [&](int col, int row, std::size_t list, std::size_t place) {
                listed.output.ListedText(col, row, lists[list], place);
            },
            [&](int col, int row, int kind) { PutOther(listed.output, col, row, kind); });
        Making plain;
        Push(
            seed, [&](int col, int row, double value) { plain.output.Number(col, row, value); },
            [&](int col, int row, std::size_t list, std::size_t place) {
                plain.output.Text(col, row, lists[list].Get(place));
            },
            [&](int col, int row, int kind) { PutOther(plain.output, col, row, kind); });
        SCOPED_TRACE(seed);
        const karta::Table expected = plain.sink.Finish();
        ExpectSame(gathered.sink.Finish(), expected);
        ExpectSame(listed.sink.Finish(), expected);
    }
}

TEST(CellRunsTest, TextsOfAListThatComesAgainTakeNoPlaceOfTheirOwn) {
    TextList list;
    FillList(list, "text ");
    Making making;
    CellRuns runs(making.sink, making.output);
    for (int row = 1; row <= 1000; ++row) {
        if (row != 500) {
            runs.PutListed(1, row, list, static_cast<std::size_t>(row % 3));
        }
    }
    runs.EndAll();
    const karta::Table table = making.sink.Finish();
    const karta::Column& column = table.GetColumn(0);
    ASSERT_NE(column.GetBuffers().dictionary, nullptr);
    EXPECT_EQ(column.GetBuffers().dictionary->GetRowCount(), 3);
    EXPECT_EQ(column.GetNullCount(), 1);
    EXPECT_TRUE(column.IsMissing(499));
    EXPECT_EQ(column.GetText(498), "text 1");
    EXPECT_EQ(column.GetText(500), "text 0");
}

TEST(CellRunsTest, ASinkOfCellsGetsEachCellAtOnce) {
    TableData table;
    CellOutput output(table);
    CellRuns runs(table, output);
    TextList list;
    list.Add("wheat");
    table.SetDataSize(2, 2);
    runs.Put(2, 1, 1.5);
    EXPECT_EQ(table.GetFloatValue(2, 1), 1.5);
    runs.Put(1, 2, 2.5);
    EXPECT_EQ(table.GetFloatValue(1, 2), 2.5);
    runs.PutListed(2, 2, list, 0);
    EXPECT_STREQ(table.GetText(2, 2), "wheat");
}
