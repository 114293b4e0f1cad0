// One lot in the three forms of its log: the forms must tell the same, cell by cell.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <tuple>

#include "base/NumberFormat.h"
#include "frame/SpreadsheetFile.h"
#include "host/NvString.h"
#include "table/TableData.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SameTables.h"

namespace {

const std::string Lot = std::string(KARTA_SOURCE_DIR) + "/samples/brookside/L0417";

void ReadInto(TableData& table, const std::string& format, const std::string& path) {
    const std::unique_ptr<SpreadsheetFile> reader(NewReader(format));
    ASSERT_EQ(reader->Open(true, path.c_str(), nullptr), 0) << path;
    ASSERT_EQ(reader->Read(&table), 0) << path << ": " << ErrorOf(*reader);
}

/** A cell as a number where it is one: the XML form keeps texts, and -999 among them. */
std::string Measured(TableData& table, int col, int row) {
    const std::string text = table.GetString(col, row);
    float value = 0.0F;
    if (!NvString::ToFloat(text, value)) {
        return text;
    }
    return value == -999.0F ? "" : FormatShortest(value);
}

/** Wafer, phase, which of its samples, variable: where a measurement belongs, whatever its row. */
using Place = std::tuple<std::string, std::string, int, std::string>;

std::map<Place, std::string> Measurements(TableData& table) {
    std::map<Place, std::string> cells;
    std::map<std::pair<std::string, std::string>, int> samples;
    for (int row = 2; row <= table.GetNumberOfRows(); ++row) {
        const std::string wafer = table.GetString(1, row);
        const std::string phase = table.GetString(2, row);
        const int sample = ++samples[{wafer, phase}];
        for (int col = 3; col <= table.GetNumberOfColumns(); ++col) {
            cells[{wafer, phase, sample, table.GetString(col, 1)}] = Measured(table, col, row);
        }
    }
    return cells;
}

}  // namespace

TEST(BrooksideFormsTest, PackageIsTheSameTableAsItsFiles) {
    TableData files;
    TableData package;
    ReadInto(files, "Brookside File", Lot + ".trn");
    ReadInto(package, "Brookside File", Lot + ".pkg");
    ASSERT_EQ(files.GetNumberOfColumns(), 7);
    ASSERT_EQ(files.GetNumberOfRows(), 221);
    ExpectSameTables(package, files);
}

TEST(BrooksideFormsTest, XMLHoldsTheSameMeasurements) {
    TableData files;
    TableData xml;
    ReadInto(files, "Brookside File", Lot + ".trn");
    ReadInto(xml, "Brookside Ver. 2.6 XML File", Lot + ".xml");
    auto expected = Measurements(files);
    auto found = Measurements(xml);
    ASSERT_EQ(found.size(), expected.size());
    int missingTimes = 0;
    for (const auto& [place, value] : expected) {
        const auto& [wafer, phase, sample, variable] = place;
        ASSERT_TRUE(found.contains(place)) << wafer << ", " << phase << ", " << sample << ", " << variable;
        if (variable == "Time" && value.empty()) {
            // Phases out of order have no time in the table of the files; the XML form keeps it.
            EXPECT_FALSE(found[place].empty());
            ++missingTimes;
            continue;
        }
        ASSERT_EQ(found[place], value) << wafer << ", " << phase << ", " << sample << ", " << variable;
    }
    EXPECT_GT(missingTimes, 0);
}

TEST(BrooksideFormsTest, InOrderOfThePhasesTheRowsAreTheSameToo) {
    TableData files;
    TableData xml;
    ReadInto(files, "Brookside File", Lot + ".trn");
    ReadInto(xml, "Brookside Ver. 2.6 XML File", Lot + ".xml");
    ASSERT_EQ(xml.GetNumberOfRows(), files.GetNumberOfRows());
    for (int row = 1; row <= files.GetNumberOfRows(); ++row) {
        ASSERT_EQ(xml.GetString(1, row), files.GetString(1, row)) << row;
    }
}
