#include "instrument/GalacticSPCFile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>

#include "base/NumberFormat.h"
#include "frame/ImportHelperBase.h"
#include "frame/OptionsText.h"
#include "table/TableData.h"
#include "tests/instrument/SPCBuilder.h"
#include "tests/support/CountingSink.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpectrumTruth.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Format = "GalacticSPC File";

// The three cells that every read begins with.
constexpr const char* Heading = "Set 1 1 text \"Primary ID\"\nSet 2 1 text \"Name\"\nSet 3 1 text \"Date\"\n";

class GalacticSPCFileTest : public testing::Test {
protected:
    std::string Trace(const std::string& bytes, const TraceOptions& how = {}) {
        return ReadTrace(Format, folder.Write("a.spc", bytes), how);
    }
    std::string Trace(const SPCBuilder& file, const TraceOptions& how = {}) {
        return Trace(file.Build(), how);
    }
    std::string TraceTwo(const std::string& first, const std::string& second, const TraceOptions& how = {}) {
        return ReadTrace(Format, folder.Write("a.spc", first) + "\n" + folder.Write("b.spc", second), how);
    }
    /** The cells of one row from the fourth column on. */
    static std::string ValuesOf(const std::string& trace, int row) {
        std::string values;
        for (int column = 4;; ++column) {
            const std::string start = "Set " + std::to_string(column) + " " + std::to_string(row) + " ";
            const std::size_t found = trace.find("\n" + start);
            if (found == std::string::npos) {
                return values;
            }
            const std::size_t begin = trace.find(' ', found + 1 + start.size()) + 1;
            values += (values.empty() ? "" : " ") + trace.substr(begin, trace.find('\n', begin) - begin);
        }
    }
    static std::string CellOf(const std::string& trace, int column, int row) {
        const std::string start = "\nSet " + std::to_string(column) + " " + std::to_string(row) + " ";
        const std::size_t found = trace.find(start);
        if (found == std::string::npos) {
            return "unset";
        }
        const std::size_t begin = found + start.size();
        return trace.substr(begin, trace.find('\n', begin) - begin);
    }
    static std::string Failure(const char* operation, const char* code, const std::string& message) {
        return std::string(operation) + " " + code + "\nError \"" + message + "\"\nClose\n";
    }

    TempFolder folder;
};

// One sub-file of integers, read with this exponent in the header.
template <class Number>
SPCBuilder IntegerFile(unsigned int flags, int exponent, const std::vector<Number>& values) {
    SPCBuilder file;
    file.flags = flags;
    file.exponent = exponent;
    file.numPoints = static_cast<std::int32_t>(values.size());
    file.lastX = static_cast<double>(values.size());
    file.subFiles = {{SPCValues(values)}};
    return file;
}

SPCBuilder LongFile(int numPoints, double firstX, double step) {
    SPCBuilder file;
    std::vector<float> values;
    for (int i = 0; i < numPoints; ++i) {
        values.push_back(static_cast<float>(i) / 8.0F);
    }
    file.numPoints = numPoints;
    file.firstX = firstX;
    file.lastX = firstX + step * (numPoints - 1);
    file.subFiles = {{SPCValues(values)}};
    return file;
}

SPCBuilder MultiFile(const std::vector<SPCSubFile>& subFiles, unsigned int flags = SPCMulti) {
    SPCBuilder file;
    file.flags = flags;
    file.subFiles = subFiles;
    file.numSubFiles = static_cast<std::int32_t>(subFiles.size());
    for (SPCSubFile& subFile : file.subFiles) {
        if (subFile.values.empty()) {
            subFile.values = SPCValues<float>({1.0F, 2.0F, 3.0F});
            subFile.exponent = -128;
        }
    }
    return file;
}

TestOptions Constraints(const std::string& starts, const std::string& ends, const std::string& count,
                        const std::string& average = "0", const std::string& includeX = "true") {
    return {{"IncludeXAsAnObservation", includeX}, {"IncludeAllObservations", "false"},
            {"NumberOfIncludedIntervals", count},  {"UseAverage", average},
            {"IncludeXStartPt", starts},           {"IncludeXEndPt", ends}};
}

}  // namespace

TEST_F(GalacticSPCFileTest, ReadsOneSpectrum) {
    SPCBuilder file;
    file.date = SPCDate(2004, 5, 6, 7, 8);
    EXPECT_EQ(Trace(file), std::string("Format \"GalacticSPC File\"\n"
                                       "Open 0x0\n"
                                       "GetNumRows 3\n"
                                       "GetNumCols 6\n"
                                       "SetDataSize 6 3\n") +
                               Heading +
                               "Set 4 1 text \"t 1\"\n"
                               "Set 5 1 text \"t 2\"\n"
                               "Set 6 1 text \"t 3\"\n"
                               "Set 1 2 int 1\n"
                               "Set 2 2 text \"\"\n"
                               "Set 3 2 text \"cm-1\"\n"
                               "Set 4 2 float 1\n"
                               "Set 5 2 float 2\n"
                               "Set 6 2 float 3\n"
                               "Set 1 3 int 2\n"
                               "Set 2 3 text \"a\"\n"
                               "Set 3 3 text \"2004-05-06 07:08:00.000\"\n"
                               "Set 4 3 float 0.125\n"
                               "Set 5 3 float 0.5\n"
                               "Set 6 3 float -0.75\n"
                               "Read 0x0\n"
                               "Close\n");
}

TEST_F(GalacticSPCFileTest, EverySubFileIsARowWithItsNumber) {
    const std::string trace = Trace(MultiFile({{}, {}, {}}));
    EXPECT_NE(trace.find("GetNumRows 5\n"), std::string::npos);
    EXPECT_EQ(CellOf(trace, 2, 3), "text \"a_1\"");
    EXPECT_EQ(CellOf(trace, 2, 5), "text \"a_3\"");
    EXPECT_EQ(CellOf(trace, 1, 5), "int 4");
}

TEST_F(GalacticSPCFileTest, SixteenBitValuesAreScaledByTheExponent) {
    const auto file = IntegerFile<std::int16_t>(SPCInt16, 2, {16384, -1, 32767});
    EXPECT_EQ(ValuesOf(Trace(file), 3), "1 -6.10351562e-05 1.99993896");
}

TEST_F(GalacticSPCFileTest, SixteenBitFlagBeatsTheFloatExponent) {
    const auto file = IntegerFile<std::int16_t>(SPCInt16, -128, {16384});
    EXPECT_EQ(ValuesOf(Trace(file), 3), FormatG(std::ldexp(16384.0, -144), 9));
}

TEST_F(GalacticSPCFileTest, ThirtyTwoBitValuesAreScaledByTheExponent) {
    const auto file = IntegerFile<std::int32_t>(0, 4, {1 << 28, -(1 << 27), 1});
    EXPECT_EQ(ValuesOf(Trace(file), 3), "1 -0.5 3.7252903e-09");
}

TEST_F(GalacticSPCFileTest, ExponentIsSigned) {
    EXPECT_EQ(ValuesOf(Trace(IntegerFile<std::int32_t>(0, -2, {1 << 30})), 3), "0.0625");
}

TEST_F(GalacticSPCFileTest, NegativePowerMultiplies) {
    EXPECT_EQ(ValuesOf(Trace(IntegerFile<std::int32_t>(0, 40, {3, -5})), 3), "768 -1280");
}

TEST_F(GalacticSPCFileTest, MultiFileTakesTheExponentOfEachSubFile) {
    auto file = MultiFile({{SPCValues<std::int32_t>({1 << 30, 0, 0}), 4},
                           {SPCValues<float>({1.5F, 2.5F, 3.5F}), -128},
                           {SPCValues<std::int32_t>({1 << 30, 0, 0}), 5}});
    const std::string trace = Trace(file);
    EXPECT_EQ(ValuesOf(trace, 3), "4 0 0");
    EXPECT_EQ(ValuesOf(trace, 4), "1.5 2.5 3.5");
    EXPECT_EQ(ValuesOf(trace, 5), "8 0 0");
}

TEST_F(GalacticSPCFileTest, ExponentsOfEveryValueScaleByTheirPowerOfTwo) {
    std::vector<SPCSubFile> subFiles;
    for (int exponent = -127; exponent <= 127; ++exponent) {
        subFiles.push_back({SPCValues<std::int32_t>({1, -3, 1 << 30}), exponent});
    }
    const std::string path = folder.Write("a.spc", MultiFile(subFiles).Build());
    GalacticSPCFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    for (int exponent = -127; exponent <= 127; ++exponent) {
        const int row = 3 + exponent + 127;
        EXPECT_EQ(table.GetFloatValue(4, row), static_cast<float>(std::ldexp(1.0, exponent - 32)));
        EXPECT_EQ(table.GetFloatValue(5, row), static_cast<float>(std::ldexp(-3.0, exponent - 32)));
        EXPECT_EQ(table.GetFloatValue(6, row), static_cast<float>(std::ldexp(1.0, exponent - 2)));
    }
}

TEST_F(GalacticSPCFileTest, WithoutTheMultiFlagSubHeadersSayNothing) {
    auto file = MultiFile({{SPCValues<std::int32_t>({1 << 30, 0, 0}), 7, 0, 90.0F},
                           {SPCValues<std::int32_t>({1 << 29, 0, 0}), -128, 1, -5.0F}},
                          0);
    file.exponent = 3;
    file.date = SPCDate(2004, 5, 6, 7, 8);
    const std::string trace = Trace(file);
    EXPECT_EQ(ValuesOf(trace, 3), "2 0 0");
    EXPECT_EQ(ValuesOf(trace, 4), "1 0 0");
    EXPECT_EQ(CellOf(trace, 3, 4), "text \"2004-05-06 07:08:00.000\"");
}

TEST_F(GalacticSPCFileTest, OldFormatSwapsTheHalvesOfIntegers) {
    OldSPCBuilder file;
    file.exponent = 16;
    // 0x00010000 lies there as 01 00 00 00, 0x00000001 as 00 00 01 00.
    file.values = std::string("\x01\x00\x00\x00\x00\x00\x01\x00\xff\xff\xff\xff", 12);
    const std::string trace = Trace(file.Build());
    EXPECT_EQ(ValuesOf(trace, 3), "1 1.52587891e-05 -1.52587891e-05");
    EXPECT_EQ(CellOf(trace, 3, 3), "text \"00:00:00.000\"");
    EXPECT_EQ(CellOf(trace, 3, 2), "text \"\"");
}

TEST_F(GalacticSPCFileTest, OldFormatHoldsSixteenBitValuesAndFloatsToo) {
    OldSPCBuilder file;
    EXPECT_EQ(ValuesOf(Trace(file.Build()), 3), "0.125 0.5 -0.75");
    file.flags = SPCInt16;
    file.exponent = 0;
    file.values = SPCValues<std::int16_t>({16384, -16384, 1});
    EXPECT_EQ(ValuesOf(Trace(file.Build()), 3), "0.25 -0.25 1.52587891e-05");
}

TEST_F(GalacticSPCFileTest, OldFormatCutsItsPointCountToAWholeNumber) {
    OldSPCBuilder file;
    file.numPoints = 3.9F;
    EXPECT_EQ(ValuesOf(Trace(file.Build()), 2), "1 2 3");
}

TEST_F(GalacticSPCFileTest, OldExponentsOfAnyValueStayNumbers) {
    OldSPCBuilder file;
    file.values = SPCValues<std::int32_t>({1, 1, 1});
    file.exponent = 32767;
    EXPECT_EQ(ValuesOf(Trace(file.Build()), 3), "inf inf inf");
    file.exponent = -32768;
    EXPECT_EQ(ValuesOf(Trace(file.Build()), 3), "0 0 0");
}

TEST_F(GalacticSPCFileTest, OnePointHasASpacingThatIsNoNumber) {
    SPCBuilder file;
    file.numPoints = 1;
    file.lastX = file.firstX;
    file.subFiles = {{SPCValues<float>({7.0F})}};
    const std::string trace = Trace(file);
    EXPECT_NE(trace.find("GetNumCols 4\n"), std::string::npos);
    EXPECT_EQ(CellOf(trace, 4, 1), "text \"t nan\"");
    EXPECT_EQ(ValuesOf(trace, 3), "7");
    EXPECT_NE(trace.find("Read 0x0\n"), std::string::npos);
}

TEST_F(GalacticSPCFileTest, NoPointsGiveNoColumnCount) {
    SPCBuilder file;
    file.numPoints = 0;
    EXPECT_NE(Trace(file).find("Open 0x0\nGetNumRows 3\nGetNumCols -1\nClose\n"), std::string::npos);
}

TEST_F(GalacticSPCFileTest, NegativeCountsGiveNoCells) {
    SPCBuilder file;
    file.numPoints = -7;
    EXPECT_EQ(ValuesOf(Trace(file), 3), "");
    SPCBuilder noRows;
    noRows.numSubFiles = -2;
    EXPECT_NE(Trace(noRows).find("GetNumRows 0\nGetNumCols 6\nNoData\n"), std::string::npos);
}

TEST_F(GalacticSPCFileTest, XIsComputedInFloat) {
    SPCBuilder file = LongFile(4, 1000.1, 0.3);
    const float spacing = 0.3F;
    std::string expected;
    for (int i = 0; i < 4; ++i) {
        expected += (i == 0 ? "" : " ") + FormatG(static_cast<float>(i) * spacing + 1000.1F, 9);
    }
    EXPECT_EQ(ValuesOf(Trace(file), 2), expected);
}

TEST_F(GalacticSPCFileTest, UnitOfTheAxisStandsInTheXRow) {
    SPCBuilder file;
    const char* const names[] = {"",
                                 "cm-1",
                                 "um",
                                 "nm",
                                 "Sec",
                                 "Min",
                                 "Hz",
                                 "KHz",
                                 "MHz",
                                 "M/z",
                                 "PPM",
                                 "Days",
                                 "Years",
                                 "Raman Shift (cm-1)",
                                 "eV",
                                 "",
                                 "Diod Number",
                                 "Channel",
                                 "Degrees",
                                 "\\xc2\\xb0F",
                                 "\\xc2\\xb0C",
                                 "\\xc2\\xb0K",
                                 "Data Points",
                                 "mSec",
                                 "uSec",
                                 "nSec",
                                 "GHz",
                                 "cm",
                                 "m",
                                 "mm",
                                 "Hours",
                                 ""};
    for (unsigned int code = 0; code < std::size(names); ++code) {
        file.xType = code;
        EXPECT_EQ(CellOf(Trace(file), 3, 2), std::string("text \"") + names[code] + "\"") << code;
    }
    file.xType = 255;
    EXPECT_EQ(CellOf(Trace(file), 3, 2), "text \"\"");
}

TEST_F(GalacticSPCFileTest, AxisTextIsTakenUnderItsFlagOnly) {
    SPCBuilder file;
    file.axisText = "Retardation";
    EXPECT_EQ(CellOf(Trace(file), 3, 2), "text \"cm-1\"");
    file.flags = SPCAxisText;
    EXPECT_EQ(CellOf(Trace(file), 3, 2), "text \"Retardation\"");
    file.axisText = std::string(40, 'x');
    EXPECT_EQ(CellOf(Trace(file), 3, 2), "text \"" + std::string(30, 'x') + "\"");
    file.axisText.clear();
    EXPECT_EQ(CellOf(Trace(file), 3, 2), "text \"\"");
}

TEST_F(GalacticSPCFileTest, TimeOfASubFileMovesItsDate) {
    auto file = MultiFile({{"", 0, 0, 0.0F}, {"", 0, 1, 90.5F}});
    file.date = SPCDate(2004, 5, 6, 7, 8);
    const std::string trace = Trace(file);
    EXPECT_EQ(CellOf(trace, 3, 3), "text \"2004-05-06 07:08:00.000\"");
    EXPECT_EQ(CellOf(trace, 3, 4), "text \"2004-05-06 07:09:30.500\"");
}

TEST_F(GalacticSPCFileTest, OrderedTimesAreComputedFromTheIndex) {
    auto file = MultiFile({{"", 0, 0, 10.0F}, {"", 0, 1, 99.0F}, {"", 0, 5, 99.0F}}, SPCMulti | SPCOrdered);
    file.zIncrement = 2.0F;
    const std::string trace = Trace(file);
    EXPECT_EQ(CellOf(trace, 3, 3), "text \"10.000\"");
    EXPECT_EQ(CellOf(trace, 3, 4), "text \"12.000\"");
    EXPECT_EQ(CellOf(trace, 3, 5), "text \"20.000\"");
}

TEST_F(GalacticSPCFileTest, OrderedTimesWithoutAnIncrementTakeTheStepToTheNext) {
    auto file = MultiFile({{"", 0, 0, 10.0F, 10.0F}, {"", 0, 1, 11.0F, 14.0F}, {"", 0, 2, 99.0F, 0.0F}},
                          SPCMulti | SPCOrdered);
    const std::string trace = Trace(file);
    EXPECT_EQ(CellOf(trace, 3, 3), "text \"10.000\"");
    EXPECT_EQ(CellOf(trace, 3, 4), "text \"13.000\"");
    EXPECT_EQ(CellOf(trace, 3, 5), "text \"16.000\"");
}

TEST_F(GalacticSPCFileTest, OneSubFileIsNotOrdered) {
    auto file = MultiFile({{"", 0, 3, 10.0F}}, SPCMulti | SPCOrdered);
    file.zIncrement = 5.0F;
    EXPECT_EQ(CellOf(Trace(file), 3, 3), "text \"10.000\"");
}

TEST_F(GalacticSPCFileTest, XArrayFeedsTheNamesAndTheXRow) {
    SPCBuilder file;
    file.flags = SPCXArray;
    file.xArray = {1.0F, 1.25F, 3.0F};
    const std::string trace = Trace(file);
    EXPECT_EQ(ValuesOf(trace, 1), "\"t 1\" \"t 1.25\" \"t 3\"");
    EXPECT_EQ(ValuesOf(trace, 2), "1 1.25 3");
    EXPECT_EQ(ValuesOf(trace, 3), "0.125 0.5 -0.75");
}

TEST_F(GalacticSPCFileTest, ValuesAreChosenOnTheEvenGrid) {
    // In the array no point lies between 1.5 and 2.5; on the even grid the second one does.
    SPCBuilder file;
    file.flags = SPCXArray;
    file.xArray = {1.0F, 1.25F, 3.0F};
    TestOptions options = Constraints("1.5", "2.5", "1");
    const std::string trace = Trace(file, {options.Get()});
    EXPECT_NE(trace.find("GetNumCols 4\n"), std::string::npos);
    EXPECT_EQ(ValuesOf(trace, 2), "");
    EXPECT_EQ(ValuesOf(trace, 3), "0.5");
}

TEST_F(GalacticSPCFileTest, ArrayWithNumbersThatAreNoneIsItself) {
    SPCBuilder file;
    file.flags = SPCXArray;
    file.xArray = {1.0F, std::nanf(""), 3.0F};
    EXPECT_NE(Trace(file).find("Read 0x0\n"), std::string::npos);
}

TEST_F(GalacticSPCFileTest, ArraysThatDifferAreStatus0xa09) {
    SPCBuilder first;
    first.flags = SPCXArray;
    first.xArray = {1.0F, 1.25F, 3.0F};
    SPCBuilder second = first;
    second.xArray[1] = 1.5F;
    EXPECT_NE(TraceTwo(first.Build(), second.Build())
                  .find(Failure("Open", "0xa09", "The X variable names in files differ from each other")),
              std::string::npos);
    EXPECT_NE(TraceTwo(first.Build(), first.Build()).find("Read 0x0\n"), std::string::npos);
}

TEST_F(GalacticSPCFileTest, XArrayThatIsCutIsStatus0xa04) {
    SPCBuilder file;
    file.flags = SPCXArray;
    file.xArray = {1.0F, 1.25F};
    file.subFiles.clear();
    EXPECT_NE(Trace(file).find(Failure("Open", "0xa04", "No further information available.")),
              std::string::npos);
}

TEST_F(GalacticSPCFileTest, FileThatIsNotThereIsStatus0xa00) {
    EXPECT_NE(
        ReadTrace(Format, folder.Path("none.spc")).find(Failure("Open", "0xa00", "Unable to open file.")),
        std::string::npos);
    EXPECT_NE(ReadTrace(Format, folder.Path("")).find("Open 0xa00\n"), std::string::npos);
}

TEST_F(GalacticSPCFileTest, UnknownVersionIsStatus0xa02) {
    SPCBuilder file;
    file.version = 'X';
    const std::string message = "This file does not seem to be a valid Galactic SPC file.";
    EXPECT_NE(Trace(file).find(Failure("Open", "0xa02", message)), std::string::npos);
    EXPECT_NE(Trace(std::string("K")).find(Failure("Open", "0xa02", message)), std::string::npos);
    EXPECT_NE(Trace(std::string()).find(Failure("Open", "0xa02", message)), std::string::npos);
}

TEST_F(GalacticSPCFileTest, VersionLIsStatus0xa03) {
    SPCBuilder file;
    file.version = 'L';
    EXPECT_NE(
        Trace(file).find(Failure("Open", "0xa03", "This version of Galactic SPC files are not supported.")),
        std::string::npos);
    EXPECT_NE(Trace(std::string("xL")).find("Open 0xa03\n"), std::string::npos);
}

TEST_F(GalacticSPCFileTest, HeaderThatIsCutIsStatus0xa04) {
    SPCBuilder file;
    file.flags = SPCXYPairs;
    EXPECT_NE(Trace(file.Build().substr(0, 511)).find("Open 0xa04\n"), std::string::npos);
    EXPECT_NE(Trace(OldSPCBuilder().Build().substr(0, 255)).find("Open 0xa04\n"), std::string::npos);
}

TEST_F(GalacticSPCFileTest, OldFileWithAnXArrayIsStatus0xa05) {
    OldSPCBuilder file;
    file.flags = SPCXArray;
    EXPECT_NE(
        Trace(file.Build()).find(Failure("Open", "0xa05", "Unevenly spaced X-variables are not supported.")),
        std::string::npos);
}

TEST_F(GalacticSPCFileTest, EmptySelectionIsStatus0xa06InRead) {
    GalacticSPCFile reader;
    EXPECT_EQ(reader.Open(true, "", nullptr), 0);
    EXPECT_EQ(reader.GetNumCols(), -1);
    CountingSink sink;
    EXPECT_EQ(reader.Read(&sink), 0xa06);
    EXPECT_EQ(ErrorOf(reader), "No files were selected, import aborted.");
    EXPECT_EQ(sink.cells, 0);
}

TEST_F(GalacticSPCFileTest, FilesThatDifferAreStatus0xa07InRead) {
    SPCBuilder other;
    other.firstX = 1.5;
    const std::string message = "The data did not have the same X-spacing.";
    EXPECT_NE(TraceTwo(SPCBuilder().Build(), other.Build()).find(Failure("Read", "0xa07", message)),
              std::string::npos);
    other.firstX = 1.0;
    other.lastX = 4.0;
    EXPECT_NE(TraceTwo(SPCBuilder().Build(), other.Build()).find(Failure("Read", "0xa07", message)),
              std::string::npos);
}

TEST_F(GalacticSPCFileTest, XYPairsAreStatus0xa08) {
    SPCBuilder file;
    file.flags = SPCXYPairs;
    EXPECT_NE(
        Trace(file).find(Failure("Open", "0xa08",
                                 "Looks like GC-MS spectra file(s) and that is not supported at the moment. "
                                 "Contact the Norvik support.")),
        std::string::npos);
}

TEST_F(GalacticSPCFileTest, StatusTextsThatNoReadRaisesAreKept) {
    struct Failing : GalacticSPCFile {
        explicit Failing(int code) { status = code; }
    };
    Failing notOpen(GalacticSPCFile::StatusNotOpen);
    Failing other(0x7777);
    EXPECT_EQ(ErrorOf(notOpen), "Unable to read file. The file was not opened or Open File failed.");
    EXPECT_EQ(ErrorOf(other), "No further information available.");
}

TEST_F(GalacticSPCFileTest, FilesWithinTheToleranceAreOneTable) {
    SPCBuilder first = LongFile(5, 400.0, 100.0);
    SPCBuilder second = LongFile(7, 400.00003, 100.0);
    const std::string trace = TraceTwo(first.Build(), second.Build());
    EXPECT_NE(trace.find("GetNumRows 4\nGetNumCols 10\n"), std::string::npos);
    EXPECT_EQ(ValuesOf(trace, 1), "\"t 400\" \"t 500\" \"t 600\" \"t 700\" \"t 800\" \"t 900\" \"t 1000\"");
    EXPECT_EQ(ValuesOf(trace, 3), "0 0.125 0.25 0.375 0.5");
    EXPECT_EQ(ValuesOf(trace, 4), "0 0.125 0.25 0.375 0.5 0.625 0.75");
}

TEST_F(GalacticSPCFileTest, OldAndNewFilesAreOneTable) {
    SPCBuilder newer;
    newer.date = SPCDate(2020, 1, 2, 3, 4);
    const std::string trace = TraceTwo(OldSPCBuilder().Build(), newer.Build());
    EXPECT_EQ(CellOf(trace, 3, 3), "text \"00:00:00.000\"");
    EXPECT_EQ(CellOf(trace, 3, 4), "text \"2020-01-02 03:04:00.000\"");
    // The label is that of the header read last.
    EXPECT_EQ(CellOf(trace, 3, 2), "text \"cm-1\"");
    EXPECT_EQ(CellOf(TraceTwo(newer.Build(), OldSPCBuilder().Build()), 3, 2), "text \"\"");
}

TEST_F(GalacticSPCFileTest, SecondFileThatIsNoneEndsOpen) {
    EXPECT_NE(TraceTwo(SPCBuilder().Build(), "text").find("Open 0xa02\n"), std::string::npos);
}

TEST_F(GalacticSPCFileTest, ValueThatIsCutEndsReadBehindTheRowsBeforeIt) {
    const std::string bytes = MultiFile({{}, {}}).Build();
    const std::string trace = Trace(bytes.substr(0, bytes.size() - 2));
    EXPECT_EQ(ValuesOf(trace, 3), "1 2 3");
    EXPECT_EQ(ValuesOf(trace, 4), "1 2");
    EXPECT_NE(trace.find("Read 0xa02\n"), std::string::npos);
}

TEST_F(GalacticSPCFileTest, SubHeaderThatIsCutEndsReadBehindTheRowsBeforeIt) {
    const std::string bytes = MultiFile({{}, {}}).Build();
    const std::string trace = Trace(bytes.substr(0, bytes.size() - 13));
    EXPECT_EQ(ValuesOf(trace, 3), "1 2 3");
    EXPECT_EQ(CellOf(trace, 1, 4), "unset");
    EXPECT_NE(trace.find("Read 0xa02\n"), std::string::npos);
}

TEST_F(GalacticSPCFileTest, CutInARowThatIsNotWantedEndsReadToo) {
    const std::string bytes = MultiFile({{}, {}, {}}).Build();
    EXPECT_NE(Trace(bytes.substr(0, bytes.size() - 45), {nullptr, "5"}).find("Read 0xa02\n"),
              std::string::npos);
}

TEST_F(GalacticSPCFileTest, CountsThatCanNotBeTrueAreStatus0xa02) {
    SPCBuilder points;
    points.numPoints = std::numeric_limits<std::int32_t>::max();
    EXPECT_NE(Trace(points).find("Open 0xa02\n"), std::string::npos);
    SPCBuilder subFiles;
    subFiles.numSubFiles = 1'000'000'000;
    EXPECT_NE(Trace(subFiles).find("Open 0xa02\n"), std::string::npos);
    SPCBuilder array = points;
    array.flags = SPCXArray;
    EXPECT_NE(Trace(array).find("Open 0xa04\n"), std::string::npos);
    OldSPCBuilder old;
    for (const float count : {1e30F, std::nanf(""), -std::numeric_limits<float>::infinity()}) {
        old.numPoints = count;
        EXPECT_NE(Trace(old.Build()).find("Open 0xa02\n"), std::string::npos);
    }
}

TEST_F(GalacticSPCFileTest, IntervalsChooseTheColumns) {
    TestOptions options = Constraints("200,500", "300,500", "2");
    const std::string trace = Trace(LongFile(8, 100.0, 100.0), {options.Get()});
    EXPECT_NE(trace.find("GetNumCols 6\n"), std::string::npos);
    EXPECT_EQ(ValuesOf(trace, 1), "\"t 200\" \"t 300\" \"t 500\"");
    EXPECT_EQ(ValuesOf(trace, 2), "200 300 500");
    EXPECT_EQ(ValuesOf(trace, 3), "0.125 0.25 0.5");
}

TEST_F(GalacticSPCFileTest, AverageMergesNeighbours) {
    TestOptions options = Constraints("0", "1000", "1", "2");
    const std::string trace = Trace(LongFile(7, 100.0, 100.0), {options.Get()});
    EXPECT_EQ(ValuesOf(trace, 1), "\"t 150\" \"t 350\" \"t 550\"");
    EXPECT_EQ(ValuesOf(trace, 3), "0.0625 0.3125 0.5625");
}

TEST_F(GalacticSPCFileTest, WithoutTheXRowTheNamesAreNumbers) {
    TestOptions options = Constraints("0", "1000", "1", "0", "false");
    EXPECT_EQ(
        Trace(SPCBuilder(), {options.Get()}),
        std::string("Format \"GalacticSPC File\"\nOpen 0x0\nGetNumRows 2\nGetNumCols 6\nSetDataSize 6 2\n") +
            Heading +
            "Set 4 1 float 1\nSet 5 1 float 2\nSet 6 1 float 3\n"
            "Set 1 2 int 1\nSet 2 2 text \"a\"\nSet 3 2 text \"00.000\"\n"
            "Set 4 2 float 0.125\nSet 5 2 float 0.5\nSet 6 2 float -0.75\nRead 0x0\nClose\n");
}

TEST_F(GalacticSPCFileTest, ReadingTheXRowLeavesOneRowLess) {
    GalacticSPCFile reader;
    ASSERT_EQ(reader.Open(true, folder.Write("a.spc", SPCBuilder().Build()).c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumRows(), 3);
    CountingSink sink;
    EXPECT_EQ(reader.Read(&sink), 0);
    EXPECT_EQ(reader.GetNumRows(), 2);
}

TEST_F(GalacticSPCFileTest, EmptyRecordIsFilledWithTheDefaults) {
    const std::string path = folder.Write("a.spc", LongFile(5, 400.0, 100.0).Build());
    NvImportOpenOptions record{0, nullptr};
    GalacticSPCFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), &record), 0);
    EXPECT_EQ(DecodeOptionsText(record),
              "<XMLSection><Settings><IncludeXAsAnObservation>true</IncludeXAsAnObservation>"
              "<IncludeAllObservations>true</IncludeAllObservations><NumberOfIncludedIntervals>1"
              "</NumberOfIncludedIntervals><UseAverage>0</UseAverage><IncludeXStartPt>400</IncludeXStartPt>"
              "<IncludeXEndPt>800</IncludeXEndPt></Settings></XMLSection>");
}

TEST_F(GalacticSPCFileTest, GivenRecordIsRenewed) {
    TestOptions options{{"UseAverage", "3"}};
    const std::string path = folder.Write("a.spc", SPCBuilder().Build());
    GalacticSPCFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), options.Get()), 0);
    EXPECT_NE(DecodeOptionsText(*options.Get()).find("<UseAverage>3</UseAverage><IncludeXStartPt>1<"),
              std::string::npos);
}

TEST_F(GalacticSPCFileTest, RecordGivenToTheDriverStaysTheCallers) {
    // The renewed bytes are the reader's, which is gone when the driver returns.
    TestOptions options{{"UseAverage", "3"}};
    const NvImportOpenOptions given = *options.Get();
    ImportHelperBase driver(nullptr, nullptr);
    TableData table;
    const std::string path = folder.Write("a.spc", SPCBuilder().Build());
    ASSERT_TRUE(driver.ReadSpreadsheetFile(path.c_str(), 0, &table, options.Get(), false, nullptr));
    EXPECT_EQ(options.Get()->data, given.data);
    EXPECT_EQ(options.Get()->size, given.size);
}

TEST_F(GalacticSPCFileTest, ListsAndCountThatDisagreeAreStatus0xa00) {
    TestOptions options = Constraints("100,300,500", "200", "3");
    EXPECT_NE(Trace(SPCBuilder(), {options.Get()}).find(Failure("Open", "0xa00", "Unable to open file.")),
              std::string::npos);
    TestOptions cut(std::string("\xff\0\0\0<XMLSection>", 16));
    EXPECT_NE(Trace(SPCBuilder(), {cut.Get()}).find("Open 0xa00\n"), std::string::npos);
}

TEST_F(GalacticSPCFileTest, OptionsAreNotReachedWhenTheFilesDiffer) {
    SPCBuilder other;
    other.firstX = 9.0;
    TestOptions cut(std::string("\xff\0\0\0<XMLSection>", 16));
    EXPECT_NE(TraceTwo(SPCBuilder().Build(), other.Build(), {cut.Get()}).find("Read 0xa07\n"),
              std::string::npos);
}

TEST_F(GalacticSPCFileTest, WantedRowsAloneAreSet) {
    const std::string trace = Trace(MultiFile({{}, {}, {}}), {nullptr, "1,4", 0, true});
    EXPECT_EQ(ValuesOf(trace, 3), "");
    EXPECT_EQ(ValuesOf(trace, 4), "1 2 3");
    EXPECT_EQ(CellOf(trace, 1, 2), "unset");
    EXPECT_NE(trace.find("NextRowToRead 1 4\nNextRowToRead 2 4\nNextRowToRead 4 -1\nSet 1 4 int 3\n"),
              std::string::npos);
}

TEST_F(GalacticSPCFileTest, RowBehindTheTableLeavesTheHeadingOnly) {
    EXPECT_EQ(CellsOf(Trace(SPCBuilder(), {nullptr, "9"})), Heading);
}

TEST_F(GalacticSPCFileTest, XRowAloneCanBeWanted) {
    EXPECT_EQ(CellsOf(Trace(SPCBuilder(), {nullptr, "2"})),
              std::string(Heading) +
                  "Set 1 2 int 1\nSet 2 2 text \"\"\nSet 3 2 text \"cm-1\"\n"
                  "Set 4 2 float 1\nSet 5 2 float 2\nSet 6 2 float 3\n");
}

TEST_F(GalacticSPCFileTest, HostChoosesAmongTheFiles) {
    struct Choosing : GalacticSPCFile {
        int SelectFiles() override { return SelectFilesToImport({1, 7, -1}); }
    };
    SPCBuilder other;
    other.firstX = 9.0;
    other.lastX = 11.0;
    const std::string paths =
        folder.Write("a.spc", SPCBuilder().Build()) + "\n" + folder.Write("b.spc", other.Build());
    Choosing reader;
    ASSERT_EQ(reader.Open(true, paths.c_str(), nullptr), 0);
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_STREQ(table.GetText(2, 3), "b");
    EXPECT_EQ(reader.GetFirstPoint(), 9.0);
    EXPECT_EQ(reader.GetLastPoint(), 11.0);
    EXPECT_EQ(reader.GetPointSpacing(), 1.0);
}

TEST_F(GalacticSPCFileTest, SelectingNothingIsStatus0xa06InRead) {
    GalacticSPCFile reader;
    EXPECT_EQ(reader.SelectFilesToImport({0}), -1);
    ASSERT_EQ(reader.Open(true, folder.Write("a.spc", SPCBuilder().Build()).c_str(), nullptr), 0);
    EXPECT_EQ(reader.SelectFilesToImport({}), 0);
    CountingSink sink;
    EXPECT_EQ(reader.Read(&sink), 0xa06);
    EXPECT_EQ(reader.SelectFilesToImport({0}), -1);
}

TEST_F(GalacticSPCFileTest, FileListDescribesEachFile) {
    const std::string paths = folder.Write("a.spc", LongFile(5, 400.0, 0.5).Build()) + "\n" +
                              folder.Write("b.spc", MultiFile({{}, {}}).Build());
    GalacticSPCFile reader;
    ASSERT_EQ(reader.Open(true, paths.c_str(), nullptr), 0);
    std::vector<std::string> list;
    EXPECT_EQ(reader.GetFileList(list), 0);
    EXPECT_EQ(list, (std::vector<std::string>{
                        "a.spc [Num values: 5, First value: 400, Last value: 402, X-Spacing: 0.5]",
                        "b.spc [Num sub-files: 2, Num values: 3]"}));
}

TEST_F(GalacticSPCFileTest, FactsTellWhatTheFileHolds) {
    auto file = MultiFile({{}, {}});
    GalacticSPCFile reader;
    ASSERT_EQ(reader.Open(true, folder.Write("a.spc", file.Build()).c_str(), nullptr), 0);
    std::string facts;
    for (const FileContents::Fact& fact : reader.ListFacts()) {
        facts += fact.name + "=" + fact.value + ";";
    }
    EXPECT_EQ(facts,
              "files=1;sub-files=2;points=3;first X=1 cm-1;last X=3 cm-1;spacing=1 cm-1;Y unit=absorbance;");
    ASSERT_EQ(reader.ListParts().size(), 1U);
    EXPECT_EQ(reader.ListParts().front().rows, 2);
}

TEST_F(GalacticSPCFileTest, CloseForgetsTheFiles) {
    GalacticSPCFile reader;
    ASSERT_EQ(reader.Open(true, folder.Write("a.spc", SPCBuilder().Build()).c_str(), nullptr), 0);
    reader.Close();
    EXPECT_EQ(reader.GetNumCols(), -1);
    EXPECT_EQ(reader.Open(true, folder.Path("none.spc").c_str(), nullptr), 0xa00);
    reader.Close();
    EXPECT_EQ(reader.GetStatus(), 0);
}

TEST_F(GalacticSPCFileTest, WritingIsStatus3) {
    GalacticSPCFile reader;
    EXPECT_EQ(reader.Open(false, folder.Path("out.spc").c_str(), nullptr), 3);
    EXPECT_EQ(ErrorOf(reader), "Tried to write to the file when it was opened for reading or vice versa.");
}

TEST_F(GalacticSPCFileTest, ThousandsOfFilesAreOneTable) {
    // More than a process may hold open.
    std::string paths;
    for (int i = 0; i < 3000; ++i) {
        paths += folder.Write(std::to_string(i) + ".spc", SPCBuilder().Build()) + "\n";
    }
    GalacticSPCFile reader;
    ASSERT_EQ(reader.Open(true, paths.c_str(), nullptr), 0);
    CountingSink sink;
    ASSERT_EQ(reader.Read(&sink), 0);
    EXPECT_EQ(sink.cells, (3000 + 2) * 6);
}

TEST_F(GalacticSPCFileTest, DamagedFilesEndInAStatus) {
    auto file = MultiFile({{}, {"", 0, 1, 3.0F}, {"", 0, 2, 1.0F}}, SPCMulti | SPCOrdered | SPCXArray);
    file.xArray = {1.0F, 2.0F, 3.0F};
    const std::string good = file.Build();
    std::mt19937 random(1);
    for (int round = 0; round < 400; ++round) {
        std::string damaged = good;
        for (std::size_t i = 0; i <= damaged.size() / 100; ++i) {
            damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        // The version byte stays, or little else is ever read.
        damaged[1] = round % 4 == 0 ? 'M' : 'K';
        EXPECT_NE(Trace(damaged).find("Close\n"), std::string::npos);
    }
    for (std::size_t size = 0; size < good.size(); ++size) {
        const std::string trace = Trace(good.substr(0, size));
        EXPECT_TRUE(trace.find("\nOpen 0xa0") != std::string::npos ||
                    trace.find("\nRead 0xa0") != std::string::npos)
            << size;
    }
}

TEST_F(GalacticSPCFileTest, RealFilesHoldWhatAnIndependentReaderFound) {
    SKIP_WITHOUT_SHARED_DATA();
    int files = 0;
    for (const std::string& path : SharedFiles("data/instrument/spc")) {
        if (!path.ends_with(".spc") || path.find("/bad/") != std::string::npos) {
            continue;
        }
        SCOPED_TRACE(path);
        const SpectrumTruth truth = ReadSpectrumTruth(path);
        GalacticSPCFile reader;
        ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
        TableData table;
        ASSERT_EQ(reader.Read(&table), 0);
        // An old file is one spectrum to us, however many there are behind it.
        const bool isOld = path.find("/old-") != std::string::npos;
        EXPECT_EQ(table.GetNumberOfRows(), (isOld ? 1 : truth.numSpectra) + 2);
        EXPECT_EQ(table.GetNumberOfColumns(), truth.numPoints + 3);
        EXPECT_FLOAT_EQ(static_cast<float>(table.GetFloatValue(4, 2)), static_cast<float>(truth.firstX));
        EXPECT_FLOAT_EQ(static_cast<float>(table.GetFloatValue(truth.numPoints + 3, 2)),
                        static_cast<float>(truth.lastX));
        for (const SpectrumTruth::Spectrum& spectrum : truth.spectra) {
            const int row = spectrum.index + 3;
            if (isOld && spectrum.index > 0) {
                continue;
            }
            double sum = 0.0;
            for (int column = 4; column <= truth.numPoints + 3; ++column) {
                sum += table.GetFloatValue(column, row);
            }
            EXPECT_NEAR(sum, spectrum.sumY, 1e-6 * std::fabs(spectrum.sumY) + 1e-6) << "row " << row;
            for (int i = 0; i < 5; ++i) {
                const auto at = static_cast<std::size_t>(i);
                EXPECT_FLOAT_EQ(static_cast<float>(table.GetFloatValue(4 + i, row)),
                                static_cast<float>(spectrum.firstY[at]));
                EXPECT_FLOAT_EQ(static_cast<float>(table.GetFloatValue(truth.numPoints - 1 + i, row)),
                                static_cast<float>(spectrum.lastY[at]));
            }
        }
        ++files;
    }
    EXPECT_GT(files, 0);
}

TEST_F(GalacticSPCFileTest, RealFilesThatAreNotForUsAreRefused) {
    SKIP_WITHOUT_SHARED_DATA();
    const std::string bad = SharedFolder() + "/data/instrument/spc/bad/";
    GalacticSPCFile document;
    EXPECT_EQ(document.Open(true, (bad + "shimadzu-ole.spc").c_str(), nullptr), 0xa02);
    GalacticSPCFile pairs;
    EXPECT_EQ(pairs.Open(true, (bad + "xyxy-multi.spc").c_str(), nullptr), 0xa08);
}
