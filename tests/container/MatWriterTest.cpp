#include <gtest/gtest.h>

#include <bit>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "container/MatFile.h"
#include "table/TableData.h"
#include "tests/container/CompleteRead.h"
#include "tests/container/MatBuilder.h"
#include "tests/container/MatPeers.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

namespace {

class MatWriterTest : public testing::Test {
protected:
    MatWriterTest() : path(folder.Path("out.mat")) {
        // Two columns of identifiers and two rows of names around 2 by 2 numbers, one of them missing.
        table.Set(3, 1, "alpha");
        table.Set(4, 1, "be");
        table.Set(3, 2, 100.5);
        table.Set(1, 3, 1.0);
        table.Set(2, 3, "first");
        table.Set(3, 3, 1.5);
        table.Set(4, 3, "");
        table.Set(2, 4, 2.5);
        table.Set(3, 4, -3.0);
        table.Set(4, 4, 1e300);
    }

    int Write(SpreadsheetData& source) {
        MatFile writer;
        EXPECT_EQ(writer.Open(false, path.c_str(), nullptr), 0);
        const int result = writer.Write(&source);
        writer.Close();
        return result;
    }

    TempFolder folder;
    std::string path;

    // With its numeric block where the test says.
    struct Table : TableData {
        bool GetDataOrigin(int* firstDataCol, int* firstDataRow) override {
            *firstDataCol = originCol;
            *firstDataRow = originRow;
            return hasOrigin;
        }
        int originCol = 3;
        int originRow = 3;
        bool hasOrigin = true;
    } table;
};

// A matrix as it is written: the name's length is 7 for an identifier, its NUL included where there is room.
std::string Written(int type, int rows, int columns, std::string_view name,
                    const std::vector<double>& elements) {
    ByteBuilder bytes;
    bytes.I32(type).I32(rows).I32(columns).I32(0).I32(static_cast<int>(name.size())).Text(name);
    for (const double element : elements) {
        bytes.Double(element);
    }
    return bytes.Bytes();
}

}  // namespace

TEST_F(MatWriterTest, BlockAndIdentifiersAreMatricesOfTheirOwn) {
    ASSERT_EQ(Write(table), 0);
    const auto missing = std::bit_cast<double>(std::uint64_t{0xFFF8000000000000});
    EXPECT_EQ(ReadWholeFile(path),
              Written(0, 2, 2, std::string_view("DATA\0", 5), {1.5, -3, missing, 1e300}) +
                  // Only numbers: a missing one is zero.
                  Written(0, 2, 1, std::string_view("OBSID1\0", 7), {1, 0}) +
                  // A text among them: all are texts of the longest one's length.
                  Written(1, 2, 5, std::string_view("OBSID2\0", 7),
                          {'f', '2', 'i', '.', 'r', '5', 's', ' ', 't', ' '}) +
                  Written(1, 2, 5, std::string_view("VARID1\0", 7),
                          {'a', 'b', 'l', 'e', 'p', ' ', 'h', ' ', 'a', ' '}) +
                  Written(0, 2, 1, std::string_view("VARID2\0", 7), {100.5, 0}));
}

TEST_F(MatWriterTest, IdentifiersFrom10OnFillTheirNames) {
    Table wide;
    wide.originCol = 101;
    wide.originRow = 1;
    wide.Set(101, 1, 5.0);
    ASSERT_EQ(Write(wide), 0);
    const std::string bytes = ReadWholeFile(path);
    EXPECT_NE(bytes.find("OBSID99"), std::string::npos);
    // The name's length is fixed: a third digit is cut.
    EXPECT_EQ(bytes.find("OBSID100"), std::string::npos);
    EXPECT_EQ(bytes.size(), 20U + 5 + 8 + 100 * (20 + 7 + 8));
}

TEST_F(MatWriterTest, BytesOfATextAreCharacters) {
    Table texts;
    texts.originCol = 2;
    texts.originRow = 1;
    texts.Set(1, 1, "\xc3\xa5");
    texts.Set(2, 1, 5.0);
    ASSERT_EQ(Write(texts), 0);
    EXPECT_TRUE(
        ReadWholeFile(path).ends_with(Written(1, 1, 2, std::string_view("OBSID1\0", 7), {0xc3, 0xa5})));
    TraceOptions second;
    second.part = 2;
    EXPECT_EQ(CellsOf(ReadTrace("Matlab File", path, second)), "Set 1 1 text \"\\xc3\\xa5\"\n");
}

TEST_F(MatWriterTest, WhatIsWrittenIsReadBack) {
    ASSERT_EQ(Write(table), 0);
    EXPECT_EQ(
        CellsOf(ReadTrace("Matlab File", path)),
        "Set 1 1 double 1.5\nSet 1 2 double -3\nSet 2 1 text \"\"\nSet 2 2 double 1.0000000000000001e+300\n");
}

TEST_F(MatWriterTest, WhatIsWrittenIsOneTableAgainInTheCompleteReading) {
    ASSERT_EQ(Write(table), 0);
    CompleteRead<MatFile> read(path);
    EXPECT_EQ(read.Cells(), "  alpha be|  100.5 0|1 first 1.5 |0 2.5 -3 1e+300");
    EXPECT_EQ(read.table.GetKind(4, 3), TableData::Missing);
    EXPECT_EQ(read.parts.at(0).detail, "double 2x2 with OBSID1, OBSID2, VARID1, VARID2");
    EXPECT_EQ(read.NoteTexts(), "");
    EXPECT_EQ(read.context->shape.axisRow, 2);
    EXPECT_EQ(read.context->shape.nameRow, 1);
    EXPECT_EQ(read.context->shape.firstBlockColumn, 3);
    EXPECT_EQ(CompleteRead<MatFile>(path, {{"Part", "OBSID2"}}).Cells(), "first|2.5");
}

TEST_F(MatWriterTest, ManyIdentifiersAreOneTableAgainToo) {
    Table wide;
    wide.originCol = 121;
    wide.originRow = 1;
    for (int col = 1; col <= 122; ++col) {
        wide.Set(col, 1, static_cast<double>(col));
    }
    ASSERT_EQ(Write(wide), 0);
    CompleteRead<MatFile> read(path);
    ASSERT_EQ(read.table.GetNumberOfColumns(), 122);
    for (int col = 1; col <= 122; ++col) {
        EXPECT_EQ(read.table.GetFloatValue(col, 1), col);
    }
}

TEST_F(MatWriterTest, TextsThatAreNumbersAreTheBlockOfATableWithoutOthers) {
    TableData texts;
    texts.Set(1, 1, "sample");
    texts.Set(2, 1, "Protein");
    texts.Set(3, 1, "Ash");
    texts.Set(1, 2, "a");
    texts.Set(2, 2, "12.5");
    texts.Set(3, 2, " 1e-1 ");
    texts.Set(1, 3, "b");
    texts.Set(3, 3, "few");
    ASSERT_EQ(Write(texts), 0);
    CompleteRead<MatFile> read(path);
    EXPECT_EQ(read.Cells(), " Protein Ash|a 12.5 0.1|b  ");
    TableData none;
    none.Set(1, 1, "a");
    EXPECT_EQ(Write(none), MatFile::StatusNoNumericBlock);
}

TEST_F(MatWriterTest, TableWithoutNumbersIs0x406AndLeavesTheOlderFile) {
    folder.Write("out.mat", "older");
    table.hasOrigin = false;
    EXPECT_EQ(Write(table), MatFile::StatusNoNumericBlock);
    EXPECT_EQ(ReadWholeFile(path), "older");
}

TEST_F(MatWriterTest, FolderThatIsNotThereIs0x400) {
    MatFile writer;
    EXPECT_EQ(writer.Open(false, folder.Path("none/out.mat").c_str(), nullptr), MatFile::StatusOpenFailed);
    EXPECT_EQ(writer.Write(&table), MatFile::StatusOpenFailed);
}

TEST_F(MatWriterTest, WrongModesAreRefused) {
    folder.Write("out.mat", Matrix4{0, 1, 1, "x"}.Doubles({1}));
    MatFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    EXPECT_EQ(reader.Write(&table), SpreadsheetFile::StatusWrongMode);
    MatFile writer;
    ASSERT_EQ(writer.Open(false, path.c_str(), nullptr), 0);
    TableData sink;
    EXPECT_EQ(writer.Read(&sink), SpreadsheetFile::StatusWrongMode);
}

TEST_F(MatWriterTest, FullDiskIs0x405) {
    MatFile writer;
    ASSERT_EQ(writer.Open(false, "/dev/full", nullptr), 0);
    EXPECT_EQ(writer.Write(&table), MatFile::StatusWriteFailed);
}

TEST_F(MatWriterTest, ScipyReadsTheSame) {
    const std::string python = PythonWithScipy();
    if (python.empty()) {
        GTEST_SKIP() << "there is no python with scipy";
    }
    ASSERT_EQ(Write(table), 0);
    const std::string script = folder.Write("read.py",
                                            "import sys, scipy.io\n"
                                            "read = scipy.io.loadmat(sys.argv[1])\n"
                                            "for name in ('DATA', 'OBSID1', 'OBSID2', 'VARID1', 'VARID2'):\n"
                                            "    print(name, read[name].tolist())\n");
    const std::string output = folder.Path("read.txt");
    ASSERT_EQ(std::system((python + " '" + script + "' '" + path + "' > '" + output + "'").c_str()), 0);
    EXPECT_EQ(ReadWholeFile(output),
              "DATA [[1.5, nan], [-3.0, 1e+300]]\n"
              "OBSID1 [[1.0], [0.0]]\n"
              "OBSID2 ['first', '2.5  ']\n"
              "VARID1 ['alpha', 'be   ']\n"
              "VARID2 [[100.5], [0.0]]\n");
}
