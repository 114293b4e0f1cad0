#include "container/MvaCDFFileReader.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>

#include "table/TableData.h"
#include "tests/container/Damage.h"
#include "tests/container/NetCDFBuilder.h"
#include "tests/support/CountingSink.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Format = "NetCDF Files";

class MvaCDFFileReaderTest : public testing::Test {
protected:
    std::string Write(const std::string& name, const NetCDFBuilder& file) {
        return folder.Write(name, file.File());
    }
    std::string Trace(const NetCDFBuilder& file, const TraceOptions& how = {}) {
        return ReadTrace(Format, Write("table.nc", file), how);
    }
    std::string Failure(const std::string& status, const std::string& text) {
        return std::string("Format \"NetCDF Files\"\nOpen ") + status + "\nError \"" + text + "\"\nClose\n";
    }
    /** The texts of the data cells, row after row. */
    std::string Values(const NetCDFBuilder& file) {
        const std::string all = Texts(file);
        return all.substr(all.find('\n') + 1);
    }
    /** The texts of the first row from column 3 on. */
    std::string Names(const NetCDFBuilder& file) {
        const std::string all = Texts(file);
        return all.substr(0, all.find('\n'));
    }
    /** Both, parted by a line feed. */
    std::string Texts(const NetCDFBuilder& file) {
        MvaCDFFileReader reader(Write("table.nc", file).c_str());
        TableData table;
        reader.Read(&table);
        std::string texts;
        for (int row = 1; row <= table.GetNumberOfRows(); ++row) {
            for (int col = 3; col <= table.GetNumberOfColumns(); ++col) {
                texts += std::string("[") + table.GetText(col, row) + "] ";
            }
            texts.back() = row == 1 ? '\n' : ' ';
        }
        texts.pop_back();
        return texts;
    }

    TempFolder folder;
};

// One observation, with attributes of the file.
NetCDFBuilder OneRow(const NetCDFValues& values,
                     const std::vector<std::pair<std::string, NetCDFValues>>& attributes = {}) {
    NetCDFBuilder file;
    for (const auto& [name, value] : attributes) {
        file.Attribute(name, value);
    }
    file.Dimension("sequence_no", 1)
        .Dimension("number_data_points", values.count)
        .Dimension("string_len", 4)
        .Attribute("mva_template_revision", Chars("1.0"))
        .Variable("observation", {"sequence_no", "number_data_points"}, values);
    return file;
}

// The same, with the format of its values told.
NetCDFBuilder OneRow(const std::string& format, const NetCDFValues& values) {
    return OneRow(values, {{"raw_data_mva_format", Chars(format)}});
}

NetCDFBuilder OneRowMissing(const NetCDFValues& missing, const NetCDFValues& values,
                            const std::string& format = "double") {
    return OneRow(values, {{"missing_value", missing}, {"raw_data_mva_format", Chars(format)}});
}

// Five variables with descriptions of their names.
NetCDFBuilder Described(const std::vector<std::int32_t>& starts, const std::vector<std::int32_t>& ends,
                        const std::vector<double>& startValues, const std::vector<double>& endValues) {
    NetCDFBuilder file = OneRow(Doubles({1, 2, 3, 4, 5}));
    file.Dimension("number_variable_descriptions", static_cast<std::uint32_t>(starts.size()))
        .Variable("vardescr_startcol", {"number_variable_descriptions"}, Ints(starts))
        .Variable("vardescr_endcol", {"number_variable_descriptions"}, Ints(ends))
        .Variable("vardescr_startval", {"number_variable_descriptions"}, Doubles(startValues))
        .Variable("vardescr_endval", {"number_variable_descriptions"}, Doubles(endValues));
    return file;
}

constexpr const char* NoSize =
    "The size of the observation data could not be established. Necessary variables ID's could not be found "
    "in the "
    "file.";

double NaNOf(std::uint64_t pattern) {
    return std::bit_cast<double>(pattern);
}

}  // namespace

TEST_F(MvaCDFFileReaderTest, ReadsATableAsTextWithItsNamesTwice) {
    EXPECT_EQ(Trace(Observations(), {.withRows = true}),
              "Format \"NetCDF Files\"\nOpen 0x0\nGetNumRows 3\nGetNumCols 5\nSetDataSize 5 3\n"
              "Set 3 1 text \"VAR_1\"\nSet 4 1 text \"VAR_2\"\nSet 5 1 text \"VAR_3\"\n"
              "Set 1 1 text \"Name\"\nSet 2 1 text \"Decimal Time\"\n"
              "NextRowToRead 1 2\nSet 1 2 text \"Obs_1\"\nNextRowToRead 2 3\nSet 1 3 text "
              "\"Obs_2\"\nNextRowToRead 3 4\n"
              "NextRowToRead 1 2\nSet 2 2 text \"N/A\"\nNextRowToRead 2 3\nSet 2 3 text "
              "\"N/A\"\nNextRowToRead 3 4\n"
              "NextRowToRead 1 2\nSet 3 2 text \"1\"\nSet 4 2 text \"2.5\"\nSet 5 2 text \"-3\"\n"
              "NextRowToRead 2 3\nSet 3 3 text \"4\"\nSet 4 3 text \"0.1\"\nSet 5 3 text "
              "\"1e+20\"\nNextRowToRead 3 4\n"
              "Set 3 1 text \"VAR_1\"\nSet 4 1 text \"VAR_2\"\nSet 5 1 text \"VAR_3\"\n"
              "Set 1 1 text \"Name\"\nSet 2 1 text \"Decimal Time\"\n"
              "Read 0x0\nClose\n");
}

TEST_F(MvaCDFFileReaderTest, ValuesAreFormattedByTheirType) {
    EXPECT_EQ(Values(OneRow(Doubles({1234567, 0.1, -0.0}))), "[1.23457e+06] [0.1] [-0]")
        << "doubles unless told";
    EXPECT_EQ(Values(OneRow("double", Doubles({1.0 / 3}))), "[0.333333]");
    EXPECT_EQ(Values(OneRow("FLOAT", Floats({0.1F}))), "[0.1]");
    EXPECT_EQ(Values(OneRow("short", Shorts({-32768, 7}))), "[-32768] [7]");
    EXPECT_EQ(Values(OneRow("long", Ints({2147483647, -1}))), "[2147483647] [-1]");
    EXPECT_EQ(Values(OneRow("byte", Bytes("A5"))), "[A] [5]") << "a byte is a character";
}

TEST_F(MvaCDFFileReaderTest, ValuesOfAnotherTypeThanToldAreConverted) {
    EXPECT_EQ(Values(OneRow("double", Shorts({5}))), "[5]");
    EXPECT_EQ(Values(OneRow("long", Doubles({5.75}))), "[5]");
}

TEST_F(MvaCDFFileReaderTest, ReadThatFailsLeavesTheDataEmpty) {
    for (const NetCDFBuilder& file : {OneRow("short", Doubles({1e9})), OneRow("double", Chars("text"))}) {
        const std::string trace = Trace(file);
        EXPECT_NE(trace.find("Set 2 2 text \"N/A\"\nSet 3 1"), std::string::npos) << trace;
        EXPECT_NE(trace.find("Read 0x0\n"), std::string::npos);
    }
}

TEST_F(MvaCDFFileReaderTest, UnknownFormatHasNoSize) {
    EXPECT_EQ(Trace(OneRow("single", Doubles({1}))), Failure("0x811", NoSize));
    EXPECT_EQ(Trace(OneRow("", Doubles({1}))), Failure("0x811", NoSize));
    NetCDFBuilder numeric = OneRow("double", Doubles({1})).Replace("raw_data_mva_format", Doubles({6}));
    EXPECT_EQ(Trace(numeric), Failure("0x811", NoSize));
}

TEST_F(MvaCDFFileReaderTest, MissingDimensionsHaveNoSize) {
    for (const char* name : {"number_data_points", "sequence_no"}) {
        NetCDFBuilder file = Observations().Without("observation").Without(name);
        EXPECT_EQ(Trace(file), Failure("0x811", NoSize)) << name;
    }
    NetCDFBuilder noLength;
    noLength.Dimension("sequence_no", 1).Dimension("number_data_points", 1);
    noLength.Attribute("mva_template_revision", Chars("1.0"));
    noLength.Variable("observation", {"sequence_no", "number_data_points"}, Doubles({1}));
    EXPECT_EQ(Trace(noLength), Failure("0x811", NoSize)) << "no length of texts";
    EXPECT_EQ(Trace(noLength.Dimension("_32_byte_string", 32)).find("Open 0x811"), std::string::npos);
}

TEST_F(MvaCDFFileReaderTest, CountsThatTheFileCannotHoldHaveNoSize) {
    for (const char* name : {"number_data_points", "sequence_no"}) {
        NetCDFBuilder file = Observations().Without("observation").ReplaceDimension(name, 2147483632);
        file.Dimension("one", 1).Variable("observation", {"one"}, Doubles({1}));
        EXPECT_EQ(Trace(file), Failure("0x811", NoSize)) << name;
    }
}

TEST_F(MvaCDFFileReaderTest, MatricesAreRefused) {
    EXPECT_EQ(
        Trace(Observations().Dimension("number_rows_per_data_point", 2)),
        Failure("0x812",
                "The observation data is stored as matrices in the file. KARTA can currently not import "
                "MVACDF file matrices."));
    EXPECT_NE(Trace(Observations().Dimension("number_rows_per_data_point", 1)).find("Read 0x0"),
              std::string::npos);
    const std::string selection = Write("a.nc", Observations()) + "\n" +
                                  Write("b.nc", Observations().Dimension("number_rows_per_data_point", 2));
    EXPECT_EQ(
        ReadTrace(Format, selection),
        Failure("0x812",
                "The observation data is stored as matrices in one or more of the selected files. KARTA "
                "can currently not import MVACDF file matrices."));
}

TEST_F(MvaCDFFileReaderTest, DataVariableIsRequired) {
    EXPECT_EQ(Trace(Observations().Without("observation")),
              Failure("0x813", "Observation data could not be found in the file."));
}

TEST_F(MvaCDFFileReaderTest, SpectralNamesServeAsWell) {
    NetCDFBuilder file;
    file.Dimension("sequence_no", 1)
        .Dimension("number_spectral_data_points", 2)
        .Dimension("_32_byte_string", 32);
    file.Attribute("mva_template_revision", Chars("1.0"));
    file.Variable("spectral_data_values", {"sequence_no", "number_spectral_data_points"}, Doubles({1, 2}));
    EXPECT_EQ(Values(file), "[1] [2]");
}

TEST_F(MvaCDFFileReaderTest, DataMayHaveADimensionOfRows) {
    NetCDFBuilder file = Observations().Without("observation");
    file.Dimension("number_rows_per_data_point", 1);
    file.Variable("observation", {"sequence_no", "number_data_points", "number_rows_per_data_point"},
                  Doubles({1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(Values(file), "[1] [2] [3] [4] [5] [6]");
}

TEST_F(MvaCDFFileReaderTest, DataOfAnotherShapeStayEmpty) {
    NetCDFBuilder file = Observations().Without("observation");
    file.Dimension("six", 6).Variable("observation", {"six"}, Doubles({1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(Values(file), "[] [] [] [] [] []");
    NetCDFBuilder narrow = Observations().Without("observation");
    narrow.Dimension("two", 2).Variable("observation", {"sequence_no", "two"}, Doubles({1, 2, 3, 4}));
    EXPECT_EQ(Values(narrow), "[] [] [] [] [] []");
}

TEST_F(MvaCDFFileReaderTest, FilesOfOtherKindsAreNotMva) {
    EXPECT_EQ(MvaCDFFileReader(Write("a.cdf", Chromatogram()).c_str()).GetStatus(), 0x810);
    MvaCDFFileReader reader(folder.Path("none.nc").c_str());
    EXPECT_EQ(ErrorOf(reader), "The file does not seem to be a valid MVACDF file.");
    EXPECT_EQ(reader.GetNumCols(), -1);
    EXPECT_EQ(reader.GetNumRows(), -1);
    TableData table;
    EXPECT_EQ(reader.Read(&table), 0x810);
    EXPECT_EQ(ReadTrace(Format, Write("a.nc", Observations()) + "\n" + Write("b.cdf", Chromatogram())),
              Failure("0x810", "One or more files seem not to be a valid MVACDF files."));
}

TEST_F(MvaCDFFileReaderTest, OtherStatusesHaveTheBasesText) {
    class AnyStatus : public MvaCDFFileReader {
    public:
        AnyStatus() : MvaCDFFileReader("") { status = StatusWrongMode; }
    };
    AnyStatus reader;
    EXPECT_EQ(ErrorOf(reader), "Tried to write to the file when it was opened for reading or vice versa.");
    EXPECT_EQ(reader.EstablishSize(), 1);
}

TEST_F(MvaCDFFileReaderTest, FilesOfDifferentWidthAreRefused) {
    EXPECT_EQ(ReadTrace(Format,
                        Write("a.nc", OneRow(Doubles({1, 2}))) + "\n" + Write("b.nc", OneRow(Doubles({1})))),
              Failure("0x814", "The files contain different number of variables."));
}

TEST_F(MvaCDFFileReaderTest, RowsRunOnFromFileToFile) {
    const std::string trace = ReadTrace(Format, Write("a.nc", OneRow("byte", Bytes("A"))) + "\n" +
                                                    Write("b.nc", OneRow("short", Shorts({65}))));
    EXPECT_NE(trace.find("GetNumRows 3\nGetNumCols 3\n"), std::string::npos);
    EXPECT_NE(trace.find("Set 3 2 text \"A\"\n"), std::string::npos) << "each file has its own format";
    EXPECT_NE(trace.find("Set 1 3 text \"Obs_1\"\nSet 2 3 text \"N/A\"\nSet 3 3 text \"65\"\n"),
              std::string::npos)
        << "names begin again in each file";
}

TEST_F(MvaCDFFileReaderTest, OpenMeasuresOnceMore) {
    const std::string path = Write("a.nc", Observations());
    MvaCDFFileReader reader(path.c_str());
    EXPECT_EQ(reader.GetNumRows(), 3);
    std::remove(path.c_str());
    EXPECT_EQ(reader.Open(true, "another name", nullptr), 0x810);
    Write("a.nc", OneRow(Doubles({1})));
    EXPECT_EQ(reader.Open(false, nullptr, nullptr), 0);
    EXPECT_EQ(reader.GetNumRows(), 2);
}

TEST_F(MvaCDFFileReaderTest, FileGoneBeforeTheReadShowsInTheStatusAlone) {
    const std::string path = Write("a.nc", Observations());
    MvaCDFFileReader reader(path.c_str());
    std::remove(path.c_str());
    TableData table;
    EXPECT_EQ(reader.Read(&table), 0) << "the result of the names";
    EXPECT_EQ(reader.GetStatus(), 0x811) << "the result of the data";
}

TEST_F(MvaCDFFileReaderTest, ColumnHeadersNameTheVariables) {
    NetCDFBuilder file = OneRow(Doubles({1, 2, 3}));
    file.Variable("column_headers", {"number_data_points", "string_len"},
                  Chars(std::string_view("ab  c\0xxdefg", 12)));
    EXPECT_EQ(Names(file), "[ab  ] [c] [defg]") << "up to a NUL, blanks included";
}

TEST_F(MvaCDFFileReaderTest, HeadersOfAnotherShapeOrTypeAreNumbered) {
    NetCDFBuilder line = OneRow(Doubles({1, 2}));
    EXPECT_EQ(Names(line.Variable("column_headers", {"string_len"}, Chars("abcd"))), "[VAR_1] [VAR_2]");
    NetCDFBuilder numbers = OneRow(Doubles({1, 2}));
    numbers.Variable("column_headers", {"number_data_points", "number_data_points"}, Floats({1, 2, 3, 4}));
    EXPECT_EQ(Names(numbers), "[VAR_1] [VAR_2]");
    NetCDFBuilder few = OneRow(Doubles({1, 2}));
    few.Dimension("one", 1).Variable("column_headers", {"one", "string_len"}, Chars("only"));
    EXPECT_EQ(Names(few), "[only] [VAR_2]");
}

TEST_F(MvaCDFFileReaderTest, TextLengthBeyondTheTextIsCut) {
    NetCDFBuilder file = OneRow(Doubles({1})).ReplaceDimension("string_len", 0x7FFFFFF0);
    file.Dimension("two", 2).Variable("column_headers", {"number_data_points", "two"}, Chars("ab"));
    EXPECT_EQ(Names(file), "[ab]");
}

TEST_F(MvaCDFFileReaderTest, DescriptionsNameByNumbers) {
    EXPECT_EQ(Names(Described({1, 4}, {3, 5}, {1000, 10}, {2000, 11})), "[1000] [1500] [2000] [10] [11]");
    EXPECT_EQ(Names(Described({4, 1}, {5, 3}, {10, 1000}, {11, 2000})), "[10] [11] [1000] [1500] [2000]")
        << "columns run on, wherever a description begins";
}

TEST_F(MvaCDFFileReaderTest, DescriptionOutsideOfTheVariablesIsSkipped) {
    EXPECT_EQ(Names(Described({0, 1, 3, 2, -1}, {1, 6, 2, 3, -1}, {1, 2, 3, 4, 5}, {1, 2, 3, 5, 5})),
              "[4] [5] [] [] []");
}

TEST_F(MvaCDFFileReaderTest, DescriptionsThatOverlapRunOn) {
    EXPECT_EQ(Names(Described({1, 1}, {5, 2}, {1, 7}, {5, 8})), "[1] [2] [3] [4] [5] [7] [8]");
}

TEST_F(MvaCDFFileReaderTest, ManyOverlappingDescriptionsEnd) {
    constexpr std::uint32_t Count = 3000;
    NetCDFBuilder file = OneRow(Doubles(std::vector<double>(Count)));
    const std::vector<std::int32_t> ones(Count, 1);
    const std::vector<std::int32_t> ends(Count, static_cast<std::int32_t>(Count));
    const std::vector<double> values(Count, 1.0);
    file.Dimension("number_variable_descriptions", Count)
        .Variable("vardescr_startcol", {"number_variable_descriptions"}, Ints(ones))
        .Variable("vardescr_endcol", {"number_variable_descriptions"}, Ints(ends))
        .Variable("vardescr_startval", {"number_variable_descriptions"}, Doubles(values))
        .Variable("vardescr_endval", {"number_variable_descriptions"}, Doubles(values));
    MvaCDFFileReader reader(Write("many.nc", file).c_str());
    CountingSink sink;
    EXPECT_EQ(reader.Read(&sink), 0);
    // The names are given twice, and no more of them each time than the file has bytes.
    EXPECT_GT(sink.cells, 2 * std::int64_t{Count});
    EXPECT_LE(sink.cells, 2 * static_cast<std::int64_t>(file.File().size()) + Count + 10);
}

TEST_F(MvaCDFFileReaderTest, IncompleteDescriptionsAreNone) {
    const NetCDFBuilder whole = Described({1}, {5}, {1}, {5});
    for (const char* name :
         {"vardescr_startcol", "vardescr_endcol", "vardescr_startval", "vardescr_endval"}) {
        EXPECT_EQ(Names(NetCDFBuilder(whole).Without(name)), "[VAR_1] [VAR_2] [VAR_3] [VAR_4] [VAR_5]")
            << name;
    }
}

TEST_F(MvaCDFFileReaderTest, HeadersGoBeforeDescriptions) {
    NetCDFBuilder file = Described({1}, {5}, {1}, {5});
    file.Variable("column_headers", {"number_data_points", "string_len"}, Chars("aaaabbbbccccddddeeee"));
    EXPECT_EQ(Names(file), "[aaaa] [bbbb] [cccc] [dddd] [eeee]");
}

TEST_F(MvaCDFFileReaderTest, ObservationsHaveNamesAndTimes) {
    NetCDFBuilder file = Observations();
    file.Variable("name_of_measurement", {"sequence_no", "string_len"},
                  Chars(std::string_view("a\0\0\0bcde", 8)))
        .Variable("dectime_of_measurement", {"sequence_no"}, Doubles({36526.123456, 1e-9}));
    const std::string trace = Trace(file);
    EXPECT_NE(trace.find("Set 1 2 text \"a\"\nSet 1 3 text \"bcde\"\n"), std::string::npos);
    EXPECT_NE(trace.find("Set 2 2 text \"36526.12\"\nSet 2 3 text \"1e-09\"\n"), std::string::npos);
}

TEST_F(MvaCDFFileReaderTest, TimesThatAreNoNumbersAreNotThere) {
    NetCDFBuilder file = Observations();
    file.Variable("dectime_of_measurement", {"sequence_no"}, Chars("ab"));
    EXPECT_NE(Trace(file).find("Set 2 2 text \"N/A\"\nSet 2 3 text \"N/A\"\n"), std::string::npos);
}

TEST_F(MvaCDFFileReaderTest, MissingIsANumberOfSixDigits) {
    EXPECT_EQ(Values(OneRow(Doubles({-100000, -100000.4, -99999.9, -100001}))), "[] [] [-99999.9] [-100001]");
    EXPECT_EQ(Values(OneRowMissing(Chars("1e30"), Doubles({1e30, 1e29}))), "[] [1e+29]");
    EXPECT_EQ(Values(OneRowMissing(Chars("none"), Doubles({0, 1}))), "[] [1]")
        << "text without a number is 0";
    EXPECT_EQ(Values(OneRowMissing(Doubles({5}), Doubles({5, -100000}))), "[5] []")
        << "a number isn't looked at";
}

TEST_F(MvaCDFFileReaderTest, MissingIsTestedOnTheTextOfAByte) {
    EXPECT_EQ(Values(OneRowMissing(Chars("0"), Bytes("A5"), "byte")), "[] [5]");
    EXPECT_EQ(Values(OneRowMissing(Chars("5"), Bytes("A5"), "byte")), "[A] []");
}

TEST_F(MvaCDFFileReaderTest, MissingNaNIsOnePatternOnly) {
    const NetCDFValues values =
        Doubles({NaNOf(0xFFF8000000000000), NaNOf(0x7FF8000000000000), NaNOf(0xFFF8000000000001), -100000});
    EXPECT_EQ(Values(OneRowMissing(Chars("NaN"), values)), "[] [nan] [nan] [-100000]");
    EXPECT_EQ(Values(OneRowMissing(Chars("nan"), Floats({std::bit_cast<float>(0xFFC00000U)}), "float")),
              "[]");
}

TEST_F(MvaCDFFileReaderTest, InfinitiesAreValues) {
    EXPECT_EQ(Values(OneRow(Doubles({HUGE_VAL, -HUGE_VAL}))), "[inf] [-inf]");
    EXPECT_EQ(Values(OneRowMissing(Chars("-inf"), Doubles({HUGE_VAL, -HUGE_VAL}))), "[inf] []");
}

TEST_F(MvaCDFFileReaderTest, WantedRowsAreReadInEachFile) {
    const std::string both = Write("a.nc", Observations()) + "\n" + Write("b.nc", Observations());
    const std::string cells = CellsOf(ReadTrace(Format, both, {.want = "3-4"}));
    EXPECT_EQ(cells.find("Set 1 2 "), std::string::npos);
    EXPECT_NE(cells.find("Set 1 3 text \"Obs_2\"\nSet 2 3 text \"N/A\"\nSet 3 3 text \"4\"\n"),
              std::string::npos);
    EXPECT_NE(cells.find("Set 1 4 text \"Obs_1\"\nSet 2 4 text \"N/A\"\nSet 3 4 text \"1\"\n"),
              std::string::npos);
    EXPECT_EQ(cells.find("Set 1 5 "), std::string::npos);
}

TEST_F(MvaCDFFileReaderTest, NoObservationsAreTheNamesAlone) {
    NetCDFBuilder file =
        Observations().ReplaceDimension("sequence_no", 0).Replace("observation", Doubles({}));
    const std::string trace = Trace(file);
    EXPECT_NE(trace.find("GetNumRows 1\nGetNumCols 5\n"), std::string::npos);
    EXPECT_NE(trace.find("Read 0x0\n"), std::string::npos);
}

TEST_F(MvaCDFFileReaderTest, DamagedFilesEndInAStatus) {
    NetCDFBuilder file = Described({1, 4}, {3, 5}, {1000, 10}, {2000, 11});
    file.Variable("name_of_measurement", {"sequence_no", "string_len"}, Chars("name"));
    ExpectSettledEndsOfDamaged(Format, "a.nc", file.File(), 400);
    ExpectSettledEndsOfCut(Format, "a.nc", file.File());
}
