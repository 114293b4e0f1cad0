#include "process/BrooksideXML.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <stdexcept>

#include "base/Exception.h"
#include "table/TableData.h"
#include "tests/support/CountingSink.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Format = "Brookside Ver. 2.6 XML File";

/** An Interval; `content` are its statistics and recipe parameters. */
std::string Interval(const std::string& name, const std::string& number, int from, int to,
                     const std::string& content = {}) {
    return "<Interval name=\"" + name + "\" number=\"" + number +
           "\" startTime=\"03/02/2009 10:11:12\" duration=\"12.5\" fromRow=\"" + std::to_string(from) +
           "\" toRow=\"" + std::to_string(to) + "\">" + content + "</Interval>";
}

/** A wafer and its Intervals. */
std::string DataSet(const std::string& wafer, const std::string& rawData, const std::string& intervals) {
    return "<DataSet rawDataName=\"" + rawData + "\" startTime=\"s\" lotID=\"L1\" slotID=\"3\" waferID=\"" +
           wafer +
           "\" priorityClass=\"P\" lineCode=\"7\" jobClass=\"J\" qualityCode=\"Q\" routeID=\"R1\" "
           "productID=\"PX\" "
           "operationNumber=\"6100\" operationName=\"ETCH\" operationPassCount=\"1\">" +
           intervals + "</DataSet>";
}

std::string RawData(const std::string& name, const std::string& text) {
    return "<RawData name=\"" + name + "\">" + text + "NUM_DATA_ROWS</RawData>";
}

/** A whole document of these raw texts and wafers. */
std::string Document(const std::string& rawData, const std::string& dataSets,
                     const std::string& docType = "<!DOCTYPE FDCRequest SYSTEM \"FDCRequest.dtd\">") {
    return "<?xml version=\"1.0\"?>" + docType +
           "<FDCRequest messageSequenceIdentifier=\"17\"><APCSystemName id=\"Brookside.PSDA\"/>"
           "<Logistics fdcModel=\"M1\" recipeID=\"ETCH-7\" controlJobID=\"CJ1\" equipmentID=\"ETCH04\" "
           "toolType=\"T\" "
           "resourceID=\"CH-A\"/>" +
           rawData + "<Trend name=\"T1\">" + dataSets +
           "</Trend><Response topicName=\"reply\"/></FDCRequest>";
}

const char* const ThreeRows = "Tool\tx\nTime\tRow\tA\n0.5\t1\t10\n1\t2\t20\n1.5\t3\t30\n";

std::string OneWafer(const std::string& intervals, const std::string& text = ThreeRows) {
    return Document(RawData("lot1.txt", text), DataSet("W01", "lot1.txt", intervals));
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

class BrooksideXMLTest : public testing::Test {
protected:
    std::string Trace(const std::string& document, const TraceOptions& how = {}) {
        const std::string trace = ReadTrace(Format, folder.Write("lot.xml", document), how);
        const std::string start =
            "Format \"Brookside Ver. 2.6 XML File\"\nOpen 0x0\nGetNumRows 1\nGetNumCols 1\nSetDataSize 1 1\n";
        return trace.starts_with(start) ? trace.substr(start.size()) : trace;
    }
    /** The lines of a trace behind the cells. */
    std::string Ending(const std::string& document) {
        const std::string trace = Trace(document);
        return trace.substr(std::min(trace.find("Read 0x"), trace.find("Exception")));
    }
    std::string Failure(const std::string& document, int status) {
        BrooksideXML reader;
        EXPECT_EQ(reader.Open(document.c_str(), "memory"), status);
        return ErrorOf(reader);
    }
    void ExpectReads(const std::string& document) {
        EXPECT_NE(Trace(document).find("Read 0x0\n"), std::string::npos) << document;
    }

    TempFolder folder;
};

std::string Row(int row, const std::string& wafer, const std::string& phase, const std::string& time,
                const std::string& value) {
    const std::string at = " " + std::to_string(row) + " text \"";
    return "Set 1" + at + wafer + "\"\nSet 2" + at + phase + "\"\nSet 3" + at + time + "\"\nSet 4" + at +
           value + "\"\n";
}

const char* const Names =
    "Set 4 1 text \"A\"\nSet 3 1 text \"Time\"\nSet 1 1 text \"Wafer (Batch)\"\nSet 2 1 text \"Interval "
    "(Phase)\"\n";

}  // namespace

TEST_F(BrooksideXMLTest, ReadsPhasesIntoATableOfTexts) {
    EXPECT_EQ(Trace(OneWafer(Interval("f_a", "1", 1, 2) + Interval("f_b", "02", 3, 3))),
              "SetDataSize 4 4\n" + std::string(Names) + Row(2, "W01", "1", "0.5", "10") +
                  Row(3, "W01", "1", "1", "20") + Row(4, "W01", "02", "1.5", "30") + "Read 0x0\nClose\n");
}

TEST_F(BrooksideXMLTest, AsksForTheNextRowBeforeTheCells) {
    EXPECT_EQ(Trace(OneWafer(Interval("f_a", "1", 1, 3)), {nullptr, "1,3", 0, true}),
              "SetDataSize 4 4\nNextRowToRead 0 1\n" + std::string(Names) +
                  "NextRowToRead 1 3\nNextRowToRead 3 -1\n" + Row(3, "W01", "1", "1", "20") +
                  "Read 0x0\nClose\n");
}

TEST_F(BrooksideXMLTest, LineBeyondAPhaseTakesATableRowThatIsNotWanted) {
    // The first phase ends at row 3; the line of row 5 ends it and is lost for the second one.
    const std::string document = OneWafer(Interval("f_a", "1", 1, 3) + Interval("f_b", "2", 5, 6),
                                          "Time\tRow\tA\n0.5\t1\t10\n1\t2\t20\n1.5\t5\t30\n2\t6\t40\n");
    const std::string start = "SetDataSize 4 6\n" + std::string(Names) + Row(2, "W01", "1", "0.5", "10");
    EXPECT_EQ(Trace(document),
              start + Row(3, "W01", "1", "1", "20") + Row(4, "W01", "2", "2", "40") + "Read 0x0\nClose\n");
    EXPECT_EQ(Trace(document, {nullptr, "1,2,5"}),
              start + Row(5, "W01", "2", "2", "40") + "Read 0x0\nClose\n");
}

TEST_F(BrooksideXMLTest, SinkThatStopsStillLearnsOfABadRow) {
    const std::string document =
        OneWafer(Interval("f_a", "1", 1, 3), "Time\tRow\tA\n1\t1\t1\n2\t2\t2\n3\t2\t3\n");
    EXPECT_EQ(Trace(document, {nullptr, "1"}), "SetDataSize 4 4\n" + std::string(Names) +
                                                   "Read 0xa3\nError \"Error in RAWDATA section:\\r\\nRow "
                                                   "numbers are not increasing in RAWDATA section "
                                                   "'lot1.txt'.\"\nClose\n");
}

TEST_F(BrooksideXMLTest, BackgroundPhaseIsListedButNotInTheTable) {
    const std::string document =
        OneWafer(Interval("b_warmup", "0", 1, 1) + Interval("B_x", "0", 2, 2) + Interval("f_a", "1", 3, 3));
    EXPECT_EQ(CellsOf(Trace(document)), Names + Row(2, "W01", "1", "1.5", "30"));
    BrooksideXML reader;
    ASSERT_EQ(reader.Open(document.c_str(), "memory"), 0);
    EXPECT_EQ(reader.SizePhases(1), 3);
    EXPECT_EQ(reader.GetPhaseName(1, 1), "b_warmup");
    EXPECT_FALSE(reader.IsApstat());
}

TEST_F(BrooksideXMLTest, OtherPhaseNamesMakeAnApstat) {
    BrooksideXML reader;
    ASSERT_EQ(reader.Open(OneWafer(Interval("F_a", "1", 1, 1)).c_str(), "memory"), 0);
    EXPECT_FALSE(reader.IsApstat());
    ASSERT_EQ(reader.Open(OneWafer(Interval("main", "1", 1, 1)).c_str(), "memory"), 0);
    EXPECT_TRUE(reader.IsApstat());
    ASSERT_EQ(reader.Open(OneWafer(Interval("f_a", "1", 1, 1)).c_str(), "memory"), 0);
    EXPECT_FALSE(reader.IsApstat());
}

TEST_F(BrooksideXMLTest, DocumentAnswersQuestions) {
    const std::string content =
        "<SumData name=\"A\" statName=\"MAX\" value=\"30 V\"/><SumData name=\"A\" value=\"\"/>"
        "<RecipeParameter name=\"p\" value=\" 1.5 \" valueLowerLimit=\"-1e2\" valueUpperLimit=\"2\" "
        "useCurrentValueFlag=\" TRUE \"/>";
    const std::string document =
        Replaced(Document(RawData("lot1.txt", ThreeRows),
                          DataSet("W01", "C:\\out\\lot1.txt",
                                  Interval("f_b", "2", 3, 3) + Interval("f_a", "1", 1, 2, content))),
                 "toolType", "chamberRecipe=\"CR\" toolType");
    BrooksideXML reader;
    ASSERT_EQ(reader.Open(document.c_str(), "memory"), 0);
    std::string attributes;
    for (int type = 0; type < BrooksideXML::AttributeCount; ++type) {
        attributes += reader.GetAttribute(static_cast<BrooksideXML::AttributeType>(type)) + "|";
    }
    EXPECT_EQ(attributes, "Brookside.PSDA|17|M1|ETCH-7|CJ1|ETCH04|T|CH-A|reply|CR|T1|");
    std::string wafer;
    for (int type = 0; type < BrooksideXML::WaferAttributeCount; ++type) {
        wafer += reader.GetWaferAttribute(1, static_cast<BrooksideXML::WaferAttributeType>(type)) + "|";
    }
    EXPECT_EQ(wafer, "L1|3|lot1.txt|R1|PX|6100|ETCH|1|P|7|J|Q|");
    EXPECT_EQ(reader.SizeWafer(), 1);
    EXPECT_EQ(reader.GetWaferID(1), "W01");
    // The phases stand in the order of their rows.
    EXPECT_EQ(reader.GetPhaseNumber(1, 1), "1");
    EXPECT_EQ(reader.GetPhaseStartTime(1, 1), "03/02/2009 10:11:12");
    EXPECT_EQ(reader.GetPhaseDuration(1, 1), 12.5F);
    int from = 0;
    int to = 0;
    reader.GetPhaseFromTo(1, 2, from, to);
    EXPECT_EQ(from, 3);
    EXPECT_EQ(to, 3);
    const auto& sums = *reader.GetSumData(1, 1);
    ASSERT_EQ(sums.size(), 2U);
    EXPECT_EQ(sums[0].name + sums[0].statName + sums[0].value, "AMAX30 V");
    EXPECT_EQ(sums[1].statName, "");
    const auto& parameters = *reader.GetRecipeParameterList(1, 1);
    ASSERT_EQ(parameters.size(), 1U);
    EXPECT_EQ(parameters[0].value, 1.5F);
    EXPECT_EQ(parameters[0].lowerLimit, -100.0F);
    EXPECT_EQ(parameters[0].upperLimit, 2.0F);
    EXPECT_TRUE(parameters[0].useCurrentValue);
    EXPECT_THROW(reader.GetWaferID(2), std::out_of_range);
    EXPECT_THROW(reader.GetPhaseName(1, 0), std::out_of_range);
}

TEST_F(BrooksideXMLTest, MissingChamberRecipeIsEmpty) {
    BrooksideXML reader;
    ASSERT_EQ(reader.Open(OneWafer("").c_str(), "memory"), 0);
    EXPECT_EQ(reader.GetAttribute(BrooksideXML::AttributeChamberRecipe), "");
}

TEST_F(BrooksideXMLTest, WafersOfOneSectionAreReadInOrderOfTheirRows) {
    const std::string document =
        Document(RawData("lot1.txt", ThreeRows), DataSet("W02", "LOT1.txt", Interval("f_a", "1", 3, 3)) +
                                                     DataSet("W01", "lot1.TXT", Interval("f_a", "1", 1, 2)));
    EXPECT_EQ(CellsOf(Trace(document)), Names + Row(2, "W01", "1", "0.5", "10") +
                                            Row(3, "W01", "1", "1", "20") + Row(4, "W02", "1", "1.5", "30"));
}

TEST_F(BrooksideXMLTest, LaterOfTwoEqualPlacesComesFirst) {
    const std::string document =
        Document(RawData("l", ThreeRows),
                 DataSet("W01", "l", Interval("f_a", "1", 1, 1) + Interval("f_b", "2", 1, 2)) +
                     DataSet("W02", "l", Interval("f_a", "1", 1, 3)));
    BrooksideXML reader;
    ASSERT_EQ(reader.Open(document.c_str(), "memory"), 0);
    EXPECT_EQ(reader.GetWaferID(1), "W02");
    EXPECT_EQ(reader.GetPhaseName(2, 1), "f_b");
}

TEST_F(BrooksideXMLTest, PhaseColumnOfTheRawTextFeedsColumn2) {
    const std::string document =
        OneWafer(Interval("f_a", "1", 1, 1), "Time\tRow\tstep\tA\n0.5\t1\tS7\t10\n1\t2\tS8\t20\n");
    BrooksideXML reader;
    reader.SetPhaseID("Step");
    ASSERT_EQ(reader.Open(document.c_str(), "memory"), 0);
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_STREQ(table.GetText(2, 2), "S7");
    EXPECT_STREQ(table.GetText(4, 1), "A");
    EXPECT_EQ(table.GetNumberOfColumns(), 4);
    // A document without such a column leaves column 2 unset, and null asks for the numbers again.
    ASSERT_EQ(reader.Open(OneWafer(Interval("f_a", "1", 1, 1)).c_str(), "memory"), 0);
    TableData unset;
    ASSERT_EQ(reader.Read(&unset), 0);
    EXPECT_EQ(unset.GetKind(2, 2), TableData::Missing);
    reader.SetPhaseID(nullptr);
    TableData numbered;
    ASSERT_EQ(reader.Read(&numbered), 0);
    EXPECT_STREQ(numbered.GetText(2, 2), "1");
}

TEST_F(BrooksideXMLTest, SectionWithoutVariablesIsAWarningEachTime) {
    const std::string document = Document(
        RawData("l", "Time\tRow\n1\t1\n2\t2\n"),
        DataSet("W01", "l", Interval("f_a", "1", 1, 1)) + DataSet("W02", "l", Interval("f_a", "1", 2, 2)));
    // Once for each wafer when the names are gathered, and once when the rows are read.
    EXPECT_EQ(Ending(document),
              "Read 0x0\nWarning \"No variables found in RAWDATA section l\\nNo variables found in RAWDATA "
              "section l\\n"
              "No variables found in RAWDATA section l\\n\"\nClose\n");
}

TEST_F(BrooksideXMLTest, SectionOfPhaseColumnAloneHasNoVariables) {
    BrooksideXML reader;
    reader.SetPhaseID("A");
    ASSERT_EQ(reader.Open(OneWafer(Interval("f_a", "1", 1, 1)).c_str(), "memory"), 0);
    CountingSink sink;
    ASSERT_EQ(reader.Read(&sink), 0);
    EXPECT_STREQ(
        reader.GetWarningMessage(),
        "No variables found in RAWDATA section lot1.txt\nNo variables found in RAWDATA section lot1.txt\n");
    EXPECT_EQ(sink.cols, 3);
}

TEST_F(BrooksideXMLTest, MissingSectionIsStatus0xa3) {
    EXPECT_EQ(
        Ending(Document(RawData("l", ThreeRows), DataSet("W01", "d/other.txt", Interval("f_a", "1", 1, 1)))),
        "Read 0xa3\nError \"Error in RAWDATA section:\\r\\nThe RAWDATA section with name 'other.txt' could "
        "not be "
        "found\"\nClose\n");
}

TEST_F(BrooksideXMLTest, SectionWithoutTimeOrWithNothingBehindItIsStatus0xa3) {
    for (const char* text : {"", "x\ty\n", "Time\tRow\tA\n", "\n\nTool\nTIME\tRow"}) {
        EXPECT_EQ(
            Ending(OneWafer(Interval("f_a", "1", 1, 1), text)),
            "Read 0xa3\nError \"Error in RAWDATA section:\\r\\nTime could not be found in RAWDATA section "
            "'lot1.txt'\"\nClose\n");
    }
}

TEST_F(BrooksideXMLTest, SectionThatEndsTooEarlyIsStatus0xa3) {
    EXPECT_EQ(Ending(OneWafer(Interval("f_a", "1", 2, 2000000000))),
              "Read 0xa3\nError \"Error in RAWDATA section:\\r\\nUnexpected EOF in RAWDATA section "
              "'lot1.txt'.\"\nClose\n");
}

TEST_F(BrooksideXMLTest, RowsAreReservedUpToAMillionOrAsFarAsTheTextsAreLong) {
    BrooksideXML reader;
    ASSERT_EQ(reader.Open(OneWafer(Interval("f_a", "1", -2000000000, 2000000000)).c_str(), "memory"), 0);
    CountingSink sink;
    EXPECT_EQ(reader.Read(&sink), 0xa3);
    EXPECT_EQ(sink.rows, 1'000'001);
}

TEST_F(BrooksideXMLTest, WaferWithoutARawDataNameHasNoLines) {
    EXPECT_EQ(
        Ending(Document(RawData("l", ThreeRows), DataSet("W01", "", Interval("f_a", "1", 1, 1)))),
        "Read 0xa3\nError \"Error in RAWDATA section:\\r\\nUnexpected EOF in RAWDATA section ''.\"\nClose\n");
}

TEST_F(BrooksideXMLTest, PhaseListedBackwardsHasNoRows) {
    // The lines up to its first row are lost all the same.
    EXPECT_EQ(
        Trace(OneWafer(Interval("f_a", "1", 2, 1) + Interval("f_b", "2", 3, 3))),
        "SetDataSize 4 2\n" + std::string(Names) + Row(2, "W01", "2", "1.5", "30") + "Read 0x0\nClose\n");
}

TEST_F(BrooksideXMLTest, MissingColumnLeavesReadAsAnException) {
    EXPECT_EQ(Ending(OneWafer(Interval("f_a", "1", 1, 2), "x\nTime\tRow\tA\n1\t1\t2\n2\t2\n")),
              "Exception \"Column 3 not found on line 4 in lot1.txt.\"\nClose\n");
    EXPECT_EQ(Ending(OneWafer(Interval("f_a", "1", 1, 2), "\n\nTime\tRow\tA\n1\n")),
              "Exception \"Column 2 not found on line 2 in lot1.txt.\"\nClose\n");
}

TEST_F(BrooksideXMLTest, FieldsAreScannedAsTheyStand) {
    const std::string text = "\r\r\n\"Time\"\tRow\t\"A b\" x\tB\r\n  1 \t 1x\t\" 2 \"\t\r\r2\t2\t\"\"\t\"3\n";
    const std::string cells = CellsOf(Trace(OneWafer(Interval("f_a", "1", 1, 2), text)));
    EXPECT_EQ(
        cells,
        "Set 4 1 text \"A b\"\nSet 5 1 text \"B\"\nSet 3 1 text \"Time\"\nSet 1 1 text \"Wafer (Batch)\"\n"
        "Set 2 1 text \"Interval (Phase)\"\n"
        "Set 1 2 text \"W01\"\nSet 2 2 text \"1\"\nSet 3 2 text \"1 \"\nSet 4 2 text \" 2 \"\nSet 5 2 text "
        "\"\"\n"
        "Set 1 3 text \"W01\"\nSet 2 3 text \"1\"\nSet 3 3 text \"2\"\nSet 4 3 text \"\"\nSet 5 3 text "
        "\"3\"\n");
}

TEST_F(BrooksideXMLTest, EntityDoesNotEndTheText) {
    const std::string document = Document(
        "<RawData name=\"l\">Time\tRow\tA\n0.5\t&e;\t10&#10;1\t2\t2&lt;0\nNUM_DATA_ROWS</RawData>",
        DataSet("W01", "l", Interval("f_a", "1", 1, 2)), "<!DOCTYPE FDCRequest [<!ENTITY e \"1\">]>");
    EXPECT_EQ(CellsOf(Trace(document)),
              Names + Row(2, "W01", "1", "0.5", "10") + Row(3, "W01", "1", "1", "2<0"));
}

TEST_F(BrooksideXMLTest, CharactersOfTwoUnitsStayWholeWhereTheParserPartsTheText) {
    // Longer than the parser's buffers, at both places of the pairs in them.
    const std::string face = "\xf0\x9f\x98\x80";
    for (const std::string& start : {std::string(), std::string("x")}) {
        std::string value = start;
        for (int i = 0; i < 100'000; ++i) {
            value += face;
        }
        const std::string document =
            OneWafer(Interval("f_a", "1", 1, 1), "Time\tRow\tA\n1\t1\t" + value + "&#x1F600;\n");
        BrooksideXML reader;
        ASSERT_EQ(reader.Open(document.c_str(), "memory"), 0);
        TableData table;
        ASSERT_EQ(reader.Read(&table), 0);
        EXPECT_EQ(table.GetText(4, 2), value + face);
    }
}

TEST_F(BrooksideXMLTest, CommentOrCDataOrElementEndsTheText) {
    for (const char* end : {"<!-- x -->", "<![CDATA[x]]>", "<?x y?>", "<x/>"}) {
        EXPECT_EQ(Failure(Document("<RawData name=\"l\">Time" + std::string(end) + "NUM_DATA_ROWS</RawData>",
                                   DataSet("W01", "l", "")),
                          0xa5),
                  "XML Parse error:\r\nThe RawData section 'l' does not contain the string 'NUM_DATA_ROWS'");
        // Before the text they don't count.
        ExpectReads(
            Document("<RawData name=\"l\">" + std::string(end) + ThreeRows + "NUM_DATA_ROWS</RawData>",
                     DataSet("W01", "l", Interval("f_a", "1", 1, 1))));
    }
}

TEST_F(BrooksideXMLTest, RawDataWithoutTextIsStatus0xa5) {
    for (const char* content : {"", "<![CDATA[NUM_DATA_ROWS]]>", "<x>NUM_DATA_ROWS</x>"}) {
        EXPECT_EQ(Failure(Document("<RawData name=\"d/l\">" + std::string(content) + "</RawData>",
                                   DataSet("W01", "l", "")),
                          0xa5),
                  "XML Parse error:\r\nCould not find RawData for file 'd/l'");
    }
    EXPECT_EQ(Failure(Document("<RawData name=\"l\"/>", DataSet("W01", "l", "")), 0xa5),
              "XML Parse error:\r\nCould not find RawData for file 'l'");
}

TEST_F(BrooksideXMLTest, MissingNodesAreStatus0xa5) {
    const std::string whole = OneWafer(Interval("f_a", "1", 1, 1));
    const std::pair<const char*, const char*> nodes[] = {
        {"<APCSystemName", "APCSystemName"}, {"<Logistics", "Logistics"}, {"<Response", "Response"}};
    for (const auto& [text, name] : nodes) {
        EXPECT_EQ(Failure(Replaced(whole, text, "<Other"), 0xa5),
                  std::string("XML Parse error:\r\nXML node '") + name + "' not found");
    }
    EXPECT_EQ(Failure(Document(RawData("l", ThreeRows), ""), 0xa5),
              "XML Parse error:\r\nXML node 'dataset' not found");
    EXPECT_EQ(Failure(Document("", DataSet("W01", "l", "")), 0xa5),
              "XML Parse error:\r\nXML node 'RawData' not found");
    EXPECT_EQ(Failure("<html/>", 0xa5), "XML Parse error:\r\nXML node 'FDCRequest' not found");
}

TEST_F(BrooksideXMLTest, EveryAttributeIsRequired) {
    const std::string whole =
        OneWafer(Interval("f_a", "1", 1, 1,
                          "<SumData name=\"A\" value=\"1\"/><RecipeParameter name=\"p\" value=\"1\" "
                          "valueLowerLimit=\"0\" valueUpperLimit=\"2\" useCurrentValueFlag=\"true\"/>"));
    const std::pair<const char*, const char*> attributes[] = {
        {" id=", "ID"},
        {" messageSequenceIdentifier=", "MessageSequenceIdentifier"},
        {" fdcModel=", "FDCModel"},
        {" recipeID=", "RecipeID"},
        {" controlJobID=", "ControlJobID"},
        {" equipmentID=", "EquipmentID"},
        {" toolType=", "ToolType"},
        {" resourceID=", "ResourceID"},
        {" topicName=", "TopicName"},
        {"<Trend name=", "Name"},
        {" waferID=", "WaferID"},
        {" rawDataName=", "rawDataName"},
        {" lotID=", "LotID"},
        {" slotID=", "SlotID"},
        {" routeID=", "RouteID"},
        {" productID=", "ProductID"},
        {" operationNumber=", "OperationNumber"},
        {" operationName=", "OperationName"},
        {" operationPassCount=", "OPERATIONPASSCOUNT"},
        {" priorityClass=", "PriorityClass"},
        {" lineCode=", "LineCode"},
        {" jobClass=", "JobClass"},
        {" qualityCode=", "QualityCode"},
        {"<Interval name=", "Name"},
        {" number=", "Number"},
        {" fromRow=", "FromRow"},
        {" toRow=", "ToRow"},
        {" duration=", "Duration"},
        {"<SumData name=", "Name"},
        {"\"A\" value=", "Value"},
        {"<RecipeParameter name=", "Name"},
        {"\"p\" value=", "Value"},
        {" valueLowerLimit=", "ValueLowerLimit"},
        {" valueUpperLimit=", "ValueUpperLimit"},
        {" useCurrentValueFlag=", "UseCurrentValueFlag"},
        {"<RawData name=", "Name"}};
    for (const auto& [text, name] : attributes) {
        const std::string other =
            std::string(text).substr(0, std::string(text).find_last_of(' ') + 1) + "other=";
        EXPECT_EQ(Failure(Replaced(whole, text, other), 0xa5),
                  std::string("XML Parse error:\r\nThe attribute '") + name + "' could not be found.")
            << text;
    }
}

TEST_F(BrooksideXMLTest, NamesOfNodesAndAttributesCountInAnyCase) {
    std::string document = OneWafer(Interval("f_a", "1", 1, 1));
    document = Replaced(document, "<Trend name", "<TREND NAME");
    document = Replaced(document, "</Trend>", "</TREND>");
    document = Replaced(document, "<RawData", "<rawdata");
    document = Replaced(document, "</RawData>", "</rawdata>");
    ExpectReads(document);
}

TEST_F(BrooksideXMLTest, ValuesOfAnotherKindAreStatus0xa5) {
    const std::string parameter =
        "<RecipeParameter name=\"p\" value=\"1\" valueLowerLimit=\"0\" valueUpperLimit=\"2\" "
        "useCurrentValueFlag=\"true\"/>";
    const std::string whole = OneWafer(Interval("f_a", "1", 1, 1, parameter));
    EXPECT_EQ(Failure(Replaced(whole, "\"12.5\"", "\"12.5s\""), 0xa5),
              "XML Parse error:\r\nExpected a floating point value for 'Duration', found '12.5s'");
    EXPECT_EQ(Failure(Replaced(whole, "\"12.5\"", "\"\""), 0xa5),
              "XML Parse error:\r\nExpected a floating point value for 'Duration', found ''");
    EXPECT_EQ(Failure(Replaced(whole, "fromRow=\"1\"", "fromRow=\"1.0\""), 0xa5),
              "XML Parse error:\r\nExpected an integer value for 'FromRow', found '1.0'");
    EXPECT_EQ(Failure(Replaced(whole, "\"true\"", "\"yes\""), 0xa5),
              "XML Parse error:\r\nExpected true of false for 'UseCurrentValueFlag', found 'yes'");
    ExpectReads(Replaced(whole, "fromRow=\"1\"", "fromRow=\" +1 \""));
    ExpectReads(Replaced(whole, "\"true\"", "\"False\""));
}

TEST_F(BrooksideXMLTest, WhatIsNotWellFormedIsStatus0xa0) {
    for (const char* document :
         {"", "<FDCRequest>", "text", "<FDCRequest>&none;</FDCRequest>", "<a></b>", "<a>\xff</a>"}) {
        EXPECT_EQ(Failure(document, 0xa0).substr(0, 18), "XML Parse error:\r\n") << document;
    }
}

TEST_F(BrooksideXMLTest, MissingFileAndFolderAreStatus0xa0) {
    BrooksideXML reader;
    EXPECT_EQ(reader.Open(true, folder.Path("none.xml").c_str(), nullptr), 0xa0);
    EXPECT_NE(ErrorOf(reader).find("none.xml"), std::string::npos);
    EXPECT_EQ(reader.Open(true, folder.Path("").c_str(), nullptr), 0xa0);
    // Several names are no name.
    const std::string path = folder.Write("lot.xml", OneWafer(""));
    EXPECT_EQ(reader.Open(true, (path + "\n" + path).c_str(), nullptr), 0xa0);
}

TEST_F(BrooksideXMLTest, NameOutsideAsciiOpens) {
    BrooksideXML reader;
    EXPECT_EQ(reader.Open(true, folder.Write("l\xc3\xb6s.xml", OneWafer("")).c_str(), nullptr), 0);
}

TEST_F(BrooksideXMLTest, OpeningForWritingIsStatus0xa6) {
    BrooksideXML reader;
    EXPECT_EQ(reader.Open(false, folder.Path("out.xml").c_str(), nullptr), 0xa6);
    EXPECT_EQ(ErrorOf(reader), "The file was opened for writing which is not supported.");
    EXPECT_EQ(reader.GetNumRows(), -1);
    EXPECT_EQ(reader.GetNumCols(), -1);
}

TEST_F(BrooksideXMLTest, StatusTextsAreExact) {
    struct Failing : BrooksideXML {
        explicit Failing(int code) { status = code; }
    };
    const std::pair<int, const char*> texts[] = {
        {0, "An unknown error occurred."},        {0xa0, "XML Parse error:\r\n"},
        {0xa1, "An unknown exception occurred."}, {0xa2, "XML Parse error:\r\n"},
        {0xa3, "Error in RAWDATA section:\r\n"},  {0xa4, "An unknown exception occurred."},
        {0xa5, "XML Parse error:\r\n"},           {3, "An unknown error occurred."}};
    for (const auto& [code, text] : texts) {
        Failing reader(code);
        EXPECT_EQ(ErrorOf(reader), text) << code;
    }
    Failing cut(0);
    char buffer[11];
    cut.GetErrorMessage(buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "An unknown");
}

TEST_F(BrooksideXMLTest, OpenClearsAndCloseDoesNot) {
    BrooksideXML reader;
    ASSERT_EQ(reader.Open("<a/>", "memory"), 0xa5);
    reader.Close();
    EXPECT_EQ(reader.GetStatus(), 0xa5);
    ASSERT_EQ(reader.Open(OneWafer(Interval("f_a", "1", 1, 1)).c_str(), "memory"), 0);
    reader.Close();
    EXPECT_EQ(reader.SizeWafer(), 1);
    for (int round = 0; round < 2; ++round) {
        CountingSink sink;
        ASSERT_EQ(reader.Read(&sink), 0);
        EXPECT_EQ(sink.cells, 8);
    }
    ASSERT_EQ(reader.Open("<a/>", "memory"), 0xa5);
    EXPECT_EQ(reader.SizeWafer(), 0);
    EXPECT_EQ(reader.GetAttribute(BrooksideXML::AttributeTopic), "");
}

TEST_F(BrooksideXMLTest, NothingOutsideIsOpened) {
    const std::string secret = folder.Write("secret", "Time\tRow\tA\n1\t1\t42\nNUM_DATA_ROWS");
    const std::string wafers = DataSet("W01", "l", Interval("f_a", "1", 1, 1));
    EXPECT_EQ(Failure(Document("<RawData name=\"l\">&x;</RawData>", wafers,
                               "<!DOCTYPE FDCRequest [<!ENTITY x SYSTEM \"file://" + secret + "\">]>"),
                      0xa5),
              "XML Parse error:\r\nCould not find RawData for file 'l'");
    ExpectReads(Document(RawData("l", ThreeRows), wafers,
                         "<!DOCTYPE FDCRequest SYSTEM \"http://localhost:9/x.dtd\">"));
    ExpectReads(Document(RawData("l", ThreeRows), wafers,
                         "<!DOCTYPE FDCRequest [<!ENTITY % x SYSTEM \"http://localhost:9/x.dtd\"> %x;]>"));
}

TEST_F(BrooksideXMLTest, EntitiesDoNotGrowWithoutEnd) {
    std::string entities = "<!ENTITY e0 \"0123456789\">";
    for (int i = 1; i < 12; ++i) {
        std::string uses;
        for (int use = 0; use < 10; ++use) {
            uses += "&e" + std::to_string(i - 1) + ";";
        }
        entities += "<!ENTITY e" + std::to_string(i) + " \"" + uses + "\">";
    }
    EXPECT_EQ(Failure(Document("<RawData name=\"l\">&e11;</RawData>", "",
                               "<!DOCTYPE FDCRequest [" + entities + "]>"),
                      0xa0)
                  .substr(0, 18),
              "XML Parse error:\r\n");
}

TEST_F(BrooksideXMLTest, ElementWithTooManyAttributesIsStatus0xa0) {
    for (const int count : {1000, 1001}) {
        std::string element = "<FDCRequest";
        for (int i = 0; i < count; ++i) {
            element += " a" + std::to_string(i) + "=\"\"";
        }
        BrooksideXML reader;
        EXPECT_EQ(reader.Open((element + "/>").c_str(), nullptr), count == 1000 ? 0xa5 : 0xa0);
    }
}

TEST_F(BrooksideXMLTest, ValidDocumentIsOfThisKind) {
    const std::string valid = OneWafer(Interval("f_a", "1", 1, 1, "<SumData name=\"A\" value=\"1\"/>"));
    EXPECT_EQ(BrooksideXML::IsMyKindOfFile(folder.Write("lot.xml", valid).c_str()), KindYes);
    // The grammar is known wherever the document says that it lies.
    const std::string elsewhere =
        Replaced(valid, "SYSTEM \"FDCRequest.dtd\"", "SYSTEM \"http://localhost:9/dtd/FDCRequest.dtd\"");
    EXPECT_EQ(BrooksideXML::IsMyKindOfFile(folder.Write("lot.xml", elsewhere).c_str()), KindYes);
}

TEST_F(BrooksideXMLTest, InvalidDocumentIsNotOfThisKind) {
    const std::string valid = OneWafer(Interval("f_a", "1", 1, 1));
    const std::string documents[] = {
        OneWafer(""),  // a wafer without an interval
        Replaced(valid, "<!DOCTYPE FDCRequest SYSTEM \"FDCRequest.dtd\">", ""),  // no grammar
        Replaced(valid, "FDCRequest.dtd", "other.dtd"),
        Replaced(valid, "Brookside.PSDA", "Somebody.else"),
        Replaced(valid, " slotID=\"3\"", ""),
        Replaced(valid, "<Response", "<Note/><Response"),
        "<FDCRequest>",
        ""};
    for (const std::string& document : documents) {
        EXPECT_EQ(BrooksideXML::IsMyKindOfFile(folder.Write("lot.xml", document).c_str()), KindNo)
            << document;
    }
    EXPECT_EQ(BrooksideXML::IsMyKindOfFile(folder.Path("none.xml").c_str()), KindNo);
}

TEST_F(BrooksideXMLTest, FactoryGoesByTheExtension) {
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        if (std::string(SprFileFactory::GetInfo(i)->formatName) == Format) {
            EXPECT_EQ(SprFileFactory::IsMyKindOfFile(i, "a/none.XmL"), KindProbably);
            EXPECT_EQ(SprFileFactory::IsMyKindOfFile(i, "none.txt"), KindUnknown);
            EXPECT_EQ(SprFileFactory::IsMyKindOfFile(i, "xml"), KindUnknown);
        }
    }
}

TEST_F(BrooksideXMLTest, FactsTellWhatTheDocumentHolds) {
    BrooksideXML reader;
    ASSERT_EQ(
        reader.Open(OneWafer(Interval("b_a", "0", 1, 1) + Interval("f_a", "1", 2, 3)).c_str(), "memory"), 0);
    std::string facts;
    for (const FileContents::Fact& fact : reader.ListFacts()) {
        facts += fact.name + "=" + fact.value + "\n";
    }
    EXPECT_EQ(facts,
              "wafers=1\nphases=2\nsamples=2\nraw texts=1\nvariables=1: A\nequipment=ETCH04\nrecipe=ETCH-7\n"
              "skipped=1 background phase(s)\n");
}

TEST_F(BrooksideXMLTest, DamagedDocumentsEndInAStatusOrTheOneException) {
    const std::string whole = OneWafer(Interval("b_w", "0", 1, 1) + Interval("f_a", "1", 2, 3));
    const auto read = [](const std::string& bytes) {
        BrooksideXML reader;
        if (reader.Open(bytes.c_str(), "memory") != 0) {
            EXPECT_GE(reader.GetStatus(), 0xa0);
            EXPECT_LE(reader.GetStatus(), 0xa5);
            return;
        }
        CountingSink sink;
        try {
            reader.ListFacts();
            reader.Read(&sink);
            EXPECT_TRUE(reader.GetStatus() == 0 || reader.GetStatus() == 0xa3);
        } catch (const Exception& exception) {
            EXPECT_EQ(std::string(exception.what()).substr(0, 7), "Column ");
        }
    };
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        read(whole.substr(0, length));
    }
    std::mt19937 random(20090302);
    for (int round = 0; round < 400; ++round) {
        std::string bytes = whole;
        for (std::size_t i = 0; i < bytes.size() / 100; ++i) {
            // Half of them in the raw text and the attributes behind it, where a document survives.
            bytes[random() % bytes.size()] =
                static_cast<char>(round % 2 == 0 ? random() : '0' + random() % 10);
        }
        read(bytes);
    }
}
