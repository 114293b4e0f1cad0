#include "text/DelimitedText.h"

#include <gtest/gtest.h>

#include <memory>

#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "table/TableData.h"
#include "tests/support/CountingSink.h"
#include "tests/support/QuotedRows.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

namespace {

/** A read of one text, and what it told. */
struct CompleteRead {
    TableData table;
    std::shared_ptr<karta::ReadContext> context = std::make_shared<karta::ReadContext>();
    std::vector<FileContents::Fact> facts;
    int status = 0;
    std::string error;

    std::string At(int col, int row) { return table.GetString(col, row); }
    /** All cells: fields parted by |, records by /. */
    std::string All() {
        std::string text;
        for (int row = 1; row <= table.GetNumberOfRows(); ++row) {
            text += row > 1 ? "/" : "";
            for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
                text += (col > 1 ? "|" : "") + At(col, row);
            }
        }
        return text;
    }
    /** The kinds of a column's cells, a letter each. */
    std::string Kinds(int col) const {
        std::string kinds;
        for (int row = 1; row <= const_cast<TableData&>(table).GetNumberOfRows(); ++row) {
            kinds += "-tiidfbDTXUe"[table.GetKind(col, row)];
        }
        return kinds;
    }
    std::string FactOf(const std::string& name) const {
        for (const FileContents::Fact& fact : facts) {
            if (fact.name == name) {
                return fact.value;
            }
        }
        return "?";
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

class DelimitedTextTest : public testing::Test {
protected:
    std::unique_ptr<CompleteRead> Read(std::string_view bytes, TestOptions options = TestOptions(""),
                                       const char* format = "Text File") {
        auto read = std::make_unique<CompleteRead>();
        const std::unique_ptr<SpreadsheetFile> reader(NewReader(format));
        read->context->reading = karta::Reading::Complete;
        dynamic_cast<FormatReader&>(*reader).SetContext(read->context);
        read->status = reader->Open(true, folder.Write("table.txt", bytes).c_str(), options.Get());
        if (read->status == 0) {
            read->status = reader->Read(&read->table);
            read->facts = dynamic_cast<FileContents&>(*reader).ListFacts();
        }
        read->error = ErrorOf(*reader);
        return read;
    }
    std::string All(std::string_view bytes, TestOptions options = TestOptions("")) {
        return Read(bytes, std::move(options))->All();
    }

    TempFolder folder;
};

/** A table that takes each row once. */
class StreamingTable : public TableData {
public:
    bool KeepsRows() const override { return false; }
    void EndRow(int row) override { rowsEnded = row; }
    int rowsEnded = 0;
};

std::string Repeat(const std::string& line, int times) {
    std::string text;
    for (int i = 0; i < times; ++i) {
        text += line;
    }
    return text;
}

}  // namespace

TEST_F(DelimitedTextTest, EdgeCasesOfFields) {
    EXPECT_EQ(All("\"1,5\";\"a;b\"\n\"2,5\";\"c;d\"\n"), "1,5|a;b/2,5|c;d");
    EXPECT_EQ(All("a,b\r1,2\r"), "a|b/1|2");
    EXPECT_EQ(All("a,b\n1,2\r\n3,4\r5,6"), "a|b/1|2/3|4/5|6");
    EXPECT_EQ(All("a,b\n\"x,1\ny,2\nz,3\n"), "a|b/\"x|1/y|2/z|3");
    EXPECT_EQ(All("a,b\n5\" pipe,1\n6\" pipe,2\n"), "a|b/5\" pipe|1/6\" pipe|2");
    EXPECT_EQ(All("a,b\n\"say \"\"hi\"\"\",1\n\"x\ny\",2\n"), "a|b/say \"hi\"|1/x\ny|2");
    EXPECT_EQ(All("a|b\n1|2\n3|4\n"), "a|b/1|2/3|4");
    EXPECT_EQ(All("a,b\n x , y \n\"p\" , q\n"), "a|b/ x | y /p| q");
}

TEST_F(DelimitedTextTest, EveryRecordIsARow) {
    EXPECT_EQ(All("Title\nby us\n\na;b\n1;2\n3;4\n5;6\n7;8\n"), "Title|/by us|/|/a|b/1|2/3|4/5|6/7|8");
    EXPECT_EQ(All("a,b,c\n1,2\n1,2,3,4\n5,6,7\n8,9,0\n5,6,7\n8,9,1\n"),
              "a|b|c|/1|2||/1|2|3|4/5|6|7|/8|9|0|/5|6|7|/8|9|1|");
    EXPECT_EQ(All("a,b\n1,2\n\n"), "a|b/1|2/|");
    EXPECT_EQ(All("sep=;\na;b,c\n1;2\n"), "a|b,c/1|2");
}

// What behind the last blank isn't there is an empty field at the text's end all the same.
TEST_F(DelimitedTextTest, BlankAtTheEndOfAFileWithoutALineEnd) {
    EXPECT_EQ(All("hello "), "hello ");
    EXPECT_EQ(All("hello you \nhello you "), "hello you /hello you ");
    EXPECT_EQ(All(std::string("\0\0\b\x81 \0", 6)).substr(0, 1), "\b");
}

TEST_F(DelimitedTextTest, EmptyFileIsAnEmptyTableWithANote) {
    const auto read = Read("");
    EXPECT_EQ(read->status, 0);
    EXPECT_EQ(read->table.GetNumberOfRows(), 0);
    EXPECT_TRUE(read->HasNote("empty-file"));
}

TEST_F(DelimitedTextTest, Encodings) {
    EXPECT_EQ(All(std::string_view("a\0;\0b\0\n\0\x31\0;\0\xe4\0\n\0", 16)), "a|b/1|\u00e4");
    EXPECT_EQ(All(std::string_view("\xfe\xff\0a\0;\0b\0\n\0\x31\0;\0\x32\0\n", 18)), "a|b/1|2");
    EXPECT_EQ(All("\xef\xbb\xbf"
                  "a;b\n1;2\n"),
              "a|b/1|2");
    const auto latin = Read("a;b\nM\xfcller;2\n");
    EXPECT_EQ(latin->All(), "a|b/M\u00fcller|2");
    EXPECT_TRUE(latin->HasNote("assumed-encoding"));
    EXPECT_EQ(latin->FactOf("encoding"), "Windows-1252");
    EXPECT_EQ(All("a;b\n\xcf\xf0;2\n", TestOptions({{"Encoding", "windows-1251"}})), "a|b/\u041f\u0440|2");
    EXPECT_NE(Read("a", TestOptions({{"Encoding", "klingon"}}))->status, 0);
    const auto nul = Read(std::string_view("a;b\n1\0;2\n\x1a", 10));
    EXPECT_EQ(nul->All(), "a|b/1|2");
    EXPECT_TRUE(nul->HasNote("dropped-nuls"));
    EXPECT_TRUE(nul->HasNote("dropped-end-mark"));
}

// A file whose bytes beyond its beginning aren't UTF-8 is none of it from the start.
TEST_F(DelimitedTextTest, BytesFarBehindTellTheEncodingOfATable) {
    const auto read = Read("\xc3\xa9;1\n" + Repeat("word;1\n", 200'000) + "M\xfcller;2\n");
    EXPECT_EQ(read->At(1, 1), "\u00c3\u00a9");
    EXPECT_EQ(read->At(1, 200'002), "M\u00fcller");
    EXPECT_EQ(read->FactOf("encoding"), "Windows-1252");
}

// A megabyte of plain text lets the rest be looked at while it is read: what turns out otherwise there is as
// if it had been looked at before.
TEST_F(DelimitedTextTest, PlainTextThatTurnsOutOtherwiseFarBehindIsReadAsThat) {
    const int rows = 200'000;
    const std::string plain = "a,b\n" + Repeat("1.5,x\n", rows);
    const std::string more = Repeat("2.5,y\n", rows);
    struct Turn {
        std::string line;
        const char* number;
        const char* text;
        const char* note;
    };
    using namespace std::string_literals;
    const std::vector<Turn> turns = {{"3.5,caf\xe9\n", "3.5", "caf\xc3\xa9", "assumed-encoding"},
                                     {"3.5,caf\xc3\xa9\n", "3.5", "caf\xc3\xa9", nullptr},
                                     {"3.\0005,z\n"s, "3.5", "z", "dropped-nuls"},
                                     {"\0003.5,z\n"s, "3.5", "z", "dropped-nuls"},
                                     {"\"3.5\0\",\"z\0\"\"\"\n"s, "3.5", "z\"", "dropped-nuls"},
                                     {"3.5,\"z\nz \xe9\"\n", "3.5", "z\nz \xc3\xa9", "assumed-encoding"},
                                     {"3.5,\"z\n", "3.5", "\"z", nullptr}};
    for (const Turn& turn : turns) {
        const auto read = Read(plain + turn.line + more);
        ASSERT_EQ(read->status, 0) << turn.line;
        EXPECT_EQ(read->table.GetNumberOfRows(), 1 + rows + 1 + rows) << turn.line;
        EXPECT_EQ(read->At(1, rows + 2), turn.number) << turn.line;
        EXPECT_EQ(read->At(2, rows + 2), turn.text) << turn.line;
        for (const int row : {2, rows + 1, rows + 3, 2 * rows + 2}) {
            EXPECT_EQ(read->At(1, row), row < rows + 2 ? "1.5" : "2.5") << turn.line;
            EXPECT_EQ(read->At(2, row), row < rows + 2 ? "x" : "y") << turn.line;
        }
        for (const char* note : {"assumed-encoding", "dropped-nuls", "not-utf-8"}) {
            EXPECT_EQ(read->HasNote(note), turn.note != nullptr && std::string(note) == turn.note)
                << note << turn.line;
        }
    }
}

TEST_F(DelimitedTextTest, PlainTextOfManyRecordsByThemselvesMayTurnOutOtherwiseToo) {
    const int rows = 150'000;
    const auto read = Read("a,b\n" + Repeat("1.5,x\n1.5,x,x\n", rows) + "3.5,caf\xe9\n3.5,caf\xe9,\xe9\n" +
                           Repeat("2.5,y\n", rows));
    EXPECT_EQ(read->table.GetNumberOfRows(), 1 + 2 * rows + 2 + rows);
    EXPECT_EQ(read->At(2, 2 * rows + 2), "caf\xc3\xa9");
    EXPECT_EQ(read->At(3, 2 * rows + 3), "\xc3\xa9");
    EXPECT_TRUE(read->HasNote("assumed-encoding"));
}

// Of a text that NULs fill up, all is the beginning.
TEST_F(DelimitedTextTest, NulsBehindPlainTextAreLeftOut) {
    const int rows = 200'000;
    for (const int nuls : {1, 5'000}) {
        const auto read =
            Read("a,b\n" + Repeat("1.5,x\n", rows) + std::string(static_cast<std::size_t>(nuls), '\0'));
        EXPECT_EQ(read->table.GetNumberOfRows(), 1 + rows);
        EXPECT_EQ(read->At(2, 1 + rows), "x");
        EXPECT_TRUE(read->HasNote("dropped-nuls"));
    }
}

TEST_F(DelimitedTextTest, PackedFilesAreRefusedByName) {
    const auto gzip = Read("\x1f\x8b\x08xyz");
    EXPECT_NE(gzip->status, 0);
    EXPECT_NE(gzip->error.find("gzip"), std::string::npos) << gzip->error;
    EXPECT_NE(Read("PK\x03\x04xyz", TestOptions(""), "CSV File")->error.find("zip"), std::string::npos);
}

TEST_F(DelimitedTextTest, TypesOfColumns) {
    const auto read = Read(
        "id,n,b,d,t,dt,z\n"
        "007,1.50,true,2025-09-17,12:30,2025-09-17 12:30:05.5,12345678901234567\n"
        "8,+5,FALSE,2024-02-29,9:05:01,2025-09-17,3\n"
        ",NA,,,,,\n");
    EXPECT_EQ(read->Kinds(1), "ttt-");
    EXPECT_EQ(read->Kinds(2), "tff-");
    EXPECT_EQ(read->Kinds(3), "tbb-");
    EXPECT_EQ(read->Kinds(4), "tDD-");
    EXPECT_EQ(read->Kinds(5), "tTT-");
    EXPECT_EQ(read->Kinds(6), "tXX-");
    EXPECT_EQ(read->Kinds(7), "tif-");
    EXPECT_EQ(read->All(),
              "id|n|b|d|t|dt|z/"
              "007|1.50|true|2025-09-17|12:30|2025-09-17 12:30:05.5|12345678901234567/"
              "8|+5|FALSE|2024-02-29|9:05:01|2025-09-17|3/|NA|||||");
    EXPECT_DOUBLE_EQ(read->table.GetFloatValue(2, 2), 1.5);
    EXPECT_DOUBLE_EQ(read->table.GetFloatValue(2, 3), 5.0);
    EXPECT_EQ(read->table.GetInt64(7, 2), 12345678901234567);
    EXPECT_EQ(read->FactOf("types"),
              "1 text, 2 number, 3 true or false, 4 date, 5 time, 6 date and time, 7 number");
}

TEST_F(DelimitedTextTest, NumbersOfAllForms) {
    const auto read = Read(
        "x\n\u2212"
        "5\n.5\n5.\n1.5D+3\n1e3\ninf\n-0\n");
    EXPECT_EQ(read->Kinds(1), "tfffffff");
    EXPECT_EQ(read->table.GetFloatValue(1, 2), -5.0);
    EXPECT_EQ(read->table.GetFloatValue(1, 5), 1500.0);
    EXPECT_EQ(read->At(1, 2),
              "\u2212"
              "5");
    EXPECT_EQ(Read("x\n5\n0x1F\n")->Kinds(1), "ttt");
    EXPECT_EQ(Read("x\n5\n5%\n")->Kinds(1), "ttt");
    EXPECT_EQ(Read("x\n5\n99999999999999999999\n")->Kinds(1), "ttt");
}

TEST_F(DelimitedTextTest, DecimalMarkIsAFactOfTheFile) {
    const auto comma = Read("a;b;c\n1,5;1.234,5;1,234\n0,125;2.345.678,1;5\n");
    EXPECT_EQ(comma->Kinds(1), "tff");
    EXPECT_EQ(comma->table.GetFloatValue(1, 2), 1.5);
    EXPECT_EQ(comma->table.GetFloatValue(2, 2), 1234.5);
    EXPECT_EQ(comma->table.GetFloatValue(3, 2), 1.234);
    EXPECT_EQ(comma->FactOf("decimal mark"), ",");
    // Nothing tells: text, with a note.
    const auto lone = Read("a;b\n1,234;x\n5,678;y\n");
    EXPECT_EQ(lone->Kinds(1), "ttt");
    EXPECT_TRUE(lone->HasNote("unsettled-numbers"));
    // Nor does anybody ask.
    const auto untyped = Read("a;b\n1,234;x\n5,678;y\n", TestOptions({{"Types", "false"}}));
    EXPECT_FALSE(untyped->HasNote("unsettled-numbers"));
    EXPECT_EQ(Read("a;b\n1,234;x\n5,678;y\n", TestOptions({{"Decimal", ","}}))->table.GetFloatValue(1, 2),
              1.234);
    // A comma between fields can't be a decimal mark too.
    EXPECT_EQ(Read("a,b\n\"1,5\",x\n\"2,5\",y\n")->Kinds(1), "ttt");
    const auto groups = Read("a;b\n1,234.50;1,234\n5.25;2,345\n");
    EXPECT_EQ(groups->table.GetFloatValue(1, 2), 1234.5);
    EXPECT_EQ(groups->table.GetFloatValue(2, 2), 1234.0);
    // What would be a number with another mark keeps its characters.
    const auto points = Read("a;b\n1.234,5;1.234\n2,5;2.345\n");
    EXPECT_EQ(points->table.GetFloatValue(2, 2), 1234.0);
    EXPECT_EQ(points->At(2, 2), "1.234");
    const auto swiss = Read("a;b\n1'234.50;x\n12.25;y\n");
    EXPECT_EQ(swiss->table.GetFloatValue(1, 2), 1234.5);
}

TEST_F(DelimitedTextTest, DatesOfPeopleNeedAnOrder) {
    EXPECT_EQ(Read("d;x\n3/4/2025;1\n5/4/2025;2\n")->Kinds(1), "ttt");
    const auto read = Read("d;x\n3/4/2025;1\n5/4/2025;2\n", TestOptions({{"DateOrder", "DMY"}}));
    EXPECT_EQ(read->Kinds(1), "tDD");
    EXPECT_EQ(read->At(1, 2), "3/4/2025");
    const auto zone = Read("t;x\n2025-01-01T12:00:00+02:00;1\n");
    EXPECT_EQ(zone->table.GetInt64(1, 2),
              std::int64_t{20089} * 86'400'000'000 + std::int64_t{36'000'000'000});
    EXPECT_TRUE(zone->HasNote("time-zones"));
}

TEST_F(DelimitedTextTest, HeadsAreFacts) {
    const auto units = Read("# made by us\nt;p;name\ns;bar;\n1.5;2;x\n2.5;3;y\n");
    EXPECT_EQ(units->context->shape.nameRow, 2);
    EXPECT_EQ(units->context->shape.unitRow, 3);
    EXPECT_EQ(units->context->shape.firstDataRow, 4);
    EXPECT_EQ(units->Kinds(1), "tttff");
    EXPECT_EQ(Read("1;2\n4;7\n5;1\n")->context->shape.nameRow, 0);
    EXPECT_EQ(Read("1,2,3\n4,5,6\n7,8,9\n")->context->shape.nameRow, 0);
    const auto years = Read("mass;2019;2020\n1;2;3\n4;5;7\n");
    EXPECT_EQ(years->context->shape.nameRow, 1);
    const auto axis = Read("name,400,402,404,406\nA,0.1,0.2,0.4,0.3\nB,0.3,0.2,0.1,0.5\n");
    EXPECT_EQ(axis->context->shape.axisRow, 1);
    EXPECT_EQ(axis->context->shape.firstBlockColumn, 2);
    EXPECT_EQ(axis->table.GetFloatValue(3, 1), 402.0);
    const auto index = Read("x y\n1 2 3\n2 5 6\n3 7 9\n");
    EXPECT_EQ(index->FactOf("index column"), "1");
    EXPECT_EQ(index->context->shape.firstNamedColumn, 2);
    const auto remark = Read("# a remark\n#x,y\n1,2\n3,4\n5,6\n");
    EXPECT_EQ(remark->context->shape.nameRow, 2);
    EXPECT_EQ(Read("x,y\n1,2\n3,4\n", TestOptions({{"Header", "0"}}))->context->shape.nameRow, 0);
}

// Names of ten thousand wavelengths are longer than the beginning that the dialect is told by.
TEST_F(DelimitedTextTest, FirstRecordLongerThanWhatIsLookedAtIsDividedAsAnyOther) {
    constexpr int Wavelengths = 10'000;
    std::string names = "sample";
    std::string values;
    for (int i = 0; i < Wavelengths; ++i) {
        names += ';' + std::to_string(400'000 + i);
        values += ";0," + std::to_string(1 + i % 9);
    }
    ASSERT_GT(names.size(), std::size_t{1} << 16);
    const auto read = Read(names + "\nfirst" + values + "\nsecond" + values + "\n");
    EXPECT_EQ(read->table.GetNumberOfColumns(), Wavelengths + 1);
    EXPECT_EQ(read->table.GetNumberOfRows(), 3);
    EXPECT_EQ(read->context->shape.nameRow, 1);
    EXPECT_EQ(read->table.GetFloatValue(Wavelengths + 1, 1), 400'000.0 + Wavelengths - 1);
    EXPECT_EQ(read->table.GetFloatValue(2, 3), 0.1);
}

// Of most records the head keeps only what they hold together; a head far down is found all the same.
TEST_F(DelimitedTextTest, HeadBelowALongPreambleIsThatBelowAShortOne) {
    const std::string table = "t;p;name\ns;bar;\n" + Repeat("1.5;2;x\n", 200);
    for (const int preamble : {0, 20, 27, 28, 29, 61, 62, 63, 64, 65, 66, 100}) {
        SCOPED_TRACE(preamble);
        const auto read = Read(Repeat("made by us\n", preamble) + table);
        EXPECT_EQ(read->context->shape.nameRow, preamble + 1);
        EXPECT_EQ(read->context->shape.unitRow, preamble + 2);
        EXPECT_EQ(read->context->shape.firstDataRow, preamble + 3);
        const auto given = Read(Repeat("1;2;x\n", preamble) + table,
                                TestOptions({{"Header", std::to_string(preamble + 1)}}));
        EXPECT_EQ(given->context->shape.nameRow, preamble + 1);
        EXPECT_EQ(given->context->shape.unitRow, preamble + 2);
    }
}

// The first records may be of another width than most.
TEST_F(DelimitedTextTest, MostRecordsTellTheWidthWhateverTheFirstOnesHave) {
    for (const char* other : {"1;2\n", "1;\"a\" b\n"}) {
        const auto read = Read(Repeat(other, 100) + Repeat("1;2.5;x\n", 300));
        EXPECT_EQ(read->context->shape.firstDataRow, 101) << other;
        EXPECT_EQ(read->Kinds(2).substr(100), std::string(300, 'f')) << other;
    }
}

// A text among a column's records that aren't kept by themselves.
TEST_F(DelimitedTextTest, EveryRecordOfTheBeginningVotes) {
    const std::string rows = Repeat("1;2.5\n", 500);
    for (const char* odd : {"", "# remark;x\n", "1;x;y\n"}) {
        EXPECT_TRUE(Read(rows + odd + rows)->FactOf("types").starts_with("1-2 number")) << odd;
    }
    EXPECT_EQ(Read(rows + "1;x\n" + rows)->FactOf("types"), "1 number, 2 text");
}

TEST_F(DelimitedTextTest, RecordThatLacksADelimiterDoesNotHideTheNames) {
    const auto read = Read("a,b,c\n1,2\n1,2,3\n4,5,6\n7,8,9\n1,2,3\n");
    EXPECT_EQ(read->context->shape.nameRow, 1);
    EXPECT_EQ(read->Kinds(3), "t-ffff");
}

// Asked for the columns below its fields, it would be asked for one that there isn't.
TEST_F(DelimitedTextTest, AWiderRecordBelowUnitsIsNoRemark) {
    const auto read = Read("name,value,note\nu,m,v\na,,c,d\nx,7,y\nz,8,w\n");
    EXPECT_EQ(read->context->shape.unitRow, 2);
    EXPECT_EQ(read->All(), "name|value|note|/u|m|v|/a||c|d/x|7|y|/z|8|w|");
}

TEST_F(DelimitedTextTest, RemarksBelowUnitsLeaveTheColumnsNumbers) {
    const auto read = Read("t\tA\tB\ns\tV\tV\n\tRun 1\tRun 2\n1\t0.1\t0.2\n2\t0.11\t0.21\n3\t0.3\t0.4\n");
    EXPECT_EQ(read->context->shape.unitRow, 2);
    EXPECT_EQ(read->context->shape.firstDataRow, 4);
    EXPECT_EQ(read->Kinds(2), "tttfff");
}

TEST_F(DelimitedTextTest, PreambleOfTheTablesWidthHasNoVote) {
    const auto read =
        Read("Channels\t2\t\nSamples\t3\t3\nX_Value\tVolt\tComment\n" + Repeat("0.5\t1.5\t\n", 8));
    EXPECT_EQ(read->context->shape.nameRow, 3);
    EXPECT_EQ(read->Kinds(1), "tttffffffff");
    // Data are none of it.
    EXPECT_EQ(Read("a,b\n1,2\n3,4\na,b\n5,6\n7,8\n")->context->shape.nameRow, 1);
}

TEST_F(DelimitedTextTest, AxisAboveASpectrumThatRisesTooIsOne) {
    const auto read = Read("conc,400,402,404,406\n1.5,0.1,0.2,0.3,0.4\n2.5,0.3,0.2,0.1,0.5\n");
    EXPECT_EQ(read->context->shape.axisRow, 1);
    EXPECT_EQ(read->Kinds(1), "tff");
}

// What a quote that is missing, or one too many, does to its own record, and to no other.
TEST_F(DelimitedTextTest, BrokenQuotesStayInTheirRecord) {
    const std::string head = "a,b,c\n7,8,9\n";
    const std::string rest = "1,2,3\n1,2,3\n1,2,3\n4,\"x, y\",6\n";
    const std::string tail = "/1|2|3/1|2|3/1|2|3/4|x, y|6";
    EXPECT_EQ(All(head + "1,2,\"late, 2 days\n" + rest), "a|b|c/7|8|9/1|2|late, 2 days" + tail);
    EXPECT_EQ(All(head + "1,2,\"late, 2 days\"\"\n" + rest), "a|b|c/7|8|9/1|2|late, 2 days\"" + tail);
    EXPECT_EQ(All(head + "1,\"p\"2,3\n" + rest), "a|b|c/7|8|9/1|p2|3" + tail);
    EXPECT_EQ(All(head + "1,\"p\"2\n" + rest), "a|b|c/7|8|9/1|p2|" + tail);
    EXPECT_EQ(All(head + "\"1,2,3\n" + rest), "a|b|c/7|8|9/\"1|2|3" + tail);
    EXPECT_EQ(All(head + "1,\"he \"is\" so\",3\n" + rest), "a|b|c/7|8|9/1|he \"is\" so|3" + tail);
    EXPECT_EQ(All(head + "1,\"12\" wide\",3\n" + rest), "a|b|c/7|8|9/1|12\" wide|3" + tail);
    EXPECT_EQ(All(head + "1,\"p\" and \"q\",3\n" + rest), "a|b|c/7|8|9/1|p and \"q\"|3" + tail);
    // A field may go over lines that are no records.
    EXPECT_EQ(All(head + "1,\"say \"hi\" loud\nto me\",3\n" + rest),
              "a|b|c/7|8|9/1|say \"hi\" loud\nto me|3" + tail);
}

// Of records that a quote goes over the usual width is that of before they were read otherwise.
TEST_F(DelimitedTextTest, WidthsAreThoseOfRecordsAsTheirQuotesHaveThem) {
    const auto repeat = [](int count, const std::string& line) {
        std::string lines;
        for (int i = 0; i < count; ++i) {
            lines += line;
        }
        return lines;
    };
    const std::string narrow = repeat(14, "1,1\n") + "\"open\n1,1\n";
    const std::string wide = repeat(3, "1,1,1,1\n") + "\"multi\nline\",2\n" + repeat(14, "1,1,1,1\n");
    EXPECT_EQ(Read(narrow + wide)->context->shape.firstDataRow, 1);
}

TEST_F(DelimitedTextTest, RareDelimitersWhereNothingSpeaksAgainstThem) {
    const auto blanks = Read("a, b, c\n1, \"x, y\", 3\n4, , 6\n7, 8,\n");
    EXPECT_EQ(blanks->All(), "a|b|c/1|x, y|3/4||6/7|8|");
    EXPECT_EQ(blanks->FactOf("delimiter"), ",");
    EXPECT_EQ(blanks->FactOf("blank behind each delimiter"), "left out");
    EXPECT_EQ(All("a, b,c\n1, x,3\n"), "a| b|c/1| x|3");
    EXPECT_EQ(All("a,  b,  c\n1,  x,  3\n"), "a|  b|  c/1|  x|  3");
    EXPECT_EQ(All("a::b::c\n1::x::3\n4::y::6\n"), "a|b|c/1|x|3/4|y|6");
    EXPECT_EQ(All("a||b||c\n1||x||3\n4||y||6\n"), "a|b|c/1|x|3/4|y|6");
    EXPECT_EQ(All("a^b^c\n1^x^3\n4^y^6\n"), "a|b|c/1|x|3/4|y|6");
    EXPECT_EQ(All("first last state phone\nJohn Smith WA 1-1\nMary Ford CA 2-2\nPete Hill OR 3-3\n"),
              "first|last|state|phone/John|Smith|WA|1-1/Mary|Ford|CA|2-2/Pete|Hill|OR|3-3");
    EXPECT_EQ(All("\"a\" \"b\"\n\"1\" \"x y\" z\n\"2\" \"u\" w\n\"3\" \"v\" w\n"),
              "a|b|/1|x y|z/2|u|w/3|v|w");
    EXPECT_EQ(All("This is a sentence.\nThis was a phrase.\nHere is a poem.\nThere it goes on.\n"),
              "This is a sentence./This was a phrase./Here is a poem./There it goes on.");
    EXPECT_EQ(Read(Repeat("1 234 567\n", 12))->FactOf("delimiter"), "none");
}

TEST_F(DelimitedTextTest, OverridesGoBeforeGuesses) {
    EXPECT_EQ(All("a,b;c\n1,2;3\n", TestOptions({{"Delimiter", ";"}})), "a,b|c/1,2|3");
    EXPECT_EQ(All("a::b\n1::2\n", TestOptions({{"Delimiter", "::"}})), "a|b/1|2");
    EXPECT_EQ(Read("a;b\n1;2\n", TestOptions({{"TextColumns", "b"}}))->Kinds(2), "tt");
    EXPECT_EQ(Read("a;b\n1;2\n", TestOptions({{"TextColumns", "1"}}))->Kinds(1), "tt");
    EXPECT_NE(Read("a;b\n1;2\n", TestOptions({{"TextColumns", "zz"}}))->status, 0);
    EXPECT_EQ(Read("a;b\n1;2\n", TestOptions({{"Types", "false"}}))->Kinds(1), "tt");
    EXPECT_NE(Read("a;b\n1;2\n", TestOptions({{"Decimal", "x"}}))->status, 0);
}

TEST_F(DelimitedTextTest, ColumnThatTurnsOutOtherwiseIsConvertedAgain) {
    const std::string bytes = "a;b\n" + Repeat("1.50;\n", 200'000) + "word;7\n";
    const auto read = Read(bytes);
    EXPECT_EQ(read->table.GetKind(1, 2), TableData::Text);
    EXPECT_EQ(read->At(1, 2), "1.50");
    EXPECT_EQ(read->table.GetKind(2, 200'002), TableData::Double);
    EXPECT_FALSE(read->HasNote("late-texts"));
}

TEST_F(DelimitedTextTest, SinkThatLetsGoOfRowsKeepsTheHeadsDecision) {
    const std::string bytes = "a;b\n" + Repeat("1.50;x\n", 200'000) + "word;\xfcy\n";
    const std::unique_ptr<SpreadsheetFile> reader(NewReader("Text File"));
    auto context = std::make_shared<karta::ReadContext>();
    context->reading = karta::Reading::Complete;
    dynamic_cast<FormatReader&>(*reader).SetContext(context);
    ASSERT_EQ(reader->Open(true, folder.Write("table.txt", bytes).c_str(), nullptr), 0);
    StreamingTable table;
    ASSERT_EQ(reader->Read(&table), 0);
    EXPECT_EQ(table.GetKind(1, 2), TableData::Double);
    EXPECT_EQ(table.GetString(1, 2), "1.50");
    EXPECT_EQ(table.GetKind(1, 200'002), TableData::Text);
    EXPECT_EQ(table.GetString(2, 200'002), "\u00fcy");
    EXPECT_EQ(table.rowsEnded, 200'002);
    ASSERT_EQ(context->notes.GetAll().size(), 2U);
    EXPECT_EQ(context->notes.GetAll()[0].code, "not-utf-8");
    EXPECT_EQ(context->notes.GetAll()[1].code, "late-texts");
    EXPECT_EQ(context->notes.GetAll()[1].place, "line 200002");
}

TEST_F(DelimitedTextTest, StopEndsTheRead) {
    const std::unique_ptr<SpreadsheetFile> reader(NewReader("CSV File"));
    auto context = std::make_shared<karta::ReadContext>();
    context->reading = karta::Reading::Complete;
    std::stop_source stop;
    context->stop = stop.get_token();
    dynamic_cast<FormatReader&>(*reader).SetContext(context);
    ASSERT_EQ(reader->Open(true, folder.Write("table.csv", "a,b\n1,2\n").c_str(), nullptr), 0);
    stop.request_stop();
    CountingSink sink;
    EXPECT_THROW(reader->Read(&sink), karta::Stopped);
}

TEST_F(DelimitedTextTest, SizeCanBeAskedBeforeTheRead) {
    const std::unique_ptr<SpreadsheetFile> reader(NewReader("CSV File"));
    auto context = std::make_shared<karta::ReadContext>();
    context->reading = karta::Reading::Complete;
    dynamic_cast<FormatReader&>(*reader).SetContext(context);
    ASSERT_EQ(reader->Open(true, folder.Write("table.csv", "a,b\n1,2\n3\n").c_str(), nullptr), 0);
    EXPECT_EQ(reader->GetNumRows(), 3);
    EXPECT_EQ(reader->GetNumCols(), 2);
}

// Text that invites to try other readings at each record costs its bytes some times over, not squared.
TEST_F(DelimitedTextTest, BrokenQuotesCostNoMoreThanTheirBytes) {
    for (const char* line : {"\"a\"b\n", "\"a\",\"\n", "\"a\"b\"\",\n", "\"x\n", "a,\"\"\"\n"}) {
        const auto read = Read("a,b\n1,2\n1,2\n" + Repeat(line, 300'000), TestOptions({{"Delimiter", ","}}));
        EXPECT_EQ(read->status, 0) << line;
    }
}

namespace {

/** A table that takes runs down its columns, as tables in columns do. */
class ColumnTable : public TableData {
public:
    bool PrefersColumns() const override { return true; }
    void SetColumnRun(int col, int firstRow, std::span<const double> values) override {
        longestRun = std::max(longestRun, values.size());
        TableData::SetColumnRun(col, firstRow, values);
    }
    std::size_t longestRun = 0;
};

/** Rows of all kinds, enough of them for several threads: the parameter tells how odd they are. */
std::string MakeManyRows(int rows, int oddEvery) {
    std::string text = "id\tx\tname\twhen\tcode\n";
    for (int i = 1; i <= rows; ++i) {
        const std::string number = std::to_string(i);
        text += number + "\t" + std::to_string(i % 97) + "." + std::to_string(100 + i % 900) + "\tname " +
                (i % 3 == 0 ? "" : number) + "\t2024-01-" + std::to_string(10 + i % 19) + "\t" +
                (i % 7 == 0    ? "NA"
                 : i % 11 == 0 ? ""
                               : "+" + number) +
                "\n";
        if (i % oddEvery == 0) {
            switch (i / oddEvery % 6) {
                case 0:
                    text += "# remark\n";
                    break;
                case 1:
                    text += "1\t2\n";
                    break;
                case 2:
                    text += "1\t2\t\"a\tb\nc\"\t2024-01-01\t5\n";
                    break;
                case 3:
                    text += "\n";
                    break;
                case 4:
                    text += "1\t2.5\tx\t2024-01-01\t5\r6\t7\ty\t2024-01-02\t8\r\n";
                    break;
                default:
                    text += "1\t2\t3\t2024-02-02\t5\t6\n";
                    break;
            }
        }
    }
    return text;
}

}  // namespace

// The same cells come of lines read one by one, in pieces on several threads, along rows and down columns.
TEST_F(DelimitedTextTest, PiecesHaveTheCellsOfTheirLines) {
    for (const int oddEvery : {7, 1000, 30'011, 10'000'000}) {
        const std::string many = MakeManyRows(90'000, oddEvery);
        ASSERT_GT(many.size(), std::size_t{3} << 20);
        // Two bytes that part the fields are never read in pieces.
        std::string slow;
        for (const char c : many) {
            slow.append(c == '\t' ? 2 : 1, c);
        }
        const auto inRows = Read(many, TestOptions({{"Delimiter", "\t"}}));
        const auto oneByOne = Read(slow, TestOptions({{"Delimiter", "\t\t"}}));
        EXPECT_EQ(inRows->FactOf("types"), oneByOne->FactOf("types"));

        const std::unique_ptr<SpreadsheetFile> reader(NewReader("Text File"));
        auto context = std::make_shared<karta::ReadContext>();
        context->reading = karta::Reading::Complete;
        dynamic_cast<FormatReader&>(*reader).SetContext(context);
        ASSERT_EQ(reader->Open(true, folder.Write("table.txt", many).c_str(), nullptr), 0);
        ColumnTable inColumns;
        ASSERT_EQ(reader->Read(&inColumns), 0);

        ASSERT_EQ(inRows->table.GetNumberOfRows(), oneByOne->table.GetNumberOfRows());
        ASSERT_EQ(inColumns.GetNumberOfRows(), oneByOne->table.GetNumberOfRows());
        ASSERT_EQ(inColumns.GetNumberOfColumns(), oneByOne->table.GetNumberOfColumns());
        int differences = 0;
        for (int row = 1; row <= oneByOne->table.GetNumberOfRows(); ++row) {
            for (int col = 1; col <= oneByOne->table.GetNumberOfColumns(); ++col) {
                const std::string wanted = oneByOne->At(col, row);
                const auto kind = oneByOne->table.GetKind(col, row);
                // A quoted field of the other text has a doubled delimiter in it.
                const bool isOther = wanted.find("\t\t") != std::string::npos;
                differences +=
                    !isOther &&
                            (inRows->At(col, row) != wanted || inColumns.GetString(col, row) != wanted ||
                             inRows->table.GetKind(col, row) != kind || inColumns.GetKind(col, row) != kind)
                        ? 1
                        : 0;
            }
        }
        EXPECT_EQ(differences, 0) << oddEvery;
        if (oddEvery > 1'000'000) {
            EXPECT_GT(inColumns.longestRun, 3000U);
        }
    }
}

// Pieces begin and end in all places of quoted fields: what comes of them is what records one by one give.
TEST_F(DelimitedTextTest, QuotedFieldsInPiecesAreThoseOfTheirRecords) {
    for (const char* lineEnd : {"\n", "\r\n"}) {
        for (const int oddEvery : {0, 5, 173, 5003}) {
            const std::string many = MakeQuotedRows(oddEvery == 5 ? 4000 : 40'000, oddEvery, lineEnd);
            const auto inPieces = Read(many, TestOptions({{"Delimiter", "\t"}}));
            const auto oneByOne = Read(WithTwoTabs(many), TestOptions({{"Delimiter", "\t\t"}}));
            SCOPED_TRACE(oddEvery);
            EXPECT_EQ(inPieces->FactOf("types"), oneByOne->FactOf("types"));
            ASSERT_EQ(inPieces->table.GetNumberOfRows(), oneByOne->table.GetNumberOfRows());
            ASSERT_EQ(inPieces->table.GetNumberOfColumns(), oneByOne->table.GetNumberOfColumns());
            int differences = 0;
            for (int row = 1; row <= oneByOne->table.GetNumberOfRows(); ++row) {
                for (int col = 1; col <= oneByOne->table.GetNumberOfColumns(); ++col) {
                    differences +=
                        inPieces->At(col, row) != WithOneTab(oneByOne->At(col, row)) ||
                                inPieces->table.GetKind(col, row) != oneByOne->table.GetKind(col, row)
                            ? 1
                            : 0;
                }
            }
            EXPECT_EQ(differences, 0);
            const auto& notes = inPieces->context->notes.GetAll();
            ASSERT_EQ(notes.size(), oneByOne->context->notes.GetAll().size());
            for (std::size_t i = 0; i < notes.size(); ++i) {
                EXPECT_EQ(notes[i].text, oneByOne->context->notes.GetAll()[i].text);
            }
        }
    }
}

// A quote at each place around the ends of the first pieces.
TEST_F(DelimitedTextTest, QuotesAtTheEndsOfPieces) {
    constexpr std::size_t FirstEnd = std::size_t{1} << 15;
    const std::string line = "1\tab\n";
    for (std::size_t shift = 0; shift < 24; ++shift) {
        std::string text = "a\tb\n" + Repeat(line, static_cast<int>(FirstEnd / line.size()) - 3);
        text.replace(text.size() - line.size() * 8, 0, std::string(shift, 'x'));
        text += "7\t\"one\ntwo\n\"\"three\"\" four\nfive\n\"\n" + Repeat(line, 60'000) +
                "8\t\"to the end\n\"\n9\t\"z";
        const auto inPieces = Read(text, TestOptions({{"Delimiter", "\t"}}));
        const auto oneByOne = Read(WithTwoTabs(text), TestOptions({{"Delimiter", "\t\t"}}));
        ASSERT_EQ(inPieces->table.GetNumberOfRows(), oneByOne->table.GetNumberOfRows()) << shift;
        int differences = 0;
        for (int row = 1; row <= oneByOne->table.GetNumberOfRows(); ++row) {
            differences += inPieces->At(1, row) != oneByOne->At(1, row) ? 1 : 0;
            differences += inPieces->At(2, row) != oneByOne->At(2, row) ? 1 : 0;
        }
        EXPECT_EQ(differences, 0) << shift;
        EXPECT_TRUE(inPieces->HasNote("unclosed-quote"));
    }
}

TEST_F(DelimitedTextTest, ContradictionsInPiecesAreCountedAndPlaced) {
    const std::string bytes = "a;b\n" + Repeat("1.5;2024-01-01T10:00:00Z\n", 150'000) + "word;x\n" +
                              Repeat("2.5;2024-01-01T10:00:00Z\n", 10) + "other;\n";
    const std::unique_ptr<SpreadsheetFile> reader(NewReader("Text File"));
    auto context = std::make_shared<karta::ReadContext>();
    context->reading = karta::Reading::Complete;
    dynamic_cast<FormatReader&>(*reader).SetContext(context);
    ASSERT_EQ(reader->Open(true, folder.Write("table.txt", bytes).c_str(), nullptr), 0);
    StreamingTable table;
    ASSERT_EQ(reader->Read(&table), 0);
    EXPECT_EQ(table.rowsEnded, 150'013);
    ASSERT_EQ(context->notes.GetAll().size(), 2U);
    EXPECT_EQ(context->notes.GetAll()[0].code, "late-texts");
    EXPECT_EQ(context->notes.GetAll()[0].count, 3U);
    EXPECT_EQ(context->notes.GetAll()[0].place, "line 150002");
    EXPECT_EQ(context->notes.GetAll()[1].code, "time-zones");
    EXPECT_EQ(context->notes.GetAll()[1].count, 150'010U);
    EXPECT_EQ(context->notes.GetAll()[1].place, "line 2");
}

// All lengths of digits, at all places of a line, as the C library reads them.
TEST_F(DelimitedTextTest, PlainNumbersOfAllLengths) {
    std::string text = "x,y\n";
    std::vector<std::string> numbers;
    for (int whole = 1; whole <= 17; ++whole) {
        for (int fraction = 0; fraction <= 17; ++fraction) {
            const std::string digits = "73910284655192837";
            numbers.push_back(
                (whole % 3 == 0 ? "-" : "") + digits.substr(0, static_cast<std::size_t>(whole)) +
                (fraction == 0 ? ".5" : "." + digits.substr(0, static_cast<std::size_t>(fraction))));
            text += numbers.back() + "," + numbers.back() + "\n";
        }
    }
    const auto read = Read(text);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const int row = static_cast<int>(i) + 2;
        EXPECT_EQ(read->table.GetFloatValue(1, row), std::strtod(numbers[i].c_str(), nullptr)) << numbers[i];
        EXPECT_EQ(read->table.GetFloatValue(2, row), std::strtod(numbers[i].c_str(), nullptr)) << numbers[i];
        EXPECT_EQ(read->At(1, row), numbers[i]);
    }
}
