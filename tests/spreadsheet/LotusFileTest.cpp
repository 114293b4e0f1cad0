#include "spreadsheet/LotusFile.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <vector>

#include "base/PathNames.h"
#include "table/TableData.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/CompleteTable.h"
#include "tests/support/CountingSink.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpreadsheetTruth.h"
#include "tests/support/TempFolder.h"
#include "tests/support/TruthComparison.h"

namespace {

constexpr const char* Format = "Lotus 1-2-3 File";

/** Builds a worksheet record by record. */
class SheetBuilder {
public:
    SheetBuilder& Header(int type, int length) {
        bytes.I16(type).I16(length);
        return *this;
    }
    SheetBuilder& Bof(unsigned version = 0x0406) {
        Header(0, 2);
        bytes.U16(version);
        return *this;
    }
    /** First and last place, from 0. */
    SheetBuilder& Dimensions(int startCol, int startRow, int endCol, int endRow) {
        Header(6, 8);
        bytes.I16(startCol).I16(startRow).I16(endCol).I16(endRow);
        return *this;
    }
    SheetBuilder& Place(int col, int row) {
        bytes.U8(0xff).I16(col).I16(row);
        return *this;
    }
    SheetBuilder& Integer(int col, int row, int value) {
        Header(13, 7).Place(col, row).bytes.I16(value);
        return *this;
    }
    SheetBuilder& Number(int col, int row, double value) {
        Header(14, 13).Place(col, row).bytes.Double(value);
        return *this;
    }
    SheetBuilder& Label(int col, int row, const std::string& text) {
        Header(15, static_cast<int>(text.size()) + 7).Place(col, row).bytes.Text("'").Text(text).U8(0);
        return *this;
    }
    SheetBuilder& Formula(int col, int row, double result) {
        Header(16, 15).Place(col, row).bytes.Double(result).U16(0);
        return *this;
    }
    SheetBuilder& Other(int type, std::size_t length) {
        Header(type, static_cast<int>(length)).bytes.Zeros(length);
        return *this;
    }
    SheetBuilder& Eof() { return Header(1, 0); }

    ByteBuilder bytes;
};

/** A sheet of two columns and two rows, to which cells are added. */
SheetBuilder TwoByTwo() {
    return SheetBuilder().Bof().Dimensions(0, 0, 1, 1);
}

const std::string Opened = "Format \"Lotus 1-2-3 File\"\nOpen 0x0\n";
const std::string OpenedTwoByTwo = Opened + "GetNumRows 2\nGetNumCols 2\nSetDataSize 2 2\n";
const std::string Supported =
    "Lotus 1-2-3 version 1.A (WKS)\r\nLotus 1-2-3 version 2.0-2.2 (WK1)\r\n"
    "Symphony file 1.0/1.01 (WRK) and\r\nSymphony file 1.1/1.2/2.0 (WR1).";

const std::string UnexpectedEnd =
    "Read 0x909\nError \"Found unexpected EOF (End-Of-File) while reading for data. The file seems to be "
    "corrupt and "
    "cannot be imported.\"\nClose\n";
const std::string BadRecord =
    "Read 0x90b\nError \"A corrupt data record was found. The file cannot be imported.\"\nClose\n";
const std::string NoDimensions =
    "GetNumRows -1\nGetNumCols -1\nError \"An error occurred while trying to establish size size of the "
    "dataset. The "
    "file seems to be corrupt and cannot be imported.\"\nClose\n";

class LotusFileTest : public testing::Test {
protected:
    std::string Trace(const SheetBuilder& sheet, const TraceOptions& how = {}) {
        return ReadTrace(Format, folder.Write("sheet.wk1", sheet.bytes.Bytes()), how);
    }
    std::string Cells(const SheetBuilder& sheet) { return CellsOf(Trace(sheet)); }
    int OpenStatus(const SheetBuilder& sheet) {
        LotusFile reader;
        return reader.Open(true, folder.Write("sheet.wk1", sheet.bytes.Bytes()).c_str(), nullptr);
    }

    TempFolder folder;
};

double FromBits(std::uint64_t bits) {
    return std::bit_cast<double>(bits);
}

}  // namespace

TEST_F(LotusFileTest, ReadsCellsInTheOrderOfTheFile) {
    EXPECT_EQ(
        Trace(TwoByTwo().Label(1, 0, "pH").Label(0, 0, "Sample").Integer(0, 1, -3).Number(1, 1, 7.25).Eof()),
        OpenedTwoByTwo +
            "Set 2 1 text \"pH\"\nSet 1 1 text \"Sample\"\nSet 1 2 int -3\nSet 2 2 double 7.25\nRead "
            "0x0\nClose\n");
}

TEST_F(LotusFileTest, ReadableVersionsOpen) {
    for (const unsigned version : {0x0404U, 0x0405U, 0x0406U}) {
        EXPECT_EQ(OpenStatus(SheetBuilder().Bof(version)), 0) << version;
    }
}

TEST_F(LotusFileTest, VersionIsAFactOfTheFile) {
    for (const auto& [version, text] :
         {std::pair(0x0404U, "Lotus 1-2-3 version 1.A (WKS)"), std::pair(0x0405U, "Symphony 1.0/1.01 (WRK)"),
          std::pair(0x0406U, "Lotus 1-2-3 version 2.0-2.2 (WK1), Symphony 1.1/1.2/2.0 (WR1)")}) {
        LotusFile reader;
        ASSERT_EQ(
            reader.Open(true, folder.Write("a.wk1", SheetBuilder().Bof(version).Eof().bytes.Bytes()).c_str(),
                        nullptr),
            0);
        EXPECT_EQ(reader.ListFacts(), (std::vector<FileContents::Fact>{{"version", text}}));
        EXPECT_TRUE(reader.ListParts().empty());
    }
}

TEST_F(LotusFileTest, LaterVersionsAreToldApart) {
    const std::pair<unsigned, int> versions[] = {{0x1000, 0x902}, {0x1002, 0x903}, {0x0600, 0x904},
                                                 {0x8007, 0x905}, {0x1003, 0x906}, {0x0404, 0x907},
                                                 {0x0406, 0x907}, {0x1005, 0x907}};
    for (const auto& [version, status] : versions) {
        SheetBuilder sheet = SheetBuilder().Header(0, 26);
        sheet.bytes.U16(version).Zeros(24);
        EXPECT_EQ(OpenStatus(sheet), status) << version;
    }
    for (const unsigned version : {0U, 0x0403U, 0x0407U, 0x1000U}) {
        EXPECT_EQ(OpenStatus(SheetBuilder().Bof(version)), 0x907) << version;
    }
}

TEST_F(LotusFileTest, OtherFirstRecordsAreNoLotusFile) {
    EXPECT_EQ(OpenStatus(SheetBuilder()), 0x901);
    EXPECT_EQ(OpenStatus(SheetBuilder().Header(0, 2)), 0x901);
    EXPECT_EQ(OpenStatus(SheetBuilder().Header(0, 4).Header(0x0406, 0)), 0x901);
    EXPECT_EQ(OpenStatus(SheetBuilder().Header(1, 2).Header(0x0406, 0)), 0x901);
}

TEST_F(LotusFileTest, MissingFileOrDirectoryIsStatus0x900) {
    const std::string failed =
        "Format \"Lotus 1-2-3 File\"\nOpen 0x900\nError \"Unable to open file.\"\nClose\n";
    EXPECT_EQ(ReadTrace(Format, folder.Path("none.wk1")), failed);
    EXPECT_EQ(ReadTrace(Format, folder.Path("")), failed);
}

TEST_F(LotusFileTest, WritingIsStatus3) {
    LotusFile file;
    EXPECT_EQ(file.Open(false, folder.Path("out.wk1").c_str(), nullptr), 3);
    EXPECT_EQ(file.Open(true, folder.Path("out.wk1").c_str(), nullptr), 3);
    EXPECT_EQ(file.GetNumRows(), -1);
}

TEST_F(LotusFileTest, StatusTextsAreExact) {
    struct Failing : LotusFile {
        explicit Failing(int code) { status = code; }
    };
    const std::pair<int, std::string> texts[] = {
        {0x900, "Unable to open file."},
        {0x901, "The file does not seem to be a valid Lotus 1-2-3 file."},
        {0x902,
         "The file is a Lotus version 3.0 (WK3) file.  However, KARTA does only support the following Lotus "
         "formats:\r\n\r\n" +
             Supported},
        {0x903,
         "The file is a Lotus version 4.0 (WK4) file. However, KARTA does only support the following Lotus "
         "formats:\r\n\r\n" +
             Supported},
        {0x904,
         "The file is a Lotus 1-2-3/J (WJ1) file. However, KARTA does only support the following Lotus "
         "formats:\r\n\r\n" +
             Supported},
        {0x905, "This file is a Lotus 1-2-3 (FRM) file. Such files cannot be imported by KARTA."},
        {0x906,
         "The file seems to be a Lotus Workbook (123) file.  However, KARTA does only support the following "
         "Lotus formats:\r\n\r\n" +
             Supported},
        {0x907,
         "unrecognized Lotus 1-2-3 version format. KARTA supports the following Lotus formats:\r\n\r\n" +
             Supported},
        {0x908,
         "An error occurred while trying to establish size size of the dataset. The file seems to be corrupt "
         "and cannot be imported."},
        {0x909,
         "Found unexpected EOF (End-Of-File) while reading for data. The file seems to be corrupt and cannot "
         "be imported."},
        {0x90A, "Read() failed. The file seems to be corrupt and cannot be imported."},
        {0x90B, "A corrupt data record was found. The file cannot be imported."},
        {0x90C, "No further information available."}};
    for (const auto& [code, text] : texts) {
        Failing reader(code);
        EXPECT_EQ(ErrorOf(reader), text);
    }
    Failing reader(0x902);
    char buffer[10];
    reader.GetErrorMessage(buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "The file ");
}

TEST_F(LotusFileTest, SizeIsMeasuredFromTheFirstPlaceAndCellsFromOne) {
    // Of a sheet from C3 to D4 two columns and rows are told, and what stands in them falls outside.
    const SheetBuilder sheet =
        SheetBuilder().Bof().Dimensions(2, 2, 3, 3).Integer(2, 2, 1).Integer(1, 1, 2).Integer(0, 0, 3).Eof();
    EXPECT_EQ(Trace(sheet), OpenedTwoByTwo + "Set 2 2 int 2\nSet 1 1 int 3\nRead 0x0\nClose\n");
}

TEST_F(LotusFileTest, FirstDimensionsCount) {
    EXPECT_NE(Trace(TwoByTwo().Dimensions(0, 0, 7, 7).Eof()).find("GetNumCols 2\n"), std::string::npos);
}

TEST_F(LotusFileTest, DimensionsAreFoundBehindOtherRecords) {
    EXPECT_NE(Trace(SheetBuilder().Bof().Other(7, 31).Other(0x200, 3).Eof().Dimensions(0, 0, 4, 1))
                  .find("GetNumCols 5\n"),
              std::string::npos);
}

TEST_F(LotusFileTest, DimensionsMayBeLongerThanTheirFields) {
    SheetBuilder sheet = SheetBuilder().Bof().Header(6, 12);
    sheet.bytes.I16(0).I16(0).I16(1).I16(1).U32(7);
    EXPECT_EQ(Trace(sheet.Eof()), OpenedTwoByTwo + "Read 0x0\nClose\n");
}

TEST_F(LotusFileTest, DimensionsWhoseFieldsAreThereCountWhenTheFileEndsBehindThem) {
    SheetBuilder sheet = SheetBuilder().Bof().Number(0, 0, 2.5).Header(6, 12);
    sheet.bytes.I16(0).I16(0).I16(1).I16(1).U16(7);
    EXPECT_EQ(Trace(sheet), OpenedTwoByTwo + "Set 1 1 double 2.5\n" + UnexpectedEnd);
}

TEST_F(LotusFileTest, MissingDimensionsAreStatus0x908) {
    EXPECT_EQ(Trace(SheetBuilder().Bof().Integer(0, 0, 1).Eof()), Opened + NoDimensions);
    EXPECT_EQ(Trace(SheetBuilder().Bof()), Opened + NoDimensions);
    // Cut inside the record, or behind a length that can't be.
    SheetBuilder cut = SheetBuilder().Bof().Header(6, 8);
    cut.bytes.I16(0).I16(0).I16(1);
    EXPECT_EQ(Trace(cut), Opened + NoDimensions);
    EXPECT_EQ(Trace(SheetBuilder().Bof().Header(7, -4).Dimensions(0, 0, 1, 1).Eof()), Opened + NoDimensions);
}

TEST_F(LotusFileTest, NothingBetweenFirstAndLastIsNoData) {
    EXPECT_EQ(Trace(SheetBuilder().Bof().Dimensions(1, 0, 0, 3).Eof()),
              Opened + "GetNumRows 4\nGetNumCols 0\nNoData\nClose\n");
    EXPECT_EQ(Trace(SheetBuilder().Bof().Dimensions(0, 5, 0, 1).Eof()),
              Opened + "GetNumRows -3\nGetNumCols 1\nNoData\nClose\n");
}

TEST_F(LotusFileTest, SizeOfMinusOneHasNoStatus) {
    LotusFile reader;
    const std::string path =
        folder.Write("minus.wk1", SheetBuilder().Bof().Dimensions(2, 0, 0, 0).Eof().bytes.Bytes());
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumCols(), -1);
    EXPECT_EQ(reader.GetNumRows(), 1);
    EXPECT_EQ(reader.GetStatus(), 0);
}

TEST_F(LotusFileTest, LargestSizeIsTakenAsItIs) {
    const std::string trace = Trace(SheetBuilder()
                                        .Bof()
                                        .Dimensions(-32768, -32768, 32767, 32767)
                                        .Integer(32767, 32767, 1)
                                        .Integer(32766, 32766, 2)
                                        .Eof());
    EXPECT_EQ(
        trace,
        Opened +
            "GetNumRows 65536\nGetNumCols 65536\nSetDataSize 65536 65536\nSet 32768 32768 int 1\nSet 32767 "
            "32767 int 2\nRead 0x0\nClose\n");
}

TEST_F(LotusFileTest, CellsOutsideAreDroppedButFormulasAreEmptyTexts) {
    const SheetBuilder sheet = TwoByTwo()
                                   .Integer(2, 0, 1)
                                   .Number(0, 2, 1)
                                   .Label(2, 2, "x")
                                   .Formula(2, 0, std::numeric_limits<double>::infinity())
                                   .Formula(0, 8, 1.0)
                                   .Eof();
    EXPECT_EQ(Cells(sheet), "Set 3 1 text \"\"\nSet 1 9 text \"\"\n");
}

TEST_F(LotusFileTest, PlacesBelowOneAreNeverSet) {
    const SheetBuilder sheet = TwoByTwo().Integer(-1, 0, 1).Number(0, -1, 1).Label(-32768, 0, "x").Eof();
    EXPECT_EQ(Trace(sheet), OpenedTwoByTwo + "Read 0x0\nClose\n");
}

TEST_F(LotusFileTest, FormulaResultIsAnEmptyTextAndANumberIsNot) {
    EXPECT_EQ(Cells(TwoByTwo().Formula(0, 0, 12.5).Number(1, 0, 12.5).Eof()),
              "Set 1 1 text \"\"\nSet 2 1 double 12.5\n");
}

TEST_F(LotusFileTest, FourMarkersAreTheOnlyFormulaResultsThatAreNumbers) {
    for (const std::uint64_t bits : std::vector<std::uint64_t>{0xFFF8000000000000U, 0x7FF0000000000000U,
                                                               0xFFF0000000000000U, 0xFAFFFFFFFFFFFFFFU}) {
        EXPECT_TRUE(Cells(TwoByTwo().Formula(0, 0, FromBits(bits)).Eof()).starts_with("Set 1 1 double "))
            << bits;
    }
    for (const std::uint64_t bits :
         std::vector<std::uint64_t>{0x7FF8000000000000U, 0xFFF8000000000001U, 0xFAFFFFFFFFFFFFFEU,
                                    0x3FF0000000000000U, 0x7FEFFFFFFFFFFFFFU}) {
        EXPECT_EQ(Cells(TwoByTwo().Formula(0, 0, FromBits(bits)).Eof()), "Set 1 1 text \"\"\n") << bits;
    }
}

TEST_F(LotusFileTest, NumbersThatAreNotFiniteAreSetAsTheyAre) {
    EXPECT_EQ(Cells(TwoByTwo()
                        .Number(0, 0, std::nan(""))
                        .Number(1, 0, -std::numeric_limits<double>::infinity())
                        .Eof()),
              "Set 1 1 double nan\nSet 2 1 double -inf\n");
}

TEST_F(LotusFileTest, LabelEndsAtItsNulOrWithItsRecord) {
    SheetBuilder sheet = TwoByTwo().Header(15, 12).Place(0, 0);
    sheet.bytes.Text("'ab").U8(0).Text("cde");
    sheet.Header(15, 9).Place(1, 0).bytes.Text("^\x82t\t");
    sheet.Header(15, 6).Place(0, 1).bytes.Text("'");
    EXPECT_EQ(Cells(sheet.Eof()), "Set 1 1 text \"ab\"\nSet 2 1 text \"\\x82t\\t\"\nSet 1 2 text \"\"\n");
}

TEST_F(LotusFileTest, LongLabelsAreKeptWhole) {
    const std::string text(30'000, 'x');
    EXPECT_EQ(Cells(TwoByTwo().Label(0, 0, text).Eof()), "Set 1 1 text \"" + text + "\"\n");
}

TEST_F(LotusFileTest, OtherRecordsAreSkippedUpToType0x100) {
    EXPECT_EQ(Trace(TwoByTwo().Other(12, 5).Other(0x100, 300).Other(-5, 3).Integer(0, 0, 1).Eof()),
              OpenedTwoByTwo + "Set 1 1 int 1\nRead 0x0\nClose\n");
}

TEST_F(LotusFileTest, TypeAbove0x100StopsTheReadBeforeItsBody) {
    EXPECT_EQ(Trace(TwoByTwo().Integer(0, 0, 1).Header(0x101, 5000)),
              OpenedTwoByTwo + "Set 1 1 int 1\n" + BadRecord);
}

TEST_F(LotusFileTest, FileWithoutItsEndFailsOnceTheCellsAreSet) {
    EXPECT_EQ(Trace(TwoByTwo().Integer(0, 0, 1)), OpenedTwoByTwo + "Set 1 1 int 1\n" + UnexpectedEnd);
}

TEST_F(LotusFileTest, CellThatTheFileEndsInIsNotSet) {
    for (const std::size_t missing : {1U, 5U, 12U, 13U, 15U}) {
        SheetBuilder sheet = TwoByTwo().Number(0, 0, 1);
        const std::string bytes = sheet.bytes.Bytes();
        SheetBuilder cut;
        cut.bytes.Text(bytes.substr(0, bytes.size() - missing));
        EXPECT_EQ(Trace(cut), OpenedTwoByTwo + UnexpectedEnd) << missing;
    }
}

TEST_F(LotusFileTest, NegativeLengthIsABadRecord) {
    for (const int type : {0, 7, 13, 14, 15, 16}) {
        EXPECT_EQ(Trace(TwoByTwo().Integer(0, 0, 1).Header(type, -1).Eof()),
                  OpenedTwoByTwo + "Set 1 1 int 1\n" + BadRecord)
            << type;
    }
}

TEST_F(LotusFileTest, CellShorterThanItsFieldsIsABadRecord) {
    for (const auto& [type, length] :
         {std::pair(13, 6), std::pair(14, 12), std::pair(15, 5), std::pair(16, 12)}) {
        EXPECT_EQ(Trace(TwoByTwo().Other(type, static_cast<std::size_t>(length)).Eof()),
                  OpenedTwoByTwo + BadRecord)
            << type;
    }
}

TEST_F(LotusFileTest, EndOfFileRecordEndsTheReadWhateverFollows) {
    SheetBuilder sheet = TwoByTwo().Integer(0, 0, 1).Eof();
    sheet.bytes.Text("rubbish");
    EXPECT_EQ(Trace(sheet), OpenedTwoByTwo + "Set 1 1 int 1\nRead 0x0\nClose\n");
}

TEST_F(LotusFileTest, NeitherRowsNorSizesAreAskedOrTold) {
    const std::string trace = Trace(TwoByTwo().Integer(0, 0, 1).Eof(), {nullptr, "2", 0, true});
    EXPECT_EQ(trace, OpenedTwoByTwo + "Set 1 1 int 1\nRead 0x0\nClose\n");
}

TEST_F(LotusFileTest, ReadWithoutAQuestionForTheSizeSetsNoCell) {
    LotusFile reader;
    ASSERT_EQ(
        reader.Open(true, folder.Write("a.wk1", TwoByTwo().Integer(0, 0, 1).Eof().bytes.Bytes()).c_str(),
                    nullptr),
        0);
    TableData table;
    EXPECT_EQ(reader.Read(&table), 0);
    EXPECT_EQ(table.GetNumberOfRows(), 0);
    EXPECT_EQ(reader.EstablishSize(), 1);
    EXPECT_EQ(reader.GetNumRows(), 2);
    EXPECT_EQ(reader.Read(&table), 0);
    EXPECT_EQ(table.GetInt64(1, 1), 1);
}

TEST_F(LotusFileTest, DamagedFileEndsInAStatus) {
    const std::string good = TwoByTwo()
                                 .Label(0, 0, "Sample")
                                 .Integer(1, 0, 5)
                                 .Number(0, 1, 2.5)
                                 .Formula(1, 1, 1.0)
                                 .Eof()
                                 .bytes.Bytes();
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        SheetBuilder damaged;
        std::string bytes = good;
        for (std::size_t i = 0; i <= good.size() / 100; ++i) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        damaged.bytes.Text(bytes);
        EXPECT_TRUE(Trace(damaged).ends_with("Close\n"));
    }
    for (std::size_t length = 0; length < good.size(); ++length) {
        SheetBuilder cut;
        cut.bytes.Text(good.substr(0, length));
        EXPECT_NE(Trace(cut).find("Error"), std::string::npos) << length;
    }
}

TEST_F(LotusFileTest, RealFilesHoldWhatAnIndependentReaderFound) {
    SKIP_WITHOUT_SHARED_DATA();
    // A formula's result is an empty text by the reader's rule: so many of the cells that are known are
    // formulas.
    const std::map<std::string, int> formulas = {{"crlf-lotus9.wk1", 1},   {"crlf-quattro9.wks", 0},
                                                 {"ksbase.wk1", 33},       {"peyneval.wk1", 24},
                                                 {"write-quattro.wk1", 2}, {"write-quattro.wks", 2}};
    int files = 0;
    for (const std::string& path : SharedFiles("data/spreadsheet/lotus")) {
        if (path.ends_with(".json") || path.find("/bad/") != std::string::npos) {
            continue;
        }
        SCOPED_TRACE(path);
        LotusFile reader;
        ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
        const SpreadsheetTruth::Sheet sheet = ReadSpreadsheetTruth(path).sheets.at(0);
        EXPECT_GE(reader.GetNumRows(), sheet.rows);
        EXPECT_GE(reader.GetNumCols(), sheet.cols);
        TableData table;
        ASSERT_EQ(reader.Read(&table), 0);
        int empty = 0;
        for (const SpreadsheetTruth::Cell& cell : sheet.cells) {
            const std::string found = table.GetString(cell.col, cell.row);
            if (table.GetKind(cell.col, cell.row) == TableData::Text && found.empty()) {
                ++empty;
                continue;
            }
            if (cell.type == "number" || cell.type == "date") {
                EXPECT_DOUBLE_EQ(table.GetFloatValue(cell.col, cell.row), std::atof(cell.value.c_str()))
                    << "column " << cell.col << ", row " << cell.row;
            } else if (cell.type == "text") {
                EXPECT_EQ(found, cell.value) << "column " << cell.col << ", row " << cell.row;
            }
        }
        EXPECT_EQ(empty, formulas.at(NvGetFileName(path)));
        ++files;
    }
    EXPECT_EQ(files, 6);
}

TEST_F(LotusFileTest, RealFilesOfLaterVersionsAreRefused) {
    SKIP_WITHOUT_SHARED_DATA();
    // Workbooks of release 9 have a version of their own, of which nothing can be said.
    const std::pair<std::string, int> files[] = {{"city-archive-98.123", 0x907},
                                                 {"lotus9.123", 0x907},
                                                 {"lotus9.wk3", 0x902},
                                                 {"lotus9.wk4", 0x903},
                                                 {"quattro-win.wb1", 0x907}};
    for (const auto& [name, status] : files) {
        LotusFile reader;
        EXPECT_EQ(
            reader.Open(true, (SharedFolder() + "/data/spreadsheet/lotus/bad/" + name).c_str(), nullptr),
            status)
            << name;
    }
}

TEST_F(LotusFileTest, MissingFileAfterAnOpenOneLeavesNothingToRead) {
    const std::string path = folder.Write("good.wk1", TwoByTwo().Integer(0, 0, 1).Eof().bytes.Bytes());
    for (const bool isClosed : {true, false}) {
        LotusFile reader;
        ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
        EXPECT_EQ(reader.GetNumRows(), 2);
        if (isClosed) {
            reader.Close();
        }
        EXPECT_EQ(reader.Open(true, folder.Path("none.wk1").c_str(), nullptr), 0x900);
        reader.Close();
        CountingSink sink;
        EXPECT_EQ(reader.Read(&sink), 0x909);
        EXPECT_EQ(sink.cells, 0);
        reader.Close();
        EXPECT_EQ(reader.GetNumRows(), -1);
        EXPECT_EQ(reader.GetStatus(), 0x908);
        reader.Close();
        EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
        EXPECT_EQ(reader.GetNumCols(), 2);
    }
}

namespace {

using CompleteLotus = CompleteTable<LotusFile>;

}  // namespace

TEST_F(LotusFileTest, CompleteReadingHasWhatFormulasGave) {
    SheetBuilder sheet = SheetBuilder().Bof().Dimensions(1, 1, 1, 1).Formula(1, 1, 12.5).Formula(2, 1, 0.0);
    sheet.Header(51, 11).Place(2, 1).bytes.Text("total").U8(0);
    sheet.Formula(3, 1, std::numeric_limits<double>::infinity());
    sheet.Formula(4, 1, -std::numeric_limits<double>::infinity());
    sheet.Header(300, 2).bytes.U16(7);
    sheet.Formula(0, 3, 3.0).Eof();
    CompleteLotus read(folder.Write("a.wk1", sheet.bytes.Bytes()));
    ASSERT_EQ(read.status, 0);
    EXPECT_EQ(read.table.GetNumberOfColumns(), 5);
    EXPECT_EQ(read.table.GetNumberOfRows(), 4);
    EXPECT_EQ(read.table.GetFloatValue(2, 2), 12.5);
    EXPECT_EQ(read.table.GetString(3, 2), "total");
    EXPECT_EQ(read.table.GetKind(4, 2), TableData::Error);
    EXPECT_EQ(read.table.GetString(4, 2), "ERR");
    EXPECT_EQ(read.table.GetString(5, 2), "NA");
    EXPECT_EQ(read.table.GetFloatValue(1, 4), 3.0);
    EXPECT_NE(read.notes.find("2 cells hold errors"), std::string::npos) << read.notes;
}

TEST_F(LotusFileTest, CompleteReadingMeasuresTheCells) {
    LotusFile reader;
    auto context = std::make_shared<karta::ReadContext>();
    context->reading = karta::Reading::Complete;
    reader.SetContext(context);
    const std::string bytes =
        SheetBuilder().Bof().Dimensions(0, 0, 255, 8191).Integer(2, 4, 1).Eof().bytes.Bytes();
    ASSERT_EQ(reader.Open(true, folder.Write("a.wk1", bytes).c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumCols(), 3);
    EXPECT_EQ(reader.GetNumRows(), 5);
}

TEST_F(LotusFileTest, CompleteReadingConvertsLabelsAndDates) {
    SheetBuilder sheet = TwoByTwo().Label(0, 0, "Mll\x94");
    sheet.Header(14, 13).bytes.U8(0xF9).I16(1).I16(0).Double(32874.0);
    sheet.Header(14, 13).bytes.U8(0x7B).I16(1).I16(1).Double(0.5);
    const std::string path = folder.Write("a.wk1", sheet.Eof().bytes.Bytes());
    CompleteLotus read(path);
    EXPECT_EQ(read.table.GetString(1, 1), "Mllö");
    EXPECT_EQ(read.table.GetKind(2, 1), TableData::Date);
    EXPECT_EQ(read.table.GetString(2, 1), "1990-01-01");
    EXPECT_EQ(read.table.GetString(2, 2), "12:00:00");
    CompleteLotus asked(path, {{"Encoding", "windows-1252"}});
    EXPECT_EQ(asked.table.GetString(1, 1), "Mll”");
}

TEST_F(LotusFileTest, CompleteReadingTakesWhatACutFileHas) {
    const std::string good = TwoByTwo().Integer(0, 0, 1).Integer(1, 1, 2).Eof().bytes.Bytes();
    for (std::size_t length = 0; length < good.size(); ++length) {
        CompleteLotus read(folder.Write("a.wk1", good.substr(0, length)));
        EXPECT_EQ(read.status, length < 6 ? 0x901 : 0) << length;
        EXPECT_EQ(read.notes.empty(), length < 6) << length;
    }
    SheetBuilder shortCell = TwoByTwo();
    shortCell.Header(13, 6).Place(0, 0).bytes.U8(1);
    CompleteLotus read(folder.Write("a.wk1", shortCell.Integer(1, 1, 2).Eof().bytes.Bytes()));
    EXPECT_EQ(read.table.GetFloatValue(2, 2), 2.0);
    EXPECT_NE(read.notes.find("1 cell shorter than its fields"), std::string::npos) << read.notes;
}

TEST_F(LotusFileTest, ClassicReadingSaysWhatItLeavesOut) {
    LotusFile reader;
    auto context = std::make_shared<karta::ReadContext>();
    reader.SetContext(context);
    const std::string bytes = TwoByTwo().Formula(0, 0, 1.0).Integer(5, 5, 1).Eof().bytes.Bytes();
    ASSERT_EQ(reader.Open(true, folder.Write("a.wk1", bytes).c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumRows(), 2);
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    ASSERT_EQ(context->notes.GetAll().size(), 2U);
    EXPECT_EQ(context->notes.GetAll()[0].text,
              "the classic reading leaves the results of 1 formula empty; the complete reading has them");
    EXPECT_EQ(context->notes.GetAll()[1].count, 1U);
}

TEST_F(LotusFileTest, CompleteReadingOfRealFilesIsWhatAnIndependentReaderFound) {
    SKIP_WITHOUT_SHARED_DATA();
    TruthComparison all;
    for (const std::string& path : SharedFiles("data/spreadsheet/lotus")) {
        if (path.ends_with(".json") || path.find("/bad/") != std::string::npos) {
            continue;
        }
        CompleteLotus read(path);
        ASSERT_EQ(read.status, 0) << path;
        const SpreadsheetTruth truth = ReadSpreadsheetTruth(path);
        const TruthComparison one = CompareWithTruth(read.table, truth, truth.sheets.at(0));
        EXPECT_EQ(one.equal, one.known) << path << " " << one.firstDifference;
        EXPECT_EQ(read.table.GetNumberOfRows(), truth.sheets[0].rows) << path;
        EXPECT_EQ(read.table.GetNumberOfColumns(), truth.sheets[0].cols) << path;
        all += one;
    }
    EXPECT_GT(all.known, 0);
}
