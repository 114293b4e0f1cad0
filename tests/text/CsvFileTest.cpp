#include "text/CsvFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

#include "table/TableData.h"
#include "tests/support/CountingSink.h"
#include "tests/support/CsvOutcome.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SameTables.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpreadsheetTruth.h"
#include "tests/support/TempFolder.h"
#include "text/CsvSyntax.h"

namespace {

constexpr const char* Format = "CSV File";

class CsvFileTest : public testing::Test {
protected:
    std::string Trace(std::string_view bytes, const TraceOptions& how = {}) {
        return ReadTrace(Format, folder.Write("table.csv", bytes), how);
    }
    std::string Cells(std::string_view bytes) { return CellsOf(Trace(bytes)); }

    TempFolder folder;
};

// What every trace begins with: the size isn't known before the read.
const std::string Opened = "Format \"CSV File\"\nOpen 0x0\nGetNumRows 1\nGetNumCols 1\nSetDataSize 1 1\n";
// Once the first line has passed, the sink starts from one cell.
const std::string Begun = Opened + "SetDataSize 1 1\n";
const std::string ParseFailed = "Read 0x301\nError \"Failed to read file.\"\nClose\n";
const std::string NotPrintable =
    "Read 0x305\nError \"The file is not a correct .csv file. It contains non printable characters or "
    "#.\"\nClose\n";

/** A host's way: looks at the whole file first and sizes the sink in one go. */
class TwoStepFile : public CsvFile {
public:
    int GetSelectedDelimiter(char* /*firstLine*/, file_iterator begin, file_iterator end,
                             CsvParser* parser) override {
        const CsvSyntax syntax(*parser, '|');
        if (!boost::spirit::classic::parse(begin, end, syntax).full) {
            status = StatusReadFailed;
            return status;
        }
        parser->ResetSpreadSheet(parser->row - 1);
        boost::spirit::classic::parse(begin, end, syntax);
        parser->Finished();
        return status;
    }
};

/** Reads with the grammar where CsvFile reads with the scanner. */
class GrammarFile : public CsvFile {
public:
    int GetSelectedDelimiter(char* firstLine, file_iterator begin, file_iterator end,
                             CsvParser* parser) override {
        const std::string_view line = firstLine;
        const bool semicolon =
            std::count(line.begin(), line.end(), ';') > std::count(line.begin(), line.end(), ',');
        const CsvSyntax syntax(*parser, semicolon ? ';' : ',');
        if (!boost::spirit::classic::parse(begin, end, syntax).full) {
            status = StatusReadFailed;
            return status;
        }
        parser->Finished();
        return status;
    }
};

/** Keeps the sizes that it was given. */
class SizeSink : public CountingSink {
public:
    void SetDataSize(int newCols, int newRows) override {
        CountingSink::SetDataSize(newCols, newRows);
        sizes += std::to_string(newCols) + "x" + std::to_string(newRows) + " ";
    }
    std::string sizes;
};

std::string RandomText(std::mt19937& random, std::string_view alphabet, std::size_t longest) {
    std::string text(random() % longest, '\0');
    for (char& c : text) {
        c = alphabet[random() % alphabet.size()];
    }
    return text;
}

}  // namespace

TEST_F(CsvFileTest, GrowsTheSinkWhileItParses) {
    EXPECT_EQ(Trace("a,b\n1,2\n"), Begun +
                                       "Set 1 1 text \"a\"\nSetDataSize 2 1\nSet 2 1 text \"b\"\n"
                                       "SetDataSize 2 2\nSet 1 2 text \"1\"\nSet 2 2 text \"2\"\n"
                                       "SetDataSize 2 3\nSetDataSize 2 2\nRead 0x0\nClose\n");
}

TEST_F(CsvFileTest, MoreSemicolonsThanCommasMakeTheSemicolonTheDelimiter) {
    EXPECT_EQ(Cells("a,b;c;d\n"), "Set 1 1 text \"a,b\"\nSet 2 1 text \"c\"\nSet 3 1 text \"d\"\n");
}

TEST_F(CsvFileTest, DelimitersInsideQuotesCountForTheChoice) {
    EXPECT_EQ(Cells("\"a;b;c\",d\n"), "Set 1 1 text \"a;b;c\"\n");
}

TEST_F(CsvFileTest, AsManyOfBothMakeTheCommaTheDelimiter) {
    EXPECT_EQ(Cells("a;b,c\n"), "Set 1 1 text \"a;b\"\nSet 2 1 text \"c\"\n");
}

TEST_F(CsvFileTest, EmptyFieldSetsNothingAndCounts) {
    EXPECT_EQ(Cells("a,,c\n"), "Set 1 1 text \"a\"\nSet 3 1 text \"c\"\n");
}

TEST_F(CsvFileTest, LineBreakInsideQuotesStaysInItsCell) {
    EXPECT_EQ(Trace("\"a\r\nb\",c\nd\n"),
              Begun +
                  "Set 1 1 text \"a\\r\\nb\"\nSetDataSize 2 1\nSet 2 1 text \"c\"\n"
                  "SetDataSize 2 2\nSet 1 2 text \"d\"\nSetDataSize 2 3\nSetDataSize 2 2\n"
                  "Read 0x0\nClose\n");
}

TEST_F(CsvFileTest, TwoQuotesAloneSetNothing) {
    EXPECT_EQ(Cells("\"\",b\n"), "Set 2 1 text \"b\"\n");
}

TEST_F(CsvFileTest, DoubledQuotesInsideQuotesBecomeOne) {
    EXPECT_EQ(Cells("\"say \"\"hi\"\"\",\"\"\"\"\n"),
              "Set 1 1 text \"say \\\"hi\\\"\"\nSet 2 1 text \"\\\"\"\n");
}

TEST_F(CsvFileTest, HashInTheFirstLineIsRefusedBeforeTheSinkIsTouched) {
    EXPECT_EQ(Trace("a,#b\n"), Opened + NotPrintable);
}

TEST_F(CsvFileTest, HashInALaterLineFailsTheParseAndCellsStay) {
    EXPECT_EQ(Trace("a\n#b\n"), Begun + "Set 1 1 text \"a\"\nSetDataSize 1 2\n" + ParseFailed);
    EXPECT_EQ(Trace("a\n\"#\"\n"), Begun + "Set 1 1 text \"a\"\nSetDataSize 1 2\n" + ParseFailed);
}

TEST_F(CsvFileTest, TabInTheFirstLinePassesTheChoiceAndFailsTheParse) {
    EXPECT_EQ(Trace("a\tb\n"), Begun + "Set 1 1 text \"a\"\n" + ParseFailed);
}

TEST_F(CsvFileTest, HighBytesAreRefusedInTheFirstLineOnly) {
    EXPECT_EQ(Trace("\xc3\xa5\n"), Opened + NotPrintable);
    EXPECT_EQ(Cells("a\n\xc3\xa5\n"), "Set 1 1 text \"a\"\nSet 1 2 text \"\\xc3\\xa5\"\n");
}

TEST_F(CsvFileTest, ByteOrderMarkIsRefused) {
    EXPECT_EQ(Trace("\xef\xbb\xbf"
                    "a,b\n"),
              Opened + NotPrintable);
}

TEST_F(CsvFileTest, ByteFfEndsTheLookAtTheFirstLine) {
    EXPECT_EQ(Cells("a,b\xff;;;\n"), "Set 1 1 text \"a\"\nSet 2 1 text \"b\\xff;;;\"\n");
}

TEST_F(CsvFileTest, NulEndsTheLookAtTheFirstLineAndFailsTheParse) {
    EXPECT_EQ(Trace(std::string_view("a\0#,b\n", 6)), Begun + "Set 1 1 text \"a\"\n" + ParseFailed);
}

TEST_F(CsvFileTest, CarriageReturnsAreSkippedInTheFirstLine) {
    // With carriage returns alone the first line goes on, and so do its checks.
    EXPECT_EQ(Cells("a;b\rc;d\r"),
              "Set 1 1 text \"a\"\nSet 2 1 text \"b\"\nSet 1 2 text \"c\"\nSet 2 2 text \"d\"\n");
    EXPECT_EQ(Trace("a;b\r#\r"), Opened + NotPrintable);
}

TEST_F(CsvFileTest, LongFirstLineIsLookedAtUpToItsLimit) {
    const std::string line = std::string(1021, 'x') + ",;";  // 1023 bytes: one of each
    EXPECT_EQ(Cells(line + ";;y\n"),
              "Set 1 1 text \"" + std::string(1021, 'x') + "\"\nSet 2 1 text \";;;y\"\n");
    EXPECT_EQ(Trace(std::string(1022, 'x') + "#\n"), Opened + NotPrintable);
    EXPECT_EQ(Trace(std::string(1023, 'x') + "\xe4\n"), Begun + "Set 1 1 text \"" + std::string(1023, 'x') +
                                                            "\\xe4\"\nSetDataSize 1 2\nSetDataSize 1 1\n" +
                                                            "Read 0x0\nClose\n");
}

TEST_F(CsvFileTest, TabsAtTheEndOfTheFirstLineBufferStayInside) {
    for (std::size_t before = 1018; before <= 1024; ++before) {
        EXPECT_NE(Trace(std::string(before, 'x') + "\t\t#\n").find("Read 0x30"), std::string::npos) << before;
    }
    // A TAB takes three places there: of 341 of them nothing is left for what follows.
    EXPECT_NE(Trace(std::string(340, '\t') + "x#\n").find("Read 0x305"), std::string::npos);
    EXPECT_NE(Trace(std::string(341, '\t') + "#\n").find("Read 0x301"), std::string::npos);
}

TEST_F(CsvFileTest, SingleLineOf1500BytesIsReadWhole) {
    EXPECT_EQ(Cells(std::string(1500, 'x')), "Set 1 1 text \"" + std::string(1500, 'x') + "\"\n");
}

TEST_F(CsvFileTest, LineEndsOfAllThreeKinds) {
    const std::string cells = "Set 1 1 text \"a\"\nSet 1 2 text \"b\"\n";
    EXPECT_EQ(Cells("a\nb\n"), cells);
    EXPECT_EQ(Cells("a\rb\r"), cells);
    EXPECT_EQ(Cells("a\r\nb\r\n"), cells);
    EXPECT_EQ(Cells("a\n\rb"), "Set 1 1 text \"a\"\nSet 1 3 text \"b\"\n");
}

TEST_F(CsvFileTest, OnlyTheLastLineEndMakesNoRow) {
    EXPECT_NE(Trace("a\n").find("SetDataSize 1 2\nSetDataSize 1 1\nRead"), std::string::npos);
    EXPECT_NE(Trace("a").find("Set 1 1 text \"a\"\nSetDataSize 1 1\nRead"), std::string::npos);
    EXPECT_NE(Trace("a\n\n").find("SetDataSize 1 3\nSetDataSize 1 2\nRead"), std::string::npos);
}

TEST_F(CsvFileTest, OneLineEndAloneIsATableOfOneEmptyRow) {
    EXPECT_EQ(Trace("\n"), Begun + "SetDataSize 1 2\nSetDataSize 1 1\nRead 0x0\nClose\n");
}

TEST_F(CsvFileTest, LongerLaterRowWidensTheTable) {
    EXPECT_EQ(Trace("a\nb,c\nd"),
              Begun +
                  "Set 1 1 text \"a\"\nSetDataSize 1 2\nSet 1 2 text \"b\"\nSetDataSize 2 2\n"
                  "Set 2 2 text \"c\"\nSetDataSize 2 3\nSet 1 3 text \"d\"\nSetDataSize 2 3\n"
                  "Read 0x0\nClose\n");
}

TEST_F(CsvFileTest, QuoteThatIsNeverClosedFailsBeforeItsField) {
    EXPECT_EQ(Trace("a,\"b,c\nd"), Begun + "Set 1 1 text \"a\"\nSetDataSize 2 1\n" + ParseFailed);
}

TEST_F(CsvFileTest, TextBehindAClosingQuoteFailsAfterItsField) {
    EXPECT_EQ(Trace("\"a\"b,c\n"), Begun + "Set 1 1 text \"a\"\n" + ParseFailed);
}

TEST_F(CsvFileTest, EmptyMissingOrDirectoryIsNoData) {
    const std::string noData = Opened + "Read 0x304\nError \"The file contains no data.\"\nClose\n";
    EXPECT_EQ(Trace(""), noData);
    EXPECT_EQ(ReadTrace(Format, folder.Path("none.csv")), noData);
    EXPECT_EQ(ReadTrace(Format, folder.Path("")), noData);
}

TEST_F(CsvFileTest, RowFilterIsNotAsked) {
    EXPECT_EQ(Trace("a\nb\n", {nullptr, "2", 0, true}).find("NextRowToRead"), std::string::npos);
    EXPECT_EQ(CellsOf(Trace("a\nb\n", {nullptr, "2"})), "Set 1 1 text \"a\"\nSet 1 2 text \"b\"\n");
}

TEST_F(CsvFileTest, OptionsAreIgnored) {
    TestOptions semicolon{{"Delimiter", ";"}};
    EXPECT_EQ(CellsOf(Trace("a,b;c\n", {semicolon.Get()})), "Set 1 1 text \"a\"\nSet 2 1 text \"b;c\"\n");
    TestOptions garbage(std::string("rubbish"));
    EXPECT_NE(Trace("a\n", {garbage.Get()}).find("Read 0x0"), std::string::npos);
}

TEST_F(CsvFileTest, StatusTextsAreExact) {
    struct Failing : CsvFile {
        explicit Failing(int code) { status = code; }
    };
    const std::pair<int, const char*> texts[] = {
        {0x300, "Failed to open stream for reading."},
        {0x301, "Failed to read file."},
        {0x302, "Can not write csv files."},
        {0x303, "Read canceled by user."},
        {0x304, "The file contains no data."},
        {0x305, "The file is not a correct .csv file. It contains non printable characters or #."},
        {0x306, "No further information available."}};
    for (const auto& [code, text] : texts) {
        Failing reader(code);
        EXPECT_EQ(ErrorOf(reader), text);
    }
}

TEST_F(CsvFileTest, WritingIsStatus0x302) {
    CsvFile file;
    EXPECT_EQ(file.Open(false, folder.Path("out.csv").c_str(), nullptr), 0x302);
    TableData table;
    EXPECT_EQ(file.Read(&table), 0x302);
    file.Close();
    EXPECT_EQ(file.GetStatus(), 0);
}

TEST_F(CsvFileTest, SizeIsOneByOneBeforeTheRead) {
    CsvFile file;
    EXPECT_EQ(file.GetNumCols(), 1);
    EXPECT_EQ(file.GetNumRows(), 1);
    EXPECT_EQ(file.EstablishSize(), 0);
}

TEST_F(CsvFileTest, VerdictIsAlwaysUnknown) {
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        if (std::string(SprFileFactory::GetInfo(i)->formatName) == Format) {
            EXPECT_EQ(SprFileFactory::IsMyKindOfFile(i, folder.Write("a.csv", "a\n").c_str()), KindUnknown);
        }
    }
}

TEST_F(CsvFileTest, HostCanParseTwiceAndSizeTheSinkInOneGo) {
    const std::string path = folder.Write("table.csv", "a|b\n1|2\n3|4\n");
    TwoStepFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    SizeSink sink;
    ASSERT_EQ(reader.Read(&sink), 0);
    // Once step by step; then back to one cell, and with the second row to all rows; and the last empty row
    // off.
    EXPECT_EQ(sink.sizes, "1x1 2x1 2x2 2x3 2x4 1x1 2x1 2x4 2x3 ");
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_EQ(table.GetNumberOfRows(), 3);
    EXPECT_STREQ(table.GetText(2, 3), "4");
}

TEST_F(CsvFileTest, ResetEmptiesTheFirstCell) {
    TableData table;
    CsvParser parser(&table);
    const char text[] = "old";
    parser.nonescapedCallback(text, text + 3);
    parser.ResetSpreadSheet(7);
    EXPECT_EQ(parser.expectedRows, 7);
    EXPECT_EQ(parser.col, 1);
    EXPECT_EQ(parser.row, 1);
    EXPECT_EQ(parser.sheetCols, 1);
    EXPECT_EQ(parser.sheetRows, 1);
    EXPECT_FALSE(parser.endsWithNewLine);
    EXPECT_STREQ(table.GetText(1, 1), "");
}

TEST_F(CsvFileTest, MoreRowsThanAnIntCountsAreFlagged) {
    CountingSink sink;
    CsvParser parser(&sink);
    const char text[] = "x";
    parser.row = std::numeric_limits<std::int32_t>::max();
    parser.recordCallback(text, text);
    EXPECT_EQ(parser.row, std::numeric_limits<std::int32_t>::max());
    EXPECT_TRUE(parser.IsOverfull());
    parser.nonescapedCallback(text, text + 1);
    EXPECT_EQ(sink.cells, 0);
}

TEST_F(CsvFileTest, ScannerAgreesWithTheGrammarOnEveryShortText) {
    const std::string_view alphabet = "a,\"\r\n#\xe4";
    constexpr std::size_t Longest = 6;
    for (std::size_t length = 0; length <= Longest; ++length) {
        std::vector<std::size_t> digits(length, 0);
        std::string text(length, alphabet[0]);
        bool more = true;
        while (more) {
            const std::string expected = CsvOutcomeOfGrammar(text, ',');
            ASSERT_EQ(CsvOutcomeOfScanner(text, ','), expected) << testing::PrintToString(text);
            more = false;
            for (std::size_t i = 0; i < length && !more; ++i) {
                digits[i] = (digits[i] + 1) % alphabet.size();
                text[i] = alphabet[digits[i]];
                more = digits[i] != 0;
            }
        }
    }
}

TEST_F(CsvFileTest, ScannerAgreesWithTheGrammarOnRandomTexts) {
    std::mt19937 random(20261121);
    // Bytes that matter, more often those that let a text go on.
    const std::string alphabet =
        std::string("aaaabc  ,,,,;;;\"\"\"\"\"\"\r\n\n\n\xe4\xff~") + "#\t\x7f" + '\0';
    for (int round = 0; round < 20000; ++round) {
        const std::string text = RandomText(random, alphabet, 60);
        for (const char delimiter : {',', ';', '\t', '|'}) {
            ASSERT_EQ(CsvOutcomeOfScanner(text, delimiter), CsvOutcomeOfGrammar(text, delimiter))
                << testing::PrintToString(text) << " by " << delimiter;
        }
    }
}

TEST_F(CsvFileTest, FileReadEitherWayGivesTheSameTableAndStatus) {
    std::mt19937 random(4711);
    const std::string_view alphabet = "ab,;\"\"\"\n\n\r#\t";
    for (int round = 0; round < 1000; ++round) {
        const std::string path = folder.Write("random.csv", RandomText(random, alphabet, 80));
        CsvFile scanned;
        GrammarFile parsed;
        scanned.Open(true, path.c_str(), nullptr);
        parsed.Open(true, path.c_str(), nullptr);
        TableData left;
        TableData right;
        ASSERT_EQ(scanned.Read(&left), parsed.Read(&right));
        ExpectSameTables(left, right);
        ASSERT_FALSE(HasFatalFailure());
    }
}

TEST_F(CsvFileTest, DamagedFileEndsInAStatus) {
    const std::string good =
        "name,value,note\r\nwater,1.5,\"a \"\"b\"\", c\"\r\nacid,,\"two\r\nlines\"\r\nsalt,7,\r\n";
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        std::string damaged = good;
        for (std::size_t i = 0; i <= good.size() / 100; ++i) {
            damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        EXPECT_NE(Trace(damaged).find("Read 0x"), std::string::npos);
    }
    for (std::size_t length = 0; length < good.size(); ++length) {
        EXPECT_NE(Trace(good.substr(0, length)).find("Read 0x"), std::string::npos);
    }
}

TEST_F(CsvFileTest, MillionColumnsInOneRowOnly) {
    const std::string path = folder.Write("wide.csv", "a\n" + std::string(999'999, ',') + "z\nb\n");
    CsvFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_EQ(table.GetNumberOfColumns(), 1'000'000);
    EXPECT_EQ(table.GetNumberOfRows(), 3);
    EXPECT_STREQ(table.GetText(1'000'000, 2), "z");
    EXPECT_STREQ(table.GetText(1, 3), "b");
}

TEST_F(CsvFileTest, FieldOfManyMegabytes) {
    constexpr std::size_t Size = 20'000'000;
    const std::string quotes(Size, '"');
    const std::string path = folder.Write("field.csv", "a," + quotes + "\n" + std::string(Size, 'x') + "\n");
    CsvFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    TableData table;
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_EQ(std::string_view(table.GetText(2, 1)).size(), Size / 2 - 1);
    EXPECT_EQ(std::string_view(table.GetText(1, 2)).size(), Size);
}

TEST_F(CsvFileTest, RealFilesHoldWhatAnIndependentReaderFound) {
    SKIP_WITHOUT_SHARED_DATA();
    // Those that the format's own rules refuse: a byte order mark or a high byte in the first line, and "#".
    const std::vector<std::pair<std::string, int>> refused = {{"mac-cr-only.csv", 0x305},
                                                              {"russian-cp1251-semicolon.csv", 0x301},
                                                              {"stock-bom.csv", 0x305},
                                                              {"utf16-little.csv", 0x301}};
    int files = 0;
    for (const std::string& path : SharedFiles("data/spreadsheet/csv")) {
        if (path.ends_with(".json") || path.find("/bad/") != std::string::npos) {
            continue;
        }
        SCOPED_TRACE(path);
        CsvFile reader;
        ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
        TableData table;
        const auto known = std::find_if(refused.begin(), refused.end(),
                                        [&](const auto& entry) { return path.ends_with("/" + entry.first); });
        ASSERT_EQ(reader.Read(&table), known == refused.end() ? 0 : known->second);
        if (known != refused.end()) {
            continue;
        }
        const SpreadsheetTruth truth = ReadSpreadsheetTruth(path);
        const SpreadsheetTruth::Sheet& sheet = truth.sheets.at(0);
        EXPECT_EQ(table.GetNumberOfRows(), sheet.rows);
        EXPECT_EQ(table.GetNumberOfColumns(), sheet.cols);
        for (const SpreadsheetTruth::Cell& cell : sheet.cells) {
            // The truth is in UTF-8; we keep the file's bytes, whatever they are.
            const bool ascii =
                std::all_of(cell.value.begin(), cell.value.end(), [](char c) { return c > 0; });
            if (ascii || truth.encoding.starts_with("utf-8")) {
                EXPECT_EQ(table.GetString(cell.col, cell.row), cell.value)
                    << "column " << cell.col << ", row " << cell.row;
            }
        }
        ++files;
    }
    EXPECT_GE(files, 8);
}
