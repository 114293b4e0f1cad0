// A table in pieces is the same as the whole, whatever it is read from, and costs no more than its pieces.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

#include "karta/Read.h"
#include "karta/internal/BatchSink.h"
#include "karta/internal/ChangedMeanwhile.h"
#include "karta/internal/Selection.h"
#include "karta/internal/SurveySink.h"
#include "karta/internal/TableRows.h"
#include "tests/spreadsheet/WorkbookParts.h"
#include "tests/support/PeakMemory.h"
#include "tests/support/Samples.h"
#include "tests/support/SharedData.h"
#include "tests/support/TempFolder.h"

namespace {

using karta::Block;
using karta::Column;
using karta::ColumnType;
using karta::Error;
using karta::ErrorCode;
using karta::Selection;
using karta::Table;

/** What a table in pieces was. */
struct Pieces {
    std::vector<Table> batches;
    std::optional<Error> error;

    /** Whether they were read one by one: their memory is their own. */
    bool AreByThemselves() const {
        return batches.size() > 1 && batches.front().GetParts().block
                   ? batches.front().GetBlock()->GetParts().values !=
                         batches.back().GetBlock()->GetParts().values
                   : batches.size() > 1 && AreApart(batches.front(), batches.back());
    }

private:
    static bool AreApart(const Table& one, const Table& other) {
        for (std::size_t i = 0; i < one.GetColumnCount(); ++i) {
            const auto& values = one.GetColumn(i).GetBuffers().values;
            if (values != nullptr && values != other.GetColumn(i).GetBuffers().values) {
                return true;
            }
        }
        return false;
    }
};

Pieces ReadInPieces(const std::string& path, const karta::ReadOptions& options, std::int64_t rows,
                    std::size_t mostHeld = 0) {
    Pieces pieces;
    try {
        const Selection selection({path}, options, karta::LoadFormats({}));
        selection.ForEachBatch(
            options.part, rows,
            [&](Table& batch) {
                pieces.batches.push_back(batch);
                return true;
            },
            mostHeld);
    } catch (const Error& error) {
        pieces.error = error;
    }
    return pieces;
}

void ExpectSameBlocks(const Block* piece, const Block* whole, std::int64_t first) {
    ASSERT_EQ(piece == nullptr, whole == nullptr);
    if (whole == nullptr) {
        return;
    }
    EXPECT_EQ(piece->IsFloat32(), whole->IsFloat32());
    EXPECT_EQ(piece->IsRowMajor(), whole->IsRowMajor());
    ASSERT_EQ(piece->GetPointCount(), whole->GetPointCount());
    EXPECT_EQ(std::vector<double>(piece->GetAxis().begin(), piece->GetAxis().end()),
              std::vector<double>(whole->GetAxis().begin(), whole->GetAxis().end()));
    EXPECT_EQ(
        piece->GetAxisQuantity() + piece->GetAxisUnit() + piece->GetValueQuantity() + piece->GetValueUnit(),
        whole->GetAxisQuantity() + whole->GetAxisUnit() + whole->GetValueQuantity() + whole->GetValueUnit());
    for (std::int64_t point = 0; point < whole->GetPointCount(); ++point) {
        for (std::int64_t row = 0; row < piece->GetRowCount(); ++row) {
            ASSERT_EQ(piece->ToText(row, point), whole->ToText(first + row, point)) << row << " " << point;
        }
    }
}

void ExpectSameColumns(const Column& piece, const Column& whole, std::int64_t first) {
    EXPECT_EQ(piece.GetName(), whole.GetName());
    EXPECT_EQ(piece.GetUnit(), whole.GetUnit());
    ASSERT_EQ(piece.GetType(), whole.GetType()) << whole.GetName();
    EXPECT_EQ(piece.GetBuffers().dictionary == nullptr, whole.GetBuffers().dictionary == nullptr)
        << whole.GetName();
    std::int64_t missing = 0;
    for (std::int64_t row = 0; row < piece.GetRowCount(); ++row) {
        ASSERT_EQ(piece.IsMissing(row), whole.IsMissing(first + row))
            << whole.GetName() << " " << first + row;
        ASSERT_EQ(piece.ToText(row), whole.ToText(first + row)) << whole.GetName() << " " << first + row;
        missing += piece.IsMissing(row) ? 1 : 0;
    }
    EXPECT_EQ(piece.GetNullCount(), missing) << whole.GetName();
}

void ExpectSamePiece(const Table& piece, const Table& whole, std::int64_t first) {
    ASSERT_EQ(piece.GetColumnCount(), whole.GetColumnCount());
    EXPECT_EQ(piece.GetBlockPlace(), whole.GetBlockPlace());
    for (std::size_t i = 0; i < whole.GetColumnCount(); ++i) {
        ExpectSameColumns(piece.GetColumn(i), whole.GetColumn(i), first);
    }
    ExpectSameBlocks(piece.GetBlock(), whole.GetBlock(), first);
    ASSERT_EQ(piece.GetHeads().size(), whole.GetHeads().size());
    for (std::size_t i = 0; i < whole.GetHeads().size(); ++i) {
        EXPECT_EQ(piece.GetHeads()[i].text, whole.GetHeads()[i].text);
        EXPECT_EQ(piece.GetHeads()[i].row, whole.GetHeads()[i].row);
    }
    EXPECT_EQ(piece.GetShape().nameRow, whole.GetShape().nameRow);
    EXPECT_EQ(piece.GetShape().unitRow, whole.GetShape().unitRow);
    EXPECT_EQ(piece.GetShape().firstDataRow, whole.GetShape().firstDataRow);
    EXPECT_EQ(piece.GetFacts().size(), whole.GetFacts().size());
    std::vector<std::string> notes;
    for (const karta::Note& note : piece.GetNotes()) {
        notes.push_back(note.place + ": " + note.text);
    }
    std::vector<std::string> expected;
    for (const karta::Note& note : whole.GetNotes()) {
        expected.push_back(note.place + ": " + note.text);
    }
    EXPECT_EQ(notes, expected);
}

// Whether the pieces were read one by one.
bool ExpectSameInPieces(const std::string& path, const karta::ReadOptions& options, std::int64_t rows) {
    SCOPED_TRACE(path + " in pieces of " + std::to_string(rows));
    const Pieces pieces = ReadInPieces(path, options, rows);
    std::optional<Table> whole;
    try {
        whole = karta::Read(path, options);
    } catch (const Error& error) {
        EXPECT_TRUE(pieces.error && pieces.error->GetCode() == error.GetCode()) << error.what();
        return false;
    }
    if (pieces.error) {
        ADD_FAILURE() << pieces.error->what();
        return false;
    }
    std::int64_t first = 0;
    for (const Table& batch : pieces.batches) {
        const bool isLast = &batch == &pieces.batches.back();
        EXPECT_TRUE(batch.GetRowCount() == rows || isLast);
        EXPECT_LE(first + batch.GetRowCount(), whole->GetRowCount());
        if (first + batch.GetRowCount() > whole->GetRowCount()) {
            return false;
        }
        ExpectSamePiece(batch, *whole, first);
        if (testing::Test::HasFatalFailure()) {
            return false;
        }
        first += batch.GetRowCount();
    }
    EXPECT_EQ(first, whole->GetRowCount());
    return pieces.AreByThemselves();
}

class BatchTest : public testing::Test {
protected:
    std::string Write(const std::string& name, const std::string& text) { return folder.Write(name, text); }

    TempFolder folder;
};

std::string NumbersBelow(int rows) {
    std::string text = "n,square,share\n";
    for (int i = 1; i <= rows; ++i) {
        text +=
            std::to_string(i) + "," + std::to_string(std::int64_t{i} * i) + "," + std::to_string(i) + ".25\n";
    }
    return text;
}

/** What processes that have ended took of the processors. */
double SecondsOfChildren() {
    constexpr double Micro = 1e-6;
    rusage used{};
    getrusage(RUSAGE_CHILDREN, &used);
    return static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
           Micro * static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec);
}

/** Pushes a table of numbers as readers do, a row after the other. */
class ChangingTable {
public:
    explicit ChangingTable(int firstRows) {
        ReadControl control(RowFilter(), {});
        karta::SurveySink survey(context, control, {}, 50, 0);
        Push(survey, firstRows, 2, false);
        plan = survey.Plan();
    }
    bool HasPlan() const { return plan.has_value(); }
    /** How many rows the second read gave. */
    std::int64_t ReadAgain(int rows, int cols, bool hasText) {
        std::int64_t given = 0;
        const karta::BatchSink::BatchFunction use = [&](Table& batch) {
            given += batch.GetRowCount();
            return true;
        };
        ReadControl control(RowFilter(), {});
        karta::BatchSink sink(std::make_shared<karta::ReadContext>(), control, *plan, 50, use);
        Push(sink, rows, cols, hasText);
        sink.Finish();
        return given;
    }

private:
    static void Push(WideSink& sink, int rows, int cols, bool hasText) {
        sink.SetText(1, 1, "a");
        sink.SetText(2, 1, "b");
        for (int row = 2; row <= rows + 1; ++row) {
            for (int col = 1; col <= cols; ++col) {
                sink.Set(col, row, row + 0.5);
            }
            if (hasText && row == rows) {
                sink.SetText(1, row, "x");
            }
            sink.EndRow(row);
        }
    }

    std::shared_ptr<karta::ReadContext> context = std::make_shared<karta::ReadContext>();
    std::optional<karta::TablePlan> plan;
};

WorkbookParts BookOfOneSheet() {
    WorkbookParts book;
    book.workbook = R"(<workbook xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main" )"
                    R"(xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships">)"
                    R"(<sheets><sheet name="A" sheetId="1" r:id="r"/></sheets></workbook>)";
    book.relationships =
        R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
        R"(<Relationship Id="r" Target="worksheets/sheet1.xml" Type=")"
        R"(http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet"/></Relationships>)";
    return book;
}

}  // namespace

TEST_F(BatchTest, EverySampleIsTheSameInPieces) {
    int apart = 0;
    for (const Sample& sample : ReadableSamples()) {
        for (const std::int64_t rows : {1, 7, 100}) {
            apart += ExpectSameInPieces(sample.path, {.format = sample.format}, rows) ? 1 : 0;
        }
    }
    EXPECT_GT(apart, 8);
}

TEST_F(BatchTest, EveryRealFileIsTheSameInPieces) {
    SKIP_WITHOUT_SHARED_DATA();
    int apart = 0;
    for (const std::string& path : SharedFiles("data")) {
        if (path.ends_with(".json") || path.ends_with(".tsv") || path.ends_with(".md")) {
            continue;
        }
        apart += ExpectSameInPieces(path, {}, 37) ? 1 : 0;
    }
    EXPECT_GT(apart, 12);
}

TEST_F(BatchTest, WhatOnlyTheEndShowsHoldsFromTheFirstPieceOn) {
    struct Late {
        const char* name;
        const char* row;   // of most rows
        const char* last;  // of the last one
    };
    for (const Late& late :
         {Late{"text in numbers", "1,2\n", "x,2\n"}, Late{"fraction", "1,2\n", "1.5,2\n"},
          Late{"one more field", "1,2\n", "1,2,3,4\n"},
          Late{"date and time", "2024-01-02,1\n", "2024-01-02 10:00,1\n"}, Late{"no value", ",1\n", "5,1\n"},
          Late{"large number", "1.5,1\n", "9007199254740993,1\n"},
          Late{"written with a point", "1,2\n", "3.0,2\n"}, Late{"comma", "1;2\n", "1,5;2\n"},
          Late{"same texts", "Bordeaux,1\n", "Rioja,2\n"}, Late{"quotes", "\"a\nb\",1\n", "\"c\",2\n"}}) {
        SCOPED_TRACE(late.name);
        std::string text = "a,b\n";
        for (int i = 0; i < 3000; ++i) {
            text += late.row;
        }
        EXPECT_TRUE(ExpectSameInPieces(Write("late.csv", text + late.last), {}, 100));
    }
}

TEST_F(BatchTest, DistinctTextsAreOneListForAllPieces) {
    std::string text = "name,n\n";
    for (int i = 0; i < 20000; ++i) {
        text += std::string(i % 7 == 0 ? "a rather long name of a sample," : "another one of the samples,") +
                std::to_string(i) + "\n";
    }
    const Pieces pieces = ReadInPieces(Write("a.csv", text), {}, 1000);
    ASSERT_EQ(pieces.batches.size(), 20U);
    const auto& first = pieces.batches.front().GetColumn("name").GetBuffers().dictionary;
    ASSERT_NE(first, nullptr);
    for (const Table& batch : pieces.batches) {
        EXPECT_EQ(batch.GetColumn("name").GetBuffers().dictionary, first);
    }
    EXPECT_TRUE(ExpectSameInPieces(folder.Path("a.csv"), {}, 999));
}

TEST_F(BatchTest, SpectraInATextAreABlockInPieces) {
    std::string text = "sample";
    for (int point = 0; point < 50; ++point) {
        text += "," + std::to_string(1100 + 2 * point);
    }
    text += "\n";
    for (int i = 0; i < 2000; ++i) {
        text += "s" + std::to_string(i);
        for (int point = 0; point < 50; ++point) {
            text += "," + std::to_string(i * point) + ".125";
        }
        text += "\n";
    }
    EXPECT_TRUE(ExpectSameInPieces(Write("spectra.csv", text), {}, 64));
    // One that isn't a number makes them columns.
    ExpectSameInPieces(Write("broken.csv", text + "s,none\n"), {}, 64);
}

TEST_F(BatchTest, HeaderIsHeardInPieces) {
    const std::string path = Write("a.csv", NumbersBelow(3000));
    for (const int header : {0, 1, 5, 2500}) {
        ExpectSameInPieces(path, {.header = header}, 100);
    }
    const Table some = karta::Read(path, {.rows = {{5, 30}}});
    std::int64_t rows = 0;
    karta::Reader(path, {.rows = {{5, 30}}}).ForEachBatch(10, [&](Table& batch) {
        EXPECT_EQ(batch.GetColumn("n").GetNumber(0), 5.0 + static_cast<double>(rows));
        rows += batch.GetRowCount();
        return true;
    });
    EXPECT_EQ(rows, some.GetRowCount());
}

TEST_F(BatchTest, AWorkbookIsTheSameInPieces) {
    std::string sheet = R"(<row r="1"><c r="A1" t="inlineStr"><is><t>name</t></is></c>)"
                        R"(<c r="B1" t="inlineStr"><is><t>value</t></is></c></row>)";
    for (int row = 2; row <= 5000; ++row) {
        const std::string number = std::to_string(row);
        sheet +=
            R"(<row r=")" + number + R"("><c r="A)" + number + R"(" t="inlineStr"><is><t>s)" + number +
            R"(</t></is></c><c r="B)" + number +
            (row == 4000 ? R"(" t="e"><v>#N/A</v></c></row>)" : R"("><v>)" + number + ".5</v></c></row>");
    }
    const std::string main = "xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"";
    WorkbookParts book = BookOfOneSheet();
    book.sheets = {"<worksheet " + main + "><sheetData>" + sheet + "</sheetData></worksheet>"};
    EXPECT_TRUE(ExpectSameInPieces(Write("book.xlsx", book.Build("xml")), {}, 500));
}

TEST_F(BatchTest, NoEndsTheReadAtOnce) {
    const std::string path = Write("a.csv", NumbersBelow(200000));
    const Selection selection({path}, {}, karta::LoadFormats({}));
    int batches = 0;
    double last = 0.0;
    karta::ReadOptions watched;
    watched.progress = [&](double share) { last = share; };
    const Selection seen({path}, watched, karta::LoadFormats({}));
    selection.ForEachBatch(0, 100, [&](Table&) { return ++batches < 3; }, 0);
    EXPECT_EQ(batches, 3);
    EXPECT_THROW(selection.ForEachBatch(
                     0, 100, [](Table&) -> bool { throw std::out_of_range("enough"); }, 0),
                 std::out_of_range);
    // Again from the start.
    std::int64_t rows = 0;
    seen.ForEachBatch(
        0, 100,
        [&](Table& batch) {
            rows += batch.GetRowCount();
            return true;
        },
        0);
    EXPECT_EQ(rows, 200000);
    EXPECT_EQ(last, 1.0);
}

TEST_F(BatchTest, StopEndsAReadInPieces) {
    const std::string path = Write("a.csv", NumbersBelow(100000));
    std::stop_source source;
    karta::ReadOptions options;
    options.stop = source.get_token();
    const Selection selection({path}, options, karta::LoadFormats({}));
    int batches = 0;
    try {
        selection.ForEachBatch(
            0, 1000,
            [&](Table&) {
                source.request_stop();
                ++batches;
                return true;
            },
            0);
        ADD_FAILURE() << "read to its end";
    } catch (const Error& error) {
        EXPECT_EQ(error.GetCode(), ErrorCode::Stopped) << error.what();
    }
    EXPECT_LT(batches, 50);
}

TEST_F(BatchTest, AFailureInTheMiddleIsAnErrorBeforeTheFirstPiece) {
    std::string sheet =
        R"(<worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><sheetData>)";
    for (int row = 1; row <= 3000; ++row) {
        const std::string number = std::to_string(row);
        sheet += R"(<row r=")" + number + R"("><c r="A)" + number + R"("><v>1.5</v></c></row>)";
    }
    WorkbookParts book = BookOfOneSheet();
    book.sheets = {sheet + "<row"};
    const Pieces pieces = ReadInPieces(Write("cut.xlsx", book.Build("xml")), {}, 100);
    ASSERT_TRUE(pieces.error);
    EXPECT_EQ(pieces.error->GetCode(), ErrorCode::BadFile);
    EXPECT_EQ(pieces.error->GetPlace().cell, "A!A3000");
    EXPECT_TRUE(pieces.batches.empty());
}

TEST_F(BatchTest, AFileThatChangesMeanwhileIsAnError) {
    ChangingTable table(10000);
    ASSERT_TRUE(table.HasPlan());
    EXPECT_EQ(table.ReadAgain(10000, 2, false), 10000);
    EXPECT_THROW(table.ReadAgain(10001, 2, false), karta::ChangedMeanwhile);
    EXPECT_THROW(table.ReadAgain(9999, 2, false), karta::ChangedMeanwhile);
    EXPECT_THROW(table.ReadAgain(10000, 3, false), karta::ChangedMeanwhile);
    EXPECT_THROW(table.ReadAgain(10000, 2, true), karta::ChangedMeanwhile);
}

// Numbers that come in runs down a column go through the windows of the pieces, which may be shorter.
TEST_F(BatchTest, RunsOfNumbersAreTheSameInPiecesOfAnyLength) {
    std::string text = "id,a,b,late\n";
    for (int i = 0; i < 60000; ++i) {
        text += std::to_string(i) + "," + std::to_string(i % 100) + ".5," + (i % 1000 == 0 ? "" : "1e3") +
                (i < 59000 ? ",7\n" : ",7.25\n");
        text += i % 20011 == 20010 ? "short,row\n\"quoted\",1,2,3\n" : "";
    }
    const std::string path = Write("runs.csv", text);
    for (const std::int64_t rows : {1000, 16384, 59999}) {
        EXPECT_TRUE(ExpectSameInPieces(path, {}, rows));
    }
}

TEST_F(BatchTest, WhatTheBeginningToldWronglyIsReadAnew) {
    const std::string rows = NumbersBelow(40000);
    for (const char* const last :
         {"\xe9,1,2\n", "a text,1,2\n", "1,2,2024-01-05\n", "1,\"a\n", "1,2,3,4\n"}) {
        EXPECT_TRUE(ExpectSameInPieces(Write("late.csv", rows + last), {}, 1000)) << last;
    }
    const std::string nul("1\0,2,3\n", 7);
    EXPECT_TRUE(ExpectSameInPieces(Write("late.csv", rows + nul), {}, 1000));
}

TEST_F(BatchTest, ALongTextCostsNoMoreThanItsPieces) {
    if (!IsMemoryMeasurable()) {
        GTEST_SKIP() << "the sanitizer's own memory is many times the table's";
    }
    const std::string path = folder.Path("long.csv");
    {
        std::ofstream file(path, std::ios::binary);
        file << "name";
        for (int col = 0; col < 9; ++col) {
            file << ",c" << col;
        }
        file << '\n';
        for (int row = 0; row < 1'000'000; ++row) {
            file << 's' << row % 1000;
            for (int col = 0; col < 9; ++col) {
                file << ',' << row % 977 << '.' << 1000 + col * 7 + row % 13;
            }
            file << '\n';
        }
    }
    const auto size = std::filesystem::file_size(path);
    ASSERT_GT(size, 80'000'000U);
    const double before = SecondsOfChildren();
    const double peak = PeakMemoryOf([&] {
        std::int64_t rows = 0;
        karta::Reader(path).ForEachBatch(10000, [&](Table& batch) {
            rows += batch.GetRowCount();
            return true;
        });
        return rows == 1'000'000;
    });
    EXPECT_GT(peak, 0.0);
    // Its ten columns take 80 MB.
    EXPECT_LT(peak, 120e6);
    // It is read twice, and not looked through for its types besides, which would make four times.
    const double inPieces = SecondsOfChildren();
    PeakMemoryOf([&] { return karta::Read(path).GetRowCount() == 1'000'000; });
    const double asAWhole = SecondsOfChildren() - inPieces;
    std::printf("%.2f times the processors' time of the whole\n", (inPieces - before) / asAWhole);
    EXPECT_LT(inPieces - before, 2.8 * asAWhole);
}
