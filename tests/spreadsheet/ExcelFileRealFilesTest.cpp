#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <string>

#include "base/PathNames.h"
#include "host/NvString.h"
#include "host/SerialDate.h"
#include "spreadsheet/ExcelFile.h"
#include "table/TableData.h"
#include "tests/support/CompleteTable.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpreadsheetTruth.h"
#include "tests/support/TruthComparison.h"

namespace {

// Cells that come out in another way than an independent reader has them, by file, each with its reason.
struct Difference {
    int cells;
    const char* reason;
};
const std::map<std::string, Difference> Differences = {
    {"biff2-as3xls.xls", {30, "the numbers and labels of BIFF2 are not read, only its formulas"}},
    {"biff2-integer-formats.xls", {64, "the whole numbers of BIFF2 are not read"}},
    {"biff2-ixfe-rowmap.xls", {100, "the numbers of BIFF2 are not read"}},
    {"biff3-excel5-crlf.xls", {4, "the labels and formulas of BIFF3 are not read"}},
    {"biff3-poi.xls", {84, "the labels, numbers and formulas of BIFF3 are not read, only its RK numbers"}},
    {"biff5-japanese-cp932.xls", {1, "a text in Shift-JIS, whose second bytes may be ASCII"}},
    {"chart-sheets-17.xls", {418, "phonetic data crosses a record: the shared strings behind it are lost"}},
    {"jxl-codepage-21010.xls", {1, "a formula with the id of BIFF4 in a BIFF8 file"}},
    {"speed-46904.xls", {84, "a format stored as 16-bit characters counts as a date"}},
    {"sst-ext-split.xls", {2, "phonetic data crosses a record"}},
    {"xlwt-writer.xls", {3, "a date format in upper case is no date"}},
};

std::string AsciiOf(std::string text) {
    std::erase_if(text, [](char c) { return c < 0; });
    return text;
}

// Texts of 8-bit characters stay in the file's code page, of which only ASCII can be compared.
bool IsSameText(const std::string& found, const std::string& expected) {
    return found == expected || (found.size() < expected.size() && AsciiOf(found) == AsciiOf(expected) &&
                                 AsciiOf(found).size() < found.size());
}

bool IsSame(TableData& table, const SpreadsheetTruth::Cell& cell) {
    const std::string found = table.GetString(cell.col, cell.row);
    const bool isText = table.GetKind(cell.col, cell.row) == TableData::Text;
    double expected = 0.0;
    NvString::ToDouble(cell.value, expected);
    if (cell.type == "number") {
        const bool isNumber = table.GetKind(cell.col, cell.row) == TableData::Double;
        return isNumber &&
               std::fabs(table.GetFloatValue(cell.col, cell.row) - expected) <= 1e-12 * std::fabs(expected);
    }
    if (cell.type == "date") {
        return isText && found == IEEEDate_2_string(expected);
    }
    if (cell.type == "text") {
        return (isText || cell.value.empty()) && IsSameText(found, cell.value);
    }
    // A truth value or an error is missing, unless a formula gave the truth value.
    return found.empty() || (cell.type == "bool" && found == (cell.value == "true" ? "1" : "0"));
}

void ReadSheet(const std::string& path, int number, TableData& table) {
    TestOptions options{{"Sheets", std::to_string(number)}, {"Vertical", "true"}};
    ExcelFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), options.Get()), 0) << ErrorOf(reader);
    ASSERT_EQ(reader.Read(&table), 0) << ErrorOf(reader);
}

int CountDifferences(const std::string& path) {
    const SpreadsheetTruth truth = ReadSpreadsheetTruth(path);
    int differing = 0;
    for (std::size_t i = 0; i < truth.sheets.size(); ++i) {
        TableData table;
        ReadSheet(path, static_cast<int>(i) + 1, table);
        for (const SpreadsheetTruth::Cell& cell : truth.sheets[i].cells) {
            if (!IsSame(table, cell)) {
                ++differing;
            }
        }
    }
    return differing;
}

}  // namespace

TEST(ExcelFileRealFilesTest, HoldWhatAnIndependentReaderFound) {
    SKIP_WITHOUT_SHARED_DATA();
    int files = 0;
    for (const std::string& path : SharedFiles("data/spreadsheet/xls")) {
        const std::string name = NvGetFileName(path);
        if (path.find("/bad/") != std::string::npos || !name.ends_with(".xls") ||
            name == "blank-sheet-types.xls" || name == "stream-named-WORKBOOK.xls") {
            continue;
        }
        const auto known = Differences.find(name);
        EXPECT_EQ(CountDifferences(path), known == Differences.end() ? 0 : known->second.cells) << name;
        ++files;
    }
    EXPECT_GT(files, 0);
}

TEST(ExcelFileRealFilesTest, WithoutAWorksheetOrAStreamOfTheExactNameAreRefused) {
    SKIP_WITHOUT_SHARED_DATA();
    const std::string folder = SharedFolder() + "/data/spreadsheet/xls/";
    ExcelFile blank;
    EXPECT_EQ(blank.Open(true, (folder + "blank-sheet-types.xls").c_str(), nullptr),
              ExcelFile::StatusNoSheets);
    ExcelFile shouted;
    EXPECT_EQ(shouted.Open(true, (folder + "stream-named-WORKBOOK.xls").c_str(), nullptr),
              ExcelFile::StatusNoExcelStream);
}

TEST(ExcelFileRealFilesTest, BrokenFilesEndInAStatus) {
    SKIP_WITHOUT_SHARED_DATA();
    int refused = 0;
    for (const std::string& path : SharedFiles("data/spreadsheet/xls/bad")) {
        const bool isProtected = path.find("password") != std::string::npos;
        ExcelFile reader;
        reader.Open(true, path.c_str(), nullptr);
        EXPECT_EQ(reader.GetStatus() == ExcelFile::StatusProtected, isProtected) << path;
        TableData table;
        const int result = reader.Read(&table);
        EXPECT_EQ(ErrorOf(reader).empty(), result == 0) << path;
        refused += result == 0 ? 0 : 1;
    }
    EXPECT_GT(refused, 0);
}

namespace {

using CompleteSheet = CompleteTable<ExcelFile>;

}  // namespace

TEST(ExcelFileRealFilesTest, CompleteReadingIsWhatAnIndependentReaderFound) {
    SKIP_WITHOUT_SHARED_DATA();
    TruthComparison all;
    int files = 0;
    for (const std::string& path : SharedFiles("data/spreadsheet/xls")) {
        if (path.find("/bad/") != std::string::npos || !path.ends_with(".xls")) {
            continue;
        }
        const SpreadsheetTruth truth = ReadSpreadsheetTruth(path);
        for (std::size_t i = 0; i < truth.sheets.size(); ++i) {
            const SpreadsheetTruth::Sheet& sheet = truth.sheets[i];
            CompleteSheet read(path, TestOptions{{"Part", std::to_string(i + 1)}});
            ASSERT_EQ(read.status, 0) << path << " " << ErrorOf(read.reader);
            const TruthComparison one = CompareWithTruth(read.table, truth, sheet);
            EXPECT_EQ(one.equal, one.known) << path << " " << one.firstDifference;
            EXPECT_GE(read.table.GetNumberOfRows(), sheet.rows) << path << " " << sheet.name;
            EXPECT_GE(read.table.GetNumberOfColumns(), sheet.cols) << path << " " << sheet.name;
            const auto parts = read.reader.ListParts();
            ASSERT_EQ(parts.size(), truth.sheets.size()) << path;
            if (sheet.name != "Sheet 1") {
                EXPECT_EQ(parts[i].name, sheet.name) << path;
            }
            EXPECT_EQ(parts[i].hidden, sheet.hidden != 0) << path << " " << sheet.name;
            all += one;
        }
        ++files;
    }
    EXPECT_GT(files, 0);
    EXPECT_EQ(all.equal, all.known);
    RecordProperty("known", all.known);
}

TEST(ExcelFileRealFilesTest, BrokenFilesEndInAStatusInTheCompleteReading) {
    SKIP_WITHOUT_SHARED_DATA();
    for (const std::string& path : SharedFiles("data/spreadsheet/xls/bad")) {
        const bool isProtected = path.find("password") != std::string::npos;
        CompleteSheet read(path);
        EXPECT_EQ(read.status == ExcelFile::StatusProtected, isProtected) << path;
        // Of these the sheet's cells are there: one tells of no shared strings, and has them, one is of mixed
        // versions, and of one the other sheets are broken.
        const bool isReadable = path.ends_with("sst-zero-count.xls") ||
                                path.ends_with("biff2-bad-header.xls") ||
                                path.ends_with("corrupt-calamine-oom3.xls");
        EXPECT_EQ(read.status == 0, isReadable) << path;
        EXPECT_EQ(ErrorOf(read.reader).empty(), read.status == 0) << path;
    }
}
