// Bad files of the plainest format, and how they end on each road: the reader, the flat functions, the
// driver.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "frame/ImportHelperBase.h"
#include "frame/NvImport.h"
#include "table/TableData.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Format = "Text File";
constexpr const char* Binary =
    "This file appears to be a binary file and cannot be imported. Only ordinary text (ASCII) files can be "
    "imported.";
constexpr const char* StreamFailed = "Failed to open stream for reading.";

/** How one bad file ends. */
struct Ending {
    int openStatus;
    std::string text;
};

int FlatIndex() {
    for (int i = 1; i <= NvImportSizeFileFormatsSupported(); ++i) {
        if (std::strcmp(NvImportGetFileFormatInfo(i)->formatName, Format) == 0) {
            return i;
        }
    }
    return 0;
}

void ExpectReaderEnds(const std::string& path, NvImportOpenOptions* options, const Ending& ending) {
    const std::unique_ptr<SpreadsheetFile> reader(NewReader(Format));
    EXPECT_EQ(reader->Open(true, path.c_str(), options), ending.openStatus);
    if (ending.openStatus == 0) {
        EXPECT_TRUE(reader->GetNumRows() < 1 || reader->GetNumCols() < 1);
    }
    EXPECT_EQ(ErrorOf(*reader), ending.text);
}

void ExpectFlatFunctionsEnd(const std::string& path, NvImportOpenOptions* options, const Ending& ending) {
    void* handle = nullptr;
    const int index = FlatIndex();
    EXPECT_EQ(NvImportOpen(index, path.c_str(), true, &handle, options), ending.openStatus == 0);
    int32_t rows = 0;
    int32_t cols = 0;
    EXPECT_FALSE(NvImportEstablishSize(index, handle, &rows, &cols));
    EXPECT_EQ(NvImportGetLastError(index, handle), ending.text);
    NvImportClose(index, handle);
}

// By the format's number, so that the reader and not the checks before it decide.
void ExpectDriverEnds(const std::string& path, NvImportOpenOptions* options, const Ending& ending) {
    auto* loader = new ImportDLLLoader;
    ImportHelperBase driver(loader, nullptr);
    int format = 0;
    for (int i = 1; i <= loader->SizeInfos(); ++i) {
        format = std::strcmp(loader->GetInfo(i)->formatName, Format) == 0 ? i : format;
    }
    TableData table;
    EXPECT_FALSE(driver.ReadSpreadsheetFile(path.c_str(), format, &table, options, true, nullptr));
    EXPECT_EQ(driver.GetErrorMessage(), ending.text);
    EXPECT_EQ(table.GetNumberOfRows(), 0);
}

void ExpectEnds(const std::string& path, NvImportOpenOptions* options, const Ending& ending) {
    SCOPED_TRACE(path);
    ExpectReaderEnds(path, options, ending);
    ExpectFlatFunctionsEnd(path, options, ending);
    ExpectDriverEnds(path, options, ending);
}

}  // namespace

TEST(BadInput, FilesThatAreNoTextEndAlikeOnEveryRoad) {
    const TempFolder folder;
    ExpectEnds(folder.Path("none.txt"), nullptr, {0x202, Binary});
    ExpectEnds(folder.Path(""), nullptr, {0x202, Binary});
    ExpectEnds(folder.Write("binary.txt", std::string("a\0b", 3)), nullptr, {0x202, Binary});
}

TEST(BadInput, FilesWithoutACellEndAlikeOnEveryRoad) {
    const TempFolder folder;
    ExpectEnds(folder.Write("empty.txt", ""), nullptr, {0, ""});
    ExpectEnds(folder.Write("lines.txt", std::string(1000000, '\n')), nullptr, {0, ""});
}

TEST(BadInput, BrokenOptionsEndAlikeOnEveryRoad) {
    const TempFolder folder;
    const std::string path = folder.Write("a.txt", "a\tb\n");
    TestOptions garbage(std::string("garbage"));
    TestOptions cut(std::string("\x40\0\0\0<XMLSection>", 16));
    TestOptions noSection(std::string("\3\0\0\0abc", 7));
    for (TestOptions* options : {&garbage, &cut, &noSection}) {
        ExpectEnds(path, options->Get(), {0x200, StreamFailed});
    }
}

TEST(BadInput, OneLineOf200MegabytesIsATable) {
    const TempFolder folder;
    const std::string path = folder.Write("line.txt", std::string(200'000'000, 'x'));
    const std::unique_ptr<SpreadsheetFile> reader(NewReader(Format));
    ASSERT_EQ(reader->Open(true, path.c_str(), nullptr), 0);
    EXPECT_EQ(reader->GetNumRows(), 1);
    EXPECT_EQ(reader->GetNumCols(), 1);
    TableData table;
    EXPECT_EQ(reader->Read(&table), 0);
    EXPECT_EQ(std::strlen(table.GetText(1, 1)), 200'000'000U);
}

TEST(BadInput, NamesOfAllKindsAreRead) {
    const TempFolder folder;
    for (const char* name : {"with space.txt", "\xc3\xa5\xe2\x82\xac.txt", "'quote\".txt", "-dash.txt"}) {
        const std::string path = folder.Write(name, "a\n");
        EXPECT_NE(ReadTrace(Format, path).find("Set 1 1 text \"a\"\n"), std::string::npos) << name;
    }
}

TEST(BadInput, FailedWriteLosesNothingThroughTheDriver) {
    const TempFolder folder;
    TableData table;
    table.Set(1, 1, "a");
    ImportHelperBase driver(nullptr, nullptr);
    EXPECT_FALSE(driver.WriteSpreadsheetFile(folder.Path("none/out.txt").c_str(), 0, &table, nullptr));
    EXPECT_EQ(driver.GetErrorMessage(), StreamFailed);
}
