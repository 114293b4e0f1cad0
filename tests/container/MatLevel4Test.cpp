#include <gtest/gtest.h>

#include <bit>
#include <limits>

#include "container/MatFile.h"
#include "host/NvSystemInfo.h"
#include "table/TableData.h"
#include "tests/container/MatBuilder.h"
#include "tests/support/Damage.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"
#include "tests/support/Verdict.h"

namespace {

constexpr const char* Format = "Matlab File";

class MatLevel4Test : public testing::Test {
protected:
    std::string Trace(const std::string& bytes, int matrix = 0) {
        TraceOptions how;
        how.part = matrix;
        return ReadTrace(Format, folder.Write("data.mat", bytes), how);
    }
    std::string Cells(const std::string& bytes, int matrix = 0) { return CellsOf(Trace(bytes, matrix)); }
    /** The status of Open, as the trace writes it. */
    std::string Opened(const std::string& bytes) {
        const std::string trace = Trace(bytes);
        const std::size_t start = trace.find("Open ") + 5;
        return trace.substr(start, trace.find('\n', start) - start);
    }

    TempFolder folder;
};

constexpr const char* QuietEnd = "Read 0x0\nClose\n";

std::string Square() {
    return Matrix4{0, 2, 2, "square"}.Doubles({1, 2, 3, 4});
}

}  // namespace

TEST_F(MatLevel4Test, MatrixBecomesTheTable) {
    EXPECT_EQ(Trace(Matrix4{0, 2, 3, "x"}.Doubles({1.5, 2, 3, -4, 1e300, 6})),
              "Format \"Matlab File\"\nOpen 0x0\nGetNumRows 2\nGetNumCols 3\nSetDataSize 3 2\n"
              "Set 1 1 double 1.5\nSet 1 2 double 2\nSet 2 1 double 3\nSet 2 2 double -4\n"
              "Set 3 1 double 1.0000000000000001e+300\nSet 3 2 double 6\nRead 0x0\nClose\n");
}

TEST_F(MatLevel4Test, EveryPrecisionIsReadAsDoublesInBothByteOrders) {
    for (const bool big : {false, true}) {
        EXPECT_EQ(Cells(Matrix4{0, 1, 1, "d", false, big}.With<double>({-2.5})), "Set 1 1 double -2.5\n");
        EXPECT_EQ(Cells(Matrix4{10, 1, 1, "f", false, big}.With<float>({0.5F})), "Set 1 1 double 0.5\n");
        EXPECT_EQ(Cells(Matrix4{20, 1, 1, "i", false, big}.With<std::int32_t>({-70000})),
                  "Set 1 1 double -70000\n");
        EXPECT_EQ(Cells(Matrix4{30, 1, 1, "s", false, big}.With<std::int16_t>({-300})),
                  "Set 1 1 double -300\n");
        EXPECT_EQ(Cells(Matrix4{40, 1, 1, "u", false, big}.With<std::uint16_t>({65535})),
                  "Set 1 1 double 65535\n");
        EXPECT_EQ(Cells(Matrix4{50, 1, 1, "b", false, big}.With<std::uint8_t>({200})),
                  "Set 1 1 double 200\n");
    }
}

TEST_F(MatLevel4Test, OnlyFourBitPatternsAreEmptyCells) {
    const auto pattern = [](std::uint64_t bits) { return std::bit_cast<double>(bits); };
    EXPECT_EQ(Cells(Matrix4{0, 6, 1, "x"}.Doubles(
                  {pattern(0xFFF8000000000000), pattern(0x7FF0000000000000), pattern(0xFFF0000000000000),
                   pattern(0xFFFF000000070002), pattern(0x7FF8000000000000), pattern(0xFFF8000000000001)})),
              "Set 1 1 text \"\"\nSet 1 2 text \"\"\nSet 1 3 text \"\"\nSet 1 4 text \"\"\n"
              "Set 1 5 double nan\nSet 1 6 double nan\n");
}

TEST_F(MatLevel4Test, OfAComplexMatrixTheRealPartIsRead) {
    const std::string bytes = Matrix4{0, 1, 2, "z", true}.Doubles({1, 2, 30, 40}) + Square();
    EXPECT_EQ(Cells(bytes), "Set 1 1 double 1\nSet 2 1 double 2\n");
    EXPECT_EQ(Cells(bytes, 2), Cells(Square()));
}

TEST_F(MatLevel4Test, SinglePrecisionIsSkippedAtEightBytesAnElement) {
    const std::string floats = Matrix4{10, 1, 2, "f"}.With<float>({1, 2});
    // The next header is looked for 8 bytes further on than the floats end.
    EXPECT_EQ(Cells(floats + std::string(8, '\0') + Square(), 2), Cells(Square()));
    EXPECT_EQ(Opened(floats + Square()), "0x403");
    EXPECT_EQ(Cells(floats), "Set 1 1 double 1\nSet 2 1 double 2\n");
}

TEST_F(MatLevel4Test, CutLastMatrixOpensAndEndsQuietly) {
    const std::string bytes = Matrix4{0, 2, 2, "x"}.Doubles({1, 2, 3, 4});
    const std::string trace = Trace(bytes.substr(0, bytes.size() - 9));
    EXPECT_EQ(CellsOf(trace), "Set 1 1 double 1\nSet 1 2 double 2\n");
    EXPECT_TRUE(trace.ends_with(QuietEnd));
}

TEST_F(MatLevel4Test, ACountThatLiesReadsWhatIsThere) {
    const std::string trace = Trace(Matrix4{0, 134217728, 3, "a"}.Doubles({1, 2}));
    EXPECT_NE(trace.find("GetNumRows 134217728\n"), std::string::npos);
    EXPECT_EQ(CellsOf(trace), "Set 1 1 double 1\nSet 1 2 double 2\n");
    EXPECT_TRUE(trace.ends_with(QuietEnd));
}

TEST_F(MatLevel4Test, SizesWhoseProductNoFileHoldsAre0x404) {
    EXPECT_EQ(Opened(Matrix4{0, 2147483647, 2147483647, "x"}.Doubles({1})), "0x404");
    EXPECT_EQ(Opened(Matrix4{0, -1, 1, "x"}.Doubles({1})), "0x404");
    EXPECT_EQ(Opened(Matrix4{0, 1, -1, "x"}.Doubles({1})), "0x404");
}

TEST_F(MatLevel4Test, BytesBehindTheLastMatrixThatAreNoHeaderAre0x403) {
    EXPECT_EQ(Opened(Square() + "x"), "0x403");
    EXPECT_EQ(Opened(Square() + std::string(19, '\0')), "0x403");
    // Twenty zero bytes are an empty matrix without a name.
    EXPECT_EQ(Opened(Square() + std::string(20, '\0')), "0x0");
}

TEST_F(MatLevel4Test, ATwentyFirstMatrixIsIgnored) {
    std::string bytes;
    for (int i = 1; i <= 21; ++i) {
        bytes += Matrix4{0, 1, 1, "m" + std::to_string(i)}.Doubles({static_cast<double>(i)});
    }
    EXPECT_EQ(Cells(bytes, 20), "Set 1 1 double 20\n");
    EXPECT_NE(Trace(bytes, 21).find("GetNumRows -1\nGetNumCols -1\nClose\n"), std::string::npos);
    EXPECT_EQ(Cells(bytes.substr(0, 20 * bytes.size() / 21), 20), "Set 1 1 double 20\n");
}

TEST_F(MatLevel4Test, TypesDecideTheByteOrderAndAreChecked) {
    const auto opened = [&](int type, bool big) {
        return Opened(Matrix4{type, 1, 1, "x", false, big}.Doubles({1}));
    };
    EXPECT_EQ(opened(53, false), "0x401");
    EXPECT_EQ(opened(100, false), "0x401");
    EXPECT_EQ(opened(-1, false), "0x401");
    EXPECT_EQ(opened(60, true), "0x401");
    EXPECT_EQ(opened(3, false), "0x403");
    EXPECT_EQ(opened(13, true), "0x403");
    EXPECT_EQ(Opened(Square() + Matrix4{53, 1, 1, "x"}.Doubles({1})), "0x403");
    EXPECT_EQ(Opened(Square() + Matrix4{0, 1, 1, "x", false, true}.Doubles({1})), "0x403");
}

TEST_F(MatLevel4Test, NamesLongerThanTheirFieldAreCut) {
    const std::string path = folder.Write("data.mat", Matrix4{0, 1, 1, std::string(100, 'n')}.Doubles({7}));
    MatFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    ASSERT_EQ(reader.ListParts().size(), 1U);
    EXPECT_EQ(reader.ListParts()[0].name, std::string(63, 'n'));
    EXPECT_EQ(CellsOf(ReadTrace(Format, path)), "Set 1 1 double 7\n");
}

TEST_F(MatLevel4Test, NamesThatRunPastTheEndAre0x403) {
    EXPECT_EQ(Opened(Matrix4{0, 1, 1, "x", false, false, 2000000000}.Doubles({1})), "0x403");
    EXPECT_EQ(Opened(Matrix4{0, 1, 1, "x", false, false, -2}.Doubles({1})), "0x403");
}

TEST_F(MatLevel4Test, TextMatrixIsAColumnOfStrings) {
    EXPECT_EQ(Trace(Matrix4{1, 2, 3, "names"}.Doubles({'a', 'd', 'b', 'e', ' ', 0})),
              "Format \"Matlab File\"\nOpen 0x0\nGetNumRows 2\nGetNumCols 1\nSetDataSize 1 2\n"
              "Set 1 1 text \"ab \"\nSet 1 2 text \"de\"\nRead 0x0\nClose\n");
}

TEST_F(MatLevel4Test, CharactersAreTruncatedAndOddOnesEndTheText) {
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(Cells(Matrix4{1, 1, 5, "names"}.Doubles({65.9, 228, 66, Infinity, 67})),
              "Set 1 1 text \"A\\xe4B\"\n");
}

TEST_F(MatLevel4Test, TextThatIsNotAllThereSetsNothing) {
    const std::string trace =
        Trace(Matrix4{51, 2, 3, "t"}.With<std::uint8_t>({'a', 'd', 'b', 'e', 'c', 'f'}));
    EXPECT_EQ(CellsOf(trace), "");
    EXPECT_TRUE(trace.ends_with(QuietEnd));
    EXPECT_EQ(Cells(Matrix4{1, 2147483647, 0, "t"}.Doubles({})), "");
    EXPECT_EQ(Cells(Matrix4{1, 2, 0, "t"}.Doubles({})), "Set 1 1 text \"\"\nSet 1 2 text \"\"\n");
}

TEST_F(MatLevel4Test, SparseMatrixIsReadWithItsZeros) {
    const std::string bytes = Matrix4{2, 3, 3, "s"}.Doubles({1, 2, 2, 2.9, 1, 3, 7.5, 8.5, 0});
    EXPECT_EQ(Trace(bytes),
              "Format \"Matlab File\"\nOpen 0x0\nGetNumRows 2\nGetNumCols 3\nSetDataSize 3 2\n"
              "Set 1 1 float 0\nSet 1 2 float 0\nSet 2 1 float 0\nSet 2 2 float 0\nSet 3 1 float 0\nSet 3 2 "
              "float 0\n"
              "Set 2 1 double 7.5\nSet 1 2 double 8.5\nRead 0x0\nClose\n");
}

TEST_F(MatLevel4Test, SparseMatrixIsReadInEveryPrecision) {
    // The rows, the columns and the values of the entries, of which the last one tells the size.
    const auto read = [&]<class Number>(int type, Number value) {
        for (const bool big : {false, true}) {
            EXPECT_EQ(Cells(Matrix4{type, 2, 3, "s", false, big}.With<Number>({1, 2, 1, 1, value, 0})),
                      "Set 1 1 float 0\nSet 1 2 float 0\nSet 1 1 double " +
                          std::to_string(static_cast<int>(value)) + "\n")
                << type << big;
        }
    };
    read(12, 7.0F);
    read(22, std::int32_t{-70000});
    read(32, std::int16_t{-300});
    read(42, std::uint16_t{65535});
    read(52, std::uint8_t{200});
}

TEST_F(MatLevel4Test, SparseEntriesOutsideTheTableAreLeftOut) {
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    const std::string cells =
        Cells(Matrix4{2, 5, 3, "s"}.Doubles({0, 2, 1e300, 1, 1, 1, 1, -1, 1, 1, 5, 5, 5, Infinity, 0}));
    EXPECT_EQ(cells, "Set 1 1 float 0\nSet 1 1 text \"\"\n");
}

TEST_F(MatLevel4Test, SparseValuesThatAreCutEndTheReadQuietly) {
    const std::string bytes = Matrix4{2, 3, 3, "s"}.Doubles({1, 2, 2, 1, 1, 1, 7, 8, 0});
    const std::string trace = Trace(bytes.substr(0, bytes.size() - 16));
    EXPECT_EQ(CellsOf(trace), "Set 1 1 float 0\nSet 1 2 float 0\nSet 1 1 double 7\n");
    EXPECT_TRUE(trace.ends_with(QuietEnd));
}

TEST_F(MatLevel4Test, FourSparseColumnsCountAsComplexButAreNotDoubled) {
    const std::string path =
        folder.Write("data.mat", Matrix4{2, 2, 4, "s"}.Doubles({1, 2, 1, 2, 5, 0, 6, 0}) + Square());
    MatFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    EXPECT_TRUE(reader.IsComplex());
    reader.SetCurMatrix(1);
    EXPECT_FALSE(reader.IsComplex());
    EXPECT_EQ(reader.GetNumberOfMatrices(), 2);
}

TEST_F(MatLevel4Test, SparseSizesThatCannotBeBelievedAre0x404) {
    for (const double size : {1e10, -5.0, std::numeric_limits<double>::quiet_NaN(), 1e9}) {
        const std::string trace = Trace(Matrix4{2, 2, 3, "s"}.Doubles({1, size, 1, size, 9, 0}));
        EXPECT_NE(trace.find(
                      "GetNumRows -1\nGetNumCols -1\nError \"An error occurred while reading a matrix in the "
                      "file. The file seems to be corrupt and cannot be imported.\"\n"),
                  std::string::npos)
            << size;
    }
    EXPECT_NE(Trace(Matrix4{2, 0, 3, "s"}.Doubles({})).find("GetNumRows -1\n"), std::string::npos);
    // Fewer columns than a sparse matrix has give no cells.
    EXPECT_EQ(Cells(Matrix4{2, 2, 2, "s"}.Doubles({1, 1, 1, 1})), "");
}

TEST_F(MatLevel4Test, FileTestsComeInOrder) {
    EXPECT_NE(ReadTrace(Format, folder.Path("none.mat")).find("Open 0x400\nError \"Unable to open file.\"\n"),
              std::string::npos);
    EXPECT_NE(ReadTrace(Format, folder.Path("")).find("Open 0x400\n"), std::string::npos);
    EXPECT_EQ(Opened(""), "0x401");
    EXPECT_EQ(Opened(std::string(19, '\0')), "0x401");
    EXPECT_EQ(Opened(std::string("MATLAB 7.3 MAT-file, Platform")), "0x40a");
    EXPECT_EQ(Opened(std::string("MATLAB 6 MAT-file, Platform")), "0x40a");
    EXPECT_EQ(Opened(std::string("MATLAB 4.2 MAT-file, Platform")), "0x401");
    EXPECT_EQ(Opened(std::string("# Created by Octave 5.2.0")), "0x401");
    EXPECT_EQ(Opened(std::string("7,8,9\n10,11,12\n13,14,15\n")), "0x401");
}

TEST_F(MatLevel4Test, NoFileIsProvedToBeAMatFile) {
    EXPECT_EQ(VerdictOf(Format, folder.Write("data.mat", Square())), KindUnknown);
    EXPECT_EQ(VerdictOf(Format, folder.Path("none.mat")), KindUnknown);
}

TEST_F(MatLevel4Test, HeadThatIsTextEndsAtItsFirstNul) {
    // 13600 columns are the bytes " 5", but not of the head's text.
    EXPECT_NE(Trace(Matrix4{0, 0, 13600, "x"}.Doubles({}))
                  .find("Open 0x0\nGetNumRows 0\nGetNumCols 13600\nNoData\n"),
              std::string::npos);
}

TEST_F(MatLevel4Test, MatrixOutOfRangeSelectsNone) {
    EXPECT_EQ(Trace(Square(), 2), "Format \"Matlab File\"\nOpen 0x0\nGetNumRows -1\nGetNumCols -1\nClose\n");
    EXPECT_EQ(Trace(Square(), -7), "Format \"Matlab File\"\nOpen 0x0\nGetNumRows -1\nGetNumCols -1\nClose\n");
}

TEST_F(MatLevel4Test, ReadWithoutAMatrixIs0x401) {
    const std::string path = folder.Write("data.mat", Square());
    MatFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    reader.SetCurMatrix(7);
    TableData table;
    EXPECT_EQ(reader.Read(&table), MatFile::StatusNoMatFile);
    MatFile closed;
    EXPECT_EQ(closed.Read(&table), SpreadsheetFile::StatusWrongMode);
}

TEST_F(MatLevel4Test, SinkWithoutRoomGetsNothing) {
    const std::string path = folder.Write("data.mat", Square());
    MatFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    TableData table;
    table.SetDataSize(2, 1);
    EXPECT_EQ(reader.Read(&table), 0);
    EXPECT_EQ(table.GetKind(1, 1), TableData::Missing);
}

TEST_F(MatLevel4Test, ListTellsNameSizeAndType) {
    const std::string path =
        folder.Write("data.mat", Matrix4{0, 2, 1, "a-name-of-more-than-20", true}.Doubles({1, 2, 3, 4}) +
                                     Matrix4{1, 1, 3, "text"}.Doubles({'a', 'b', 'c'}) +
                                     Matrix4{2, 2, 3, "few"}.Doubles({1, 4, 1, 5, 9, 0}));
    MatFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    std::vector<std::string> list;
    EXPECT_EQ(reader.GetMatrixList(list), 0);
    EXPECT_EQ(list, (std::vector<std::string>{"a-name-of-more-than-  2x1  numeric matrix (complex)",
                                              "text  1x3  string matrix", "few  4x5  sparse matrix"}));
    reader.SetCurMatrix(-1);
    EXPECT_EQ(reader.GetMatrixList(list), MatFile::StatusNoMatFile);
}

TEST_F(MatLevel4Test, PartsTellTheTableOfEachMatrix) {
    const std::string path = folder.Write("data.mat", Square() + Matrix4{1, 4, 3, "text", true}.Doubles({}));
    MatFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    const auto parts = reader.ListParts();
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[0].name, "square");
    EXPECT_EQ(parts[1].number, 2);
    EXPECT_EQ(parts[1].rows, 4);
    EXPECT_EQ(parts[1].cols, 1);
    EXPECT_EQ(parts[1].detail, "string, complex");
}

TEST_F(MatLevel4Test, StatusTextsAreExact) {
    struct Failing : MatFile {
        explicit Failing(int code) { status = code; }
    };
    const auto textOf = [](int code) {
        Failing file(code);
        return ErrorOf(file);
    };
    const std::string reading = "An error occurred while reading ";
    EXPECT_EQ(textOf(0x400), "Unable to open file.");
    EXPECT_EQ(
        textOf(0x401),
        reading +
            "the file. The file does not seem to be a valid MATLAB MAT-file and cannot be imported as such.");
    EXPECT_EQ(textOf(0x402), reading + "the file. The file seems to be corrupt and cannot be imported.");
    EXPECT_EQ(
        textOf(0x403),
        reading + "the matrix header in the file. The file seems to be corrupt and cannot be imported.");
    EXPECT_EQ(textOf(0x404),
              reading + "a matrix in the file. The file seems to be corrupt and cannot be imported.");
    EXPECT_EQ(textOf(0x405),
              "An error occurred while writing a matrix to the file. The dataset seems to be corrupt and "
              "cannot be exported.");
    EXPECT_EQ(textOf(0x406), "This type of list cannot be exported to MATLAB.");
    EXPECT_EQ(textOf(0x407), "No further information available.");
    EXPECT_EQ(textOf(0x408), "Complex data.");
    EXPECT_EQ(textOf(0x409), "The file contains data of a type that cannot be interpreted.");
    EXPECT_EQ(textOf(0x40a),
              "The file seems to be created by an unsupported version of MATLAB. Only MATLAB files version "
              "4.x and 5 are supported.");
    EXPECT_EQ(textOf(3), "Tried to write to the file when it was opened for reading or vice versa.");
    MatFile file;
    EXPECT_EQ(file.EstablishSize(), 0x407);
}

namespace {

// A host's class that keeps the layout which Open found.
class KeepingMatFile : public MatFile {
public:
    bool SetOptions() override { return status != StatusOk; }
    bool HasNamedLayout() const { return namedLayout; }
    bool HasIdLayout() const { return idLayout; }
};

// One whose user gives up.
class AbortedMatFile : public MatFile {
public:
    bool SetOptions() override {
        status = StatusAbortedByUser;
        return true;
    }
};

std::string NamedMatrices() {
    return Matrix4{0, 2, 3, "spectra"}.Doubles({1, 2, 3, 4, 5, 6}) +
           Matrix4{0, 2, 1, "OBSNUM"}.Doubles({10, 20}) +
           Matrix4{1, 2, 2, "OBSNAM"}.Doubles({'o', 'o', '1', '2'}) +
           Matrix4{1, 3, 2, "VARNAM"}.Doubles({'a', 'b', 'c', '1', '2', '3'});
}

std::string TableText(TableData& table) {
    std::string text;
    for (int row = 1; row <= table.GetNumberOfRows(); ++row) {
        for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
            text += (col == 1 ? "" : "|") + table.GetString(col, row);
        }
        text += "\n";
    }
    return text;
}

}  // namespace

TEST_F(MatLevel4Test, NamedLayoutStandsAroundTheData) {
    const std::string path = folder.Write("data.mat", NamedMatrices());
    KeepingMatFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    ASSERT_TRUE(reader.HasNamedLayout());
    TableData table;
    table.SetDataSize(reader.GetNumCols(), reader.GetNumRows());
    EXPECT_EQ(reader.Read(&table), 0);
    EXPECT_EQ(TableText(table), "||a1|b2|c3\n10|o1|1|3|5\n20|o2|2|4|6\n");
}

TEST_F(MatLevel4Test, NamedLayoutWantsFourOrFiveMatricesThatFit) {
    const auto isNamed = [&](const std::string& bytes) {
        const std::string path = folder.Write("data.mat", bytes);
        KeepingMatFile reader;
        reader.Open(true, path.c_str(), nullptr);
        return reader.HasNamedLayout();
    };
    const std::string variableNumbers = Matrix4{0, 1, 3, "VARNUM"}.Doubles({1, 2, 3});
    EXPECT_TRUE(isNamed(NamedMatrices() + variableNumbers));
    EXPECT_FALSE(isNamed(NamedMatrices() + variableNumbers + Square()));
    EXPECT_FALSE(isNamed(NamedMatrices() + Square())) << "the last other matrix is the data, of another size";
    EXPECT_FALSE(isNamed(Square() + Matrix4{0, 2, 1, "OBSNUM"}.Doubles({1, 2})));
}

TEST_F(MatLevel4Test, IdLayoutStandsAroundTheData) {
    const std::string path = folder.Write(
        "data.mat",
        Matrix4{0, 2, 3, "DATA"}.Doubles({1, 2, 3, 4, 5, 6}) + Matrix4{0, 2, 1, "OBSID1"}.Doubles({10, 20}) +
            Matrix4{1, 2, 2, "OBSID2"}.Doubles({'o', 'p', '1', '2'}) +
            Matrix4{1, 3, 2, "VARID1"}.Doubles({'a', 'b', 'c', '1', '2', '3'}) +
            Matrix4{0, 3, 1, "VARID2"}.Doubles({7, 8, 9}) + Matrix4{0, 1, 1, "OBSID99"}.Doubles({0}));
    KeepingMatFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    ASSERT_TRUE(reader.HasIdLayout());
    TableData table;
    table.SetDataSize(reader.GetNumCols(), reader.GetNumRows());
    EXPECT_EQ(reader.Read(&table), 0);
    // OBSID99 counts among the column ids but stands for none of them.
    EXPECT_EQ(TableText(table), "|||a1|b2|c3\n|||7|8|9\n10|o1||1|3|5\n20|p2||2|4|6\n");
}

TEST_F(MatLevel4Test, IdLayoutWantsIdsOfBothDirections) {
    const auto hasIds = [&](const std::string& bytes) {
        const std::string path = folder.Write("data.mat", bytes);
        KeepingMatFile reader;
        reader.Open(true, path.c_str(), nullptr);
        return reader.HasIdLayout();
    };
    const std::string data = Matrix4{0, 1, 1, "DATA"}.Doubles({1});
    const auto id = [](const char* name) { return Matrix4{0, 1, 1, name}.Doubles({1}); };
    EXPECT_TRUE(hasIds(data + id("COLUMNID1") + id("ROWID1")));
    EXPECT_TRUE(hasIds(data + id("OBSID1") + id("VARID1")));
    EXPECT_FALSE(hasIds(data + id("OBSID1") + id("ROWID1")));
    EXPECT_FALSE(hasIds(data + id("OBSID1")));
    EXPECT_FALSE(hasIds(data + id("OBSID0") + id("VARIDx")));
    EXPECT_FALSE(hasIds(id("data") + id("OBSID1") + id("VARID1")));
}

TEST_F(MatLevel4Test, WithoutAHostTheLayoutsAreNotKept) {
    const std::string trace = Trace(NamedMatrices());
    EXPECT_NE(trace.find("GetNumRows 2\nGetNumCols 3\n"), std::string::npos);
    EXPECT_EQ(Cells(NamedMatrices(), 3), "Set 1 1 text \"o1\"\nSet 1 2 text \"o2\"\n");
}

TEST_F(MatLevel4Test, UserWhoGivesUpIsStatus4) {
    const std::string path = folder.Write("data.mat", Square());
    AbortedMatFile reader;
    EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), SpreadsheetFile::StatusAbortedByUser);
    EXPECT_EQ(reader.GetNumberOfMatrices(), 0);
    EXPECT_EQ(reader.GetNumRows(), -1);
}

TEST_F(MatLevel4Test, DamagedFilesEndInAStatus) {
    const std::string good = Matrix4{0, 5, 6, "DATA"}.Doubles(std::vector<double>(30, 1.5)) +
                             Matrix4{1, 5, 2, "OBSID1"}.Doubles(std::vector<double>(10, 'x')) +
                             Matrix4{2, 2, 3, "s"}.Doubles({1, 4, 1, 5, 9, 0}) + NamedMatrices();
    NvSystemInfo::SetInflateLimit(1 << 20);
    ForEachDamage(good, [&](const std::string& damaged) {
        const std::string path = folder.Write("damaged.mat", damaged);
        KeepingMatFile reader;
        reader.Open(true, path.c_str(), nullptr);
        EXPECT_LE(reader.ListParts().size(), 20U);
        TableData table;
        table.SetDataSize(reader.GetNumCols(), reader.GetNumRows());
        reader.Read(&table);
        for (const int matrix : {1, 2, 3}) {
            TraceOptions how;
            how.part = matrix;
            EXPECT_TRUE(ReadTrace(Format, path, how).ends_with("Close\n"));
        }
    });
    NvSystemInfo::SetInflateLimit(1ULL << 30);
}
