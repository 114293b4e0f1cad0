#include "container/AndiFileReader.h"

#include <gtest/gtest.h>

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cmath>
#include <limits>

#include "container/NetCDFFile.h"
#include "frame/OptionsText.h"
#include "table/TableData.h"
#include "tests/container/Damage.h"
#include "tests/container/NetCDFBuilder.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Format = "NetCDF Files";

class AndiFileReaderTest : public testing::Test {
protected:
    std::string Write(const std::string& name, const NetCDFBuilder& file) {
        return folder.Write(name, file.File());
    }
    std::string Trace(const NetCDFBuilder& file, const TraceOptions& how = {}) {
        return ReadTrace(Format, Write("run.cdf", file), how);
    }
    std::string Cells(const NetCDFBuilder& file, const TraceOptions& how = {}) {
        return CellsOf(Trace(file, how));
    }
    std::string Failure(const std::string& status, const std::string& text) {
        return std::string("Format \"NetCDF Files\"\nOpen ") + status + "\nError \"" + text + "\"\nClose\n";
    }

    TempFolder folder;
};

constexpr const char* NoAndiFile = "The file does not seem to be a valid ANDI/chromatography file.";
constexpr const char* AttributesFailed = "Error while reading file attributes.";
constexpr const char* NotUniform =
    "Error wile reading file attributes in the file. Files with non-uniform sampling of data is not "
    "supported by KARTA.";
constexpr const char* MixedFiles =
    "To be able to import several files at a time, all selected files must have the same sampling interval "
    "and the same "
    "time delay between the injection and the start of data acquisition. In this case, ";

TestOptions Intervals(const std::string& includeX, const std::string& average, const std::string& starts,
                      const std::string& ends, const std::string& count) {
    return TestOptions{{"IncludeXAsAnObservation", includeX}, {"IncludeAllObservations", "false"},
                       {"NumberOfIncludedIntervals", count},  {"UseAverage", average},
                       {"IncludeXStartPt", starts},           {"IncludeXEndPt", ends}};
}

}  // namespace

TEST_F(AndiFileReaderTest, ReadsOneTraceBelowItsTimes) {
    NetCDFBuilder file = Chromatogram();
    file.ReplaceDimension("point_number", 2).Replace("ordinate_values", Floats({10, -0.5F}));
    EXPECT_EQ(
        Trace(file, {.withRows = true}),
        "Format \"NetCDF Files\"\nOpen 0x0\nGetNumRows 3\nGetNumCols 4\nSetDataSize 4 3\n"
        "NextRowToRead 0 1\n"
        "Set 1 1 text \"Primary ID\"\nSet 2 1 text \"Name\"\nSet 3 1 text \"t 1\"\nSet 4 1 text \"t 1.5\"\n"
        "NextRowToRead 1 2\n"
        "Set 3 2 float 1\nSet 4 2 float 1.5\nSet 1 2 int 1\nSet 2 2 text \"Retention Time(seconds)\"\n"
        "NextRowToRead 2 3\n"
        "Set 3 3 float 10\nSet 4 3 float -0.5\nSet 1 3 int 2\nSet 2 3 text \"run: Sample 1\"\n"
        "NextRowToRead 3 4\n"
        "Read 0x0\nClose\n");
}

TEST_F(AndiFileReaderTest, WithoutTheXRowTheNamesAreNumbers) {
    TestOptions options{{"IncludeXAsAnObservation", "false"}};
    NetCDFBuilder file = Chromatogram();
    file.ReplaceDimension("point_number", 2).Replace("ordinate_values", Floats({10, 20}));
    EXPECT_EQ(Trace(file, {options.Get()}),
              "Format \"NetCDF Files\"\nOpen 0x0\nGetNumRows 2\nGetNumCols 4\nSetDataSize 4 2\n"
              "Set 1 1 text \"Primary ID\"\nSet 2 1 text \"Name\"\nSet 3 1 float 1\nSet 4 1 float 1.5\n"
              "Set 3 2 float 10\nSet 4 2 float 20\nSet 1 2 int 1\nSet 2 2 text \"run: Sample 1\"\n"
              "Read 0x0\nClose\n");
}

TEST_F(AndiFileReaderTest, EveryRequiredAttributeIsMissed) {
    for (const char* name : {"netcdf_revision", "dataset_completeness", "sample_name"}) {
        EXPECT_EQ(Trace(Chromatogram().Without(name)), Failure("0x822", NoAndiFile)) << name;
    }
    AndiFileReader reader;
    EXPECT_EQ(
        reader.Open(true, Write("a.cdf", Chromatogram().Without("aia_template_revision")).c_str(), nullptr),
        0x822);
    reader.Close();
    EXPECT_EQ(reader.Open(true, folder.Path("none.cdf").c_str(), nullptr), 0x822);
}

TEST_F(AndiFileReaderTest, EveryRequiredVariableIsMissed) {
    for (const char* name :
         {"actual_run_time_length", "actual_sampling_interval", "actual_delay_time", "ordinate_values"}) {
        EXPECT_EQ(Trace(Chromatogram().Without(name)), Failure("0x824", AttributesFailed)) << name;
    }
    NetCDFBuilder renamed = Chromatogram();
    renamed.Dimension("other", 7).Without("ordinate_values").Without("point_number");
    renamed.Variable("ordinate_values", {"other"}, Floats({1, 2, 3, 4, 5, 6, 7}));
    renamed.Attribute("uniform_sampling_flag", Chars("Y"));
    EXPECT_EQ(Trace(renamed), Failure("0x824", AttributesFailed)) << "no dimension point_number";
}

TEST_F(AndiFileReaderTest, MistypedVariablesFail) {
    EXPECT_EQ(Trace(Chromatogram().Replace("actual_delay_time", Chars("1"))),
              Failure("0x824", AttributesFailed));
    EXPECT_EQ(Trace(Chromatogram().Replace("ordinate_values", Chars("1234567"))),
              Failure("0x824", AttributesFailed));
    EXPECT_EQ(Trace(Chromatogram().Replace("actual_run_time_length", Doubles({1e300}))),
              Failure("0x824", AttributesFailed));
}

TEST_F(AndiFileReaderTest, OrdinatesThatDoNotBearOutThePointsFail) {
    NetCDFBuilder fewer = Chromatogram().Without("ordinate_values");
    fewer.Dimension("n", 5).Variable("ordinate_values", {"n"}, Floats({1, 2, 3, 4, 5}));
    fewer.Attribute("uniform_sampling_flag", Chars("Y"));
    EXPECT_EQ(Trace(fewer), Failure("0x824", AttributesFailed));
    NetCDFBuilder square = Chromatogram().Without("ordinate_values");
    square.Dimension("n", 1).Variable("ordinate_values", {"point_number", "n"},
                                      Floats({1, 2, 3, 4, 5, 6, 7}));
    square.Attribute("uniform_sampling_flag", Chars("Y"));
    EXPECT_EQ(Trace(square), Failure("0x824", AttributesFailed));
}

TEST_F(AndiFileReaderTest, NumbersOfOtherTypesAreConverted) {
    NetCDFBuilder file = Chromatogram();
    file.ReplaceDimension("point_number", 2).Replace("ordinate_values", Shorts({7, -7}));
    file.Replace("actual_sampling_interval", Doubles({0.25})).Replace("actual_delay_time", Ints({2}));
    EXPECT_NE(Cells(file).find("Set 3 2 float 2\nSet 4 2 float 2.25\n"), std::string::npos);
    EXPECT_NE(Cells(file).find("Set 3 3 float 7\nSet 4 3 float -7\n"), std::string::npos);
}

TEST_F(AndiFileReaderTest, SamplingMustBeUniform) {
    const auto withFlag = [](const NetCDFValues& flag) {
        NetCDFBuilder file = Chromatogram().Without("ordinate_values");
        file.Variable("ordinate_values", {"point_number"}, Floats({1, 2, 3, 4, 5, 6, 7}));
        return file.Attribute("uniform_sampling_flag", flag);
    };
    EXPECT_EQ(Trace(withFlag(Chars("N"))), Failure("0x825", NotUniform));
    EXPECT_EQ(Trace(withFlag(Chars("Yes"))), Failure("0x825", NotUniform));
    EXPECT_EQ(Trace(withFlag(Doubles({1}))), Failure("0x825", NotUniform));
    NetCDFBuilder without = Chromatogram().Without("ordinate_values");
    without.Variable("ordinate_values", {"point_number"}, Floats({1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(Trace(without), Failure("0x825", NotUniform));
    EXPECT_NE(Trace(withFlag(Chars("y"))).find("Read 0x0"), std::string::npos);
    EXPECT_NE(Trace(withFlag(Chars(std::string_view("Y\0", 2)))).find("Read 0x0"), std::string::npos);
}

TEST_F(AndiFileReaderTest, SampleNameThatIsNoTextOrEmptyIsLeftOut) {
    EXPECT_NE(Cells(Chromatogram().Replace("sample_name", Doubles({5}))).find("Set 2 3 text \"run\"\n"),
              std::string::npos);
    EXPECT_NE(Cells(Chromatogram().Replace("sample_name", Chars(""))).find("Set 2 3 text \"run\"\n"),
              std::string::npos);
}

TEST_F(AndiFileReaderTest, UnitStandsInTheNameOfTheTimes) {
    EXPECT_NE(Cells(Chromatogram().Replace("retention_unit", Chars("minutes")))
                  .find("Set 2 2 text \"Retention Time(minutes)\"\n"),
              std::string::npos);
    EXPECT_NE(
        Cells(Chromatogram().Without("retention_unit")).find("Set 2 2 text \"Retention Time(seconds)\"\n"),
        std::string::npos);
}

TEST_F(AndiFileReaderTest, NoPointsAreNoColumns) {
    NetCDFBuilder file =
        Chromatogram().ReplaceDimension("point_number", 0).Replace("ordinate_values", Floats({}));
    EXPECT_EQ(Trace(file), "Format \"NetCDF Files\"\nOpen 0x0\nGetNumRows 3\nGetNumCols -1\nClose\n");
}

TEST_F(AndiFileReaderTest, PointsAlongTheRecordsAreRead) {
    NetCDFBuilder file = Chromatogram().ReplaceDimension("point_number", 0).Records(7);
    EXPECT_EQ(Cells(file), Cells(Chromatogram()));
}

TEST_F(AndiFileReaderTest, TraceLongerThanOnePieceIsWhole) {
    constexpr std::uint32_t Points = 20000;
    std::vector<float> values(Points);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<float>(i);
    }
    AndiFileReader reader;
    const std::string path = Write(
        "long.cdf",
        Chromatogram().ReplaceDimension("point_number", Points).Replace("ordinate_values", Floats(values)));
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    for (const int point : {0, 8191, 8192, 19999}) {
        EXPECT_EQ(table.GetFloat(point + 3, 3), static_cast<float>(point));
        EXPECT_EQ(table.GetFloat(point + 3, 2), static_cast<float>(point) * 0.5F + 1.0F);
    }
    EXPECT_EQ(table.GetNumberOfColumns(), 20002);
}

TEST_F(AndiFileReaderTest, FilesOfOneAxisAreStacked) {
    const std::string first = Write("a.cdf", Chromatogram());
    const std::string second =
        Write("b.cdf",
              Chromatogram().ReplaceDimension("point_number", 2).Replace("ordinate_values", Floats({5, 6})));
    const std::string trace = ReadTrace(Format, second + "\n" + first);
    EXPECT_NE(trace.find("GetNumRows 4\nGetNumCols 9\n"), std::string::npos) << "as wide as the longest";
    EXPECT_NE(trace.find("Set 3 3 float 5\nSet 4 3 float 6\nSet 1 3 int 2\nSet 2 3 text \"b: Sample 1\"\n"),
              std::string::npos)
        << "the shorter row leaves its end unset";
}

TEST_F(AndiFileReaderTest, FilesThatDifferAreRefused) {
    const std::string first = Write("a.cdf", Chromatogram());
    const auto second = [&](const NetCDFBuilder& file) {
        return ReadTrace(Format, first + "\n" + Write("b.cdf", file));
    };
    EXPECT_EQ(
        second(Chromatogram().Replace("actual_sampling_interval", Floats({0.25F}))),
        Failure("0x827", std::string(MixedFiles) + "not all selected files had the same sampling interval."));
    EXPECT_EQ(
        second(Chromatogram().Replace("retention_unit", Chars("minutes"))),
        Failure("0x828", std::string(MixedFiles) + "not all selected files had the same sampling interval."));
    EXPECT_EQ(
        second(Chromatogram().Replace("actual_delay_time", Floats({0}))),
        Failure("0x829", std::string(MixedFiles) + "the delay time was not equal in all selected files."));
    EXPECT_NE(second(Chromatogram().Replace("retention_unit", Chars("SECONDS"))).find("Read 0x0"),
              std::string::npos);
}

TEST_F(AndiFileReaderTest, IntervalsAreComparedWithTolerance) {
    const auto bySteps = [&](int steps) {
        float interval = 0.5F;
        for (int i = 0; i < steps; ++i) {
            interval = std::nextafter(interval, 1.0F);
        }
        return ReadTrace(Format, Write("a.cdf", Chromatogram()) + "\n" +
                                     Write("b.cdf", Chromatogram().Replace("actual_sampling_interval",
                                                                           Floats({interval}))));
    };
    EXPECT_NE(bySteps(2).find("Open 0x0\n"), std::string::npos);
    EXPECT_NE(bySteps(3).find("Open 0x827\n"), std::string::npos);
}

TEST_F(AndiFileReaderTest, TextsForSeveralFilesDiffer) {
    const std::string good = Write("a.cdf", Chromatogram());
    const auto second = [&](const NetCDFBuilder& file) {
        return ReadTrace(Format, good + "\n" + Write("b.cdf", file));
    };
    EXPECT_EQ(second(Chromatogram().Without("sample_name")),
              Failure("0x822",
                      "Unable to read one or more of the selected files, not all files seem to be valid "
                      "ANDI/chromatography files."));
    EXPECT_EQ(second(Chromatogram().Without("actual_delay_time")),
              Failure("0x824", "Error while reading file attributes in one of the selected files."));
    NetCDFBuilder uneven = Chromatogram().Without("ordinate_values");
    uneven.Variable("ordinate_values", {"point_number"}, Floats({1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(second(uneven), Failure("0x825",
                                      "Error wile reading file attributes in one or more of the selected "
                                      "files. Files with non-uniform sampling of data is not supported by "
                                      "KARTA."));
}

TEST_F(AndiFileReaderTest, StatusTextsAreExact) {
    class AnyStatus : public AndiFileReader {
    public:
        std::string TextOf(int code, bool several) {
            Close();
            Open(false, several ? "a\nb" : "a", nullptr);
            status = code;
            return ErrorOf(*this);
        }
    };
    AnyStatus reader;
    for (const bool several : {false, true}) {
        EXPECT_EQ(reader.TextOf(0x820, several), "Unable to open file.");
        EXPECT_EQ(reader.TextOf(0x821, several),
                  "Unable to read file. The file was not opened or Open File failed.");
        EXPECT_EQ(reader.TextOf(0x826, several), "No files were selected.");
        EXPECT_EQ(reader.TextOf(0x82a, several), "No further information available.");
        EXPECT_EQ(reader.TextOf(3, several),
                  "Tried to write to the file when it was opened for reading or vice versa.");
    }
    EXPECT_EQ(reader.TextOf(0x823, false), "The file does not seem to be a valid AIA/chromatography file.");
    EXPECT_EQ(reader.TextOf(0x823, true),
              "Unable to read one or more of the selected files, not all files seem to be "
              "valid AIA/chromatography files.");
}

TEST_F(AndiFileReaderTest, OneIntervalKeepsItsPoints) {
    TestOptions options = Intervals("true", "0", "1.5", "2.5", "1");
    const std::string cells = Cells(Chromatogram(), {options.Get()});
    EXPECT_NE(cells.find("Set 3 1 text \"t 1.5\"\nSet 4 1 text \"t 2\"\nSet 5 1 text \"t 2.5\"\nSet 3 2"),
              std::string::npos);
    EXPECT_NE(cells.find("Set 3 3 float 20\nSet 4 3 float 40\nSet 5 3 float 80\nSet 1 3"), std::string::npos);
}

TEST_F(AndiFileReaderTest, PeaksAreTheIntervalsOffered) {
    TestOptions options{{"IncludeAllObservations", "false"}};
    const std::string cells = Cells(ChromatogramWithPeaks(), {options.Get()});
    EXPECT_NE(cells.find("Set 3 2 float 1.5\nSet 4 2 float 2\nSet 5 2 float 3\nSet 6 2 float 3.5\nSet 1 2"),
              std::string::npos)
        << cells;
}

TEST_F(AndiFileReaderTest, WholeRunIsTheIntervalWithoutPeaks) {
    AndiFileReader reader;
    ASSERT_EQ(reader.Open(true, Write("a.cdf", Chromatogram()).c_str(), nullptr), 0);
    USDConstraints constraints;
    reader.GetDefaultUSDConstraints(&constraints);
    EXPECT_TRUE(constraints.includeX);
    EXPECT_TRUE(constraints.includeAll);
    EXPECT_EQ(constraints.useAverage, 0);
    ASSERT_EQ(constraints.numIntervals, 1);
    EXPECT_EQ(constraints.startPoints[0], 1.0F);
    EXPECT_EQ(constraints.endPoints[0], 4.0F);
    EXPECT_EQ(reader.GetRangeMinimum(), 1.0F);
    EXPECT_EQ(reader.GetRangeMaximum(), 4.0F);
    EXPECT_EQ(reader.GetSamplingInterval(), 0.5F);
    EXPECT_EQ(reader.GetRetentionUnit(), "seconds");
    EXPECT_FALSE(reader.IsMultiSelection());
}

TEST_F(AndiFileReaderTest, RangeEndsWithTheLongestRun) {
    AndiFileReader reader;
    const std::string selection =
        Write("a.cdf", Chromatogram()) + "\n" +
        Write("b.cdf", Chromatogram().Replace("actual_run_time_length", Floats({9})));
    ASSERT_EQ(reader.Open(true, selection.c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetRangeMaximum(), 10.0F);
    EXPECT_TRUE(reader.IsMultiSelection());
}

TEST_F(AndiFileReaderTest, PeaksWithoutTheirEndsAreCountedButNotGiven) {
    AndiFileReader reader;
    ASSERT_EQ(
        reader.Open(true, Write("a.cdf", ChromatogramWithPeaks().Without("peak_end_time")).c_str(), nullptr),
        0);
    float starts[2];
    float ends[2];
    EXPECT_EQ(reader.GetDefaults(nullptr, nullptr, -1), 2);
    EXPECT_EQ(reader.GetDefaults(starts, ends, 2), 0);
    USDConstraints constraints;
    reader.GetDefaultUSDConstraints(&constraints);
    EXPECT_EQ(constraints.numIntervals, 0);
}

TEST_F(AndiFileReaderTest, FewerPeaksThanThereAreMayBeAskedFor) {
    AndiFileReader reader;
    ASSERT_EQ(reader.Open(true, Write("a.cdf", ChromatogramWithPeaks()).c_str(), nullptr), 0);
    float starts[1];
    float ends[1];
    EXPECT_EQ(reader.GetDefaults(starts, ends, 1), 1);
    EXPECT_EQ(starts[0], 1.5F);
    EXPECT_EQ(ends[0], 2.0F);
}

TEST_F(AndiFileReaderTest, PeakCountThatTheTableDoesNotBearOutIsNone) {
    NetCDFBuilder file = Chromatogram();
    file.Dimension("peak_number", 0x7FFFFFFF)
        .Dimension("two", 2)
        .Variable("peak_start_time", {"two"}, Floats({1, 2}));
    AndiFileReader reader;
    ASSERT_EQ(reader.Open(true, Write("a.cdf", file).c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetDefaults(nullptr, nullptr, -1), 0);
}

TEST_F(AndiFileReaderTest, EmptyRecordIsFilledAndReopensTheSameTable) {
    NvImportOpenOptions kept{0, nullptr};
    AndiFileReader reader;
    const std::string path = Write("a.cdf", ChromatogramWithPeaks());
    ASSERT_EQ(reader.Open(true, path.c_str(), &kept), 0);
    EXPECT_EQ(DecodeOptionsText(kept),
              "<XMLSection><Settings><IncludeXAsAnObservation>true</IncludeXAsAnObservation>"
              "<IncludeAllObservations>true</IncludeAllObservations>"
              "<NumberOfIncludedIntervals>2</NumberOfIncludedIntervals><UseAverage>0</UseAverage>"
              "<IncludeXStartPt>1.5,3</IncludeXStartPt><IncludeXEndPt>2,3.5</IncludeXEndPt></Settings></"
              "XMLSection>");
    EXPECT_EQ(ReadTrace(Format, path, {&kept}), ReadTrace(Format, path));
}

TEST_F(AndiFileReaderTest, BrokenRecordsFailToOpen) {
    TestOptions cut(std::string("\x40\0\0\0<XML", 8));
    EXPECT_EQ(Trace(Chromatogram(), {cut.Get()}), Failure("0x820", "Unable to open file."));
    for (const char* count : {"2000000000", "-5", "2"}) {
        TestOptions lying = Intervals("true", "2", "1", "3", count);
        EXPECT_EQ(Trace(Chromatogram(), {lying.Get()}), Failure("0x820", "Unable to open file.")) << count;
    }
}

TEST_F(AndiFileReaderTest, RecordWithoutSettingsChangesNothing) {
    TestOptions none(std::string("\x04\0\0\0text", 8));
    EXPECT_EQ(Trace(Chromatogram(), {none.Get()}), Trace(Chromatogram()));
}

TEST_F(AndiFileReaderTest, WantedRowsSkipTimesAndFiles) {
    const std::string both = Write("a.cdf", Chromatogram()) + "\n" + Write("b.cdf", Chromatogram());
    const std::string second = CellsOf(ReadTrace(Format, both, {.want = "4"}));
    EXPECT_EQ(second.find("Set 1 1"), std::string::npos);
    EXPECT_EQ(second, "") << "without the times, the files are rows 2 and 3";
    EXPECT_NE(CellsOf(ReadTrace(Format, both, {.want = "3"})).find("Set 2 3 text \"b: Sample 1\""),
              std::string::npos);
    EXPECT_NE(CellsOf(ReadTrace(Format, both, {.want = "2,4"})).find("Set 2 4 text \"b: Sample 1\""),
              std::string::npos);
}

TEST_F(AndiFileReaderTest, DeselectedFileLeavesAGapInTheRows) {
    AndiFileReader reader;
    const std::string all = Write("a.cdf", Chromatogram()) + "\n" + Write("b.cdf", Chromatogram()) + "\n" +
                            Write("c.cdf", Chromatogram());
    ASSERT_EQ(reader.Open(true, all.c_str(), nullptr), 0);
    const int indices[] = {0, -1, 7, 2};
    EXPECT_EQ(reader.SelectFilesToImport(indices, 4), 0) << "numbers outside of the list change nothing";
    EXPECT_EQ(reader.GetNumRows(), 4);
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_STREQ(table.GetText(2, 3), "a: Sample 1");
    EXPECT_TRUE(table.IsMissing(2, 4));
    // The row after the gap is only met by a sink that asks for it.
    EXPECT_EQ(table.GetNumberOfRows(), 3);
}

TEST_F(AndiFileReaderTest, NothingSelectedIsNoTable) {
    AndiFileReader reader;
    ASSERT_EQ(reader.Open(true, Write("a.cdf", Chromatogram()).c_str(), nullptr), 0);
    EXPECT_EQ(reader.SelectFilesToImport(nullptr, 0), 0);
    EXPECT_EQ(reader.GetNumRows(), -1);
    EXPECT_EQ(reader.GetNumCols(), -1);
    TableData table;
    EXPECT_EQ(reader.Read(&table), AndiFileReader::StatusNothingSelected);
    EXPECT_EQ(ErrorOf(reader), "No files were selected.");
    EXPECT_EQ(reader.SelectFilesToImport(nullptr, 0), -1) << "the status is set";
}

TEST_F(AndiFileReaderTest, ReadWithoutOpenFails) {
    AndiFileReader reader;
    TableData table;
    EXPECT_EQ(reader.Read(&table), AndiFileReader::StatusNotOpened);
    EXPECT_EQ(reader.EstablishSize(), 1);
}

TEST_F(AndiFileReaderTest, FileGoneBeforeTheReadFails) {
    AndiFileReader reader;
    const std::string path = Write("a.cdf", Chromatogram());
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    std::remove(path.c_str());
    TableData table;
    EXPECT_EQ(reader.Read(&table), AndiFileReader::StatusAttributesFailed);
}

TEST_F(AndiFileReaderTest, StrangeTimesAreRead) {
    for (const float strange :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 0.0F, -1.0F}) {
        NetCDFBuilder file = Chromatogram().Replace("actual_sampling_interval", Floats({strange}));
        EXPECT_NE(Trace(file.Replace("actual_delay_time", Floats({strange}))).find("Read 0x0"),
                  std::string::npos);
    }
}

TEST_F(AndiFileReaderTest, DamagedFilesEndInAStatus) {
    ExpectSettledEndsOfDamaged(Format, "a.cdf", ChromatogramWithPeaks().File(), 400);
    ExpectSettledEndsOfCut(Format, "a.cdf", ChromatogramWithPeaks().File());
}

TEST_F(AndiFileReaderTest, ClassicReadingTellsOfPeaksAndPackedValues) {
    const auto notesOf = [this](const NetCDFBuilder& file) {
        auto context = std::make_shared<karta::ReadContext>();
        AndiFileReader reader;
        reader.SetContext(context);
        EXPECT_EQ(reader.Open(true, Write("run.cdf", file).c_str(), nullptr), 0);
        TableData table;
        EXPECT_EQ(reader.Read(&table), 0);
        std::string codes;
        for (const karta::Note& note : context->notes.GetAll()) {
            codes += note.code + " " + std::to_string(note.count) + ";";
        }
        return codes;
    };
    EXPECT_EQ(notesOf(Chromatogram()), "");
    EXPECT_EQ(notesOf(ChromatogramWithPeaks()), "left-out-peaks 2;");
    NetCDFBuilder packed;
    packed.Dimension("point_number", 2);
    for (const char* name :
         {"netcdf_revision", "aia_template_revision", "dataset_completeness", "sample_name"}) {
        packed.Attribute(name, Chars("x"));
    }
    packed.Variable("actual_run_time_length", {}, Floats({1}))
        .Variable("actual_sampling_interval", {}, Floats({1}))
        .Variable("actual_delay_time", {}, Floats({0}))
        .Variable("ordinate_values", {"point_number"}, Shorts({1, 2}))
        .Attribute("uniform_sampling_flag", Chars("Y"))
        .Attribute("scale_factor", Floats({0.5F}));
    EXPECT_EQ(notesOf(packed), "packed-values 2;");
}

TEST_F(AndiFileReaderTest, RealFilesAreAsTheIndependentReaderFoundThem) {
    SKIP_WITHOUT_SHARED_DATA();
    int read = 0;
    for (const char* name : {"dionex.cdf", "hp-delay.cdf", "minutes.cdf", "waters-delay6.cdf"}) {
        const std::string path = SharedFolder() + "/data/instrument/andi/" + name;
        boost::property_tree::ptree truth;
        boost::property_tree::read_json(path + ".truth.json", truth);
        const auto& trace = truth.get_child("spectra").front().second;
        AndiFileReader reader;
        ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0) << name;
        TableData table;
        ASSERT_EQ(reader.Read(&table), 0) << name;
        const int points = truth.get<int>("n_points");
        ASSERT_EQ(table.GetNumberOfColumns(), points + 2) << name;
        EXPECT_NEAR(table.GetFloat(3, 2), truth.get<double>("first_x"), 1e-6) << name;
        const double lastX = truth.get<double>("last_x");
        EXPECT_NEAR(table.GetFloat(points + 2, 2), lastX, 1e-6 * std::fabs(lastX)) << name;
        int column = 3;
        for (const auto& value : trace.get_child("y_first5")) {
            EXPECT_EQ(table.GetFloat(column++, 3), value.second.get_value<float>()) << name;
        }
        column = points - 2;
        for (const auto& value : trace.get_child("y_last5")) {
            EXPECT_EQ(table.GetFloat(column++, 3), value.second.get_value<float>()) << name;
        }
        double sum = 0.0;
        for (int point = 0; point < points; ++point) {
            sum += table.GetFloat(point + 3, 3);
        }
        EXPECT_NEAR(sum, trace.get<double>("y_sum"), 1e-6 * std::fabs(sum)) << name;
        ++read;
    }
    EXPECT_EQ(read, 4);
}

TEST_F(AndiFileReaderTest, RealFilesOfOtherKindsAreRefused) {
    SKIP_WITHOUT_SHARED_DATA();
    const auto statusOf = [](const std::string& name) {
        NetCDFFile reader;
        return reader.Open(true, (SharedFolder() + "/data/instrument/andi/" + name).c_str(), nullptr);
    };
    EXPECT_EQ(statusOf("agilent-tic-nonuniform.cdf"), 0x824) << "no actual_sampling_interval";
    EXPECT_EQ(statusOf("negative-delay.cdf"), 0x825) << "no uniform_sampling_flag";
    EXPECT_EQ(statusOf("bad/andi-ms-hp.cdf"), 0x800);
    EXPECT_EQ(statusOf("bad/andi-ms-rev10.cdf"), 0x800);
    EXPECT_EQ(statusOf("bad/plain-netcdf.nc"), 0x800);
    EXPECT_EQ(statusOf("bad/netcdf4-hdf5.nc"), 0x801);
    EXPECT_EQ(statusOf("bad/cut-hp-delay.cdf"), 0x801);
}
