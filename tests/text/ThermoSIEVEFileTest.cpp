#include "text/ThermoSIEVEFile.h"

#include <gtest/gtest.h>

#include <clocale>
#include <random>
#include <vector>

#include "frame/OptionsText.h"
#include "table/TableData.h"
#include "tests/support/CountingSink.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"
#include "text/ThermoMirroredReadSpreadSheetData.h"

namespace {

constexpr const char* Format = "Thermo SIEVE File";

using Cells = std::vector<std::string>;

// The columns of a report as the program writes them, two of which the table drops.
const Cells Headers = {"FrameID", "MZStart",   "MZStop",      "TimeStart",  "TimeStop",
                       "pValue",  "Ratio",     "UpperBound",  "LowerBound", "FOM1",
                       "Charge",  "PRElement", "Intensity_A", "Intensity_B"};
const Cells Frame = {"1", "100", "102", "10", "13", "0.5", "2", "3", "1", "0.25", "2", "PRE", "1000", "2000"};

std::string Line(const Cells& cells, char delimiter = '\t') {
    std::string line;
    for (const std::string& cell : cells) {
        line += (line.empty() ? "" : std::string(1, delimiter)) + cell;
    }
    return line + "\n";
}

class ThermoSIEVEFileTest : public testing::Test {
protected:
    std::string Trace(std::string_view bytes, const TraceOptions& how = {}) {
        return ReadTrace(Format, folder.Write("report.txt", bytes), how);
    }
    std::string CellsOfFile(std::string_view bytes, const TraceOptions& how = {}) {
        return CellsOf(Trace(bytes, how));
    }
    bool IsReport(std::string_view bytes) {
        return ThermoSIEVEFile::IsThermoSIEVEFile(folder.Write("report.txt", bytes).c_str());
    }

    TempFolder folder;
};

// The whole table of one frame.
const std::string TurnedCells =
    "Set 1 1 text \"FrameID\"\nSet 2 1 text \"1\"\n"
    "Set 1 2 text \"MZStart\"\nSet 2 2 text \"100\"\n"
    "Set 1 3 text \"MZStop\"\nSet 2 3 text \"102\"\n"
    "Set 1 4 text \"AverageMZ\"\nSet 2 4 double 101\n"
    "Set 1 5 text \"TimeStart\"\nSet 2 5 text \"10\"\n"
    "Set 1 6 text \"TimeStop\"\nSet 2 6 text \"13\"\n"
    "Set 1 7 text \"AverageRT\"\nSet 2 7 double 11.5\n"
    "Set 1 8 text \"pValue\"\nSet 2 8 text \"0.5\"\n"
    "Set 1 9 text \"Ratio\"\nSet 2 9 text \"2\"\n"
    "Set 1 10 text \"UpperBound\"\nSet 2 10 text \"3\"\n"
    "Set 1 11 text \"LowerBound\"\nSet 2 11 text \"1\"\n"
    "Set 1 12 text \"FOM1\"\nSet 2 12 text \"0.25\"\n"
    "Set 1 13 text \"Intensity_A\"\nSet 2 13 text \"1000\"\n"
    "Set 1 14 text \"Intensity_B\"\nSet 2 14 text \"2000\"\n";

const std::string SizeFailed =
    "Read 0x2\nError \"An error occurred when trying to establish the size of the data in the "
    "file.\"\nClose\n";

}  // namespace

TEST_F(ThermoSIEVEFileTest, FramesBecomeColumnsAndMeansAreAdded) {
    EXPECT_EQ(Trace(Line(Headers) + Line(Frame)),
              "Format \"Thermo SIEVE File\"\nOpen 0x0\nGetNumRows 2\nGetNumCols 14\nSetDataSize 14 2\n"
              "SetDataSize 2 14\n" +
                  TurnedCells + "Read 0x0\nClose\n");
}

TEST_F(ThermoSIEVEFileTest, HeadersInTheirOrderAreRecognisedWithEachDelimiter) {
    for (const char delimiter : {'\t', ';', ','}) {
        EXPECT_TRUE(IsReport(Line(Headers, delimiter))) << delimiter;
    }
    EXPECT_TRUE(IsReport("FrameID;MZStart;MZStop;TimeStart;TimeStop;pValue;Ratio"));
}

TEST_F(ThermoSIEVEFileTest, OtherFirstLinesAreNotRecognised) {
    EXPECT_FALSE(IsReport(" " + Line(Headers)));
    EXPECT_FALSE(IsReport(""));
    EXPECT_FALSE(IsReport("\n" + Line(Headers)));
    EXPECT_FALSE(IsReport("FrameID"));
    EXPECT_FALSE(IsReport("FrameID;MZStart;MZStop;TimeStart;TimeStop;pValue"));
    EXPECT_FALSE(IsReport("FrameID;MZStop;MZStart;TimeStart;TimeStop;pValue;Ratio"));
    EXPECT_FALSE(IsReport("\xef\xbb\xbf" + Line(Headers)));
    EXPECT_FALSE(ThermoSIEVEFile::IsThermoSIEVEFile(folder.Path("none.txt").c_str()));
    EXPECT_FALSE(ThermoSIEVEFile::IsThermoSIEVEFile(folder.Path("").c_str()));
}

TEST_F(ThermoSIEVEFileTest, DelimiterIsTheMostFrequentAndTheCommaWinsATie) {
    // One more comma than semicolons makes the comma the delimiter, and then the headers don't follow it.
    EXPECT_FALSE(IsReport("FrameID;MZStart;MZStop;TimeStart;TimeStop;pValue;Ratio,,,,,,,"));
    EXPECT_FALSE(IsReport("FrameID;MZStart;MZStop;TimeStart;TimeStop;pValue;Ratio,,,,,,"));
    EXPECT_TRUE(IsReport("FrameID;MZStart;MZStop;TimeStart;TimeStop;pValue;Ratio,,,,,"));
    EXPECT_FALSE(IsReport("FrameID\tMZStart\tMZStop\tTimeStart\tTimeStop\tpValue\tRatio;;;;;;"));
}

TEST_F(ThermoSIEVEFileTest, HeaderThatOnlyBeginsSoIsEnough) {
    Cells headers = Headers;
    headers[5] = "pValueAdjusted";
    EXPECT_TRUE(IsReport(Line(headers)));
    EXPECT_NE(CellsOfFile(Line(headers) + Line(Frame)).find("Set 1 8 text \"pValueAdjusted\"\n"),
              std::string::npos);
}

TEST_F(ThermoSIEVEFileTest, ReportIsReadByTheDelimiterThatItWasRecognisedBy) {
    for (const char delimiter : {';', ','}) {
        EXPECT_EQ(CellsOfFile(Line(Headers, delimiter) + Line(Frame, delimiter)), TurnedCells) << delimiter;
    }
}

TEST_F(ThermoSIEVEFileTest, EmptyRecordIsFilledWithTheDelimiterThatWasTaken) {
    const std::string path = folder.Write("report.txt", Line(Headers, ';') + Line(Frame, ';'));
    NvImportOpenOptions record{0, nullptr};
    ThermoSIEVEFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), &record), 0);
    EXPECT_EQ(DecodeOptionsText(record),
              "<XMLSection><Settings><Delimiter>;</Delimiter><IgnoreConsecutiveDelimiters>false"
              "</IgnoreConsecutiveDelimiters></Settings></XMLSection>");
}

TEST_F(ThermoSIEVEFileTest, RecordOverrulesTheDelimiter) {
    TestOptions options{{"Delimiter", "|"}};
    // Counted by commas, cut at the bars.
    const std::string bytes = Line(Headers, '|') + Line(Frame, '|');
    EXPECT_TRUE(Trace(bytes, {options.Get()})
                    .starts_with("Format \"Thermo SIEVE File\"\nOpen 0x0\nGetNumRows 2\nGetNumCols 14\n"));
    Cells headers = Headers;
    headers[10] = "Charge,,,,,,,,,,,,,";
    EXPECT_EQ(CellsOfFile(Line(headers, '|') + Line(Frame, '|'), {options.Get()}), TurnedCells);
}

TEST_F(ThermoSIEVEFileTest, RowsDoNotDependOnTheOrderOfTheColumns) {
    const Cells order = {"Ratio",      "Intensity_A", "MZStop",      "FrameID",    "TimeStop",
                         "pValue",     "FOM1",        "MZStart",     "LowerBound", "TimeStart",
                         "UpperBound", "Charge",      "Intensity_B", "PRElement"};
    const Cells frame = {"2",   "1000", "102", "1", "13", "0.5",  "0.25",
                         "100", "1",    "10",  "3", "2",  "2000", "PRE"};
    EXPECT_EQ(CellsOfFile(Line(order) + Line(frame)), TurnedCells);
}

TEST_F(ThermoSIEVEFileTest, MeansAreNumbersOfWhatTheCellsBeginWith) {
    Cells frame = Frame;
    frame[1] = "  0.1x";
    frame[2] = "0.2";
    frame[3] = "n/a";
    frame[4] = "";
    const std::string cells = CellsOfFile(Line(Headers) + Line(frame));
    EXPECT_NE(cells.find("Set 2 4 double 0.15000000000000002\n"), std::string::npos);
    EXPECT_NE(cells.find("Set 2 7 double 0\n"), std::string::npos);
}

TEST_F(ThermoSIEVEFileTest, MeanWhoseColumnsAreNotBothThereHasItsLabelOnly) {
    Cells headers = Headers;
    headers[2] = "Stop";
    const std::string cells = CellsOfFile(Line(headers) + Line(Frame));
    EXPECT_NE(
        cells.find("Set 1 2 text \"MZStart\"\nSet 2 2 text \"100\"\nSet 1 4 text \"AverageMZ\"\nSet 1 5"),
        std::string::npos);
}

TEST_F(ThermoSIEVEFileTest, MissingColumnLeavesItsRowEmpty) {
    Cells headers = Headers;
    headers[9] = "Figure";
    const std::string cells = CellsOfFile(Line(headers) + Line(Frame));
    EXPECT_EQ(cells.find("Set 1 12"), std::string::npos);
    EXPECT_EQ(cells.find("Set 2 12"), std::string::npos);
    EXPECT_NE(cells.find("Set 2 13"), std::string::npos);
}

TEST_F(ThermoSIEVEFileTest, TooFewColumnsAreStatus2AndNothingIsSet) {
    // Three intensities make 15 rows.
    Cells headers = Headers;
    headers[10] = "Intensity_C";
    EXPECT_EQ(Trace(Line(headers) + Line(Frame)),
              "Format \"Thermo SIEVE File\"\nOpen 0x0\nGetNumRows 2\nGetNumCols 14\nSetDataSize 14 2\n" +
                  SizeFailed);
    EXPECT_TRUE(
        Trace("FrameID\tMZStart\tMZStop\tTimeStart\tTimeStop\tpValue\tRatio\n").ends_with(SizeFailed));
}

TEST_F(ThermoSIEVEFileTest, LineLongerThanTheHeaderLosesItsLastCells) {
    Cells frame = Frame;
    frame.insert(frame.end(), 20, "extra");
    EXPECT_EQ(CellsOfFile(Line(Headers) + Line(frame)), TurnedCells);
}

TEST_F(ThermoSIEVEFileTest, ShortLineIsFilledWithEmptyTexts) {
    const std::string cells = CellsOfFile(Line(Headers) + "7\n\n");
    EXPECT_NE(cells.find("Set 2 1 text \"7\"\nSet 3 1 text \"\"\n"), std::string::npos);
    EXPECT_NE(cells.find("Set 2 14 text \"\"\nSet 3 14 text \"\"\n"), std::string::npos);
}

TEST_F(ThermoSIEVEFileTest, LastLineWithoutItsEndIsLeftOut) {
    EXPECT_EQ(CellsOfFile(Line(Headers) + Line(Frame) + "2\t7\t8"), TurnedCells);
}

TEST_F(ThermoSIEVEFileTest, CarriageReturnsBelongToTheLineEnds) {
    std::string header = Line(Headers);
    std::string frame = Line(Frame);
    header.insert(header.size() - 1, "\r");
    frame.insert(frame.size() - 1, "\r");
    EXPECT_EQ(CellsOfFile(header + frame), TurnedCells);
}

TEST_F(ThermoSIEVEFileTest, WantedLinesAreAskedForOnceForEachRow) {
    const std::string bytes = Line(Headers) + Line(Frame) + Line(Frame);
    const std::string trace = Trace(bytes, {nullptr, "2", 0, true});
    std::size_t count = 0;
    const std::string asked = "NextRowToRead 0 2\nNextRowToRead 2 -1\n";
    for (std::size_t at = 0; (at = trace.find(asked, at)) != std::string::npos; at += asked.size()) {
        ++count;
    }
    EXPECT_EQ(count, 14U);
    EXPECT_EQ(CellsOf(trace).find("Set 1 "), std::string::npos);
    EXPECT_EQ(CellsOf(trace).find("Set 3 "), std::string::npos);
}

TEST_F(ThermoSIEVEFileTest, EmptyFileIsAnEmptyImport) {
    ThermoSIEVEFile reader;
    ASSERT_EQ(reader.Open(true, folder.Write("report.txt", "").c_str(), nullptr), 0);
    CountingSink sink;
    EXPECT_EQ(reader.Read(&sink), 0);
    EXPECT_EQ(sink.cells, 0);
    ASSERT_EQ(reader.Open(true, folder.Write("report.txt", "\n1\t2\n").c_str(), nullptr), 0);
    EXPECT_EQ(reader.Read(&sink), 0);
    EXPECT_EQ(sink.cells, 0);
}

// The empty line behind a final line end counts: one line fewer may be there when the file ends in one.
TEST_F(ThermoSIEVEFileTest, MillionLinesAreReadAndOneMoreIsAnEmptyImport) {
    std::string bytes = Line(Headers);
    const std::string frame = Line({"1", "2", "4", "1", "3", "0", "1", "1", "1", "1", "1", "1", "5", "6"});
    for (int line = 2; line < 1'000'000; ++line) {
        bytes += frame;
    }
    const auto read = [&](CountingSink& sink) {
        ThermoSIEVEFile reader;
        EXPECT_EQ(reader.Open(true, folder.Write("report.txt", bytes).c_str(), nullptr), 0);
        EXPECT_EQ(reader.Read(&sink), 0);
    };
    CountingSink whole;
    read(whole);
    EXPECT_EQ(whole.cols, 999'999);
    EXPECT_EQ(whole.rows, 14);
    EXPECT_EQ(whole.cells, 14 * 999'999);
    bytes += "x";
    CountingSink withoutEnd;
    read(withoutEnd);
    EXPECT_EQ(withoutEnd.cols, 999'999);
    bytes += "\n";
    CountingSink oneMore;
    read(oneMore);
    EXPECT_EQ(oneMore.cells, 0);
    EXPECT_EQ(oneMore.cols, 0);
}

TEST_F(ThermoSIEVEFileTest, LongHeaderOverManyEmptyLinesIsStatus2) {
    // The table would be a thousand times the file.
    Cells headers = Headers;
    for (int i = 0; i < 5000; ++i) {
        headers.emplace_back("Intensity_");
    }
    EXPECT_TRUE(Trace(Line(headers) + std::string(60'000, '\n')).ends_with(SizeFailed));
}

TEST_F(ThermoSIEVEFileTest, FailuresOfOpeningAreThoseOfTextFiles) {
    EXPECT_NE(ReadTrace(Format, folder.Path("none.txt")).find("Open 0x202\n"), std::string::npos);
    TestOptions garbage(std::string("\x04\x00\x00\x00<a>x", 8));
    EXPECT_NE(Trace(Line(Headers), {garbage.Get()}).find("Open 0x200\n"), std::string::npos);
}

TEST_F(ThermoSIEVEFileTest, WrongModeIsStatus3) {
    ThermoSIEVEFile file;
    ASSERT_EQ(file.Open(false, folder.Path("out.txt").c_str(), nullptr), 0);
    TableData table;
    EXPECT_EQ(file.Read(&table), 3);
    EXPECT_EQ(file.GetStatus(), 3);
}

TEST_F(ThermoSIEVEFileTest, LocaleIsNeitherUsedNorChanged) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    const bool german = std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr;
    const std::string during = std::setlocale(LC_ALL, nullptr);
    EXPECT_EQ(CellsOfFile(Line(Headers) + Line(Frame)), TurnedCells);
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), during);
    if (german) {
        std::setlocale(LC_ALL, before.c_str());
    }
}

TEST_F(ThermoSIEVEFileTest, CollectingSinkKeepsTextsInsideItsSizeOnly) {
    ThermoMirroredReadSpreadSheetData table(2, 3);
    EXPECT_EQ(table.GetNumberOfRows(), 2);
    EXPECT_EQ(table.GetNumberOfColumns(), 3);
    table.Set(3, 2, "in");
    table.Set(4, 2, "out");
    table.Set(3, 3, "out");
    table.Set(0, 1, "out");
    table.Set(1, 0, "out");
    table.Set(1, 1, 5.0F);
    table.SetDataSize(9, 9);
    EXPECT_EQ(table.GetText(1, 2), "in");
    EXPECT_EQ(table.GetText(0, 0), "");
    EXPECT_EQ(table.GetText(1, 3), "");
    EXPECT_EQ(table.GetText(2, 2), "");
    EXPECT_EQ(table.GetText(-1, -1), "");
    EXPECT_EQ(table.GetNumberOfRows(), 2);
    // In any order, beside what came line by line.
    ThermoMirroredReadSpreadSheetData mixed(4, 3);
    mixed.Set(1, 2, "a");
    mixed.Set(2, 2, "");
    mixed.Set(3, 2, "c");
    mixed.Set(2, 1, "early");
    mixed.Set(1, 4, "d");
    mixed.Set(3, 4, "far");
    mixed.Set(2, 4, "e");
    EXPECT_EQ(mixed.GetText(1, 0), "a");
    EXPECT_EQ(mixed.GetText(1, 1), "");
    EXPECT_EQ(mixed.GetText(1, 2), "c");
    EXPECT_EQ(mixed.GetText(0, 1), "early");
    EXPECT_EQ(mixed.GetText(3, 0), "d");
    EXPECT_EQ(mixed.GetText(3, 1), "e");
    EXPECT_EQ(mixed.GetText(3, 2), "far");
    EXPECT_EQ(mixed.GetText(2, 0), "");
    ThermoMirroredReadSpreadSheetData nothing(0, 3);
    nothing.Set(1, 1, "out");
    EXPECT_EQ(nothing.GetText(0, 0), "");
}

TEST_F(ThermoSIEVEFileTest, DamagedFileEndsInAStatus) {
    const std::string good = Line(Headers) + Line(Frame) + Line(Frame);
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        std::string damaged = good;
        for (std::size_t i = 0; i <= good.size() / 100; ++i) {
            damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        IsReport(damaged);
        EXPECT_TRUE(Trace(damaged).ends_with("Close\n"));
    }
    for (std::size_t length = 0; length < good.size(); ++length) {
        EXPECT_TRUE(Trace(good.substr(0, length)).ends_with("Close\n"));
    }
}
