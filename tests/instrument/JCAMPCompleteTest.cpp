#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/ReadContext.h"
#include "frame/CompleteOptions.h"
#include "frame/FormatRecogniser.h"
#include "instrument/JCAMPDecoder.h"
#include "instrument/JCAMPFile.h"
#include "table/TableData.h"
#include "tests/support/Damage.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

namespace {

/** The complete reading of one selection. */
class JCAMPCompleteTest : public testing::Test {
protected:
    int Read(const std::string& paths, NvImportOpenOptions* options) {
        reader = std::make_unique<JCAMPFile>();
        context = std::make_shared<karta::ReadContext>();
        context->reading = karta::Reading::Complete;
        reader->SetContext(context);
        table.Clear();
        reader->Open(true, paths.c_str(), options);
        return reader->Read(&table);
    }
    int Read(const std::string& paths, const std::string& part = "") {
        TestOptions options{{CompleteOptions::Part, part}};
        return Read(paths, part.empty() ? nullptr : options.Get());
    }
    int ReadText(const std::string& text, const std::string& part = "") {
        return Read(folder.Write("a.dx", text), part);
    }
    std::string Row(int row) {
        std::string cells;
        for (int col = 1; col <= table.GetNumberOfColumns(); ++col) {
            cells += (col == 1 ? "" : "|") + table.GetString(col, row);
        }
        return cells;
    }
    // The values of the first spectrum of a block with these data.
    std::string Values(const std::string& data, const std::string& labels = "",
                       const std::string& kind = "XYDATA= (X++(Y..Y))") {
        const std::string text =
            "##TITLE=a\n##XUNITS=nm\n" + labels + "##" + kind + "\n" + data + "\n##END=\n";
        if (ReadText(text) != 0) {
            return ErrorOf(*reader);
        }
        return Row(3).substr(std::string("2|a||").size());
    }
    std::string Notes() const {
        std::string texts;
        for (const karta::Note& note : context->notes.GetAll()) {
            texts += note.text + "\n";
        }
        return texts;
    }

    TempFolder folder;
    std::unique_ptr<JCAMPFile> reader;
    std::shared_ptr<karta::ReadContext> context;
    TableData table;
};

std::string Head(const std::string& title, int points, double last) {
    return "##TITLE=" + title +
           "\n##JCAMP-DX=4.24\n##DATA TYPE=INFRARED SPECTRUM\n##XUNITS=1/CM\n##YUNITS=A\n" +
           "##FIRSTX=400\n##LASTX=" + std::to_string(last) + "\n##NPOINTS=" + std::to_string(points) + "\n";
}

std::string Block(const std::string& title, int points = 3, double last = 404) {
    std::string text = Head(title, points, last) + "##XYDATA=(X++(Y..Y))\n400";
    for (int i = 1; i <= points; ++i) {
        text += " " + std::to_string(i);
    }
    return text + "\n##END=\n";
}

std::string Peaks(const std::string& title, const std::string& data) {
    return "##TITLE=" + title + "\n##DATA TYPE=MASS SPECTRUM\n##XUNITS=M/Z\n##PEAK TABLE=(XY..XY)\n" + data +
           "\n##END=\n";
}

std::string Link(const std::string& blocks, int count) {
    return "##TITLE=all\n##DATA TYPE=LINK\n##BLOCKS=" + std::to_string(count) + "\n" + blocks + "##END=\n";
}

const std::string NTuples =
    "##TITLE=n\n##DATA TYPE=NMR SPECTRUM\n##DATA CLASS=NTUPLES\n##NTUPLES=NMR SPECTRUM\n"
    "##VAR_NAME=FREQUENCY, SPECTRUM/REAL, SPECTRUM/IMAG, PAGE NUMBER\n##SYMBOL=X, R, I, N\n"
    "##VAR_FORM=AFFN, ASDF, ASDF, AFFN\n##VAR_DIM=3, 3, 3, 2\n##UNITS=HZ, AU, AU,\n"
    "##FIRST=10, 1, 1, 1\n##LAST=0, 3, 3, 2\n##FACTOR=1, 2, 3, 1\n"
    "##PAGE= N=1\n##DATA TABLE= (X++(R..R)), XYDATA\n10 1 2 3\n"
    "##PAGE= N=2\n##DATA TABLE= (X++(I..I)), XYDATA\n10 1 2 3\n##END NTUPLES= NMR SPECTRUM\n##END=\n";

}  // namespace

TEST_F(JCAMPCompleteTest, TableHasNamesAxisAndTypes) {
    const std::string text = Head("water", 3, 404) + "##LONGDATE=2025/09/17\n##TIME=13:42:00\n" +
                             "##XYDATA=(X++(Y..Y))\n400 1 2.5 -99\n##END=\n";
    ASSERT_EQ(ReadText(text), 0);
    EXPECT_EQ(Row(1), "Primary ID|Name|Date|t 400|t 402|t 404");
    EXPECT_EQ(Row(2), "1|1/CM||400|402|404");
    EXPECT_EQ(Row(3), "2|water|2025-09-17T13:42:00|1|2.5|-99");
    EXPECT_EQ(table.GetKind(3, 3), TableData::DateTime);
    EXPECT_EQ(table.GetKind(6, 3), TableData::Double) << "-99 is a value";
    EXPECT_EQ(context->shape.axisQuantity, "wavenumber");
    EXPECT_EQ(context->shape.axisUnit, "1/CM");
    EXPECT_EQ(context->shape.valueUnit, "A");
    EXPECT_EQ(context->shape.firstBlockColumn, 4);
    EXPECT_EQ(Notes(), "");
}

TEST_F(JCAMPCompleteTest, WhatAPageSaysCountsForItsTablesFromThereOn) {
    std::string text = NTuples;
    text.replace(text.find("##DATA TABLE="), 0, "##FACTOR=1, 2,\n 9, 1\n##COMMENT=c\n##FACTOR=1, 10, 3, 1\n");
    text.replace(text.find("##PAGE= N=2"), 0,
                 "##FACTOR=1, 100, 3, 1\n##DATA TABLE= (X++(R..R)), XYDATA\n10 1 2 3\n");
    ASSERT_EQ(ReadText(text), 0);
    EXPECT_TRUE(Row(3).ends_with("|10|20|30")) << Row(3);
    EXPECT_TRUE(Row(4).ends_with("|100|200|300")) << Row(4);
}

TEST_F(JCAMPCompleteTest, DatesAreReadInTheFormatsOrder) {
    const auto date = [&](const std::string& labels) {
        ReadText("##TITLE=a\n" + labels + "##FIRSTX=1\n##LASTX=2\n##XYDATA=(X++(Y..Y))\n1 1 2\n##END=\n");
        return table.GetString(3, 3);
    };
    EXPECT_EQ(date("##DATE=96/11/04\n##TIME=18:07:10.00\n"), "1996-11-04T18:07:10");
    EXPECT_EQ(date("##DATE=81/ 1/ 3\n"), "1981-01-03T00:00:00");
    EXPECT_EQ(date("##DATE=03/30/90\n"), "1990-03-30T00:00:00");
    EXPECT_EQ(date("##DATE=10/11/12\n"), "2010-11-12T00:00:00");
    EXPECT_EQ(date("##DATE=Mon Feb 01 15:24:11 2021\n"), "2021-02-01T15:24:11");
    EXPECT_EQ(date("##DATE=in spring\n"), "in spring");
}

TEST_F(JCAMPCompleteTest, NumbersAreTheNearestDoubles) {
    EXPECT_EQ(Values("1 0.067 1.5E3 2E+2 1E-3 ? 123456789012345678"),
              "0.067|1500|200|0.001||123456789012345680");
    EXPECT_EQ(Values("1 0.30000000000000004 4.35 0.1E1"), "0.30000000000000004|4.35|1");
    // Among packed digits an E is one.
    EXPECT_EQ(Values("1A2E3J"), "12|53|54");
    EXPECT_EQ(Values("1A2T"), "12|12");
}

TEST_F(JCAMPCompleteTest, DecimalCommasAreToldByTheCount) {
    EXPECT_EQ(Values("1 1,5 2,5", "##NPOINTS=2\n##FIRSTX=1\n##LASTX=2\n"), "1.5|2.5");
    EXPECT_EQ(Values("1 1,5 2,5", "##NPOINTS=4\n##FIRSTX=1\n##LASTX=2\n"), "1|5|2|5");
    EXPECT_EQ(Values("1,5 2,5\n3,5 4,5", "##NPOINTS=2\n", "XYPOINTS= (XY..XY)"), "2.5|4.5");
    EXPECT_EQ(Values("1,5 2,5", "##NPOINTS=2\n", "XYPOINTS= (XY..XY)"), "5|5");
    EXPECT_EQ(Row(2), "1|nm||1|2");
    EXPECT_EQ(Values("1.5,2 2.5,3", "##NPOINTS=9\n", "XYPOINTS= (XY..XY)"), "2|3");
}

TEST_F(JCAMPCompleteTest, LetterThatMayBeAnExponentIsToldByTheCount) {
    EXPECT_EQ(Values("20e78", "##NPOINTS=1\n"), "-578");
    EXPECT_EQ(Values("20 3e2", "##NPOINTS=1\n"), "300");
    EXPECT_EQ(Values("20 3E2 4", "##NPOINTS=3\n"), "3|52|4");
}

TEST_F(JCAMPCompleteTest, LabelsAreReadInTheEncodingThatIsAskedFor) {
    const std::string path =
        folder.Write("a.dx", "##TITLE=\x8elan\n##OWNER=M\x9fller\n##XYDATA=(X++(Y..Y))\n1 2\n##END=\n");
    ASSERT_EQ(Read(path), 0);
    EXPECT_EQ(table.GetString(2, 3), "\xc5\xbdlan");
    EXPECT_EQ(context->notes.GetAll().front().code, "encoding");
    EXPECT_EQ(context->notes.GetAll().front().count, 2U);
    TestOptions options{{CompleteOptions::Encoding, "macintosh"}};
    Read(path, options.Get());
    EXPECT_EQ(table.GetString(2, 3), "\xc3\xa9lan");
    EXPECT_EQ(Notes().find("Windows-1252"), std::string::npos);
}

TEST_F(JCAMPCompleteTest, ChecksThatFailAreNotedAndTheValuesKept) {
    EXPECT_EQ(Values("1A0J0\n3B1J0\n5C1", "##NPOINTS=3\n##FIRSTX=1\n##LASTX=3\n"), "10|20|31");
    EXPECT_NE(Notes().find("1 check value at the head of a line differs"), std::string::npos) << Notes();
    EXPECT_NE(Notes().find("(first: line 8)"), std::string::npos) << Notes();
    // Of a check value that stands several times the rest are values.
    EXPECT_EQ(Values("1A0J0\n2B0T\n"), "10|20|20");
}

TEST_F(JCAMPCompleteTest, XGoesByTheDeclaredStepWhateverTheCount) {
    EXPECT_EQ(Values("1 1 2", "##NPOINTS=5\n##FIRSTX=1\n##LASTX=9\n"), "1|2");
    EXPECT_EQ(Row(2), "1|nm||1|3");
    EXPECT_NE(Notes().find("the file tells of 5 points, but has 2 values"), std::string::npos);
    Values("1 1 2 3", "##FIRSTX=1\n##DELTAX=0.5\n");
    EXPECT_EQ(Row(2), "1|nm||1|1.5|2") << "the values are counted where no count is told";
    Values("7 1 2 3", "##LASTX=9\n");
    EXPECT_EQ(Row(2), "1|nm||7|8|9");
    Values("1 1 2\n9 3", "##NPOINTS=3\n##FIRSTX=1\n##LASTX=3\n");
    EXPECT_NE(Notes().find("the heads of 1 line lie up to 6 steps beside the axis"), std::string::npos)
        << Notes();
    Values("1 1 2");
    EXPECT_EQ(Row(2), "1|nm||1|2");
    EXPECT_NE(Notes().find("the points are counted"), std::string::npos);
}

TEST_F(JCAMPCompleteTest, LinesAreWholeAndEndInAnyWay) {
    std::string line = "1";
    std::string expected;
    for (int i = 0; i < 300; ++i) {
        line += " 1234567";
        expected += (i == 0 ? "" : "|") + std::string("1234567");
    }
    EXPECT_EQ(Values(line, "##FIRSTX=1\n##DELTAX=1\n"), expected);
    ASSERT_EQ(ReadText("##TITLE=a\r##FIRSTX=1\r##LASTX=2\r##XYDATA=(X++(Y..Y))\r1 1\r2 2\r##END=\r"), 0);
    EXPECT_EQ(Row(3), "2|a||1|2");
}

TEST_F(JCAMPCompleteTest, WhatPeopleWriteIsAccepted) {
    // A mark, the version before the title, and no end.
    ASSERT_EQ(
        ReadText("\xef\xbb\xbf##JCAMP-DX=5\n##TITLE=a\n##FIRSTX=1\n##LASTX=2\n##XYDATA=(X++(Y..Y))\n1 1 2\n"),
        0);
    EXPECT_EQ(Row(3), "2|a||1|2");
    EXPECT_EQ(Notes(), "1 block has no ##END= (first: that of line 1)\n");
    ASSERT_EQ(ReadText(Head("a", 3, 404) + "##XYDATA=(X++(Y..Y))\n400 1 2 3\n" + Block("b")), 0);
    EXPECT_EQ(table.GetNumberOfRows(), 4);
    EXPECT_EQ(ReadText("text\n##TITLE=a\n"), 0x601);
    EXPECT_EQ(ReadText(""), 0x601);
}

TEST_F(JCAMPCompleteTest, NTuplesArePagesOfOneTable) {
    ASSERT_EQ(ReadText(NTuples), 0);
    EXPECT_EQ(Row(1), "Primary ID|Name|Date|N|Variable|t 10|t 5|t 0");
    EXPECT_EQ(Row(3), "2|n||1|SPECTRUM/REAL|2|4|6");
    EXPECT_EQ(Row(4), "3|n||2|SPECTRUM/IMAG|3|6|9");
    EXPECT_EQ(reader->ListParts().size(), 1U);
    EXPECT_EQ(context->shape.axisQuantity, "FREQUENCY");
    EXPECT_EQ(context->shape.axisUnit, "HZ");
}

TEST_F(JCAMPCompleteTest, PagesOfPairsAreParts) {
    const std::string text =
        "##TITLE=ms\n##DATA CLASS=NTUPLES\n##SYMBOL=M, I, T\n##UNITS=M/Z, counts, s\n"
        "##PAGE= T=0.5\n##DATA TABLE= (MI..MI), PEAKS\n10, 1; 12, 2\n"
        "##PAGE= T=1.5\n##DATA TABLE= (MI..MI), PEAKS\n10, 3; 13, 4\n##END=\n";
    ASSERT_EQ(ReadText(text), 0);
    EXPECT_EQ(Row(1), "Primary ID|Name|Date|T (s)|t 10|t 12");
    EXPECT_EQ(Row(3), "2|ms||0.5|1|2");
    EXPECT_EQ(reader->ListParts()[1].name, "ms, T=1.5");
    EXPECT_EQ(Notes(), "block 2 of the list is not in this table: ms, T=1.5\n");
    ASSERT_EQ(ReadText(text, "all"), 0);
    EXPECT_EQ(Row(2), "1|M/Z|||10|12|13");
    EXPECT_EQ(Row(3), "2|ms||0.5|1|2|");
    EXPECT_EQ(Row(4), "3|ms||1.5|3||4");
}

TEST_F(JCAMPCompleteTest, PeakTablesOfALinkAreParts) {
    const std::string text = Link(Peaks("p", "10,1 10,2 12,3") + Peaks("q", "9 4\n10 5"), 2);
    ASSERT_EQ(ReadText(text), 0);
    EXPECT_EQ(Row(2), "1|M/Z||10|10|12");
    EXPECT_EQ(Row(3), "2|p||1|2|3");
    EXPECT_EQ(reader->ListParts().size(), 2U);
    ASSERT_EQ(ReadText(text, "q"), 0);
    EXPECT_EQ(Row(3), "2|q||4|5");
    ASSERT_EQ(ReadText(text, "all"), 0) << "they stand by X";
    EXPECT_EQ(Row(2), "1|M/Z||9|10|10|12");
    EXPECT_EQ(Row(3), "2|p|||1|2|3");
    EXPECT_EQ(Row(4), "3|q||4|5||");
}

TEST_F(JCAMPCompleteTest, PeaksWithoutXAreToldWhereSeveralTablesStandByX) {
    std::string link = "##TITLE=l\n##DATA TYPE=LINK\n";
    for (const char* data : {"?,1 2,3 ?,4\n", "1,5 ?,6\n", "2,7 3,8\n"}) {
        link += Peaks("p", data);
    }
    ASSERT_EQ(ReadText(link + "##END=\n", "all"), 0);
    EXPECT_EQ(Row(2), "1|M/Z||1|2|3");
    EXPECT_EQ(Row(3), "2|p|||3|");
    EXPECT_EQ(Row(5), "4|p|||7|8");
    EXPECT_EQ(Notes(), "3 peaks without an X have no place in a table by X\n");
}

TEST_F(JCAMPCompleteTest, FirstClassAndAxisOfALinkIsTheTable) {
    const std::string text = Link(Block("a") + Block("b", 4) + Peaks("p", "1 2") + Block("c"), 4);
    ASSERT_EQ(ReadText(text), 0);
    EXPECT_EQ(table.GetNumberOfRows(), 4);
    EXPECT_EQ(Row(4), "3|c||1|2|3");
    EXPECT_EQ(Notes(), "blocks 2 and 3 of the list are not in this table\n");
    ASSERT_EQ(ReadText(text, "1,b"), 0);
    EXPECT_EQ(table.GetNumberOfRows(), 5) << "each axis has its row";
    EXPECT_EQ(Row(5), "4|b||1|2|3|4");
    EXPECT_EQ(ReadText(text, "none"), 0x609);
}

TEST_F(JCAMPCompleteTest, BlockThatCannotBeReadCostsThatBlock) {
    const std::string text = Link("##TITLE=s\n##JCAMP-CS=3.7\n##END=\n" + Head("x", 3, 404) +
                                      "##XYDATA=(X++(Y..Y))\n400 1 & 3\n##END=\n" +
                                      "##TITLE=z\n##PEAK ASSIGNMENTS=(XYA)\n(1,2,<a>)\n##END=\n" + Block("a"),
                                  4);
    ASSERT_EQ(ReadText(text), 0);
    EXPECT_EQ(Row(3), "2|a||1|2|3");
    EXPECT_EQ(reader->ListParts().size(), 4U);
    EXPECT_NE(Notes().find("s holds a structure"), std::string::npos) << Notes();
    EXPECT_NE(Notes().find("x holds an illegal character (line 16)"), std::string::npos) << Notes();
    EXPECT_NE(Notes().find("z holds assignments"), std::string::npos) << Notes();
    EXPECT_EQ(ReadText(text, "2"), 0x619);
    EXPECT_EQ(ReadText("##TITLE=z\n##PEAK ASSIGNMENTS=(XYA)\n(1,2,<a>)\n##END=\n"), 0x60e);
    EXPECT_EQ(ErrorOf(*reader),
              "No block of the file can be read: z holds assignments, which can't be read (line 2)");
}

TEST_F(JCAMPCompleteTest, InterferogramsAreOrdinates) {
    ASSERT_EQ(ReadText("##TITLE=i\n##RUNITS=MICROMETERS\n##AUNITS=VOLTS\n##FIRSTR=0\n##LASTR=2\n##NPOINTS=3\n"
                       "##AFACTOR=2\n##RADATA=(R++(A..A))\n0 1 2 3\n##END=\n"),
              0);
    EXPECT_EQ(Row(2), "1|MICROMETERS||0|1|2");
    EXPECT_EQ(Row(3), "2|i||2|4|6");
}

TEST_F(JCAMPCompleteTest, LabelsAreFactsWithTypes) {
    ASSERT_EQ(
        ReadText(Head("a", 3, 404) + "##DATE=2025/09/17\n##RESOLUTION=4\n##OPERATOR=me\n##$NOTE=one\ntwo\n" +
                 "##XYDATA=(X++(Y..Y))\n400 1 2 3\n##END=\n"),
        0);
    const auto facts = reader->ListFacts();
    const auto has = [&facts](const FileContents::Fact& fact) {
        return std::find(facts.begin(), facts.end(), fact) != facts.end();
    };
    EXPECT_TRUE(has({"resolution", 4.0, "1/CM"}));
    EXPECT_TRUE(has({"operator", "me"}));
    EXPECT_TRUE(has({"date", "2025-09-17T00:00:00"}));
    EXPECT_TRUE(has({"$NOTE", "one\ntwo"}));
    EXPECT_TRUE(has({"first X", 400.0, "1/CM"}));
}

TEST_F(JCAMPCompleteTest, RepetitionsAreBounded) {
    EXPECT_NE(Values("1A1Z999999999").find("repetitions beyond all proportion"), std::string::npos);
}

TEST_F(JCAMPCompleteTest, SeveralFilesAreOneTable) {
    const std::string paths = folder.Write("a.dx", Block("x")) + "\n" + folder.Write("b.dx", Block("y"));
    ASSERT_EQ(Read(paths), 0);
    EXPECT_EQ(Row(3), "2|a.dx, x||1|2|3");
    EXPECT_EQ(Row(4), "3|b.dx, y||1|2|3");
}

TEST_F(JCAMPCompleteTest, DamagedFilesEndInAStatusOrATable) {
    ForEachDamage(NTuples, [&](const std::string& bytes) { ReadText(bytes); });
    ForEachDamage(Link(Block("a") + Peaks("p", "1 2,3"), 2),
                  [&](const std::string& bytes) { ReadText(bytes, "all"); });
}

TEST_F(JCAMPCompleteTest, ContentProvesAFile) {
    const FormatRecogniser* const recogniser = FormatRecogniser::Find("JCAMP-DX File");
    ASSERT_NE(recogniser, nullptr);
    EXPECT_STREQ(recogniser->GetShortName(), "jcamp");
    EXPECT_EQ(recogniser->Recognise("", "\n## Title = a"), FormatRecogniser::Evidence::Proof);
    EXPECT_EQ(recogniser->Recognise("", "\xef\xbb\xbf##JCAMP-DX=5\n"), FormatRecogniser::Evidence::Proof);
    EXPECT_EQ(recogniser->Recognise("", "a,b\n##TITLE=\n"), FormatRecogniser::Evidence::None);
    EXPECT_EQ(recogniser->Recognise("", ""), FormatRecogniser::Evidence::None);
}

// Handing out the values lets go of them.
TEST_F(JCAMPCompleteTest, ReadTwiceGivesTheSame) {
    const std::string text = Link(Block("one") + Block("two") + Peaks("three", "1,2 3,4"), 3);
    ASSERT_EQ(ReadText(text), 0);
    const std::string first = Row(3) + Row(4);
    const std::string notes = Notes();
    EXPECT_TRUE(first.ends_with("|1|2|3")) << first;
    table.Clear();
    ASSERT_EQ(reader->Read(&table), 0);
    EXPECT_EQ(Row(3) + Row(4), first);
    EXPECT_EQ(Notes(), notes);
    EXPECT_EQ(reader->ListParts().size(), 3U);
    folder.Write("a.dx", Block("one"));
    table.Clear();
    EXPECT_NE(reader->Read(&table), 0) << "the file has become another one";
}

// Long enough for several threads.
TEST_F(JCAMPCompleteTest, ManyBlocksKeepTheirOrderTheirNotesAndTheirFaults) {
    constexpr int Blocks = 600;
    constexpr int Points = 1000;
    std::string text;
    for (int i = 0; i < Blocks; ++i) {
        text += Head("b" + std::to_string(i), Points, 400 + Points - 1) + "##XYDATA=(X++(Y..Y))\n";
        for (int line = 0; line < Points / 10; ++line) {
            text += std::to_string(400 + line * 10);
            for (int value = 0; value < 10; ++value) {
                text += i % 100 == 50 && line == 70 ? " #?" : " " + std::to_string(10'000 * i + value + 1);
            }
            text += i % 100 == 99 && line == 99 ? " 1\n" : "\n";
        }
        text += "##END=\n";
    }
    ASSERT_GT(text.size(), 3'000'000U);
    ASSERT_EQ(ReadText(text), 0);
    const std::vector<FileContents::Part> parts = reader->ListParts();
    ASSERT_EQ(parts.size(), static_cast<std::size_t>(Blocks));
    int row = 3;
    for (int i = 0; i < Blocks; ++i) {
        const std::string title = "b" + std::to_string(i);
        EXPECT_EQ(parts[static_cast<std::size_t>(i)].name, title);
        if (i % 100 == 50 || i % 100 == 99) {
            continue;
        }
        EXPECT_EQ(table.GetString(2, row), title);
        EXPECT_EQ(table.GetString(4, row), std::to_string(10'000 * i + 1));
        EXPECT_EQ(table.GetString(3 + Points, row), std::to_string(10'000 * i + 10));
        ++row;
    }
    EXPECT_EQ(table.GetNumberOfRows(), row - 1);
    const std::string notes = Notes();
    std::size_t last = 0;
    for (const char* const told : {"b50 holds", "b99: the file tells of 1,000 points, but has 1,001",
                                   "b150 holds", "b199: ", "b550 holds", "b599: "}) {
        const std::size_t found = notes.find(told);
        ASSERT_NE(found, std::string::npos) << told << "\n" << notes;
        EXPECT_GT(found + 1, last) << told;
        last = found;
    }
}

// An "E" that is the digit 5 shows late that another in front of a digit was no exponent.
TEST_F(JCAMPCompleteTest, SqueezedDigitsThatLookLikeExponentsAreFoundInAnyLine) {
    EXPECT_EQ(Values("1E5J\n3E6%", "##FIRSTX=1\n##LASTX=4\n##NPOINTS=3\n"), "55|56|56");
    EXPECT_EQ(Values("1A5J\n3A6E7J\n5E8", "##FIRSTX=1\n##LASTX=4\n##NPOINTS=4\n"), "15|16|57|58");
}
