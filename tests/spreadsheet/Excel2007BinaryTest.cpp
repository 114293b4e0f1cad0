#include <gtest/gtest.h>

#include <random>

#include "host/NvSystemInfo.h"
#include "spreadsheet/Excel2007File.h"
#include "tests/spreadsheet/WorkbookParts.h"
#include "tests/support/BinaryRecords.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/CountingSink.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"
#include "tests/support/ZipBuilder.h"

namespace {

constexpr const char* Format = "Excel2007 File";

constexpr const char* Opened =
    "Format \"Excel2007 File\"\nOpen 0x0\nGetNumRows 1\nGetNumCols 1\nSetDataSize 1 1\n";
constexpr const char* Done = "Read 0x0\nClose\n";
constexpr const char* CorruptRead = "Read 0x303\nError \"The file is corrupt.\"\nClose\n";
constexpr const char* CorruptOpen =
    "Format \"Excel2007 File\"\nOpen 0x303\nError \"The file is corrupt.\"\nClose\n";
constexpr const char* NoSheets =
    "Format \"Excel2007 File\"\nOpen 0x301\nError \"The file contains no sheets.\"\nClose\n";

// The records of a part, one behind the other.
class Records {
public:
    Records& Add(unsigned id, const ByteBuilder& data = {}) { return Add(id, data.Bytes()); }
    Records& Add(unsigned id, std::string_view data) {
        PutRecord(bytes, id, data);
        return *this;
    }

    Records& Row(std::uint32_t row) { return Add(0, ByteBuilder().U32(row)); }
    Records& Real(std::uint32_t column, std::uint32_t style, double value) {
        return Add(5, Cell(column, style).Double(value));
    }
    Records& Rk(std::uint32_t column, std::uint32_t style, std::uint32_t value) {
        return Add(2, Cell(column, style).U32(value));
    }
    Records& SharedString(std::uint32_t column, std::uint32_t index) {
        return Add(7, Cell(column).U32(index));
    }
    Records& Dimension(std::uint32_t lastRow, std::uint32_t lastColumn) {
        return Add(148, ByteBuilder().U32(0).U32(lastRow).U32(0).U32(lastColumn));
    }
    Records& Cells(const Records& cells) {
        Add(145);
        bytes.Text(cells.Bytes());
        return Add(146);
    }

    static ByteBuilder Cell(std::uint32_t column, std::uint32_t style = 0) {
        return ByteBuilder().U32(column).U32(style);
    }
    const std::string& Bytes() const { return bytes.Bytes(); }

private:
    ByteBuilder bytes;
};

std::string Bundle(unsigned state, std::string_view id, std::string_view name) {
    ByteBuilder data;
    data.U32(state).U32(1);
    PutWide(data, id);
    PutWide(data, name);
    return data.Bytes();
}

std::string SheetList(const std::vector<std::string>& bundles) {
    Records records;
    records.Add(131).Add(143);
    for (const std::string& bundle : bundles) {
        records.Add(156, bundle);
    }
    return records.Add(144).Bytes();
}

std::string SharedStringsPart(const std::vector<std::string>& items) {
    Records records;
    records.Add(159, ByteBuilder().U32(0).U32(0));
    for (const std::string& item : items) {
        ByteBuilder data;
        data.U8(0);
        records.Add(19, PutWide(data, item));
    }
    return records.Add(160).Bytes();
}

std::string FormatCode(int number, std::string_view code) {
    ByteBuilder data;
    data.I16(number);
    return PutWide(data, code).Bytes();
}

std::string Styles(const std::vector<int>& numbers, const std::vector<std::string>& codes = {}) {
    Records records;
    records.Add(615, ByteBuilder().U32(static_cast<std::uint32_t>(codes.size())));
    for (const std::string& code : codes) {
        records.Add(44, code);
    }
    records.Add(616).Add(617, ByteBuilder().U32(static_cast<std::uint32_t>(numbers.size())));
    for (const int number : numbers) {
        records.Add(47, ByteBuilder().U16(0).I16(number).Zeros(12));
    }
    return records.Add(618).Bytes();
}

// A worksheet of 9 by 9 with these cells.
std::string Sheet(const Records& cells) {
    return Records().Dimension(8, 8).Cells(cells).Bytes();
}

// A workbook of these worksheet parts.
struct Workbook : WorkbookParts {
    explicit Workbook(const std::vector<std::string>& sheetParts) {
        sheets = sheetParts;
        std::vector<std::string> bundles;
        std::string targets;
        for (std::size_t i = 1; i <= sheets.size(); ++i) {
            const std::string number = std::to_string(i);
            bundles.push_back(Bundle(0, "rId" + number, "S" + number));
            targets +=
                "<Relationship Id=\"rId" + number + "\" Target=\"worksheets/sheet" + number + ".bin\"/>";
        }
        workbook = SheetList(bundles);
        relationships = "<Relationships>" + targets + "</Relationships>";
    }
    explicit Workbook(const Records& cells) : Workbook(std::vector<std::string>{Sheet(cells)}) {}

    std::string Build() const { return WorkbookParts::Build("bin"); }
};

std::string Warning(int records) {
    return "Warning \"" + std::to_string(records) +
           " record(s) was found that KARTA doesn't know how to read.\\nThese can be web-links, drawings, "
           "formulas or "
           "other type of data that isn't\\ninteresting for KARTA.\\n\"\n";
}

class Excel2007BinaryTest : public testing::Test {
protected:
    std::string Write(const std::string& bytes) { return folder.Write("book.xlsb", bytes); }
    std::string Trace(const Workbook& book, const TraceOptions& how = {}) {
        return ReadTrace(Format, Write(book.Build()), how);
    }
    std::string Cells(const Workbook& book, const TraceOptions& how = {}) {
        return CellsOf(Trace(book, how));
    }
    // What the record of a shared string, given by its data, arrives as in a cell.
    std::string TextOfShared(const ByteBuilder& item) {
        Workbook book(Records().Row(0).SharedString(0, 0));
        ByteBuilder good;
        good.U8(0);
        book.sharedStrings = Records().Add(159).Add(19, item).Add(19, PutWide(good, "good")).Add(160).Bytes();
        return Cells(book);
    }
    std::vector<std::string> NamesOf(const Workbook& book) {
        Excel2007File reader;
        reader.Open(true, Write(book.Build()).c_str(), nullptr);
        std::vector<std::string> names;
        for (const auto& part : reader.ListParts()) {
            names.push_back(part.name);
        }
        return names;
    }

    TempFolder folder;
};

}  // namespace

TEST_F(Excel2007BinaryTest, ReadsEveryKindOfCell) {
    ByteBuilder text = Records::Cell(4);
    Workbook book(Records()
                      .Row(1)
                      .Add(1, Records::Cell(0))
                      .Rk(1, 0, 12345U << 2 | 3U)
                      .Add(3, Records::Cell(2).U8(7))
                      .Add(4, Records::Cell(3).U8(1))
                      .Add(8, PutWide(text, "text"))
                      .Row(2)
                      .Real(0, 0, 0.1)
                      .SharedString(1, 1)
                      .Add(9, Records::Cell(2).Double(-2.5))
                      .Add(10, Records::Cell(3).U8(0))
                      .Add(11, Records::Cell(4).U8(0)));
    book.sharedStrings = SharedStringsPart({"zero", "one"});
    EXPECT_EQ(Trace(book), std::string(Opened) +
                               "SetDataSize 9 9\n"
                               "Set 1 2 text \"\"\n"
                               "Set 2 2 double 123.45\n"
                               "Set 3 2 text \"#DIV/0!\"\n"
                               "Set 4 2 text \"TRUE\"\n"
                               "Set 5 2 text \"text\"\n"
                               "Set 1 3 double 0.10000000000000001\n"
                               "Set 2 3 text \"one\"\n"
                               "Set 3 3 double -2.5\n"
                               "Set 4 3 text \"FALSE\"\n"
                               "Set 5 3 text \"Unknown error code\"\n" +
                               Done);
}

// The workbook part and the list of sheets.

TEST_F(Excel2007BinaryTest, WorkbookWithoutASheetListIsStatus0x303) {
    Workbook book(Records().Row(0));
    for (const std::string& part : {std::string("-"), std::string(), Records().Add(131).Add(156).Bytes(),
                                    std::string("\x8f", 1), std::string(1000, '\xff')}) {
        book.workbook = part;
        EXPECT_EQ(Trace(book), CorruptOpen);
    }
}

TEST_F(Excel2007BinaryTest, SheetsAreListedWhileTheirRecordsLast) {
    Workbook book(Records().Row(0));
    book.workbook = Records()
                        .Add(156, Bundle(0, "rId1", "before"))
                        .Add(143)
                        .Add(156, Bundle(0, "rId1", "a"))
                        .Add(156, Bundle(0, "rId2", "b"))
                        .Add(1)
                        .Add(156, Bundle(0, "rId3", "c"))
                        .Bytes();
    EXPECT_EQ(NamesOf(book), (std::vector<std::string>{"a", "b"}));
}

TEST_F(Excel2007BinaryTest, HiddenSheetsAreNotListed) {
    Workbook book({Sheet(Records().Row(0).Real(0, 0, 1)), Sheet(Records().Row(0).Real(0, 0, 2))});
    book.workbook = SheetList({Bundle(1, "rId1", "a"), Bundle(0, "rId2", "b"), Bundle(2, "rId3", "c")});
    EXPECT_EQ(NamesOf(book), (std::vector<std::string>{"b"}));
    // The part is that of the place in the list.
    EXPECT_EQ(Cells(book), "Set 1 1 double 1\n");
    book.workbook = SheetList({Bundle(1, "rId1", "a")});
    book.relationships = "-";
    EXPECT_EQ(Trace(book), NoSheets);
}

TEST_F(Excel2007BinaryTest, ChartSheetsAreTakenOffWhateverTheCaseOfTheirId) {
    Workbook book({Sheet(Records()), Sheet(Records()), Sheet(Records())});
    book.relationships =
        "<Relationships><Relationship Id=\"RID2\" Target=\"chartsheets/sheet1.bin\"/>"
        "<Relationship Id=\"rId3\" Target=\"worksheets/sheet2.bin\"/></Relationships>";
    EXPECT_EQ(NamesOf(book), (std::vector<std::string>{"S1", "S3"}));
    book.relationships =
        "<Relationships><Relationship Id=\"rid1\"/><Relationship Id=\"rid2\"/><Relationship "
        "Id=\"rid3\"/></Relationships>";
    EXPECT_EQ(Trace(book), NoSheets);
}

TEST_F(Excel2007BinaryTest, RelationshipsThatCannotBeReadEndOpen) {
    Workbook book(Records().Row(0));
    for (const char* part : {"-", "", "<Relationships>", "<Others/>"}) {
        book.relationships = part;
        EXPECT_EQ(Trace(book), CorruptOpen) << part;
    }
}

TEST_F(Excel2007BinaryTest, SheetNameThatIsNoneIsEmptyAndNoFailure) {
    Workbook book({Sheet(Records().Row(0).Real(0, 0, 1)), Sheet(Records())});
    ByteBuilder bad;
    bad.U32(0).U32(1);
    PutWide(bad, "rId1").U32(1).U16(0x4e2d).U16(0x6587);
    book.workbook = SheetList({Bundle(0, "rId2", "good"), bad.Bytes()});
    EXPECT_EQ(NamesOf(book), (std::vector<std::string>{"good", ""}));
    EXPECT_EQ(Cells(book), "Set 1 1 double 1\n");
}

TEST_F(Excel2007BinaryTest, SheetRecordWhoseCountsLieIsNoDanger) {
    Workbook book(Records().Row(0).Real(0, 0, 1));
    for (const std::uint32_t count : {5U, 0x7fffffffU, 0xffffffffU}) {
        ByteBuilder lying;
        lying.U32(0).U32(1).U32(count).U16('r');
        book.workbook = SheetList({lying.Bytes()});
        EXPECT_EQ(Cells(book), "Set 1 1 double 1\n");
    }
    book.workbook = SheetList({std::string()});
    EXPECT_EQ(Cells(book), "Set 1 1 double 1\n");
}

TEST_F(Excel2007BinaryTest, ListsSheetsWithTheirSizes) {
    Workbook book({Records().Dimension(11, 2).Bytes(), Records().Dimension(0xffffffff, 2).Bytes(), "-"});
    Excel2007File reader;
    ASSERT_EQ(reader.Open(true, Write(book.Build()).c_str(), nullptr), 0);
    const auto parts = reader.ListParts();
    ASSERT_EQ(parts.size(), 3U);
    EXPECT_EQ(parts[0].cols, 3);
    EXPECT_EQ(parts[0].rows, 12);
    EXPECT_EQ(parts[1].cols, -1);
    EXPECT_EQ(parts[2].rows, -1);
}

// Texts.

TEST_F(Excel2007BinaryTest, OnlyTheLowByteOfACharacterIsKept) {
    ByteBuilder item;
    item.U8(0).U32(3).U16(0xb5).U16('g').U16(0x2000);
    EXPECT_EQ(TextOfShared(item), "Set 1 1 text \"\\xb5g\"\n");
    EXPECT_EQ(TextOfShared(ByteBuilder().U8(0).U32(2).U16('A').U16(0x0416)), "Set 1 1 text \"A\\x16\"\n");
}

TEST_F(Excel2007BinaryTest, TextWhoseBytesOutrunItsCountIsEmpty) {
    EXPECT_EQ(TextOfShared(ByteBuilder().U8(0).U32(1).U16(0x4e2d).U16('x')), "Set 1 1 text \"\"\n");
    EXPECT_EQ(TextOfShared(ByteBuilder().U8(0).U32(0).U16('x')), "Set 1 1 text \"\"\n");
    // The bytes end with the record.
    EXPECT_EQ(TextOfShared(ByteBuilder().U8(0).U32(2).U16(0x4e41)), "Set 1 1 text \"A\"\n");
}

TEST_F(Excel2007BinaryTest, TextIsNoLongerThanItsRecord) {
    EXPECT_EQ(TextOfShared(ByteBuilder().U8(0).U32(4000).U16('a').U16('b')), "Set 1 1 text \"ab\"\n");
    EXPECT_EQ(TextOfShared(ByteBuilder().U8(0).U32(0x7fffffff).U16('a')), "Set 1 1 text \"a\"\n");
    EXPECT_EQ(TextOfShared(ByteBuilder().U8(0)), "Set 1 1 text \"\"\n");
    EXPECT_EQ(TextOfShared(ByteBuilder()), "Set 1 1 text \"\"\n");
}

TEST_F(Excel2007BinaryTest, RecordsAreReadWholeUpToATwoByteLength) {
    ByteBuilder item;
    item.U8(0);
    const std::string text(8189, 'x');
    ASSERT_EQ(PutWide(item, text).Size(), 16383U);
    EXPECT_EQ(TextOfShared(item), "Set 1 1 text \"" + text + "\"\n");
}

TEST_F(Excel2007BinaryTest, OnlyTheLastSharedStringDecidesOnTheStatus) {
    Workbook book(Records().Row(0).SharedString(0, 0).SharedString(1, 1).SharedString(2, 2));
    const ByteBuilder bad = ByteBuilder().U8(0).U32(0).U16('x');
    ByteBuilder good;
    good.U8(0);
    PutWide(good, "good");
    book.sharedStrings = Records().Add(159).Add(19, good).Add(19, bad).Add(77, good).Add(160).Bytes();
    EXPECT_EQ(Trace(book),
              std::string(Opened) +
                  "SetDataSize 9 9\nSet 1 1 text \"good\"\nSet 2 1 text \"\"\nSet 3 1 text \"good\"\n" +
                  Done);
    book.sharedStrings = Records().Add(159).Add(19, good).Add(19, bad).Add(160).Bytes();
    EXPECT_EQ(Trace(book), std::string(Opened) + CorruptRead);
}

TEST_F(Excel2007BinaryTest, SharedStringsWithoutBeginAreNone) {
    Workbook book(Records().Row(0).Real(0, 0, 1));
    book.sharedStrings = Records().Add(19).Add(160).Bytes();
    EXPECT_EQ(Cells(book), "Set 1 1 double 1\n");
}

TEST_F(Excel2007BinaryTest, SharedStringsWithoutEndAreStatus0x303) {
    Workbook book(Records().Row(0).Real(0, 0, 1));
    for (const std::string& part : {Records().Add(159).Bytes(), Records().Add(159).Add(19).Bytes(),
                                    SharedStringsPart({"abc"}).substr(0, 12)}) {
        book.sharedStrings = part;
        EXPECT_EQ(Trace(book), std::string(Opened) + CorruptRead);
    }
}

TEST_F(Excel2007BinaryTest, ReferenceToNoSharedStringIsStatus0x303) {
    for (const std::uint32_t index : {1U, 2U, 0xffffffffU}) {
        Workbook book(Records().Row(0).SharedString(0, 0).SharedString(1, index).Real(2, 0, 1));
        book.sharedStrings = SharedStringsPart({"zero"});
        EXPECT_EQ(Trace(book),
                  std::string(Opened) + "SetDataSize 9 9\nSet 1 1 text \"zero\"\n" + CorruptRead);
    }
    const Workbook none(Records().Row(0).SharedString(0, 0));
    EXPECT_EQ(Trace(none), std::string(Opened) + "SetDataSize 9 9\n" + CorruptRead);
}

TEST_F(Excel2007BinaryTest, BadFormulaTextIsEmptyAndItsStatusStays) {
    const Workbook book(Records().Row(0).Add(8, Records::Cell(0).U32(0).U16('x')).Real(1, 0, 1));
    EXPECT_EQ(Trace(book),
              std::string(Opened) + "SetDataSize 9 9\nSet 1 1 text \"\"\nSet 2 1 double 1\n" + CorruptRead);
}

TEST_F(Excel2007BinaryTest, LaterGoodTextTakesTheStatusBack) {
    ByteBuilder good = Records::Cell(1);
    const Workbook book(Records().Row(0).Add(8, Records::Cell(0).U32(0).U16('x')).Add(8, PutWide(good, "a")));
    EXPECT_TRUE(Trace(book).ends_with("Set 2 1 text \"a\"\nRead 0x0\nClose\n"));
}

// Number formats.

TEST_F(Excel2007BinaryTest, DateFormatsPushTheTextOfTheDate) {
    Records cells;
    const std::vector<int> formats = {0, 13, 14, 22, 23, 44, 45, 47, 48, 164, 165};
    for (std::uint32_t i = 0; i < formats.size(); ++i) {
        cells.Row(i).Real(0, i, 1.5);
    }
    Workbook book(cells);
    book.styles = Styles(formats, {FormatCode(164, "yyyy"), FormatCode(165, "[Red]0")});
    const char* const date = "text \"1900-01-01 12:00:00\"\n";
    const char* const number = "double 1.5\n";
    std::string expected;
    int row = 0;
    for (const bool isDate : {false, false, true, true, false, false, true, true, false, true, false}) {
        expected += "Set 1 " + std::to_string(++row) + " " + (isDate ? date : number);
    }
    EXPECT_EQ(Cells(book), expected);
}

TEST_F(Excel2007BinaryTest, OfAnRkStyleOnlyTheLowByteCounts) {
    Workbook book(
        Records().Row(0).Rk(0, 257, 1U << 2 | 2U).Real(1, 257, 1).Real(2, 1, 1).Real(3, 0xffffffff, 1));
    book.styles = Styles({0, 14});
    EXPECT_EQ(
        Cells(book),
        "Set 1 1 text \"1900-01-01\"\nSet 2 1 double 1\nSet 3 1 text \"1900-01-01\"\nSet 4 1 double 1\n");
}

TEST_F(Excel2007BinaryTest, LaterFormatCodeOfANumberWins) {
    Workbook book(Records().Row(0).Real(0, 0, 1));
    book.styles = Styles({164}, {FormatCode(164, "0"), FormatCode(164, "yyyy")});
    EXPECT_EQ(Cells(book), "Set 1 1 text \"1900-01-01\"\n");
}

TEST_F(Excel2007BinaryTest, StylesMayBeMissingInPart) {
    Workbook book(Records().Row(0).Real(0, 0, 1));
    book.styles = Records().Add(1).Bytes();
    EXPECT_EQ(Cells(book), "Set 1 1 double 1\n");
    book.styles = Records().Add(617, ByteBuilder().U32(1)).Add(47, ByteBuilder().U16(0).I16(14)).Bytes();
    EXPECT_EQ(Cells(book), "Set 1 1 text \"1900-01-01\"\n");
}

TEST_F(Excel2007BinaryTest, OtherRecordAmongTheCountedOnesIsStatus0x303) {
    Workbook book(Records().Row(0).Real(0, 0, 1));
    const auto count = [](std::uint32_t n) { return ByteBuilder().U32(n); };
    for (const std::string& part :
         {Records().Add(615, count(1)).Add(45).Bytes(), Records().Add(617, count(1)).Add(44).Bytes(),
          Records().Add(615, count(2)).Add(44, FormatCode(1, "0")).Bytes(),
          Records().Add(617, count(0x7fffffff)).Bytes(), Records().Add(617, count(2)).Add(47).Bytes()}) {
        book.styles = part;
        EXPECT_EQ(Trace(book), std::string(Opened) + CorruptRead);
    }
}

TEST_F(Excel2007BinaryTest, BadFormatCodeAtTheEndIsStatus0x303) {
    Workbook book(Records().Row(0).Real(0, 0, 1));
    const std::string bad = ByteBuilder().I16(164).U32(0).U16('y').Bytes();
    book.styles = Styles({164}, {FormatCode(165, "0"), bad});
    EXPECT_EQ(Trace(book), std::string(Opened) + CorruptRead);
    book.styles = Styles({164}, {bad, FormatCode(165, "0")});
    EXPECT_EQ(Cells(book), "Set 1 1 double 1\n");
}

// The cells of sheets.

TEST_F(Excel2007BinaryTest, ErrorCodesAreTestedAsMasks) {
    Records cells;
    cells.Row(0);
    const std::vector<unsigned> codes = {0x00, 0x07, 0x0f, 0x17, 0x1d, 0x24, 0x2a,
                                         0x08, 0x10, 0x18, 0x20, 0x40, 0xc0, 0xff};
    for (std::uint32_t i = 0; i < codes.size(); ++i) {
        cells.Add(i % 2 == 0 ? 3 : 11, Records::Cell(i).U8(codes[i]));
    }
    std::string expected;
    int column = 0;
    for (const char* text :
         {"Unknown error code", "#DIV/0!", "#DIV/0!", "#DIV/0!", "#DIV/0!", "#DIV/0!", "#DIV/0!", "#VALUE!",
          "#REF!", "#VALUE!", "#NUM!", "Unknown error code", "Unknown error code", "#DIV/0!"}) {
        expected += "Set " + std::to_string(++column) + " 1 text \"" + text + "\"\n";
    }
    EXPECT_EQ(Cells(Workbook(cells)), expected);
}

TEST_F(Excel2007BinaryTest, SheetWithASizeAndNoCellsTellsItsSize) {
    EXPECT_EQ(Trace(Workbook({Records().Dimension(4, 2).Cells({}).Bytes()})),
              std::string(Opened) + "SetDataSize 3 5\n" + Done);
}

TEST_F(Excel2007BinaryTest, SheetWithoutASizeIsPassedOver) {
    const Workbook book(
        {Records().Cells(Records().Row(0).Real(0, 0, 1)).Bytes(), Sheet(Records().Row(0).Real(0, 0, 2))});
    TestOptions options{{"Sheets", "0,1"}, {"Vertical", "true"}};
    EXPECT_EQ(Trace(book, {options.Get()}),
              std::string(Opened) + "SetDataSize 9 9\nSet 1 1 double 2\n" + Done);
}

TEST_F(Excel2007BinaryTest, SizeWithoutSheetDataIsStatus0x303) {
    EXPECT_EQ(Trace(Workbook({Records().Dimension(1, 1).Row(0).Real(0, 0, 1).Bytes()})),
              std::string(Opened) + "SetDataSize 2 2\n" + CorruptRead);
}

TEST_F(Excel2007BinaryTest, SheetPartThatIsMissingIsStatus0x303) {
    EXPECT_EQ(Trace(Workbook({std::string("-")})), std::string(Opened) + CorruptRead);
}

TEST_F(Excel2007BinaryTest, CellsBeforeTheSheetDataArePassedOver) {
    Workbook book(
        {Records().Row(0).Dimension(1, 1).Real(0, 0, 1).Cells(Records().Row(0).Real(0, 0, 2)).Bytes()});
    EXPECT_EQ(Cells(book), "Set 1 1 double 2\n");
}

TEST_F(Excel2007BinaryTest, StackedSheetsAddUpTheirRows) {
    const Workbook book({Records().Dimension(1, 2).Cells(Records().Row(0).Real(2, 0, 1)).Bytes(),
                         Records().Dimension(2, 4).Cells(Records().Row(2).Real(0, 0, 2)).Bytes()});
    TestOptions options{{"Sheets", "0,1"}, {"Vertical", "true"}};
    EXPECT_EQ(Trace(book, {options.Get()}),
              std::string(Opened) + "SetDataSize 3 2\nSet 3 1 double 1\nSetDataSize 5 5\nSet 1 5 double 2\n" +
                  Done);
}

TEST_F(Excel2007BinaryTest, SideBySideSheetsAddUpTheirColumns) {
    const Workbook book({Records().Dimension(1, 2).Cells(Records().Row(0).Real(2, 0, 1)).Bytes(),
                         Records().Dimension(2, 4).Cells(Records().Row(2).Real(0, 0, 2)).Bytes(),
                         Records().Dimension(0, 0).Cells(Records().Row(0).Real(0, 0, 3)).Bytes()});
    TestOptions options{{"Sheets", "0,1,2"}, {"Vertical", "false"}};
    EXPECT_EQ(Trace(book, {options.Get()}), std::string(Opened) +
                                                "SetDataSize 3 2\nSet 3 1 double 1\nSetDataSize 8 3\n"
                                                "Set 4 3 double 2\nSetDataSize 9 3\nSet 9 1 double 3\n" +
                                                Done);
}

TEST_F(Excel2007BinaryTest, NothingSelectedIsNoFailure) {
    const Workbook book({Sheet(Records()), Sheet(Records())});
    TestOptions options{{"Sheets", ""}, {"Vertical", "true"}};
    EXPECT_EQ(Trace(book, {options.Get()}), std::string(Opened) + Done);
}

TEST_F(Excel2007BinaryTest, SinkIsNotAskedForRows) {
    EXPECT_EQ(Trace(Workbook(Records().Row(0).Real(0, 0, 1).Row(1).Real(0, 0, 2)), {nullptr, "9", 0, true}),
              std::string(Opened) + "SetDataSize 9 9\nSet 1 1 double 1\nSet 1 2 double 2\n" + Done);
}

TEST_F(Excel2007BinaryTest, UnknownRecordsAreCountedInTheWarning) {
    const std::string trace =
        Trace(Workbook(Records().Row(0).Add(6, Records::Cell(0)).Add(427).Add(12).Add(300).Real(0, 0, 1)));
    EXPECT_EQ(trace,
              std::string(Opened) + "SetDataSize 9 9\nSet 1 1 double 1\nRead 0x0\n" + Warning(3) + "Close\n");
}

TEST_F(Excel2007BinaryTest, AlternateContentIsNotCountedButItsCellsAreRead) {
    const std::string trace = Trace(
        Workbook(Records().Row(0).Add(37).Add(300).Real(0, 0, 1).Add(38).Add(300).Add(38).Add(37).Add(301)));
    EXPECT_EQ(trace,
              std::string(Opened) + "SetDataSize 9 9\nSet 1 1 double 1\nRead 0x0\n" + Warning(1) + "Close\n");
}

TEST_F(Excel2007BinaryTest, WarningNamesTheApplication) {
    const std::string before = NvSystemInfo::GetApplicationName();
    NvSystemInfo::SetApplicationName("Other");
    const std::string trace = Trace(Workbook(Records().Row(0).Add(300)));
    NvSystemInfo::SetApplicationName(before);
    EXPECT_NE(trace.find("that Other doesn't know how to read."), std::string::npos);
    EXPECT_NE(trace.find("interesting for Other.\\n"), std::string::npos);
}

TEST_F(Excel2007BinaryTest, PartThatEndsAmongTheCellsEndsThem) {
    const std::string whole = Sheet(Records().Row(0).Real(0, 0, 1).Real(1, 0, 2));
    // Behind the second cell, in it, and behind the first.
    for (const std::size_t cut : {3U, 4U, 21U}) {
        const std::string cells = Cells(Workbook({whole.substr(0, whole.size() - cut)}));
        EXPECT_EQ(cells, cut == 3 ? "Set 1 1 double 1\nSet 2 1 double 2\n" : "Set 1 1 double 1\n");
        EXPECT_TRUE(Trace(Workbook({whole.substr(0, whole.size() - cut)})).ends_with(Done));
    }
}

TEST_F(Excel2007BinaryTest, CellBeforeAnyRowIsDropped) {
    EXPECT_EQ(Trace(Workbook(Records().Real(0, 0, 1).SharedString(0, 9).Row(1).Real(0, 0, 2))),
              std::string(Opened) + "SetDataSize 9 9\nSet 1 2 double 2\n" + Done);
}

TEST_F(Excel2007BinaryTest, PositionsOutsideOfASheetAreStatus0x303) {
    for (const std::uint32_t row : {1048576U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        EXPECT_EQ(Trace(Workbook(Records().Row(row))),
                  std::string(Opened) + "SetDataSize 9 9\n" + CorruptRead);
        EXPECT_EQ(Trace(Workbook({Records().Dimension(row, 1).Cells({}).Bytes()})),
                  std::string(Opened) + CorruptRead);
    }
    for (const std::uint32_t column : {16384U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        EXPECT_EQ(Trace(Workbook(Records().Row(0).Real(column, 0, 1))),
                  std::string(Opened) + "SetDataSize 9 9\n" + CorruptRead);
        EXPECT_EQ(Trace(Workbook({Records().Dimension(1, column).Cells({}).Bytes()})),
                  std::string(Opened) + CorruptRead);
    }
    EXPECT_EQ(Cells(Workbook(Records().Row(1048575).Real(16383, 0, 1))), "Set 16384 1048576 double 1\n");
}

TEST_F(Excel2007BinaryTest, BytesBehindARecordAreZeros) {
    // The long record before must not show in the short ones.
    const Workbook book(Records()
                            .Row(7)
                            .Add(300, std::string(40, '\xff'))
                            .Add(0, std::string())
                            .Add(5, std::string())
                            .Add(4, std::string("\1\0\0\0", 4))
                            .Add(8, std::string())
                            .Add(2, std::string(3, '\0')));
    EXPECT_EQ(Cells(book), "Set 1 1 double 0\nSet 2 1 text \"FALSE\"\nSet 1 1 text \"\"\nSet 1 1 double 0\n");
}

TEST_F(Excel2007BinaryTest, WrongChecksumIsStatus0x303) {
    const Workbook book(Records().Row(0).Real(0, 0, 1));
    ZipBuilder zip;
    zip.Add("xl/workbook.bin", book.workbook).Add("xl/_rels/workbook.bin.rels", book.relationships);
    ZipBuilder::Entry sheet;
    sheet.name = "xl/worksheets/sheet1.bin";
    sheet.bytes = book.sheets[0];
    sheet.checksumError = 1;
    EXPECT_TRUE(ReadTrace(Format, Write(zip.Add(sheet).Build())).ends_with(CorruptRead));
}

TEST_F(Excel2007BinaryTest, DamageAlwaysEndsInAStatus) {
    ByteBuilder text = Records::Cell(4);
    Workbook book(
        Records().Row(1).Rk(1, 1, 5).Add(8, PutWide(text, "text")).Real(0, 0, 0.1).SharedString(1, 1));
    book.sharedStrings = SharedStringsPart({"zero", "one"});
    book.styles = Styles({14, 164}, {FormatCode(164, "yyyy")});
    std::mt19937 random(2007);
    std::vector<std::string*> parts = {&book.workbook, &book.relationships, &book.sharedStrings, &book.styles,
                                       &book.sheets[0]};
    for (std::string* part : parts) {
        const std::string whole = *part;
        for (std::size_t length = 0; length <= whole.size(); ++length) {
            *part = whole.substr(0, length);
            EXPECT_TRUE(Trace(book).ends_with("Close\n"));
        }
    }
    for (int round = 0; round < 300; ++round) {
        Workbook damaged = book;
        for (std::string* part :
             {&damaged.workbook, &damaged.sharedStrings, &damaged.styles, &damaged.sheets[0]}) {
            for (char& byte : *part) {
                if (random() % 100 == 0) {
                    byte = static_cast<char>(random());
                }
            }
        }
        const std::string trace = Trace(damaged);
        EXPECT_TRUE(trace.ends_with("Close\n")) << trace;
        EXPECT_EQ(trace.find("Exception"), std::string::npos) << trace;
    }
}

TEST_F(Excel2007BinaryTest, ClassicReadingSaysWhatItLeavesOutOrChanges) {
    ByteBuilder wide = Records::Cell(2);
    wide.U32(2).U16('a').U16(0x3c0);
    Workbook book(Records()
                      .Row(0)
                      .SharedString(0, 0)
                      .SharedString(1, 1)
                      .Add(8, wide)
                      .Add(3, Records::Cell(3).U8(7))
                      .Add(3, Records::Cell(4).U8(0x2a)));
    book.workbook = SheetList({Bundle(0, "rId1", "Data"), Bundle(1, "rId2", "Notes")});
    book.sharedStrings = Records()
                             .Add(159, ByteBuilder().U32(0).U32(0))
                             .Add(19, ByteBuilder().U8(0).U32(1).U16('a'))
                             .Add(19, ByteBuilder().U8(0).U32(2).U16('a').U16(0x3b1))
                             .Add(160)
                             .Bytes();
    const std::string path = folder.Write("book.xlsb", book.Build());
    Excel2007File reader;
    CountingSink sink;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    ASSERT_EQ(reader.Read(&sink), 0);
    std::string notes;
    for (const karta::Note& note : reader.GetContext()->notes.GetAll()) {
        notes += note.code + " " + note.place + ": " + note.text + "\n";
    }
    EXPECT_EQ(notes,
              "hidden-sheets Notes: the classic reading leaves out 1 hidden sheet: \"Notes\"; the complete "
              "reading has it\n"
              "cells-changed B1: the classic reading changes 3 cells: texts of other characters 2, errors "
              "under another's name 1 (first: B1); the complete reading has them as they are\n");
}
