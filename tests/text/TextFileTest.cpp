#include "text/TextFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "frame/OptionsText.h"
#include "frame/SpreadsheetOpenOptions.h"
#include "table/TableData.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpreadsheetTruth.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Format = "Text File";

class TextFileTest : public testing::Test {
protected:
    std::string Trace(std::string_view bytes, const TraceOptions& how = {}) {
        return ReadTrace(Format, folder.Write("table.txt", bytes), how);
    }
    std::string Cells(std::string_view bytes, const TraceOptions& how = {}) {
        return CellsOf(Trace(bytes, how));
    }

    TempFolder folder;
};

// Two tables of one text must not differ: the second is what was written from the first.
void ExpectSameCells(TableData& left, TableData& right) {
    ASSERT_EQ(left.GetNumberOfColumns(), right.GetNumberOfColumns());
    ASSERT_EQ(left.GetNumberOfRows(), right.GetNumberOfRows());
    for (int row = 1; row <= left.GetNumberOfRows(); ++row) {
        for (int col = 1; col <= left.GetNumberOfColumns(); ++col) {
            EXPECT_EQ(left.GetString(col, row), right.GetString(col, row))
                << "column " << col << ", row " << row;
        }
    }
}

void ReadInto(TableData& table, const std::string& path) {
    TextFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    table.SetDataSize(reader.GetNumCols(), reader.GetNumRows());
    ASSERT_EQ(reader.Read(&table), 0);
}

}  // namespace

TEST_F(TextFileTest, ReadsATableAsText) {
    EXPECT_EQ(Trace("Name\tValue\nwater\t1.5\n"),
              "Format \"Text File\"\n"
              "Open 0x0\n"
              "GetNumRows 2\n"
              "GetNumCols 2\n"
              "SetDataSize 2 2\n"
              "Set 1 1 text \"Name\"\n"
              "Set 2 1 text \"Value\"\n"
              "Set 1 2 text \"water\"\n"
              "Set 2 2 text \"1.5\"\n"
              "Read 0x0\n"
              "Close\n");
}

TEST_F(TextFileTest, TabAloneIsOneEmptyCell) {
    EXPECT_EQ(Trace("\t\n"),
              "Format \"Text File\"\nOpen 0x0\nGetNumRows 1\nGetNumCols 1\nSetDataSize 1 1\n"
              "Set 1 1 text \"\"\nRead 0x0\nClose\n");
}

TEST_F(TextFileTest, EmptyFileHasNoColumnCount) {
    EXPECT_EQ(Trace(""), "Format \"Text File\"\nOpen 0x0\nGetNumRows 0\nGetNumCols -1\nClose\n");
}

TEST_F(TextFileTest, CarriageReturnBeforeLineFeedIsCut) {
    TestOptions comma{{"Delimiter", ","}};
    EXPECT_EQ(Cells("a,b\r\n", {comma.Get()}), "Set 1 1 text \"a\"\nSet 2 1 text \"b\"\n");
}

TEST_F(TextFileTest, CarriageReturnInsideALineStays) {
    EXPECT_EQ(Cells("a\rb\n"), "Set 1 1 text \"a\\rb\"\n");
}

TEST_F(TextFileTest, DoubledLongDelimiterHoldsAnEmptyCell) {
    TestOptions options{{"Delimiter", "::"}};
    EXPECT_EQ(Cells("a::::b\n", {options.Get()}),
              "Set 1 1 text \"a\"\nSet 2 1 text \"\"\nSet 3 1 text \"b\"\n");
}

TEST_F(TextFileTest, DoubledLongDelimiterMergedPartsTwoCells) {
    TestOptions options{{"Delimiter", "::"}, {"IgnoreConsecutiveDelimiters", "true"}};
    EXPECT_EQ(Cells("a::::b\n", {options.Get()}), "Set 1 1 text \"a\"\nSet 2 1 text \"b\"\n");
}

TEST_F(TextFileTest, LeadingDelimiterGivesAnEmptyCellAlsoWhenMerged) {
    TestOptions options{{"Delimiter", ","}, {"IgnoreConsecutiveDelimiters", "true"}};
    EXPECT_EQ(Cells(",,a\n", {options.Get()}), "Set 1 1 text \"\"\nSet 2 1 text \"a\"\n");
}

TEST_F(TextFileTest, TrailingDelimiterBeginsNoCell) {
    EXPECT_EQ(Cells("a\tb\t\n"), "Set 1 1 text \"a\"\nSet 2 1 text \"b\"\n");
}

TEST_F(TextFileTest, HalfADelimiterAtTheLineEndIsText) {
    TestOptions options{{"Delimiter", "::"}, {"IgnoreConsecutiveDelimiters", "true"}};
    EXPECT_EQ(Cells("a:::\n", {options.Get()}), "Set 1 1 text \"a\"\nSet 2 1 text \":\"\n");
}

TEST_F(TextFileTest, EmptyLineIsARowWithoutCells) {
    EXPECT_EQ(Trace("a\n\nb\n"),
              "Format \"Text File\"\nOpen 0x0\nGetNumRows 3\nGetNumCols 1\nSetDataSize 1 3\n"
              "Set 1 1 text \"a\"\nSet 1 3 text \"b\"\nRead 0x0\nClose\n");
}

TEST_F(TextFileTest, OnlyOneEmptyLineAtTheEndIsNoRow) {
    EXPECT_NE(Trace("a\n\n\n").find("GetNumRows 3\n"), std::string::npos);
    EXPECT_NE(Trace("a\n").find("GetNumRows 1\n"), std::string::npos);
    EXPECT_NE(Trace("a").find("GetNumRows 1\n"), std::string::npos);
}

TEST_F(TextFileTest, BytesStayAsTheyStand) {
    EXPECT_EQ(Cells("\xef\xbb\xbf\xc3\xa5\t\"x\"\x1a\n"),
              "Set 1 1 text \"\\xef\\xbb\\xbf\\xc3\\xa5\"\nSet 2 1 text \"\\\"x\\\"\\x1a\"\n");
}

TEST_F(TextFileTest, NulAtTheEndOfTheTestedBytesIsBinary) {
    std::string bytes(40000, 'x');
    bytes[30767] = '\0';
    EXPECT_EQ(Trace(bytes),
              "Format \"Text File\"\nOpen 0x202\nError \"This file appears to be a binary file and cannot be "
              "imported. Only ordinary text (ASCII) files can be imported.\"\nClose\n");
}

TEST_F(TextFileTest, NulBehindTheTestedBytesIsText) {
    std::string bytes(40000, 'x');
    bytes[30768] = '\0';
    EXPECT_NE(Trace(bytes).find("Open 0x0\n"), std::string::npos);
    // A line is a text of C: it ends at its NUL.
    EXPECT_EQ(Cells(bytes), "Set 1 1 text \"" + std::string(30768, 'x') + "\"\n");
}

TEST_F(TextFileTest, MissingFileFailsTheBinaryTest) {
    EXPECT_NE(ReadTrace(Format, folder.Path("none.txt")).find("Open 0x202\n"), std::string::npos);
}

TEST_F(TextFileTest, DirectoryFailsTheBinaryTest) {
    EXPECT_NE(ReadTrace(Format, folder.Path("")).find("Open 0x202\n"), std::string::npos);
}

TEST_F(TextFileTest, StatusTextsAreExact) {
    // The code that reading never raises is set by a host's class.
    struct Failing : TextFile {
        explicit Failing(int code) { status = code; }
    };
    Failing stream(TextFile::StatusStreamFailed);
    Failing more(TextFile::StatusMoreData);
    Failing binary(TextFile::StatusBinaryFile);
    Failing other(0x7777);
    EXPECT_EQ(ErrorOf(stream), "Failed to open stream for reading.");
    EXPECT_EQ(ErrorOf(more), "Expected end of file but found more data.");
    EXPECT_EQ(
        ErrorOf(binary),
        "This file appears to be a binary file and cannot be imported. Only ordinary text (ASCII) files can "
        "be imported.");
    EXPECT_EQ(ErrorOf(other), "No further information available.");
}

TEST_F(TextFileTest, GarbageInTheOptionsIsStatus0x200) {
    TestOptions garbage(std::string("\x04\x00\x00\x00<a>x", 8));
    EXPECT_NE(
        Trace("a\tb\n", {garbage.Get()}).find("Open 0x200\nError \"Failed to open stream for reading.\"\n"),
        std::string::npos);
}

TEST_F(TextFileTest, OptionsCutShortAreStatus0x200) {
    TestOptions cut(std::string("\xff\x00\x00\x00<XMLSection>", 16));
    EXPECT_NE(Trace("a\tb\n", {cut.Get()}).find("Open 0x200\n"), std::string::npos);
}

TEST_F(TextFileTest, OptionsOfAnotherFormatLeaveTheDefaults) {
    TestOptions other{{"Sheets", "1,2"}};
    EXPECT_EQ(Cells("a\tb\n", {other.Get()}), "Set 1 1 text \"a\"\nSet 2 1 text \"b\"\n");
}

TEST_F(TextFileTest, EmptyRecordIsFilledWithTheChoicesMade) {
    const std::string path = folder.Write("table.txt", "a\tb\n");
    NvImportOpenOptions record{0, nullptr};
    TextFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), &record), 0);
    ASSERT_TRUE(HasOptions(&record));
    EXPECT_EQ(DecodeOptionsText(record),
              "<XMLSection><Settings><Delimiter>%09</Delimiter><IgnoreConsecutiveDelimiters>false"
              "</IgnoreConsecutiveDelimiters></Settings></XMLSection>");
}

TEST_F(TextFileTest, PreparedRecordOfTheOtherLayoutIsRefused) {
    NvImportOpenOptions* prepared = TextFile::GetImportOptions(",", true);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(prepared->data), prepared->size),
              std::string("\1\0\0\0,\1", 6));
    EXPECT_NE(Trace("a,b\n", {prepared}).find("Open 0x200\n"), std::string::npos);
    SpreadsheetOpenOptions::FreeOpenOptions(prepared);
    delete prepared;
}

TEST_F(TextFileTest, EmptyDelimiterKeepsTheOldOne) {
    TestOptions options{{"Delimiter", ""}};
    EXPECT_EQ(Cells("a\tb\n", {options.Get()}), "Set 1 1 text \"a\"\nSet 2 1 text \"b\"\n");
}

TEST_F(TextFileTest, HostThatIsCancelledStopsWithStatus4) {
    struct Cancelled : TextFile {
        TextFileOptions GetTextFileOptions() override {
            status = StatusAbortedByUser;
            return {};
        }
    };
    const std::string path = folder.Write("table.txt", "a\n");
    Cancelled reader;
    EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 4);
    EXPECT_EQ(ErrorOf(reader), "AbortedByUser");
}

TEST_F(TextFileTest, WantedRowsAloneAreSet) {
    EXPECT_EQ(Trace("a\nb\nc\nd\n", {nullptr, "2,4", 0, true}),
              "Format \"Text File\"\nOpen 0x0\nGetNumRows 4\nGetNumCols 1\nSetDataSize 1 4\n"
              "NextRowToRead 0 2\nSet 1 2 text \"b\"\nNextRowToRead 2 4\nSet 1 4 text \"d\"\n"
              "NextRowToRead 4 -1\nRead 0x0\nClose\n");
}

TEST_F(TextFileTest, WantedRowBehindTheEndEndsTheRead) {
    EXPECT_EQ(Cells("a\nb\n", {nullptr, "9"}), "");
    EXPECT_EQ(Cells("a\nb", {nullptr, "9"}), "");
    EXPECT_EQ(Cells("a\nb", {nullptr, "2"}), "Set 1 2 text \"b\"\n");
}

TEST_F(TextFileTest, WindowReadsItsCellsOnly) {
    const std::string path = folder.Write("table.txt", "1\t2\t3\n4\t5\t6\n7\t8\t9\n");
    TextFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    TableData table;
    ASSERT_EQ(reader.Read(&table, 2, 2, 2, 2), 0);
    EXPECT_STREQ(table.GetText(2, 2), "5");
    EXPECT_EQ(table.GetKind(1, 2), TableData::Missing);
    EXPECT_EQ(table.GetKind(2, 1), TableData::Missing);
    EXPECT_EQ(table.GetKind(3, 2), TableData::Missing);
    EXPECT_EQ(table.GetNumberOfRows(), 2);
}

TEST_F(TextFileTest, ReadMeasuresByItself) {
    const std::string path = folder.Write("table.txt", "a\tb\n");
    TextFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_STREQ(table.GetText(2, 1), "b");
}

TEST_F(TextFileTest, ReadTwiceGivesTheSame) {
    const std::string path = folder.Write("table.txt", "a\tb\nc\td\n");
    TextFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    TableData first;
    TableData second;
    ASSERT_EQ(reader.Read(&first), 0);
    ASSERT_EQ(reader.Read(&second), 0);
    ExpectSameCells(first, second);
}

TEST_F(TextFileTest, ReadingWhatIsOpenForWritingIsStatus3) {
    TextFile writer;
    ASSERT_EQ(writer.Open(false, folder.Path("out.txt").c_str(), nullptr), 0);
    TableData table;
    EXPECT_EQ(writer.Read(&table), 3);
    EXPECT_EQ(writer.GetStatus(), 3);
    EXPECT_EQ(ErrorOf(writer), "Tried to write to the file when it was opened for reading or vice versa.");
}

TEST_F(TextFileTest, WritingWhatIsOpenForReadingIsStatus3) {
    const std::string path = folder.Write("table.txt", "a\n");
    TextFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    TableData table;
    EXPECT_EQ(reader.Write(&table), 3);
}

TEST_F(TextFileTest, MeasuringWhatIsNotOpenForReadingIsNotStored) {
    TextFile reader;
    EXPECT_EQ(reader.EstablishSize(), 3);
    EXPECT_EQ(reader.GetStatus(), 0);
    EXPECT_EQ(reader.GetNumCols(), -1);
}

TEST_F(TextFileTest, FailureSticksUntilClose) {
    TextFile reader;
    ASSERT_EQ(reader.Open(true, folder.Path("none.txt").c_str(), nullptr), 0x202);
    const std::string path = folder.Write("table.txt", "a\n");
    EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 0x202);
    EXPECT_EQ(reader.GetNumRows(), -1);
    reader.Close();
    EXPECT_EQ(reader.GetStatus(), 0);
    EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
}

TEST_F(TextFileTest, WritesEveryKindOfCell) {
    TableData table;
    table.SetDataSize(3, 2);
    table.Set(1, 1, "name");
    table.Set(2, 1, 0.1F);
    table.Set(3, 1, 1e300);
    table.Set(1, 2, -7);
    table.Set(2, 2, std::int64_t{9007199254740993});
    TextFile writer;
    const std::string path = folder.Path("out.txt");
    ASSERT_EQ(writer.Open(false, path.c_str(), nullptr), 0);
    ASSERT_EQ(writer.Write(&table), 0);
    EXPECT_EQ(ReadWholeFile(path), "name\t0.1\t1e+300\n-7\t9007199254740993\t\n");
}

TEST_F(TextFileTest, WritesTheFirstCharacterOfALongDelimiter) {
    TableData table;
    table.Set(1, 1, "a");
    table.Set(2, 1, "b");
    TextFile writer;
    writer.SetDelimiter(";;");
    const std::string path = folder.Path("out.txt");
    ASSERT_EQ(writer.Open(false, path.c_str(), nullptr), 0);
    ASSERT_EQ(writer.Write(&table), 0);
    EXPECT_EQ(ReadWholeFile(path), "a;b\n");
}

TEST_F(TextFileTest, WhatWasWrittenReadsBack) {
    TableData table;
    table.Set(1, 1, "id");
    table.Set(2, 1, "x y");
    table.Set(1, 2, 3.25F);
    table.Set(2, 2, -1e-7);
    table.Set(2, 3, 12);
    const std::string path = folder.Path("out.txt");
    TextFile writer;
    ASSERT_EQ(writer.Open(false, path.c_str(), nullptr), 0);
    ASSERT_EQ(writer.Write(&table), 0);
    TableData back;
    ReadInto(back, path);
    ExpectSameCells(table, back);
}

TEST_F(TextFileTest, FolderThatIsNotThereIsStatus0x200) {
    TextFile writer;
    EXPECT_EQ(writer.Open(false, folder.Path("none/out.txt").c_str(), nullptr), 0x200);
    EXPECT_EQ(ErrorOf(writer), "Failed to open stream for reading.");
}

TEST_F(TextFileTest, FullDiskIsStatus0x200) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "there is no /dev/full here";
    }
    TableData table;
    table.Set(1, 1, "a");
    TextFile writer;
    ASSERT_EQ(writer.Open(false, "/dev/full", nullptr), 0);
    EXPECT_EQ(writer.Write(&table), 0x200);
}

TEST_F(TextFileTest, WriteThatIsGivenUpLeavesTheOlderFile) {
    const std::string path = folder.Write("out.txt", "older");
    {
        TextFile writer;
        ASSERT_EQ(writer.Open(false, path.c_str(), nullptr), 0);
    }
    EXPECT_EQ(ReadWholeFile(path), "older");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path("")), {}), 1);
}

TEST_F(TextFileTest, RealFilesHoldWhatAnIndependentReaderFound) {
    SKIP_WITHOUT_SHARED_DATA();
    int files = 0;
    for (const std::string& path : SharedFiles("data/spreadsheet/txt")) {
        if (path.ends_with(".json")) {
            continue;
        }
        const SpreadsheetTruth truth = ReadSpreadsheetTruth(path);
        if (truth.encoding == "utf-16") {
            // Every second byte is NUL: this is no text to us.
            TextFile reader;
            EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 0x202) << path;
            continue;
        }
        SCOPED_TRACE(path);
        TestOptions options{{"Delimiter", truth.delimiter}};
        TextFile reader;
        ASSERT_EQ(reader.Open(true, path.c_str(), options.Get()), 0);
        TableData table;
        ASSERT_EQ(reader.Read(&table), 0);
        for (const SpreadsheetTruth::Cell& cell : truth.sheets.at(0).cells) {
            // The truth has quotes taken off, and text in UTF-8; we keep bytes.
            const bool plain =
                cell.value.find_first_of("\"\n") == std::string::npos &&
                std::all_of(cell.value.begin(), cell.value.end(), [](char c) { return c > 0; });
            const std::string found = table.GetString(cell.col, cell.row);
            if (plain && !found.starts_with('"')) {
                EXPECT_EQ(found, cell.value) << "column " << cell.col << ", row " << cell.row;
            }
        }
        ++files;
    }
    EXPECT_GT(files, 0);
}
