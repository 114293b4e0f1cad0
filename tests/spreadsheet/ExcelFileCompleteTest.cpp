#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "frame/FormatRecogniser.h"
#include "spreadsheet/ExcelFile.h"
#include "table/TableData.h"
#include "tests/support/BiffBuilder.h"
#include "tests/support/CompleteTable.h"
#include "tests/support/CompoundBuilder.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr unsigned Biff5 = BiffBuilder::Biff5;
constexpr unsigned Biff8 = BiffBuilder::Biff8;
constexpr unsigned Worksheet = BiffBuilder::Worksheet;

/** A text of 16-bit characters with its option byte, as BIFF8 has it behind a count. */
std::string Wide(std::u16string_view text) {
    ByteBuilder bytes;
    bytes.U8(1);
    for (const char16_t unit : text) {
        bytes.U16(unit);
    }
    return bytes.Bytes();
}

using CompleteRead = CompleteTable<ExcelFile>;

class ExcelFileCompleteTest : public testing::Test {
protected:
    std::string Write(std::string_view bytes) { return folder.Write("book.xls", bytes); }
    std::string Write(const WorkbookBuilder& book) { return Write(book.Build()); }
    /** Of a sheet of these cells. */
    std::string Cells(const BiffBuilder& cells, unsigned version = Biff8) {
        WorkbookBuilder book(version);
        book.Sheet("A", 0, 0, cells);
        CompleteRead read(Write(book));
        EXPECT_EQ(read.status, 0) << ErrorOf(read.reader);
        return read.Cells();
    }
    std::string Single(unsigned high, const BiffBuilder& records) {
        return BiffBuilder().Bof(Biff5, Worksheet, high << 8 | 0x09).Bytes() + records.Bytes() +
               BiffBuilder().Eof().Bytes();
    }
    std::string SingleCells(unsigned high, const BiffBuilder& records) {
        CompleteRead read(Write(Single(high, records)));
        EXPECT_EQ(read.status, 0) << ErrorOf(read.reader);
        return read.Cells();
    }

    TempFolder folder;
};

/** The three bytes of attributes of BIFF2's cells. */
ByteBuilder CellOfBiff2(unsigned row, unsigned col, unsigned xf = 0, unsigned format = 0) {
    return ByteBuilder().U16(row).U16(col).U8(xf).U8(format).U8(0);
}

}  // namespace

TEST_F(ExcelFileCompleteTest, CellsKeepTheirTypes) {
    BiffBuilder cells;
    cells.Number(0, 0, 1.5).BoolErr(0, 1, 1, 0).BoolErr(0, 2, 0, 0).BoolErr(0, 3, 0x2A, 1);
    cells.FormulaMark(1, 0, 1, 1).FormulaMark(1, 1, 2, 0x07).FormulaMark(1, 2, 3).Formula(1, 3, 2.5);
    WorkbookBuilder book;
    book.Sheet("A", 0, 0, cells);
    CompleteRead read(Write(book));
    EXPECT_EQ(read.Cells(), "[1.5][TRUE][FALSE][#N/A]\n[TRUE][#DIV/0!][][2.5]\n");
    EXPECT_EQ(read.table.GetKind(2, 1), TableData::Bool);
    EXPECT_EQ(read.table.GetKind(4, 1), TableData::Error);
    EXPECT_EQ(read.table.GetKind(1, 2), TableData::Bool);
    EXPECT_EQ(read.table.GetKind(3, 2), TableData::Missing);
    EXPECT_NE(read.notes.find("2 cells hold errors"), std::string::npos) << read.notes;
}

TEST_F(ExcelFileCompleteTest, TextsOfBiff8AreCharacters) {
    BiffBuilder cells;
    cells.Record(0x0204, BiffBuilder::Cell(0, 0).U16(2).U8(0).Text("\xD6l"));
    cells.Record(0x0204, BiffBuilder::Cell(0, 1).U16(2).Text(Wide(u"漢字")));
    cells.Record(0x00D6, BiffBuilder::Cell(0, 2).U16(4).U8(0).Text("rich").U16(0));
    EXPECT_EQ(Cells(cells), "[Öl][漢字][rich]\n");
}

TEST_F(ExcelFileCompleteTest, FormulaTextsStandBehindWhatTheyShare) {
    for (const unsigned between : {0x04BCU, 0x0221U, 0x0236U}) {
        BiffBuilder cells;
        cells.FormulaMark(0, 0, 0).Record(between, ByteBuilder().Zeros(10));
        cells.Record(0x0207, ByteBuilder().U16(2).Text(Wide(u"漢字")));
        cells.FormulaMark(0, 1, 0).Number(0, 2, 3.0).FormulaMark(0, 3, 0).String("end");
        EXPECT_EQ(Cells(cells), "[漢字][][3][end]\n") << between;
    }
}

TEST_F(ExcelFileCompleteTest, LongTextsGoOnInTheNextRecords) {
    BiffBuilder cells;
    cells.FormulaMark(0, 0, 0);
    cells.Record(0x0207, ByteBuilder().U16(6).U8(0).Text("ab"));
    cells.Record(0x003C, ByteBuilder().Text(Wide(u"漢字")));
    cells.Record(0x003C, ByteBuilder().U8(0).Text("yz"));
    cells.Number(0, 1, 1.0);
    EXPECT_EQ(Cells(cells), "[ab漢字yz][1]\n");
}

TEST_F(ExcelFileCompleteTest, TextsBeforeBiff8AreOfTheCodePage) {
    WorkbookBuilder book(Biff5);
    book.Globals().Record(0x0042, ByteBuilder().U16(932));
    book.Sheet("\x8A\xBF\x8E\x9A", 0, 0, BiffBuilder().Label(0, 0, "\x8A\xBF\x8E\x9A").Label(0, 1, "x"));
    CompleteRead read(Write(book));
    EXPECT_EQ(read.Cells(), "[漢字][x]\n");
    EXPECT_EQ(read.reader.ListParts().at(0).name, "漢字");
    CompleteRead asked(Write(book), TestOptions{{"Encoding", "cp850"}});
    EXPECT_EQ(asked.reader.ListParts().at(0).name, "è┐Ä\xC3\x9C");
    WorkbookBuilder unknown(Biff5);
    unknown.Globals().Record(0x0042, ByteBuilder().U16(4711));
    unknown.Sheet("A", 0, 0, BiffBuilder().Label(0, 0, "\xD6l"));
    CompleteRead guessed(Write(unknown));
    EXPECT_EQ(guessed.Cells(), "[Öl]\n");
    EXPECT_NE(guessed.notes.find("the code page 4711 isn't known"), std::string::npos) << guessed.notes;
}

TEST_F(ExcelFileCompleteTest, NamesOfSheetsAreWhole) {
    const auto nameOf = [this](const std::string& bytes) {
        WorkbookBuilder book;
        book.Sheet(bytes, 0, 0, BiffBuilder().Number(0, 0, 1.0));
        return CompleteRead(Write(book)).reader.ListParts().at(0).name;
    };
    EXPECT_EQ(nameOf("\xDC"
                     "bersicht"),
              "Übersicht");
}

TEST_F(ExcelFileCompleteTest, DatesGoByTheirFormats) {
    WorkbookBuilder book;
    book.Globals()
        .Format(164, "yyyy\\-mm\\-dd")
        .Format(165, "0 \"days\"")
        .Format(166, "[h]:mm")
        .Format(167, "HH:MM")
        .Xf(0)
        .Xf(14)
        .Xf(164)
        .Xf(165)
        .Xf(166)
        .Xf(167)
        .Xf(22);
    const auto cells = [] {
        BiffBuilder all;
        for (unsigned xf = 0; xf < 7; ++xf) {
            all.Number(0, xf, 1.25, xf);
        }
        return all.Rk(1, 0, (39448 << 2) | 2, 2).Formula(1, 1, 39448.0, 1);
    };
    book.Sheet("A", 0, 0, cells());
    CompleteRead read(Write(book));
    EXPECT_EQ(read.Cells(),
              "[1.25][1900-01-01T06:00:00][1900-01-01T06:00:00][1.25][30:00:00]"
              "[1900-01-01T06:00:00][1900-01-01T06:00:00]\n[2008-01-01][2008-01-01][][][][][]\n");
    EXPECT_EQ(read.table.GetKind(1, 2), TableData::Date);
    book.Globals().Record(0x0022, ByteBuilder().U16(1));
    CompleteRead moved(Write(book));
    EXPECT_EQ(moved.table.GetString(1, 2), "2012-01-02");
    EXPECT_EQ(moved.table.GetString(5, 1), "30:00:00");
    EXPECT_EQ(moved.reader.ListFacts().at(1).value, "from 1904");
}

TEST_F(ExcelFileCompleteTest, Biff2HasItsOwnRecords) {
    BiffBuilder records;
    records.Record(0x001E, ByteBuilder().U8(7).Text("General"));
    records.Record(0x001E, ByteBuilder().U8(8).Text("d/m/yyyy"));
    records.Record(0x0002, CellOfBiff2(0, 0).U16(60000));
    records.Record(0x0003, CellOfBiff2(0, 1).Double(1.5));
    records.Record(0x0004, CellOfBiff2(0, 2).U8(2).Text("\xD6l"));
    records.Record(0x0005, CellOfBiff2(0, 3).U8(1).U8(0));
    records.Record(0x0005, CellOfBiff2(0, 4).U8(0x24).U8(1));
    records.Record(0x0002, CellOfBiff2(0, 5, 0, 1).U16(39448));
    records.Record(0x0006, CellOfBiff2(1, 0).Double(2.5).Zeros(4));
    records.Record(0x0006, CellOfBiff2(1, 1).U8(0).Zeros(5).U16(0xFFFF).Zeros(4));
    records.Record(0x0007, ByteBuilder().U8(3).Text("abc"));
    EXPECT_EQ(SingleCells(0, records), "[60000][1.5][Öl][TRUE][#NUM!][2008-01-01]\n[2.5][abc][][][][]\n");
}

TEST_F(ExcelFileCompleteTest, Biff2FormatsMayStandInALists) {
    BiffBuilder records;
    records.Record(0x001E, ByteBuilder().U8(7).Text("General"));
    records.Record(0x001E, ByteBuilder().U8(8).Text("d/m/yyyy"));
    records.Record(0x0043, ByteBuilder().U8(0).U8(0).U8(0).U8(0));
    records.Record(0x0043, ByteBuilder().U8(0).U8(0).U8(0x41).U8(0));
    records.Record(0x0002, CellOfBiff2(0, 0, 1, 0).U16(39448));
    records.Record(0x0044, ByteBuilder().U16(1));
    records.Record(0x0002, CellOfBiff2(0, 1, 0x3F, 0).U16(39448));
    records.Record(0x0002, CellOfBiff2(0, 2, 0, 1).U16(39448));
    EXPECT_EQ(SingleCells(0, records), "[2008-01-01][2008-01-01][39448]\n");
}

TEST_F(ExcelFileCompleteTest, Biff3AndBiff4HaveTheirFormatsInTheSheet) {
    for (const unsigned high : {2U, 4U}) {
        const unsigned formula = high == 2 ? 0x0206 : 0x0406;
        BiffBuilder records;
        for (const char* code : {"General", "yyyy"}) {
            ByteBuilder format;
            if (high == 4) {
                format.U16(0);
            }
            records.Record(high == 2 ? 0x001E : 0x041E,
                           format.U8(static_cast<unsigned>(std::string_view(code).size())).Text(code));
        }
        for (const unsigned format : {0U, 1U}) {
            records.Record(high == 2 ? 0x0243 : 0x0443, ByteBuilder().U8(0).U8(format).Zeros(10));
        }
        records.Number(0, 0, 39448.0, 1).Number(0, 1, 2.0).Label(0, 2, "text").BoolErr(0, 3, 1, 0);
        records.Formula(0, 4, 3.0, 0, formula).FormulaMark(0, 5, 0, 0, formula);
        records.Record(0x0207, ByteBuilder().U16(1).Text("t"));
        EXPECT_EQ(SingleCells(high, records), "[2008-01-01][2][text][TRUE][3][t]\n") << high;
    }
}

TEST_F(ExcelFileCompleteTest, WorkbooksOfBiff4HaveSheets) {
    const std::string sheet = BiffBuilder().Bof(Biff5, Worksheet, 0x0409).Number(0, 0, 4.5).Eof().Bytes();
    BiffBuilder book;
    book.Bof(Biff5, 0x100, 0x0409);
    book.Record(0x008F, ByteBuilder().I32(static_cast<int>(sheet.size())).U8(3).Text("One"));
    CompleteRead read(Write(book.Bytes() + sheet + BiffBuilder().Eof().Bytes()));
    EXPECT_EQ(read.Cells(), "[4.5]\n") << ErrorOf(read.reader);
    EXPECT_EQ(read.reader.ListParts().at(0).name, "One");
}

TEST_F(ExcelFileCompleteTest, TheTableIsAsLargeAsItsCells) {
    WorkbookBuilder book;
    book.Sheet("A", 5000, 200,
               BiffBuilder().Number(1, 2, 1.0).Record(0x0201, BiffBuilder::Cell(7, 7)).FormulaMark(8, 8, 3));
    CompleteRead read(Write(book));
    EXPECT_EQ(read.Cells(), "[][][]\n[][][1]\n");
    EXPECT_EQ(read.reader.GetNumRows(), 2);
    EXPECT_EQ(read.reader.GetNumCols(), 3);
    WorkbookBuilder bare;
    bare.RawSheet("A", BiffBuilder().Bof(Biff8, Worksheet).Number(0, 0, 2.0).Eof().Bytes());
    CompleteRead unsized(Write(bare));
    EXPECT_EQ(unsized.Cells(), "[2]\n") << "a sheet without DIMENSIONS";
}

TEST_F(ExcelFileCompleteTest, TheFirstVisibleSheetIsTaken) {
    WorkbookBuilder book;
    book.Sheet("Secret", 0, 0, BiffBuilder().Number(0, 0, 1.0), 1);
    book.RawSheet("Picture", BiffBuilder().Bof(Biff8, BiffBuilder::Chart).Eof().Bytes(), 0, 2);
    book.Sheet("Empty", 0, 0, BiffBuilder());
    book.Sheet("Data", 0, 0, BiffBuilder().Number(0, 0, 3.0));
    const std::string path = Write(book);
    CompleteRead read(path);
    EXPECT_EQ(read.Cells(), "");
    EXPECT_EQ(read.notes,
              "sheets that are not in this table: \"Secret\" (hidden), \"Data\"\n"
              "sheets that hold no table: \"Picture\" (chart)\n");
    const auto parts = read.reader.ListParts();
    ASSERT_EQ(parts.size(), 3U);
    EXPECT_TRUE(parts[0].hidden);
    EXPECT_EQ(parts[1].rows, 0);
    EXPECT_EQ(parts[2].rows, 1);
    EXPECT_EQ(CompleteRead(path, TestOptions{{"Part", "data"}}).Cells(), "[3]\n");
    EXPECT_EQ(CompleteRead(path, TestOptions{{"Part", "1"}}).Cells(), "[1]\n");
    EXPECT_EQ(CompleteRead(path, TestOptions{{"Part", "all"}}).Cells(), "[1]\n[3]\n");
    CompleteRead none(path, TestOptions{{"Part", "Nothing"}});
    EXPECT_EQ(none.status, 0x104);
    EXPECT_EQ(ErrorOf(none.reader), "The workbook has no sheet \"Nothing\".");
}

TEST_F(ExcelFileCompleteTest, ChosenSheetsStandBelowOrBesideEachOther) {
    WorkbookBuilder book;
    book.Sheet("A", 0, 0, BiffBuilder().Number(0, 0, 1.0).Number(1, 0, 2.0));
    book.Sheet("B", 0, 0, BiffBuilder().Number(0, 0, 3.0).Number(0, 1, 4.0));
    const std::string path = Write(book);
    CompleteRead below(path, TestOptions{{"Part", "B,A"}});
    EXPECT_EQ(below.Cells(), "[3][4]\n[1][]\n[2][]\n");
    EXPECT_EQ(below.reader.GetNumRows(), 3);
    EXPECT_EQ(below.reader.GetNumCols(), 2);
    CompleteRead beside(path, TestOptions{{"Part", "all"}, {"Vertical", "false"}});
    EXPECT_EQ(beside.Cells(), "[1][3][4]\n[2][][]\n");
    EXPECT_EQ(beside.reader.GetNumRows(), 2);
    EXPECT_EQ(beside.reader.GetNumCols(), 3);
}

TEST_F(ExcelFileCompleteTest, TheChoiceIsKept) {
    WorkbookBuilder book;
    book.Sheet("Hidden", 0, 0, BiffBuilder().Number(0, 0, 1.0), 1);
    book.Sheet("Shown, too", 0, 0, BiffBuilder().Number(0, 0, 2.0));
    auto context = std::make_shared<karta::ReadContext>();
    context->reading = karta::Reading::Complete;
    ExcelFile reader;
    reader.SetContext(context);
    NvImportOpenOptions record{0, nullptr};
    ASSERT_EQ(reader.Open(true, Write(book).c_str(), &record), 0);
    ASSERT_NE(record.size, 0U);
    ExcelFile again;
    again.SetContext(context);
    ASSERT_EQ(again.Open(true, Write(book).c_str(), &record), 0);
    TableData table;
    ASSERT_EQ(again.Read(&table), 0);
    EXPECT_EQ(table.GetFloatValue(1, 1), 2.0);
}

TEST_F(ExcelFileCompleteTest, ChartsInSheetsAreIslands) {
    BiffBuilder cells;
    cells.Number(0, 0, 1.0).Bof(Biff8, BiffBuilder::Chart).Number(0, 1, 9.0).Eof().Number(0, 1, 2.0);
    EXPECT_EQ(Cells(cells), "[1][2]\n");
}

TEST_F(ExcelFileCompleteTest, SheetsWithoutAnEndEndWithTheNextOne) {
    WorkbookBuilder book;
    book.RawSheet("A", BiffBuilder().Bof(Biff8, Worksheet).Number(0, 0, 1.0).Bytes());
    book.RawSheet("B", BiffBuilder().Bof(Biff8, Worksheet).Number(0, 0, 2.0).Bytes());
    CompleteRead read(Write(book), TestOptions{{"Part", "all"}});
    EXPECT_EQ(read.status, 0);
    EXPECT_EQ(read.Cells(), "[1]\n[2]\n");
    EXPECT_NE(read.notes.find("the sheet \"B\" ends without its last record"), std::string::npos)
        << read.notes;
}

TEST_F(ExcelFileCompleteTest, BrokenSheetCostsThatSheet) {
    WorkbookBuilder book;
    book.RawSheet("Broken", BiffBuilder().Bof(Biff8, Worksheet).Number(0, 0, 1.0).Header(0x0203, -5).Bytes());
    book.Sheet("Whole", 0, 0, BiffBuilder().Number(0, 0, 2.0));
    const std::string path = Write(book);
    CompleteRead alone(path, TestOptions{{"Part", "Broken"}});
    EXPECT_EQ(alone.status, 0x102);
    CompleteRead all(path, TestOptions{{"Part", "all"}});
    EXPECT_EQ(all.status, 0) << ErrorOf(all.reader);
    EXPECT_EQ(all.Cells(), "[1]\n[2]\n");
    EXPECT_NE(all.notes.find("\"Broken\" can't be read to its end"), std::string::npos) << all.notes;
}

TEST_F(ExcelFileCompleteTest, ProtectedFilesOfAnyVersionAreRefused) {
    const BiffBuilder pass = BiffBuilder().Record(0x002F, ByteBuilder().U16(0).U16(0));
    for (const unsigned high : {0U, 2U, 4U, 8U}) {
        CompleteRead read(Write(Single(high, pass)));
        EXPECT_EQ(read.status, 0x105) << high;
    }
    WorkbookBuilder book;
    book.Globals().Record(0x002F, ByteBuilder().U16(0).U16(0));
    book.Sheet("A", 0, 0, BiffBuilder());
    EXPECT_EQ(CompleteRead(Write(book)).status, 0x105);
}

TEST_F(ExcelFileCompleteTest, LaterWorkbooksWithAPasswordAreRefusedAsSuch) {
    CompoundBuilder file;
    file.Stream("EncryptionInfo", "info").Stream("EncryptedPackage", std::string(5000, 'x'));
    EXPECT_EQ(CompleteRead(folder.Write("book.xls", file.Build())).status, 0x105);
}

TEST_F(ExcelFileCompleteTest, SharedStringsKeepStepBehindCutData) {
    WorkbookBuilder book;
    // The phonetic data of the first string and the runs of the second are cut by the records' ends.
    book.Tail().Record(0x00FC, ByteBuilder().I32(3).I32(1).U16(1).U8(4).U32(6).Text("a").Zeros(2));
    book.Tail().Record(0x003C, ByteBuilder()
                                   .Zeros(4)
                                   .U16(2)
                                   .U8(8)
                                   .U16(2)
                                   .Text("\xD6"
                                         "b")
                                   .Zeros(5));
    book.Tail().Record(0x003C, ByteBuilder().Zeros(3).U16(3).U8(0).Text("xyz"));
    book.Sheet("A", 0, 0,
               BiffBuilder().LabelSst(0, 0, 0).LabelSst(0, 1, 1).LabelSst(0, 2, 2).LabelSst(0, 3, 9));
    CompleteRead read(Write(book));
    EXPECT_EQ(read.Cells(), "[a][Öb][xyz][]\n");
    EXPECT_NE(read.notes.find("tells of 1 shared strings and has 3"), std::string::npos) << read.notes;
    EXPECT_NE(read.notes.find("1 cell without a text"), std::string::npos) << read.notes;
}

TEST_F(ExcelFileCompleteTest, SheetsListedBehindTheStringsAreSheets) {
    WorkbookBuilder book;
    book.Sheet("A", 0, 0, BiffBuilder().LabelSst(0, 0, 0));
    book.Globals().Record(0x00FC, ByteBuilder().I32(1).I32(1).Text(SharedText("x").Bytes()));
    EXPECT_EQ(CompleteRead(Write(book)).Cells(), "[x]\n");
}

TEST_F(ExcelFileCompleteTest, TheStreamHasItsNameInAnyCase) {
    WorkbookBuilder book;
    book.Sheet("A", 0, 0, BiffBuilder().Number(0, 0, 1.0));
    WorkbookBuilder old(Biff5);
    old.Sheet("A", 0, 0, BiffBuilder().Number(0, 0, 2.0));
    const auto read = [this](CompoundBuilder file) { return CompleteRead(Write(file.Build())).Cells(); };
    EXPECT_EQ(read(CompoundBuilder().Stream("WORKBOOK", book.Build())), "[1]\n");
    EXPECT_EQ(read(CompoundBuilder().Stream("BOOK", old.Build())), "[2]\n");
    EXPECT_EQ(read(CompoundBuilder().Stream("Book", old.Build()).Stream("Workbook", book.Build())), "[1]\n");
}

// Of a compound file numbers are taken from where they lie, of a plain one they are read record by record.
TEST_F(ExcelFileCompleteTest, RecordsInMemoryAreThoseOfAPlainFile) {
    std::minstd_rand random(7);
    const auto chance = [&](unsigned most) { return static_cast<unsigned>(random() % most); };
    for (int round = 0; round < 20; ++round) {
        WorkbookBuilder book(round % 4 == 0 ? Biff5 : Biff8);
        book.Globals().Format(164, "yyyy-mm-dd").Xf(0).Xf(164);
        if (round % 4 != 0) {
            book.Tail().Record(0x00FC, ByteBuilder().I32(1).I32(1).Text(SharedText("shared").Bytes()));
        }
        BiffBuilder cells;
        for (unsigned i = 0; i < 3000; ++i) {
            const unsigned row = i / 10;
            const unsigned col = chance(300);
            switch (chance(round % 3 == 0 ? 200 : 12)) {
                case 0:
                    cells.MulRk(row, col, {{0, 42}, {1, 170'002}, {0, 7}});
                    break;
                case 1:
                    cells.LabelSst(row, col, static_cast<int>(chance(2)));
                    break;
                case 2:
                    cells.BoolErr(row, col, 1, 0);
                    break;
                case 3:
                    cells.FormulaMark(row, col, 0).String("result");
                    break;
                case 4:
                    cells.Record(0x0203, ByteBuilder().U16(row).U16(col).Zeros(chance(12)));
                    break;
                case 5:
                    cells.Record(0x00BD, ByteBuilder().U16(row).U16(col).Zeros(chance(30)));
                    break;
                case 6:
                    cells.Record(0x027E,
                                 BiffBuilder::Cell(row, col, 1).U32(chance(1U << 31)).Zeros(chance(3)));
                    break;
                default:
                    cells.Number(row, col, 40'000 + i / 8.0, chance(2));
                    break;
            }
        }
        book.Sheet("A", 0, 0, cells);
        std::string bytes = book.Build();
        if (round % 5 == 4) {
            bytes.resize(bytes.size() - chance(2000));
        }
        CompleteRead plain(Write(bytes));
        CompleteRead compound(
            folder.Write("compound.xls", CompoundBuilder().Stream("Workbook", bytes).Build()));
        EXPECT_EQ(compound.status, plain.status);
        EXPECT_EQ(compound.notes, plain.notes);
        ASSERT_EQ(compound.Cells(), plain.Cells());
        EXPECT_GT(plain.Cells().size(), 1000U);
    }
}

TEST_F(ExcelFileCompleteTest, ContentProvesAWorkbook) {
    const FormatRecogniser* const recogniser = FormatRecogniser::Find("Excel File");
    ASSERT_NE(recogniser, nullptr);
    EXPECT_STREQ(recogniser->GetShortName(), "xls");
    const auto proves = [&](std::string_view bytes) {
        return recogniser->Recognise(Write(bytes).c_str(), bytes.substr(0, FormatRecogniser::HeadSize)) ==
               FormatRecogniser::Evidence::Proof;
    };
    WorkbookBuilder book;
    book.Sheet("A", 0, 0, BiffBuilder());
    EXPECT_TRUE(proves(CompoundBuilder().Stream("wOrKbOoK", book.Build()).Build()));
    EXPECT_FALSE(proves(CompoundBuilder().Stream("WordDocument", book.Build()).Build()));
    EXPECT_TRUE(proves(book.Build()));
    for (const unsigned high : {0U, 2U, 4U}) {
        EXPECT_TRUE(proves(Single(high, {}))) << high;
    }
    EXPECT_FALSE(proves("\x09 is no BOF"));
    EXPECT_FALSE(proves(""));
}

TEST_F(ExcelFileCompleteTest, ClassicReadingSaysWhatItLeavesOut) {
    BiffBuilder cells;
    cells.Number(0, 0, 1.0).BoolErr(1, 1, 1, 0).BoolErr(1, 2, 7, 1);
    cells.Record(0x0204, BiffBuilder::Cell(2, 0).U16(2).U8(0).Text("ab"));
    WorkbookBuilder book;
    book.Sheet("A", 3, 3, cells);
    CompleteRead read(Write(book), TestOptions(std::string()), karta::Reading::Classic);
    EXPECT_EQ(
        read.notes,
        "the classic reading leaves 3 cells empty or cuts them: truth values 1, errors 1, texts of other "
        "characters 1 (first: B2); the complete reading has them\n");
}

TEST_F(ExcelFileCompleteTest, DamagedFilesEndInAStatus) {
    WorkbookBuilder book;
    book.Globals().Format(164, "yyyy").Xf(0).Xf(164);
    book.Tail().Record(0x00FC, ByteBuilder().I32(1).I32(1).Text(SharedText("water").Bytes()));
    BiffBuilder cells;
    cells.Number(0, 0, 1.0, 1).LabelSst(0, 1, 0).FormulaMark(1, 0, 0).String("text");
    book.Sheet("A", 2, 2, cells).Sheet("B", 2, 2, cells);
    const std::string good = book.Build();
    std::mt19937 random(7);
    for (int round = 0; round < 500; ++round) {
        std::string bytes = good;
        for (std::size_t i = 0; i <= bytes.size() / 100; ++i) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        CompleteRead read(Write(bytes), TestOptions{{"Part", "all"}});
        EXPECT_EQ(ErrorOf(read.reader).empty(), read.status == 0);
    }
    for (std::size_t length = 0; length < good.size(); ++length) {
        CompleteRead read(Write(good.substr(0, length)));
        EXPECT_TRUE(read.status != 0 || !read.notes.empty()) << length;
    }
}

TEST_F(ExcelFileCompleteTest, StopIsHeardWhileTheStringsAreRead) {
    WorkbookBuilder book;
    for (int i = 0; i < 200; ++i) {
        book.Tail().Record(0x003C, ByteBuilder().Zeros(8));
    }
    book.Sheet("A", 0, 0, BiffBuilder().Number(0, 0, 1.0));
    const std::string path = Write(book);
    for (const karta::Reading reading : {karta::Reading::Complete, karta::Reading::Classic}) {
        std::stop_source source;
        source.request_stop();
        const auto context = std::make_shared<karta::ReadContext>();
        context->reading = reading;
        context->stop = source.get_token();
        ExcelFile reader;
        reader.SetContext(context);
        EXPECT_THROW(reader.Open(true, path.c_str(), nullptr), karta::Stopped);
    }
}
