#include "spreadsheet/ExcelFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <ios>
#include <random>

#include "frame/OptionsText.h"
#include "host/SerialDate.h"
#include "table/TableData.h"
#include "tests/support/BiffBuilder.h"
#include "tests/support/CompoundBuilder.h"
#include "tests/support/CountingSink.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpreadsheetTruth.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Format = "Excel File";
constexpr unsigned Biff5 = BiffBuilder::Biff5;
constexpr unsigned Biff8 = BiffBuilder::Biff8;
constexpr unsigned Worksheet = BiffBuilder::Worksheet;

const std::string BadWorksheet =
    "Error \"An error occurred when reading a Worksheet in the Excel file. An invalid BIFF-record was "
    "found.\"\n";
const std::string BadGlobals =
    "Error \"An error occurred when reading the Workbook section in the Excel file. An invalid BIFF-record "
    "was "
    "found.\"\n";

// The records of one sheet alone, as versions before workbooks have them; `high` is the high byte of BOF's
// id.
std::string SingleSheet(unsigned high, const BiffBuilder& records, unsigned version = Biff5) {
    return BiffBuilder().Bof(version, Worksheet, high << 8 | 0x09).Bytes() + records.Bytes();
}

// A sheet of numbers: row 0 is 1, 2, 3..., row 1 is 11, 12...
BiffBuilder Grid(unsigned rows, unsigned cols, int start = 1) {
    BiffBuilder cells;
    for (unsigned row = 0; row < rows; ++row) {
        for (unsigned col = 0; col < cols; ++col) {
            cells.Number(row, col, start + static_cast<int>(10 * row + col));
        }
    }
    return cells;
}

class ExcelFileTest : public testing::Test {
protected:
    std::string PlainTrace(std::string_view bytes, const TraceOptions& how = {}) {
        return ReadTrace(Format, folder.Write("book.xls", bytes), how);
    }
    /** Of a workbook stream in a compound file. */
    std::string Trace(std::string_view stream, const TraceOptions& how = {}) {
        return PlainTrace(CompoundBuilder().Stream("Workbook", stream).Build(), how);
    }
    std::string Trace(const WorkbookBuilder& book, const TraceOptions& how = {}) {
        return Trace(book.Build(), how);
    }
    std::string Cells(const WorkbookBuilder& book, const TraceOptions& how = {}) {
        return CellsOf(Trace(book, how));
    }
    /** Of a sheet of these cells in a BIFF8 workbook. */
    std::string Cells(const BiffBuilder& cells) { return Cells(WorkbookBuilder().Sheet("A", 9, 9, cells)); }
    std::string SingleSheetCells(unsigned high, const BiffBuilder& cells) {
        const BiffBuilder records = BiffBuilder().ShortDimensions(9, 9);
        return CellsOf(PlainTrace(SingleSheet(high, records) + cells.Bytes() + BiffBuilder().Eof().Bytes()));
    }
    /** Only the lines that begin so. */
    static std::string Lines(const std::string& trace, const std::string& start) {
        std::string found;
        for (std::size_t at = 0; at < trace.size(); at = trace.find('\n', at) + 1) {
            if (trace.compare(at, start.size(), start) == 0) {
                found += trace.substr(at, trace.find('\n', at) + 1 - at);
            }
        }
        return found;
    }
    static std::string Sizes(const std::string& trace) { return Lines(trace, "GetNum"); }

    TempFolder folder;
};

}  // namespace

TEST_F(ExcelFileTest, ReadsASheetOfAWorkbook) {
    WorkbookBuilder book;
    book.Tail().Record(0x00FC, ByteBuilder().I32(1).I32(1).Text(SharedText("water").Bytes()));
    book.Sheet("Data", 2, 3, BiffBuilder().LabelSst(0, 0, 0).Number(0, 1, 1.5).Rk(1, 2, (7 << 2) | 2));
    EXPECT_EQ(Trace(book),
              "Format \"Excel File\"\nOpen 0x0\nGetNumRows 2\nGetNumCols 3\nSetDataSize 3 2\n"
              "Set 1 1 text \"water\"\nSet 2 1 double 1.5\nSet 3 2 double 7\nRead 0x0\nClose\n");
}

TEST_F(ExcelFileTest, WorkbookInAPlainFileReadsTheSame) {
    WorkbookBuilder book;
    book.Sheet("Data", 2, 2, Grid(2, 2));
    EXPECT_EQ(PlainTrace(book.Build()), Trace(book));
}

TEST_F(ExcelFileTest, NoRowFilterIsAskedAndNoSizeSet) {
    WorkbookBuilder book;
    book.Sheet("Data", 2, 1, Grid(2, 1));
    EXPECT_EQ(Trace(book, {nullptr, "2", 0, true}),
              "Format \"Excel File\"\nOpen 0x0\nGetNumRows 2\nGetNumCols 1\nSetDataSize 1 2\n"
              "Set 1 1 double 1\nSet 1 2 double 11\nRead 0x0\nClose\n");
}

// --- Opening

TEST_F(ExcelFileTest, MissingFileIsStatus0x100) {
    EXPECT_EQ(ReadTrace(Format, folder.Path("none.xls")),
              "Format \"Excel File\"\nOpen 0x100\nError \"Unable to open Excel file.\"\nClose\n");
}

TEST_F(ExcelFileTest, DamagedCompoundFileIsStatus0x100) {
    std::string bytes = CompoundBuilder().Stream("Workbook", "x").Build();
    bytes[CompoundBuilder::SectorShiftOffset] = 0;
    EXPECT_EQ(Lines(PlainTrace(bytes), "Open"), "Open 0x100\n");
}

TEST_F(ExcelFileTest, UnreadableFirstRecordIsStatus0x103) {
    const std::string failure = "Open 0x103\nError \"This file does not appear to be a valid Excel file.\"\n";
    EXPECT_NE(PlainTrace("").find(failure), std::string::npos);
    EXPECT_NE(PlainTrace("\x09\x08\x10").find(failure), std::string::npos);
    EXPECT_NE(PlainTrace(BiffBuilder().Header(0x0809, 8).Bytes()).find(failure), std::string::npos);
    EXPECT_NE(PlainTrace(BiffBuilder().Header(0x0809, -1).Bytes()).find(failure), std::string::npos);
    // Before BOF no version is known, and the shorter limit holds.
    const std::string tooLong =
        BiffBuilder().Record(0x0809, ByteBuilder().U16(Biff8).U16(5).Zeros(2077)).Bytes();
    EXPECT_NE(PlainTrace(tooLong).find(failure), std::string::npos);
}

TEST_F(ExcelFileTest, FirstRecordThatIsNoBofIsStatus0x107) {
    EXPECT_EQ(
        PlainTrace(BiffBuilder().Record(0x0203, ByteBuilder().Zeros(14)).Bytes()),
        "Format \"Excel File\"\nOpen 0x107\nError \"The excel file does not contain any sheets.\"\nClose\n");
}

TEST_F(ExcelFileTest, CompoundFileWithoutWorkbookIsStatus0x106) {
    EXPECT_EQ(PlainTrace(CompoundBuilder().Stream("WordDocument", "text").Stream("BOOK", "x").Build()),
              "Format \"Excel File\"\nOpen 0x106\nError \"No Excel stream was found in the file.\"\nClose\n");
}

TEST_F(ExcelFileTest, BookBeforeWorkbookInTheDirectoryIsRead) {
    WorkbookBuilder newer;
    newer.Sheet("A", 1, 1, Grid(1, 1, 8));
    WorkbookBuilder older(Biff5);
    older.Sheet("A", 1, 1, Grid(1, 1, 5));
    CompoundBuilder builder;
    builder.Stream("Book", older.Build()).Stream("Workbook", newer.Build());
    EXPECT_EQ(CellsOf(PlainTrace(builder.Build())), "Set 1 1 double 5\n");
    EXPECT_EQ(CellsOf(PlainTrace(builder.LinkLeft().Build())), "Set 1 1 double 8\n");
}

TEST_F(ExcelFileTest, LaterVersionIsStatus0x108) {
    const std::string bytes = BiffBuilder().Bof(Biff8, 5, 0x0909).Bytes();
    EXPECT_EQ(PlainTrace(bytes),
              "Format \"Excel File\"\nOpen 0x108\nError \"KARTA can not read this version of Excel files. "
              "Only Excel "
              "files based on the BIFF2 to BIFF8 formats can be read. This includes files generated by Excel "
              "version "
              "2, 3, 4, 5, 95, 97, 2000 & XP.\"\nClose\n");
}

TEST_F(ExcelFileTest, ProtectedWorkbookIsStatus0x105) {
    WorkbookBuilder book;
    book.Globals().Record(0x002F, ByteBuilder().Zeros(6));
    book.Sheet("A", 1, 1, Grid(1, 1));
    EXPECT_EQ(
        Trace(book),
        "Format \"Excel File\"\nOpen 0x105\nError \"KARTA cannot read (password-) protected Excel workbooks. "
        "You "
        "will need to remove the password protection to be able to read the file into KARTA.\"\nClose\n");
    WorkbookBuilder late;
    late.Tail().Record(0x002F, ByteBuilder().Zeros(6));
    late.Sheet("A", 1, 1, Grid(1, 1));
    EXPECT_EQ(Lines(Trace(late), "Open"), "Open 0x105\n");
}

TEST_F(ExcelFileTest, OpenForWritingIsStatus3) {
    ExcelFile reader;
    EXPECT_EQ(reader.Open(false, folder.Path("out.xls").c_str(), nullptr), 3);
    EXPECT_EQ(reader.GetNumRows(), -1);
    EXPECT_EQ(reader.GetNumCols(), -1);
}

TEST_F(ExcelFileTest, FailureSticksUntilClose) {
    WorkbookBuilder book;
    book.Sheet("A", 1, 1, Grid(1, 1));
    const std::string path = folder.Write("book.xls", book.Build());
    ExcelFile reader;
    ASSERT_EQ(reader.Open(true, folder.Path("none.xls").c_str(), nullptr), 0x100);
    EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 0x100);
    reader.Close();
    EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    EXPECT_EQ(reader.EstablishSize(), 1);
}

TEST_F(ExcelFileTest, ReaderThatIsNotOpenHasNothing) {
    ExcelFile reader;
    EXPECT_EQ(reader.GetNumRows(), 0);
    EXPECT_EQ(reader.ListParts().size(), 1U);
    EXPECT_TRUE(reader.SetCurWorksheet({0}));
    EXPECT_EQ(reader.GetNumCols(), 0);
    TableData table;
    EXPECT_EQ(reader.Read(&table), 0x102);
}

TEST_F(ExcelFileTest, UnknownStatusHasTheTextOfAllFormats) {
    struct Failing : ExcelFile {
        Failing() { status = 0x7777; }
    } reader;
    EXPECT_EQ(ErrorOf(reader), "No further information available.");
    char buffer[10];
    ExcelFile missing;
    missing.Open(true, "/nowhere/at/all.xls", nullptr);
    missing.GetErrorMessage(buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "Unable to");
}

// --- The globals

TEST_F(ExcelFileTest, GlobalsWithoutEofAreStatus0x101) {
    WorkbookBuilder book;
    book.Sheet("A", 1, 1, Grid(1, 1));
    const std::string stream = BiffBuilder().Bof(Biff8, 5).Xf(0).Bytes();
    EXPECT_NE(Trace(stream).find("Open 0x101\n" + BadGlobals), std::string::npos);
}

TEST_F(ExcelFileTest, SheetOffsetsOutsideTheFileAreStatus0x101) {
    for (const int offset : {-1, 1'000'000, 0x7FFFFFFF, -0x7FFFFFFF - 1}) {
        WorkbookBuilder book;
        book.Sheet("A", 1, 1, Grid(1, 1)).SheetAt("B", offset);
        EXPECT_EQ(Lines(Trace(book), "Open"), "Open 0x101\n") << offset;
        EXPECT_EQ(Lines(PlainTrace(book.Build()), "Open"), "Open 0x101\n") << offset;
    }
}

TEST_F(ExcelFileTest, OnlyChartsAndDialogsAreStatus0x107) {
    WorkbookBuilder book;
    book.RawSheet("Chart", BiffBuilder().Bof(Biff8, BiffBuilder::Chart).Eof().Bytes(), 0, 2);
    book.RawSheet("Dialog", BiffBuilder().Bof(Biff8, Worksheet).WsBool(0x10).Dimensions(5, 5).Eof().Bytes());
    EXPECT_EQ(Lines(Trace(book), "Open"), "Open 0x107\n");
}

TEST_F(ExcelFileTest, SheetOfNoRowsByAllColumnsTakesNoNumber) {
    WorkbookBuilder book;
    book.Sheet("Empty", 0, 256, {}).Sheet("A", 1, 1, Grid(1, 1, 1)).Sheet("B", 1, 1, Grid(1, 1, 2));
    TestOptions second{{"Sheets", "2"}};
    EXPECT_EQ(Cells(book, {second.Get()}), "Set 1 1 double 2\n");
}

TEST_F(ExcelFileTest, SheetOfNoRowsByTenColumnsTakesANumberButIsNotListed) {
    WorkbookBuilder book;
    book.Sheet("Empty", 0, 10, {}).Sheet("A", 1, 1, Grid(1, 1, 1)).Sheet("B", 1, 1, Grid(1, 1, 2));
    TestOptions third{{"Sheets", "3"}};
    EXPECT_EQ(Cells(book, {third.Get()}), "Set 1 1 double 2\n");
    ExcelFile reader;
    ASSERT_EQ(reader.Open(true, folder.Path("book.xls").c_str(), nullptr), 0);
    std::vector<std::string> names;
    EXPECT_EQ(reader.GetWorksheets(names), 0);
    EXPECT_EQ(names, (std::vector<std::string>{"A", "B"}));
}

TEST_F(ExcelFileTest, OnlySheetWithDataIsReadWithoutAsking) {
    struct Asking : ExcelFile {
        int GetSheetOptions(std::vector<std::string>*) override {
            ADD_FAILURE() << "there is nothing to choose";
            return 0;
        }
    } reader;
    WorkbookBuilder book;
    book.Sheet("Empty", 0, 10, {}).Sheet("A", 1, 1, Grid(1, 1, 7)).Sheet("Empty too", 0, 0, {});
    ASSERT_EQ(reader.Open(true, folder.Write("book.xls", book.Build()).c_str(), nullptr), 0);
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_EQ(table.GetString(1, 1), "7");
    // Nor does it look at a record, even one that is cut short.
    TestOptions cut(std::string("\xff\x00\x00\x00", 4));
    EXPECT_EQ(Cells(book, {cut.Get()}), "Set 1 1 double 7\n");
}

TEST_F(ExcelFileTest, HiddenSheetsAreSheets) {
    WorkbookBuilder book;
    book.Sheet("A", 1, 1, Grid(1, 1, 1))
        .Sheet("B", 2, 3, Grid(1, 1, 2), 1)
        .Sheet("C", 1, 1, Grid(1, 1, 3), 2);
    TestOptions options{{"Sheets", "3"}};
    EXPECT_EQ(Cells(book, {options.Get()}), "Set 1 1 double 3\n");
    ExcelFile reader;
    ASSERT_EQ(reader.Open(true, folder.Path("book.xls").c_str(), nullptr), 0);
    const auto parts = reader.ListParts();
    ASSERT_EQ(parts.size(), 3U);
    EXPECT_EQ(parts[1].kind, "sheet");
    EXPECT_EQ(parts[1].name, "B");
    EXPECT_EQ(parts[1].number, 2);
    EXPECT_EQ(parts[1].rows, 2);
    EXPECT_EQ(parts[1].cols, 3);
    EXPECT_FALSE(parts[0].hidden);
    EXPECT_TRUE(parts[1].hidden);
    EXPECT_TRUE(parts[2].hidden);
    EXPECT_EQ(reader.ListFacts().at(0), FileContents::Fact("version", "BIFF8"));
}

TEST_F(ExcelFileTest, SheetThatEndsBeforeItsSizeKeepsTheSizeBefore) {
    WorkbookBuilder book;
    book.Sheet("A", 3, 2, Grid(1, 1));
    book.RawSheet("B", BiffBuilder().Bof(Biff8, Worksheet).Eof().Bytes());
    ExcelFile reader;
    ASSERT_EQ(reader.Open(true, folder.Write("book.xls", book.Build()).c_str(), nullptr), 0);
    EXPECT_EQ(reader.ListParts().at(1).rows, 3);
    EXPECT_EQ(reader.ListParts().at(1).cols, 2);
}

TEST_F(ExcelFileTest, SizeOfAFirstSheetThatNeverToldItCountsAsMinusOne) {
    WorkbookBuilder book;
    book.RawSheet("A", BiffBuilder().Bof(Biff8, Worksheet).Eof().Bytes());
    book.Sheet("B", 2, 2, Grid(1, 1, 1)).Sheet("C", 2, 3, Grid(1, 1, 2));
    TestOptions below{{"Sheets", "2,1,3"}, {"Vertical", "true"}};
    EXPECT_EQ(Sizes(Trace(book, {below.Get()})), "GetNumRows 3\nGetNumCols 4\n");
    EXPECT_EQ(Cells(book, {below.Get()}),
              "Set 1 1 double 1\nSet 4 1 text \"sheet: b\"\nSet 4 2 text \"sheet: b\"\n"
              "Set 1 2 double 2\nSet 4 2 text \"sheet: c\"\nSet 4 3 text \"sheet: c\"\n");
    TestOptions beside{{"Sheets", "2,1,3"}, {"Vertical", "false"}};
    EXPECT_EQ(Cells(book, {beside.Get()}),
              "Set 1 1 double 1\nSet 1 3 text \"sheet: b\"\nSet 2 3 text \"sheet: b\"\n"
              "Set 2 1 double 2\nSet 2 3 text \"sheet: c\"\nSet 3 3 text \"sheet: c\"\n"
              "Set 4 3 text \"sheet: c\"\n");
}

TEST_F(ExcelFileTest, ReservedWordBehindTheColumnEndCounts) {
    const ByteBuilder size = ByteBuilder().I32(0).I32(1).U16(0).U16(3).U16(1);
    WorkbookBuilder book;
    book.RawSheet("A", BiffBuilder().Bof(Biff8, Worksheet).Record(0x0200, size).Eof().Bytes());
    EXPECT_EQ(Sizes(Trace(book)), "GetNumRows 1\nGetNumCols 65539\n");
}

TEST_F(ExcelFileTest, NameOfWideCharactersComesOutAsItsFirst) {
    BiffBuilder globals;
    const std::string sheet = BiffBuilder().Bof(Biff8, Worksheet).Dimensions(1, 1).Eof().Bytes();
    ByteBuilder entry;
    entry.I32(60).U16(0).U8(4).U8(1).Text(std::string("D\0a\0t\0a\0", 8));
    globals.Bof(Biff8, 5).Record(0x0085, entry).Eof();
    ExcelFile reader;
    const std::string bytes = ByteBuilder().Text(globals.Bytes()).PadTo(60).Text(sheet).Bytes();
    ASSERT_EQ(reader.Open(true, folder.Write("book.xls", bytes).c_str(), nullptr), 0);
    EXPECT_EQ(reader.ListParts().at(0).name, "D");
}

TEST_F(ExcelFileTest, SheetsBeyond255AreKept) {
    WorkbookBuilder book;
    for (int i = 1; i <= 300; ++i) {
        book.Sheet("S" + std::to_string(i), 1, 1, Grid(1, 1, i));
    }
    TestOptions options{{"Sheets", "300"}};
    EXPECT_EQ(Cells(book, {options.Get()}), "Set 1 1 double 300\n");
}

TEST_F(ExcelFileTest, SmallFileWithManyEntriesForOnePlaceIsWalkedToItsEnd) {
    // Each entry leads to the file's start, from where the walk finds an EOF but no size.
    WorkbookBuilder book;
    for (int i = 0; i < 300; ++i) {
        book.SheetAt("A", 0);
    }
    EXPECT_EQ(Lines(PlainTrace(book.Build()), "Open"), "Open 0x107\n");
    book.Sheet("B", 1, 1, Grid(1, 1, 7));
    EXPECT_EQ(CellsOf(PlainTrace(book.Build())), "Set 1 1 double 7\n");
}

TEST_F(ExcelFileTest, GlobalsThatLeadInCirclesEnd) {
    // Many entries that lead to one long run of records before a size: each would walk through all of it.
    std::string junk;
    for (int i = 0; i < 50'000; ++i) {
        junk += BiffBuilder().Record(0x0001).Bytes();
    }
    const std::string sheet = junk + BiffBuilder().Dimensions(1, 1).Eof().Bytes();
    const auto build = [&](int offset) {
        WorkbookBuilder book;
        book.RawSheet("A", sheet);
        for (int i = 0; i < 20'000; ++i) {
            book.SheetAt("B", offset);
        }
        return book.Build();
    };
    const int offset = static_cast<int>(build(0).size() - sheet.size());
    EXPECT_EQ(Lines(Trace(build(offset)), "Open"), "Open 0x101\n");
}

// --- BIFF4 workbooks

namespace {

std::string Biff4Bundle(std::string_view name, const BiffBuilder& records) {
    const std::string sheet = BiffBuilder().Bof(0, Worksheet, 0x0409).Bytes() + records.Bytes();
    ByteBuilder header;
    header.I32(static_cast<int>(sheet.size())).U8(static_cast<unsigned>(name.size())).Text(name);
    return BiffBuilder().Record(0x008F, header).Bytes() + sheet;
}

std::string Biff4Workbook(const std::string& bundles) {
    const std::string bof = BiffBuilder().Bof(0, 0x100, 0x0409).Bytes();
    const BiffBuilder offset =
        BiffBuilder().Record(0x008E, ByteBuilder().I32(static_cast<int>(bof.size() + 8 + 5)));
    return bof + offset.Bytes() + "junk." + bundles + BiffBuilder().Eof().Bytes();
}

}  // namespace

TEST_F(ExcelFileTest, Biff4WorkbookHoldsItsSheetsOneBehindTheOther) {
    const BiffBuilder first = BiffBuilder().ShortDimensions(1, 2).Number(0, 0, 1).Number(0, 1, 2).Eof();
    const BiffBuilder dialog = BiffBuilder().WsBool(0x10).ShortDimensions(1, 1).Eof();
    const BiffBuilder second = BiffBuilder().ShortDimensions(1, 1).Number(0, 0, 3).Eof();
    const std::string book =
        Biff4Workbook(Biff4Bundle("A", first) + Biff4Bundle("D", dialog) + Biff4Bundle("B", second));
    TestOptions options{{"Sheets", "1,2"}, {"Vertical", "true"}};
    EXPECT_EQ(CellsOf(PlainTrace(book, {options.Get()})),
              "Set 1 1 double 1\nSet 2 1 double 2\nSet 3 1 text \"sheet: a\"\n"
              "Set 1 2 double 3\nSet 3 2 text \"sheet: b\"\n");
}

TEST_F(ExcelFileTest, Biff4BundlesThatLeadBackEnd) {
    const BiffBuilder sheet = BiffBuilder().ShortDimensions(1, 1).Eof();
    std::string bundle = Biff4Bundle("A", sheet);
    // A length that leads right back to the bundle's own header.
    bundle = ByteBuilder().Text(bundle).Patch(4, std::int32_t{-10}).Bytes();
    EXPECT_EQ(Lines(PlainTrace(Biff4Workbook(bundle)), "Open"), "Open 0x101\n");
}

TEST_F(ExcelFileTest, Biff4SheetThatIsCutIsStatus0x101) {
    EXPECT_EQ(Lines(PlainTrace(BiffBuilder().Bof(0, 0x100, 0x0409).Bytes() +
                               Biff4Bundle("A", BiffBuilder().Header(0x0200, 8))),
                    "Open"),
              "Open 0x101\n");
}

// --- Files of a single sheet

TEST_F(ExcelFileTest, SingleSheetIsReadFromItsStart) {
    for (const unsigned high : {4U, 8U}) {
        EXPECT_EQ(SingleSheetCells(high, BiffBuilder().Number(0, 1, 2.5)), "Set 2 1 double 2.5\n");
    }
}

TEST_F(ExcelFileTest, SingleSheetThatIsADialogOrEmptyIsStatus0x104) {
    const std::string failure =
        "Open 0x104\nError \"The specified Worksheet is either a dialog / form or has no data.\"\n";
    EXPECT_NE(
        PlainTrace(SingleSheet(4, BiffBuilder().WsBool(0x10).ShortDimensions(2, 2).Eof())).find(failure),
        std::string::npos);
    EXPECT_NE(PlainTrace(SingleSheet(4, BiffBuilder().ShortDimensions(0, 256).Eof())).find(failure),
              std::string::npos);
    EXPECT_EQ(
        Lines(PlainTrace(SingleSheet(4, BiffBuilder().WsBool(0xEF).ShortDimensions(2, 2).Eof())), "Open"),
        "Open 0x0\n");
}

TEST_F(ExcelFileTest, SingleSheetThatIsCutIsStatus0x102) {
    EXPECT_NE(PlainTrace(SingleSheet(4, {})).find("Open 0x102\n" + BadWorksheet), std::string::npos);
}

TEST_F(ExcelFileTest, SingleSheetWithoutSizeHasNone) {
    EXPECT_NE(PlainTrace(SingleSheet(4, BiffBuilder().Eof())).find("GetNumRows -1\nGetNumCols -1\n"),
              std::string::npos);
}

TEST_F(ExcelFileTest, SingleSheetLeavesAnEmptyRecordEmpty) {
    const std::string path =
        folder.Write("book.xls", SingleSheet(4, BiffBuilder().ShortDimensions(1, 1).Eof()));
    NvImportOpenOptions record{0, nullptr};
    ExcelFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), &record), 0);
    EXPECT_EQ(record.size, 0U);
    EXPECT_EQ(reader.GetNumRows(), 1);
    ASSERT_EQ(reader.ListParts().size(), 1U);
    EXPECT_EQ(reader.ListParts().at(0).number, 0);
    EXPECT_EQ(reader.ListFacts().at(0).value, "BIFF4");
}

// --- Shared strings

namespace {

// A workbook whose cells show the strings of these records, from 0 on.
WorkbookBuilder SharedBook(const BiffBuilder& strings, int cells) {
    WorkbookBuilder book;
    book.Tail() = strings;
    BiffBuilder labels;
    for (int i = 0; i < cells; ++i) {
        labels.LabelSst(0, static_cast<unsigned>(i), i);
    }
    book.Sheet("A", 1, 9, labels);
    return book;
}

ByteBuilder TableOf(int count) {
    return ByteBuilder().I32(count).I32(count);
}

}  // namespace

TEST_F(ExcelFileTest, StringSplitOverContinueIsOneString) {
    BiffBuilder strings;
    strings.Record(0x00FC, TableOf(2).U16(12).U8(0).Text("Contin"));
    strings.Record(0x003C, ByteBuilder().U8(0).Text("uation").Text(SharedText("last").Bytes()));
    EXPECT_EQ(Cells(SharedBook(strings, 2)), "Set 1 1 text \"Continuation\"\nSet 2 1 text \"last\"\n");
}

TEST_F(ExcelFileTest, CharacterWidthMayChangeAtTheSplit) {
    BiffBuilder strings;
    strings.Record(0x00FC, TableOf(1).U16(4).U8(1).U16(0x394).U16(0x3A9));
    strings.Record(0x003C, ByteBuilder().U8(0).Text("ab"));
    EXPECT_EQ(Cells(SharedBook(strings, 1)), "Set 1 1 text \"\\xce\\x94\\xce\\xa9ab\"\n");
    BiffBuilder widening;
    widening.Record(0x00FC, TableOf(1).U16(3).U8(0).Text("ab"));
    widening.Record(0x003C, ByteBuilder().U8(1).U16(0x3A9));
    EXPECT_EQ(Cells(SharedBook(widening, 1)), "Set 1 1 text \"ab\\xce\\xa9\"\n");
}

TEST_F(ExcelFileTest, SurrogatePairMayBeSplitToo) {
    BiffBuilder strings;
    strings.Record(0x00FC, TableOf(1).U16(3).U8(1).U16('a').U16(0xD83D));
    strings.Record(0x003C, ByteBuilder().U8(1).U16(0xDE00));
    EXPECT_EQ(Cells(SharedBook(strings, 1)), "Set 1 1 text \"a\\xf0\\x9f\\x98\\x80\"\n");
    BiffBuilder broken;
    broken.Record(0x00FC, TableOf(1).U16(3).U8(1).U16('a').U16(0xD83D));
    broken.Record(0x003C, ByteBuilder().U8(0).Text("b"));
    EXPECT_EQ(Cells(SharedBook(broken, 1)), "Set 1 1 text \"a?b\"\n");
}

TEST_F(ExcelFileTest, LastStringOfTheTableGoesOnToo) {
    BiffBuilder strings;
    strings.Record(0x00FC, TableOf(1).U16(6).U8(0).Text("abc"));
    strings.Record(0x003C, ByteBuilder().U8(0).Text("d")).Record(0x003C, ByteBuilder().U8(0).Text("ef"));
    EXPECT_EQ(Cells(SharedBook(strings, 1)), "Set 1 1 text \"abcdef\"\n");
}

TEST_F(ExcelFileTest, StringWhoseRestNeverComesIsKept) {
    BiffBuilder strings;
    strings.Record(0x00FC, TableOf(2).Text(SharedText("a").Bytes()).U16(600).U8(0).Text("cut"));
    EXPECT_EQ(Cells(SharedBook(strings, 2)), "Set 1 1 text \"a\"\nSet 2 1 text \"cut\"\n");
}

TEST_F(ExcelFileTest, FormattingRunsAndExtensionsArePassedOver) {
    BiffBuilder strings;
    ByteBuilder data = TableOf(3);
    data.U16(2).U8(0x08).U16(2).Text("ab").Zeros(8);
    data.U16(2).U8(0x0C).U16(1).U32(3).Text("cd").Zeros(4 + 3);
    data.U16(1).U8(0).Text("e");
    EXPECT_EQ(Cells(SharedBook(strings.Record(0x00FC, data), 3)),
              "Set 1 1 text \"ab\"\nSet 2 1 text \"cd\"\nSet 3 1 text \"e\"\n");
}

TEST_F(ExcelFileTest, RunsThatCrossARecordAreNotLookedForInTheNext) {
    BiffBuilder strings;
    strings.Record(0x00FC, TableOf(2).U16(2).U8(0x08).U16(2).Text("ab").Zeros(4));
    strings.Record(0x003C, SharedText("next"));
    EXPECT_EQ(Cells(SharedBook(strings, 2)), "Set 1 1 text \"ab\"\nSet 2 1 text \"next\"\n");
}

TEST_F(ExcelFileTest, EightBitCharactersStayAsTheyStand) {
    const BiffBuilder strings = BiffBuilder().Record(0x00FC, TableOf(1).Text(SharedText("\xe5").Bytes()));
    EXPECT_EQ(Cells(SharedBook(strings, 1)), "Set 1 1 text \"\\xe5\"\n");
}

TEST_F(ExcelFileTest, IndexOutsideTheTableIsTheEmptyText) {
    const ByteBuilder table = TableOf(1).Text(SharedText("a").Bytes());
    WorkbookBuilder book;
    book.Tail().Record(0x00FC, table);
    book.Sheet("A", 1, 4,
               BiffBuilder().LabelSst(0, 0, 0).LabelSst(0, 1, 1).LabelSst(0, 2, -1).LabelSst(0, 3, 1 << 30));
    EXPECT_EQ(Cells(book), "Set 1 1 text \"a\"\nSet 2 1 text \"\"\nSet 3 1 text \"\"\nSet 4 1 text \"\"\n");
    EXPECT_EQ(Cells(BiffBuilder().LabelSst(0, 0, 0)), "Set 1 1 text \"\"\n");
}

TEST_F(ExcelFileTest, TableThatClaimsMoreStringsThanItHoldsCostsNothing) {
    const ByteBuilder table = ByteBuilder().I32(0).I32(0x7FFFFFFF).Text(SharedText("a").Bytes());
    EXPECT_EQ(Cells(SharedBook(BiffBuilder().Record(0x00FC, table), 2)),
              "Set 1 1 text \"a\"\nSet 2 1 text \"\"\n");
    const ByteBuilder negative = ByteBuilder().I32(0).I32(-1).Text(SharedText("a").Bytes());
    EXPECT_EQ(Cells(SharedBook(BiffBuilder().Record(0x00FC, negative), 1)), "Set 1 1 text \"\"\n");
}

TEST_F(ExcelFileTest, StringsBehindTheClaimedCountAreNotThere) {
    const ByteBuilder table = TableOf(1).Text(SharedText("a").Bytes()).Text(SharedText("b").Bytes());
    EXPECT_EQ(Cells(SharedBook(BiffBuilder().Record(0x00FC, table), 2)),
              "Set 1 1 text \"a\"\nSet 2 1 text \"\"\n");
}

TEST_F(ExcelFileTest, RecordBehindTheStringsIsPassedOverWithThem) {
    // It would be the protection of the workbook.
    BiffBuilder strings = BiffBuilder().Record(0x00FC, TableOf(1).Text(SharedText("a").Bytes()));
    strings.Record(0x002F, ByteBuilder().Zeros(6));
    EXPECT_EQ(Cells(SharedBook(strings, 1)), "Set 1 1 text \"a\"\n");
}

// --- Dates

namespace {

// What a workbook with this format makes of day 36526.
std::string DayInFormat(unsigned version, std::string_view text) {
    WorkbookBuilder book(version);
    ByteBuilder format;
    format.U16(164);
    if (version == Biff8) {
        format.U16(static_cast<unsigned>(text.size())).U8(0);
    } else {
        format.U8(static_cast<unsigned>(text.size()));
    }
    book.Globals().Record(0x041E, format.Text(text)).Xf(0).Xf(164);
    book.Sheet("A", 1, 1, BiffBuilder().Number(0, 0, 36526, 1));
    const TempFolder folder;
    const std::string cells = CellsOf(ReadTrace(Format, folder.Write("book.xls", book.Build())));
    return cells == "Set 1 1 text \"2000-01-01\"\n" ? "date"
           : cells == "Set 1 1 double 36526\n"      ? "number"
                                                    : cells;
}

}  // namespace

TEST_F(ExcelFileTest, FormatWithTwoDateLettersIsADate) {
    for (const unsigned version : {Biff5, Biff8}) {
        EXPECT_EQ(DayInFormat(version, "0.00"), "number");
        EXPECT_EQ(DayInFormat(version, "yyyy-mm-dd"), "date");
        EXPECT_EQ(DayInFormat(version, "0.0\"d\"__"), "number");
        EXPECT_EQ(DayInFormat(version, "0.0\"days\"__"), "date");
        EXPECT_EQ(DayInFormat(version, "YYYY-MM-DD"), "number");
        EXPECT_EQ(DayInFormat(version, ""), "number");
    }
}

TEST_F(ExcelFileTest, LastTwoCharactersOfABiff8FormatAreNotSeen) {
    EXPECT_EQ(DayInFormat(Biff8, "mm"), "number");
    EXPECT_EQ(DayInFormat(Biff8, "mm\\-"), "date");
    EXPECT_EQ(DayInFormat(Biff5, "mm"), "date");
}

TEST_F(ExcelFileTest, FormatCutShortByAZeroFollowsTheRulesOwnSteps) {
    // No letter, and the text ends before its count: the second search begins behind the end and finds 0.
    EXPECT_EQ(DayInFormat(Biff5, std::string_view("0.0\0x", 5)), "date");
    EXPECT_EQ(DayInFormat(Biff5, std::string_view("0.0\0", 4)), "number");
    EXPECT_EQ(DayInFormat(Biff5, std::string_view("d\0xy", 4)), "date");
    EXPECT_EQ(DayInFormat(Biff5, std::string_view("0d\0", 3)), "date");
    // Two zeros in front are overwritten, a third isn't.
    EXPECT_EQ(DayInFormat(Biff5, std::string_view("\0\0mm", 4)), "date");
    EXPECT_EQ(DayInFormat(Biff5, std::string_view("\0\0\0", 3)), "number");
}

TEST_F(ExcelFileTest, NegativeFormatCountIsNoDate) {
    EXPECT_EQ(DayInFormat(Biff5, std::string(200, 'd')), "number");
}

TEST_F(ExcelFileTest, BuiltInDateFormatsNeedNoRecord) {
    WorkbookBuilder book;
    for (const unsigned format : {13U, 14U, 22U, 23U, 44U, 45U, 47U, 48U}) {
        book.Globals().Xf(format);
    }
    BiffBuilder cells;
    for (unsigned xf = 0; xf < 8; ++xf) {
        cells.Number(0, xf, 1, xf);
    }
    book.Sheet("A", 1, 8, cells);
    EXPECT_EQ(
        Cells(book),
        "Set 1 1 double 1\nSet 2 1 text \"1900-01-01\"\nSet 3 1 text \"1900-01-01\"\nSet 4 1 double 1\n"
        "Set 5 1 double 1\nSet 6 1 text \"1900-01-01\"\nSet 7 1 text \"1900-01-01\"\nSet 8 1 double 1\n");
}

TEST_F(ExcelFileTest, CellFormatsSeeOnlyTheFormatsBeforeThem) {
    WorkbookBuilder book;
    book.Globals().Xf(164).Format(164, "yyyy-mm-dd").Xf(164);
    book.Sheet("A", 1, 2, BiffBuilder().Number(0, 0, 1, 0).Number(0, 1, 1, 1));
    EXPECT_EQ(Cells(book), "Set 1 1 double 1\nSet 2 1 text \"1900-01-01\"\n");
}

TEST_F(ExcelFileTest, EveryNumberIsTestedForADateByItsOwnFormat) {
    WorkbookBuilder book;
    book.Globals().Xf(14).Xf(0);
    const int day = (36526 << 2) | 2;
    book.Sheet("A", 2, 4,
               BiffBuilder()
                   .Rk(0, 0, day)
                   .MulRk(0, 1, {{0, day}, {1, day}, {0, day}})
                   .Formula(1, 0, 36526.5)
                   .FormulaMark(1, 1, 1, 1));
    EXPECT_EQ(Cells(book),
              "Set 1 1 text \"2000-01-01\"\nSet 2 1 text \"2000-01-01\"\nSet 3 1 double 36526\n"
              "Set 4 1 text \"2000-01-01\"\nSet 1 2 text \"2000-01-01 12:00:00\"\nSet 2 2 double 1\n");
}

TEST_F(ExcelFileTest, CellFormatBehindTheLastIsNoDate) {
    WorkbookBuilder book;
    book.Globals().Xf(14);
    book.Sheet("A", 1, 2, BiffBuilder().Number(0, 0, 1, 1).Number(0, 1, 1, 65535));
    EXPECT_EQ(Cells(book), "Set 1 1 double 1\nSet 2 1 double 1\n");
}

// --- Cells

TEST_F(ExcelFileTest, RkNumbersHaveFourForms) {
    EXPECT_EQ(ExcelFile::NumFromRk((12345 << 2) | 2), 12345.0);
    EXPECT_EQ(ExcelFile::NumFromRk((12345 << 2) | 3), 123.45);
    EXPECT_EQ(ExcelFile::NumFromRk((-7 * 4) | 2), -7.0);
    EXPECT_EQ(ExcelFile::NumFromRk((-7 * 4) | 3), -0.07);
    EXPECT_EQ(ExcelFile::NumFromRk(0x3FF00000), 1.0);
    EXPECT_EQ(ExcelFile::NumFromRk(0x3FF00001), 0.01);
    EXPECT_EQ(ExcelFile::NumFromRk(0), 0.0);
}

TEST_F(ExcelFileTest, FieldsAreLittleEndian) {
    const std::string bytes = "x" + ByteBuilder().U8(0xFE).U16(0xFFFE).I32(-3).Double(-2.5).Bytes();
    EXPECT_EQ(ExcelFile::I1Shuffle(bytes.data(), 1), -2);
    EXPECT_EQ(ExcelFile::I2Shuffle(bytes.data(), 2), -2);
    EXPECT_EQ(ExcelFile::uI2Shuffle(bytes.data(), 2), 0xFFFE);
    EXPECT_EQ(ExcelFile::I4Shuffle(bytes.data(), 4), -3);
    EXPECT_EQ(ExcelFile::DShuffle(bytes.data(), 8), -2.5);
}

TEST_F(ExcelFileTest, LabelsAreTextAsItStands) {
    WorkbookBuilder book(Biff5);
    book.Sheet("A", 1, 3,
               BiffBuilder().Label(0, 0, "25 \xb0").Label(0, 1, "rich", 0x00D6).Label(0, 2, "any", 0x07D6));
    EXPECT_EQ(Cells(book), "Set 1 1 text \"25 \\xb0\"\nSet 2 1 text \"rich\"\nSet 3 1 text \"any\"\n");
}

TEST_F(ExcelFileTest, LabelOfABiff8FileEndsAtItsOptionByte) {
    EXPECT_EQ(Cells(BiffBuilder().Label(0, 0, std::string_view("\0ab", 3))), "Set 1 1 text \"\"\n");
}

TEST_F(ExcelFileTest, LabelsBeyond255CharactersAreKept) {
    const std::string text(2000, 'x');
    WorkbookBuilder book(Biff5);
    book.Sheet("A", 1, 1, BiffBuilder().Label(0, 0, text));
    EXPECT_EQ(Cells(book), "Set 1 1 text \"" + text + "\"\n");
}

TEST_F(ExcelFileTest, LabelLongerThanItsRecordEndsWithIt) {
    WorkbookBuilder book(Biff5);
    const ByteBuilder lying = BiffBuilder::Cell(0, 1).U16(65535).Text("ab");
    book.Sheet("A", 1, 2, BiffBuilder().Label(0, 0, std::string(100, 'x')).Record(0x0204, lying));
    EXPECT_EQ(Cells(book), "Set 1 1 text \"" + std::string(100, 'x') + "\"\nSet 2 1 text \"ab\"\n");
}

TEST_F(ExcelFileTest, ShortRecordsReadAsZerosAndNeverAsTheRecordBefore) {
    EXPECT_EQ(
        Cells(BiffBuilder().Number(3, 4, 1e300).Record(0x027E, ByteBuilder().U16(1).U16(2)).Record(0x0203)),
        "Set 5 4 double 1.0000000000000001e+300\nSet 3 2 double 0\nSet 1 1 double 0\n");
}

TEST_F(ExcelFileTest, TruthValuesAndErrorsAreTheEmptyText) {
    EXPECT_EQ(Cells(BiffBuilder().BoolErr(0, 0, 1, 0).BoolErr(0, 1, 0x2A, 1)),
              "Set 1 1 text \"\"\nSet 2 1 text \"\"\n");
}

TEST_F(ExcelFileTest, BlankCellsAndOldRecordsGiveNoCell) {
    BiffBuilder cells;
    for (const unsigned id : {0x0003U, 0x0004U, 0x0005U, 0x0201U, 0x00BEU, 0x0208U, 0x1203U, 0x0104U}) {
        cells.Record(id, ByteBuilder().Zeros(20));
    }
    EXPECT_EQ(Cells(cells), "");
}

TEST_F(ExcelFileTest, MulRkGoesNoFurtherThanItsRecord) {
    const ByteBuilder lying = ByteBuilder().U16(0).U16(0).U16(0).I32((5 << 2) | 2).U16(60000);
    EXPECT_EQ(Cells(BiffBuilder().Record(0x00BD, lying)), "Set 1 1 double 5\n");
    const ByteBuilder early = ByteBuilder().U16(0).U16(3).U16(0).I32((5 << 2) | 2).U16(2);
    EXPECT_EQ(Cells(BiffBuilder().Record(0x00BD, early).Record(0x00BD).Record(0x00BD, ByteBuilder().U8(1))),
              "");
}

TEST_F(ExcelFileTest, RowsAreUnsignedAndTheColumnsHighByteIsIgnored) {
    EXPECT_EQ(Cells(BiffBuilder().Number(65535, 0x0102, 1)), "Set 3 65536 double 1\n");
}

TEST_F(ExcelFileTest, FormulaGivesItsStoredResult) {
    const BiffBuilder cells = BiffBuilder()
                                  .Formula(0, 0, 12.5)
                                  .FormulaMark(0, 1, 1, 1)
                                  .FormulaMark(0, 2, 1, 0)
                                  .FormulaMark(0, 3, 2, 7)
                                  .FormulaMark(0, 4, 3)
                                  .FormulaMark(0, 5, 0)
                                  .String("text")
                                  .FormulaMark(0, 6, 0)
                                  .Record(0x04BC, ByteBuilder().Zeros(8))
                                  .String("shared");
    EXPECT_EQ(Cells(cells),
              "Set 1 1 double 12.5\nSet 2 1 double 1\nSet 3 1 double 0\n"
              "Set 6 1 text \"text\"\nSet 7 1 text \"shared\"\n");
}

TEST_F(ExcelFileTest, OtherRecordBehindATextFormulaIsDropped) {
    EXPECT_EQ(Cells(BiffBuilder().FormulaMark(0, 0, 0).Number(0, 1, 1).Number(0, 2, 2)),
              "Set 3 1 double 2\n");
}

TEST_F(ExcelFileTest, FileThatEndsBehindATextFormulaIsStatus0x102) {
    WorkbookBuilder book;
    const BiffBuilder records =
        BiffBuilder().Bof(Biff8, Worksheet).Dimensions(1, 2).Number(0, 0, 1).FormulaMark(0, 1, 0);
    book.RawSheet("A", records.Bytes());
    EXPECT_NE(Trace(book).find("Set 1 1 double 1\nRead 0x102\n" + BadWorksheet), std::string::npos);
}

TEST_F(ExcelFileTest, Biff2GivesItsFormulaResultsOnly) {
    const BiffBuilder cells =
        BiffBuilder()
            .Record(0x0003, ByteBuilder().Zeros(7).Double(1))
            .Record(0x0004, ByteBuilder().Zeros(7).U8(1).Text("a"))
            .Record(0x0002, ByteBuilder().Zeros(7).U16(1))
            .Record(0x0006, ByteBuilder().U16(0).U16(1).Zeros(3).Double(2.5).Zeros(4))
            .Record(0x0006, ByteBuilder().U16(0).U16(2).Zeros(3).Zeros(6).U16(0xFFFF).Zeros(4))
            .Record(0x0007, ByteBuilder().U8(4).Text("text"));
    EXPECT_EQ(SingleSheetCells(0, cells), "Set 2 1 double 2.5\nSet 3 1 text \"text\"\n");
}

TEST_F(ExcelFileTest, NewerRecordsInABiff2FileAreReadWithItsDisplacement) {
    const BiffBuilder cells = BiffBuilder()
                                  .Record(0x0203, BiffBuilder::Cell(0, 0).U8(0).Double(1.5))
                                  .Record(0x0204, BiffBuilder::Cell(0, 1).U8(0).U8(2).Text("abc"))
                                  .Record(0x0204, BiffBuilder::Cell(0, 2).U8(0).U8(0xFE).Text("abc"));
    EXPECT_EQ(SingleSheetCells(0, cells), "Set 1 1 double 1.5\nSet 2 1 text \"ab\"\nSet 3 1 text \"\"\n");
}

TEST_F(ExcelFileTest, Biff3LosesAllButItsRkNumbersAndItsRichTexts) {
    const BiffBuilder cells = BiffBuilder()
                                  .Number(0, 0, 1)
                                  .Label(0, 1, "a")
                                  .BoolErr(0, 2, 1, 0)
                                  .Formula(0, 3, 1, 0, 0x0206)
                                  .Rk(0, 4, (3 << 2) | 2)
                                  .Label(0, 5, "rich", 0x00D6)
                                  .MulRk(0, 6, {{0, 2}, {0, 2}});
    EXPECT_EQ(SingleSheetCells(2, cells), "Set 5 1 double 3\nSet 6 1 text \"rich\"\n");
    // The record that only older versions have is honoured here, of all places; so is theirs of a formula.
    EXPECT_EQ(
        SingleSheetCells(2, BiffBuilder().Record(0x0002, ByteBuilder().Zeros(7).I16(-5)).Formula(0, 1, 2)),
        "Set 1 1 double -5\nSet 2 1 double 2\n");
}

TEST_F(ExcelFileTest, FormulaIdBelongsToItsVersion) {
    BiffBuilder cells;
    cells.Formula(0, 0, 1, 0, 0x0006).Formula(0, 1, 2, 0, 0x0206).Formula(0, 2, 3, 0, 0x0406);
    EXPECT_EQ(SingleSheetCells(0, BiffBuilder().Record(0x0406, ByteBuilder().Zeros(20))), "");
    EXPECT_EQ(SingleSheetCells(3, cells), "Set 2 1 double 2\n");
    EXPECT_EQ(SingleSheetCells(4, cells), "Set 3 1 double 3\n");
    EXPECT_EQ(SingleSheetCells(8, cells), "Set 1 1 double 1\n");
}

TEST_F(ExcelFileTest, MulRkAndSharedTextsNeedTheirVersion) {
    const BiffBuilder cells = BiffBuilder().MulRk(0, 0, {{0, 2}}).LabelSst(0, 1, 0);
    EXPECT_EQ(SingleSheetCells(4, cells), "");
    EXPECT_EQ(SingleSheetCells(5, cells), "Set 1 1 double 0\n");
    EXPECT_EQ(SingleSheetCells(8, cells), "Set 1 1 double 0\nSet 2 1 text \"\"\n");
}

// --- Sheets

TEST_F(ExcelFileTest, FirstSizeRowOrLabelEndsTheHeadAndIsDropped) {
    const BiffBuilder records = BiffBuilder()
                                    .Bof(Biff8, Worksheet)
                                    .Number(0, 0, 1)
                                    .Label(0, 1, "a")
                                    .Number(0, 2, 3)
                                    .Dimensions(1, 3)
                                    .Eof();
    WorkbookBuilder book;
    book.RawSheet("A", records.Bytes());
    EXPECT_EQ(Cells(book), "Set 3 1 double 3\n");
}

TEST_F(ExcelFileTest, SheetWithoutEofEndsAtTheNextBof) {
    WorkbookBuilder book;
    book.RawSheet("A", BiffBuilder().Bof(Biff8, Worksheet).Dimensions(1, 1).Number(0, 0, 1).Bytes());
    book.Sheet("B", 1, 1, Grid(1, 1, 2));
    EXPECT_EQ(Trace(book).find("Set 1 1 double 1\nRead 0x0\n") != std::string::npos, true);
}

TEST_F(ExcelFileTest, CellsBehindEofAreNotRead) {
    WorkbookBuilder book;
    book.RawSheet("A",
                  BiffBuilder().Bof(Biff8, Worksheet).Dimensions(1, 1).Eof().Number(0, 0, 1).Eof().Bytes());
    EXPECT_EQ(Cells(book), "");
}

TEST_F(ExcelFileTest, RecordLongerThanItsVersionAllowsIsStatus0x102) {
    WorkbookBuilder old(Biff5);
    old.Sheet("A", 1, 2,
              BiffBuilder().Number(0, 0, 1).Record(0x0001, ByteBuilder().Zeros(2081)).Number(0, 1, 2));
    EXPECT_NE(Trace(old).find("Set 1 1 double 1\nRead 0x102\n" + BadWorksheet), std::string::npos);
    WorkbookBuilder longest;
    longest.Sheet("A", 1, 2, BiffBuilder().Record(0x0001, ByteBuilder().Zeros(8224)).Number(0, 1, 2));
    EXPECT_EQ(Cells(longest), "Set 2 1 double 2\n");
    WorkbookBuilder tooLong;
    tooLong.Sheet("A", 1, 2, BiffBuilder().Record(0x0001, ByteBuilder().Zeros(8225)));
    EXPECT_EQ(Lines(Trace(tooLong), "Read"), "Read 0x102\n");
}

TEST_F(ExcelFileTest, OnlyTheLastSheetDecides) {
    WorkbookBuilder book;
    const BiffBuilder bad = BiffBuilder().Number(0, 0, 1).Header(0x0001, -1);
    book.Sheet("A", 1, 1, bad).Sheet("B", 1, 1, Grid(1, 1, 2));
    TestOptions badFirst{{"Sheets", "1,2"}, {"Vertical", "true"}};
    EXPECT_NE(Trace(book, {badFirst.Get()})
                  .find("Set 1 1 double 1\nSet 2 1 text \"sheet: a\"\nSet 1 2 double 2\n"
                        "Set 2 2 text \"sheet: b\"\nRead 0x0\n"),
              std::string::npos);
    TestOptions badLast{{"Sheets", "2,1"}, {"Vertical", "true"}};
    EXPECT_NE(Trace(book, {badLast.Get()}).find("Set 2 2 text \"sheet: a\"\nRead 0x102\n" + BadWorksheet),
              std::string::npos);
}

TEST_F(ExcelFileTest, TwoSheetsSideBySideOrBelowEachOther) {
    WorkbookBuilder book;
    book.Sheet("Data", 3, 4, Grid(1, 1, 1)).Sheet("Sheet2", 5, 2, Grid(1, 1, 2));
    TestOptions beside{{"Sheets", "1,2"}, {"Vertical", "false"}};
    EXPECT_EQ(Sizes(Trace(book, {beside.Get()})), "GetNumRows 6\nGetNumCols 6\n");
    EXPECT_EQ(Cells(book, {beside.Get()}),
              "Set 1 1 double 1\n"
              "Set 1 6 text \"sheet: data\"\nSet 2 6 text \"sheet: data\"\n"
              "Set 3 6 text \"sheet: data\"\nSet 4 6 text \"sheet: data\"\n"
              "Set 5 1 double 2\nSet 5 6 text \"sheet2\"\nSet 6 6 text \"sheet2\"\n");
    TestOptions below{{"Sheets", "2,1"}, {"Vertical", "true"}};
    EXPECT_EQ(Sizes(Trace(book, {below.Get()})), "GetNumRows 8\nGetNumCols 5\n");
    EXPECT_EQ(Cells(book, {below.Get()}),
              "Set 1 1 double 2\n"
              "Set 5 1 text \"sheet2\"\nSet 5 2 text \"sheet2\"\nSet 5 3 text \"sheet2\"\n"
              "Set 5 4 text \"sheet2\"\nSet 5 5 text \"sheet2\"\n"
              "Set 1 6 double 1\nSet 5 6 text \"sheet: data\"\nSet 5 7 text \"sheet: data\"\n"
              "Set 5 8 text \"sheet: data\"\n");
}

TEST_F(ExcelFileTest, OneOfSeveralSheetsHasNoLabel) {
    WorkbookBuilder book;
    book.Sheet("A", 3, 4, Grid(1, 1, 1)).Sheet("B", 5, 2, Grid(1, 1, 2));
    TestOptions second{{"Sheets", "2"}, {"Vertical", "false"}};
    EXPECT_EQ(Sizes(Trace(book, {second.Get()})), "GetNumRows 5\nGetNumCols 2\n");
    EXPECT_EQ(Cells(book, {second.Get()}), "Set 1 1 double 2\n");
}

TEST_F(ExcelFileTest, OnlyAsciiLettersOfALabelAreLowered) {
    WorkbookBuilder book(Biff5);
    book.Sheet("\xc5SA", 1, 1, {}).Sheet("My WorkSheet", 1, 1, {});
    TestOptions both{{"Sheets", "1,2"}, {"Vertical", "true"}};
    EXPECT_EQ(Cells(book, {both.Get()}), "Set 2 1 text \"sheet: \\xc5sa\"\nSet 2 2 text \"my worksheet\"\n");
}

TEST_F(ExcelFileTest, AbsurdSizesAreReportedButNotLabelled) {
    WorkbookBuilder book;
    book.Sheet("A", 0x7FFFFFFF, 1, Grid(1, 1, 1))
        .Sheet("B", 0x7FFFFFFF, 1, Grid(1, 1, 2))
        .Sheet("C", -5, 1, {});
    TestOptions options{{"Sheets", "1,2"}, {"Vertical", "true"}};
    ExcelFile reader;
    ASSERT_EQ(reader.Open(true, folder.Write("book.xls", book.Build()).c_str(), options.Get()), 0);
    EXPECT_EQ(reader.GetNumRows(), 0x7FFFFFFF);
    EXPECT_EQ(reader.GetNumCols(), 2);
    CountingSink sink;
    EXPECT_EQ(reader.Read(&sink), 0);
    EXPECT_LT(sink.cells, 1'000'000);
}

// --- Options

TEST_F(ExcelFileTest, SelectionWithASheetThatIsNotThereLeavesTheFirst) {
    WorkbookBuilder book;
    book.Sheet("A", 1, 1, Grid(1, 1, 1)).Sheet("B", 1, 1, Grid(1, 1, 2));
    for (const char* sheets : {"3", "1,77", "-1", "1000000"}) {
        TestOptions options{{"Sheets", sheets}};
        EXPECT_EQ(Cells(book, {options.Get()}), "Set 1 1 double 1\n") << sheets;
    }
}

TEST_F(ExcelFileTest, EmptySelectionIsNoData) {
    WorkbookBuilder book;
    book.Sheet("A", 1, 1, Grid(1, 1, 1)).Sheet("B", 1, 1, Grid(1, 1, 2));
    TestOptions none(std::string(4, '\0'));
    EXPECT_EQ(Trace(book, {none.Get()}),
              "Format \"Excel File\"\nOpen 0x0\nGetNumRows 0\nGetNumCols 0\nNoData\nClose\n");
    ExcelFile reader;
    ASSERT_EQ(reader.Open(true, folder.Path("book.xls").c_str(), none.Get()), 0);
    TableData table;
    EXPECT_EQ(reader.Read(&table), 0x102);
}

TEST_F(ExcelFileTest, RecordOfOtherKeysLeavesTheFirstSheet) {
    WorkbookBuilder book;
    book.Sheet("A", 1, 1, Grid(1, 1, 1)).Sheet("B", 1, 1, Grid(1, 1, 2));
    TestOptions other{{"Delimiter", ","}};
    EXPECT_EQ(Cells(book, {other.Get()}), "Set 1 1 double 1\n");
    TestOptions noSection(std::string("\x04\0\0\0text", 8));
    EXPECT_EQ(Cells(book, {noSection.Get()}), "Set 1 1 double 1\n");
}

TEST_F(ExcelFileTest, RecordCutShortRaises) {
    WorkbookBuilder book;
    book.Sheet("A", 1, 1, Grid(1, 1, 1)).Sheet("B", 1, 1, Grid(1, 1, 2));
    TestOptions cut(std::string("\xff\0\0\0<XMLSection>", 16));
    ExcelFile reader;
    const std::string path = folder.Write("book.xls", book.Build());
    EXPECT_THROW(reader.Open(true, path.c_str(), cut.Get()), std::ios_base::failure);
}

TEST_F(ExcelFileTest, EmptyRecordIsFilledWithTheChoiceMade) {
    WorkbookBuilder book;
    book.Sheet("A", 1, 1, Grid(1, 1, 1)).Sheet("B", 1, 1, Grid(1, 1, 2));
    NvImportOpenOptions record{0, nullptr};
    ExcelFile reader;
    ASSERT_EQ(reader.Open(true, folder.Write("book.xls", book.Build()).c_str(), &record), 0);
    ASSERT_TRUE(HasOptions(&record));
    EXPECT_EQ(DecodeOptionsText(record),
              "<XMLSection><Settings><Sheets>1</Sheets><Vertical>true</Vertical></Settings></XMLSection>");
}

TEST_F(ExcelFileTest, HostChoosesAmongTheSheetsWithData) {
    struct Choosing : ExcelFile {
        int GetSheetOptions(std::vector<std::string>* sheetNames) override {
            shown = *sheetNames;
            selectedSheets = {2, 1};
            vertical = false;
            return status;
        }
        std::vector<std::string> shown;
    } reader;
    WorkbookBuilder book;
    book.Sheet("A", 1, 1, Grid(1, 1, 1)).Sheet("B", 1, 1, Grid(1, 1, 2)).Sheet("Empty", 0, 0, {});
    ASSERT_EQ(reader.Open(true, folder.Write("book.xls", book.Build()).c_str(), nullptr), 0);
    EXPECT_EQ(reader.shown, (std::vector<std::string>{"A", "B"}));
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_EQ(table.GetString(1, 1), "2");
    EXPECT_EQ(table.GetString(2, 1), "1");
    EXPECT_EQ(table.GetString(1, 2), "sheet: b");
}

TEST_F(ExcelFileTest, HostThatIsCancelledStopsWithStatus4) {
    struct Cancelled : ExcelFile {
        int GetSheetOptions(std::vector<std::string>*) override {
            status = StatusAbortedByUser;
            return status;
        }
    } reader;
    WorkbookBuilder book;
    book.Sheet("A", 1, 1, Grid(1, 1, 1)).Sheet("B", 1, 1, Grid(1, 1, 2));
    EXPECT_EQ(reader.Open(true, folder.Write("book.xls", book.Build()).c_str(), nullptr), 4);
    EXPECT_EQ(ErrorOf(reader), "AbortedByUser");
}

TEST_F(ExcelFileTest, SheetsAreChosenByNumber) {
    WorkbookBuilder book;
    book.Sheet("A", 1, 1, Grid(1, 1, 1)).Sheet("B", 1, 1, Grid(1, 1, 2));
    ExcelFile reader;
    EXPECT_FALSE(reader.SetCurWorksheet({1}));
    ASSERT_EQ(reader.Open(true, folder.Write("book.xls", book.Build()).c_str(), nullptr), 0);
    EXPECT_TRUE(reader.SetCurWorksheet({2}));
    EXPECT_FALSE(reader.SetCurWorksheet({1, 3}));
    EXPECT_FALSE(reader.SetCurWorksheet({-1}));
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_EQ(table.GetString(1, 1), "2");
}

TEST_F(ExcelFileTest, ReadTwiceGivesTheSame) {
    WorkbookBuilder book;
    book.Sheet("A", 3, 3, Grid(3, 3));
    ExcelFile reader;
    ASSERT_EQ(reader.Open(true, folder.Write("book.xls", book.Build()).c_str(), nullptr), 0);
    for (int round = 0; round < 2; ++round) {
        TableData table;
        ASSERT_EQ(reader.Read(&table), 0);
        EXPECT_EQ(table.GetString(3, 3), "23");
    }
    reader.Close();
    TableData table;
    EXPECT_EQ(reader.Read(&table), 0x102);
}

// --- Damage

namespace {

std::string SmallBook() {
    WorkbookBuilder book;
    book.Globals().Format(164, "yyyy-mm-dd").Xf(0).Xf(14).Xf(164);
    book.Tail().Record(0x00FC, TableOf(2).Text(SharedText("one").Bytes()).U16(8).U8(0).Text("two "));
    book.Tail().Record(0x003C, ByteBuilder().U8(1).U16('w').U16('i').U16('d').U16('e'));
    BiffBuilder cells = Grid(3, 3);
    cells.LabelSst(3, 0, 0)
        .LabelSst(3, 1, 1)
        .MulRk(4, 0, {{0, 6}, {1, 10}})
        .FormulaMark(4, 2, 0)
        .String("text");
    book.Sheet("First", 5, 3, cells).Sheet("Second", 3, 3, Grid(3, 3), 1);
    return book.Build();
}

// Both roads to a sheet's cells, with labels.
void ReadAllSheets(const std::string& path) {
    TestOptions options{{"Sheets", "1,2"}, {"Vertical", "false"}};
    ExcelFile reader;
    reader.Open(true, path.c_str(), options.Get());
    CountingSink sink;
    const int result = reader.Read(&sink);
    EXPECT_EQ(result, reader.GetStatus());
    EXPECT_EQ(ErrorOf(reader).empty(), reader.GetStatus() == 0);
}

}  // namespace

TEST_F(ExcelFileTest, CutAtEveryLengthItEndsInAStatus) {
    const std::string plain = SmallBook();
    for (std::size_t size = 0; size < plain.size(); ++size) {
        ReadAllSheets(folder.Write("cut.xls", plain.substr(0, size)));
    }
    const std::string compound = CompoundBuilder().Stream("Workbook", plain).Build();
    for (std::size_t size = 0; size < compound.size(); size += 7) {
        ReadAllSheets(folder.Write("cut.xls", compound.substr(0, size)));
    }
}

TEST_F(ExcelFileTest, DamagedFilesEndInAStatus) {
    const std::string plain = SmallBook();
    const std::string compound = CompoundBuilder().Stream("Workbook", plain).Build();
    std::mt19937 random(1);
    for (int round = 0; round < 400; ++round) {
        std::string bytes = round % 2 == 0 ? plain : compound;
        for (std::size_t i = 0; i <= bytes.size() / 100; ++i) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        ReadAllSheets(folder.Write("damaged.xls", bytes));
    }
}
