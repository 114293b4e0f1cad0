#include "container/UnscramblerFile.h"

#include <gtest/gtest.h>

#include "table/TableData.h"
#include "tests/support/Damage.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/TempFolder.h"
#include "tests/support/Verdict.h"

namespace {

constexpr const char* Format = "Unscrambler File";

class UnscramblerFileTest : public testing::Test {
protected:
    std::string Trace(std::string_view bytes, const TraceOptions& how = {}) {
        return ReadTrace(Format, folder.Write("matrix.uns", bytes), how);
    }
    std::string Cells(std::string_view bytes, const TraceOptions& how = {}) {
        return CellsOf(Trace(bytes, how));
    }
    std::string Opened(std::string_view bytes) {
        const std::string trace = Trace(bytes);
        const std::size_t start = trace.find("Open ") + 5;
        return trace.substr(start, trace.find('\n', start) - start);
    }
    /** The cells of one row of data. */
    std::string ValuesOf(const std::string& line, int count) {
        return Cells("%1 " + std::to_string(count) + " T\n" + line + "\n");
    }
    bool FailsAsData(std::string_view bytes) {
        return Trace(bytes).find("Read 0x707\n") != std::string::npos;
    }

    TempFolder folder;
};

constexpr const char* Values = "Set 1 1 double 1\nSet 2 1 double 2\nSet 1 2 double 3\nSet 2 2 double 4\n";
constexpr const char* Named = "%2 2 Wheat\n1 2\n3 4\n#L first second\n#C Protein Ash\n";

}  // namespace

TEST_F(UnscramblerFileTest, NamesStandAroundTheValues) {
    TraceOptions withRows;
    withRows.withRows = true;
    // The sink is asked for its rows anew for the names of the observations.
    EXPECT_EQ(
        Trace(Named, withRows),
        "Format \"Unscrambler File\"\nOpen 0x0\nGetNumRows 3\nGetNumCols 4\nSetDataSize 4 3\n"
        "NextRowToRead 1 2\nNextRowToRead 2 3\nSet 3 2 double 1\nSet 4 2 double 2\nNextRowToRead 3 4\n"
        "Set 3 3 double 3\nSet 4 3 double 4\n"
        "NextRowToRead 1 2\nNextRowToRead 2 3\nSet 1 2 int 1\nSet 2 2 text \"first\"\nNextRowToRead 3 4\n"
        "Set 1 3 int 2\nSet 2 3 text \"second\"\n"
        "Set 3 1 text \"Protein\"\nSet 4 1 text \"Ash\"\nRead 0x0\nClose\n");
}

TEST_F(UnscramblerFileTest, MatrixWithoutNamesIsItsValues) {
    EXPECT_EQ(
        Trace("%2 2 T\n1 2\n3 4\n"),
        std::string("Format \"Unscrambler File\"\nOpen 0x0\nGetNumRows 2\nGetNumCols 2\nSetDataSize 2 2\n") +
            Values + "Read 0x0\nClose\n");
}

TEST_F(UnscramblerFileTest, RowsHaveNothingToDoWithLines) {
    EXPECT_EQ(Cells("%2 2 T\n1\n\n  2 3\t4"), Values);
    EXPECT_EQ(Cells("%2 2 T\n1 2 3 4\n"), Values);
    EXPECT_EQ(Cells(" \n\t%2 2 T\r\n1 2\r\n3 4\r\n"), Values);
}

TEST_F(UnscramblerFileTest, NamesRunOverLinesAndAreKnownInEitherCase) {
    EXPECT_EQ(Cells("%1 3 T\n1 2 3\n#c a\n b\n\n c\n"),
              "Set 1 2 double 1\nSet 2 2 double 2\nSet 3 2 double 3\n"
              "Set 1 1 text \"a\"\nSet 2 1 text \"b\"\nSet 3 1 text \"c\"\n");
    EXPECT_EQ(Cells("%1 1 T\n1\n#l a\n"), "Set 3 1 double 1\nSet 1 1 int 1\nSet 2 1 text \"a\"\n");
}

TEST_F(UnscramblerFileTest, MissingNamesAreEmptyOrTheNextMatrixs) {
    EXPECT_EQ(Cells("%1 2 T\n1 2\n#C x\n"),
              "Set 1 2 double 1\nSet 2 2 double 2\nSet 1 1 text \"x\"\nSet 2 1 text \"\"\n");
    EXPECT_EQ(Cells("%1 2 T\n1 2\n#C x\n%1 1 U\n5\n"),
              "Set 1 2 double 1\nSet 2 2 double 2\nSet 1 1 text \"x\"\nSet 2 1 text \"%1\"\n");
}

TEST_F(UnscramblerFileTest, NumbersOfEveryForm) {
    EXPECT_EQ(
        ValuesOf("+1 -2 .5 -.25 5. 1e3 2E-2 3e+1", 8),
        "Set 1 1 double 1\nSet 2 1 double -2\nSet 3 1 double 0.5\nSet 4 1 double -0.25\nSet 5 1 double 5\n"
        "Set 6 1 double 1000\nSet 7 1 double 0.02\nSet 8 1 double 30\n");
    // The digits of an exponent are 1 when there are none.
    EXPECT_EQ(ValuesOf("5e 50E- 2e+ %7", 4),
              "Set 1 1 double 50\nSet 2 1 double 5\nSet 3 1 double 20\nSet 4 1 double 7\n");
    EXPECT_EQ(ValuesOf("1e999999999 -1e99999999999999999999 1e-999999999 0e999999", 4),
              "Set 1 1 double inf\nSet 2 1 double -inf\nSet 3 1 double 0\nSet 4 1 double 0\n");
}

TEST_F(UnscramblerFileTest, MissingValuesAreEmptyCells) {
    EXPECT_EQ(ValuesOf("1 2 m", 3), "Set 1 1 double 1\nSet 2 1 double 2\nSet 3 1 text \"\"\n");
    EXPECT_EQ(ValuesOf("1 -9.973e23 -9.97300E+23", 3),
              "Set 1 1 double 1\nSet 2 1 text \"\"\nSet 3 1 text \"\"\n");
    EXPECT_EQ(
        ValuesOf("-9.97300001e23 9.973e23 -9.974e23", 3),
        "Set 1 1 text \"\"\nSet 2 1 double 9.9730000000000003e+23\nSet 3 1 double -9.9739999999999998e+23\n");
    // The line goes on right behind the m.
    EXPECT_EQ(
        ValuesOf("mm 1 m2", 5),
        "Set 1 1 text \"\"\nSet 2 1 text \"\"\nSet 3 1 double 1\nSet 4 1 text \"\"\nSet 5 1 double 2\n");
}

TEST_F(UnscramblerFileTest, WhatIsNoValueIs0x707) {
    for (const char* value :
         {"1.2.3", "e5", "-", ".", "5m", "0x10", "inf", "nan", "%%5", "1e2.5", "M", "1,5", "+-1"}) {
        const std::string trace = Trace("%1 2 T\n7 " + std::string(value) + "\n");
        EXPECT_EQ(CellsOf(trace), "Set 1 1 double 7\n") << value;
        EXPECT_NE(trace.find(
                      "Read 0x707\nError \"An error occurred while reading data from file. Either an illegal "
                      "character was found or data was missing.\"\n"),
                  std::string::npos)
            << value;
    }
    EXPECT_TRUE(FailsAsData("%2 2 T\n1 2\n3\n"));
    EXPECT_TRUE(FailsAsData("%2 2 T\n1 2\n3\n#C a b\n"));
    EXPECT_TRUE(FailsAsData("%1000000000 1000000000 T\n1 2 3\n"));
}

TEST_F(UnscramblerFileTest, ShortMatrixTakesTheNextOnesCounts) {
    EXPECT_EQ(Cells("%2 2 A\n1 2\n3\n%9 1 B\n0\n"),
              "Set 1 1 double 1\nSet 2 1 double 2\nSet 1 2 double 3\nSet 2 2 double 9\n");
}

TEST_F(UnscramblerFileTest, CountsMustBeWholeAndAtLeast1) {
    for (const char* counts : {"", "3", "0 2", "2 0", "2.5 2", "2 2.5", "-1 2", "m 2", "2 m", "three 2",
                               "2 Test", "3000000000 2", "2 2147483647", "1e300 2", "2x 2"}) {
        EXPECT_EQ(Opened("%" + std::string(counts) + "\n1 2\n"), "0x704") << counts;
    }
    for (const char* counts : {"2 2", " 2 2", "2.0 2.000", "+2 2", ".2e1 20e-1", "2 %2"}) {
        EXPECT_EQ(Cells("%" + std::string(counts) + " T\n1 2 3 4\n"), Values) << counts;
    }
}

TEST_F(UnscramblerFileTest, FileTestsComeInOrder) {
    EXPECT_NE(ReadTrace(Format, folder.Path("none.uns")).find("Open 0x700\nError \"Unable to open file.\"\n"),
              std::string::npos);
    EXPECT_EQ(Opened(""), "0x702");
    EXPECT_EQ(Opened(" \r\n\t\n "), "0x702");
    EXPECT_EQ(Opened("1 2\n%2 2 T\n"), "0x703");
    EXPECT_EQ(Opened("\xef\xbb\xbf%2 2 T\n"), "0x703");
    EXPECT_EQ(Opened(std::string_view("\0%2 2 T\n", 8)), "0x703");
    EXPECT_EQ(Opened("%2 2 T\n#X a\n"), "0x703");
    EXPECT_EQ(Opened("%2 2 T\n#\n"), "0x703");
    EXPECT_EQ(Opened("%2 2 T\n# L\n"), "0x703");
}

TEST_F(UnscramblerFileTest, LineThatMeetsTheEndIsNoHeader) {
    EXPECT_EQ(Opened("%2 2 T"), "0x703");
    EXPECT_EQ(Opened("%1 1 T\n5\n#X"), "0x0");
    EXPECT_EQ(Cells("%1 1 T\n5\n#C a"), "Set 1 1 double 5\n");
    // As data it counts.
    EXPECT_EQ(Cells("%1 2 T\n5 6"), "Set 1 1 double 5\nSet 2 1 double 6\n");
}

TEST_F(UnscramblerFileTest, LongLinesEndTheIndexAndFailAsData) {
    const std::string spaces(300, ' ');
    const std::string fits = "%1 1 T\n5" + std::string(254, ' ');
    EXPECT_EQ(Cells(fits + "\n"), "Set 1 1 double 5\n");
    EXPECT_TRUE(FailsAsData(fits + " \n"));
    // Blanks before the first character don't count.
    EXPECT_EQ(Cells("%1 1 T\n" + spaces + "5\n"), "Set 1 1 double 5\n");
    EXPECT_EQ(Opened("%1 1 " + std::string(250, 'n') + "\n"), "0x0");
    EXPECT_EQ(Opened("%1 1 " + std::string(251, 'n') + "\n"), "0x703");
    UnscramblerFile reader;
    const std::string path = folder.Write("m.uns", "%1 1 A\n5\n" + std::string(256, 'x') + "\n%1 1 B\n5\n");
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumberOfDataSets(), 1);
}

TEST_F(UnscramblerFileTest, LongWordsAreCutIntoSeveral) {
    // The names may stand in a line of any length.
    const std::string cells = Cells("%2 1 T\n1 2\n#L\n" + std::string(300, 'n') + "\n");
    EXPECT_NE(cells.find("Set 2 1 text \"" + std::string(255, 'n') + "\"\n"), std::string::npos);
    EXPECT_NE(cells.find("Set 2 2 text \"" + std::string(45, 'n') + "\"\n"), std::string::npos);
}

TEST_F(UnscramblerFileTest, RowsThatAreNotWantedTakeNoName) {
    TraceOptions third;
    third.want = "3";
    EXPECT_EQ(Cells("%3 1 T\n1\n2\n3\n#L a b c\n", third),
              "Set 3 3 double 3\nSet 1 3 int 3\nSet 2 3 text \"a\"\n");
    TraceOptions none;
    none.want = "9";
    EXPECT_TRUE(Trace("%2 1 T\n1\n2\n", none).ends_with("SetDataSize 1 2\nRead 0x0\nClose\n"));
    // Values of rows that aren't wanted are looked at all the same.
    EXPECT_NE(Trace("%2 1 T\n1\nx\n", third).find("Read 0x707\n"), std::string::npos);
}

TEST_F(UnscramblerFileTest, OneOfSeveralMatricesIsRead) {
    const std::string path =
        folder.Write("matrix.uns", "%1 1 first\n1\n%2 2 second one \n3 4\n5 6\n#C a b\n%1 1\n7\n");
    UnscramblerFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumberOfDataSets(), 3);
    EXPECT_EQ(reader.GetNumCols(), 1);
    EXPECT_EQ(reader.SetCurrentDataSet(1), 0);
    EXPECT_EQ(reader.GetNumCols(), 2);
    EXPECT_EQ(reader.GetNumRows(), 3);
    TableData table;
    EXPECT_EQ(reader.Read(&table), 0);
    EXPECT_EQ(table.GetString(2, 3), "6");
    std::vector<std::string> names;
    EXPECT_EQ(reader.GetDataSetList(names), 0);
    EXPECT_EQ(names, (std::vector<std::string>{"first", "second one", "Matrix 3"}));
    // No matrix is current after the list.
    EXPECT_EQ(reader.Read(&table), UnscramblerFile::StatusNoMatrix);
}

TEST_F(UnscramblerFileTest, WithoutACurrentMatrixThereIsNoSize) {
    const std::string path = folder.Write("matrix.uns", "%1 1 first\n1\n");
    UnscramblerFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    std::vector<std::string> names;
    reader.GetDataSetList(names);
    EXPECT_EQ(reader.GetNumRows(), -1);
    EXPECT_EQ(reader.GetStatus(), UnscramblerFile::StatusNotUnscrambler);
    UnscramblerFile unopened;
    EXPECT_EQ(unopened.GetDataSetList(names), UnscramblerFile::StatusNotUnscrambler);
    UnscramblerFile other;
    EXPECT_EQ(other.SetCurrentDataSet(0), UnscramblerFile::StatusNotUnscrambler);
}

TEST_F(UnscramblerFileTest, IndexOutOfRangeIs0x706) {
    for (const int part : {-1, 2, 100}) {
        TraceOptions how;
        how.part = part;
        EXPECT_NE(Trace("%1 1 T\n1\n", how)
                      .find("GetNumRows -1\nGetNumCols -1\nError \"No further information available.\"\n"),
                  std::string::npos)
            << part;
    }
}

TEST_F(UnscramblerFileTest, IndexOutlivesClose) {
    const std::string path = folder.Write("matrix.uns", "%1 1 first\n1\n");
    UnscramblerFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    reader.Close();
    EXPECT_EQ(reader.GetNumberOfDataSets(), 1);
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumberOfDataSets(), 1);
}

TEST_F(UnscramblerFileTest, PartsTellNamesAndSizes) {
    const std::string path = folder.Write("matrix.uns", "%1 1 " + std::string(80, 'n') + "\n1\n" + Named);
    UnscramblerFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    const auto parts = reader.ListParts();
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[0].name, std::string(59, 'n'));
    EXPECT_EQ(parts[1].name, "Wheat");
    EXPECT_EQ(parts[1].cols, 4);
    EXPECT_EQ(parts[1].rows, 3);
}

TEST_F(UnscramblerFileTest, MillionMatricesAreIndexedAtOnce) {
    std::string bytes;
    for (int i = 0; i < 1'000'000; ++i) {
        bytes += "%1 1\n";
    }
    UnscramblerFile reader;
    ASSERT_EQ(reader.Open(true, folder.Write("matrix.uns", bytes).c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumberOfDataSets(), 1'000'000);
}

TEST_F(UnscramblerFileTest, PercentSignIsNoProof) {
    EXPECT_EQ(VerdictOf(Format, folder.Write("a.txt", "\n %2")), KindProbably);
    EXPECT_EQ(VerdictOf(Format, folder.Write("a.uns", "2 2")), KindNo);
    EXPECT_EQ(VerdictOf(Format, folder.Write("a.uns", "")), KindNo);
    EXPECT_EQ(VerdictOf(Format, folder.Path("none.uns")), KindNo);
}

TEST_F(UnscramblerFileTest, IsNotWritten) {
    UnscramblerFile reader;
    EXPECT_EQ(reader.Open(false, folder.Path("out.uns").c_str(), nullptr), SpreadsheetFile::StatusWrongMode);
    EXPECT_EQ(reader.EstablishSize(), 0x70a);
}

TEST_F(UnscramblerFileTest, StatusTextsAreExact) {
    struct Failing : UnscramblerFile {
        explicit Failing(int code) { status = code; }
    };
    const auto textOf = [](int code) {
        Failing file(code);
        return ErrorOf(file);
    };
    EXPECT_EQ(textOf(0x700), "Unable to open file.");
    EXPECT_EQ(textOf(0x701), "No further information available.");
    EXPECT_EQ(textOf(0x702), "The selected file is empty.");
    EXPECT_EQ(textOf(0x703), "The file does not appear to be a valid Unscrambler file.");
    EXPECT_EQ(textOf(0x704),
              "An error occurred while reading matrix header in file. The file does not appear to be a valid "
              "Unscrambler "
              "file.");
    EXPECT_EQ(textOf(0x706), "No further information available.");
    EXPECT_EQ(textOf(0x708), "An error occurred while reading observation names from file.");
    EXPECT_EQ(textOf(0x709), "An error occurred while reading variable names from file.");
}

TEST_F(UnscramblerFileTest, DamagedFilesEndInAStatus) {
    ForEachDamage(std::string(Named) + Named + "%3 2\n1 m -9.973e+23\n1e5 .5 7\n",
                  [&](const std::string& damaged) { EXPECT_TRUE(Trace(damaged).ends_with("Close\n")); });
}

TEST_F(UnscramblerFileTest, ProjectsOfTheNewerProgramAreRefused) {
    SKIP_WITHOUT_SHARED_DATA();
    for (const std::string& path : SharedFiles("data/instrument/unscrambler/bad")) {
        EXPECT_NE(ReadTrace(Format, path).find("Open 0x703\n"), std::string::npos) << path;
    }
}
