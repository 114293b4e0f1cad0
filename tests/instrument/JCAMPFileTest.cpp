#include "instrument/JCAMPFile.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cmath>
#include <filesystem>
#include <memory>

#include "base/DateParser.h"
#include "frame/OptionsText.h"
#include "table/TableData.h"
#include "tests/support/CountingSink.h"
#include "tests/support/Damage.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpectrumTruth.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Format = "JCAMP-DX File";

/** A JCAMP-DX file as text, label by label. */
class JCAMPText {
public:
    JCAMPText& Label(const std::string& name, const std::string& value) {
        return Line("##" + name + "= " + value);
    }
    JCAMPText& Line(const std::string& line) {
        text += line + "\n";
        return *this;
    }
    /** What stands before the data of a block: five points from 400 to 404. */
    JCAMPText& Head(const std::string& title) {
        return Label("TITLE", title)
            .Label("JCAMP-DX", "4.24")
            .Label("DATA TYPE", "INFRARED SPECTRUM")
            .Label("XUNITS", "1/CM")
            .Label("FIRSTX", "400")
            .Label("LASTX", "404")
            .Label("NPOINTS", "5");
    }
    JCAMPText& Data(const std::string& lines) { return Label("XYDATA", "(X++(Y..Y))").Line(lines); }
    JCAMPText& End() { return Label("END", ""); }
    /** A whole block. */
    JCAMPText& Block(const std::string& title, const std::string& lines = "400 1 2 3\n403 4 5") {
        return Head(title).Data(lines).End();
    }
    /** The head of a block of peaks, which names no X. */
    JCAMPText& PeakHead(const std::string& title, int points) {
        return Label("TITLE", title)
            .Label("DATATYPE", "MASS SPECTRUM")
            .Label("NPOINTS", std::to_string(points));
    }

    operator std::string() const { return text; }  // NOLINT(google-explicit-constructor)

private:
    std::string text;
};

// The calls that begin every table of Head's axis, up to the first series' label.
std::string AxisRows(const std::string& label) {
    return "Set 1 2 int 1\nSet 2 2 text \"1/CM\"\nSet 1 3 int 2\nSet 2 3 text \"" + label + "\"\n";
}

class JCAMPFileTest : public testing::Test {
protected:
    std::string Write(const std::string& name, const std::string& bytes) { return folder.Write(name, bytes); }
    std::string Trace(const std::string& bytes, const TraceOptions& how = {}) {
        return ReadTrace(Format, Write("s.dx", bytes), how);
    }
    std::string Cells(const std::string& bytes) { return CellsOf(Trace(bytes)); }

    // The Y values of the first series, "?" for a missing one.
    std::string Values(const std::string& bytes) { return ValuesOfRow(3, Write("s.dx", bytes)); }
    static std::string ValuesOfRow(int row, const std::string& files) {
        JCAMPFile reader;
        TableData table;
        if (reader.Open(true, files.c_str(), nullptr) != 0 || reader.Read(&table) != 0) {
            return ErrorOf(reader);
        }
        std::string values;
        for (int col = 3; col <= table.GetNumberOfColumns(); ++col) {
            values += col == 3 ? "" : " ";
            values += table.IsMissing(col, row) ? "?" : table.GetString(col, row);
        }
        return values;
    }
    std::string Two(const std::string& first, const std::string& second) {
        return Write("a.dx", first) + "\n" + Write("b.dx", second);
    }
    std::string Warning(const std::string& files) {
        JCAMPFile reader;
        CountingSink sink;
        reader.Open(true, files.c_str(), nullptr);
        reader.Read(&sink);
        EXPECT_EQ(reader.JCAMPWarning(), reader.GetWarningMessage() != nullptr);
        return reader.GetWarningMessage() == nullptr ? "" : reader.GetWarningMessage();
    }
    // "0x61a: text" of the step that fails, or "".
    std::string Failure(const std::string& files) {
        JCAMPFile reader;
        CountingSink sink;
        reader.Open(true, files.c_str(), nullptr);
        if (reader.GetStatus() == 0 && reader.GetNumRows() > 0 && reader.GetNumCols() > 0) {
            reader.Read(&sink);
        }
        char code[16];
        std::snprintf(code, sizeof code, "0x%x: ", static_cast<unsigned int>(reader.GetStatus()));
        return reader.GetStatus() == 0 ? "" : code + ErrorOf(reader);
    }
    std::string FailureOf(const std::string& bytes) { return Failure(Write("s.dx", bytes)); }

    TempFolder folder;
};

}  // namespace

// The table

TEST_F(JCAMPFileTest, SpectrumIsARowAndItsAxisTheColumns) {
    EXPECT_EQ(Trace(JCAMPText().Head("water").Data("400 1 2.5\n402 ? -4 5").End()),
              "Format \"JCAMP-DX File\"\nOpen 0x0\nGetNumRows 3\nGetNumCols 7\nSetDataSize 7 3\n" +
                  AxisRows("Infrared spectrum : water") +
                  "Set 3 1 text \"t 400\"\nSet 3 2 double 400\nSet 4 1 text \"t 401\"\nSet 4 2 double 401\n"
                  "Set 5 1 text \"t -99\"\nSet 5 2 double -99\nSet 6 1 text \"t 403\"\nSet 6 2 double 403\n"
                  "Set 7 1 text \"t 404\"\nSet 7 2 double 404\n"
                  "Set 3 3 float 1\nSet 4 3 float 2.5\nSet 5 3 text \"\"\nSet 6 3 float -4\nSet 7 3 float 5\n"
                  "Read 0x0\nClose\n");
}

TEST_F(JCAMPFileTest, LaterSeriesSetNoXRows) {
    const std::string cells = Cells(JCAMPText().Block("one").Block("two", "400 6 7 8 9 10"));
    EXPECT_TRUE(cells.ends_with(
        "Set 7 3 float 5\nSet 1 4 int 3\nSet 2 4 text \"Infrared spectrum : two\"\n"
        "Set 3 4 float 6\nSet 4 4 float 7\nSet 5 4 float 8\nSet 6 4 float 9\nSet 7 4 float 10\n"))
        << cells;
}

TEST_F(JCAMPFileTest, LabelsOfASelectionBeginWithTheFile) {
    const std::string cells =
        CellsOf(ReadTrace(Format, Two(JCAMPText().Block("one"), JCAMPText().Block("two"))));
    EXPECT_NE(cells.find("Set 2 3 text \"a.dx, Infrared spectrum : one\"\n"), std::string::npos);
    EXPECT_NE(cells.find("Set 2 4 text \"b.dx, Infrared spectrum : two\"\n"), std::string::npos);
}

TEST_F(JCAMPFileTest, LabelWithoutTypeOrTitle) {
    const auto label = [&](const std::string& head) {
        const std::string cells =
            Cells(head + "##FIRSTX=1\n##LASTX=2\n##NPOINTS=2\n##XYDATA=(X++(Y..Y))\n1 5 6\n##END=\n");
        return cells.substr(cells.find("Set 2 3"),
                            cells.find('\n', cells.find("Set 2 3")) - cells.find("Set 2 3"));
    };
    EXPECT_EQ(label("##TITLE=only\n"), "Set 2 3 text \"only\"");
    EXPECT_EQ(label("##TITLE=\n##DATATYPE=raman\n"), "Set 2 3 text \"Raman\"");
    EXPECT_EQ(label("##TITLE=\n"), "Set 2 3 text \"Y\"");
    const std::string bare =
        "##TITLE=\n##FIRSTX=1\n##LASTX=2\n##NPOINTS=2\n##XYDATA=(X++(Y..Y))\n1 5 6\n##END=\n";
    EXPECT_NE(ReadTrace(Format, Two(bare, bare)).find("Set 2 3 text \"Y\"\n"), std::string::npos);
}

TEST_F(JCAMPFileTest, XWithoutUnitIsCalledX) {
    EXPECT_NE(Cells("##TITLE=a\n##FIRSTX=1\n##LASTX=2\n##NPOINTS=2\n##XYDATA=(X++(Y..Y))\n1 5 6\n##END=\n")
                  .find("Set 2 2 text \"X\"\n"),
              std::string::npos);
}

TEST_F(JCAMPFileTest, OrdinatesAreScaledAndXFactorIsNot) {
    EXPECT_EQ(
        Values(
            JCAMPText().Head("a").Label("YFACTOR", "0.5").Label("XFACTOR", "10").Data("400 1 2 3 4 5").End()),
        "0.5 1 1.5 2 2.5");
    EXPECT_NE(Cells(JCAMPText().Head("a").Label("XFACTOR", "10").Data("400 1 2 3 4 5").End())
                  .find("Set 3 2 double 400\n"),
              std::string::npos);
}

TEST_F(JCAMPFileTest, SpacingComesFromTheEndsOrElseFromDeltaX) {
    const std::string head = "##TITLE=a\n##FIRSTX=7\n##LASTX=7\n##NPOINTS=2\n";
    EXPECT_NE(Cells(head + "##DELTAX=3\n##XYDATA=(X++(Y..Y))\n7 1 2\n##END=\n").find("Set 4 2 double 10\n"),
              std::string::npos);
    EXPECT_EQ(FailureOf(head + "##XYDATA=(X++(Y..Y))\n7 1 2\n##END=\n"),
              "0x615: Couldn't establish dx, either the '##FIRSTX=' and/or '##LASTX=' labels are missing in "
              "the file, or "
              "the '##DELTAX=' label.");
}

TEST_F(JCAMPFileTest, MissingEndsOfTheAxisGiveNaN) {
    EXPECT_NE(Cells("##TITLE=a\n##NPOINTS=2\n##XYDATA=(X++(Y..Y))\n7 1 2\n##END=\n")
                  .find("Set 4 1 text \"t nan\"\n"),
              std::string::npos);
}

TEST_F(JCAMPFileTest, OnePointNeedsNoSpacing) {
    const std::string text =
        JCAMPText().Label("TITLE", "a").Label("FIRSTX", "5").Label("NPOINTS", "1").Data("5 8").End();
    EXPECT_TRUE(Cells(text).ends_with("Set 3 1 text \"t 5\"\nSet 3 2 double 5\nSet 3 3 float 8\n"));
}

TEST_F(JCAMPFileTest, WantedRowsAreNotAskedFor) {
    const std::string text = JCAMPText().Block("a");
    EXPECT_EQ(Trace(text, {nullptr, "3", 0, true}), Trace(text));
}

// Lines

TEST_F(JCAMPFileTest, CommentsAreCutInsideValuesToo) {
    EXPECT_EQ(Values(JCAMPText().Head("a $$ b").Data("400 1 2 $$ 9 9\n402 3 4 5").End()), "1 2 3 4 5");
    EXPECT_NE(Cells(JCAMPText().Head("a $$ b").Data("400 1 2 3 4 5").End()).find(": a\""), std::string::npos);
}

TEST_F(JCAMPFileTest, LongLineArrivesAsTwo) {
    // What stands behind 255 bytes is a new line: its first number is an abscissa.
    const std::string line = "400 1 2 3" + std::string(246, ' ') + "77 4 5";
    EXPECT_EQ(Values(JCAMPText().Head("a").Data(line).End()), "1 2 3 4 5");
}

TEST_F(JCAMPFileTest, LineEndsOfEveryKind) {
    const std::string text = JCAMPText().Block("a");
    for (const char* end : {"\r\n", "\r", "\n", "\n\n", "\r\r", "\n\r"}) {
        std::string other;
        for (const char c : text) {
            other += c == '\n' ? end : std::string(1, c);
        }
        EXPECT_EQ(Values(other), "1 2 3 4 5") << testing::PrintToString(end);
    }
}

TEST_F(JCAMPFileTest, LineEndsAtItsNul) {
    EXPECT_EQ(Values(std::string(JCAMPText().Head("a").Data("400 1 2 3 4 5")) +
                     std::string("  \0 x\n##END=\n", 12)),
              "1 2 3 4 5");
}

TEST_F(JCAMPFileTest, LastEndNeedsNoLineEnd) {
    std::string text = JCAMPText().Block("a");
    text.pop_back();
    EXPECT_EQ(Values(text), "1 2 3 4 5");
    EXPECT_EQ(Values(text + "\n\n\n"), "1 2 3 4 5");
}

TEST_F(JCAMPFileTest, FileWithoutLineEndsIsItsTitle) {
    EXPECT_EQ(FailureOf("##TITLE= a" + std::string(100000, 'x')),
              "0x605: Mismatching '##TITLE=' and '##END=' labels were found in the file.");
}

// Labels

TEST_F(JCAMPFileTest, LabelsAreToldApartByTheirLettersAlone) {
    EXPECT_EQ(Values("  ## ti-tle = a\n##First_X=1\n##last/x=2\n##N P O I N T S=2\n## XY\\DATA = ( x++ ( "
                     "Y..Y ) )\n1 5 6\n##end=\n"),
              "5 6");
}

TEST_F(JCAMPFileTest, DataTypeIsWrittenSmallWithACapital) {
    EXPECT_NE(Cells(JCAMPText().Head("a").Label("DATATYPE", "uv/VIS").Data("1 1 2 3 4 5").End())
                  .find("\"Uv/vis : a\""),
              std::string::npos);
}

TEST_F(JCAMPFileTest, FirstLineMustBeATitle) {
    EXPECT_EQ(FailureOf(""), "0x601: The file does not appear to be a valid JCAMP-DX file.");
    EXPECT_EQ(FailureOf("\n\n  \n"), "0x601: The file does not appear to be a valid JCAMP-DX file.");
    EXPECT_EQ(FailureOf("hello\n##TITLE=a\n##END=\n"),
              "0x601: The file does not appear to be a valid JCAMP-DX file.");
    EXPECT_EQ(Failure(Two(JCAMPText().Block("a"), "hello\n")),
              "0x601: One of the files does not appear to be a valid JCAMP-DX file.");
}

TEST_F(JCAMPFileTest, EmptyLinesBeforeTheTitleArePassedOver) {
    EXPECT_EQ(Values("\n \n" + std::string(JCAMPText().Block("a"))), "1 2 3 4 5");
}

TEST_F(JCAMPFileTest, MissingFileIsStatus0x600) {
    EXPECT_EQ(Failure(folder.Path("none.dx")), "0x600: Unable to open file.");
    EXPECT_EQ(Failure(folder.Path("")), "0x600: Unable to open file.");
}

TEST_F(JCAMPFileTest, BinaryDataIsStatus0x602) {
    EXPECT_EQ(FailureOf(JCAMPText().Label("TITLE", "a").Label("BINARYDATA", "x").End()),
              "0x602: The data is stored in an unsupported (binary) form.");
}

TEST_F(JCAMPFileTest, LabelWithoutTerminatorIsStatus0x603) {
    EXPECT_EQ(FailureOf(JCAMPText().Label("TITLE", "a").Line("##XUNITS").End()),
              "0x603: Found a label with the data label terminator ('=') missing.");
    EXPECT_EQ(FailureOf(JCAMPText().Label("TITLE", "a").Label("DATATYPE", "LINK").Label("BLOCKS", "").End()),
              "0x603: Found a label with the data label terminator ('=') missing.");
}

TEST_F(JCAMPFileTest, NumericLabelWithoutValueIsStatus0x604) {
    for (const char* label : {"FIRSTX", "LASTX", "DELTAX", "XFACTOR", "YFACTOR", "NPOINTS"}) {
        EXPECT_EQ(FailureOf(JCAMPText().Label("TITLE", "a").Label(label, " $$ none").End()),
                  "0x604: A label with a missing value was found in the file.")
            << label;
    }
}

TEST_F(JCAMPFileTest, TitlesAndEndsThatDoNotPairAreStatus0x605) {
    const std::string text = "0x605: Mismatching '##TITLE=' and '##END=' labels were found in the file.";
    EXPECT_EQ(FailureOf(JCAMPText().Head("a")), text);
    EXPECT_EQ(FailureOf(JCAMPText().Block("a").End().Label("TITLE", "b")), text);
    EXPECT_EQ(FailureOf(JCAMPText().Block("a").Label("TITLE", "b")), text);
}

TEST_F(JCAMPFileTest, BlocksOutsideALinkIsStatus0x606) {
    EXPECT_EQ(FailureOf(JCAMPText().Label("TITLE", "a").Label("BLOCKS", "2").End()),
              "0x606: Found an illegal label ##BLOCKS within a LINK-block");
}

TEST_F(JCAMPFileTest, FactorOfZeroIsStatus0x607) {
    EXPECT_EQ(FailureOf(JCAMPText().Label("TITLE", "a").Line("##XFACTOR=0").End()),
              "0x607: The label on line 2 has an illegal value.");
    EXPECT_EQ(FailureOf(JCAMPText().Label("TITLE", "a").Line("").Line("").Line("##YFACTOR=none").End()),
              "0x607: The label on line 3 has an illegal value.");
}

TEST_F(JCAMPFileTest, PointCountMustBeAPositiveInteger) {
    for (const char* count : {"0", "-5", "2.5", "some", "4294967296", "1e300", "nan", "inf"}) {
        EXPECT_EQ(FailureOf(JCAMPText().Label("TITLE", "a").Label("NPOINTS", count).End()),
                  "0x608: Invalid value of '##NPOINTS=' label in the file. The value of '##NPOINTS=' must be "
                  "a positive "
                  "integer.")
            << count;
    }
    EXPECT_EQ(Values(JCAMPText().Head("a").Label("NPOINTS", "5.0").Data("400 1 2 3 4 5").End()), "1 2 3 4 5");
}

TEST_F(JCAMPFileTest, LabelFailuresOfASelectionNameNoFile) {
    // No block has been looked at yet.
    EXPECT_EQ(Failure(Two(JCAMPText().Block("a"), JCAMPText().Label("TITLE", "a").Line("##XUNITS").End())),
              "0x603: Found a label with the data label terminator ('=') missing.");
}

TEST_F(JCAMPFileTest, FormsThatAreRefusedInOpen) {
    const auto failure = [&](const std::string& label, const std::string& value) {
        return FailureOf(JCAMPText().Head("a").Label(label, value).Line("1 2").End());
    };
    EXPECT_EQ(failure("RADATA", "(R++(A..A))"), "0x60f:  can currently not read RA-data.");
    EXPECT_EQ(failure("XYPAIRS", "(XY..XY)"), "0x613:  can currently not read XY pairs.");
    EXPECT_EQ(failure("ASSIGNMENTS", "(XA)"), "0x60e:  can currently not read assignments.");
    EXPECT_EQ(failure("PEAK ASSIGNMENTS", "(XYMA)"), "0x60e:  can currently not read assignments.");
    EXPECT_EQ(failure("PEAK TABLE", "(XYMA)"), "0x60e:  can currently not read assignments.");
    EXPECT_EQ(failure("XYPOINTS", "(XA)"), "0x60e:  can currently not read assignments.");
    EXPECT_EQ(failure("DATA TABLE", "(XYA)"), "0x60e:  can currently not read assignments.");
}

TEST_F(JCAMPFileTest, ClassesThatAreRefusedAtTheDataLabel) {
    EXPECT_EQ(
        FailureOf(JCAMPText().Head("a").Label("DATACLASS", "RADATA").Label("DATATABLE", "(R++(A..A))").End()),
        "0x60f:  can currently not read RA-data.");
    EXPECT_EQ(FailureOf(JCAMPText()
                            .Head("a")
                            .Label("DATA CLASS", "NTUPLES")
                            .Label("PAGE", "N=1")
                            .Label("DATA TABLE", "(X++(R..R)), XYDATA")
                            .End()),
              "0x610:  Can currently not read n-tuples.");
}

TEST_F(JCAMPFileTest, FormDecidesBeforeTheClass) {
    EXPECT_EQ(Values(JCAMPText().Head("a").Label("DATACLASS", "RADATA").Data("400 1 2 3 4 5").End()),
              "1 2 3 4 5");
    EXPECT_EQ(Values(JCAMPText()
                         .Head("a")
                         .Label("DATACLASS", "XYDATA")
                         .Label("DATATABLE", "(XY..XY)")
                         .Line("1,5 2,6 3,7 4,8 5,9")
                         .End()),
              "5 6 7 8 9");
}

TEST_F(JCAMPFileTest, ClassesThatAreRefusedInRead) {
    const auto failure = [&](const std::string& dataClass) {
        return FailureOf(JCAMPText().Head("a").Data("400 1 2 3 4 5").Label("DATACLASS", dataClass).End());
    };
    EXPECT_EQ(failure("RADATA"), "0x60f:  can currently not read RA-data.");
    EXPECT_EQ(failure("ASSIGNMENTS"), "0x60e:  can currently not read assignments.");
    EXPECT_EQ(failure("NTUPLES"), "0x610:  Can currently not read n-tuples.");
    EXPECT_EQ(
        failure("something"),
        "0x60d: Does not recognize the value of the '##DATACLASS=' label as a valid JCAMP-DX 5.0 dataclass");
}

TEST_F(JCAMPFileTest, PageWithATableAddsTwoPages) {
    const std::string trace = Trace(JCAMPText()
                                        .Head("a")
                                        .Label("PAGE", "N=1")
                                        .Label("DATA TABLE", "(X++(Y..Y))")
                                        .Line("400 1 2 3 4 5")
                                        .End());
    EXPECT_NE(trace.find("GetNumRows 4\n"), std::string::npos);
    // The page without data of its own is an empty series.
    EXPECT_NE(trace.find("Set 1 3 int 2\nSet 2 3 text \"Infrared spectrum : a\"\nSet 1 4 int 3\n"),
              std::string::npos)
        << trace;
}

TEST_F(JCAMPFileTest, PointsBehindTheDataComeTooLate) {
    const std::string text =
        "0x60b: The size of the data block could not be established. The '##NPOINTS'-label could not be "
        "found or had an illegal value.";
    EXPECT_EQ(FailureOf("##TITLE=a\n##XYDATA=(X++(Y..Y))\n1 2\n##NPOINTS=1\n##END=\n"), text);
    EXPECT_EQ(FailureOf("##TITLE=a\n##XYDATA=(X++(Y..Y))\n1 2\n##END=\n"), text);
    EXPECT_EQ(FailureOf(JCAMPText().Head("a").End()), text);
}

TEST_F(JCAMPFileTest, ReadAloneFindsTheSameFaults) {
    const auto failure = [&](const std::string& bytes) {
        JCAMPFile reader;
        CountingSink sink;
        reader.Open(true, Write("s.dx", bytes).c_str(), nullptr);
        reader.Read(&sink);
        return ErrorOf(reader);
    };
    EXPECT_TRUE(
        failure("##TITLE=a\n##XYDATA=(X++(Y..Y))\n1 2\n##END=\n").starts_with("The size of the data block"));
    EXPECT_EQ(failure(JCAMPText().Head("a").Label("DATACLASS", "XYDATA").End()),
              "Couldn't find valid data to import.");
    JCAMPFile unopened;
    CountingSink sink;
    EXPECT_EQ(unopened.Read(&sink), 0x60a);
    EXPECT_EQ(ErrorOf(unopened), "Error occurred while reading the file.");
}

// Links and selection

TEST_F(JCAMPFileTest, FirstMemberFillsTheLinksOwnRecord) {
    const std::string text = JCAMPText()
                                 .Label("TITLE", "the link")
                                 .Label("DATATYPE", "LINK")
                                 .Label("BLOCKS", "2")
                                 .Block("m1")
                                 .Block("m2")
                                 .End();
    JCAMPFile reader;
    ASSERT_EQ(reader.Open(true, Write("l.dx", text).c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumJCAMPBlocks(), 2);
    std::vector<std::string> list;
    EXPECT_EQ(reader.GetJCAMPBlockList(list), 0);
    EXPECT_EQ(list,
              (std::vector<std::string>{"Infrared spectrum, 1x5 obs, m1", "Infrared spectrum, 1x5 obs, m2"}));
}

TEST_F(JCAMPFileTest, BlockListOfASelectionNamesTheFiles) {
    JCAMPFile reader;
    ASSERT_EQ(reader.Open(true, Two(JCAMPText().Block("x"), JCAMPText().Block("y")).c_str(), nullptr), 0);
    EXPECT_TRUE(reader.MultiSelection());
    std::vector<std::string> list;
    EXPECT_EQ(reader.GetJCAMPBlockList(list), 0);
    EXPECT_EQ(list, (std::vector<std::string>{"a.dxInfrared spectrum, 1x5 obs, x",
                                              "b.dxInfrared spectrum, 1x5 obs, y"}));
}

TEST_F(JCAMPFileTest, BlockListOfNothing) {
    JCAMPFile reader;
    std::vector<std::string> list;
    EXPECT_EQ(reader.GetJCAMPBlockList(list), -1);
    reader.Open(false, "", nullptr);
    EXPECT_EQ(reader.GetJCAMPBlockList(list), 3);
    EXPECT_TRUE(list.empty());
}

TEST_F(JCAMPFileTest, LoneLinkStaysUnselected) {
    EXPECT_EQ(
        FailureOf(JCAMPText().Label("TITLE", "a").Label("DATATYPE", "LINK").Label("NPOINTS", "5").End()),
        "0x609: No data blocks were selected.");
}

TEST_F(JCAMPFileTest, OptionsChooseBlocks) {
    const std::string path =
        Write("s.dx", JCAMPText().Block("one").Block("two", "400 6 7 8 9 10").Block("three"));
    TestOptions second{{"DataBlocks", "1"}};
    EXPECT_EQ(CellsOf(ReadTrace(Format, path, {second.Get()})).find("one"), std::string::npos);
    TestOptions beyond{{"DataBlocks", "1,99,-5"}};
    EXPECT_NE(ReadTrace(Format, path, {beyond.Get()}).find("GetNumRows 3\n"), std::string::npos);
    TestOptions none{{"DataBlocks", ""}};
    EXPECT_NE(ReadTrace(Format, path, {none.Get()}).find("Error \"No data blocks were selected.\"\n"),
              std::string::npos);
    TestOptions other{{"Sheets", "1"}};
    EXPECT_NE(ReadTrace(Format, path, {other.Get()}).find("Error \"No data blocks were selected.\"\n"),
              std::string::npos);
}

TEST_F(JCAMPFileTest, EmptyRecordIsFilledWithAllBlocks) {
    const std::string path = Write("s.dx", JCAMPText().Block("one").Block("two"));
    NvImportOpenOptions record{0, nullptr};
    JCAMPFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), &record), 0);
    ASSERT_TRUE(HasOptions(&record));
    EXPECT_EQ(DecodeOptionsText(record),
              "<XMLSection><Settings><DataBlocks>0,1</DataBlocks></Settings></XMLSection>");
}

TEST_F(JCAMPFileTest, GivenRecordIsRenewedByACopyAndItsBytesAreLeftAlone) {
    const std::string path = Write("s.dx", JCAMPText().Block("one").Block("two"));
    TestOptions options{{"DataBlocks", "1"}, {"Other", "x"}};
    const NvImportOpenOptions given = *options.Get();
    const std::vector<std::uint8_t> bytes(given.data, given.data + given.size);
    JCAMPFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), options.Get()), 0);
    EXPECT_NE(options.Get()->data, given.data);
    EXPECT_EQ(std::vector<std::uint8_t>(given.data, given.data + given.size), bytes);
    EXPECT_EQ(DecodeOptionsText(*options.Get()),
              "<XMLSection><Settings><DataBlocks>1</DataBlocks></Settings></XMLSection>");
}

TEST_F(JCAMPFileTest, RecordMayLieInReadOnlyMemory) {
    const std::string path = Write("s.dx", JCAMPText().Block("one").Block("two"));
    TestOptions options{{"DataBlocks", "0"}, {"Other", "x"}};
    const std::size_t size = options.Get()->size;
    void* const page = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(page, MAP_FAILED);
    std::memcpy(page, options.Get()->data, size);
    ASSERT_EQ(mprotect(page, size, PROT_READ), 0);
    NvImportOpenOptions record{static_cast<std::uint32_t>(size), static_cast<std::uint8_t*>(page)};
    {
        JCAMPFile reader;
        EXPECT_EQ(reader.Open(true, path.c_str(), &record), 0);
        EXPECT_EQ(reader.GetNumRows(), 3);
    }
    munmap(page, size);
}

TEST_F(JCAMPFileTest, NextOpenKeepsNothingOfTheLastFile) {
    const std::string two = Write("two.dx", JCAMPText().Block("one").Block("two", "400 1 2"));
    const std::string one = Write("one.dx", JCAMPText().Block("three"));
    JCAMPFile reader;
    TableData table;
    ASSERT_EQ(reader.Open(true, two.c_str(), nullptr), 0);
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_TRUE(reader.JCAMPWarning());
    reader.Close();
    ASSERT_EQ(reader.Open(true, one.c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumJCAMPBlocks(), 1);
    EXPECT_EQ(reader.GetNumRows(), 3);
    EXPECT_FALSE(reader.JCAMPWarning());
    reader.Close();
    EXPECT_EQ(reader.Open(true, folder.Path("none.dx").c_str(), nullptr), 0x600);
    EXPECT_EQ(reader.GetNumJCAMPBlocks(), 0);
    EXPECT_TRUE(reader.ListParts().empty());
}

TEST_F(JCAMPFileTest, BlocksOfDifferentAxesAreToldAndListed) {
    const std::string path = Write("s.dx", JCAMPText()
                                               .Block("a")
                                               .Block("b")
                                               .Block("c")
                                               .Head("d")
                                               .Label("LASTX", "500")
                                               .Data("400 1 2 3 4 5")
                                               .End());
    JCAMPFile reader;
    TableData table;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    EXPECT_EQ(reader.Read(&table), 4);
    EXPECT_EQ(ErrorOf(reader), "AbortedByUser");
    EXPECT_EQ(reader.ListParts().size(), 4U);
    ASSERT_FALSE(reader.GetContext()->notes.IsEmpty());
    EXPECT_EQ(reader.GetContext()->notes.GetAll().front().text,
              "the blocks have different axes and can't be one table: blocks 1 to 3 share one axis, block 4 "
              "has another; choose blocks that share one");
}

TEST_F(JCAMPFileTest, OptionsOfASingleBlockAreNotLookedAt) {
    TestOptions garbage(std::string("garbage"));
    EXPECT_NE(Trace(JCAMPText().Block("a"), {garbage.Get()}).find("Read 0x0\n"), std::string::npos);
    NvImportOpenOptions record{0, nullptr};
    JCAMPFile reader;
    ASSERT_EQ(reader.Open(true, folder.Path("s.dx").c_str(), &record), 0);
    EXPECT_EQ(record.data, nullptr);
}

TEST_F(JCAMPFileTest, GarbageInTheOptionsIsStatus0x600) {
    for (const std::string& bytes :
         {std::string("garbage"), std::string("\x04\0\0\0<a>x", 8), std::string("\xff\0\0\0<X", 6)}) {
        TestOptions garbage(bytes);
        EXPECT_NE(Trace(JCAMPText().Block("a").Block("b"), {garbage.Get()})
                      .find("Open 0x600\nError \"Unable to open file.\"\n"),
                  std::string::npos);
    }
}

TEST_F(JCAMPFileTest, SelectionOfOneMoreBlockLeavesTheOthers) {
    const std::string path = Write("s.dx", JCAMPText().Block("one").Block("two").Block("three"));
    JCAMPFile reader;
    EXPECT_EQ(reader.SelectJCAMPBlock(0), -1);
    EXPECT_EQ(reader.SelectJCAMPBlock(std::vector<int>{0}), -1);
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    EXPECT_EQ(reader.SelectJCAMPBlock(std::vector<int>{2}), 0);
    EXPECT_EQ(reader.GetNumRows(), 3);
    EXPECT_EQ(reader.SelectJCAMPBlock(0), 0);
    EXPECT_EQ(reader.SelectJCAMPBlock(3), 0);
    EXPECT_EQ(reader.SelectJCAMPBlock(-1), -1);
    EXPECT_EQ(reader.GetNumRows(), 4);
}

TEST_F(JCAMPFileTest, DifferentAxesEndWithStatus4) {
    const auto second = [](const std::string& firstX, const std::string& lastX) {
        return JCAMPText()
            .Head("b")
            .Label("FIRSTX", firstX)
            .Label("LASTX", lastX)
            .Data("400 1 2 3 4 5")
            .End();
    };
    EXPECT_EQ(Failure(Two(JCAMPText().Block("a"), second("400.001", "404"))), "0x4: AbortedByUser");
    EXPECT_EQ(Failure(Two(JCAMPText().Block("a"), second("400", "404.001"))), "0x4: AbortedByUser");
    // Less than 2^-23 of the next power of two.
    EXPECT_EQ(Failure(Two(JCAMPText().Block("a"), second("400.00004", "404"))), "");
}

TEST_F(JCAMPFileTest, AxesThatDifferOnlyBetweenLaterBlocksEndWithStatus4) {
    const auto block = [](const std::string& firstX) {
        return JCAMPText().Head("b").Label("FIRSTX", firstX).Data("400 1 2 3 4 5").End();
    };
    // Each equals the first, but they don't equal each other.
    const std::string a = Write("a.dx", block("400"));
    const std::string b = Write("b.dx", block("399.99994"));
    const std::string c = Write("c.dx", block("400.00006"));
    EXPECT_EQ(Failure(a + "\n" + b), "");
    EXPECT_EQ(Failure(a + "\n" + c), "");
    EXPECT_EQ(Failure(a + "\n" + b + "\n" + c), "0x4: AbortedByUser");
}

TEST_F(JCAMPFileTest, DifferentPointCountsEndWithStatus4) {
    EXPECT_EQ(Failure(Two(JCAMPText().Block("a"),
                          JCAMPText().Head("b").Label("NPOINTS", "4").Data("400 1 2 3 4").End())),
              "0x4: AbortedByUser");
}

TEST_F(JCAMPFileTest, PagesOfOneBlockAloneAreNotCompared) {
    EXPECT_EQ(
        FailureOf(JCAMPText().Head("a").Data("400 1 2 3 4 5").Label("NPOINTS", "2").Data("400 1 2").End()),
        "");
}

TEST_F(JCAMPFileTest, DifferentClassesAreStatus0x61e) {
    const std::string files =
        Two(JCAMPText().Block("a"), JCAMPText().Head("b").Label("PEAKTABLE", "(XY..XY)").Line("1 2").End());
    EXPECT_EQ(Failure(files), "0x61e: Only files with dataclass = 'XYDATA' are supported by multiselection.");
    JCAMPFile reader;
    CountingSink sink;
    ASSERT_EQ(reader.Open(true, files.c_str(), nullptr), 0);
    EXPECT_EQ(reader.Read(&sink), 0x61e);
    EXPECT_TRUE(reader.MultiSelection());
    ErrorOf(reader);
    EXPECT_FALSE(reader.MultiSelection());
}

TEST_F(JCAMPFileTest, PeakTablesWithoutAxisLabelsAreReadTogether) {
    const auto peaks = [](const std::string& title) {
        return JCAMPText().PeakHead(title, 2).Label("PEAKTABLE", "(XY..XY)").Line("1 2 3 4").End();
    };
    EXPECT_EQ(Failure(Two(peaks("a"), peaks("b"))), "");
}

TEST_F(JCAMPFileTest, DerivedReaderInterpolatesOnItsGrid) {
    struct Gridded : JCAMPFile {
        int InitXValues(ReadSpreadSheetData* /*sink*/) override {
            EXPECT_TRUE(xRangesDiffer);
            for (const float x : {400.0F, 400.5F, 402.0F, 409.0F}) {
                xGrid.push_back(x);
            }
            return 0;
        }
    };
    const std::string files =
        Two(JCAMPText().Block("a", "400 1 2 3 ? 5"),
            JCAMPText().Head("b").Label("LASTX", "408").Data("400 10 20 30 40 50").End());
    Gridded reader;
    TableData table;
    ASSERT_EQ(reader.Open(true, files.c_str(), nullptr), 0);
    ASSERT_EQ(reader.Read(&table), 0);
    EXPECT_STREQ(table.GetText(4, 1), "t 400.5");
    EXPECT_EQ(table.GetFloatValue(5, 2), 402.0);
    EXPECT_EQ(table.GetFloatValue(3, 3), 1.0);
    EXPECT_EQ(table.GetFloatValue(4, 3), 1.5);
    EXPECT_EQ(table.GetFloatValue(5, 3), 3.0);
    EXPECT_TRUE(table.IsMissing(6, 3));
    EXPECT_EQ(table.GetFloatValue(4, 4), 12.5);
    EXPECT_EQ(table.GetFloatValue(5, 4), 20.0);
    EXPECT_TRUE(table.IsMissing(6, 4));
}

// Data

TEST_F(JCAMPFileTest, DifferencesAddUpAndAreChecked) {
    EXPECT_EQ(Values(JCAMPText().Block("a", "400A0J1K2\n402D3J4L")), "10 21 43 57 60");
}

TEST_F(JCAMPFileTest, RepetitionsStandAsOftenAsTheySay) {
    EXPECT_EQ(Values(JCAMPText().Block("a", "400A0TJ1U")), "10 10 21 32 43");
}

TEST_F(JCAMPFileTest, FailedCheckLeavesTheRowWithoutValues) {
    const std::string trace = Trace(JCAMPText().Block("a", "400A0J1K2\n402B4J4%"));
    EXPECT_NE(trace.find("Set 5 2 double 402\nRead 0x0\nWarning \"Y-value check failed on line 11. The "
                         "remaining part of the "
                         "dataset will be ignored.\"\n"),
              std::string::npos)
        << trace;
    EXPECT_NE(trace.find("Set 2 3 text"), std::string::npos);
}

TEST_F(JCAMPFileTest, FailedCheckBehindTheLastPointIsSilentAndLeavesNoValuesEither) {
    const std::string trace = Trace(JCAMPText().Block("a", "400A0J1K2%J1\n405 7"));
    EXPECT_EQ(trace.find("Warning"), std::string::npos);
    EXPECT_EQ(trace.find("float"), std::string::npos);
}

TEST_F(JCAMPFileTest, CheckBehindTheLastPointThatHoldsIsNoPoint) {
    EXPECT_EQ(Values(JCAMPText().Block("a", "400A0J1K2%J1\n404E4")), "10 21 43 43 54");
}

TEST_F(JCAMPFileTest, LineWithoutOrdinatesBehindADifferenceChecksAgainstZero) {
    EXPECT_EQ(Warning(Write("s.dx", JCAMPText().Block("a", "400A0J1\n402"))),
              "Y-value check failed on line 11. The remaining part of the dataset will be ignored.");
    // And where the sum is zero, the first value of the line behind it is taken for the check.
    EXPECT_EQ(Values(JCAMPText().Block("a", "400A0j0\n402\n402 7 1 2 3")), "10 0 1 2 3");
}

TEST_F(JCAMPFileTest, TooManyOrdinatesWarnAndLeaveTheRowEmpty) {
    const std::string path = Write("s.dx", JCAMPText().Block("a", "400 1 2 3 4 5 6"));
    EXPECT_EQ(Warning(path),
              "There seem to be more y-values in the file than specified by the '##NPOINTS'-label. Continue "
              "with the import "
              "will cause incorrectly computed x-values, since the nominal spacing between the x-values is "
              "calculated from "
              "the number of y-values.");
    EXPECT_EQ(ReadTrace(Format, path).find("float"), std::string::npos);
}

TEST_F(JCAMPFileTest, TooFewOrdinatesWarnAndAreSet) {
    const std::string text = JCAMPText().Block("a", "400 1 2");
    EXPECT_EQ(Values(text), "1 2");
    EXPECT_EQ(Warning(Write("s.dx", text)),
              "Data seem to be missing in the file. Could only read 2 y-values, but expected to read 5. "
              "Continue with the "
              "import will cause incorrectly computed x-values, since the nominal spacing between the "
              "x-values is calculated "
              "from the number of y-values.");
}

TEST_F(JCAMPFileTest, WarningsOfASelectionNameFileAndLine) {
    const std::string good = JCAMPText().Block("a");
    EXPECT_TRUE(Warning(Two(good, JCAMPText().Block("b", "400 1 2")))
                    .starts_with("Error in file 'b.dx', line 23: Data seem"));
    EXPECT_TRUE(Warning(Two(good, JCAMPText().Block("b", "400 1 2 3 4 5 6")))
                    .starts_with("Error in file 'b.dx': There seem"));
    EXPECT_TRUE(Warning(Two(good, JCAMPText().Block("b", "400A0J1K2\n402B4J4%")))
                    .starts_with("Error in file 'b.dx': Y-value check failed on line "));
}

TEST_F(JCAMPFileTest, WarningOfAnUnknownCodeIsInternal) {
    JCAMPFile reader;
    EXPECT_EQ(reader.GetWarningMessage(), nullptr);
    EXPECT_FALSE(reader.JCAMPWarning());
}

TEST_F(JCAMPFileTest, OrdinateOfMinus99IsMissing) {
    EXPECT_EQ(Values(JCAMPText().Block("a", "400 1 -99 3 -99.5 5")), "1 ? 3 -99.5 5");
}

TEST_F(JCAMPFileTest, RepeatedAbscissaIsStatus0x616) {
    EXPECT_EQ(FailureOf(JCAMPText().Block("a", "400T 1 2")),
              "0x616: Duplicate suppression count (DUP) should be 1 for abscissa.");
    EXPECT_EQ(FailureOf(JCAMPText().Block("a", "J5 1 2")),
              "0x616: Duplicate suppression count (DUP) should be 1 for abscissa.");
    EXPECT_EQ(Values(JCAMPText().Block("a", "400S 1 2 3 4 5")), "1 2 3 4 5");
}

TEST_F(JCAMPFileTest, DifferenceAsFirstOrdinateIsStatus0x617) {
    EXPECT_EQ(FailureOf(JCAMPText().Block("a", "400J1 2")),
              "0x617: A DUP-value is not allowed as first ordinate.");
}

TEST_F(JCAMPFileTest, DataWithoutAnEndAreStatus0x618) {
    // A page that begins at the file's end: its block has ended before.
    EXPECT_EQ(FailureOf(JCAMPText().Head("a").End().Line("##XYDATA=(X++(Y..Y))")),
              "0x618: Found unexpected End-of-file while reading data from file.");
}

TEST_F(JCAMPFileTest, IllegalCharactersAreStatus0x619) {
    EXPECT_EQ(FailureOf(JCAMPText().Block("a", "400 1 x")),
              "0x619: Found an illegal character on line 10 while reading data from the file.");
    EXPECT_EQ(FailureOf(JCAMPText().Block("a", "x 1")),
              "0x619: Found an illegal character on line 10 while reading data from the file.");
}

TEST_F(JCAMPFileTest, ConsecutiveRepetitionsAreStatus0x61b) {
    EXPECT_EQ(FailureOf(JCAMPText().Block("a", "400 1ST")),
              "0x61b: Two consecutive DUP-values is not allowed.");
}

TEST_F(JCAMPFileTest, FailuresInASelectionNameFileAndLine) {
    const auto failure = [&](const std::string& data) {
        return Failure(Two(JCAMPText().Block("a"), JCAMPText().Block("b", data)));
    };
    EXPECT_EQ(
        failure("400T"),
        "0x616: Error in file 'b.dx', line 22: Duplicate suppression count (DUP) should be 1 for abscissa.");
    EXPECT_EQ(failure("400J"),
              "0x617: Error in file 'b.dx', line 22: A DUP-value is not allowed as first ordinate.");
    EXPECT_EQ(failure("x"),
              "0x619: Error in file 'b.dx': Found an illegal character on line 22 while reading data from "
              "the file.");
    EXPECT_EQ(failure("400 1ST"),
              "0x61b: Error in file 'b.dx', line 22: Two consecutive DUP-values is not allowed.");
    EXPECT_EQ(Failure(Two(JCAMPText().Block("a"), JCAMPText().Label("TITLE", "b").End())),
              "0x60b: Error in file 'b.dx': The size of the data block could not be established. The "
              "'##NPOINTS'-label could "
              "not be found or had an illegal value.");
}

// Peaks

TEST_F(JCAMPFileTest, PeaksOfTheFirstSeriesAreTheColumns) {
    EXPECT_EQ(Cells(JCAMPText()
                        .PeakHead("a", 3)
                        .Label("XFACTOR", "2")
                        .Label("YFACTOR", "10")
                        .Label("PEAKTABLE", "(XY..XY)")
                        .Line("1,5 2;6")
                        .Line("? 7")
                        .End()),
              "Set 1 2 int 1\nSet 2 2 text \"X\"\nSet 1 3 int 2\nSet 2 3 text \"Mass spectrum : a\"\n"
              "Set 3 1 text \"t 2\"\nSet 3 2 double 2\nSet 4 1 text \"t 4\"\nSet 4 2 double 4\n"
              "Set 5 1 text \"t -99\"\nSet 5 2 double -99\n"
              "Set 3 3 float 50\nSet 4 3 float 60\nSet 5 3 float 70\n");
}

TEST_F(JCAMPFileTest, PeakWithoutHeightIsMissing) {
    EXPECT_EQ(
        Values(JCAMPText().PeakHead("a", 3).Label("XYPOINTS", "(XY..XY)").Line("1 5 2").Line("3,,4 6").End()),
        "5 ? ? 6");
}

TEST_F(JCAMPFileTest, CommaIsADecimalPointAmongXYPoints) {
    EXPECT_EQ(Values(JCAMPText()
                         .PeakHead("a", 2)
                         .Label("DATACLASS", "XYPOINTS")
                         .Label("XYPOINTS", "(XYW..XYW)")
                         .Line("1,5 2,25 3 4")
                         .End()),
              "2.25 4");
}

TEST_F(JCAMPFileTest, LetterAmongPeaksIsStatus0x61aAndWhatWasSetStays) {
    const std::string text = JCAMPText().PeakHead("a", 2).Label("PEAKTABLE", "(XY..XY)").Line("1 2 x").End();
    EXPECT_EQ(FailureOf(text), "0x61a: Found an invalid character while reading data from the dataset");
    EXPECT_NE(Cells(text).find("Set 3 1 text \"t 1\"\n"), std::string::npos);
}

TEST_F(JCAMPFileTest, MoreLinesOfPeaksThanPointsLeaveTheRowEmptySilently) {
    const auto peaks = [](int lines) {
        JCAMPText text;
        text.PeakHead("a", 2).Label("PEAKTABLE", "(XY..XY)");
        for (int i = 1; i <= lines; ++i) {
            text.Line(std::to_string(i) + " 5");
        }
        return text.End();
    };
    EXPECT_EQ(Values(peaks(3)), "5 5 5");
    const std::string trace = Trace(peaks(4));
    EXPECT_EQ(trace.find("float"), std::string::npos);
    EXPECT_EQ(trace.find("Warning"), std::string::npos);
}

TEST_F(JCAMPFileTest, TooFewPeaksWarn) {
    EXPECT_TRUE(
        Warning(Write("s.dx", JCAMPText().PeakHead("a", 5).Label("PEAKTABLE", "(XY..XY)").Line("1 2").End()))
            .starts_with(
                "Data seem to be missing in the file. Could only read 1 y-values, but expected to read 5."));
}

// The object

TEST_F(JCAMPFileTest, WritingIsStatus3) {
    JCAMPFile reader;
    EXPECT_EQ(reader.Open(false, folder.Path("out.dx").c_str(), nullptr), 3);
    EXPECT_EQ(reader.Open(true, folder.Path("out.dx").c_str(), nullptr), 3);
    EXPECT_EQ(reader.GetNumRows(), -1);
    EXPECT_EQ(reader.GetNumCols(), -1);
    reader.Close();
    EXPECT_EQ(reader.GetStatus(), 0);
}

TEST_F(JCAMPFileTest, MeasuringByItselfIsNotOffered) {
    JCAMPFile reader;
    EXPECT_EQ(reader.EstablishSize(), 0x620);
    EXPECT_EQ(reader.GetStatus(), 0);
}

TEST_F(JCAMPFileTest, CodesThatAreNeverRaisedHaveTheirTexts) {
    struct Failing : JCAMPFile {
        explicit Failing(int code) { status = code; }
    };
    Failing points(JCAMPFile::StatusXYPoints);
    Failing series(JCAMPFile::StatusInvalidSeries);
    Failing interrupted(JCAMPFile::StatusInterrupted);
    Failing other(0x7777);
    EXPECT_EQ(ErrorOf(points), " can currently not read XY points.");
    EXPECT_EQ(ErrorOf(series), "The selected series is invalid");
    EXPECT_EQ(ErrorOf(interrupted), "File read interrupted by the user.");
    EXPECT_EQ(ErrorOf(other), "No further information available.");
}

TEST_F(JCAMPFileTest, LongMessageIsCut) {
    JCAMPFile reader;
    reader.Open(true, folder.Path("none.dx").c_str(), nullptr);
    char buffer[8];
    reader.GetErrorMessage(buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "Unable ");
}

TEST_F(JCAMPFileTest, TitleOfTheListIsEmptyAsSoonAsThereAreBlocks) {
    char buffer[64];
    JCAMPFile reader;
    reader.GetTitle(buffer);
    EXPECT_STREQ(buffer, "Data type, size of dataset, title.");
    reader.Open(true, "none.dx\nother.dx", nullptr);
    reader.GetTitle(buffer);
    EXPECT_STREQ(buffer, "File, datatype, size of dataset, title.");
    JCAMPFile opened;
    ASSERT_EQ(opened.Open(true, Write("s.dx", JCAMPText().Block("a")).c_str(), nullptr), 0);
    opened.GetTitle(buffer);
    EXPECT_STREQ(buffer, "");
}

TEST_F(JCAMPFileTest, DateIsThatOfTheBlockReadLast) {
    const auto date = [&](JCAMPText labels) {
        JCAMPFile reader;
        CountingSink sink;
        COleDateTime time;
        EXPECT_EQ(reader.GetDateCreated(time), "");
        reader.Open(true, Write("s.dx", labels.Data("400 1 2 3 4 5").End()).c_str(), nullptr);
        reader.Read(&sink);
        const std::string text = reader.GetDateCreated(time);
        return text + " = " + std::to_string(time.GetSerial());
    };
    EXPECT_EQ(date(JCAMPText().Head("a").Label("DATE", "97/03/18").Label("TIME", "06:00:00")),
              "97/03/18 06:00:00 = 35507.250000");
    EXPECT_EQ(date(JCAMPText().Head("a").Label("TIME", "06:00").Label("DATE", "97/03/18")),
              "06:00 = 0.250000");
    EXPECT_EQ(date(JCAMPText().Head("a").Label("DATE", "18 March 1997").Label("TIME", "06:00")),
              "18 March 1997 = 35507.000000");
    EXPECT_EQ(date(JCAMPText().Head("a").Label("DATE", "long ago")), " = 0.000000");
    EXPECT_EQ(date(JCAMPText().Head("a")), " = 0.000000");
}

TEST_F(JCAMPFileTest, ContentsListBlocksByTheirIndex) {
    const std::string text =
        JCAMPText().Block("x").Label("TITLE", "l").Label("DATATYPE", "LINK").End().Block("y");
    JCAMPFile reader;
    ASSERT_EQ(reader.Open(true, Write("s.dx", text).c_str(), nullptr), 0);
    const auto parts = reader.ListParts();
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[1].kind, "block");
    EXPECT_EQ(parts[1].name, "y");
    EXPECT_EQ(parts[1].number, 2);
    EXPECT_EQ(parts[1].rows, 1);
    EXPECT_EQ(parts[1].cols, 5);
    EXPECT_EQ(parts[1].detail, "Infrared spectrum");
}

TEST_F(JCAMPFileTest, FactsTellTheAxis) {
    const std::string text = JCAMPText()
                                 .Head("a")
                                 .Label("YUNITS", "ABSORBANCE")
                                 .Label("DATE", "97/03/18")
                                 .Data("400 1 2 3 4 5")
                                 .End();
    JCAMPFile reader;
    ASSERT_EQ(reader.Open(true, Write("s.dx", text).c_str(), nullptr), 0);
    const std::vector<FileContents::Fact> expected{
        {"spectra", "1"},      {"points", "5"},          {"first X", "400 1/CM"}, {"last X", "404 1/CM"},
        {"spacing", "1 1/CM"}, {"Y unit", "ABSORBANCE"}, {"date", "97/03/18"}};
    EXPECT_EQ(reader.ListFacts(), expected);
}

// Hostile files

TEST_F(JCAMPFileTest, RepetitionOfABillionStopsAtThePointsExpected) {
    EXPECT_TRUE(Warning(Write("s.dx", JCAMPText().Block("a", "400 1Z999999999")))
                    .starts_with("There seem to be more"));
}

TEST_F(JCAMPFileTest, RepetitionsBeyondWhatTheFileCanMeanAreAnIllegalPointCount) {
    const std::string text =
        JCAMPText().Head("a").Label("NPOINTS", "2147483647").Data("400 1Z99999999").End();
    EXPECT_TRUE(FailureOf(text).starts_with("0x60b: The size of the data block could not be established."));
}

TEST_F(JCAMPFileTest, PointCountThatLiesCostsNothing) {
    const std::string trace =
        Trace(JCAMPText().Head("a").Label("NPOINTS", "2147483647").Data("400 1 2 3").End());
    EXPECT_NE(trace.find("GetNumCols 2147483647\n"), std::string::npos);
    EXPECT_NE(trace.find("Could only read 3 y-values, but expected to read 2147483647."), std::string::npos);
}

TEST_F(JCAMPFileTest, MillionLabelsAreLinear) {
    std::string text = "##TITLE=a\n";
    for (int i = 0; i < 1000000; ++i) {
        text += "##OWNER=\n";
    }
    EXPECT_TRUE(FailureOf(text).starts_with("0x605"));
}

TEST_F(JCAMPFileTest, ManyBlocksOfOneAxisAreLinear) {
    std::string text;
    for (int i = 0; i < 20000; ++i) {
        text += "##TITLE=\n##NPOINTS=1\n##FIRSTX=1\n##XYDATA=XYDATA\n1 2\n##END=\n";
    }
    JCAMPFile reader;
    CountingSink sink;
    ASSERT_EQ(reader.Open(true, Write("s.dx", text).c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumRows(), 20002);
    EXPECT_EQ(reader.Read(&sink), 0);
    EXPECT_EQ(sink.cells, 60004);
}

TEST_F(JCAMPFileTest, ThousandsOfFilesAreReadWithFewOpenAtATime) {
    std::string files;
    const std::string text = JCAMPText().Block("a");
    for (int i = 0; i < 1500; ++i) {
        files += Write("s" + std::to_string(i) + ".dx", text) + "\n";
    }
    JCAMPFile reader;
    CountingSink sink;
    ASSERT_EQ(reader.Open(true, files.c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumRows(), 1502);
    ASSERT_EQ(reader.Read(&sink), 0);
    EXPECT_EQ(sink.cells, 2 + 10 + 1500 * 7);
}

TEST_F(JCAMPFileTest, FileThatVanishesBeforeReadIsAnUnexpectedEnd) {
    const std::string path = Write("s.dx", JCAMPText().Block("a"));
    JCAMPFile reader;
    CountingSink sink;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    std::filesystem::remove(path);
    EXPECT_EQ(reader.Read(&sink), 0x618);
}

TEST_F(JCAMPFileTest, DamagedFilesEndInAStatus) {
    const std::string good = JCAMPText()
                                 .Label("TITLE", "l")
                                 .Label("DATATYPE", "LINK")
                                 .Label("BLOCKS", "2")
                                 .Block("a", "400A0J1K2\n402D3J4L")
                                 .Block("b", "400 1 2 3\n403 ?T")
                                 .End();
    ForEachDamage(good, [&](const std::string& bytes) { FailureOf(bytes); });
}

// Real files

namespace {

void ExpectY(TableData& table, int row, const SpectrumTruth::Spectrum& truth) {
    const int points = truth.points;
    double sum = 0;
    for (int i = 0; i < points; ++i) {
        sum += table.GetFloatValue(i + 3, row);
    }
    EXPECT_NEAR(sum, truth.sumY, 1e-5 * std::fabs(truth.sumY) + 1e-3);
    for (std::size_t i = 0; i < truth.firstY.size(); ++i) {
        EXPECT_FLOAT_EQ(table.GetFloat(static_cast<int>(i) + 3, row), static_cast<float>(truth.firstY[i]));
        const int last = points - static_cast<int>(truth.lastY.size() - i) + 3;
        EXPECT_FLOAT_EQ(table.GetFloat(last, row), static_cast<float>(truth.lastY[i]));
    }
}

}  // namespace

TEST_F(JCAMPFileTest, RealFilesHoldWhatAnIndependentReaderFound) {
    SKIP_WITHOUT_SHARED_DATA();
    for (const char* name : {"bruk-affn.dx", "bruk-sqz.dx", "bruker1.jcm", "jeol-nmr.dx", "link-5-uvvis.jdx",
                             "multiline-labels.jdx", "one-pair-per-line.jdx", "xypoints-uvvis.jdx"}) {
        SCOPED_TRACE(name);
        const std::string path = SharedFolder() + "/data/instrument/jcamp/" + name;
        const SpectrumTruth truth = ReadSpectrumTruth(path);
        JCAMPFile reader;
        TableData table;
        ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
        ASSERT_EQ(reader.GetNumRows(), truth.numSpectra + 2);
        table.SetDataSize(reader.GetNumCols(), reader.GetNumRows());
        ASSERT_EQ(reader.Read(&table), 0);
        EXPECT_EQ(reader.GetWarningMessage(), nullptr);
        EXPECT_EQ(reader.GetNumCols(), truth.spectra.front().points + 2);
        EXPECT_NEAR(table.GetFloatValue(3, 2), truth.firstX, 1e-9 * std::fabs(truth.firstX));
        EXPECT_NEAR(table.GetFloatValue(truth.spectra.front().points + 2, 2), truth.lastX,
                    1e-9 * std::fabs(truth.firstX));
        EXPECT_STREQ(table.GetText(2, 2), truth.xUnits.c_str());
        for (const SpectrumTruth::Spectrum& spectrum : truth.spectra) {
            ExpectY(table, spectrum.index + 3, spectrum);
        }
    }
}

TEST_F(JCAMPFileTest, RealFilesThatTheRulesRefuseOrCut) {
    SKIP_WITHOUT_SHARED_DATA();
    const std::string shared = SharedFolder() + "/data/instrument/jcamp/";
    // N-tuples and assignments aren't read.
    EXPECT_TRUE(Failure(shared + "bruk-ntuples.dx").starts_with("0x610"));
    EXPECT_TRUE(Failure(shared + "ntuples-2d-nmr.dx").starts_with("0x610"));
    EXPECT_TRUE(Failure(shared + "bad/structure-only.dx").starts_with("0x60e"));
    // Peak tables of different lengths have no common columns.
    EXPECT_EQ(Failure(shared + "link-6-peaktables.jdx"), "0x4: AbortedByUser");
    // The link has no end of its own.
    EXPECT_TRUE(Failure(shared + "link-claims-16-blocks.jdx").starts_with("0x605"));
    // A table's label without its "=".
    EXPECT_TRUE(Failure(shared + "bad/ycheck-fails.jdx").starts_with("0x603"));
    EXPECT_TRUE(Warning(shared + "bad/garbled-middle.jdx").starts_with("There seem to be more y-values"));
    // The closing check doesn't match the last point: silent, and the row is left empty.
    EXPECT_EQ(Warning(shared + "specfile.dx"), "");
    EXPECT_EQ(ReadTrace(Format, shared + "specfile.dx").find(" float "), std::string::npos);
}
