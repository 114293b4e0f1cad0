// The flat functions over the library's own formats, the adaptors on both sides and the options record.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <sstream>

#include "frame/CellType.h"
#include "frame/DLLReadSpreadSheetData.h"
#include "frame/DLLWriteSpreadSheetData.h"
#include "frame/NvImport.h"
#include "frame/SprFileFactory.h"
#include "frame/SpreadsheetOpenOptions.h"
#include "host/ImportSpecBase.h"
#include "host/StreamReader.h"
#include "host/StreamWriter.h"
#include "tests/support/TempFolder.h"

namespace {

int IndexOf(const char* name) {
    for (int i = 1; i <= NvImportSizeFileFormatsSupported(); ++i) {
        if (std::strcmp(NvImportGetFileFormatInfo(i)->formatName, name) == 0) {
            return i;
        }
    }
    return 0;
}

/** A table of callbacks that notes what it is called with. */
struct Notes : NvImportReadCallbacks {
    Notes() : NvImportReadCallbacks{} {
        setFloat = [](NvImportReadCallbacks* table, int32_t row, int32_t col, float value) {
            static_cast<Notes*>(table)->text << "float " << row << ' ' << col << ' ' << value << '\n';
        };
        setString = [](NvImportReadCallbacks* table, int32_t row, int32_t col, const char* value) {
            static_cast<Notes*>(table)->text << "text " << row << ' ' << col << ' ' << value << '\n';
        };
        setDataSize = [](NvImportReadCallbacks* table, int32_t rows, int32_t cols) {
            static_cast<Notes*>(table)->text << "size " << rows << ' ' << cols << '\n';
            table->numRows = rows;
            table->numCols = cols;
        };
        nextRowToRead = [](NvImportReadCallbacks*, int32_t row) { return row + 1; };
    }

    std::ostringstream text;
};

std::string Narrowed(const std::function<void(DLLReadSpreadSheetData&)>& set) {
    Notes notes;
    DLLReadSpreadSheetData sink(&notes);
    set(sink);
    return notes.text.str();
}

}  // namespace

TEST(FlatInterface, ReadsAFile) {
    const TempFolder folder;
    const std::string path = folder.Write("a.txt", "x\ty\n1\t2\n");
    const int index = IndexOf("Text File");
    ASSERT_GT(index, 0);
    void* handle = nullptr;
    ASSERT_TRUE(NvImportOpen(index, path.c_str(), true, &handle, nullptr));
    int32_t rows = 0;
    int32_t cols = 0;
    EXPECT_TRUE(NvImportEstablishSize(index, handle, &rows, &cols));
    EXPECT_EQ(rows, 2);
    EXPECT_EQ(cols, 2);
    Notes notes;
    EXPECT_TRUE(NvImportRead(index, handle, &notes));
    EXPECT_EQ(notes.text.str(), "text 1 1 x\ntext 1 2 y\ntext 2 1 1\ntext 2 2 2\n");
    EXPECT_EQ(NvImportGetWarning(index, handle), nullptr);
    NvImportClose(index, handle);
}

TEST(FlatInterface, HandleOfAFactoryThatMadeNoneHasNoText) {
    EXPECT_STREQ(NvImportGetLastError(1, nullptr), "");
}

TEST(FlatInterface, FailedOpenLeavesAHandleThatTellsWhy) {
    const int index = IndexOf("Text File");
    void* handle = nullptr;
    EXPECT_FALSE(NvImportOpen(index, "/none/at/all.txt", true, &handle, nullptr));
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(std::string(NvImportGetLastError(index, handle)).substr(0, 43),
              "This file appears to be a binary file and c");
    NvImportClose(index, handle);
}

TEST(FlatInterface, SizeIsStoredAlsoWhenItFails) {
    const TempFolder folder;
    const std::string path = folder.Write("a.txt", "");
    const int index = IndexOf("Text File");
    void* handle = nullptr;
    ASSERT_TRUE(NvImportOpen(index, path.c_str(), true, &handle, nullptr));
    int32_t rows = 7;
    int32_t cols = 7;
    EXPECT_FALSE(NvImportEstablishSize(index, handle, &rows, &cols));
    EXPECT_EQ(rows, 0);
    EXPECT_EQ(cols, -1);
    NvImportClose(index, handle);
}

TEST(FlatInterface, WritesATable) {
    const TempFolder folder;
    const std::string path = folder.Path("out.txt");
    NvImportWriteCallbacks table{};
    table.numRows = 1;
    table.numCols = 2;
    table.getCellType = [](NvImportWriteCallbacks*, int32_t, int32_t) -> char { return CellText; };
    table.getString = [](NvImportWriteCallbacks*, int32_t, int32_t col) { return col == 1 ? "a" : "b"; };
    const int index = IndexOf("Text File");
    void* handle = nullptr;
    ASSERT_TRUE(NvImportOpen(index, path.c_str(), false, &handle, nullptr));
    EXPECT_TRUE(NvImportWrite(index, handle, &table));
    NvImportClose(index, handle);
    EXPECT_EQ(ReadWholeFile(path), "a\tb\n");
}

TEST(FlatInterface, VerdictsAreCoded) {
    const TempFolder folder;
    const int index = IndexOf("Text File");
    EXPECT_EQ(NvImportIsCorrectFileType(index, folder.Write("a", "text").c_str()), 1);
    EXPECT_EQ(NvImportIsCorrectFileType(index, folder.Write("b", std::string(4, '\0')).c_str()), 0);
}

TEST(FlatInterface, SpecThatCannotBeHonouredIsMarked) {
    const int index = IndexOf("Text File");
    void* handle = nullptr;
    NvImportOpen(index, "/none", true, &handle, nullptr);
    ImportSpecBase spec;
    NvImportSetSpec(handle, &spec);
    EXPECT_FALSE(spec.honoured);
    NvImportClose(index, handle);
}

TEST(DLLReadSpreadSheetData, LargeWholeDoublesGoAsText) {
    EXPECT_EQ(Narrowed([](auto& sink) { sink.Set(1, 2, 1000000.0); }), "text 2 1 1000000\n");
    EXPECT_EQ(Narrowed([](auto& sink) { sink.Set(1, 2, 999991.0); }), "text 2 1 999991\n");
    EXPECT_EQ(Narrowed([](auto& sink) { sink.Set(1, 2, 999990.0); }), "float 2 1 999990\n");
    EXPECT_EQ(Narrowed([](auto& sink) { sink.Set(1, 2, 1000000.5); }), "float 2 1 1e+06\n");
    EXPECT_EQ(Narrowed([](auto& sink) { sink.Set(1, 2, -1000000.0); }), "float 2 1 -1e+06\n");
    EXPECT_EQ(Narrowed([](auto& sink) { sink.Set(1, 2, 9223372036854775807.0); }), "float 2 1 9.22337e+18\n");
}

TEST(DLLReadSpreadSheetData, Int64GoesAsTextAndIntAsFloat) {
    EXPECT_EQ(Narrowed([](auto& sink) { sink.Set(1, 1, std::int64_t{-9007199254740993}); }),
              "text 1 1 -9007199254740993\n");
    EXPECT_EQ(Narrowed([](auto& sink) { sink.Set(1, 1, 16777217); }), "float 1 1 1.67772e+07\n");
}

TEST(DLLReadSpreadSheetData, SizeAndFilterPass) {
    Notes notes;
    DLLReadSpreadSheetData sink(&notes);
    sink.SetDataSize(3, 5);
    EXPECT_EQ(sink.GetNumberOfColumns(), 3);
    EXPECT_EQ(sink.GetNumberOfRows(), 5);
    EXPECT_EQ(sink.NextRowToRead(4), 5);
    EXPECT_EQ(notes.text.str(), "size 5 3\n");
}

TEST(DLLWriteSpreadSheetData, AsksTheTable) {
    NvImportWriteCallbacks table{};
    table.numRows = 2;
    table.numCols = 3;
    table.getCellType = [](NvImportWriteCallbacks*, int32_t row, int32_t) { return static_cast<char>(row); };
    table.getFloat = [](NvImportWriteCallbacks*, int32_t row, int32_t col) { return row * 10.0 + col; };
    table.getString = [](NvImportWriteCallbacks*, int32_t, int32_t) { return "s"; };
    table.getDataOrigin = [](NvImportWriteCallbacks*, int32_t* col, int32_t* row) {
        *col = 2;
        *row = 4;
        return true;
    };
    DLLWriteSpreadSheetData source(&table);
    EXPECT_TRUE(source.IsFloat(1, 1));
    EXPECT_TRUE(source.IsString(1, 2));
    EXPECT_TRUE(source.IsMissing(1, 3));
    EXPECT_EQ(source.GetFloatValue(2, 3), 32.0);
    EXPECT_EQ(source.GetString(1, 1), "s");
    EXPECT_EQ(source.GetNumberOfColumns(), 3);
    EXPECT_EQ(source.GetNumberOfRows(), 2);
    int col = 0;
    int row = 0;
    EXPECT_TRUE(source.GetDataOrigin(&col, &row));
    EXPECT_EQ(col, 2);
    EXPECT_EQ(row, 4);
}

TEST(ReadSpreadSheetData, WiderNumbersAreNarrowedByDefault) {
    struct FloatSink : ReadSpreadSheetData {
        using ReadSpreadSheetData::Set;
        void Set(int, int, const char*) override {}
        void Set(int, int, float value) override { last = value; }
        void SetDataSize(int, int) override {}
        int GetNumberOfColumns() override { return 0; }
        int GetNumberOfRows() override { return 0; }
        float last = 0.0F;
    };
    FloatSink sink;
    sink.Set(1, 1, 1.5);
    EXPECT_EQ(sink.last, 1.5F);
    sink.Set(1, 1, 0.1);
    EXPECT_EQ(sink.last, 0.1F);
    sink.Set(1, 1, 16777217);
    EXPECT_EQ(sink.last, 16777216.0F);
    sink.Set(1, 1, std::int64_t{3});
    EXPECT_EQ(sink.last, 3.0F);
    EXPECT_EQ(sink.NextRowToRead(6), 7);
}

TEST(SpreadsheetOpenOptions, HoldsAPrivateCopy) {
    std::uint8_t bytes[] = {1, 2, 3};
    const NvImportOpenOptions record{3, bytes};
    SpreadsheetOpenOptions options(&record);
    bytes[0] = 9;
    const NvImportOpenOptions* held = options;
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(held->size, 3U);
    EXPECT_EQ(held->data[0], 1);
    SpreadsheetOpenOptions copy(options);
    options = static_cast<const NvImportOpenOptions*>(nullptr);
    EXPECT_EQ(static_cast<const NvImportOpenOptions*>(options), nullptr);
    EXPECT_EQ(static_cast<const NvImportOpenOptions*>(copy)->data[2], 3);
}

TEST(SpreadsheetOpenOptions, AssignmentOfItselfChangesNothing) {
    std::uint8_t bytes[] = {1};
    const NvImportOpenOptions record{1, bytes};
    SpreadsheetOpenOptions options(&record);
    const SpreadsheetOpenOptions& same = options;
    options = same;
    options = static_cast<const NvImportOpenOptions*>(options);
    EXPECT_EQ(static_cast<const NvImportOpenOptions*>(options)->data[0], 1);
}

TEST(SpreadsheetOpenOptions, ComesBackFromAStream) {
    std::uint8_t bytes[] = {7, 8};
    const NvImportOpenOptions record{2, bytes};
    std::ostringstream out;
    StreamWriter writer(out);
    SpreadsheetOpenOptions(&record).Write(writer);
    EXPECT_EQ(out.str(), std::string("\1\2\0\0\0\7\10", 7));
    std::istringstream in(out.str());
    StreamReader reader(in);
    const SpreadsheetOpenOptions back(reader);
    EXPECT_EQ(static_cast<const NvImportOpenOptions*>(back)->size, 2U);
    EXPECT_EQ(static_cast<const NvImportOpenOptions*>(back)->data[1], 8);
}

TEST(SpreadsheetOpenOptions, NoRecordIsOneFalseByte) {
    std::ostringstream out;
    StreamWriter writer(out);
    SpreadsheetOpenOptions(static_cast<const NvImportOpenOptions*>(nullptr)).Write(writer);
    EXPECT_EQ(out.str(), std::string(1, '\0'));
    std::istringstream in(out.str());
    StreamReader reader(in);
    EXPECT_EQ(static_cast<const NvImportOpenOptions*>(SpreadsheetOpenOptions(reader)), nullptr);
}

TEST(SpreadsheetOpenOptions, ReadKeepsBytesAlsoForSizeZero) {
    std::istringstream in(std::string("\1\0\0\0\0", 5));
    StreamReader reader(in);
    const SpreadsheetOpenOptions back(reader);
    ASSERT_NE(static_cast<const NvImportOpenOptions*>(back), nullptr);
    EXPECT_NE(static_cast<const NvImportOpenOptions*>(back)->data, nullptr);
}

TEST(SpreadsheetOpenOptions, SizeThatLiesRaises) {
    std::istringstream in(
        std::string("\1\xff\xff\xff\x7f"
                    "ab",
                    7));
    StreamReader reader(in);
    EXPECT_THROW(SpreadsheetOpenOptions{reader}, std::ios_base::failure);
}

TEST(SpreadsheetOpenOptions, CopyOfSizeZeroHasNoBytes) {
    std::uint8_t bytes[] = {1};
    const NvImportOpenOptions source{0, bytes};
    NvImportOpenOptions target{5, bytes};
    SpreadsheetOpenOptions::CopyOpenOptions(&target, &source);
    EXPECT_EQ(target.size, 0U);
    EXPECT_EQ(target.data, nullptr);
}

TEST(SpreadsheetOpenOptions, RecordThatClaimsBytesAndHasNoneIsCopiedAsAnEmptyOne) {
    const NvImportOpenOptions source{7, nullptr};
    const SpreadsheetOpenOptions copy(&source);
    const NvImportOpenOptions* record = copy;
    EXPECT_EQ(record->size, 0U);
    EXPECT_EQ(record->data, nullptr);
}

TEST(SpreadsheetOpenOptions, CopyOntoItselfGivesBytesOfItsOwn) {
    std::uint8_t bytes[] = {4, 5};
    NvImportOpenOptions record{2, bytes};
    SpreadsheetOpenOptions::CopyOpenOptions(&record, &record);
    EXPECT_NE(record.data, bytes);
    EXPECT_EQ(record.data[1], 5);
    SpreadsheetOpenOptions::FreeOpenOptions(&record);
    EXPECT_EQ(record.data, nullptr);
    EXPECT_EQ(record.size, 0U);
}
