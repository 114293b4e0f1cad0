#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "base/PathNames.h"
#include "spreadsheet/Excel2007File.h"
#include "table/TableData.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpreadsheetTruth.h"
#include "tests/support/TruthComparison.h"

// What the complete reading finds in real workbooks, against what an independent reader found.

namespace {

std::shared_ptr<karta::ReadContext> Complete() {
    auto context = std::make_shared<karta::ReadContext>();
    context->reading = karta::Reading::Complete;
    return context;
}

// Where the independent reader took a fraction of a second by its first three digits only, or by its last:
// "11:01:02.000000244" for 244 milliseconds, "15:59:59.99999979" for 999.
const std::map<std::string, int> MisreadFractions = {{"numdatebooltext-strict.xlsx", 30},
                                                     {"speed-bigformatted-strict.xlsx", 97}};

int CountMisread(const std::string& path) {
    const auto found = MisreadFractions.find(NvGetFileName(path));
    return found == MisreadFractions.end() ? 0 : found->second;
}

TruthComparison CompareSheet(const std::string& path, std::size_t place, const SpreadsheetTruth& truth) {
    const SpreadsheetTruth::Sheet& sheet = truth.sheets[place];
    TestOptions options{{"Part", sheet.name}};
    Excel2007File reader;
    reader.SetContext(Complete());
    TableData table;
    EXPECT_EQ(reader.Open(true, path.c_str(), options.Get()), 0) << path << ": " << ErrorOf(reader);
    EXPECT_EQ(reader.Read(&table), 0) << path << ": " << ErrorOf(reader);
    EXPECT_GE(table.GetNumberOfRows(), sheet.rows) << path;
    EXPECT_GE(table.GetNumberOfColumns(), sheet.cols) << path;
    return CompareWithTruth(table, truth, sheet);
}

// All sheets of all workbooks of a folder.
TruthComparison CompareFolder(const std::string& folder) {
    TruthComparison all;
    for (const std::string& path : SharedFiles(folder)) {
        if (path.ends_with(".json") || path.find("/bad/") != std::string::npos) {
            continue;
        }
        const SpreadsheetTruth truth = ReadSpreadsheetTruth(path);
        TruthComparison book;
        for (std::size_t place = 0; place < truth.sheets.size(); ++place) {
            book += CompareSheet(path, place, truth);
        }
        EXPECT_EQ(book.equal, book.known - CountMisread(path)) << path << ": " << book.firstDifference;
        all += book;
    }
    return all;
}

}  // namespace

TEST(Excel2007CompleteRealFilesTest, XmlWorkbooksComeOutWhole) {
    SKIP_WITHOUT_SHARED_DATA();
    const TruthComparison all = CompareFolder("data/spreadsheet/xlsx");
    EXPECT_GE(all.equal, 6404);
}

TEST(Excel2007CompleteRealFilesTest, BinaryWorkbooksComeOutWhole) {
    SKIP_WITHOUT_SHARED_DATA();
    const TruthComparison all = CompareFolder("data/spreadsheet/xlsb");
    EXPECT_GE(all.equal, 4852);
}

// Of a damaged workbook there is a status, or what can be read of it and a note.
TEST(Excel2007CompleteRealFilesTest, BrokenFilesEndInAStatusOrANote) {
    SKIP_WITHOUT_SHARED_DATA();
    for (const char* folder : {"data/spreadsheet/xlsx/bad", "data/spreadsheet/xlsb/bad"}) {
        for (const std::string& path : SharedFiles(folder)) {
            Excel2007File reader;
            const auto context = Complete();
            reader.SetContext(context);
            TableData table;
            try {
                const int opened = reader.Open(true, path.c_str(), nullptr);
                const int read = opened == 0 ? reader.Read(&table) : opened;
                EXPECT_TRUE(read != 0 || !context->notes.IsEmpty()) << path;
            } catch (const std::exception& exception) {
                EXPECT_STRNE(exception.what(), "") << path;
            }
        }
    }
}
