#include "spreadsheet/Excel2007File.h"

#include <gtest/gtest.h>

#include <random>

#include "base/Exception.h"
#include "frame/OptionsText.h"
#include "frame/SpreadsheetOpenOptions.h"
#include "host/NvSystemInfo.h"
#include "host/SerialDate.h"
#include "table/TableData.h"
#include "tests/spreadsheet/WorkbookParts.h"
#include "tests/support/CountingSink.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpreadsheetTruth.h"
#include "tests/support/TempFolder.h"
#include "tests/support/ZipBuilder.h"

namespace {

constexpr const char* Format = "Excel2007 File";

// What comes before the cells of every read, and behind them.
constexpr const char* Opened =
    "Format \"Excel2007 File\"\nOpen 0x0\nGetNumRows 1\nGetNumCols 1\nSetDataSize 1 1\n";
constexpr const char* Done = "Read 0x0\nClose\n";
constexpr const char* CorruptRead = "Read 0x303\nError \"The file is corrupt.\"\nClose\n";
constexpr const char* CorruptOpen =
    "Format \"Excel2007 File\"\nOpen 0x303\nError \"The file is corrupt.\"\nClose\n";
constexpr const char* NoData = "Read 0x300\nError \"The sheet(s) contains no data.\"\nClose\n";

std::string Repeat(std::string_view text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

// A worksheet part with these rows.
std::string Sheet(const std::string& rows) {
    return "<worksheet><dimension ref=\"A1\"/><sheetData>" + rows + "</sheetData></worksheet>";
}

// A row with one cell, its reference and its value.
std::string Row(int number, const std::string& column, const std::string& value) {
    const std::string place = std::to_string(number);
    return "<row r=\"" + place + "\"><c r=\"" + column + place + "\"><v>" + value + "</v></c></row>";
}

// A workbook of these worksheet parts.
struct Workbook : WorkbookParts {
    explicit Workbook(const std::vector<std::string>& sheetParts) {
        sheets = sheetParts;
        std::string list;
        std::string targets;
        for (std::size_t i = 1; i <= sheets.size(); ++i) {
            const std::string number = std::to_string(i);
            list += "<sheet name=\"S" + number + "\" sheetId=\"" + number + "\" r:id=\"rId" + number + "\"/>";
            targets +=
                "<Relationship Id=\"rId" + number + "\" Target=\"worksheets/sheet" + number + ".xml\"/>";
        }
        workbook = "<workbook><sheets>" + list + "</sheets></workbook>";
        relationships = "<Relationships>" + targets + "</Relationships>";
    }

    std::string Build() const { return WorkbookParts::Build("xml"); }
};

// A workbook of one sheet with these rows.
Workbook OneSheet(const std::string& rows) {
    return Workbook({Sheet(rows)});
}

// Styles with these number formats for the cell formats 0, 1 and so on.
std::string Styles(const std::vector<int>& numbers, const std::string& definitions = {}) {
    std::string formats;
    for (const int number : numbers) {
        formats += "<xf numFmtId=\"" + std::to_string(number) + "\"/>";
    }
    return "<styleSheet><numFmts>" + definitions +
           "</numFmts><cellStyleXfs><xf numFmtId=\"14\"/></cellStyleXfs>" + "<cellXfs>" + formats +
           "</cellXfs></styleSheet>";
}

class Excel2007FileTest : public testing::Test {
protected:
    std::string Write(const std::string& bytes) { return folder.Write("book.xlsx", bytes); }
    std::string Trace(const Workbook& book, const TraceOptions& how = {}) {
        return ReadTrace(Format, Write(book.Build()), how);
    }
    std::string Cells(const Workbook& book, const TraceOptions& how = {}) {
        return CellsOf(Trace(book, how));
    }
    // The cells of a sheet with one row of these cells.
    std::string CellsOfRow(const std::string& cells) {
        return Cells(OneSheet("<row r=\"1\">" + cells + "</row>"));
    }
    // How a book reads from `Read` on.
    std::string Outcome(const Workbook& book) {
        const std::string trace = Trace(book);
        return trace.substr(trace.find("\nRead ") + 1);
    }
    // What a number with a format of this code arrives as.
    std::string TextOfFormat(const std::string& code) {
        Workbook book = OneSheet("<row r=\"1\"><c r=\"A1\" s=\"0\"><v>44197</v></c></row>");
        book.styles = Styles({164}, "<numFmt numFmtId=\"164\" formatCode=\"" + code + "\"/>");
        return Cells(book);
    }
    // The text of the only shared string, from what stands inside its `si`.
    std::string TextOfShared(const std::string& item) {
        Workbook book = OneSheet("<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c></row>");
        book.sharedStrings = "<sst><si>" + item + "</si></sst>";
        const std::string cells = Cells(book);
        const std::string head = "Set 1 1 text \"";
        return cells.starts_with(head) ? cells.substr(head.size(), cells.size() - head.size() - 2) : cells;
    }

    TempFolder folder;
};

constexpr const char* IsDate = "Set 1 1 text \"2021-01-01\"\n";
constexpr const char* IsNumber = "Set 1 1 text \"44197\"\n";

const Workbook Three({Sheet(Row(1, "A", "1") + Row(2, "C", "2")), Sheet(Row(1, "B", "3")),
                      Sheet(Row(3, "A", "4"))});

}  // namespace

TEST_F(Excel2007FileTest, ReadsASheetAsTexts) {
    Workbook book = OneSheet(
        "<row r=\"1\" spans=\"1:3\"><c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\"><v>1.50</v></c>"
        "<c r=\"C1\" t=\"b\"><v>1</v></c></row>");
    book.sharedStrings = "<sst><si><t>name</t></si></sst>";
    EXPECT_EQ(Trace(book), std::string(Opened) +
                               "SetDataSize 3 1\nSet 1 1 text \"name\"\nSet 2 1 text \"1.50\"\n"
                               "Set 3 1 text \"TRUE\"\n" +
                               Done);
}

TEST_F(Excel2007FileTest, SizeIsOneByOneBeforeReading) {
    Excel2007File reader;
    EXPECT_EQ(reader.GetNumCols(), 1);
    EXPECT_EQ(reader.GetNumRows(), 1);
    EXPECT_EQ(reader.EstablishSize(), 0);
}

TEST_F(Excel2007FileTest, OpeningForWritingIsStatus3) {
    Excel2007File reader;
    EXPECT_EQ(reader.Open(false, folder.Path("book.xlsx").c_str(), nullptr), 3);
    EXPECT_EQ(reader.Open(true, folder.Path("book.xlsx").c_str(), nullptr), 3);
}

TEST_F(Excel2007FileTest, ReadingWhatIsNotOpenIsStatus3) {
    Excel2007File reader;
    CountingSink sink;
    EXPECT_EQ(reader.Read(&sink), 3);
    Excel2007File other;
    EXPECT_EQ(other.ReadXML(&sink), 3);
}

TEST_F(Excel2007FileTest, OpeningAnotherFileForgetsTheOneBefore) {
    Excel2007File reader;
    ASSERT_EQ(reader.Open(true, Write(Three.Build()).c_str(), nullptr), 0);
    ASSERT_EQ(reader.Open(true, Write(OneSheet(Row(1, "A", "1")).Build()).c_str(), nullptr), 0);
    EXPECT_EQ(reader.ListParts().size(), 1U);
}

TEST_F(Excel2007FileTest, WhatIsNoArchiveRaises) {
    Excel2007File reader;
    EXPECT_THROW(reader.Open(true, folder.Path("none.xlsx").c_str(), nullptr), Exception);
    EXPECT_THROW(reader.Open(true, folder.Write("text.xlsx", "text").c_str(), nullptr), Exception);
    EXPECT_EQ(ReadTrace(Format, folder.Path("none.xlsx")),
              "Format \"Excel2007 File\"\nException \"The file could not be opened.\"\nClose\n");
}

TEST_F(Excel2007FileTest, OnlyTheExtensionInLowerCaseIsXml) {
    const std::string bytes = OneSheet(Row(1, "A", "1")).Build();
    EXPECT_EQ(ReadTrace(Format, folder.Write("book.XLSX", bytes)), CorruptOpen);
    EXPECT_EQ(ReadTrace(Format, folder.Write("book.xlsm", bytes)), CorruptOpen);
    EXPECT_EQ(ReadTrace(Format, folder.Write("book", bytes)), CorruptOpen);
    EXPECT_EQ(CellsOf(ReadTrace(Format, folder.Write("a.b.xlsx", bytes))), "Set 1 1 text \"1\"\n");
}

TEST_F(Excel2007FileTest, StatusTextsAreExact) {
    struct Failing : Excel2007File {
        explicit Failing(int code) { status = code; }
    };
    const auto textOf = [](int code) {
        Failing reader(code);
        return ErrorOf(reader);
    };
    EXPECT_EQ(textOf(0x300), "The sheet(s) contains no data.");
    EXPECT_EQ(textOf(0x301), "The file contains no sheets.");
    EXPECT_EQ(textOf(0x302), "Unable to open Excel file.");
    EXPECT_EQ(textOf(0x303), "The file is corrupt.");
    EXPECT_EQ(textOf(0x304), "At least one of the sheets do not have a correct size.");
    EXPECT_EQ(textOf(0x305), "The file contains an unsupported format.");
    EXPECT_EQ(textOf(0x306), "No further information available.");
    EXPECT_EQ(textOf(3), "Tried to write to the file when it was opened for reading or vice versa.");
    Failing reader(0x303);
    char small[8];
    reader.GetErrorMessage(small, sizeof small);
    EXPECT_STREQ(small, "The fil");
}

// The workbook part and the list of sheets.

TEST_F(Excel2007FileTest, WorkbookPartThatCannotBeReadEndsOpen) {
    Workbook book = OneSheet(Row(1, "A", "1"));
    for (const char* part :
         {"-", "", "<workbook><sheets>", "<workbook/>", "<x:workbook><x:sheets/></x:workbook>"}) {
        book.workbook = part;
        EXPECT_EQ(Trace(book), CorruptOpen) << part;
    }
}

TEST_F(Excel2007FileTest, RelationshipsThatCannotBeReadEndOpen) {
    Workbook book = OneSheet(Row(1, "A", "1"));
    for (const char* part : {"-", "", "<Relationships>", "<Others/>"}) {
        book.relationships = part;
        EXPECT_EQ(Trace(book), CorruptOpen) << part;
    }
}

TEST_F(Excel2007FileTest, WorkbookWithoutSheetsIsStatus0x301) {
    Workbook book = OneSheet(Row(1, "A", "1"));
    book.workbook = "<workbook><sheets/></workbook>";
    EXPECT_EQ(Trace(book),
              "Format \"Excel2007 File\"\nOpen 0x301\nError \"The file contains no sheets.\"\nClose\n");
}

TEST_F(Excel2007FileTest, SheetWithoutRelationshipIsLeftOut) {
    Workbook book = OneSheet(Row(1, "A", "1"));
    book.workbook =
        "<workbook><sheets><sheet name=\"a\"/><sheet name=\"b\" x:id=\"rId1\"/><sheet name=\"c\" r:id=\"\"/>"
        "<x:sheet name=\"d\" r:id=\"rId1\"/></sheets></workbook>";
    EXPECT_NE(Trace(book).find("Open 0x301\n"), std::string::npos);
}

TEST_F(Excel2007FileTest, ChartSheetsAreTakenOffTheList) {
    Workbook book = Three;
    book.relationships =
        "<Relationships><Relationship Id=\"rId1\" Target=\"chartsheets/sheet1.xml\"/>"
        "<Relationship Id=\"rId2\" Target=\"/xl/worksheets/sheet2.xml\"/>"
        "<Relationship Id=\"RID2\" Target=\"theme.xml\"/></Relationships>";
    Excel2007File reader;
    ASSERT_EQ(reader.Open(true, Write(book.Build()).c_str(), nullptr), 0);
    const auto parts = reader.ListParts();
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[0].name, "S2");
    EXPECT_EQ(parts[1].name, "S3");
}

TEST_F(Excel2007FileTest, RelationshipTakesOffOneSheetOfItsIdOnly) {
    Workbook book = Three;
    book.workbook =
        "<workbook><sheets><sheet name=\"a\" r:id=\"r\"/><sheet name=\"b\" r:id=\"r\"/><sheet name=\"c\" "
        "r:id=\"r\"/>"
        "</sheets></workbook>";
    book.relationships =
        "<Relationships><Relationship Id=\"r\" Target=\"charts/1\"/><Relationship Id=\"r\"/></Relationships>";
    Excel2007File reader;
    ASSERT_EQ(reader.Open(true, Write(book.Build()).c_str(), nullptr), 0);
    ASSERT_EQ(reader.ListParts().size(), 1U);
    EXPECT_EQ(reader.ListParts()[0].name, "c");
}

TEST_F(Excel2007FileTest, OneWorksheetAmongChartsAsksNobody) {
    struct Asking : Excel2007File {
        int GetSheetOptions() override {
            ADD_FAILURE() << "there is nothing to choose";
            return status;
        }
    };
    Workbook book({Sheet(Row(1, "A", "1")), Sheet("")});
    book.relationships =
        "<Relationships><Relationship Id=\"rId2\" Target=\"chartsheets/sheet1.xml\"/></Relationships>";
    Asking reader;
    TestOptions garbage(std::string("garbage"));
    EXPECT_EQ(reader.Open(true, Write(book.Build()).c_str(), garbage.Get()), 0);
}

TEST_F(Excel2007FileTest, PartIsThatOfThePlaceInTheList) {
    Workbook book({Sheet(Row(1, "A", "first part")), Sheet(Row(1, "A", "second part"))});
    book.relationships =
        "<Relationships><Relationship Id=\"rId1\" Target=\"worksheets/sheet2.xml\"/>"
        "<Relationship Id=\"rId2\" Target=\"worksheets/sheet1.xml\"/></Relationships>";
    EXPECT_EQ(Cells(book), "Set 1 1 text \"first part\"\n");
}

TEST_F(Excel2007FileTest, FirstPartOfANameCounts) {
    ZipBuilder zip;
    const Workbook book = OneSheet(Row(1, "A", "1"));
    zip.Add("xl/workbook.xml", book.workbook).Add("xl/_rels/workbook.xml.rels", book.relationships);
    zip.Add("XL/worksheets/sheet1.xml", Sheet(Row(1, "A", "other case")));
    zip.Add("xl/worksheets/sheet1.xml", Sheet(Row(1, "A", "first")));
    zip.Add("xl/worksheets/sheet1.xml", Sheet(Row(1, "A", "second")));
    EXPECT_EQ(CellsOf(ReadTrace(Format, Write(zip.Build()))), "Set 1 1 text \"first\"\n");
}

TEST_F(Excel2007FileTest, ListsSheetsWithTheirSizes) {
    Workbook book = Three;
    book.workbook =
        "<workbook><sheets><sheet name=\"a\" r:id=\"1\"/><sheet name=\"b\" r:id=\"2\" state=\"hidden\"/>"
        "<sheet name=\"c\" r:id=\"3\" state=\"veryHidden\"/></sheets></workbook>";
    book.sheets[0] = "<worksheet><dimension ref=\"B2:AB12\"/><sheetData>broken";
    book.sheets[1] = "<worksheet><sheetData/></worksheet>";
    book.sheets[2] = "<worksheet><dimension ref=\"C7\"/></worksheet>";
    Excel2007File reader;
    ASSERT_EQ(reader.Open(true, Write(book.Build()).c_str(), nullptr), 0);
    const auto parts = reader.ListParts();
    ASSERT_EQ(parts.size(), 3U);
    EXPECT_EQ(parts[0].kind, "sheet");
    EXPECT_EQ(parts[0].name, "a");
    EXPECT_EQ(parts[0].number, 0);
    EXPECT_EQ(parts[0].cols, 28);
    EXPECT_EQ(parts[0].rows, 12);
    EXPECT_FALSE(parts[0].hidden);
    EXPECT_EQ(parts[1].cols, -1);
    EXPECT_EQ(parts[1].rows, -1);
    EXPECT_TRUE(parts[1].hidden);
    EXPECT_EQ(parts[2].number, 2);
    EXPECT_EQ(parts[2].cols, 3);
    EXPECT_EQ(parts[2].rows, 7);
    EXPECT_TRUE(parts[2].hidden);
}

// The choice of sheets.

TEST_F(Excel2007FileTest, FirstOfSeveralSheetsIsReadWithoutAChoice) {
    EXPECT_EQ(Cells(Three), "Set 1 1 text \"1\"\nSet 3 2 text \"2\"\n");
}

TEST_F(Excel2007FileTest, EmptyRecordIsFilledWithTheChoicesMade) {
    NvImportOpenOptions record{0, nullptr};
    Excel2007File reader;
    ASSERT_EQ(reader.Open(true, Write(Three.Build()).c_str(), &record), 0);
    ASSERT_TRUE(HasOptions(&record));
    EXPECT_EQ(DecodeOptionsText(record),
              "<XMLSection><Settings><Sheets>0</Sheets><Vertical>true</Vertical></Settings></XMLSection>");
}

TEST_F(Excel2007FileTest, SheetsAreReadInTheOrderOfTheSelection) {
    TestOptions options{{"Sheets", "2,0"}, {"Vertical", "true"}};
    EXPECT_EQ(Cells(Three, {options.Get()}), "Set 1 3 text \"4\"\nSet 1 4 text \"1\"\nSet 3 5 text \"2\"\n");
}

TEST_F(Excel2007FileTest, GarbageInTheOptionsIsStatus0x302) {
    TestOptions cut(std::string("\xff\x00\x00\x00<XMLSection>", 16));
    EXPECT_EQ(Trace(Three, {cut.Get()}),
              "Format \"Excel2007 File\"\nOpen 0x302\nError \"Unable to open Excel file.\"\nClose\n");
    TestOptions tooShort(std::string("ab"));
    EXPECT_NE(Trace(Three, {tooShort.Get()}).find("Open 0x302\n"), std::string::npos);
}

TEST_F(Excel2007FileTest, OptionsThatAreNoSectionSelectNothing) {
    TestOptions noSection(std::string("\x03\x00\x00\x00<a>", 7));
    EXPECT_EQ(Trace(Three, {noSection.Get()}), std::string(Opened) + NoData);
    TestOptions emptyText(std::string(4, '\0'));
    EXPECT_EQ(Trace(Three, {emptyText.Get()}), std::string(Opened) + NoData);
    TestOptions other{{"Delimiter", ","}};
    EXPECT_EQ(Trace(Three, {other.Get()}), std::string(Opened) + NoData);
}

TEST_F(Excel2007FileTest, PlaceThatNamesNoSheetIsStatus0x302) {
    for (const char* sheets : {"3", "0,3", "-1", "2147483647"}) {
        TestOptions options{{"Sheets", sheets}};
        EXPECT_NE(Trace(Three, {options.Get()}).find("Open 0x302\n"), std::string::npos) << sheets;
    }
}

TEST_F(Excel2007FileTest, HostThatIsCancelledStopsWithStatus4) {
    struct Cancelled : Excel2007File {
        int GetSheetOptions() override {
            EXPECT_EQ(sheetNames, (std::vector<std::string>{"S1", "S2", "S3"}));
            status = StatusAbortedByUser;
            return status;
        }
    };
    Cancelled reader;
    NvImportOpenOptions record{0, nullptr};
    EXPECT_EQ(reader.Open(true, Write(Three.Build()).c_str(), &record), 4);
    EXPECT_EQ(ErrorOf(reader), "AbortedByUser");
    EXPECT_FALSE(HasOptions(&record));
}

TEST_F(Excel2007FileTest, HostMayChoose) {
    struct Choosing : Excel2007File {
        int GetSheetOptions() override {
            selectedSheets = {1};
            return status;
        }
    };
    Choosing reader;
    ASSERT_EQ(reader.Open(true, Write(Three.Build()).c_str(), nullptr), 0);
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_STREQ(table.GetText(2, 1), "3");
}

// The layout of several sheets.

TEST_F(Excel2007FileTest, SideBySideTheWidestSheetCountsTwiceFromTheThirdOn) {
    TestOptions options{{"Sheets", "0,1,2"}, {"Vertical", "false"}};
    EXPECT_EQ(Trace(Three, {options.Get()}), std::string(Opened) +
                                                 "SetDataSize 0 2\nSet 1 1 text \"1\"\nSet 3 2 text \"2\"\n"
                                                 "SetDataSize 3 2\nSet 5 1 text \"3\"\n"
                                                 "SetDataSize 6 3\nSet 7 3 text \"4\"\n" +
                                                 Done);
}

TEST_F(Excel2007FileTest, StackedSheetsStartBelowTheLastRowNumber) {
    TestOptions options{{"Sheets", "2,1,0"}, {"Vertical", "true"}};
    EXPECT_EQ(Trace(Three, {options.Get()}), std::string(Opened) +
                                                 "SetDataSize 0 3\nSet 1 3 text \"4\"\n"
                                                 "SetDataSize 1 4\nSet 2 4 text \"3\"\n"
                                                 "SetDataSize 2 6\nSet 1 5 text \"1\"\nSet 3 6 text \"2\"\n" +
                                                 Done);
}

TEST_F(Excel2007FileTest, StackedWidthIsThatOfTheSpansOrOfTheCellsBefore) {
    const Workbook book({Sheet("<row r=\"1\" spans=\"1:5\"><c r=\"B1\"/></row>"),
                         Sheet("<row r=\"1\" spans=\"1:1\"><c r=\"C1\"/></row>"), Sheet("<row r=\"1\"/>")});
    TestOptions options{{"Sheets", "0,1,2"}, {"Vertical", "true"}};
    EXPECT_EQ(Trace(book, {options.Get()}), std::string(Opened) +
                                                "SetDataSize 5 1\nSet 2 1 text \"\"\nSetDataSize 2 2\n"
                                                "Set 3 2 text \"\"\nSetDataSize 3 3\n" +
                                                Done);
}

TEST_F(Excel2007FileTest, EmptySheetsAreSkipped) {
    const Workbook book(
        {Sheet(""), Sheet(Row(2, "A", "1")), "<worksheet><sheetData/></worksheet>", Sheet(Row(1, "A", "2"))});
    TestOptions stacked{{"Sheets", "0,1,2,3"}, {"Vertical", "true"}};
    EXPECT_EQ(Cells(book, {stacked.Get()}), "Set 1 2 text \"1\"\nSet 1 3 text \"2\"\n");
    TestOptions empty{{"Sheets", "0,2"}, {"Vertical", "true"}};
    EXPECT_EQ(Trace(book, {empty.Get()}), std::string(Opened) + NoData);
}

TEST_F(Excel2007FileTest, SheetThatCannotBeReadEndsTheRead) {
    Workbook book = Three;
    TestOptions options{{"Sheets", "1,0,2"}, {"Vertical", "true"}};
    for (const char* part :
         {"-", "", "<worksheet/>", "<worksheet><sheetData>", "<worksheet><sheetData/></worksheet>x"}) {
        book.sheets[0] = part;
        EXPECT_EQ(Trace(book, {options.Get()}),
                  std::string(Opened) + "SetDataSize 0 1\nSet 2 1 text \"3\"\n" + CorruptRead)
            << part;
    }
}

TEST_F(Excel2007FileTest, NoCellOfABrokenSheetIsSet) {
    Workbook book = OneSheet("");
    book.sheets[0] = "<worksheet><sheetData>" + Row(1, "A", "1") + "</sheetData></worksheet><!-- ";
    EXPECT_EQ(Trace(book), std::string(Opened) + CorruptRead);
}

TEST_F(Excel2007FileTest, EndlessSelectionEndsBeforePositionsOverflow) {
    std::string sheets = "0";
    for (int i = 0; i < 3000; ++i) {
        sheets += ",0";
    }
    const Workbook book({Sheet("<row r=\"1048576\"/>"), Sheet("")});
    TestOptions options{{"Sheets", sheets}, {"Vertical", "true"}};
    const std::string trace = Trace(book, {options.Get()});
    EXPECT_TRUE(trace.ends_with(CorruptRead));
    EXPECT_EQ(trace.find("SetDataSize 0 -"), std::string::npos);
}

// Rows and columns.

TEST_F(Excel2007FileTest, RowsStandAtTheirNumbers) {
    EXPECT_EQ(Trace(OneSheet(Row(1, "A", "1") + Row(2, "A", "2") + Row(7, "B", "3"))),
              std::string(Opened) +
                  "SetDataSize 0 7\nSet 1 1 text \"1\"\nSet 1 2 text \"2\"\nSet 2 7 text \"3\"\n" + Done);
}

TEST_F(Excel2007FileTest, LastRowCountsWithoutCells) {
    EXPECT_NE(Trace(OneSheet(Row(1, "A", "1") + "<row r=\"9\"/>")).find("SetDataSize 0 9\n"),
              std::string::npos);
}

TEST_F(Excel2007FileTest, ColumnIsReadFromTheLettersOfTheReference) {
    EXPECT_EQ(CellsOfRow("<c r=\"A1\"/><c r=\"Z1\"/><c r=\"AB12\"/><c r=\"$C$1\"/><c r=\"XFD1\"/>"),
              "Set 1 1 text \"\"\nSet 26 1 text \"\"\nSet 28 1 text \"\"\nSet 3 1 text \"\"\nSet 16384 1 "
              "text \"\"\n");
}

TEST_F(Excel2007FileTest, RowsAndCellsWithoutReferenceStandAtZero) {
    EXPECT_EQ(
        Cells(OneSheet(
            "<row><c><v>1</v></c><c><v>2</v></c></row><row r=\"5\"><c r=\"D5\"/><c/></row><row><c/></row>")),
        "Set 0 0 text \"1\"\nSet 0 0 text \"2\"\nSet 4 5 text \"\"\nSet 0 5 text \"\"\nSet 0 0 text \"\"\n");
}

TEST_F(Excel2007FileTest, RowNumberThatIsNoneIsZero) {
    EXPECT_EQ(Cells(OneSheet("<row r=\"x\"><c r=\"A1\"><v>1</v></c></row>")), "Set 1 0 text \"1\"\n");
}

TEST_F(Excel2007FileTest, PositionsOutsideOfASheetAreStatus0x303) {
    for (const char* rows :
         {"<row r=\"1048577\"/>", "<row r=\"2147483647\"/>", "<row r=\"-1\"/>",
          "<row r=\"1\"><c r=\"XFE1\"/></row>", "<row r=\"1\"><c r=\"ZZZZZZZZZZZZZZZ1\"/></row>"}) {
        EXPECT_EQ(Trace(OneSheet(rows)), std::string(Opened) + CorruptRead) << rows;
    }
    EXPECT_TRUE(Trace(OneSheet("<row r=\"1048576\"><c r=\"XFD1048576\"/></row>")).ends_with(Done));
}

TEST_F(Excel2007FileTest, WidthIsTheLargestOfWhatStandsBehindTheSpansFirstColon) {
    EXPECT_NE(
        Trace(OneSheet("<row r=\"1\" spans=\"1:9\"/><row r=\"2\" spans=\"1:4\"/>")).find("SetDataSize 9 2\n"),
        std::string::npos);
    // That is "3 7:12 5:6", which is no number.
    EXPECT_NE(Trace(OneSheet("<row r=\"1\" spans=\"1:3 7:12 5:6\"/>")).find("SetDataSize 0 1\n"),
              std::string::npos);
    EXPECT_NE(Trace(OneSheet("<row r=\"1\" spans=\"7\"/>")).find("SetDataSize 0 1\n"), std::string::npos);
    EXPECT_NE(Trace(OneSheet("<row r=\"1\" spans=\"1:-4\"/>")).find("SetDataSize 0 1\n"), std::string::npos);
    EXPECT_NE(Trace(OneSheet("<row r=\"1\" spans=\"1:2147483647\"/>")).find("SetDataSize 16384 1\n"),
              std::string::npos);
}

TEST_F(Excel2007FileTest, CellsOutsideTheSpansArePushed) {
    EXPECT_EQ(Cells(OneSheet("<row r=\"1\" spans=\"1:1\"><c r=\"D1\"><v>1</v></c></row>")),
              "Set 4 1 text \"1\"\n");
}

TEST_F(Excel2007FileTest, OnlyElementsCountAsRows) {
    EXPECT_EQ(Trace(OneSheet("\n <!-- c --> <row r=\"1\">\n <?p i?> <c r=\"A1\">\n<v>1</v> </c>x</row>\n "
                             "<other r=\"3\"/>\n"),
                    {nullptr, "", 0, true}),
              std::string(Opened) +
                  "SetDataSize 0 3\nNextRowToRead 0 1\nSet 1 1 text \"1\"\nNextRowToRead 1 2\n" + Done);
}

TEST_F(Excel2007FileTest, SinkIsAskedByThePlaceOfTheRow) {
    const Workbook book(
        {Sheet(Row(2, "A", "1") + Row(4, "A", "2") + Row(9, "A", "3")), Sheet(Row(1, "A", "4"))});
    TestOptions options{{"Sheets", "0,1"}, {"Vertical", "true"}};
    EXPECT_EQ(
        Trace(book, {options.Get(), "", 0, true}),
        std::string(Opened) +
            "SetDataSize 0 9\nNextRowToRead 0 1\nSet 1 2 text \"1\"\nNextRowToRead 1 2\nSet 1 4 text \"2\"\n"
            "NextRowToRead 2 3\nSet 1 9 text \"3\"\nSetDataSize 1 10\nNextRowToRead 9 10\n"
            "Set 1 10 text \"4\"\n" +
            Done);
}

TEST_F(Excel2007FileTest, NegativeAnswerEndsThePresentSheetOnly) {
    const Workbook book(
        {Sheet(Row(1, "A", "1") + Row(2, "A", "2")), Sheet(Row(1, "A", "3") + Row(2, "A", "4"))});
    TestOptions options{{"Sheets", "0,1"}, {"Vertical", "false"}};
    EXPECT_EQ(Cells(book, {options.Get(), "1"}), "Set 1 1 text \"1\"\nSet 2 1 text \"3\"\n");
}

TEST_F(Excel2007FileTest, AnswerBehindTheLastRowEndsTheSheet) {
    EXPECT_EQ(Cells(OneSheet(Row(1, "A", "1")), {nullptr, "2"}), "");
}

TEST_F(Excel2007FileTest, AnswerThatNamesNoRowEndsTheSheet) {
    struct Stubborn : CountingSink {
        int NextRowToRead(int /*row*/) override { return 0; }
    };
    Stubborn sink;
    Excel2007File reader;
    ASSERT_EQ(reader.Open(true, Write(OneSheet(Row(1, "A", "1")).Build()).c_str(), nullptr), 0);
    EXPECT_EQ(reader.Read(&sink), 0);
    EXPECT_EQ(sink.cells, 0);
}

// The values of cells.

TEST_F(Excel2007FileTest, NumbersArePushedAsTheyAreWritten) {
    EXPECT_EQ(CellsOfRow("<c r=\"A1\"><v>0.93300000000000005</v></c><c r=\"B1\"><v> 1e5 </v></c><c "
                         "r=\"C1\"><v>abc</v></c>"),
              "Set 1 1 text \"0.93300000000000005\"\nSet 2 1 text \" 1e5 \"\nSet 3 1 text \"abc\"\n");
}

TEST_F(Excel2007FileTest, OtherTypesAreTheEmptyText) {
    for (const char* type : {"n", "str", "inlineStr", "e", "d", "S", "B", "ss"}) {
        EXPECT_EQ(CellsOfRow("<c r=\"A1\" t=\"" + std::string(type) + "\"><v>1</v><is><t>x</t></is></c>"),
                  "Set 1 1 text \"\"\n")
            << type;
    }
}

TEST_F(Excel2007FileTest, CellWithoutValueIsTheEmptyText) {
    EXPECT_EQ(
        CellsOfRow(
            "<c r=\"A1\"/><c r=\"B1\" t=\"s\"/><c r=\"C1\" t=\"b\"/><c r=\"D1\" s=\"0\"/><c r=\"E1\"><v/></c>"
            "<c r=\"F1\"><x:v>1</x:v></c>"),
        "Set 1 1 text \"\"\nSet 2 1 text \"\"\nSet 3 1 text \"\"\nSet 4 1 text \"\"\nSet 5 1 text \"\"\n"
        "Set 6 1 text \"\"\n");
}

TEST_F(Excel2007FileTest, FirstValueOfACellCounts) {
    EXPECT_EQ(CellsOfRow("<c r=\"A1\"><f>1+1</f><v>2</v><v>3</v></c>"), "Set 1 1 text \"2\"\n");
}

TEST_F(Excel2007FileTest, ValueIsTheTextThatItBeginsWith) {
    EXPECT_EQ(CellsOfRow("<c r=\"A1\"><v>1<!-- c -->2</v></c><c r=\"B1\"><v><![CDATA[3]]>4</v></c>"
                         "<c r=\"C1\"><v>5<b>6</b>7</v></c><c r=\"D1\"><v><b>8</b>9</v></c>"),
              "Set 1 1 text \"1\"\nSet 2 1 text \"3\"\nSet 3 1 text \"5\"\nSet 4 1 text \"\"\n");
}

TEST_F(Excel2007FileTest, BoolsAreFalseOnlyForZero) {
    EXPECT_EQ(CellsOfRow("<c r=\"A1\" t=\"b\"><v>0</v></c><c r=\"B1\" t=\"b\"><v>-2</v></c><c r=\"C1\" "
                         "t=\"b\"><v>true</v></c>"),
              "Set 1 1 text \"FALSE\"\nSet 2 1 text \"TRUE\"\nSet 3 1 text \"FALSE\"\n");
}

TEST_F(Excel2007FileTest, ReferenceToNoSharedStringIsTheEmptyText) {
    Workbook book = OneSheet(
        "<row r=\"1\"><c r=\"A1\" t=\"s\"><v>1</v></c><c r=\"B1\" t=\"s\"><v>2</v></c><c r=\"C1\" "
        "t=\"s\"><v>-1</v></c>"
        "<c r=\"D1\" t=\"s\"><v>99999999999</v></c><c r=\"E1\" t=\"s\"><v/></c></row>");
    book.sharedStrings = "<sst><si><t>zero</t></si><si><t>one</t></si></sst>";
    // What is no number counts as 0.
    EXPECT_EQ(Cells(book),
              "Set 1 1 text \"one\"\nSet 2 1 text \"\"\nSet 3 1 text \"\"\nSet 4 1 text \"zero\"\n"
              "Set 5 1 text \"zero\"\n");
}

TEST_F(Excel2007FileTest, WithoutSharedStringsTheirCellsAreEmpty) {
    EXPECT_EQ(CellsOfRow("<c r=\"A1\" t=\"s\"><v>0</v></c>"), "Set 1 1 text \"\"\n");
}

TEST_F(Excel2007FileTest, SharedStringsThatCannotBeReadAreStatus0x303) {
    Workbook book = OneSheet(Row(1, "A", "1"));
    for (const char* part : {"", "<sst>", "<other/>", "<x:sst/>"}) {
        book.sharedStrings = part;
        EXPECT_EQ(Trace(book), std::string(Opened) + CorruptRead) << part;
    }
}

TEST_F(Excel2007FileTest, RunsOfASharedStringAreJoined) {
    EXPECT_EQ(TextOfShared("<r><rPr><b/></rPr><t>bold </t></r><r><t>and not</t></r>"), "bold and not");
    EXPECT_EQ(TextOfShared("<r><t>a</t></r><rPh><t>b</t></rPh>"), "ab");
    EXPECT_EQ(TextOfShared("<x:r><t>a</t></x:r><x:t>b</x:t>"), "a");
}

TEST_F(Excel2007FileTest, NothingBehindATextCountsOnItsLevel) {
    EXPECT_EQ(TextOfShared("<t>a</t><rPh><t>b</t></rPh>"), "a");
    EXPECT_EQ(TextOfShared("<r><t>a</t><t>b</t><x><t>c</t></x></r><r><t>d</t></r>"), "ad");
    EXPECT_EQ(TextOfShared("<rPh><t>b</t></rPh><t>a</t>"), "ba");
    EXPECT_EQ(TextOfShared("<x><x><x><t>a</t></x><t>b</t></x></x>"), "ab");
}

TEST_F(Excel2007FileTest, SharedTextIsTheOneThatItBeginsWith) {
    EXPECT_EQ(TextOfShared("<t>a<!-- c -->b</t>"), "a");
    EXPECT_EQ(TextOfShared("<t><b>a</b>c</t>"), "");
    EXPECT_EQ(TextOfShared("<t/>"), "");
    EXPECT_EQ(TextOfShared(""), "");
    EXPECT_EQ(TextOfShared("outside<t> a </t>"), " a ");
    EXPECT_EQ(TextOfShared("<t>_x000D_&#13;&amp;\xc3\xa5</t>"), "_x000D_\\r&\\xc3\\xa5");
}

// Dates.

TEST_F(Excel2007FileTest, BuiltInDateFormatsAre14To22) {
    std::string cells;
    const std::vector<int> formats = {0, 13, 14, 22, 23, 45, 46, 47};
    for (std::size_t i = 0; i < formats.size(); ++i) {
        cells += "<row r=\"" + std::to_string(i + 1) + "\"><c r=\"A1\" s=\"" + std::to_string(i) +
                 "\"><v>1.5</v></c></row>";
    }
    Workbook book = OneSheet(cells);
    book.styles = Styles(formats);
    EXPECT_EQ(Cells(book),
              "Set 1 1 text \"1.5\"\nSet 1 2 text \"1.5\"\nSet 1 3 text \"1900-01-01 12:00:00\"\n"
              "Set 1 4 text \"1900-01-01 12:00:00\"\nSet 1 5 text \"1.5\"\nSet 1 6 text \"1.5\"\n"
              "Set 1 7 text \"1.5\"\nSet 1 8 text \"1.5\"\n");
}

TEST_F(Excel2007FileTest, CustomFormatWithALetterOfDatesIsADate) {
    EXPECT_EQ(TextOfFormat("yyyy"), IsDate);
    EXPECT_EQ(TextOfFormat("0.00"), IsNumber);
    EXPECT_EQ(TextOfFormat("YYYY"), IsNumber);
    EXPECT_EQ(TextOfFormat("0&quot;days&quot;"), IsDate);
}

TEST_F(Excel2007FileTest, OnlyTheFirstRedIsTakenOut) {
    EXPECT_EQ(TextOfFormat("[Red]0.00"), IsNumber);
    EXPECT_EQ(TextOfFormat("[Red]0;[Red]0"), IsDate);
    EXPECT_EQ(TextOfFormat("[red]0"), IsDate);
}

TEST_F(Excel2007FileTest, LaterDefinitionOfAFormatWins) {
    Workbook book = OneSheet("<row r=\"1\"><c r=\"A1\" s=\"0\"><v>44197</v></c></row>");
    book.styles = Styles(
        {164}, "<numFmt numFmtId=\"164\" formatCode=\"yyyy\"/><numFmt numFmtId=\"164\" formatCode=\"0\"/>");
    EXPECT_EQ(Cells(book), IsNumber);
    book.styles = Styles({14}, "<numFmt numFmtId=\"14\" formatCode=\"0\"/>");
    EXPECT_EQ(Cells(book), IsDate);
    book.styles = Styles({45}, "<numFmt numFmtId=\"45\" formatCode=\"mm:ss\"/>");
    EXPECT_EQ(Cells(book), IsDate);
}

TEST_F(Excel2007FileTest, StyleThatIsNotThereLeavesTheNumber) {
    Workbook book = OneSheet(
        "<row r=\"1\"><c r=\"A1\" s=\"1\"><v>1</v></c><c r=\"B1\" s=\"-1\"><v>1</v></c><c r=\"C1\" "
        "s=\"\"><v>1</v></c>"
        "<c r=\"D1\" s=\"x\"><v>1</v></c></row>");
    book.styles = Styles({14});
    EXPECT_EQ(Cells(book),
              "Set 1 1 text \"1\"\nSet 2 1 text \"1\"\nSet 3 1 text \"1\"\nSet 4 1 text \"1900-01-01\"\n");
}

TEST_F(Excel2007FileTest, DateOfNoNumberIsThatOfZero) {
    Workbook book = OneSheet("<row r=\"1\"><c r=\"A1\" s=\"0\"><v>x</v></c><c r=\"B1\" s=\"0\"/></row>");
    book.styles = Styles({14});
    EXPECT_EQ(Cells(book), "Set 1 1 text \"00:00:00\"\nSet 2 1 text \"\"\n");
}

TEST_F(Excel2007FileTest, StylesThatAreIllFormedAreStatus0x303) {
    Workbook book = OneSheet(Row(1, "A", "1"));
    book.styles = "<styleSheet>";
    EXPECT_EQ(Trace(book), std::string(Opened) + CorruptRead);
    book.styles = "<styleSheet/>";
    EXPECT_TRUE(Trace(book).ends_with(Done));
}

// Documents as nobody should write them.

TEST_F(Excel2007FileTest, EntitiesOfTheDocumentItselfAreExpanded) {
    Workbook book = OneSheet("");
    book.sheets[0] = "<!DOCTYPE worksheet [<!ENTITY e '4'>]>" + Sheet(Row(1, "A", "1&e;2"));
    EXPECT_EQ(Cells(book), "Set 1 1 text \"142\"\n");
}

TEST_F(Excel2007FileTest, NothingOutsideTheFileIsRead) {
    const std::string secret = folder.Write("secret.txt", "secret");
    Workbook book = OneSheet("");
    book.sheets[0] = "<!DOCTYPE worksheet SYSTEM '" + secret + "' [<!ENTITY e SYSTEM 'file://" + secret +
                     "'><!ENTITY % p SYSTEM '" + secret + "'>%p;]>" + Sheet(Row(1, "A", "1&e;2"));
    EXPECT_EQ(Cells(book), "Set 1 1 text \"12\"\n");
}

TEST_F(Excel2007FileTest, EntitiesThatGrowWithoutEndAreStatus0x303) {
    std::string declarations = "<!ENTITY e0 'ha'>";
    for (int i = 1; i <= 12; ++i) {
        declarations +=
            "<!ENTITY e" + std::to_string(i) + " '" + Repeat("&e" + std::to_string(i - 1) + ";", 10) + "'>";
    }
    Workbook book = OneSheet("");
    book.sheets[0] = "<!DOCTYPE worksheet [" + declarations + "]>" + Sheet(Row(1, "A", "&e12;"));
    EXPECT_EQ(Outcome(book), CorruptRead);
    book.sheets[0] = "<!DOCTYPE worksheet [" + declarations + "<!ATTLIST c q CDATA '&e12;'>]>" + Sheet("");
    EXPECT_EQ(Outcome(book), CorruptRead);
}

TEST_F(Excel2007FileTest, ManySiblingsAndManyLevelsRead) {
    const std::string deep = Repeat("<x>", 60000) + Repeat("</x>", 60000);
    EXPECT_TRUE(Trace(OneSheet("<row r=\"1\"><c r=\"A1\">" + deep + "<v>1</v></c>" + deep + "</row>" + deep))
                    .ends_with(Done));
    EXPECT_EQ(TextOfShared(Repeat("<x>", 60000) + "<t>a</t>" + Repeat("</x>", 60000)), "a");
    EXPECT_EQ(TextOfShared(Repeat("<r><t>a</t></r>", 60000)), std::string(60000, 'a'));
    EXPECT_NE(Trace(OneSheet(Repeat("<row/>", 60000))).find("SetDataSize 0 0\n"), std::string::npos);
}

TEST_F(Excel2007FileTest, LevelsWithoutEndAreStatus0x303) {
    EXPECT_EQ(Outcome(OneSheet(Repeat("<x>", 1000001))), CorruptRead);
    EXPECT_EQ(Outcome(OneSheet(Repeat("<x>", 999990) + Repeat("</x>", 999990))), Done);
}

TEST_F(Excel2007FileTest, DamagedPartsAreStatus0x303) {
    const Workbook book = OneSheet(Row(1, "A", "1"));
    ZipBuilder::Entry sheet;
    sheet.name = "xl/worksheets/sheet1.xml";
    sheet.bytes = book.sheets[0];
    const auto outcome = [&](const ZipBuilder::Entry& entry) {
        ZipBuilder zip;
        zip.Add("xl/workbook.xml", book.workbook)
            .Add("xl/_rels/workbook.xml.rels", book.relationships)
            .Add(entry);
        return ReadTrace(Format, Write(zip.Build()));
    };
    EXPECT_TRUE(outcome(sheet).ends_with(Done));
    ZipBuilder::Entry damaged = sheet;
    damaged.checksumError = 1;
    EXPECT_TRUE(outcome(damaged).ends_with(CorruptRead));
    damaged = sheet;
    damaged.encrypted = true;
    EXPECT_TRUE(outcome(damaged).ends_with(CorruptRead));
    damaged = sheet;
    damaged.sizeError = 7;
    EXPECT_TRUE(outcome(damaged).ends_with(CorruptRead));
}

TEST_F(Excel2007FileTest, PartThatUnpacksToTooMuchIsStatus0x303) {
    const unsigned long long before = NvSystemInfo::GetInflateLimit();
    NvSystemInfo::SetInflateLimit(1000000);
    const std::string outcome = Outcome(OneSheet(std::string(1000000, ' ')));
    NvSystemInfo::SetInflateLimit(before);
    EXPECT_EQ(outcome, CorruptRead);
}

TEST_F(Excel2007FileTest, ReadTwiceGivesTheSame) {
    Excel2007File reader;
    Workbook book = OneSheet("<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c></row>");
    book.sharedStrings = "<sst><si><t>a</t></si></sst>";
    ASSERT_EQ(reader.Open(true, Write(book.Build()).c_str(), nullptr), 0);
    for (int i = 0; i < 2; ++i) {
        TableData table;
        ASSERT_EQ(reader.Read(&table), 0);
        EXPECT_STREQ(table.GetText(1, 1), "a");
    }
}

TEST_F(Excel2007FileTest, FailureSticksUntilClose) {
    const std::string bad = folder.Write("bad.xlsx", ZipBuilder().Build());
    const std::string good = Write(OneSheet(Row(1, "A", "1")).Build());
    Excel2007File reader;
    ASSERT_EQ(reader.Open(true, bad.c_str(), nullptr), 0x303);
    EXPECT_EQ(reader.Open(true, good.c_str(), nullptr), 0x303);
    reader.Close();
    EXPECT_EQ(reader.Open(true, good.c_str(), nullptr), 0);
    TableData table;
    EXPECT_EQ(reader.Read(&table), 0);
    EXPECT_EQ(reader.GetWarningMessage(), nullptr);
}

TEST_F(Excel2007FileTest, DamageAlwaysEndsInAStatus) {
    Workbook book =
        OneSheet(Row(1, "A", "1") + "<row r=\"2\" spans=\"1:2\"><c r=\"A2\" t=\"s\"><v>0</v></c></row>");
    book.sharedStrings = "<sst><si><r><t>a</t></r></si></sst>";
    book.styles = Styles({14}, "<numFmt numFmtId=\"164\" formatCode=\"0\"/>");
    std::mt19937 random(2007);
    for (int round = 0; round < 300; ++round) {
        // The parts are damaged and not the archive, whose checksums would tell.
        Workbook damaged = book;
        for (std::string* part : {&damaged.sheets[0], &damaged.workbook, &damaged.relationships,
                                  &damaged.sharedStrings, &damaged.styles}) {
            for (std::size_t i = 0; i < part->size(); ++i) {
                if (random() % 100 == 0) {
                    (*part)[i] = static_cast<char>(random());
                }
            }
        }
        const std::string trace = Trace(damaged);
        EXPECT_TRUE(trace.ends_with("Close\n")) << trace;
        EXPECT_EQ(trace.find("Exception"), std::string::npos) << trace;
    }
    const std::string whole = book.Build();
    for (std::size_t length = 0; length < whole.size(); length += 7) {
        EXPECT_NE(ReadTrace(Format, Write(whole.substr(0, length))).find("Exception"), std::string::npos);
    }
    for (int round = 0; round < 300; ++round) {
        std::string bytes = whole;
        for (char& byte : bytes) {
            if (random() % 100 == 0) {
                byte = static_cast<char>(random());
            }
        }
        EXPECT_TRUE(ReadTrace(Format, Write(bytes)).ends_with("Close\n"));
    }
}
