// Reports of Thermo SIEVE in the complete reading, and what the classic one says that it leaves out.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "table/TableData.h"
#include "tests/support/TempFolder.h"
#include "text/ThermoSIEVEFile.h"

namespace {

class ThermoSIEVECompleteTest : public testing::Test {
protected:
    /** A report of two frames with these headers, its lines parted by line feeds. */
    static std::string Report(const std::string& headers = Headers) {
        return headers + "\n1\t100\t102\t1\t3\t0.5\t2\t10\tyes\n2\t200\t204\t4\t6\t\t3\t20\tno";
    }

    /** A row's cells, parted by bars. */
    std::string Row(int row) {
        std::string text;
        for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
            text += (col > 1 ? "|" : "") + table.GetString(col, row);
        }
        return text;
    }
    void Read(const std::string& text, karta::Reading reading = karta::Reading::Complete) {
        table.Clear();
        context = std::make_shared<karta::ReadContext>();
        context->reading = reading;
        ThermoSIEVEFile reader;
        reader.SetContext(context);
        ASSERT_EQ(reader.Open(true, folder.Write("report.txt", text).c_str(), nullptr), 0);
        rows = reader.GetNumRows();
        cols = reader.GetNumCols();
        ASSERT_EQ(reader.Read(&table), 0);
    }
    std::string Notes() const {
        std::string codes;
        for (const karta::Note& note : context->notes.GetAll()) {
            codes += note.code + " " + std::to_string(note.count) + ";";
        }
        return codes;
    }

    static constexpr const char* Headers =
        "FrameID\tMZStart\tMZStop\tTimeStart\tTimeStop\tpValue\tRatio\tIntensity_a\tAnnotated";

    TempFolder folder;
    TableData table;
    std::shared_ptr<karta::ReadContext> context;
    int rows = 0;
    int cols = 0;
};

}  // namespace

TEST_F(ThermoSIEVECompleteTest, LastLineWithoutItsEndAndColumnsOfOtherNamesAreKept) {
    Read(Report());
    ASSERT_EQ(table.GetNumberOfRows(), 14);
    EXPECT_EQ(rows, 14);
    EXPECT_EQ(cols, 3);
    EXPECT_EQ(Row(1), "FrameID|1|2");
    EXPECT_EQ(Row(4), "AverageMZ|101|202");
    EXPECT_EQ(Row(7), "AverageRT|2|5");
    EXPECT_EQ(Row(8), "pValue|0.5|");
    EXPECT_EQ(Row(13), "Intensity_a|10|20");
    EXPECT_EQ(Row(14), "Annotated|yes|no") << "below the rows that every report has";
    EXPECT_TRUE(table.IsFloat(3, 13));
    EXPECT_EQ(context->shape.nameRow, 1);
    EXPECT_EQ(Notes(), "");
}

TEST_F(ThermoSIEVECompleteTest, MarkAndQuotedHeadersMakeNoDifference) {
    Read(Report());
    std::string plain;
    for (int row = 1; row <= 14; ++row) {
        plain += Row(row) + "\n";
    }
    std::string quoted = "\"" + std::string(Headers) + "\"";
    for (std::size_t tab = quoted.find('\t'); tab != std::string::npos; tab = quoted.find('\t', tab + 3)) {
        quoted.replace(tab, 1, "\"\t\"");
    }
    for (const std::string& text : {"\xef\xbb\xbf" + Report(), Report(quoted), Report() + "\n"}) {
        Read(text);
        std::string cells;
        for (int row = 1; row <= table.GetNumberOfRows(); ++row) {
            cells += Row(row) + "\n";
        }
        EXPECT_EQ(cells, plain);
    }
}

TEST_F(ThermoSIEVECompleteTest, ClassicReadingTellsWhatItLeavesOut) {
    const std::string report =
        "FrameID\tMZStart\tMZStop\tTimeStart\tTimeStop\tpValue\tRatio\tUpperBound\tLowerBound\tFOM1\t"
        "Intensity_a\tCharge\tAnnotated\n1\t100\t102\t1\t3\t0.5\t2\t3\t1\t1\t10\t2\tyes";
    Read(report + "\n", karta::Reading::Classic);
    EXPECT_EQ(Notes(), "dropped-columns 2;");
    Read(report, karta::Reading::Classic);
    EXPECT_EQ(Notes(), "dropped-columns 2;dropped-line 1;");
}
