// What the sink of tables makes of cells and runs: types, mixtures, heads, blocks, and what they may cost.
#include "karta/internal/TableSink.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Budget.h"
#include "tests/support/TableText.h"

using karta::Block;
using karta::Column;
using karta::ColumnType;
using karta::Table;
using karta::TableSink;

namespace {

/** A sink and its context; the first row is of data unless a shape says otherwise. */
struct Making {
    explicit Making(std::optional<int> header = {}) : sink(context, header) {}

    karta::TableShape& KnownShape() {
        context->shape.isKnown = true;
        return context->shape;
    }
    std::string NoteText() const {
        std::string text;
        for (const karta::Note& note : context->notes.GetAll()) {
            text += note.code + ": " + note.text + "\n";
        }
        return text;
    }

    std::shared_ptr<karta::ReadContext> context = std::make_shared<karta::ReadContext>();
    TableSink sink;
};

std::vector<std::string> TextsOf(const Column& column) {
    std::vector<std::string> texts;
    for (std::int64_t row = 0; row < column.GetRowCount(); ++row) {
        texts.push_back(column.IsMissing(row) ? "<missing>" : column.ToText(row));
    }
    return texts;
}

using Texts = std::vector<std::string>;

TEST(TableSinkTest, NamesColumnsByTheRowThatTheShapeTells) {
    Making making;
    making.sink.SetText(1, 1, "sample");
    making.sink.SetText(2, 1, "pH");
    making.sink.SetText(2, 2, "units");
    making.sink.SetText(1, 3, "a");
    making.sink.Set(2, 3, 7.25);
    making.KnownShape().nameRow = 1;
    making.KnownShape().unitRow = 2;
    making.KnownShape().firstDataRow = 3;
    const Table table = making.sink.Finish();
    ASSERT_EQ(table.GetRowCount(), 1);
    ASSERT_EQ(table.GetColumnCount(), 2U);
    EXPECT_EQ(table.GetColumn("sample").GetText(0), "a");
    EXPECT_EQ(table.GetColumn("pH").GetDoubles()[0], 7.25);
    EXPECT_EQ(table.GetColumn("pH").GetUnit(), "units");
    EXPECT_EQ(table.FindColumn("nothing"), nullptr);
    EXPECT_THROW(table.GetColumn("nothing"), std::out_of_range);
}

TEST(TableSinkTest, KeepsTextsOfAllLengths) {
    Making making(0);
    const std::vector<std::size_t> lengths = {0, 1, 65'534, 65'535, 65'536, 0, 300'000};
    int row = 0;
    for (const std::size_t length : lengths) {
        ++row;
        making.sink.SetText(1, row, std::string(length, static_cast<char>('a' + row)));
    }
    const Table table = making.sink.Finish();
    row = 0;
    for (const std::size_t length : lengths) {
        ++row;
        EXPECT_TRUE(table.GetColumn(0).GetText(row - 1) == std::string(length, static_cast<char>('a' + row)))
            << length;
    }
}

// Runs of cells, behind each other, behind gaps and over what is there, are what as many cells are.
TEST(TableSinkTest, TakesRunsOfCellsAsCells) {
    const std::vector<double> whole = {1, 2, 3, 4, 5};
    const std::vector<double> broken = {0.5, 2, 3, 4, 5};
    Making runs;
    Making cells;
    EXPECT_TRUE(runs.sink.PrefersCellRuns());
    int col = 0;
    for (const std::vector<double>* const values : {&whole, &broken}) {
        ++col;
        for (const int firstRow : {1, 6, 13, 10'000, 3}) {
            runs.sink.SetCellRun(col, firstRow, *values, {});
            for (int i = 0; i < 5; ++i) {
                cells.sink.Set(col, firstRow + i, (*values)[static_cast<std::size_t>(i)]);
            }
        }
        for (Making* const making : {&runs, &cells}) {
            making->sink.SetText(col + 2, 1, "text");
            making->sink.Set(col + 2, 2, 7.0);
        }
        runs.sink.SetCellRun(col + 2, 3, *values, {});
        for (int i = 0; i < 5; ++i) {
            cells.sink.Set(col + 2, 3 + i, (*values)[static_cast<std::size_t>(i)]);
        }
    }
    const Table one = runs.sink.Finish();
    const Table other = cells.sink.Finish();
    EXPECT_EQ(one.GetColumn(0).GetType(), ColumnType::Int64);
    EXPECT_EQ(one.GetColumn(1).GetType(), ColumnType::Float64);
    ASSERT_EQ(one.GetColumnCount(), other.GetColumnCount());
    for (std::size_t i = 0; i < one.GetColumnCount(); ++i) {
        EXPECT_EQ(one.GetColumn(i).GetType(), other.GetColumn(i).GetType());
        EXPECT_EQ(TextsOf(one.GetColumn(i)), TextsOf(other.GetColumn(i)));
    }
}

// The digits behind the point come back where the column becomes text.
// "1", "2.50", nothing, "a", "TRUE" and the empty text, as they are written.
bool PutWritten(TableSink& sink, int col, int firstRow) {
    static constexpr std::uint32_t Ends[] = {2, 6, 6, 7, 11, 11};
    static constexpr WrittenKind Kinds[] = {WrittenKind::Number, WrittenKind::Number, WrittenKind::Missing,
                                            WrittenKind::Text,   WrittenKind::Bool,   WrittenKind::Text};
    return sink.SetWrittenRun(col, firstRow, {"_12.50aTRUE", 1, Ends}, Kinds);
}

TEST(TableSinkTest, TakesWhatIsWrittenInAColumnOfTextsAndValues) {
    Making written;
    written.KnownShape().firstDataRow = 1;
    ASSERT_TRUE(PutWritten(written.sink, 1, 1));
    ASSERT_TRUE(PutWritten(written.sink, 2, 3));
    Making cells;
    cells.KnownShape().firstDataRow = 1;
    for (const auto& [col, row] : {std::pair(1, 1), std::pair(2, 3)}) {
        cells.sink.Set(col, row, 1.0);
        cells.sink.Set(col, row + 1, 2.5);
        cells.sink.SetSource(col, row + 1, "2.50");
        cells.sink.SetText(col, row + 3, "a");
        cells.sink.SetBool(col, row + 4, true);
        cells.sink.SetText(col, row + 5, "");
    }
    const std::string table = DescribeTable(cells.sink.Finish());
    EXPECT_EQ(DescribeTable(written.sink.Finish()), table);
    EXPECT_NE(table.find("1|2.50|-|a|TRUE||"), std::string::npos);
    EXPECT_NE(table.find("column A holds 2 numbers, 1 truth value and 2 texts and is text"),
              std::string::npos)
        << table;
}

TEST(TableSinkTest, WantsValuesWhereWhatIsWrittenMayBeOfOneKind) {
    Making unknown;
    EXPECT_FALSE(PutWritten(unknown.sink, 1, 1)) << "the first rows may be heads";
    Making below;
    below.KnownShape().firstDataRow = 4;
    EXPECT_FALSE(PutWritten(below.sink, 1, 0));
    below.sink.Set(2, 9, 1.0);
    EXPECT_FALSE(PutWritten(below.sink, 2, 1)) << "something is in the column";
    EXPECT_TRUE(PutWritten(below.sink, 1, 1)) << "a text and a truth value";
    Making given(4);
    given.KnownShape().nameRow = 1;
    EXPECT_FALSE(PutWritten(given.sink, 1, 1)) << "the text is among the heads";
    Making block;
    block.KnownShape().firstBlockColumn = 1;
    EXPECT_FALSE(PutWritten(block.sink, 1, 1));
}

TEST(TableSinkTest, TakesACellThatIsSetAmongWrittenOnes) {
    Making making;
    making.KnownShape().firstDataRow = 1;
    ASSERT_TRUE(PutWritten(making.sink, 1, 1));
    making.sink.SetMissing(1, 5);
    making.sink.SetText(1, 8, "below");
    making.sink.SetText(1, 2, "b");
    const Table table = making.sink.Finish();
    EXPECT_EQ(TextsOf(table.GetColumns().front()),
              (Texts{"1", "b", "<missing>", "a", "<missing>", "", "<missing>", "below"}));
}

TEST(TableSinkTest, RunsOfCellsKeepTheirDecimals) {
    Making making(0);
    const std::vector<double> values = {1.5, 2.25, 3, -0.5};
    const std::vector<std::uint8_t> decimals = {3, 0, 2, 4};
    making.sink.SetCellRun(1, 1, values, decimals);
    making.sink.SetCellRun(1, 5, values, {});
    making.sink.SetText(1, 9, "text");
    const Table table = making.sink.Finish();
    EXPECT_EQ(TextsOf(table.GetColumn(0)),
              (Texts{"1.50", "2.25", "3.0", "-0.500", "1.5", "2.25", "3", "-0.5", "text"}));
}

// Runs of texts behind each other, behind gaps, beside single cells and over what is there are what as many
// texts are.
TEST(TableSinkTest, TakesRunsOfTextsAsTexts) {
    const std::string bytes = "abcdef\u00e9\xff";
    const std::vector<std::uint32_t> ends = {2, 2, 5, 8};
    const std::vector<std::uint32_t> amid = {7, 8};
    const std::vector<std::uint32_t> none = {3, 9};
    const auto putCells = [&](Making& making, int col, int row, std::uint32_t begin,
                              const std::vector<std::uint32_t>& to) {
        for (const std::uint32_t end : to) {
            making.sink.SetText(col, row++, std::string_view(bytes).substr(begin, end - begin));
            begin = end;
        }
    };
    Making runs;
    Making cells;
    int col = 0;
    for (const std::vector<int>& rows : std::vector<std::vector<int>>{
             {1, 5, 9}, {2, 6, 20}, {1, 5, 3}, {1, 20'000, 5}, {3, 7, 1}, {1, 1, 1}, {1, 5, 5}}) {
        ++col;
        for (const int row : rows) {
            const bool isAmid = row == 9 || row == 20;
            runs.sink.SetTextRun(col, row, {bytes.data(), isAmid ? 5U : 0U, isAmid ? amid : ends});
            putCells(cells, col, row, isAmid ? 5 : 0, isAmid ? amid : ends);
        }
        runs.sink.SetTextRun(col, 30, {bytes.data(), 0, none});
        putCells(cells, col, 30, 0, none);
        for (Making* const making : {&runs, &cells}) {
            making->sink.SetText(col, 32, "single");
            making->sink.SetText(col, col, "over");
            making->sink.SetMissing(col, 7);
            if (col % 2 == 0) {
                making->sink.Set(col, 33, 1.5);
            }
        }
        runs.sink.SetTextRun(col, 34, {bytes.data(), 2, std::span(ends).subspan(2)});
        putCells(cells, col, 34, 2, {5, 8});
    }
    const Table one = runs.sink.Finish();
    const Table other = cells.sink.Finish();
    EXPECT_EQ(runs.NoteText(), cells.NoteText());
    ASSERT_EQ(one.GetColumnCount(), other.GetColumnCount());
    for (std::size_t i = 0; i < one.GetColumnCount(); ++i) {
        EXPECT_EQ(one.GetColumn(i).GetType(), other.GetColumn(i).GetType());
        EXPECT_EQ(one.GetColumn(i).GetNullCount(), other.GetColumn(i).GetNullCount());
        EXPECT_EQ(TextsOf(one.GetColumn(i)), TextsOf(other.GetColumn(i))) << i;
    }
}

TEST(TableSinkTest, TakesRunsOfDatesAndTruthValues) {
    const std::vector<std::int64_t> values = {1, 0, 1};
    Making runs(0);
    Making cells(0);
    int col = 0;
    for (const ValueRunKind kind : {ValueRunKind::Bool, ValueRunKind::Date, ValueRunKind::Time,
                                    ValueRunKind::DateTime, ValueRunKind::DateBlankedTime}) {
        ++col;
        for (const int firstRow : {1, 5, 2, 4}) {
            runs.sink.SetValueRun(col, firstRow, kind, values);
            int row = firstRow;
            for (const std::int64_t value : values) {
                switch (kind) {
                    case ValueRunKind::Bool:
                        cells.sink.SetBool(col, row, value != 0);
                        break;
                    case ValueRunKind::Date:
                        cells.sink.SetDate(col, row, static_cast<std::int32_t>(value));
                        break;
                    case ValueRunKind::Time:
                        cells.sink.SetTime(col, row, value);
                        break;
                    default:
                        cells.sink.SetDateTime(col, row, value);
                        break;
                }
                ++row;
            }
        }
    }
    // Amid texts it is told as it was written.
    for (Making* const making : {&runs, &cells}) {
        making->sink.SetText(5, 8, "text");
        making->sink.SetSource(5, 7, "noon");
    }
    const Table one = runs.sink.Finish();
    const Table other = cells.sink.Finish();
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(one.GetColumn(i).GetType(), other.GetColumn(i).GetType());
        EXPECT_EQ(TextsOf(one.GetColumn(i)), TextsOf(other.GetColumn(i))) << i;
    }
    EXPECT_EQ(one.GetColumn(4).GetText(0), "1970-01-01 00:00:00.000001");
    EXPECT_EQ(one.GetColumn(4).GetText(6), "noon");
    EXPECT_EQ(other.GetColumn(4).GetText(0), "1970-01-01T00:00:00.000001");
}

// Of texts that hardly ever repeat no list of the distinct ones is made; of those that do, in any order, one
// is.
TEST(TableSinkTest, LongColumnsOfTextsThatRepeatBecomeDictionaries) {
    constexpr int Rows = 200'000;
    for (const int repeats : {1, 2, 8, 1000}) {
        for (const bool isSorted : {false, true}) {
            Making making(0);
            const int distinct = Rows / repeats;
            for (int row = 0; row < Rows; ++row) {
                making.sink.SetText(
                    1, row + 1,
                    "text number " + std::to_string(1'000'000 + (isSorted ? row / repeats : row % distinct)));
            }
            const Table table = making.sink.Finish();
            EXPECT_EQ(table.GetColumn(0).GetBuffers().dictionary != nullptr, repeats > 2)
                << repeats << isSorted;
            EXPECT_EQ(table.GetColumn(0).GetText(Rows - 1),
                      "text number " + std::to_string(1'000'000 + distinct - 1));
        }
    }
}

TEST(TableSinkTest, KeepsTypes) {
    Making making(0);
    TableSink& sink = making.sink;
    sink.Set(1, 1, 1.5);
    sink.Set(2, 1, 1.5F);
    sink.Set(3, 1, 7.0);
    sink.SetBool(4, 1, true);
    sink.SetDate(5, 1, 20000);
    sink.SetTime(6, 1, 1'000'000);
    sink.SetDateTime(7, 1, -1);
    sink.SetDuration(8, 1, 90'000'000);
    sink.SetText(9, 1, "x");
    sink.SetMissing(10, 1);
    sink.Set(11, 1, std::int64_t{9007199254740993});
    const Table table = sink.Finish();
    const std::vector<ColumnType> expected{ColumnType::Float64,   ColumnType::Float32,  ColumnType::Int64,
                                           ColumnType::Bool,      ColumnType::Date32,   ColumnType::Time64,
                                           ColumnType::Timestamp, ColumnType::Duration, ColumnType::Text,
                                           ColumnType::Null,      ColumnType::Int64};
    ASSERT_EQ(table.GetColumnCount(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(table.GetColumn(i).GetType(), expected[i]) << i;
    }
    EXPECT_EQ(table.GetColumn(10).GetIntegers()[0], 9007199254740993);
    EXPECT_EQ(table.GetText(4, 0), "2024-10-04");
    EXPECT_EQ(table.GetText(7, 0), "0:01:30");
    EXPECT_EQ(table.GetColumn(9).GetNullCount(), 1);
    EXPECT_EQ(making.NoteText(), "");
}

TEST(TableSinkTest, MakesWholeNumbersIntegersUnlessTheyAreAnArrayOrWrittenWithAPoint) {
    Making making(0);
    const std::vector<double> array{1, 2};
    for (int row = 1; row <= 2; ++row) {
        making.sink.Set(1, row, static_cast<double>(row));
        making.sink.Set(2, row, static_cast<double>(row));
        making.sink.SetSource(2, row, row == 1 ? "1.0" : "2");
        making.sink.Set(4, row, row == 1 ? 1.0 : -0.0);
    }
    making.sink.SetColumnRun(3, 1, std::span<const double>(array));
    const Table table = making.sink.Finish();
    EXPECT_EQ(table.GetColumn(0).GetType(), ColumnType::Int64);
    EXPECT_EQ(table.GetColumn(0).GetIntegers()[1], 2);
    for (const std::size_t floats : {std::size_t{1}, std::size_t{2}, std::size_t{3}}) {
        EXPECT_EQ(table.GetColumn(floats).GetType(), ColumnType::Float64) << floats;
    }
}

TEST(TableSinkTest, MixesIntegersAndDoublesOnlyWithoutLoss) {
    Making making(0);
    TableSink& sink = making.sink;
    sink.Set(1, 1, std::int64_t{5});
    sink.Set(1, 2, 0.5);
    sink.Set(2, 1, std::int64_t{9007199254740993});
    sink.Set(2, 2, 0.5);
    sink.Set(3, 1, std::int64_t{9007199254740993});
    sink.Set(3, 2, 4.0);
    sink.Set(4, 1, 1.5F);
    sink.Set(4, 2, 0.1);
    const Table table = sink.Finish();
    EXPECT_EQ(table.GetColumn(0).GetType(), ColumnType::Float64);
    EXPECT_EQ(table.GetColumn(1).GetType(), ColumnType::Text);
    EXPECT_EQ(TextsOf(table.GetColumn(1)), (Texts{"9007199254740993", "0.5"}));
    EXPECT_EQ(table.GetColumn(2).GetType(), ColumnType::Int64);
    EXPECT_EQ(TextsOf(table.GetColumn(2)), (Texts{"9007199254740993", "4"}));
    EXPECT_EQ(table.GetColumn(3).GetDoubles()[1], 0.1);
    EXPECT_EQ(making.NoteText(), "mixed-column: column B holds 2 numbers and is text\n");
}

TEST(TableSinkTest, MakesDatesAmongDateTimesMidnights) {
    Making making(0);
    making.sink.SetDate(1, 1, 1);
    making.sink.SetDateTime(1, 2, 5);
    const Table table = making.sink.Finish();
    EXPECT_EQ(table.GetColumn(0).GetType(), ColumnType::Timestamp);
    EXPECT_EQ(TextsOf(table.GetColumn(0)), (Texts{"1970-01-02T00:00:00", "1970-01-01T00:00:00.000005"}));
}

TEST(TableSinkTest, WritesOtherMixturesAsTheFileHasThem) {
    Making making(0);
    TableSink& sink = making.sink;
    sink.Set(1, 1, 1.5);
    sink.SetSource(1, 1, "1.50");
    sink.Set(1, 2, 5.0);
    sink.SetSource(1, 2, "+5");
    sink.SetText(1, 3, "n.d.");
    sink.SetBool(1, 4, true);
    sink.SetDate(1, 6, 0);
    sink.Set(1, 7, 0.25F);
    const Table table = sink.Finish();
    EXPECT_EQ(table.GetColumn(0).GetType(), ColumnType::Text);
    EXPECT_EQ(TextsOf(table.GetColumn(0)),
              (Texts{"1.50", "+5", "n.d.", "TRUE", "<missing>", "1970-01-01", "0.25"}));
    EXPECT_EQ(making.NoteText(),
              "mixed-column: column A holds 3 numbers, 1 truth value, 1 date and 1 text and is text\n");
}

TEST(TableSinkTest, LeavesErrorsMissingAndSaysSo) {
    Making making(0);
    making.sink.Set(2, 1, 1.5);
    making.sink.SetError(2, 2, "#N/A");
    making.sink.SetError(2, 3, "#N/A");
    const Table table = making.sink.Finish();
    EXPECT_EQ(table.GetColumn(1).GetType(), ColumnType::Float64);
    EXPECT_EQ(TextsOf(table.GetColumn(1)), (Texts{"1.5", "<missing>", "<missing>"}));
    EXPECT_EQ(table.GetColumn(1).GetNullCount(), 2);
    EXPECT_EQ(making.NoteText(),
              "errors-missing: 2 cells with an error are missing in the columns (first: B2)\n");
}

TEST(TableSinkTest, KeepsTheEmptyTextInTextsOnly) {
    Making making(0);
    making.sink.SetText(1, 1, "");
    making.sink.SetText(1, 2, "a");
    making.sink.SetText(2, 1, "");
    making.sink.Set(2, 2, 2.5);
    making.sink.Set(3, 1, "");
    making.sink.SetText(3, 2, "b");
    const Table table = making.sink.Finish();
    EXPECT_EQ(TextsOf(table.GetColumn(0)), (Texts{"", "a"}));
    EXPECT_EQ(table.GetColumn(1).GetType(), ColumnType::Float64);
    EXPECT_TRUE(table.GetColumn(1).IsMissing(0));
    EXPECT_EQ(TextsOf(table.GetColumn(2)), (Texts{"<missing>", "b"}));
}

// Formulas whose text is empty stand among the numbers of many sheets.
TEST(TableSinkTest, EmptyTextsAmongNumbersDoNotHideTheNames) {
    Making making;
    making.sink.SetText(1, 1, "mass");
    making.sink.Set(2, 1, 2019.0);
    for (int col = 1; col <= 2; ++col) {
        for (int row = 2; row <= 6; ++row) {
            if (col == 1 && row % 3 == 0) {
                making.sink.SetText(col, row, "");
            } else {
                making.sink.Set(col, row, row + 0.5);
            }
        }
    }
    const Table table = making.sink.Finish();
    EXPECT_EQ(table.GetColumn(0).GetName(), "mass");
    EXPECT_EQ(table.GetColumn(1).GetName(), "2019");
    EXPECT_EQ(table.GetRowCount(), 5);
    EXPECT_EQ(table.GetColumn(0).GetType(), ColumnType::Float64);
}

TEST(TableSinkTest, TakesACellThatIsSetAgain) {
    Making making(0);
    for (int row = 1; row <= 100; ++row) {
        making.sink.Set(1, row, row + 0.5);
    }
    for (int row = 1; row <= 100; ++row) {
        making.sink.SetText(1, row, "t" + std::to_string(row));
    }
    making.sink.SetMissing(1, 50);
    const Table table = making.sink.Finish();
    EXPECT_EQ(table.GetColumn(0).GetType(), ColumnType::Text);
    EXPECT_EQ(table.GetColumn(0).GetText(99), "t100");
    EXPECT_TRUE(table.GetColumn(0).IsMissing(49));
    EXPECT_EQ(making.NoteText(), "");
}

// Every order of rows and every change of kinds gives what a plain list of cells would.
TEST(TableSinkTest, KeepsEachCellWhateverTheOrder) {
    unsigned int state = 7;
    const auto next = [&state](int below) {
        state = state * 1664525U + 1013904223U;
        return static_cast<int>((state >> 8) % static_cast<unsigned int>(below));
    };
    for (int round = 0; round < 300; ++round) {
        Making making(0);
        const int rows = 1 + next(60);
        const int kinds = 1 + next(4);
        Texts expected(static_cast<std::size_t>(rows), "<missing>");
        for (int step = 0; step < 2 * rows; ++step) {
            const int row = next(3) == 0 ? 1 + next(rows) : 1 + step % rows;
            std::string& cell = expected[static_cast<std::size_t>(row) - 1];
            switch (next(5) == 0 ? 4 : next(kinds)) {
                case 0:
                    making.sink.Set(1, row, step + 0.5);
                    cell = std::to_string(step) + ".5";
                    break;
                case 1:
                    making.sink.SetText(1, row, "t" + std::to_string(step));
                    cell = "t" + std::to_string(step);
                    break;
                case 2:
                    making.sink.SetBool(1, row, true);
                    cell = "TRUE";
                    break;
                case 3: {
                    const float run[] = {0.25F};
                    making.sink.SetColumnRun(1, row, std::span<const float>(run));
                    cell = "0.25";
                    break;
                }
                default:
                    making.sink.SetMissing(1, row);
                    cell = "<missing>";
                    break;
            }
        }
        making.sink.SetDataSize(1, rows);
        ASSERT_EQ(TextsOf(making.sink.Finish().GetColumn(0)), expected) << round;
    }
}

TEST(TableSinkTest, TakesRowsFromTheBottomUpInLinearTime) {
    Making making(0);
    constexpr int Rows = 300'000;
    for (int row = Rows; row >= 1; --row) {
        making.sink.Set(1, row, row + 0.5);
    }
    const Table table = making.sink.Finish();
    EXPECT_EQ(table.GetColumn(0).GetDoubles()[0], 1.5);
    EXPECT_EQ(table.GetColumn(0).GetDoubles()[Rows - 1], Rows + 0.5);
}

TEST(TableSinkTest, ForgetsCellsBeyondASmallerSize) {
    Making making(0);
    for (int row = 1; row <= 4; ++row) {
        making.sink.Set(1, row, row + 0.5);
        making.sink.SetText(2, row, "x");
    }
    making.sink.SetDataSize(1, 2);
    making.sink.SetDataSize(1, 3);
    const Table table = making.sink.Finish();
    ASSERT_EQ(table.GetColumnCount(), 1U);
    EXPECT_EQ(TextsOf(table.GetColumn(0)), (Texts{"1.5", "2.5", "<missing>"}));
}

TEST(TableSinkTest, KeepsRepeatedTextsInADictionary) {
    Making making(0);
    for (int row = 1; row <= 1000; ++row) {
        making.sink.SetText(1, row, row % 3 == 0 ? "fermentation" : "distillation");
        making.sink.SetText(2, row, "text of row " + std::to_string(row));
    }
    making.sink.SetMissing(1, 5);
    const Table table = making.sink.Finish();
    const Column& repeated = table.GetColumn(0);
    ASSERT_NE(repeated.GetBuffers().dictionary, nullptr);
    EXPECT_EQ(repeated.GetBuffers().dictionary->GetRowCount(), 2);
    EXPECT_EQ(repeated.GetText(0), "distillation");
    EXPECT_EQ(repeated.GetText(2), "fermentation");
    EXPECT_TRUE(repeated.IsMissing(4));
    EXPECT_EQ(table.GetColumn(1).GetBuffers().dictionary, nullptr);
    EXPECT_EQ(table.GetColumn(1).GetText(999), "text of row 1000");
}

TEST(TableSinkTest, KeepsTextsApartThatComeFromOnePlace) {
    constexpr int Rows = 200000;
    Making making(0);
    const std::string list[] = {"one text of a list", "another text of the list", ""};
    std::string buffer;
    for (int row = 1; row <= Rows; ++row) {
        making.sink.SetText(1, row, list[row % 3]);
        // Of one length and in one buffer, but not the same; and then again and again the same.
        buffer = std::to_string(row < Rows / 2 ? 1000000 + row : 1000000);
        making.sink.SetText(2, row, buffer);
    }
    const Table table = making.sink.Finish();
    for (int row = 1; row <= Rows; ++row) {
        ASSERT_EQ(table.GetColumn(0).GetText(row - 1), list[row % 3]);
        ASSERT_EQ(table.GetColumn(1).GetText(row - 1),
                  std::to_string(row < Rows / 2 ? 1000000 + row : 1000000));
    }
    ASSERT_NE(table.GetColumn(0).GetBuffers().dictionary, nullptr);
    EXPECT_EQ(table.GetColumn(0).GetBuffers().dictionary->GetRowCount(), 3);
}

TEST(TableSinkTest, TakesTheMemoryOfAListForManyCellsThatReferToIt) {
    Making making(0);
    std::vector<std::string> list;
    for (int i = 0; i < 1000; ++i) {
        list.push_back(std::string(1000, static_cast<char>('a' + i % 26)) + std::to_string(i));
    }
    // A hundred times the list would be 100 MB.
    making.context->budget.SetLimit(std::uint64_t{40} << 20);
    for (int row = 1; row <= 100000; ++row) {
        making.sink.SetText(1, row, list[static_cast<std::size_t>(row * 7 % 1000)]);
    }
    const Table table = making.sink.Finish();
    EXPECT_EQ(table.GetColumn(0).GetText(99999), list[0]);
}

TEST(TableSinkTest, FindsNamesAndUnitsOfAPlainGrid) {
    Making making;
    making.sink.SetText(1, 1, "Report of May");
    making.sink.SetText(1, 3, "sample");
    making.sink.SetText(2, 3, "pH");
    making.sink.SetText(3, 3, "T");
    making.sink.SetText(3, 4, "K");
    making.sink.SetText(1, 4, "-");
    for (int row = 5; row <= 9; ++row) {
        making.sink.SetText(1, row, "s" + std::to_string(row));
        making.sink.Set(2, row, 7.5);
        making.sink.Set(3, row, 280.0 + row);
    }
    const Table table = making.sink.Finish();
    EXPECT_EQ(table.GetRowCount(), 5);
    EXPECT_EQ(table.GetShape().nameRow, 3);
    EXPECT_EQ(table.GetShape().unitRow, 4);
    EXPECT_EQ(table.GetColumn(2).GetName(), "T");
    EXPECT_EQ(table.GetColumn(2).GetUnit(), "K");
    EXPECT_EQ(table.GetColumn(2).GetType(), ColumnType::Int64);
    ASSERT_EQ(table.GetHeads().size(), 1U);
    EXPECT_EQ(table.GetHeads()[0].text, "Report of May");
    EXPECT_EQ(table.GetShape().labelColumns, std::vector<int>{1});
}

TEST(TableSinkTest, FindsNoNamesWhereNumbersStandAboveNumbers) {
    Making making;
    for (int row = 1; row <= 3; ++row) {
        making.sink.SetText(1, row, "s");
        making.sink.Set(2, row, row * 1.5);
    }
    const Table table = making.sink.Finish();
    EXPECT_EQ(table.GetRowCount(), 3);
    EXPECT_EQ(table.GetShape().nameRow, 0);
}

TEST(TableSinkTest, TakesTheHeaderRowThatIsGiven) {
    for (const int header : {0, 2}) {
        Making making(header);
        for (int row = 1; row <= 4; ++row) {
            making.sink.SetText(1, row, "r" + std::to_string(row));
            making.sink.SetText(2, row, "x" + std::to_string(row));
        }
        const Table table = making.sink.Finish();
        EXPECT_EQ(table.GetRowCount(), header == 0 ? 4 : 2);
        EXPECT_EQ(table.GetColumn(0).GetName(), header == 0 ? "" : "r2");
    }
}

TEST(TableSinkTest, FindsTheAxisOfAGrid) {
    Making making;
    making.sink.SetText(1, 1, "sample");
    for (int col = 2; col <= 11; ++col) {
        making.sink.Set(col, 1, 400.0 + 2.0 * col);
    }
    for (int row = 2; row <= 4; ++row) {
        making.sink.SetText(1, row, "s" + std::to_string(row));
        for (int col = 2; col <= 11; ++col) {
            making.sink.Set(col, row, row * 0.1 + col * col);
        }
    }
    making.sink.SetMissing(5, 3);
    const Table table = making.sink.Finish();
    const Block* const block = table.GetBlock();
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->GetPointCount(), 10);
    EXPECT_EQ(block->GetAxis()[0], 404.0);
    EXPECT_EQ(block->GetPointName(1), "406");
    EXPECT_EQ(block->GetNumber(2, 9), 4 * 0.1 + 121);
    EXPECT_TRUE(std::isnan(block->GetNumber(1, 3)));
    EXPECT_EQ(table.GetColumn("sample").GetText(2), "s4");
}

// A file of spectra as its reader pushes it.
void PushSpectra(TableSink& sink, int spectra, int points) {
    sink.SetDataSize(points + 1, spectra + 2);
    sink.SetText(1, 1, "name");
    std::vector<double> axis(static_cast<std::size_t>(points));
    std::iota(axis.begin(), axis.end(), 1000.0);
    sink.SetText(1, 2, "cm-1");
    sink.SetRowRun(2, 2, std::span<const double>(axis));
    std::vector<float> values(static_cast<std::size_t>(points));
    for (int row = 0; row < spectra; ++row) {
        std::iota(values.begin(), values.end(), static_cast<float>(row * 1000));
        sink.SetText(1, row + 3, "s" + std::to_string(row));
        sink.SetRowRun(2, row + 3, std::span<const float>(values));
    }
}

void TellSpectra(karta::TableShape& shape) {
    shape.isKnown = true;
    shape.nameRow = 1;
    shape.axisRow = 2;
    shape.firstDataRow = 3;
    shape.labelColumns = {1};
    shape.firstBlockColumn = 2;
    shape.axisQuantity = "wavenumber";
    shape.axisUnit = "cm-1";
    shape.valueUnit = "AU";
}

TEST(TableSinkTest, MakesRowRunsARowMajorBlock) {
    // Whether the shape is told before the runs or after them makes no other difference than the order.
    for (const bool isEarly : {true, false}) {
        Making making;
        if (isEarly) {
            TellSpectra(making.context->shape);
        }
        PushSpectra(making.sink, 3, 5);
        TellSpectra(making.context->shape);
        const Table table = making.sink.Finish();
        const Block* const block = table.GetBlock();
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block->IsRowMajor(), isEarly);
        EXPECT_TRUE(block->IsFloat32());
        EXPECT_EQ(block->GetRowCount(), 3);
        EXPECT_EQ(block->GetPointCount(), 5);
        for (int row = 0; row < 3; ++row) {
            for (int point = 0; point < 5; ++point) {
                EXPECT_EQ(block->GetNumber(row, point), row * 1000 + point);
            }
        }
        EXPECT_EQ(block->GetAxis()[4], 1004.0);
        EXPECT_EQ(block->GetAxisQuantity(), "wavenumber");
        EXPECT_EQ(block->GetValueUnit(), "AU");
        EXPECT_EQ(table.GetColumn("name").GetText(1), "s1");
        ASSERT_EQ(table.GetHeads().size(), 1U);
        EXPECT_EQ(table.GetHeads()[0].text, "cm-1");
        EXPECT_EQ(table.GetWidth(), 6);
        EXPECT_EQ(table.GetText(3, 1), "1002");
    }
}

TEST(TableSinkTest, MakesColumnRunsAColumnMajorBlock) {
    Making making;
    making.KnownShape().firstBlockColumn = 1;
    making.sink.SetDataSize(3, 4);
    for (int col = 1; col <= 3; ++col) {
        const double top[] = {col + 0.1, col + 0.2, col + 0.3};
        const double bottom[] = {col + 0.4};
        making.sink.SetColumnRun(col, 1, std::span<const double>(top));
        making.sink.SetColumnRun(col, 4, std::span<const double>(bottom));
    }
    const Table table = making.sink.Finish();
    const Block* const block = table.GetBlock();
    ASSERT_NE(block, nullptr);
    EXPECT_FALSE(block->IsRowMajor());
    EXPECT_EQ(block->GetPointStride(), 4);
    EXPECT_EQ(block->GetNumber(3, 2), 3.4);
    EXPECT_EQ(block->GetDoubles()[4], 2.1);
    EXPECT_EQ(block->GetColumn(1).GetDoubles().data(), block->GetDoubles() + 4);
}

TEST(TableSinkTest, GrowsABlockBeyondWhatWasAnnounced) {
    for (const bool inRows : {true, false}) {
        Making making;
        making.KnownShape().firstBlockColumn = 1;
        making.sink.SetDataSize(1, 1);
        for (int line = 1; line <= 9; ++line) {
            const std::vector<double> run(static_cast<std::size_t>(line), line);
            if (inRows) {
                making.sink.SetRowRun(1, line, std::span<const double>(run));
            } else {
                making.sink.SetColumnRun(line, 1, std::span<const double>(run));
            }
        }
        const Table table = making.sink.Finish();
        const Block* const block = table.GetBlock();
        ASSERT_NE(block, nullptr);
        for (int line = 0; line < 9; ++line) {
            for (int place = 0; place < 9; ++place) {
                const double number = inRows ? block->GetNumber(line, place) : block->GetNumber(place, line);
                EXPECT_TRUE(place <= line ? number == line + 1 : std::isnan(number)) << line << ' ' << place;
            }
        }
    }
}

TEST(TableSinkTest, WidensABlockOfFloatsWhereADoubleComes) {
    Making making;
    making.KnownShape().firstBlockColumn = 1;
    const float floats[] = {1.5F, 2.5F};
    const double doubles[] = {0.1, 0.2};
    making.sink.SetRowRun(1, 1, std::span<const float>(floats));
    making.sink.SetRowRun(1, 2, std::span<const double>(doubles));
    making.sink.SetRowRun(1, 3, std::span<const float>(floats));
    const Table table = making.sink.Finish();
    ASSERT_NE(table.GetBlock(), nullptr);
    EXPECT_FALSE(table.GetBlock()->IsFloat32());
    EXPECT_EQ(table.GetBlock()->GetNumber(1, 0), 0.1);
    EXPECT_EQ(table.GetBlock()->GetNumber(2, 1), 2.5);
}

TEST(TableSinkTest, TakesCellsAmongTheRunsOfABlock) {
    Making making;
    making.KnownShape().firstBlockColumn = 1;
    making.sink.SetDataSize(3, 2);
    const double run[] = {1.5, 2.5};
    making.sink.Set(1, 1, 9.5);
    making.sink.SetRowRun(2, 1, std::span<const double>(run));
    making.sink.SetRowRun(1, 2, std::span<const double>(run));
    making.sink.SetMissing(2, 2);
    making.sink.Set(3, 2, 4.0);
    const Table table = making.sink.Finish();
    const Block* const block = table.GetBlock();
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->GetNumber(0, 0), 9.5);
    EXPECT_EQ(block->GetNumber(0, 2), 2.5);
    EXPECT_TRUE(std::isnan(block->GetNumber(1, 1)));
    EXPECT_EQ(block->GetNumber(1, 2), 4.0);
}

TEST(TableSinkTest, MakesColumnsOfABlockThatHoldsTexts) {
    Making making;
    TellSpectra(making.context->shape);
    PushSpectra(making.sink, 3, 4);
    making.sink.SetText(3, 4, "n.d.");
    const Table table = making.sink.Finish();
    EXPECT_EQ(table.GetBlock(), nullptr);
    ASSERT_EQ(table.GetColumnCount(), 5U);
    EXPECT_EQ(TextsOf(table.GetColumn(2)), (Texts{"1", "n.d.", "2001"}));
    EXPECT_EQ(table.GetColumn(3).GetType(), ColumnType::Float32);
    EXPECT_EQ(TextsOf(table.GetColumn(4)), (Texts{"3", "1003", "2003"}));
}

TEST(TableSinkTest, KeepsColumnsBehindTheBlock) {
    Making making;
    making.KnownShape().firstBlockColumn = 2;
    making.KnownShape().lastBlockColumn = 3;
    making.KnownShape().nameRow = 1;
    making.KnownShape().firstDataRow = 2;
    making.sink.SetDataSize(4, 2);
    making.sink.SetText(1, 1, "id");
    making.sink.SetText(2, 1, "a");
    making.sink.SetText(3, 1, "b");
    making.sink.SetText(4, 1, "protein");
    making.sink.SetText(1, 2, "x");
    const float run[] = {1, 2, 11.5};
    making.sink.SetRowRun(2, 2, std::span<const float>(run));
    const Table table = making.sink.Finish();
    ASSERT_NE(table.GetBlock(), nullptr);
    EXPECT_EQ(table.GetBlock()->GetPointCount(), 2);
    EXPECT_EQ(table.GetBlock()->GetPointName(1), "b");
    EXPECT_EQ(table.GetBlockPlace(), 1U);
    EXPECT_EQ(table.GetColumn("protein").GetFloats()[0], 11.5F);
    EXPECT_EQ(table.GetText(3, 0), "11.5");
    EXPECT_EQ(table.GetText(2, 0), "2");
}

TEST(TableSinkTest, KeepsAChromatogramAsOneRow) {
    Making making;
    TellSpectra(making.context->shape);
    PushSpectra(making.sink, 1, 5'000'000);
    const Table table = making.sink.Finish();
    ASSERT_NE(table.GetBlock(), nullptr);
    EXPECT_EQ(table.GetRowCount(), 1);
    EXPECT_EQ(table.GetBlock()->GetFloatRow(0).size(), 5'000'000U);
    EXPECT_EQ(table.GetBlock()->GetAxis()[4'999'999], 5'000'999.0);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(table.GetBlock()->GetFloats()) % 64, 0U);
}

TEST(TableSinkTest, TakesSlicesWithoutACopy) {
    Making making;
    TellSpectra(making.context->shape);
    PushSpectra(making.sink, 4, 3);
    const Table table = making.sink.Finish();
    const Table slice = table.Slice(1, 2);
    EXPECT_EQ(slice.GetRowCount(), 2);
    EXPECT_EQ(slice.GetColumn("name").GetText(1), "s2");
    EXPECT_EQ(slice.GetBlock()->GetNumber(1, 2), 2002);
    EXPECT_EQ(slice.GetBlock()->GetFloats(), table.GetBlock()->GetFloats() + 3);
    EXPECT_THROW(table.Slice(3, 2), std::out_of_range);
}

TEST(TableSinkTest, TakesNoMoreMemoryThanAFewFarCellsAreWorth) {
    Making making(0);
    making.context->budget.SetLimit(std::uint64_t{64} << 20);
    for (int row = 1; row <= 100'000; ++row) {
        making.sink.Set(1, row, row + 0.5);
    }
    // One row of a log is much wider than the others.
    for (int col = 2; col <= 2000; ++col) {
        making.sink.Set(col, 50'000, col + 0.5);
    }
    const Table table = making.sink.Finish();
    EXPECT_EQ(table.GetColumn(1999).GetNumber(49'999), 2000.5);
    EXPECT_EQ(table.GetColumn(1999).GetNullCount(), 99'999);
}

TEST(TableSinkTest, EndsWhatWouldOutgrowTheBudget) {
    const auto pushes = [](auto push) {
        Making making;
        making.context->budget.SetLimit(std::uint64_t{16} << 20);
        making.KnownShape().firstBlockColumn = 2;
        EXPECT_THROW(
            {
                push(making.sink);
                making.sink.Finish();
            },
            karta::BudgetExceeded);
    };
    const double run[] = {1.0};
    constexpr int Far = std::numeric_limits<int>::max() - 1;
    pushes([&](TableSink& sink) {
        sink.SetRowRun(2, Far, std::span<const double>(run));
        sink.SetRowRun(Far, 1, std::span<const double>(run));
    });
    pushes([&](TableSink& sink) {
        sink.SetColumnRun(Far, 1, std::span<const double>(run));
        sink.SetColumnRun(2, Far, std::span<const double>(run));
    });
    pushes([](TableSink& sink) { sink.SetDataSize(Far, 1); });
}

TEST(TableSinkTest, IgnoresCellsOutsideOfAnyTable) {
    Making making(0);
    const double run[] = {1.0, 2.0};
    making.sink.Set(0, 1, 1.0);
    making.sink.Set(1, 0, 1.0);
    making.sink.Set(-5, 1, 1.0F);
    making.sink.SetText(1, -1, "x");
    making.sink.SetRowRun(0, 1, std::span<const double>(run));
    making.sink.SetRowRun(1, 0, std::span<const double>(run));
    making.sink.SetColumnRun(1, -7, std::span<const double>(run));
    making.sink.SetError(0, 0, "#N/A");
    making.sink.SetSource(0, 1, "1");
    const Table table = making.sink.Finish();
    EXPECT_EQ(table.GetRowCount(), 0);
    EXPECT_EQ(table.GetWidth(), 0);
    EXPECT_EQ(making.NoteText(), "");
}

}  // namespace

TEST(TableSinkTest, TextsAreUtf8WhateverTheyWere) {
    Making making;
    making.sink.SetText(1, 1, "n\xE4me");
    making.sink.SetText(2, 1, "v");
    for (int row = 2; row <= 4; ++row) {
        making.sink.SetText(1, row, row == 3 ? "H\xF6he" : "\xC3\xA9t\xC3\xA9");
        making.sink.Set(2, row, 1.5);
    }
    making.KnownShape().nameRow = 1;
    making.KnownShape().firstDataRow = 2;
    making.KnownShape().valueUnit = "\xB5m";
    const Table table = making.sink.Finish();
    EXPECT_EQ(table.GetColumn(0).GetName(), "n\xC3\xA4me");
    EXPECT_EQ(TextsOf(table.GetColumn(0)), (Texts{"\xC3\xA9t\xC3\xA9", "H\xC3\xB6he", "\xC3\xA9t\xC3\xA9"}));
    EXPECT_EQ(table.GetShape().valueUnit, "\xC2\xB5m");
}
