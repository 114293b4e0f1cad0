#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "process/BrooksideFile.h"
#include "process/BrooksideXML.h"
#include "table/TableData.h"
#include "tests/process/BrooksideBuilder.h"
#include "tests/support/TempFolder.h"

using namespace brookside;

namespace {

/** What a complete read gave. */
struct CompleteRead {
    TableData table;
    std::shared_ptr<karta::ReadContext> context = std::make_shared<karta::ReadContext>();
    int status = 0;

    /** A row's cells, parted by bars. */
    std::string Row(int row) {
        std::string text;
        for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
            text += (col > 1 ? "|" : "") + table.GetString(col, row);
        }
        return text;
    }
    bool HasNote(const std::string& code) const {
        for (const karta::Note& note : context->notes.GetAll()) {
            if (note.code == code) {
                return true;
            }
        }
        return false;
    }
};

template <class Reader>
std::unique_ptr<CompleteRead> ReadCompletely(const std::string& path) {
    auto read = std::make_unique<CompleteRead>();
    read->context->reading = karta::Reading::Complete;
    Reader reader;
    reader.SetContext(read->context);
    read->status = reader.Open(true, path.c_str(), nullptr);
    if (read->status == 0) {
        read->status = reader.Read(&read->table);
    }
    return read;
}

class BrooksideCompleteTest : public testing::Test {
protected:
    std::unique_ptr<CompleteRead> ReadLog(const std::vector<Wafer>& wafers) {
        return ReadCompletely<BrooksideFile>(folder.Write("log.trn", Transition(wafers)));
    }
    std::unique_ptr<CompleteRead> ReadXML(const std::string& intervals, const std::string& rawText) {
        const std::string document =
            "<FDCRequest messageSequenceIdentifier='1'><RawData name='lot1.txt'>" + rawText +
            "</RawData><Trend name='t'><DataSet waferID='W01' rawDataName='c:\\x\\LOT1.txt'>" + intervals +
            "</DataSet></Trend></FDCRequest>";
        return ReadCompletely<BrooksideXML>(folder.Write("lot.xml", document));
    }
    static std::string Interval(const std::string& name, const std::string& number, int from, int to) {
        return "<Interval name='" + name + "' number='" + number + "' fromRow='" + std::to_string(from) +
               "' toRow='" + std::to_string(to) + "'/>";
    }

    TempFolder folder;
};

}  // namespace

TEST_F(BrooksideCompleteTest, EntriesThatShareLinesEachGetThem) {
    folder.Write("lot1.dat", NumberedData(6));
    const auto read = ReadLog({{"W01", {{1, 3}}}, {"W02", {{2, 4}}}, {"W03", {{2, 2}}}});
    ASSERT_EQ(read->status, 0);
    ASSERT_EQ(read->table.GetNumberOfRows(), 8);
    std::string lines;
    for (int row = 2; row <= 8; ++row) {
        lines += read->table.GetString(1, row) + ":" + read->table.GetString(4, row) + " ";
    }
    EXPECT_EQ(lines, "W01:1 W01:2 W01:3 W03:2 W02:2 W02:3 W02:4 ");
    EXPECT_TRUE(read->HasNote("lines-of-no-phase")) << "lines 5 and 6";
    EXPECT_EQ(read->context->shape.nameRow, 1);
}

TEST_F(BrooksideCompleteTest, DataFileIsOneHoweverTheLogSpellsIt) {
    folder.Write("lot1.dat", NumberedData(4));
    const auto read = ReadLog({{"W01", {{1, 1}}, "c:\\data\\LOT1.dat"}, {"W02", {{2, 4}}}});
    ASSERT_EQ(read->status, 0);
    EXPECT_EQ(read->Row(2), "W01|1|0.5|1");
    EXPECT_EQ(read->Row(5), "W02|1|2|4");
    EXPECT_FALSE(read->HasNote("lines-of-no-phase")) << "no line is left over by either spelling";
}

TEST_F(BrooksideCompleteTest, OutOfOrderPhasesKeepTheirTimes) {
    folder.Write("lot1.dat", NumberedData(4));
    const auto read = ReadLog({{"W01", {{3, 4}, {1, 2}}}});
    ASSERT_EQ(read->status, 0);
    EXPECT_EQ(read->Row(2), "W01|1|1.5|3");
    EXPECT_EQ(read->Row(4), "W01|2|0.5|1");
}

TEST_F(BrooksideCompleteTest, NumbersAreDoubleAndWhatIsNoneIsMissingOrText) {
    folder.Write("lot1.dat",
                 DataFile("Time\tA_P\tA_Q\tB_R", {"0.1\t\t-999\t1", "0.2\toff", "0.3\t1e3\t2\t3"}));
    const auto read = ReadLog({{"W01", {{1, 3}}}});
    ASSERT_EQ(read->status, 0);
    EXPECT_EQ(read->Row(2), "W01|1|0.1||");
    EXPECT_EQ(read->Row(3), "W01|1|0.2|off|");
    EXPECT_EQ(read->Row(4), "W01|1|0.3|1000|2");
    EXPECT_EQ(read->table.GetKind(3, 2), TableData::Double);
    EXPECT_EQ(read->table.GetKind(4, 2), TableData::Missing);
    EXPECT_TRUE(read->HasNote("text-samples"));
    EXPECT_TRUE(read->HasNote("short-lines"));
    EXPECT_TRUE(read->HasNote("other-chambers"));
}

TEST_F(BrooksideCompleteTest, LinesAreOfAnyLengthAndNamesInAnyCase) {
    const std::string blanks(5000, ' ');
    folder.Write("Lot1.DAT", DataFile("Time\tA_P", {"1\t" + blanks + "7", "2\t8"}));
    const auto read = ReadLog({{"W01", {{1, 2}}, "D:\\logs\\lot1.dat"}});
    ASSERT_EQ(read->status, 0);
    EXPECT_EQ(read->Row(2), "W01|1|1|7");
    EXPECT_EQ(read->Row(3), "W01|1|2|8");
}

TEST_F(BrooksideCompleteTest, PhaseBeyondTheEndHasTheLinesThatAreThere) {
    folder.Write("lot1.dat", NumberedData(3));
    const auto read = ReadLog({{"W01", {{2, 2'000'000'000}}}, {"W02", {{1, 1}}, "gone.dat"}});
    ASSERT_EQ(read->status, 0);
    EXPECT_EQ(read->table.GetNumberOfRows(), 4);
    EXPECT_TRUE(read->HasNote("lines-not-there"));
    EXPECT_TRUE(read->HasNote("missing-file"));
}

TEST_F(BrooksideCompleteTest, ChambersOfAllRecipesAreRead) {
    folder.Write("lot1.dat", DataFile("Time\tA_P\tB_P\tC_P", {"1\t10\t20\t30"}));
    const auto read = ReadLog({{"W01", {{1, 1}}}, {"W02", {{1, 1}}, "lot1.dat", "B_Etch"}});
    ASSERT_EQ(read->status, 0);
    EXPECT_EQ(read->table.GetNumberOfColumns(), 5);
    EXPECT_EQ(read->table.GetNumberOfRows(), 3);
}

TEST_F(BrooksideCompleteTest, SizeIsKnownBeforeTheRead) {
    folder.Write("lot1.dat", NumberedData(6));
    BrooksideFile reader;
    auto context = std::make_shared<karta::ReadContext>();
    context->reading = karta::Reading::Complete;
    reader.SetContext(context);
    ASSERT_EQ(reader.Open(true, folder.Write("log.trn", Transition({{"W01", {{1, 4}}}})).c_str(), nullptr),
              0);
    EXPECT_EQ(reader.GetNumRows(), 5);
    EXPECT_EQ(reader.GetNumCols(), 4);
}

TEST_F(BrooksideCompleteTest, XMLRowsAreLookedUpForEachInterval) {
    // By the classic rule the line of row 4 ends the first interval and is lost for the second.
    const auto read =
        ReadXML(Interval("f_a", "1", 1, 3) + Interval("f_b", "2", 4, 5) + Interval("f_c", "3", 5, 5),
                "Time\tRow\tA_P\n0\t1\t10\n1\t2\t11\n3\t4\t13\n4\t5\tx\nNUM_DATA_ROWS\t4\n");
    ASSERT_EQ(read->status, 0);
    ASSERT_EQ(read->table.GetNumberOfRows(), 6);
    EXPECT_EQ(read->Row(2), "W01|1|0|10");
    EXPECT_EQ(read->Row(4), "W01|2|3|13");
    EXPECT_EQ(read->Row(5), "W01|2|4|x");
    EXPECT_EQ(read->Row(6), "W01|3|4|x");
    EXPECT_EQ(read->table.GetKind(4, 2), TableData::Double);
    EXPECT_EQ(read->table.GetKind(2, 2), TableData::Double);
}

TEST_F(BrooksideCompleteTest, XMLShortLinesCDATAAndNoMarkAreAccepted) {
    const auto read = ReadXML(Interval("f_a", "1", 1, 9) + Interval("b_x", "2", 1, 2),
                              "Time\tRow\tA_P\n<!-- -->0\t1\n<![CDATA[1\t3\t12\n]]>0.5\t2\t11\n");
    ASSERT_EQ(read->status, 0);
    ASSERT_EQ(read->table.GetNumberOfRows(), 4);
    EXPECT_EQ(read->Row(2), "W01|1|0|");
    EXPECT_EQ(read->Row(3), "W01|1|0.5|11") << "row 2 stands behind row 3";
    EXPECT_TRUE(read->HasNote("rows-not-increasing"));
    EXPECT_TRUE(read->HasNote("short-lines"));
    EXPECT_TRUE(read->HasNote("background-phases"));
    EXPECT_TRUE(read->HasNote("missing-attributes"));
}

TEST_F(BrooksideCompleteTest, XMLAttributesOfAnotherKindCostThemselves) {
    const std::string odd =
        "<Interval name='f_b' number='2' fromRow='two' toRow='2' duration=''>"
        "<SumData name='A_P' statName='MAX' value='7'/>"
        "<RecipeParameter name='p' value='high' valueLowerLimit='' valueUpperLimit='1' "
        "useCurrentValueFlag='?'/></Interval>";
    const auto read = ReadXML(Interval("f_a", "1", 1, 9) + odd, "Time\tRow\tA_P\n0\t1\t10\n0.5\t2\t11\n");
    ASSERT_EQ(read->status, 0);
    ASSERT_EQ(read->table.GetNumberOfRows(), 3) << "an interval without a first row has none";
    EXPECT_EQ(read->Row(3), "W01|1|0.5|11");
    EXPECT_TRUE(read->HasNote("missing-attributes"));
    EXPECT_TRUE(read->HasNote("phase-values")) << "a statistic and a recipe parameter";
    EXPECT_TRUE(read->HasNote("rows-not-there")) << "rows 3 to 9";
}
