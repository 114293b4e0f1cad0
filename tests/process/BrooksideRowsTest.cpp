// The rows of a long log are the same whoever reads them: one thread, row by row, or several, many at a time.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stop_token>
#include <string>

#include "base/Budget.h"
#include "base/ReadContext.h"
#include "base/Stopped.h"
#include "karta/internal/TableSink.h"
#include "process/BrooksideXML.h"
#include "process/SampleBlock.h"
#include "tests/support/TableText.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr int Lines = 30000;
constexpr int Variables = 12;

/** Raw texts of many lines, and phases that name them. */
class BrooksideRowsTest : public testing::Test {
protected:
    static std::string RawText(const std::string& name, const std::string& variable,
                               const std::function<std::string(int line)>& end) {
        std::string text = "<RawData name=\"" + name + "\">Time\tRow";
        for (int i = 1; i <= Variables; ++i) {
            text += "\t" + variable + std::to_string(i);
        }
        text += "\n";
        for (int line = 1; line <= Lines; ++line) {
            const std::string number = std::to_string(line);
            text += number + ".5\t" + number;
            for (int i = 1; i < Variables; ++i) {
                text += "\t" + std::to_string(i) + "." + number;
            }
            text += end(line) + "\n";
        }
        return text + "NUM_DATA_ROWS</RawData>";
    }
    static std::string Interval(const std::string& name, int from, int to) {
        return "<Interval name=\"" + name + "\" number=\"" + std::to_string(from % 7) +
               "\" startTime=\"s\" duration=\"25\" fromRow=\"" + std::to_string(from) + "\" toRow=\"" +
               std::to_string(to) + "\"/>";
    }
    static std::string Wafer(const std::string& id, const std::string& rawText,
                             const std::string& intervals) {
        return "<DataSet rawDataName=\"" + rawText + "\" lotID=\"L\" slotID=\"1\" waferID=\"" + id +
               "\" priorityClass=\"P\" lineCode=\"7\" jobClass=\"J\" qualityCode=\"Q\" routeID=\"R\" "
               "productID=\"P\" operationNumber=\"1\" operationName=\"O\" operationPassCount=\"1\">" +
               intervals + "</DataSet>";
    }
    void Write(const std::string& rawTexts, const std::string& wafers) {
        path = folder.Write(
            "log.xml",
            "<FDCRequest messageSequenceIdentifier=\"1\"><APCSystemName id=\"Brookside.PSDA\"/><Logistics "
            "fdcModel=\"M\" recipeID=\"R\" controlJobID=\"C\" equipmentID=\"E\" toolType=\"T\" "
            "resourceID=\"A\"/>" +
                rawTexts + "<Trend name=\"T\">" + wafers +
                "</Trend><Response topicName=\"r\"/></FDCRequest>");
    }

    int Read(unsigned int threads, std::string& table, std::uint64_t limit = 0) {
        const auto context = std::make_shared<karta::ReadContext>();
        context->reading = karta::Reading::Complete;
        context->threads = threads;
        if (limit > 0) {
            context->budget.SetLimit(limit);
        }
        BrooksideXML reader;
        reader.SetContext(context);
        karta::TableSink sink(context);
        int status = reader.Open(true, path.c_str(), nullptr);
        status = status == 0 ? reader.Read(&sink) : status;
        table = status == 0 ? DescribeTable(sink.Finish()) : "";
        return status;
    }
    // The table, which several threads make as one does.
    std::string ExpectSameInAllThreads() {
        std::string alone;
        EXPECT_EQ(Read(1, alone), 0);
        for (const unsigned int threads : {2U, 3U, 8U}) {
            std::string several;
            EXPECT_EQ(Read(threads, several), 0);
            EXPECT_TRUE(several == alone) << threads;
        }
        return alone;
    }

    TempFolder folder;
    std::string path;
};

}  // namespace

TEST_F(BrooksideRowsTest, PhasesOfAllLengthsAreTheSame) {
    std::string wafers;
    for (int line = 1; line < Lines; line += 1 + line % 700) {
        wafers += Wafer("W" + std::to_string(line), "lot",
                        Interval("f_1", line, line + line % 700) + Interval("b_2", line, line + 3));
    }
    Write(RawText("lot", "S", [](int line) { return "\t" + std::to_string(line % 9); }), wafers);
    const std::string table = ExpectSameInAllThreads();
    EXPECT_NE(table.find("S12 int64"), std::string::npos);
    EXPECT_NE(table.find("S1 float64 of "), std::string::npos);
}

TEST_F(BrooksideRowsTest, ShortLinesTextsAndMissingSamplesAreTheSame) {
    Write(RawText("lot", "S",
                  [](int line) {
                      return line % 5 == 0    ? ""
                             : line % 7 == 0  ? "\tidle"
                             : line % 11 == 0 ? "\t"
                             : line % 13 == 0 ? "\t  "
                                              : "\t  2.50";
                  }),
          Wafer("W1", "lot", Interval("f_1", 1, Lines)));
    const std::string table = ExpectSameInAllThreads();
    EXPECT_NE(table.find("short-lines"), std::string::npos);
    EXPECT_NE(table.find("text-samples"), std::string::npos);
}

TEST_F(BrooksideRowsTest, TwoVariablesOfOneNameAreTheSame) {
    const auto twice = [](const std::string& text) {
        std::string renamed = text;
        renamed.replace(renamed.find("\tS12\n"), 5, "\tS11\n");
        return renamed;
    };
    Write(twice(RawText("lot", "S",
                        [](int line) { return line % 3 == 0   ? "\t7"
                                              : line % 3 == 1 ? "\tx"
                                                              : "\t"; })),
          Wafer("W1", "lot", Interval("f_1", 1, Lines)));
    ExpectSameInAllThreads();
}

TEST_F(BrooksideRowsTest, RawTextsOfOtherVariablesAndInQuotesAreTheSame) {
    const auto number = [](int line) { return "\t" + std::to_string(line); };
    const std::string wafers = Wafer("W1", "lot", Interval("f_1", 1, 9000)) +
                               Wafer("W2", "other", Interval("f_1", 5, 9000)) +
                               Wafer("W3", "lot", Interval("f_2", 9001, 9500));
    Write(RawText("lot", "S", number) + RawText("other", "T", number), wafers);
    const std::string table = ExpectSameInAllThreads();
    EXPECT_NE(table.find("T12 int64 of 18496, missing 9500"), std::string::npos)
        << table.substr(table.find("T12"), 60);
    Write(RawText("lot", "S", number) +
              RawText("other", "T", [](int line) { return line % 2 == 0 ? "\t\"a\"" : "\t1"; }),
          wafers);
    ExpectSameInAllThreads();
}

TEST_F(BrooksideRowsTest, BudgetEndsTheReadInAnyNumberOfThreads) {
    Write(RawText("lot", "S", [](int) { return "\t1"; }), Wafer("W1", "lot", Interval("f_1", 1, Lines)));
    for (const unsigned int threads : {1U, 2U, 8U}) {
        std::string table;
        EXPECT_NE(Read(threads, table, 2'000'000), 0) << threads;
    }
}

TEST_F(BrooksideRowsTest, StopIsHeardInAnyNumberOfThreads) {
    Write(RawText("lot", "S", [](int) { return "\t1"; }), Wafer("W1", "lot", Interval("f_1", 1, Lines)));
    for (const unsigned int threads : {1U, 4U}) {
        const auto context = std::make_shared<karta::ReadContext>();
        context->reading = karta::Reading::Complete;
        context->threads = threads;
        BrooksideXML reader;
        reader.SetContext(context);
        ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
        ASSERT_EQ(reader.EstablishSize(), 0);
        std::stop_source stop;
        context->stop = stop.get_token();
        stop.request_stop();
        karta::TableSink sink(context);
        EXPECT_THROW(reader.Read(&sink), karta::Stopped) << threads;
    }
}

TEST(SampleBlockTest, CellsAreAsTheyWereSetLast) {
    SampleBlock block(4, 5);
    const std::string text = "text";
    block.Begin(100);
    CellOutput(block).Text(1, 101, "before");
    for (int use = 0; use < 2; ++use) {
        block.Begin(2);
        for (int row = 2; row <= 6; ++row) {
            CellOutput cells(block);
            cells.Number(1, row, 1.0 * row);
            cells.Text(2, row, text);
            cells.Number(2, row, 2.0 * row);
            if (row == 3 || row == 6) {
                cells.Number(3, row, 3.0 * row);
                cells.Missing(3, row);
                cells.Number(4, row, 4.0);
                cells.Text(4, row, text);
            }
        }
        const auto context = std::make_shared<karta::ReadContext>();
        context->shape.isKnown = true;
        karta::TableSink sink(context);
        CellOutput output(sink);
        block.Put(sink, output);
        sink.SetDataSize(4, 6);
        const karta::Table table = sink.Finish();
        EXPECT_EQ(DescribeTable(table),
                  " int64 of 6, missing 1: -|2|3|4|5|6|\n int64 of 6, missing 1: -|4|6|8|10|12|\n"
                  " null of 6, missing 6: -|-|-|-|-|-|\n text of 6, missing 4: -|-|text|-|-|text|\n");
    }
}
