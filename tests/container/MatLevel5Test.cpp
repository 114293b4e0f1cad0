#include <gtest/gtest.h>

#include <limits>

#include "base/Exception.h"
#include "container/MatFile.h"
#include "host/NvSystemInfo.h"
#include "table/TableData.h"
#include "tests/container/MatBuilder.h"
#include "tests/support/Damage.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Format = "Matlab File";
constexpr const char* Opened =
    "Format \"Matlab File\"\nOpen 0x0\nGetNumRows 1\nGetNumCols 1\nSetDataSize 1 1\n";

class MatLevel5Test : public testing::Test {
protected:
    /** Of a file whose first element this is. */
    std::string Trace(const std::string& element, bool big = false) {
        return TraceFile(Header5(big) + element);
    }
    std::string TraceFile(const std::string& bytes) {
        return ReadTrace(Format, folder.Write("data.mat", bytes));
    }
    std::string Cells(const Array5& array) { return CellsOf(Trace(array.Bytes(), array.big)); }

    TempFolder folder;
};

Array5 Square() {
    return Array5{.dimensions = {2, 2}}.Doubles({1, 2, 3, 4});
}

constexpr const char* SquareCells =
    "Set 1 1 double 1\nSet 1 2 double 2\nSet 2 1 double 3\nSet 2 2 double 4\n";

// A sparse array of 3 by 2 with the entries 5 (row 1), 6 (row 3) and 7 (row 2, column 2).
Array5 SparseOf(std::uint32_t maxEntries = 3) {
    return Array5{.flags = 5, .maxEntries = maxEntries, .dimensions = {3, 2}}
        .Element<std::int32_t>(5, {0, 2, 1})
        .Element<std::int32_t>(5, {0, 2, 3});
}

}  // namespace

TEST_F(MatLevel5Test, ArrayTellsItsSizeInRead) {
    EXPECT_EQ(Trace(Square().Bytes()),
              std::string(Opened) + "SetDataSize 2 2\n" + SquareCells + "Read 0x0\nClose\n");
}

TEST_F(MatLevel5Test, EveryTypeGoesInItsOwnFormInBothByteOrders) {
    for (const bool big : {false, true}) {
        const auto array = [&] { return Array5{.dimensions = {1, 2}, .big = big}; };
        EXPECT_EQ(Cells(array().Element<std::int8_t>(1, {-128, 5})), "Set 1 1 int -128\nSet 2 1 int 5\n");
        EXPECT_EQ(Cells(array().Element<std::uint8_t>(2, {255, 5})), "Set 1 1 int 255\nSet 2 1 int 5\n");
        EXPECT_EQ(Cells(array().Element<std::int16_t>(3, {-300, 5})), "Set 1 1 int -300\nSet 2 1 int 5\n");
        EXPECT_EQ(Cells(array().Element<std::uint16_t>(4, {65535, 5})), "Set 1 1 int 65535\nSet 2 1 int 5\n");
        EXPECT_EQ(Cells(array().Element<std::int32_t>(5, {-70000, 5})),
                  "Set 1 1 int -70000\nSet 2 1 int 5\n");
        EXPECT_EQ(Cells(array().Element<std::uint32_t>(6, {4294967295U, 5})),
                  "Set 1 1 int64 4294967295\nSet 2 1 int64 5\n");
        EXPECT_EQ(Cells(array().Element<float>(7, {0.5F, std::numeric_limits<float>::infinity()})),
                  "Set 1 1 float 0.5\nSet 2 1 float inf\n");
        EXPECT_EQ(Cells(array().Element<double>(9, {-0.25, 1e300})),
                  "Set 1 1 double -0.25\nSet 2 1 double 1.0000000000000001e+300\n");
        EXPECT_EQ(Cells(array().Element<std::int64_t>(12, {-9007199254740993, 5})),
                  "Set 1 1 int64 -9007199254740993\nSet 2 1 int64 5\n");
        EXPECT_EQ(Cells(array().Element<std::uint64_t>(13, {9223372036854775807U, 9223372036854775808U})),
                  "Set 1 1 int64 9223372036854775807\nSet 2 1 double 9.2233720368547758e+18\n");
    }
}

TEST_F(MatLevel5Test, OtherTypesAre0x409) {
    for (const std::uint32_t type : {8U, 10U, 11U, 14U, 16U, 18U}) {
        EXPECT_EQ(Trace(Array5{.dimensions = {1, 1}}.Element<double>(type, {1}).Bytes()),
                  std::string(Opened) +
                      "SetDataSize 1 1\nRead 0x409\n"
                      "Error \"The file contains data of a type that cannot be interpreted.\"\nClose\n");
    }
}

TEST_F(MatLevel5Test, TextSetsNothingWithoutAConventionalName) {
    EXPECT_EQ(Trace(Array5{.flags = 4, .dimensions = {1, 2}}.Element<std::uint16_t>(17, {'a', 'b'}).Bytes()),
              std::string(Opened) + "SetDataSize 2 1\nRead 0x0\nClose\n");
}

TEST_F(MatLevel5Test, ShortNameInASmallElementKeepsTheRestInStep) {
    // Tag, flags, dimensions, and then the name "abc" as a small element.
    ByteBuilder body;
    body.U32(6).U32(8).U32(6).U32(0).U32(5).U32(8).I32(1).I32(1).U16(1).U16(3).Field("abc", 4);
    body.U32(9).U32(8).Double(42);
    const std::string element =
        ByteBuilder().U32(14).U32(static_cast<std::uint32_t>(body.Size())).Text(body.Bytes()).Bytes();
    const std::string path = folder.Write("data.mat", Header5() + element);
    EXPECT_EQ(CellsOf(ReadTrace(Format, path)), "Set 1 1 double 42\n");
    MatFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    // As long as its type's code.
    EXPECT_EQ(reader.ListParts()[0].name, "a");
}

TEST_F(MatLevel5Test, SmallElementHoldsItsData) {
    ByteBuilder body;
    body.U32(6).U32(8).U32(6).U32(0).U32(5).U32(8).I32(2).I32(1).U32(1).U32(8).Text("measured");
    body.U16(3).U16(4).I16(-5).I16(300);
    const std::string element =
        ByteBuilder().U32(14).U32(static_cast<std::uint32_t>(body.Size())).Text(body.Bytes()).Bytes();
    EXPECT_EQ(CellsOf(Trace(element)), "Set 1 1 int -5\nSet 1 2 int 300\n");
}

TEST_F(MatLevel5Test, LongNameIsCut) {
    const std::string path =
        folder.Write("data.mat", Header5() + Array5{.name = std::string(5000, 'n')}.Doubles({7}).Bytes());
    EXPECT_EQ(CellsOf(ReadTrace(Format, path)), "Set 1 1 double 7\n");
    MatFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    EXPECT_EQ(reader.ListParts()[0].name, std::string(31, 'n'));
}

TEST_F(MatLevel5Test, ThirdDimensionPutsTheTagsOutOfStep) {
    // The third dimension is taken for the name's tag, and the name's tag for that of the data.
    const std::string trace =
        Trace(Array5{.dimensions = {2, 3, 4}, .name = "abcdefgh"}.Doubles({1, 2, 3}).Bytes());
    EXPECT_EQ(trace, std::string(Opened) +
                         "SetDataSize 3 2\nSet 1 1 int 97\nSet 1 2 int 98\nSet 2 1 int 99\nSet 2 2 int 100\n"
                         "Set 3 1 int 101\nSet 3 2 int 102\nRead 0x0\nClose\n");
}

TEST_F(MatLevel5Test, OnlyTheFirstArrayIsRead) {
    EXPECT_EQ(CellsOf(Trace(Square().Bytes() + Array5().Doubles({99}).Bytes())), SquareCells);
    EXPECT_EQ(CellsOf(Trace(Compressed5(Square().Bytes() + Array5().Doubles({99}).Bytes()))), SquareCells);
}

TEST_F(MatLevel5Test, IdentifiersFirstLeaveNoData) {
    for (const char* name : {"VARNAM", "VARNUM", "OBSNAM", "OBSNUM2"}) {
        EXPECT_EQ(Trace(Array5{.name = name}.Doubles({1}).Bytes()),
                  std::string(Opened) + "Exception \"There is no data matrix.\"\nClose\n");
    }
    EXPECT_EQ(Cells(Array5{.name = "VARNA"}.Doubles({1})), "Set 1 1 double 1\n");
}

TEST_F(MatLevel5Test, ComplexArrayRaises) {
    EXPECT_EQ(Trace(Array5{.flags = 0x806}.Doubles({1}).Bytes()),
              std::string(Opened) + "Exception \"Can not handle imaginary data.\"\nClose\n");
}

TEST_F(MatLevel5Test, FirstElementOfAnotherKindIs0x401) {
    const std::string trace = Trace(ByteBuilder().U32(9).U32(8).Double(1).Bytes());
    EXPECT_NE(trace.find("Open 0x401\n"), std::string::npos);
    EXPECT_NE(Trace(Compressed5(Compressed5(Square().Bytes()))).find("Read 0x401\n"), std::string::npos);
}

TEST_F(MatLevel5Test, WhatIsCutIs0x402) {
    const std::string whole = Header5() + Square().Bytes();
    for (const std::size_t length : {std::size_t{100}, std::size_t{128}, std::size_t{132}}) {
        EXPECT_NE(TraceFile(whole.substr(0, length)).find("Open 0x402\n"), std::string::npos) << length;
    }
    for (std::size_t length = 136; length < whole.size(); ++length) {
        EXPECT_NE(TraceFile(whole.substr(0, length)).find("Read 0x402\n"), std::string::npos) << length;
    }
    // The values before the cut stay.
    EXPECT_EQ(CellsOf(TraceFile(whole.substr(0, whole.size() - 17))), "Set 1 1 double 1\n");
}

TEST_F(MatLevel5Test, FieldsThatLieEndInAStatus) {
    EXPECT_NE(Trace(Array5{.dimensions = {2147483647, 2147483647}}.Doubles({1}).Bytes()).find("Read 0x402\n"),
              std::string::npos);
    EXPECT_EQ(Cells(Array5{.dimensions = {0, 2147483647}}.Doubles({1})), "");
    EXPECT_EQ(Cells(Array5{.dimensions = {-1, 5}}.Doubles({1})), "");
    ByteBuilder name(ByteBuilder().Text(Square().Bytes()));
    name.Patch(44, std::uint32_t{0xffffffff});
    EXPECT_NE(Trace(name.Bytes()).find("Read 0x402\n"), std::string::npos);
}

TEST_F(MatLevel5Test, CompressedArrayIsReadLikeAPlainOne) {
    for (const bool big : {false, true}) {
        const Array5 array = Array5{.dimensions = {2, 2}, .big = big}.Doubles({1, 2, 3, 4});
        EXPECT_EQ(CellsOf(Trace(Compressed5(array.Bytes(), big), big)), SquareCells);
    }
}

TEST_F(MatLevel5Test, CompressedArrayIsCutOffAt32TimesItsSize) {
    const std::string content = Array5{.dimensions = {1, 4000}}.Doubles(std::vector<double>(4000)).Bytes();
    const std::string element = Compressed5(content);
    const std::size_t bound = 32 * (element.size() - 8);
    ASSERT_LT(bound, content.size());
    const std::string trace = Trace(element);
    EXPECT_NE(trace.find("SetDataSize 4000 1\n"), std::string::npos);
    const std::size_t cells = (bound - (content.size() - 4000 * sizeof(double))) / sizeof(double);
    EXPECT_NE(trace.find("Set " + std::to_string(cells) + " 1 double 0\nRead 0x402\n"), std::string::npos);
}

TEST_F(MatLevel5Test, CompressedArrayIsHeldToTheHostsLimit) {
    const std::string element =
        Compressed5(Array5{.dimensions = {1, 100}}.Doubles(std::vector<double>(100, 1.5)).Bytes());
    NvSystemInfo::SetInflateLimit(400);
    const std::string trace = Trace(element);
    NvSystemInfo::SetInflateLimit(1ULL << 30);
    EXPECT_NE(trace.find("Read 0x402\n"), std::string::npos);
    EXPECT_NE(Trace(element).find("Read 0x0\n"), std::string::npos);
}

TEST_F(MatLevel5Test, PayloadThatCannotBeInflatedIs0x402) {
    EXPECT_NE(Trace(ByteBuilder().U32(15).U32(20).Text("this is no deflation").Bytes()).find("Read 0x402\n"),
              std::string::npos);
    EXPECT_NE(Trace(ByteBuilder().U32(15).U32(0).Bytes()).find("Read 0x402\n"), std::string::npos);
    const std::string good = Compressed5(Square().Bytes());
    for (std::size_t length = 8; length < good.size(); ++length) {
        EXPECT_NE(Trace(good.substr(0, length)).find("Read 0x402\n"), std::string::npos) << length;
    }
}

TEST_F(MatLevel5Test, CheckValueThatDiffersIs0x402) {
    std::string element = Compressed5(Square().Bytes());
    element.back() = static_cast<char>(element.back() ^ 1);
    const std::string trace = Trace(element);
    EXPECT_EQ(CellsOf(trace), SquareCells);
    EXPECT_NE(trace.find("Read 0x402\n"), std::string::npos);
}

TEST_F(MatLevel5Test, SparseDoublesSetTheirEntriesAlone) {
    EXPECT_EQ(Trace(SparseOf().Element<double>(9, {5.5, 6, 7}).Bytes()),
              std::string(Opened) +
                  "SetDataSize 2 3\nSetDataSize 2 3\nSet 1 1 double 5.5\nSet 1 3 double 6\n"
                  "Set 2 2 double 7\nRead 0x0\nClose\n");
}

TEST_F(MatLevel5Test, SparseFloatsAndIntegersSetTheZerosToo) {
    const std::string zeros =
        "Set 1 1 int 0\nSet 1 2 int 0\nSet 1 3 int 0\nSet 2 1 int 0\nSet 2 2 int 0\nSet 2 3 int 0\n";
    EXPECT_EQ(Cells(SparseOf().Element<float>(7, {5.5F, 6, 7})),
              zeros + "Set 1 1 float 5.5\nSet 1 3 float 6\nSet 2 2 float 7\n");
    EXPECT_EQ(Cells(SparseOf().Element<std::uint32_t>(6, {5, 6, 7})),
              zeros + "Set 1 1 int 5\nSet 1 3 int 6\nSet 2 2 int 7\n");
}

TEST_F(MatLevel5Test, SparseDataOfOtherTypes) {
    EXPECT_NE(Trace(SparseOf().Element<std::uint16_t>(4, {5, 6, 7}).Bytes())
                  .find("Exception \"Text matrices can not be sparse.\"\nClose\n"),
              std::string::npos);
    EXPECT_NE(Trace(SparseOf().Element<std::uint8_t>(2, {5, 6, 7}).Bytes()).find("Read 0x409\n"),
              std::string::npos);
}

TEST_F(MatLevel5Test, SparseArrayOfMoreDimensionsRaises) {
    Array5 array = SparseOf().Element<double>(9, {5, 6, 7});
    array.flagsSize = 12;
    EXPECT_NE(
        Trace(array.Bytes()).find("Exception \"A sparse matrix can not have more than two dimensions.\"\n"),
        std::string::npos);
    // Of a full array the flags' size isn't looked at.
    EXPECT_EQ(Cells(Array5{.flagsSize = 12}.Doubles({3})), "Set 1 1 double 3\n");
}

TEST_F(MatLevel5Test, RoomForAMultipleOf16EntriesIsNotSeenAsSparse) {
    EXPECT_NE(
        Trace(SparseOf(17).Element<double>(9, {5, 6, 7}).Bytes()).find("SetDataSize 2 3\nSetDataSize 2 3\n"),
        std::string::npos);
    // The row indices are then taken for the data: three of six numbers, and what follows them.
    EXPECT_TRUE(Cells(SparseOf(16).Element<double>(9, {5, 6, 7}))
                    .starts_with("Set 1 1 int 0\nSet 1 2 int 2\nSet 1 3 int 1\n"));
}

TEST_F(MatLevel5Test, SparseIndicesOutsideTheArrayAre0x402) {
    const auto readOf = [&](const std::vector<std::int32_t>& rows, const std::vector<std::int32_t>& starts) {
        const std::string trace = Trace(Array5{.flags = 5, .maxEntries = 3, .dimensions = {3, 2}}
                                            .Element(5, rows)
                                            .Element(5, starts)
                                            .Element<double>(9, {5, 6, 7})
                                            .Bytes());
        return trace.substr(trace.find("Read "), 10);
    };
    EXPECT_EQ(readOf({0, 2, 1}, {0, 2, 3}), "Read 0x0\nC");
    EXPECT_EQ(readOf({0, 2, 3}, {0, 2, 3}), "Read 0x402");
    EXPECT_EQ(readOf({0, -1, 1}, {0, 2, 3}), "Read 0x402");
    EXPECT_EQ(readOf({0, 2, 1}, {0, 2, 4}), "Read 0x402");
    EXPECT_EQ(readOf({0, 2, 1}, {0, 3, 2}), "Read 0x402");
    EXPECT_EQ(readOf({0, 2, 1}, {-1, 2, 3}), "Read 0x402");
    EXPECT_EQ(readOf({0, 2, 1}, {0, 2}), "Read 0x402");
}

TEST_F(MatLevel5Test, SparseTablesBeyondAllMeasureAre0x402) {
    Array5 array = SparseOf().Element<double>(9, {5, 6, 7});
    array.dimensions = {2147483647, 2};
    EXPECT_NE(Trace(array.Bytes()).find("Read 0x402\n"), std::string::npos);
}

TEST_F(MatLevel5Test, SparseValuesThatRunOutAre0x402) {
    const std::string trace = Trace(SparseOf().Element<double>(9, {5}).Bytes());
    EXPECT_EQ(CellsOf(trace), "Set 1 1 double 5\n");
    EXPECT_NE(trace.find("Read 0x402\n"), std::string::npos);
}

TEST_F(MatLevel5Test, ReadTwiceGivesTheSame) {
    const std::string path = folder.Write("data.mat", Header5() + Compressed5(Square().Bytes()));
    MatFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    for (int round = 0; round < 2; ++round) {
        TableData table;
        EXPECT_EQ(reader.Read(&table), 0);
        EXPECT_EQ(table.GetString(2, 2), "4");
        EXPECT_EQ(reader.ListParts()[0].cols, 2);
    }
    EXPECT_TRUE(reader.SelectPart(1));
    EXPECT_FALSE(reader.SelectPart(2));
}

TEST_F(MatLevel5Test, DamagedFilesEndInAStatus) {
    NvSystemInfo::SetInflateLimit(1 << 20);
    const auto read = [&](const std::string& damaged) {
        EXPECT_TRUE(TraceFile(damaged).ends_with("Close\n"));
        MatFile reader;
        reader.Open(true, folder.Path("data.mat").c_str(), nullptr);
        EXPECT_LE(reader.ListParts().size(), 20U);
    };
    ForEachDamage(Header5() + Array5{.dimensions = {6, 5}}.Doubles(std::vector<double>(30, 1.5)).Bytes(),
                  read);
    ForEachDamage(Header5() + Compressed5(Square().Bytes()), read);
    ForEachDamage(Header5() + SparseOf().Element<float>(7, {5, 6, 7}).Bytes(), read);
    NvSystemInfo::SetInflateLimit(1ULL << 30);
}

namespace {

MatFile::msMatrix Named(const char* name, int rows, int columns) {
    MatFile::msMatrix matrix;
    std::copy_n(name, std::char_traits<char>::length(name), matrix.name);
    matrix.rows = rows;
    matrix.columns = columns;
    return matrix;
}

std::string RefusalOf(const std::vector<MatFile::msMatrix>& matrices) {
    try {
        return MatFile::CheckDimensions(matrices) ? "" : "false";
    } catch (const Exception& exception) {
        return exception.what();
    }
}

}  // namespace

TEST(MatSheetLayoutTest, IdentifiersMustFitTheData) {
    const auto data = Named("spectra", 4, 3);
    EXPECT_EQ(RefusalOf({}), "There is no data matrix.");
    EXPECT_EQ(RefusalOf({Named("VARNAM", 3, 8), Named("VARNUM", 1, 3), data, Named("OBSNAM", 4, 8),
                         Named("OBSNUM", 4, 1)}),
              "");
    EXPECT_EQ(RefusalOf({data, Named("VARNAM", 2, 8)}),
              "Dimensions of VARNAM matrix and data matrix do not agree.");
    EXPECT_EQ(RefusalOf({data, Named("VARNUM", 1, 2)}),
              "Dimensions of VARNUM matrix and data matrix do not agree.");
    // The two messages name each other's matrix.
    EXPECT_EQ(RefusalOf({data, Named("OBSNUM", 3, 1)}),
              "Dimensions of OBSNAM matrix and data matrix do not agree.");
    EXPECT_EQ(RefusalOf({data, Named("OBSNAM", 3, 8)}),
              "Dimensions of OBSNUM matrix and data matrix do not agree.");
}

TEST(MatSheetLayoutTest, NamesCountByTheirFirstCharacters) {
    const std::vector<MatFile::msMatrix> matrices{Named("data", 1, 1), Named("VARNAMES", 1, 1)};
    EXPECT_EQ(MatFile::ExistsMatrix(matrices, "VARNAM", 6), 2);
    EXPECT_EQ(MatFile::ExistsMatrix(matrices, "VARNAM", 3), 2);
    EXPECT_EQ(MatFile::ExistsMatrix(matrices, "VARNUM", 6), 0);
    EXPECT_EQ(MatFile::ExistsMatrix(matrices, "x", 0), 1);
}

TEST(MatSheetLayoutTest, SizesAddUp) {
    TableData table;
    MatFile::SetSheetSize(&table, {Named("VARNAM", 3, 8)});
    EXPECT_EQ(table.GetNumberOfColumns(), 8);
    EXPECT_EQ(table.GetNumberOfRows(), 3);
    // Identifiers of the observations before the data are lost in the larger width, behind it they add to it.
    MatFile::SetSheetSize(
        &table, {Named("OBSNAM", 4, 8), Named("data", 4, 3), Named("VARNAM", 3, 8), Named("OBSNUM", 4, 1)});
    EXPECT_EQ(table.GetNumberOfColumns(), 4);
    EXPECT_EQ(table.GetNumberOfRows(), 5);
    EXPECT_THROW(MatFile::SetSheetSize(&table, {}), Exception);
}

TEST(MatSheetLayoutTest, IdentifiersStandAroundTheData) {
    std::vector<MatFile::msMatrix> matrices{Named("VARNAM", 3, 8), Named("VARNUM", 1, 3),
                                            Named("OBSNAM", 4, 8), Named("OBSNUM", 4, 1),
                                            Named("data", 4, 3)};
    const auto placeOf = [&](std::size_t i) {
        return std::pair(matrices[i].columnStart, matrices[i].rowStart);
    };
    MatFile::SetSheetIndex(matrices);
    EXPECT_EQ(placeOf(0), std::pair(3, 1));
    EXPECT_EQ(placeOf(1), std::pair(3, 2));
    EXPECT_EQ(placeOf(2), std::pair(1, 3));
    EXPECT_EQ(placeOf(3), std::pair(2, 3));
    EXPECT_EQ(placeOf(4), std::pair(3, 3));
    matrices = {Named("OBSNUM", 4, 1), Named("data", 4, 3), Named("VARNUM", 1, 3)};
    MatFile::SetSheetIndex(matrices);
    EXPECT_EQ(placeOf(0), std::pair(1, 2));
    EXPECT_EQ(placeOf(1), std::pair(2, 2));
    EXPECT_EQ(placeOf(2), std::pair(2, 1));
    matrices = {Named("data", 4, 3)};
    MatFile::SetSheetIndex(matrices);
    EXPECT_EQ(placeOf(0), std::pair(1, 1));
}

TEST(MatSheetLayoutTest, TheDigitZeroEndsANameAndWhatHasNoneStandsBeforeTheNext) {
    const auto namesOf = [](const char* name, int rows, int columns, std::string_view text) {
        MatFile::msMatrix matrix = Named(name, rows, columns);
        matrix.columnStart = 2;
        matrix.rowStart = 3;
        TableData table;
        MatFile::SetNames(&table, matrix, {text.begin(), text.end()});
        std::string cells;
        for (int row = 1; row <= table.GetNumberOfRows(); ++row) {
            for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
                if (table.IsString(col, row)) {
                    cells +=
                        std::to_string(col) + "," + std::to_string(row) + "=" + table.GetText(col, row) + " ";
                }
            }
        }
        return cells;
    };
    // Column by column: the rows are "ab0" and "c0x".
    EXPECT_EQ(namesOf("VARNAM", 2, 3, "acb00x"), "2,3=ab 3,3=c ");
    EXPECT_EQ(namesOf("OBSNAM", 2, 3, "acb00x"), "2,3=ab 2,4=c ");
    EXPECT_EQ(namesOf("data", 2, 3, "acb00x"), "");
    EXPECT_EQ(namesOf("VARNAM", 2, 2, "acb0"), "3,3=abc ");
    EXPECT_EQ(namesOf("VARNAM", 1, 41, std::string(40, 'n') + "0"), "2,3=" + std::string(31, 'n') + " ");
    EXPECT_EQ(namesOf("VARNAM", 2147483647, 2147483647, "a0"), "3,3=a ");
}
