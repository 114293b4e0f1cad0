#include <gtest/gtest.h>

#include <bit>
#include <chrono>
#include <limits>
#include <numeric>
#include <span>
#include <stop_token>
#include <string_view>

#include "container/MatFile.h"
#include "frame/FormatRecogniser.h"
#include "tests/container/CompleteRead.h"
#include "tests/container/MatBuilder.h"
#include "tests/support/CountingSink.h"
#include "tests/support/Damage.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

namespace {

using Read = CompleteRead<MatFile>;

class MatCompleteTest : public testing::Test {
protected:
    /** A level 5 file of these elements. */
    std::string File5(const std::string& elements, bool big = false) {
        return folder.Write("data.mat", Header5(big) + elements);
    }
    std::string File4(const std::string& matrices) { return folder.Write("data.mat", matrices); }
    std::string Cells5(const Array5& array) { return Read(File5(array.Bytes(), array.big)).Cells(); }

    TempFolder folder;
};

constexpr std::uint32_t CellClass = 1;
constexpr std::uint32_t StructClass = 2;
constexpr std::uint32_t CharClass = 4;
constexpr std::uint32_t SparseClass = 5;
constexpr std::uint32_t Complex = 0x800;
constexpr std::uint32_t Logical = 0x200;

Array5 Numbers(const std::string& name, std::vector<std::int32_t> dimensions,
               const std::vector<double>& values) {
    return Array5{.dimensions = std::move(dimensions), .name = name}.Doubles(values);
}

Array5 Text(const std::string& name, std::vector<std::int32_t> dimensions, const std::u16string& units) {
    return Array5{.flags = CharClass, .dimensions = std::move(dimensions), .name = name}
        .Element<std::uint16_t>(17, {units.begin(), units.end()});
}

Array5 Cell(const std::string& name, std::vector<std::int32_t> dimensions,
            const std::vector<Array5>& elements) {
    Array5 cell{.flags = CellClass, .dimensions = std::move(dimensions), .name = name};
    for (const Array5& element : elements) {
        cell.content += element.Bytes();
    }
    return cell;
}

// The names' length, the names, and then the fields, element by element.
Array5 Structure(const std::string& name, std::vector<std::int32_t> dimensions,
                 const std::vector<std::string>& fields, const std::vector<Array5>& values) {
    constexpr std::size_t NameLength = 8;
    Array5 structure{.flags = StructClass, .dimensions = std::move(dimensions), .name = name};
    structure.Element<std::int32_t>(5, {NameLength});
    std::vector<char> names;
    for (std::string field : fields) {
        field.resize(NameLength, '\0');
        names.insert(names.end(), field.begin(), field.end());
    }
    structure.Element<char>(1, names);
    for (const Array5& value : values) {
        structure.content += value.Bytes();
    }
    return structure;
}

Array5 SparseOf(std::vector<std::int32_t> dimensions, const std::vector<std::int32_t>& rows,
                const std::vector<std::int32_t>& starts, const std::vector<double>& values,
                std::uint32_t flags = SparseClass) {
    return Array5{.flags = flags,
                  .maxEntries = static_cast<std::uint32_t>(rows.size()),
                  .dimensions = std::move(dimensions)}
        .Element<std::int32_t>(5, rows)
        .Element<std::int32_t>(5, starts)
        .Doubles(values);
}

}  // namespace

TEST_F(MatCompleteTest, ShortTextWhoseBytesOctaveCountsTwiceHidesNothingBehindIt) {
    // Octave counts the four bytes twice that it packs into a text's tag.
    Array5 text{.flags = CharClass, .dimensions = {2, 2}, .name = "t"};
    text.content = std::string("\x10\0\x04\0acbd", 8);
    const auto miscounted = [](const Array5& array) {
        std::string bytes = array.Bytes();
        bytes[4] = static_cast<char>(bytes[4] + 4);
        return bytes;
    };
    Array5 cell{.flags = CellClass, .dimensions = {1, 2}, .name = "c"};
    cell.content = miscounted(text) + Numbers("", {1, 1}, {7}).Bytes();
    Read read(File5(miscounted(text) + cell.Bytes() + Numbers("x", {1, 2}, {1, 2}).Bytes()),
              {{"Part", "all"}});
    EXPECT_EQ(read.status, 0) << read.error;
    EXPECT_EQ(read.Cells(), "ab |cd |2x2 char 7|ab |cd |1 2");
    EXPECT_EQ(read.NoteTexts(), "");
}

TEST_F(MatCompleteTest, StructureWithoutFieldsIsEmpty) {
    const Read read(File5(Structure("S", {1, 1}, {}, {}).Bytes() + Numbers("x", {1, 1}, {1}).Bytes()));
    EXPECT_EQ(read.PartLines(), "S: 0 x 0, struct 1x1, empty\nx: 1 x 1, double 1x1\n");
}

TEST_F(MatCompleteTest, OtherFormsOfTheSameExtensionAreRefusedByName) {
    EXPECT_EQ(Read(folder.Write("bin.mat", std::string("Octave-1-L\0\x01\0\0\0x\0\0\0\0\0\0\0", 24))).error,
              "bin.mat is a binary file of Octave; save the variables again with save -7 and read that file");
    EXPECT_EQ(Read(folder.Write("ascii.mat", " 9.69823858e-01 1.33209494e-01\n 1.0e+00 2.0e+00\n")).error,
              "ascii.mat is no MAT-file but plain text; it is read with --format text");
}

TEST_F(MatCompleteTest, EveryVariableIsAPartAndTheOneWithMostNumbersIsTheTable) {
    const Read read(File5(
        Numbers("few", {1, 2}, {1, 2}).Bytes() + Text("long", {1, 9}, u"many text").Bytes() +
        Numbers("many", {2, 2}, {1, 2, 3, 4}).Bytes() + Numbers("asmany", {4, 1}, {5, 6, 7, 8}).Bytes()));
    EXPECT_EQ(read.PartLines(),
              "few: 1 x 2, double 1x2\nlong: 1 x 1, char 1x9\nmany: 2 x 2, double 2x2\nasmany: 4 x 1, double "
              "4x1\n");
    EXPECT_EQ(Read(folder.Path("data.mat")).Cells(), "1 3|2 4");
    EXPECT_EQ(read.NoteTexts(),
              "the table is \"many\"; 3 other variables are not in this table: few, long, asmany\n");
    EXPECT_TRUE(read.context->shape.isKnown);
    EXPECT_EQ(read.context->shape.firstBlockColumn, 1);
}

TEST_F(MatCompleteTest, PartsAreChosenByNameOrPlaceAndAllAreStacked) {
    const std::string path =
        File5(Numbers("a", {1, 2}, {1, 2}).Bytes() + Compressed5(Numbers("b", {2, 1}, {3, 4}).Bytes()));
    EXPECT_EQ(Read(path, {{"Part", "b"}}).Cells(), "3|4");
    EXPECT_EQ(Read(path, {{"Part", "1"}}).Cells(), "1 2");
    EXPECT_EQ(Read(path, {{"Part", "all"}}).Cells(), "1 2|3 |4 ");
    EXPECT_EQ(Read(path, {{"Part", "b"}}).NoteTexts(), "");
    const Read missing(path, {{"Part", "c"}});
    EXPECT_EQ(missing.opened, MatFile::StatusMatrix);
    EXPECT_EQ(missing.error, "There is no variable \"c\" in the file");
}

TEST_F(MatCompleteTest, NumbersAreThoseThatAreStored) {
    for (const bool big : {false, true}) {
        const auto array = [&](std::uint32_t flags) {
            return Array5{.flags = flags, .dimensions = {1, 2}, .big = big};
        };
        EXPECT_EQ(Cells5(array(6).Element<std::uint8_t>(2, {255, 5})), "255 5");
        EXPECT_EQ(Cells5(array(8).Element<std::int8_t>(1, {-128, 5})), "-128 5");
        EXPECT_EQ(Cells5(array(10).Element<std::int16_t>(3, {-300, 5})), "-300 5");
        EXPECT_EQ(Cells5(array(11).Element<std::uint16_t>(4, {65535, 5})), "65535 5");
        EXPECT_EQ(Cells5(array(12).Element<std::int32_t>(5, {-70000, 5})), "-70000 5");
        EXPECT_EQ(Cells5(array(13).Element<std::uint32_t>(6, {4294967295U, 5})), "4294967295 5");
        EXPECT_EQ(Cells5(array(7).Element<float>(7, {0.1F, std::numeric_limits<float>::infinity()})),
                  "0.1 inf");
        EXPECT_EQ(Cells5(array(14).Element<std::int64_t>(12, {-9007199254740993, 5})), "-9007199254740993 5");
        EXPECT_EQ(Cells5(array(15).Element<std::uint64_t>(13, {18446744073709551615U, 9223372036854775807U})),
                  "18446744073709551615 9223372036854775807");
        EXPECT_EQ(Cells5(array(9 | Logical).Element<std::uint8_t>(2, {1, 0})), "TRUE FALSE");
    }
    const Read read(File5(Array5{.flags = 9 | Logical}.Element<std::uint8_t>(2, {1}).Bytes()));
    EXPECT_EQ(read.table.GetKind(1, 1), TableData::Bool);
}

TEST_F(MatCompleteTest, ComplexNumbersArePairsOfColumns) {
    const Array5 array =
        Array5{.flags = 6 | Complex, .dimensions = {2, 2}}.Doubles({1, 2, 3, 4}).Doubles({5, 6, 7, 8});
    EXPECT_EQ(Cells5(array), "re im re im|1 5 3 7|2 6 4 8");
    EXPECT_EQ(Read(File5(Compressed5(array.Bytes()))).Cells(), "re im re im|1 5 3 7|2 6 4 8");
}

TEST_F(MatCompleteTest, FurtherDimensionsStandSideBySide) {
    EXPECT_EQ(Cells5(Numbers("n", {1, 2, 2}, {1, 2, 3, 4})), "(:,1,1) (:,2,1) (:,1,2) (:,2,2)|1 2 3 4");
}

TEST_F(MatCompleteTest, TextsAreARowEachWhateverTheirUnits) {
    EXPECT_EQ(Cells5(Text("t", {2, 3}, u"acbd  ")), "ab|cd");
    EXPECT_EQ(Cells5(Text("t", {1, 3}, u"\u20ac\xd83d\xde00")), "\u20ac\U0001f600");
    const auto bytes = [](std::uint32_t type, std::vector<std::int32_t> dimensions, std::string_view text) {
        return Array5{.flags = CharClass, .dimensions = std::move(dimensions)}.Element<char>(
            type, {text.begin(), text.end()});
    };
    // The sizes count characters or bytes.
    EXPECT_EQ(Cells5(bytes(16, {1, 2}, "a\u00fc")), "a\u00fc");
    EXPECT_EQ(Cells5(bytes(16, {1, 3}, "a\u00fc")), "a\u00fc");
    EXPECT_EQ(Cells5(bytes(16, {2, 1}, "a\u00fc")), "a|\u00fc");
    EXPECT_EQ(Cells5(bytes(2, {1, 3}, "a\u00fc")), "a\u00fc");
    EXPECT_EQ(Cells5(Array5{.flags = CharClass, .dimensions = {1, 1}}.Element<char32_t>(18, {0x1f600})),
              "\U0001f600");
    const Read foreign(File5(bytes(2, {1, 2}, "a\x80").Bytes()));
    EXPECT_EQ(foreign.NoteTexts(), "the texts of measured are no UTF-8 and were read as Windows-1252\n");
    EXPECT_EQ(Read(folder.Path("data.mat")).Cells(), "a\u20ac");
}

TEST_F(MatCompleteTest, SparseMatricesHaveTheirZeros) {
    EXPECT_EQ(Cells5(SparseOf({3, 2}, {0, 2, 1}, {0, 2, 3}, {5.5, 6, 7})), "5.5 0|0 7|6 0");
    Array5 complex = SparseOf({2, 1}, {1}, {0, 1}, {5}, SparseClass | Complex);
    EXPECT_EQ(Cells5(complex.Doubles({6})), "re im|0 0|5 6");
    EXPECT_EQ(Cells5(SparseOf({2, 1}, {1}, {0, 1}, {1}, SparseClass | Logical)), "FALSE|TRUE");
    // Octave calls its truth values full ones of a byte.
    EXPECT_EQ(Cells5(SparseOf({2, 1}, {1}, {0, 1}, {1}, 9 | Logical)), "FALSE|TRUE");
}

TEST_F(MatCompleteTest, SparseMatricesBeyondMeasureAreTriplets) {
    EXPECT_EQ(Cells5(SparseOf({2000000000, 1}, {7, 1999999999}, {0, 2}, {5, 6})),
              "row column value|8 1 5|2e+09 1 6");
    // The size behind the entries.
    Read level4(File4(Matrix4{2, 2, 3, "s"}.Doubles({9, 100000000, 1, 1, 5, 0})));
    EXPECT_EQ(level4.Cells(), "row column value|9 1 5");
    EXPECT_EQ(level4.PartLines(), "s: 2 x 3, sparse 100000000x1\n");
}

TEST_F(MatCompleteTest, SparseIndicesOutsideTheArrayAreRefused) {
    const auto statusOf = [&](const std::vector<std::int32_t>& rows,
                              const std::vector<std::int32_t>& starts) {
        return Read(File5(SparseOf({3, 2}, rows, starts, {5, 6, 7}).Bytes())).status;
    };
    EXPECT_EQ(statusOf({0, 2, 1}, {0, 2, 3}), 0);
    EXPECT_EQ(statusOf({0, 2, 3}, {0, 2, 3}), MatFile::StatusCorrupt);
    EXPECT_EQ(statusOf({0, -1, 1}, {0, 2, 3}), MatFile::StatusCorrupt);
    EXPECT_EQ(statusOf({0, 2, 1}, {0, 2, 4}), MatFile::StatusCorrupt);
    EXPECT_EQ(statusOf({0, 2, 1}, {0, 3, 2}), MatFile::StatusCorrupt);
    EXPECT_EQ(statusOf({0, 2, 1}, {0, 2}), MatFile::StatusCorrupt);
}

TEST_F(MatCompleteTest, CellsHoldWhatACellCanAndTheRestIsAPart) {
    const Array5 cell = Cell("c", {2, 2},
                             {Numbers("", {1, 1}, {1.5}), Text("", {1, 2}, u"ab"),
                              Numbers("", {1, 2}, {7, 8}), Numbers("", {0, 0}, {})});
    Read read(File5(cell.Bytes()), {{"Part", "c"}});
    EXPECT_EQ(read.Cells(), "1.5 1x2 double|ab ");
    EXPECT_EQ(read.table.GetKind(2, 2), TableData::Missing);
    EXPECT_EQ(read.PartLines(), "c: 2 x 2, cell 2x2\nc{1,2}: 1 x 2, double 1x2\n");
    EXPECT_EQ(Read(folder.Path("data.mat"), {{"Part", "c{1,2}"}}).Cells(), "7 8");
    EXPECT_EQ(Read(folder.Path("data.mat")).Cells(), "7 8");
}

TEST_F(MatCompleteTest, StructuresAreRowsAndTheirFieldsParts) {
    const Array5 inner = Structure("", {1, 1}, {"x"}, {Numbers("", {1, 1}, {3})});
    const Array5 single = Structure("S", {1, 1}, {"a", "m", "n"},
                                    {Numbers("", {1, 1}, {1}), Numbers("", {2, 1}, {5, 6}), inner});
    const Array5 list = Structure("L", {1, 2}, {"a", "t"},
                                  {Numbers("", {1, 1}, {1}), Text("", {1, 1}, u"x"),
                                   Numbers("", {1, 2}, {2, 3}), Text("", {1, 1}, u"y")});
    const std::string path = File5(Compressed5(single.Bytes()) + list.Bytes());
    Read read(path, {{"Part", "S"}});
    EXPECT_EQ(read.Cells(), "a m n|1 2x1 double 1x1 struct");
    EXPECT_EQ(read.context->shape.nameRow, 1);
    EXPECT_EQ(read.PartLines(),
              "S: 2 x 3, struct 1x1\nS.a: 1 x 1, double 1x1\nS.m: 2 x 1, double 2x1\nS.n: 2 x 1, struct 1x1\n"
              "S.n.x: 1 x 1, double 1x1\nL: 3 x 2, struct 1x2\nL(1,2).a: 1 x 2, double 1x2\n");
    EXPECT_EQ(Read(path, {{"Part", "L"}}).Cells(), "a t|1 x|1x2 double y");
    EXPECT_EQ(Read(path, {{"Part", "S.n.x"}}).Cells(), "3");
    EXPECT_EQ(Read(path, {{"Part", "S.m"}}).Cells(), "5|6");
}

TEST_F(MatCompleteTest, ACellArrayThatCountsTooFewOfItsBytesIsReadByItsElements) {
    std::string cell = Cell("c", {1, 2}, {Numbers("", {1, 2}, {7, 8}), Numbers("", {1, 1}, {9})}).Bytes();
    // As long as without its second element.
    ByteBuilder shortened(ByteBuilder().Text(cell));
    shortened.Patch(4, static_cast<std::uint32_t>(cell.size() - 8 - 64));
    const Array5 around = Structure("S", {1, 1}, {"c", "d"}, {});
    std::string content = around.content + shortened.Bytes() + Numbers("", {1, 1}, {4}).Bytes();
    Array5 whole = around;
    whole.content = content;
    const std::string path = File5(whole.Bytes());
    EXPECT_EQ(Read(path, {{"Part", "S"}}).Cells(), "c d|1x2 cell 4");
    EXPECT_EQ(Read(path, {{"Part", "S.c"}}).Cells(), "1x2 double 9");
}

TEST_F(MatCompleteTest, WhatCannotBeReadIsListedAndRefusedByName) {
    ByteBuilder opaque;
    opaque.U32(6).U32(8).U32(17).U32(0).U16(1).U16(1).Field("s", 4).U16(1).U16(4).Text("MCOS");
    opaque.U32(1).U32(6).Field("string", 8);
    const std::string element =
        ByteBuilder().U32(14).U32(static_cast<std::uint32_t>(opaque.Size())).Text(opaque.Bytes()).Bytes();
    const Read read(File5(element + Numbers("x", {1, 1}, {1}).Bytes()));
    EXPECT_EQ(read.PartLines(), "s: -1 x -1, string object 1x1, can't be read\nx: 1 x 1, double 1x1\n");
    EXPECT_EQ(Read(folder.Path("data.mat")).Cells(), "1");
    EXPECT_NE(read.NoteTexts().find("\"s\" (string object) can't be read\n"), std::string::npos);
    const Read named(folder.Path("data.mat"), {{"Part", "s"}});
    EXPECT_EQ(named.status, MatFile::StatusDataType);
    EXPECT_EQ(named.error, "\"s\" can't be read: string object");
}

TEST_F(MatCompleteTest, EmptyArraysSayThatTheyAre) {
    Read read(File5(Numbers("e", {0, 3}, {}).Bytes()));
    EXPECT_EQ(read.PartLines(), "e: 0 x 0, double 0x3, empty\n");
    EXPECT_EQ(read.status, 0);
    EXPECT_EQ(read.table.GetNumberOfRows(), 0);
    const Read none(File5(""));
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(none.NoteTexts(), "the file holds no variables\n");
}

TEST_F(MatCompleteTest, VectorsNameRowsAndColumns) {
    const std::string path =
        File5(Numbers("m", {2, 3}, {1, 2, 3, 4, 5, 6}).Bytes() + Numbers("w", {1, 3}, {10, 20, 30}).Bytes() +
              Cell("n", {2, 1}, {Text("", {1, 1}, u"a"), Text("", {1, 1}, u"b")}).Bytes());
    Read read(path, {{"RowNames", "n"}, {"ColumnNames", "w"}});
    EXPECT_EQ(read.Cells(), " 10 20 30|a 1 3 5|b 2 4 6");
    EXPECT_EQ(read.context->shape.axisRow, 1);
    EXPECT_EQ(read.context->shape.firstBlockColumn, 2);
    EXPECT_EQ(read.context->shape.labelColumns, std::vector<int>{1});
    const Read wrong(path, {{"RowNames", "w"}});
    EXPECT_EQ(wrong.error, "\"w\" is no variable of 2 values that could name the rows of \"m\"");
}

/** A table that asks for final rows, as one does that writes and forgets them. */
class FinalRows : public TableData {
public:
    bool KeepsRows() const override { return false; }
    void EndRow(int row) override {
        EXPECT_GT(row, final);
        final = row;
        ++ends;
    }
    void Set(int col, int row, double value) override {
        EXPECT_GT(row, final);
        TableData::Set(col, row, value);
    }
    void SetText(int col, int row, std::string_view text) override {
        EXPECT_GT(row, final);
        TableData::SetText(col, row, text);
    }
    void SetMissing(int col, int row) override {
        EXPECT_GT(row, final);
        TableData::SetMissing(col, row);
    }
    void SetColumnRun(int col, int firstRow, std::span<const float> values) override {
        EXPECT_GT(firstRow, final);
        TableData::SetColumnRun(col, firstRow, values);
    }
    void SetColumnRun(int col, int firstRow, std::span<const double> values) override {
        EXPECT_GT(firstRow, final);
        TableData::SetColumnRun(col, firstRow, values);
    }

    int final = 0;
    int ends = 0;
};

void ExpectTheSameInFinalRows(Read& read, bool inParts) {
    ASSERT_EQ(read.status, 0) << read.error;
    FinalRows sink;
    ASSERT_EQ(read.reader.Read(&sink), 0);
    ASSERT_EQ(sink.GetNumberOfRows(), read.table.GetNumberOfRows());
    ASSERT_EQ(sink.GetNumberOfColumns(), read.table.GetNumberOfColumns());
    for (int row = 1; row <= sink.GetNumberOfRows(); ++row) {
        for (int col = 1; col <= sink.GetNumberOfColumns(); ++col) {
            ASSERT_EQ(sink.GetKind(col, row), read.table.GetKind(col, row)) << col << ' ' << row;
            ASSERT_EQ(sink.GetString(col, row), read.table.GetString(col, row)) << col << ' ' << row;
        }
    }
    EXPECT_EQ(sink.ends > 2, inParts);
}

TEST_F(MatCompleteTest, RowsOfAMatrixAreFinalAsTheyCome) {
    constexpr int Rows = 1000;
    constexpr int Columns = 37;
    std::vector<double> values(static_cast<std::size_t>(Rows) * Columns);
    std::iota(values.begin(), values.end(), 0.25);
    const std::vector<double> names(values.begin(), values.begin() + Columns);
    const std::vector<double> times(values.begin(), values.begin() + Rows);
    const Array5 matrix = Numbers("m", {Rows, Columns}, values);
    const std::string named =
        matrix.Bytes() + Numbers("w", {1, Columns}, names).Bytes() + Numbers("t", {Rows, 1}, times).Bytes();
    Read plain(File5(matrix.Bytes()));
    ExpectTheSameInFinalRows(plain, true);
    Read labelled(File5(named), {{"RowNames", "t"}, {"ColumnNames", "w"}});
    ExpectTheSameInFinalRows(labelled, true);
    Read stacked(folder.Path("data.mat"), {{"Part", "all"}});
    ExpectTheSameInFinalRows(stacked, true);
    Read level4(File4(Matrix4{0, Rows, Columns, "m"}.Doubles(values)));
    ExpectTheSameInFinalRows(level4, true);
    // What doesn't lie in the file as it is handed out comes column by column.
    Read packed(File5(Compressed5(matrix.Bytes())));
    ExpectTheSameInFinalRows(packed, false);
    Array5 complex = matrix;
    complex.flags |= Complex;
    Read pairs(File5(complex.Doubles(values).Bytes()));
    ExpectTheSameInFinalRows(pairs, false);
}

/** One that has enough with its first final rows. */
class FewRows : public FinalRows {
public:
    explicit FewRows(std::stop_source& readStop) : stop(readStop) {}
    void EndRow(int row) override {
        FinalRows::EndRow(row);
        stop.request_stop();
    }

private:
    std::stop_source& stop;
};

TEST_F(MatCompleteTest, OtherVariablesAreToldToWhoHasEnoughOfTheRows) {
    const std::vector<double> values(1000, 1.5);
    Read read(File5(Numbers("m", {500, 2}, values).Bytes() + Numbers("n", {1, 1}, {1.0}).Bytes()));
    const std::string notes = read.NoteTexts();
    EXPECT_FALSE(notes.empty());
    std::stop_source stop;
    read.context->stop = stop.get_token();
    read.context->notes.Clear();
    FewRows sink(stop);
    EXPECT_THROW(read.reader.Read(&sink), karta::Stopped);
    EXPECT_EQ(sink.ends, 1);
    EXPECT_EQ(read.NoteTexts(), notes);
}

TEST_F(MatCompleteTest, Level4IsReadToItsEnd) {
    const std::string floats = Matrix4{10, 1, 2, "f"}.With<float>({1, 2});
    const std::string path = File4(floats + Matrix4{0, 2, 2, "z", true}.Doubles({1, 2, 3, 4, 5, 6, 7, 8}) +
                                   Matrix4{51, 2, 2, "t"}.With<std::uint8_t>({'a', 'c', 'b', ' '}));
    EXPECT_EQ(Read(path, {{"Part", "f"}}).Cells(), "1 2");
    EXPECT_EQ(Read(path).Cells(), "re im re im|1 5 3 7|2 6 4 8");
    EXPECT_EQ(Read(path, {{"Part", "t"}}).Cells(), "ab|c");
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(Read(File4(Matrix4{0, 1, 2, "x"}.Doubles({infinity, -infinity}))).Cells(), "inf -inf");
    std::string many;
    for (int i = 1; i <= 30; ++i) {
        many += Matrix4{0, 1, 1, "m" + std::to_string(i)}.Doubles({static_cast<double>(i)});
    }
    EXPECT_EQ(Read(File4(many), {{"Part", "m30"}}).Cells(), "30");
}

TEST_F(MatCompleteTest, CutDataCostsItsVariable) {
    const std::string whole = Matrix4{0, 1, 1, "a"}.Doubles({1});
    const std::string cut = Matrix4{0, 2, 2, "b"}.Doubles({1, 2, 3, 4});
    Read level4(File4(whole + cut.substr(0, cut.size() - 1)));
    EXPECT_EQ(level4.Cells(), "1");
    EXPECT_EQ(level4.NoteTexts(),
              "the table is \"a\"; 1 other variable is not in this table: b\n"
              "\"b\" (double) is cut off\n");
    EXPECT_EQ(Read(folder.Path("data.mat"), {{"Part", "b"}}).status, MatFile::StatusMatrix);
    const std::string array = Numbers("b", {2, 2}, {1, 2, 3, 4}).Bytes();
    Read level5(File5(Numbers("a", {1, 1}, {1}).Bytes() + array.substr(0, array.size() - 1)));
    EXPECT_EQ(level5.Cells(), "1");
    EXPECT_EQ(Read(folder.Path("data.mat"), {{"Part", "b"}}).status, MatFile::StatusCorrupt);
}

TEST_F(MatCompleteTest, SizesThatLieGiveNoTable) {
    EXPECT_EQ(Read(File5(Numbers("x", {2147483647, 2147483647}, {1}).Bytes())).status,
              MatFile::StatusCorrupt);
    EXPECT_EQ(Read(File5(Numbers("x", {3, 1}, {1, 2}).Bytes())).status, MatFile::StatusCorrupt);
    EXPECT_EQ(Read(File4(Matrix4{0, 134217728, 3, "a"}.Doubles({1, 2}))).status, MatFile::StatusMatrix);
    EXPECT_EQ(Read(File5(Compressed5(Numbers("x", {2, 1}, {1}).Bytes()))).status, MatFile::StatusCorrupt);
    // A million cells, of which none is there.
    EXPECT_EQ(Read(File5(Cell("c", {1000, 1000}, {}).Bytes())).status, MatFile::StatusCorrupt);
}

TEST_F(MatCompleteTest, ACheckValueThatDiffersIsRefused) {
    std::string element = Compressed5(Numbers("x", {1, 2}, {1, 2}).Bytes());
    element.back() = static_cast<char>(element.back() ^ 1);
    EXPECT_EQ(Read(File5(element)).status, MatFile::StatusCorrupt);
}

TEST_F(MatCompleteTest, OtherFilesAreRefusedByName) {
    std::string hdf5 = "MATLAB 7.3 MAT-file, Platform: GLNXA64";
    hdf5.resize(512, ' ');
    const Read matlab(folder.Write("new.mat", hdf5 + "\x89HDF\r\n\x1a\n"));
    EXPECT_EQ(matlab.opened, MatFile::StatusVersion);
    EXPECT_EQ(
        matlab.error,
        "new.mat is an HDF5 file (MATLAB 7.3 and later); save the variables again, in MATLAB with save(..., "
        "'-v7'), in Octave with save -7, and read that file");
    const Read octave(folder.Write("text.mat", "# Created by Octave 7.3.0, Sun Nov 22\n"));
    EXPECT_EQ(octave.opened, MatFile::StatusNoMatFile);
    const Read vax(File4(Matrix4{2000, 1, 1, "x"}.Doubles({1})));
    EXPECT_EQ(vax.error,
              "The file holds numbers in the form of a VAX or a Cray, which can't be read; save it again in "
              "MATLAB");
}

TEST_F(MatCompleteTest, TheHeadTellsFacts) {
    const auto factsOf = [&](std::string text) {
        text.resize(116, ' ');
        const std::string rest = Header5().substr(116);
        Read read(folder.Write("data.mat", text + rest));
        std::string facts;
        for (const FileContents::Fact& fact : read.reader.ListFacts()) {
            facts += fact.name + "=" + fact.value + ";";
        }
        return facts.substr(facts.find("header"));
    };
    EXPECT_EQ(factsOf("MATLAB 5.0 MAT-file, Platform: GLNX86, Created on: Tue Aug  5 17:45:20 2006"),
              "header=MATLAB 5.0 MAT-file, Platform: GLNX86, Created on: Tue Aug  5 17:45:20 2006;"
              "platform=GLNX86;created=2006-08-05T17:45:20;");
    EXPECT_EQ(
        factsOf("MATLAB 5.0 MAT-file, written by Octave 7.3.0, 2026-11-22 03:50:00 UTC"),
        "header=MATLAB 5.0 MAT-file, written by Octave 7.3.0, 2026-11-22 03:50:00 UTC;program=Octave 7.3.0;"
        "created=2026-11-22T03:50:00;");
}

TEST_F(MatCompleteTest, AFewBytesCannotClaimATable) {
    const auto start = std::chrono::steady_clock::now();
    // Level 4 in 70 bytes, and level 5: both readings end at once.
    const std::string paths[] = {
        folder.Write("bomb4.mat", Matrix4{2, 2, 3, "s"}.Doubles({1, 100000000, 1, 1, 5, 0})),
        folder.Write("bomb5.mat", Header5() + SparseOf({1 << 27, 1}, {0}, {0, 1}, {5}).Bytes()),
        folder.Write("wide.mat", Header5() + Numbers("x", {2000000000, 0}, {}).Bytes())};
    for (const std::string& path : paths) {
        EXPECT_EQ(Read(path).status, 0) << path;
    }
    for (const std::string& path : {paths[0], paths[1]}) {
        MatFile reader;
        reader.SetContext(std::make_shared<karta::ReadContext>());
        CountingSink sink;
        ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
        EXPECT_NE(reader.Read(&sink), 0) << path;
        EXPECT_EQ(sink.cells, 0);
        EXPECT_NE(ErrorOf(reader).find("its zeros would take more than"), std::string::npos)
            << ErrorOf(reader);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST_F(MatCompleteTest, InflationHasItsLimit) {
    const std::string path = File5(Compressed5(
        Cell("c", {1, 100000}, std::vector<Array5>(1, Numbers("", {1, 10000}, std::vector<double>(10000))))
            .Bytes()));
    karta::Budget::SetInflateLimit(1000);
    const int status = Read(path).status;
    karta::Budget::SetInflateLimit(std::uint64_t{1} << 30);
    EXPECT_EQ(status, MatFile::StatusCorrupt);
}

TEST_F(MatCompleteTest, DamagedFilesEndInAStatus) {
    karta::Budget::SetInflateLimit(1 << 20);
    const auto read = [&](const std::string& damaged) {
        const std::string path = folder.Write("data.mat", damaged);
        Read whole(path);
        for (std::size_t part = 1; part <= whole.parts.size() && part <= 12; ++part) {
            const Read one(path, {{"Part", std::to_string(part)}});
            EXPECT_TRUE(one.status == 0 || !one.error.empty());
        }
    };
    const Array5 list = Structure("L", {1, 2}, {"a", "t"},
                                  {Numbers("", {1, 1}, {1}), Text("", {1, 1}, u"x"),
                                   Numbers("", {1, 2}, {2, 3}), Cell("", {1, 1}, {Text("", {1, 1}, u"y")})});
    ForEachDamage(Header5() + list.Bytes(), read);
    ForEachDamage(Header5() + Compressed5(list.Bytes()), read);
    ForEachDamage(Header5() + SparseOf({3, 2}, {0, 2, 1}, {0, 2, 3}, {5.5, 6, 7}).Bytes() +
                      Text("t", {2, 3}, u"acbd  ").Bytes(),
                  read);
    ForEachDamage(Matrix4{2, 3, 3, "s"}.Doubles({1, 2, 2, 2, 1, 3, 7.5, 8.5, 0}) +
                      Matrix4{1, 2, 2, "t"}.Doubles({'a', 'b', 'c', 'd'}),
                  read);
    karta::Budget::SetInflateLimit(std::uint64_t{1} << 30);
}

TEST_F(MatCompleteTest, TheContentProvesTheFormat) {
    const auto evidenceOf = [&](const std::string& bytes) {
        const std::string path = folder.Write("data", bytes);
        return FormatRecogniser::Find("Matlab File")
            ->Recognise(path.c_str(), bytes.substr(0, FormatRecogniser::HeadSize));
    };
    EXPECT_EQ(evidenceOf(Header5()), FormatRecogniser::Evidence::Proof);
    EXPECT_EQ(evidenceOf(Header5(true)), FormatRecogniser::Evidence::Proof);
    EXPECT_EQ(evidenceOf(std::string(116, 'x') + Header5().substr(116)), FormatRecogniser::Evidence::Proof);
    const std::string level4 = Matrix4{0, 1, 2, "x"}.Doubles({1, 2}) + Matrix4{0, 1, 1, "y"}.Doubles({1});
    EXPECT_EQ(evidenceOf(level4), FormatRecogniser::Evidence::Proof);
    EXPECT_EQ(evidenceOf(level4 + "z"), FormatRecogniser::Evidence::None);
    EXPECT_EQ(evidenceOf(std::string(200, '\0')), FormatRecogniser::Evidence::None);
    EXPECT_EQ(evidenceOf(""), FormatRecogniser::Evidence::None);
}

TEST(MatNotesTest, TheClassicReadingTellsWhatItLeavesOut) {
    const TempFolder folder;
    const auto notesOf = [](const std::string& path, int part) {
        MatFile reader;
        EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
        if (part > 0) {
            reader.SelectPart(part);
        }
        TableData table;
        table.SetDataSize(reader.GetNumCols(), reader.GetNumRows());
        EXPECT_EQ(reader.Read(&table), 0);
        std::string texts;
        for (const karta::Note& note : reader.GetContext()->notes.GetAll()) {
            texts += note.text;
        }
        return texts;
    };
    const std::string one = Matrix4{0, 1, 1, "a"}.Doubles({1});
    const std::string level4 = folder.Write("4.mat", one + Matrix4{0, 1, 1, "b"}.Doubles({1}));
    EXPECT_EQ(notesOf(level4, 0), "the table is \"a\" alone; 1 other matrix is not in it");
    EXPECT_EQ(notesOf(level4, 2), "");
    EXPECT_EQ(notesOf(folder.Write("1.mat", one), 0), "");
    const std::string array = Numbers("measured", {1, 1}, {5}).Bytes();
    EXPECT_EQ(notesOf(folder.Write("5.mat", Header5() + array), 0), "");
    EXPECT_EQ(notesOf(folder.Write("6.mat", Header5() + array + array), 0),
              "the table is the first array of the file; those behind it are not in it");
}

// Used again without Close.
TEST(MatReuseTest, NothingPointsIntoTheFileBefore) {
    const TempFolder folder;
    const std::string level5 = folder.Write("5.mat", Header5() + Numbers("measured", {1, 1}, {5}).Bytes());
    const std::string level4 = folder.Write("4.mat", Matrix4{0, 1, 2, "x"}.Doubles({1, 2}));
    for (const karta::Reading reading : {karta::Reading::Classic, karta::Reading::Complete}) {
        const auto context = std::make_shared<karta::ReadContext>();
        context->reading = reading;
        MatFile reader;
        reader.SetContext(context);
        ASSERT_EQ(reader.Open(true, level5.c_str(), nullptr), 0);
        EXPECT_EQ(reader.ListParts().at(0).name, "measured");
        ASSERT_EQ(reader.Open(true, level4.c_str(), nullptr), 0);
        ASSERT_EQ(reader.ListParts().size(), 1U);
        EXPECT_EQ(reader.ListParts().at(0).name, "x");
        ASSERT_EQ(reader.Open(true, level5.c_str(), nullptr), 0);
        EXPECT_EQ(reader.Open(true, folder.Path("missing.mat").c_str(), nullptr), MatFile::StatusOpenFailed);
        EXPECT_TRUE(reader.ListParts().empty());
        EXPECT_FALSE(reader.SelectPart(1));
        EXPECT_EQ(reader.GetNumCols(), -1);
    }
}
