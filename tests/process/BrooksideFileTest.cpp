#include "process/BrooksideFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <stdexcept>

#include "base/Exception.h"
#include "table/TableData.h"
#include "tests/process/BrooksideBuilder.h"
#include "tests/support/CountingSink.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

using namespace brookside;

namespace {

constexpr const char* Format = "Brookside File";

std::string Join(const NCStringVector& texts) {
    std::string all;
    for (int i = 1; i <= texts.GetSize(); ++i) {
        all += (i > 1 ? "|" : "") + texts(i);
    }
    return all;
}

class BrooksideFileTest : public testing::Test {
protected:
    void WriteData(const std::string& bytes, const std::string& name = "lot1.dat") {
        folder.Write(name, bytes);
    }

    /** The trace behind the size, with the folder taken out of the messages. */
    std::string Trace(const std::string& bytes, const std::string& name = "log.trn") {
        std::string trace = ReadTrace(Format, folder.Write(name, bytes));
        for (std::size_t at = 0; (at = trace.find(folder.Path(""), at)) != std::string::npos;) {
            trace.erase(at, folder.Path("").size());
        }
        const std::string start =
            "Format \"Brookside File\"\nOpen 0x0\nGetNumRows 1\nGetNumCols 1\nSetDataSize 1 1\n";
        return trace.starts_with(start) ? trace.substr(start.size()) : trace;
    }
    /** The lines of a trace behind the cells. */
    std::string Ending(const std::string& bytes) {
        const std::string trace = Trace(bytes);
        return trace.substr(trace.find("Read 0x"));
    }
    std::string CellsOfLog(const std::vector<Wafer>& wafers) { return CellsOf(Trace(Transition(wafers))); }

    std::unique_ptr<BrooksideFile> Opened(const std::string& bytes) {
        auto reader = std::make_unique<BrooksideFile>();
        EXPECT_EQ(reader->Open(true, folder.Write("log.trn", bytes).c_str(), nullptr), 0);
        return reader;
    }

    TempFolder folder;
};

// The four cells of one sample.
std::string Sample(int row, const std::string& time, int value, const std::string& wafer, int phase) {
    const std::string at = " " + std::to_string(row) + " ";
    return "Set 3" + at + time + "\nSet 4" + at + "float " + std::to_string(value) + "\nSet 1" + at +
           "text \"" + wafer + "\"\nSet 2" + at + "int " + std::to_string(phase) + "\n";
}

const char* const Names =
    "Set 1 1 text \"Wafer (Batch)\"\nSet 2 1 text \"Interval (Phase)\"\nSet 3 1 text \"Time\"\n"
    "Set 4 1 text \"A_Press\"\n";

}  // namespace

TEST_F(BrooksideFileTest, ReadsPhasesOfWafersIntoOneTable) {
    WriteData(NumberedData(6));
    EXPECT_EQ(Trace(Transition({{"W01", {{1, 2}, {4, 4}}}, {"W02", {{5, 5}, {6, 6}}}})),
              "SetDataSize 4 6\n" + Sample(2, "float 0.5", 1, "W01", 1) + Sample(3, "float 1", 2, "W01", 1) +
                  Sample(4, "float 2", 4, "W01", 2) + Sample(5, "float 2.5", 5, "W02", 1) +
                  Sample(6, "float 3", 6, "W02", 2) + Names + "Read 0x0\nClose\n");
}

TEST_F(BrooksideFileTest, IdsThatAreNoWafersAreSkippedAndCounted) {
    WriteData(NumberedData(2));
    EXPECT_EQ(Ending(Transition({{"None", {{9, 9}}},
                                 {"none", {{9, 9}}},
                                 {"UNKNOWN", {{9, 9}}},
                                 {"?1234", {{9, 9}}},
                                 {"", {{9, 9}}},
                                 {"W01", {{1, 2}}}})),
              "Read 0x0\nWarning \"1 wafer(s) had an ID of 'unknown'. The wafers were skipped.\\n"
              "2 wafer(s) had an ID of 'none'. The wafers were skipped.\\n"
              "1 wafer(s) had an ID that started with '?'. The wafers were skipped.\\n\"\nClose\n");
}

TEST_F(BrooksideFileTest, LineWithoutAWaferFieldIsSkippedSilently) {
    WriteData(NumberedData(1));
    EXPECT_EQ(Ending(Lines({FileLine(1), "lot1.dat\t1\t1\tA", "", Wafer{"W01", {{1, 1}}}.Line()})),
              "Read 0x0\nClose\n");
}

TEST_F(BrooksideFileTest, WaferWithoutDataStaysInTheSummary) {
    WriteData(NumberedData(1));
    const auto reader =
        Opened(Transition({{"W01", {{0, 0, "-999"}, {0, 0, "-999"}}}, {"W02", {{1, 1}, {0, 0, "-999"}}}}));
    TableData table;
    ASSERT_EQ(reader->Read(&table), 0);
    EXPECT_STREQ(reader->GetWarningMessage(),
                 "All data for wafer W01, phase 1, are missing. Phase skipped\n"
                 "All data for wafer W01, phase 2, are missing. Phase skipped\n"
                 "All data for wafer W02, phase 2, are missing. Phase skipped\n");
    EXPECT_EQ(table.GetNumberOfRows(), 2);
    EXPECT_EQ(reader->GetIxFromWaferID("w01"), 1);
    EXPECT_EQ(reader->GetDataFileStringVector()->GetSize(), 2);
}

TEST_F(BrooksideFileTest, OnlyTheTextMinus999MarksALostPhase) {
    WriteData(NumberedData(2));
    const std::string ending = Ending(Transition({{"W01", {{1, 1, "-999.0"}, {2, 2, " -999"}}}}));
    EXPECT_EQ(ending, "Read 0x0\nClose\n");
}

TEST_F(BrooksideFileTest, ValueOfMinus999IsAnEmptyCell) {
    WriteData(DataFile("Time\tA_P\tA_Q\tA_R", {"-999\t-999.0\t-999.1\t -9.99e2 "}));
    EXPECT_EQ(CellsOfLog({{"W01", {{1, 1}}}}).substr(0, 76),
              "Set 3 2 text \"\"\nSet 4 2 text \"\"\nSet 5 2 float -999.099976\nSet 6 2 text \"\"\nSe");
}

TEST_F(BrooksideFileTest, SummaryVectorsHoldEveryKeptLine) {
    WriteData(NumberedData(20));
    const auto reader = Opened(Transition({{"W01", {{3, 4, "1.5"}, {7, 9, "2.25"}}},
                                           {"?", {{1, 1}, {1, 1}}},
                                           {"W02", {{12, 12, "0.5"}, {10, 11, "1e1"}}}}));
    CountingSink sink;
    ASSERT_EQ(reader->Read(&sink), 0);
    EXPECT_EQ(Join(*reader->GetDataFileStringVector()), "lot1.dat|lot1.dat");
    EXPECT_EQ(Join(*reader->GetRecipeStringVector()), "A_Etch|A_Etch");
    EXPECT_EQ(Join(*reader->GetLotStringVector()), "L0417|L0417");
    EXPECT_EQ(Join(*reader->GetSlotStringVector()), "7|7");
    EXPECT_EQ(Join(*reader->GetOperStringVector()), "6100|6100");
    EXPECT_EQ((*reader->GetFromIntVector())(1), 3);
    EXPECT_EQ((*reader->GetToIntVector())(1), 9);
    EXPECT_EQ((*reader->GetFromIntVector())(2), 10);
    EXPECT_EQ((*reader->GetToIntVector())(2), 12);
    EXPECT_EQ((*reader->GetTimeFloatVector())(1), 3.75F);
    EXPECT_EQ((*reader->GetTimeFloatVector())(2), 10.5F);
    EXPECT_EQ(reader->GetIxFromWaferID("w02"), 2);
    EXPECT_EQ(reader->GetIxFromWaferID("W03"), 0);
}

TEST_F(BrooksideFileTest, DurationsAreRoundedToFloatAfterEachAddition) {
    WriteData(NumberedData(4));
    const auto reader = Opened(Transition({{"W01", {{1, 1, "16777216"}, {2, 2, "1"}, {3, 3, "1"}}}}));
    CountingSink sink;
    ASSERT_EQ(reader->Read(&sink), 0);
    EXPECT_EQ((*reader->GetTimeFloatVector())(1), 16777216.0F);
}

TEST_F(BrooksideFileTest, SecondReadAddsToTheVectors) {
    WriteData(NumberedData(1));
    const auto reader = Opened(Transition({{"W01", {{1, 1}}}}));
    CountingSink sink;
    ASSERT_EQ(reader->Read(&sink), 0);
    ASSERT_EQ(reader->Read(&sink), 0);
    EXPECT_EQ(reader->GetLotStringVector()->GetSize(), 2);
    EXPECT_EQ(reader->GetIxFromWaferID("W01"), 1);
}

TEST_F(BrooksideFileTest, DuplicateWaferIsAWarningAndItsFirstLineIsFound) {
    WriteData(NumberedData(4));
    const auto reader =
        Opened(Transition({{"Wb", {{1, 1}}}, {"Wa", {{2, 2}}}, {"WB", {{3, 3}}}, {"wa", {{4, 4}}}}));
    CountingSink sink;
    ASSERT_EQ(reader->Read(&sink), 0);
    EXPECT_STREQ(reader->GetWarningMessage(),
                 "More than one entry for the following wafers was found.\nwa\nWB\n");
    EXPECT_EQ(reader->GetIxFromWaferID("wb"), 1);
}

TEST_F(BrooksideFileTest, DuplicateWaferFailsAPickyReader) {
    WriteData(NumberedData(2));
    const auto reader = Opened(Transition({{"W01", {{1, 1}}}, {"w01", {{2, 2}}}}));
    reader->SetIsPicky(true);
    CountingSink sink;
    EXPECT_EQ(reader->Read(&sink), 0xb0f);
    EXPECT_EQ(ErrorOf(*reader),
              "The file " + folder.Path("log.trn") + " contains wafer with duplicate ids. Reading aborted");
}

TEST_F(BrooksideFileTest, PhasesOutOfOrderComeByTheirNumberWithoutATime) {
    WriteData(NumberedData(4));
    EXPECT_EQ(
        Trace(Transition({{"W01", {{3, 4}, {1, 2}}}})),
        "SetDataSize 4 5\n" + Sample(4, "text \"\"", 1, "W01", 2) + Sample(5, "text \"\"", 2, "W01", 2) +
            Sample(2, "text \"\"", 3, "W01", 1) + Sample(3, "text \"\"", 4, "W01", 1) + Names +
            "Read 0x0\nWarning \"File log.trn: The phases for the wafer W01 are not in order.\\n\"\nClose\n");
}

TEST_F(BrooksideFileTest, RunOutOfOrderEndsAtALargerPhase) {
    // By lines: phase 2 (1), phase 1 (2), phase 3 (3). Phase 2 was put before phase 1, phase 3 behind both.
    WriteData(NumberedData(3));
    EXPECT_EQ(CellsOfLog({{"W01", {{2, 2}, {1, 1}, {3, 3}}}}),
              Sample(3, "text \"\"", 1, "W01", 2) + Sample(2, "text \"\"", 2, "W01", 1) +
                  Sample(4, "float 1.5", 3, "W01", 3) + Names);
}

TEST_F(BrooksideFileTest, SamePhaseTwiceIsStatus0xb03) {
    EXPECT_EQ(
        Ending(Transition({{"W01", {{1, 2}}}, {"w01", {{1, 2}}, "LOT1.DAT"}})),
        "Read 0xb03\nError \"File log.trn: Contains duplicate phase entries for the wafer w01.\"\nClose\n");
}

TEST_F(BrooksideFileTest, OtherChamberIsStatus0xb05) {
    EXPECT_EQ(
        Ending(Transition({{"W01", {{1, 1}}, "lot1.dat", "a_x"}, {"W02", {{1, 1}}, "lot1.dat", "B_x"}})),
        "Read 0xb05\nError \"The file log.trn contains data from different chambers.\"\nClose\n");
}

TEST_F(BrooksideFileTest, LettersOfTheChamberMayDifferInCase) {
    WriteData(NumberedData(2, "a_press"));
    const std::string cells =
        CellsOfLog({{"W01", {{1, 1}}, "lot1.dat", "a_x"}, {"W02", {{2, 2}}, "lot1.dat", "A_y"}});
    EXPECT_NE(cells.find("Set 4 1 text \"a_press\"\n"), std::string::npos);
}

TEST_F(BrooksideFileTest, VariablesOfOtherChambersAreDropped) {
    WriteData(DataFile("Time\tB_Press\tA_Flow\t", {"1\tnone\t2\t"}));
    const std::string cells = CellsOfLog({{"W01", {{1, 1}}}});
    EXPECT_NE(cells.find("Set 4 1 text \"A_Flow\"\n"), std::string::npos);
    EXPECT_EQ(cells.find("Set 5 "), std::string::npos);
}

TEST_F(BrooksideFileTest, LogWithoutVariablesHasThreeColumns) {
    WriteData(NumberedData(1, "B_Press"));
    EXPECT_EQ(Trace(Transition({{"W01", {{1, 1}}}})),
              "SetDataSize 3 2\nSet 3 2 float 0.5\nSet 1 2 text \"W01\"\nSet 2 2 int 1\n"
              "Set 1 1 text \"Wafer (Batch)\"\nSet 2 1 text \"Interval (Phase)\"\nSet 3 1 text \"Time\"\n"
              "Read 0x0\nClose\n");
}

TEST_F(BrooksideFileTest, EmptyRecipeHasNoVariables) {
    WriteData(DataFile("Time\t\tA_Press", {"1\t2\t3"}));
    const std::string cells = CellsOfLog({{"W01", {{1, 1}}, "lot1.dat", ""}});
    EXPECT_EQ(cells.find("Set 4 "), std::string::npos);
}

TEST_F(BrooksideFileTest, LaterDataFileWidensTheTable) {
    WriteData(NumberedData(1));
    WriteData(DataFile("Time\ta_press\tA_Flow", {"9\t8\t7"}), "lot2.dat");
    EXPECT_EQ(Trace(Transition({{"W01", {{1, 1}}}, {"W02", {{1, 1}}, "lot2.dat"}})),
              "SetDataSize 4 3\n" + Sample(2, "float 0.5", 1, "W01", 1) + "SetDataSize 5 3\n" +
                  "Set 3 3 float 9\nSet 4 3 float 8\nSet 5 3 float 7\nSet 1 3 text \"W02\"\nSet 2 3 int 1\n"
                  "Set 1 1 text \"Wafer (Batch)\"\nSet 2 1 text \"Interval (Phase)\"\nSet 3 1 text \"Time\"\n"
                  "Set 5 1 text \"A_Flow\"\nSet 4 1 text \"A_Press\"\n"
                  "Read 0x0\nWarning \"All the data files did not contain the same variables.\\n\"\nClose\n");
}

TEST_F(BrooksideFileTest, MissingDataFileLeavesWaferAndPhase) {
    EXPECT_EQ(Trace(Transition({{"W01", {{1, 2}, {3, 3}}}})),
              "SetDataSize 2 1\nSetDataSize 2 2\nSet 1 2 text \"W01\"\nSet 2 2 int 1\n"
              "SetDataSize 2 3\nSet 1 3 text \"W01\"\nSet 2 3 int 1\n"
              "SetDataSize 2 4\nSet 1 4 text \"W01\"\nSet 2 4 int 2\n"
              "Set 1 1 text \"Wafer (Batch)\"\nSet 2 1 text \"Interval (Phase)\"\n"
              "Read 0x0\nWarning \"Opening the data file lot1.dat failed.\\n"
              "Data could not be read for the following wafers.\\nW01 phase 1\\nW01 phase 2\\n\"\nClose\n");
}

TEST_F(BrooksideFileTest, DataFileThatIsAFolderOrADeviceIsMissing) {
    const std::string ending = Ending(Transition({{"W01", {{1, 1}}, "."}}));
    EXPECT_NE(ending.find("Opening the data file . failed."), std::string::npos);
    const std::string device = Ending(Transition({{"W01", {{1, 1}}, "../../../../../../../../dev/zero"}}));
    EXPECT_NE(device.find("dev/zero failed."), std::string::npos);
}

TEST_F(BrooksideFileTest, FromAboveToTakesALineAndARow) {
    WriteData(NumberedData(3));
    EXPECT_EQ(Trace(Transition({{"W01", {{1, 1}, {3, 2}}}})),
              "SetDataSize 4 2\n" + Sample(2, "float 0.5", 1, "W01", 1) +
                  Sample(3, "float 1.5", 3, "W01", 2) + Names + "Read 0x0\nClose\n");
}

TEST_F(BrooksideFileTest, RowBehindTheLastIsSetWhereTheLastPhaseGivesRowsBack) {
    WriteData(NumberedData(9));
    EXPECT_EQ(Trace(Transition({{"W01", {{1, 4}, {8, 5}}}})),
              "SetDataSize 4 3\n" + Sample(2, "float 0.5", 1, "W01", 1) + Sample(3, "float 1", 2, "W01", 1) +
                  Sample(4, "float 1.5", 3, "W01", 1) + Sample(5, "float 2", 4, "W01", 1) +
                  Sample(6, "float 4", 8, "W01", 2) + Names + "Read 0x0\nClose\n");
}

TEST_F(BrooksideFileTest, RowsBeforeTheTableAreNotSet) {
    // Phase 1 takes ten rows back, so that phase 2 begins at row -7.
    WriteData(NumberedData(30));
    const std::string cells = CellsOfLog({{"W01", {{11, 0}, {12, 25}}}});
    EXPECT_EQ(cells.find(" -"), std::string::npos);
    EXPECT_EQ(cells.find(" 0 "), std::string::npos);
    EXPECT_NE(cells.find("Set 4 3 float 23\n"), std::string::npos);
}

TEST_F(BrooksideFileTest, LineThatNoDataFileHasIsStatus0xb0a) {
    WriteData(NumberedData(3));
    for (const Phase& lie :
         {Phase{1, 2000000000}, Phase{2000000000, 2000000001}, Phase{2147483647, 2147483647}}) {
        EXPECT_EQ(Ending(Transition({{"W01", {lie}}})),
                  "Read 0xb0a\nError \"Unexpected end of file in lot1.dat.\"\nClose\n");
    }
}

TEST_F(BrooksideFileTest, RowsAreReservedUpToAMillionOrAsFarAsTheDataFileIsLong) {
    WriteData(NumberedData(3));
    const auto reader = Opened(Transition({{"W01", {{1, 2000000000}}}}));
    CountingSink sink;
    EXPECT_EQ(reader->Read(&sink), 0xb0a);
    EXPECT_EQ(sink.rows, 1'000'001);
    EXPECT_EQ(sink.cells, 12);
}

TEST_F(BrooksideFileTest, LinesFarBeforeTheFirstAreStatus0xb0a) {
    WriteData(NumberedData(3));
    EXPECT_EQ(Ending(Transition({{"W01", {{-2000000000, 1}, {2, 2}}}})),
              "Read 0xb0a\nError \"Unexpected end of file in lot1.dat.\"\nClose\n");
}

TEST_F(BrooksideFileTest, MissingDataFileOfTooManyRowsIsStatus0xb0a) {
    const auto reader = Opened(Transition({{"W01", {{1, 2000000000}}}}));
    CountingSink sink;
    EXPECT_EQ(reader->Read(&sink), 0xb0a);
    EXPECT_EQ(sink.cells, 0);
}

TEST_F(BrooksideFileTest, RowsGivenBackDoNotMakeAMissingDataFileEndless) {
    std::vector<Wafer> wafers;
    for (int i = 0; i < 50; ++i) {
        wafers.push_back({"W" + std::to_string(i), {{2 * i, 2 * i + 899999}, {2 * i + 1, 2 * i - 900000}}});
    }
    wafers.push_back({"W99", {{1000, 1001}, {1002, 1002}}});
    const auto reader = Opened(Transition(wafers));
    CountingSink sink;
    EXPECT_EQ(reader->Read(&sink), 0xb0a);
    EXPECT_LE(sink.cells, 2 * 1000000);
}

TEST_F(BrooksideFileTest, MissingTransitionFileOpensAndIsStatus0xb00) {
    const std::string path = folder.Path("none.trn");
    BrooksideFile reader;
    EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    CountingSink sink;
    EXPECT_EQ(reader.Read(&sink), 0xb00);
    EXPECT_EQ(ErrorOf(reader), "The file " + path + " could not be opened.");
    std::map<std::string, float> centering;
    EXPECT_EQ(reader.GetCentering(centering), 0xb00);
}

TEST_F(BrooksideFileTest, MissingPackageIsStatus0xb0d) {
    const std::string path = folder.Path("none.pkg");
    BrooksideFile reader;
    EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 0xb0d);
    EXPECT_EQ(ErrorOf(reader), "The file '" + path + "' could not be opened.");
}

TEST_F(BrooksideFileTest, OtherExtensionsAreStatus0xb0d) {
    for (const char* name : {"log", "log.", "log.txt", "log.trn.dat"}) {
        const std::string path = folder.Write(name, Transition({{"W01", {{1, 1}}}}));
        BrooksideFile reader;
        EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 0xb0d) << name;
        EXPECT_EQ(ErrorOf(reader), "The file '" + path + "' does not seem to be a Brookside file.");
    }
}

TEST_F(BrooksideFileTest, ExtensionsCountInAnyCase) {
    WriteData(NumberedData(1));
    EXPECT_NE(Trace(Transition({{"W01", {{1, 1}}}}), "log.TRN").find("Read 0x0"), std::string::npos);
    EXPECT_NE(Trace(Package(Transition({{"W01", {{1, 1}}}}), {}), "log.Pkg").find("Read 0x0"),
              std::string::npos);
}

TEST_F(BrooksideFileTest, NoFileLineIsStatus0xb01) {
    EXPECT_EQ(
        Ending("Some\r\nFile\r\nfile\tx\r\n"),
        "Read 0xb01\nError \"The file log.trn does not appear to be a Brookside file.\\nA line starting with "
        "'\\\"File\\\"' could not be found.\"\nClose\n");
}

TEST_F(BrooksideFileTest, NoPhaseColumnIsStatus0xb02) {
    EXPECT_EQ(
        Ending("File\t[1:1]To\tx\t[1:1]From\r\n"),
        "Read 0xb02\nError \"The file log.trn does not appear to be a Brookside file.\\nThe columns that "
        "specifies the start and end of each phase could not be found.\"\nClose\n");
}

TEST_F(BrooksideFileTest, NoTimeIsStatus0xb08) {
    WriteData(NumberedData(2).insert(0, "one more line\r\n"));
    EXPECT_EQ(
        Ending(Transition({{"W01", {{1, 1}}}})),
        "Read 0xb08\nError \"The 'Time' column could not be found in the data file lot1.dat.\"\nClose\n");
}

TEST_F(BrooksideFileTest, TimeCountsInAnyCase) {
    WriteData(DataFile("\"TIME\"\tA_P", {"1\t2"}));
    EXPECT_EQ(Ending(Transition({{"W01", {{1, 1}}}})), "Read 0x0\nClose\n");
}

TEST_F(BrooksideFileTest, MissingDurationIsStatus0xb0b) {
    EXPECT_EQ(Ending(Lines({FileLine(2), "lot1.dat\t1\t1\tA\tL\t1\tW01\tO\t-999\t2\t2"})),
              "Read 0xb0b\nWarning \"All data for wafer W01, phase 1, are missing. Phase skipped\\n\"\n"
              "Error \"The file log.trn does not appear to be a Brookside file.\"\nClose\n");
}

TEST_F(BrooksideFileTest, MissingFieldOfASampleIsStatus0xb0b) {
    WriteData(DataFile("Time\tA_P\tA_Q", {"1\t2"}));
    EXPECT_EQ(Trace(Transition({{"W01", {{1, 1}}}})),
              "SetDataSize 5 2\nSet 3 2 float 1\nSet 4 2 float 2\nRead 0xb0b\n"
              "Error \"The file log.trn does not appear to be a Brookside file.\"\nClose\n");
}

TEST_F(BrooksideFileTest, EmptyLineIsALineWithoutFields) {
    WriteData(DataFile("Time\tA_P", {"1\t2", ""}));
    EXPECT_EQ(Ending(Transition({{"W01", {{1, 2}}}})),
              "Read 0xb0b\nError \"The file log.trn does not appear to be a Brookside file.\"\nClose\n");
    // Outside of the phases it's a line like any other.
    WriteData(DataFile("Time\tA_P", {"", "1\t2"}));
    EXPECT_EQ(Ending(Transition({{"W01", {{2, 2}}}})), "Read 0x0\nClose\n");
}

TEST_F(BrooksideFileTest, DataFileThatEndsBeforeItsFifthLineIsStatus0xb0b) {
    for (const char* bytes : {"", "1\n2\n3\n4\n", "1\n2\n3\n4\n\nTime\n"}) {
        WriteData(bytes);
        EXPECT_EQ(Ending(Transition({{"W01", {{1, 1}}}})),
                  "Read 0xb0b\nError \"The file log.trn does not appear to be a Brookside file.\"\nClose\n");
    }
}

TEST_F(BrooksideFileTest, TextWhereANumberBelongsIsStatus0xb0c) {
    for (const std::string text : {"", "x", "1,5", "1 2", "\"1\""}) {
        WriteData(DataFile("Time\tA_P", {"1\t" + text}));
        const std::string ending = Ending(Transition({{"W01", {{1, 1}}}}));
        const std::string shown = text == "\"1\"" ? "\\\"1\\\"" : text;
        EXPECT_EQ(ending, "Read 0xb0c\nError \"File lot1.dat: Found '" + shown +
                              "' when expecting a number.\"\nClose\n");
    }
}

TEST_F(BrooksideFileTest, NoDataIsStatus0xb0e) {
    EXPECT_EQ(Ending(Transition({{"?", {{1, 1}}}})),
              "Read 0xb0e\nError \"The file log.trn does not contain any data.\"\nClose\n");
}

TEST_F(BrooksideFileTest, ExceptionsOfTheSinkPassThrough) {
    struct Throwing : CountingSink {
        explicit Throwing(bool own) : ownException(own) {}
        void SetDataSize(int /*cols*/, int /*rows*/) override {
            if (ownException) {
                throw Exception("the table is full");
            }
            throw std::runtime_error("something else");
        }
        bool ownException;
    };
    WriteData(NumberedData(1));
    const auto reader = Opened(Transition({{"W01", {{1, 1}}}}));
    Throwing own(true);
    EXPECT_THROW(reader->Read(&own), Exception);
    Throwing other(false);
    EXPECT_THROW(reader->Read(&other), std::runtime_error);
    EXPECT_EQ(reader->GetStatus(), 0);
}

TEST_F(BrooksideFileTest, EntriesThatShareLinesAreBelieved) {
    WriteData(NumberedData(120));
    std::vector<Wafer> wafers;
    for (int i = 1; i <= 50; ++i) {
        wafers.push_back({"W" + std::to_string(i), {{1, 50}}});
    }
    const std::string trace = Trace(Transition(wafers));
    EXPECT_NE(trace.find("SetDataSize 4 2501\n"), std::string::npos);
    EXPECT_NE(trace.find("Read 0x0\n"), std::string::npos);
}

TEST_F(BrooksideFileTest, DataFilesAreOfTheLogsOwnFolder) {
    const std::string outside = folder.Write("outside.dat", NumberedData(2));
    const std::string inner = folder.Path("logs");
    std::filesystem::create_directory(inner);
    for (const char* name : {"../outside.dat", "..\\outside.dat"}) {
        std::ofstream(inner + "/log.trn", std::ios::binary) << Transition({{"W01", {{1, 2}}, name}});
        BrooksideFile reader;
        ASSERT_EQ(reader.Open(true, (inner + "/log.trn").c_str(), nullptr), 0);
        CountingSink sink;
        EXPECT_EQ(reader.Read(&sink), 0);
        EXPECT_EQ(sink.cols, 2) << "nothing outside the folder is read";
    }
    // The name's last part counts, where it is there.
    std::ofstream(inner + "/outside.dat", std::ios::binary) << NumberedData(2);
    BrooksideFile reader;
    ASSERT_EQ(reader.Open(true, (inner + "/log.trn").c_str(), nullptr), 0);
    CountingSink sink;
    EXPECT_EQ(reader.Read(&sink), 0);
    EXPECT_EQ(sink.cols, 4);
}

TEST_F(BrooksideFileTest, FixedStatusTextsAreExact) {
    struct Failing : BrooksideFile {
        explicit Failing(int code) { status = code; }
    };
    const std::pair<int, const char*> texts[] = {{0, ""},
                                                 {1, "Not implemented yet!"},
                                                 {3, "Brookside files can only be read."},
                                                 {0xb04, ""},
                                                 {0xb09, ""},
                                                 {2, "Unknown error."},
                                                 {0xb10, "Unknown error."}};
    for (const auto& [code, text] : texts) {
        Failing reader(code);
        EXPECT_EQ(ErrorOf(reader), text) << code;
    }
    Failing cut(3);
    char buffer[10];
    cut.GetErrorMessage(buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "Brookside");
}

TEST_F(BrooksideFileTest, OpeningForWritingAnswers3AndChangesNothing) {
    BrooksideFile reader;
    EXPECT_EQ(reader.Open(false, folder.Path("log.trn").c_str(), nullptr), 3);
    EXPECT_EQ(reader.GetStatus(), 0);
}

TEST_F(BrooksideFileTest, FailureSticksUntilClose) {
    WriteData(NumberedData(1));
    const std::string good = folder.Write("log.trn", Transition({{"W01", {{1, 1}}}}));
    BrooksideFile reader;
    ASSERT_EQ(reader.Open(true, folder.Path("none.pkg").c_str(), nullptr), 0xb0d);
    EXPECT_EQ(reader.Open(true, good.c_str(), nullptr), 0xb0d);
    CountingSink sink;
    EXPECT_EQ(reader.Read(&sink), 0xb0d);
    reader.Close();
    ASSERT_EQ(reader.Open(true, good.c_str(), nullptr), 0);
    EXPECT_EQ(reader.Read(&sink), 0);
}

TEST_F(BrooksideFileTest, LongLinesComeInPieces) {
    // 4095 characters, the carriage return among them, are one line; what is behind them is another.
    for (const std::size_t length : {std::size_t{4094}, std::size_t{4095}}) {
        const std::string sample = "1\t2\t";
        WriteData(DataFile("Time\tA_P", {sample + std::string(length - sample.size(), 'x'), "3\t4"}));
        const std::string cells = CellsOfLog({{"W01", {{2, 2}}}});
        EXPECT_EQ(cells.find("Set 4 2 float 4\n") != std::string::npos, length == 4094) << length;
    }
}

TEST_F(BrooksideFileTest, SampleThatCrossesTheWindowIsWhole) {
    std::vector<std::string> samples(3000, "0.125\t" + std::string(60, '0') + "1.5");
    WriteData(DataFile("Time\tA_P", samples));
    const auto reader = Opened(Transition({{"W01", {{1, 3000}}}}));
    TableData table;
    ASSERT_EQ(reader->Read(&table), 0);
    for (int row = 2; row <= 3001; ++row) {
        ASSERT_EQ(table.GetFloat(4, row), 1.5F) << row;
    }
}

TEST_F(BrooksideFileTest, PackageGivesTheSameTableAsFiles) {
    const std::vector<Wafer> wafers = {{"W01", {{1, 2}, {4, 4}}}, {"W02", {{5, 5}, {6, 6}}}};
    WriteData(NumberedData(6));
    const std::string files = Trace(Transition(wafers));
    for (const char* name : {"lot1.dat", "\n LOT1.DAT \r\n", "/data/lot1.dat", "C:\\data\\Lot1.dat"}) {
        EXPECT_EQ(Trace(Package(Transition(wafers), {{name, NumberedData(6)}}), "log.pkg"), files) << name;
    }
}

TEST_F(BrooksideFileTest, PackageWithoutABlockLeavesItsRowsEmpty) {
    EXPECT_NE(Trace(Package(Transition({{"W01", {{1, 1}}}}), {}), "log.pkg")
                  .find("Warning \"Opening the data file lot1.dat failed."),
              std::string::npos);
}

TEST_F(BrooksideFileTest, PackageThatIsNoneIsStatus0xb0d) {
    const std::string whole = Package(Transition({{"W01", {{1, 1}}}}), {{"lot1.dat", NumberedData(1)}});
    const std::size_t end = whole.find("</trn_file>\r\n");
    for (const std::string& bytes :
         {std::string(), whole.substr(0, end), whole.substr(end),
          std::string("<trn_file_name>x<trn_file></trn_file>"), std::string("<trn_file_name>")}) {
        const std::string path = folder.Write("log.pkg", bytes);
        BrooksideFile reader;
        EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 0xb0d);
        EXPECT_EQ(ErrorOf(reader), "The file '" + path + "' does not seem to be a Brookside file.");
    }
}

TEST_F(BrooksideFileTest, UnclosedDataBlockIsNone) {
    std::string bytes = Package(Transition({{"W01", {{1, 1}}}}), {{"lot1.dat", NumberedData(1)}});
    bytes.resize(bytes.size() - std::strlen("</data_file>\r\n"));
    EXPECT_NE(Trace(bytes, "log.pkg").find("Opening the data file lot1.dat failed."), std::string::npos);
}

TEST_F(BrooksideFileTest, LaterDataBlockOfANameCounts) {
    const std::string trace =
        Trace(Package(Transition({{"W01", {{1, 1}}}}),
                      {{"lot1.dat", NumberedData(1)}, {"LOT1.dat", NumberedData(1, "A_New")}}),
              "log.pkg");
    EXPECT_NE(trace.find("text \"A_New\""), std::string::npos);
}

TEST_F(BrooksideFileTest, PackageEndsAtItsFirstNul) {
    std::string bytes = Package(Transition({{"W01", {{1, 1}}}}), {{"lot1.dat", NumberedData(1)}});
    bytes.insert(bytes.find("<data_file_name>"), 1, '\0');
    EXPECT_NE(Trace(bytes, "log.pkg").find("Opening the data file lot1.dat failed."), std::string::npos);
}

TEST_F(BrooksideFileTest, PackageInMemoryReadsWithoutOpen) {
    const std::string package = Package(Transition({{"W01", {{1, 1}}}}), {{"lot1.dat", NumberedData(1)}});
    BrooksideFile reader(package.c_str(), "memory", false);
    TableData table;
    ASSERT_EQ(reader.GetStatus(), 0);
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_EQ(table.GetFloat(4, 2), 1.0F);
    BrooksideFile none("no package", "memory", false);
    EXPECT_EQ(none.GetStatus(), 0xb0d);
    EXPECT_EQ(ErrorOf(none), "The file 'memory' does not seem to be a Brookside file.");
}

TEST_F(BrooksideFileTest, CenteringHasAKeyForEachPart) {
    const char* text =
        "<center_file>\nT1\tA$B\tx\t1.5\n\n\"T1\"\t\"A\"\tx\t9\nT2\tC\ty\t-2z\n</"
        "center_file><center_file>\nT3\tA\tx\t7\n</center_file>";
    BrooksideFile reader(text, "centre", true);
    std::map<std::string, float> centering = {{"T2:C:y", 4.0F}};
    ASSERT_EQ(reader.GetCentering(centering), 0);
    const std::map<std::string, float> expected = {{"T1:A:x", 1.5F}, {"T1:B:x", 1.5F}, {"T2:C:y", 4.0F}};
    EXPECT_EQ(centering, expected);
}

TEST_F(BrooksideFileTest, CenteringLineWithTooFewFieldsAnswers0xb0b) {
    BrooksideFile reader("<center_file>\nT1\tA\tx\n</center_file>", "centre", true);
    std::map<std::string, float> centering;
    EXPECT_EQ(reader.GetCentering(centering), 0xb0b);
}

TEST_F(BrooksideFileTest, SetPointIsKnownByFiveCharacters) {
    BrooksideFile reader("<center_file>\nx\nSetPoxyz\ta\tb c\t\t2.5 V\n</center_file>", "centre", true);
    std::string first;
    std::string second;
    std::string third = "old";
    float value = 0.0F;
    ASSERT_EQ(reader.GetCentering(first, second, third, value), 0);
    EXPECT_EQ(first + "|" + second + "|" + third, "a|b c|");
    EXPECT_EQ(value, 2.5F);
}

TEST_F(BrooksideFileTest, WithoutASetPointTheOutputsStay) {
    BrooksideFile reader("<center_file>\nSetP\ta\tb\tc\t1\n</center_file>", "centre", true);
    std::string first = "1";
    std::string second = "2";
    std::string third = "3";
    float value = 4.0F;
    ASSERT_EQ(reader.GetCentering(first, second, third, value), 0);
    EXPECT_EQ(first + second + third, "123");
    EXPECT_EQ(value, 4.0F);
    BrooksideFile cut("<center_file>\nSetPoint\ta\tb\tc\n</center_file>", "centre", true);
    EXPECT_EQ(cut.GetCentering(first, second, third, value), 0xb0b);
}

TEST_F(BrooksideFileTest, FactsTellWhatIsSkippedAndWhy) {
    WriteData(NumberedData(3));
    const auto reader = Opened(Transition({{"W01", {{1, 1}, {0, 0, "-999"}}},
                                           {"none", {{1, 1}, {1, 1}}},
                                           {"W02", {{1, 2}, {3, 3}}, "lot2.dat"}}));
    std::string facts;
    for (const FileContents::Fact& fact : reader->ListFacts()) {
        facts += fact.name + "=" + fact.value + "\n";
    }
    EXPECT_EQ(
        facts,
        "wafers=2\nphases=2\nsamples=4\nchamber=A\nrecipe=A_Etch\nlot=L0417\noperation=6100\ndata files=2\n"
        "missing=data files not there or without a header, 1: lot2.dat\nvariables=1: A_Press\n"
        "skipped=phases whose data are all missing, 1: W01 phase 2\nskipped=1 wafer(s) with the ID 'none'\n");
    // Looking isn't reading.
    EXPECT_EQ(reader->GetWarningMessage(), nullptr);
    EXPECT_EQ(reader->GetLotStringVector()->GetSize(), 0);
}

TEST_F(BrooksideFileTest, LogListedBackwardsIsNotSlow) {
    std::vector<Wafer> wafers;
    for (int i = 20000; i > 0; --i) {
        wafers.push_back({"W" + std::to_string(i), {{i, i}}});
    }
    WriteData(NumberedData(20000));
    const auto reader = Opened(Transition(wafers));
    CountingSink sink;
    ASSERT_EQ(reader->Read(&sink), 0);
    EXPECT_EQ(sink.cells, 20000 * 4 + 4);
}

TEST_F(BrooksideFileTest, DamagedLogsEndInAStatus) {
    const std::string whole = Package(Transition({{"W01", {{1, 2}, {4, 4}}}, {"W02", {{7, 8}, {5, 6}}}}),
                                      {{"lot1.dat", NumberedData(9)}});
    const auto read = [this](const std::string& bytes) {
        BrooksideFile reader;
        CountingSink sink;
        if (reader.Open(true, folder.Write("log.pkg", bytes).c_str(), nullptr) == 0) {
            reader.ListFacts();
            reader.Read(&sink);
        }
        EXPECT_TRUE(reader.GetStatus() == 0 || (reader.GetStatus() >= 0xb00 && reader.GetStatus() <= 0xb0f));
        EXPECT_NE(reader.GetStatus(), 0xb06);
        EXPECT_NE(reader.GetStatus(), 0xb07);
    };
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        read(whole.substr(0, length));
    }
    std::mt19937 random(20090302);
    for (int round = 0; round < 400; ++round) {
        std::string bytes = whole;
        for (std::size_t i = 0; i < bytes.size() / 100; ++i) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        read(bytes);
    }
}
