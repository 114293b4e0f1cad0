// A report that is turned into columns as its lines come is the table that its cells make one by one.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "frame/CellOutput.h"
#include "frame/FormatReader.h"
#include "karta/internal/TableSink.h"
#include "table/TableData.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TableText.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Heads =
    "FrameID\tMZStart\tMZStop\tTimeStart\tTimeStop\tpValue\tRatio\tUpperBound\tFOM1\tIntensity_a\tCharge";

class ReportTableTest : public testing::Test {
protected:
    void Read(const std::string& path, ReadSpreadSheetData& sink) {
        const std::unique_ptr<SpreadsheetFile> reader(NewReader("Thermo SIEVE File"));
        dynamic_cast<FormatReader&>(*reader).SetContext(context);
        ASSERT_EQ(reader->Open(true, path.c_str(), nullptr), 0);
        ASSERT_EQ(reader->Read(&sink), 0);
    }
    void NewContext() {
        context = std::make_shared<karta::ReadContext>();
        context->reading = karta::Reading::Complete;
    }

    // The table of cells is read after the whole report, and its cells come one by one.
    std::string ReadCellByCell(const std::string& path) {
        NewContext();
        TableData cells;
        Read(path, cells);
        karta::TableSink sink(context, header);
        CellOutput output(sink);
        for (int col = 1; col <= cells.GetNumberOfColumns(); ++col) {
            for (int row = 1; row <= cells.GetNumberOfRows(); ++row) {
                cells.CopyCell(col, row, output, col, row);
            }
        }
        sink.SetDataSize(cells.GetNumberOfColumns(), cells.GetNumberOfRows());
        return DescribeTable(sink.Finish());
    }
    std::string ReadByLines(const std::string& path) {
        NewContext();
        karta::TableSink sink(context, header);
        Read(path, sink);
        return DescribeTable(sink.Finish());
    }

    /** So many lines below the heads, each with what is told behind the columns that every report has. */
    std::string ExpectSame(int lines, const std::string& furtherHeads,
                           const std::function<std::string(int line)>& further) {
        std::string text = Heads + furtherHeads + "\n";
        for (int line = 1; line <= lines; ++line) {
            const std::string number = std::to_string(line);
            text += number + "\t" + number + ".50\t" + number + ".75\t+1\t12.25\t0.001\t1e3\t2.0\t\t" +
                    number + "000\t-3" + further(line) + "\n";
        }
        const std::string path = folder.Write("report.txt", text);
        std::string table = ReadByLines(path);
        EXPECT_TRUE(table == ReadCellByCell(path));
        return table;
    }

    TempFolder folder;
    std::shared_ptr<karta::ReadContext> context;
    std::optional<int> header;
};

}  // namespace

TEST_F(ReportTableTest, NumbersAreTheSame) {
    const std::string table = ExpectSame(1000, "", [](int) { return ""; });
    EXPECT_NE(
        table.find("\n1000 float64 of 13, missing 2: 1000.5|1000.75|1000.625|1|12.25|6.625|0.001|1000|2|"),
        std::string::npos)
        << table.substr(table.find("\n1000 "), 200);
}

TEST_F(ReportTableTest, NumbersBesideTextsAreAsTheReportHasThem) {
    const std::string table =
        ExpectSame(1000, "\tPRElement", [](int line) { return line % 3 == 0 ? "\t" : "\tx"; });
    EXPECT_NE(
        table.find("\n1000 text of 14, missing 2: 1000.50|1000.75|1000.625|+1|12.25|6.625|0.001|1e3|2.0|"),
        std::string::npos)
        << table.substr(table.find("\n1000 "), 200);
    EXPECT_NE(table.find("mixed-columns"), std::string::npos);
}

TEST_F(ReportTableTest, NumbersOfAnyWritingBesideTextsAreAsTheReportHasThem) {
    const std::string manyZeros(400, '0');
    const std::vector<std::string> writings = {"7",
                                               "007",
                                               "-0",
                                               "+5",
                                               "1.50",
                                               "0.00001",
                                               "1.5e-7",
                                               "\"2.50\"",
                                               "5.",
                                               ".5",
                                               "12345678",
                                               "1200000",
                                               "\"\"",
                                               "3" + manyZeros + ".0",
                                               "\"8\"",
                                               "0.1" + manyZeros,
                                               "123456789012345678"};
    const std::string table = ExpectSame(2000, "\tAny\tPRElement", [&](int line) {
        return "\t" + writings[static_cast<std::size_t>(line) % writings.size()] + "\tx";
    });
    for (const char* const written : {"|007|", "|-0|", "|+5|", "|1.50|", "|0.00001|", "|1.5e-7|", "|2.50|",
                                      "|5.|", "|.5|", "|1200000|", "|8|"}) {
        EXPECT_NE(table.find(written), std::string::npos) << written;
    }
}

TEST_F(ReportTableTest, LastNumberOfTheFileIsWhole) {
    std::string text = std::string(Heads) + "\tPRElement\tLast\n";
    for (int line = 1; line <= 3000; ++line) {
        text += "1\t2.50\t3\t4\t5\t6\t7\t8\t9\t10\t11\tx\t1.50\n";
    }
    for (const char* const end : {"", "\n"}) {
        text.resize(text.find_last_not_of('\n') + 1);
        const std::string path = folder.Write("report.txt", text + end);
        const std::string table = ReadByLines(path);
        EXPECT_TRUE(table == ReadCellByCell(path));
        EXPECT_NE(table.find("|x|1.50|\nmixed-column"), std::string::npos);
    }
}

TEST_F(ReportTableTest, ValuesOfAllKindsAreTheSame) {
    ExpectSame(1000, "\tDay\tTime\tWhen\tTrue\tBig\tNone", [](int line) {
        const std::string ten = std::to_string(10 + line % 20);
        return "\t2024-01-" + ten + "\t10:" + ten + ":00\t2024-01-" + ten + " 10:00:00\t" +
               (line % 2 == 0 ? "TRUE" : "FALSE") + "\t9007199254740" + std::to_string(993 + line) + "\t" +
               (line % 2 == 0 ? "NA" : "");
    });
    ExpectSame(1000, "\tDay\tText", [](int line) {
        return "\t2024-01-" + std::to_string(10 + line % 20) + (line % 2 == 0 ? "\tx" : "\t\"\"");
    });
}

TEST_F(ReportTableTest, LinesOfUnevenLengthAndInQuotesAreTheSame) {
    ExpectSame(1000, "\tA", [](int line) {
        return line % 7 == 0    ? "\tmore\t5\tTRUE"
               : line % 11 == 0 ? ""
               : line % 5 == 0  ? "\t\"two\nlines, \"\"quoted\"\"\"\n#\n"
                                : "\tplain";
    });
}

TEST_F(ReportTableTest, ColumnThatTurnsOutOtherwiseFarDownIsTheSame) {
    // Beyond the part by which the columns' types are proposed.
    constexpr int Lines = 40000;
    const std::string text =
        ExpectSame(Lines, "\tLate", [](int line) { return line == Lines - 9 ? "\tn/d" : "\t5"; });
    EXPECT_NE(text.find("\n1 text of"), std::string::npos) << "what came first is among texts, too";
    const std::string numbers =
        ExpectSame(Lines, "\tLate", [](int line) { return line == Lines - 9 ? "\t2.5" : "\t5"; });
    EXPECT_NE(numbers.find("\n1 float64 of"), std::string::npos);
}

TEST_F(ReportTableTest, HeaderThatIsGivenMakesTheSameColumns) {
    for (const int row : {0, 3, 13}) {
        header = row;
        ExpectSame(300, "\tA", [](int line) { return line % 2 == 0 ? "\tx" : "\t1"; });
    }
}

TEST_F(ReportTableTest, BudgetEndsTheReadWhereverItGoesOut) {
    const std::string line = "1\t2.50\t3\t4\t5\t6\t7\t8\t9\t10\t11\tx\n";
    std::string text = std::string(Heads) + "\tA\n";
    for (int i = 0; i < 20000; ++i) {
        text += line;
    }
    const std::string path = folder.Write("report.txt", text);
    for (const std::uint64_t limit :
         {std::uint64_t{100'000}, std::uint64_t{1'000'000}, std::uint64_t{4'000'000}}) {
        NewContext();
        context->budget.SetLimit(limit);
        karta::TableSink sink(context);
        const std::unique_ptr<SpreadsheetFile> reader(NewReader("Thermo SIEVE File"));
        dynamic_cast<FormatReader&>(*reader).SetContext(context);
        ASSERT_EQ(reader->Open(true, path.c_str(), nullptr), 0);
        EXPECT_NE(reader->Read(&sink), 0) << limit;
        EXPECT_TRUE(context->budget.WasExceeded()) << limit;
    }
}
