#include <gtest/gtest.h>

#include <memory>

#include "frame/FormatReader.h"
#include "table/TableData.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpreadsheetTruth.h"
#include "tests/support/TempFolder.h"

// Text files of other people's programs, cell by cell against what an independent reader found in them.

namespace {

struct Outcome {
    int known = 0;
    int equal = 0;
    std::string firstOther;
};

std::string FormatOf(const std::string& path) {
    return path.ends_with(".csv") ? "CSV File" : "Text File";
}

// The reader is told only what it can't know: an encoding that isn't UTF-8, UTF-16 or Windows-1252, and
// blanks between words.
TestOptions OptionsFor(const SpreadsheetTruth& truth) {
    if (truth.encoding == "cp1251") {
        return TestOptions({{"Encoding", "windows-1251"}});
    }
    if (truth.delimiter == " ") {
        return TestOptions({{"Delimiter", " "}});
    }
    return TestOptions("");
}

void Compare(const std::string& path, karta::Reading reading, Outcome& outcome) {
    const SpreadsheetTruth truth = ReadSpreadsheetTruth(path);
    const std::unique_ptr<SpreadsheetFile> reader(NewReader(FormatOf(path)));
    auto context = std::make_shared<karta::ReadContext>();
    context->reading = reading;
    context->budget.SetLimit(karta::Budget::Unlimited);
    dynamic_cast<FormatReader&>(*reader).SetContext(context);
    TestOptions options = OptionsFor(truth);
    TableData table;
    if (reader->Open(true, path.c_str(), reading == karta::Reading::Complete ? options.Get() : nullptr) ==
        0) {
        reader->Read(&table);
    }
    for (const SpreadsheetTruth::Sheet& sheet : truth.sheets) {
        for (const SpreadsheetTruth::Cell& cell : sheet.cells) {
            ++outcome.known;
            const std::string found = table.GetString(cell.col, cell.row);
            if (found == cell.value) {
                ++outcome.equal;
            } else if (outcome.firstOther.empty()) {
                outcome.firstOther = path + ": row " + std::to_string(cell.row) + ", column " +
                                     std::to_string(cell.col) + ": [" + found + "] for [" + cell.value + "]";
            }
        }
        if (reading == karta::Reading::Complete) {
            EXPECT_EQ(table.GetNumberOfRows(), sheet.rows) << path;
            EXPECT_EQ(table.GetNumberOfColumns(), sheet.cols) << path;
        }
    }
}

Outcome CompareAll(const std::string& folder, karta::Reading reading) {
    Outcome outcome;
    for (const std::string& path : SharedFiles(folder)) {
        if (path.ends_with(".truth.json")) {
            Compare(path.substr(0, path.size() - std::string(".truth.json").size()), reading, outcome);
        }
    }
    return outcome;
}

}  // namespace

TEST(TextRealFilesTest, CompleteReadingHasEveryKnownCellOfCsvFiles) {
    SKIP_WITHOUT_SHARED_DATA();
    const Outcome outcome = CompareAll("data/spreadsheet/csv", karta::Reading::Complete);
    EXPECT_GE(outcome.known, 1824);
    EXPECT_EQ(outcome.equal, outcome.known) << outcome.firstOther;
}

TEST(TextRealFilesTest, CompleteReadingHasEveryKnownCellOfTextFiles) {
    SKIP_WITHOUT_SHARED_DATA();
    const Outcome outcome = CompareAll("data/spreadsheet/txt", karta::Reading::Complete);
    EXPECT_GE(outcome.known, 939);
    EXPECT_EQ(outcome.equal, outcome.known) << outcome.firstOther;
}

TEST(TextRealFilesTest, ClassicReadingHasAsManyCellsAsEver) {
    SKIP_WITHOUT_SHARED_DATA();
    EXPECT_GE(CompareAll("data/spreadsheet/csv", karta::Reading::Classic).equal, 1199);
    EXPECT_GE(CompareAll("data/spreadsheet/txt", karta::Reading::Classic).equal, 126);
}
