#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "base/PathNames.h"
#include "host/NvString.h"
#include "host/SerialDate.h"
#include "spreadsheet/Excel2007File.h"
#include "table/TableData.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpreadsheetTruth.h"

namespace {

// Files in which cells differ from what another reader finds, how many do, and by which rule.
struct Difference {
    int cells;
    const char* rule;
};

constexpr const char* OtherTypes = "cells of the types n, str, inlineStr, d and e are empty texts";
constexpr const char* ByPosition = "the part of a sheet is that of its place in the list";

const std::map<std::string, Difference> Differences = {
    {"absolute-targets.xlsx", {10, OtherTypes}},
    {"d-date-cell-stream.xlsx", {25, OtherTypes}},
    {"date-iso.xlsx", {6, OtherTypes}},
    {"dates-1900-libreoffice.xlsx", {5, OtherTypes}},
    {"inline-cdata.xlsx", {4, OtherTypes}},
    {"inline-no-refs-10-sheets.xlsx", {588, OtherTypes}},
    {"inline-string-rich.xlsx", {13, OtherTypes}},
    {"jdbc-writer-inline.xlsx", {3, OtherTypes}},
    {"malformed-sst-count.xlsx", {4, OtherTypes}},
    {"no-styles-no-sst.xlsx", {14, OtherTypes}},
    {"numdatebooltext-strict.xlsx", {60, OtherTypes}},
    {"speed-bigformatted-strict.xlsx", {97, OtherTypes}},
    {"strict-iso-dates.xlsx", {18, OtherTypes}},
    {"type-me.xlsx", {2, OtherTypes}},
    {"utf16-parts.xlsx", {1, OtherTypes}},
    {"x000D-inline.xlsx", {1, OtherTypes}},
    {"zip64-infozip.xlsx", {2, OtherTypes}},
    {"sheet-order-differs.xlsx", {131, ByPosition}},
    {"phonetic-text.xlsb", {2, "only the low byte of a character is kept"}},
    {"various.xlsb", {1, "error codes are tested as masks"}},
};

// Files that end in a status, all by a rule of their own.
const std::map<std::string, const char*> Failures = {
    {"backslash-names.xlsx", "names in the archive are compared as stored"},
    {"no-refs-no-dimension.xlsx", "names in the archive are compared as stored"},
    {"richtext-namespaced.xlsx", "elements with a prefix are not understood"},
    {"surrogates-sushi.xlsb", "a text whose bytes outrun its count is bad"},
    {"speed-large-strings.xlsb", "the third byte of a length is misread"},
};

std::string Plain(std::string text) {
    std::erase(text, '\r');
    return text;
}

bool IsSame(const SpreadsheetTruth::Cell& cell, const std::string& found) {
    double truth = 0.0;
    double number = 0.0;
    NvString::ToDouble(cell.value, truth);
    if (cell.type == "number") {
        return NvString::ToDouble(found, number) && number == truth;
    }
    if (cell.type == "date") {
        return found == IEEEDate_2_string(truth);
    }
    if (cell.type == "bool") {
        return ToLowerCase(found) == ToLowerCase(cell.value);
    }
    return Plain(found) == Plain(cell.value);
}

// How many cells of a sheet differ; -1 when it can't be read.
int CountDifferent(const std::string& path, int number, const SpreadsheetTruth::Sheet& sheet) {
    TestOptions options{{"Sheets", std::to_string(number)}, {"Vertical", "true"}};
    Excel2007File reader;
    TableData table;
    if (reader.Open(true, path.c_str(), options.Get()) != 0) {
        return -1;
    }
    const int status = reader.Read(&table);
    if (status != 0 && status != Excel2007File::StatusNoData) {
        return -1;
    }
    return static_cast<int>(std::count_if(sheet.cells.begin(), sheet.cells.end(), [&](const auto& cell) {
        return !IsSame(cell, table.GetString(cell.col, cell.row));
    }));
}

// How many cells of a file differ, in the sheets that the reader lists; -1 when one can't be read.
int CountDifferent(const std::string& path) {
    Excel2007File reader;
    reader.Open(true, path.c_str(), nullptr);
    int different = 0;
    bool failed = reader.GetStatus() != 0;
    const SpreadsheetTruth truth = ReadSpreadsheetTruth(path);
    for (const auto& part : reader.ListParts()) {
        const auto sheet = std::find_if(truth.sheets.begin(), truth.sheets.end(),
                                        [&](const auto& candidate) { return candidate.name == part.name; });
        if (sheet != truth.sheets.end()) {
            const int count = CountDifferent(path, part.number, *sheet);
            failed = failed || count < 0;
            different += count;
        }
    }
    return failed ? -1 : different;
}

int CheckFolder(const std::string& folder) {
    int files = 0;
    for (const std::string& path : SharedFiles(folder)) {
        const std::string name = NvGetFileName(path);
        if (name.ends_with(".json") || path.find("/bad/") != std::string::npos) {
            continue;
        }
        const auto difference = Differences.find(name);
        const int expected = Failures.contains(name)           ? -1
                             : difference == Differences.end() ? 0
                                                               : difference->second.cells;
        EXPECT_EQ(CountDifferent(path), expected) << name;
        ++files;
    }
    return files;
}

}  // namespace

TEST(Excel2007RealFilesTest, XmlWorkbooksHoldWhatAnIndependentReaderFound) {
    SKIP_WITHOUT_SHARED_DATA();
    EXPECT_GT(CheckFolder("data/spreadsheet/xlsx"), 0);
}

TEST(Excel2007RealFilesTest, BinaryWorkbooksHoldWhatAnIndependentReaderFound) {
    SKIP_WITHOUT_SHARED_DATA();
    EXPECT_GT(CheckFolder("data/spreadsheet/xlsb"), 0);
}

TEST(Excel2007RealFilesTest, BrokenFilesSetNoCell) {
    SKIP_WITHOUT_SHARED_DATA();
    for (const char* folder : {"data/spreadsheet/xlsx/bad", "data/spreadsheet/xlsb/bad"}) {
        for (const std::string& path : SharedFiles(folder)) {
            const std::string trace = ReadTrace("Excel2007 File", path);
            EXPECT_TRUE(trace.ends_with("Close\n")) << path;
            EXPECT_EQ(CellsOf(trace), "") << path;
        }
    }
}
