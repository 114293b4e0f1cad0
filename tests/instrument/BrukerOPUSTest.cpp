#include "instrument/BrukerOPUS.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "frame/SprFileFactory.h"
#include "host/Question.h"
#include "table/TableData.h"
#include "tests/instrument/OPUSBuilder.h"
#include "tests/support/CountingSink.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpectrumTruth.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Format = "Bruker OPUS File";

class BrukerOPUSTest : public testing::Test {
protected:
    ~BrukerOPUSTest() override { Question::SetHandler({}); }

    std::string Trace(const std::string& bytes, const TraceOptions& how = {}) {
        return ReadTrace(Format, folder.Write("scan.0", bytes), how);
    }
    std::string TraceBlocks(const std::vector<OPUSBlockBytes>& blocks) { return Trace(OPUSFile(blocks)); }
    std::string TraceTwo(const std::string& first, const std::string& second, const TraceOptions& how = {}) {
        return ReadTrace(Format, Two(first, second), how);
    }
    std::string Two(const std::string& first, const std::string& second) {
        return folder.Write("scan.0", first) + "\n" + folder.Write("scan.1", second);
    }
    std::string Failure(const std::string& message) const {
        return std::string("Format \"Bruker OPUS File\"\nOpen 0x4\nError \"") + message + "\"\nClose\n";
    }
    static std::string CellOf(const std::string& trace, int column, int row) {
        const std::string start = "\nSet " + std::to_string(column) + " " + std::to_string(row) + " ";
        const std::size_t found = trace.find(start);
        if (found == std::string::npos) {
            return "unset";
        }
        const std::size_t begin = found + start.size();
        return trace.substr(begin, trace.find('\n', begin) - begin);
    }
    std::string Path(const char* name) const { return folder.Path(name); }

    TempFolder folder;
};

std::string Corrupt(const std::string& path) {
    return "A corrupt data status block was found in the file '" + path + "'. Import aborted.";
}

std::string NoData(const std::string& path) {
    return "Could not find any data in '" + path +
           "'. Import aborted.\\n\\n(Sample and reference data cannot be imported.} ";
}

std::string NotReal32(const std::string& path) {
    return path +
           ": The Bruker OPUS File import does currently not support files where data has not been saved as "
           "'REAL32'. "
           "Import aborted.";
}

}  // namespace

TEST_F(BrukerOPUSTest, ReadsOneSpectrum) {
    EXPECT_EQ(Trace(OPUSBuilder().Build()),
              "Format \"Bruker OPUS File\"\n"
              "Open 0x0\n"
              "GetNumRows 3\n"
              "GetNumCols 8\n"
              "SetDataSize 8 3\n"
              "Set 1 1 text \"File Name\"\n"
              "Set 2 1 text \"Sample Name\"\n"
              "Set 3 1 text \"Sample Form\"\n"
              "Set 4 1 text \"Date\"\n"
              "Set 5 1 text \"Time\"\n"
              "Set 6 1 text \"Var_1\"\n"
              "Set 7 1 text \"Var_2\"\n"
              "Set 8 1 text \"Var_3\"\n"
              "Set 1 2 text \"Wavenumber cm-1\"\n"
              "Set 6 2 float 100\n"
              "Set 7 2 float 101\n"
              "Set 8 2 float 102\n"
              "Set 1 3 text \"scan.0\"\n"
              "Set 2 3 text \"soil\"\n"
              "Set 3 3 text \"powder\"\n"
              "Set 4 3 text \"04/03/2009\"\n"
              "Set 5 3 text \"10:11:12.5\"\n"
              "Set 6 3 float 1\n"
              "Set 7 3 float 2\n"
              "Set 8 3 float 4\n"
              "Read 0x0\n"
              "Close\n");
}

TEST_F(BrukerOPUSTest, UnitOfTheAxisHasItsName) {
    const std::pair<const char*, const char*> units[] = {{"WN", "Wavenumber cm-1"},
                                                         {"MI", "Micron"},
                                                         {"LGW", "Log Wavenumber"},
                                                         {"MIN", "Minutes"},
                                                         {"PNT", "Points"},
                                                         {"wn", "wn"},
                                                         {"NM", "NM"},
                                                         {"", ""}};
    OPUSBuilder file;
    for (const auto& [code, name] : units) {
        file.units = code;
        EXPECT_EQ(CellOf(Trace(file.Build()), 1, 2), std::string("text \"") + name + "\"");
    }
}

TEST_F(BrukerOPUSTest, XIsComputedInFloat) {
    OPUSBuilder file;
    file.firstX = 3997.396811;
    file.lastX = 3993.3177;
    const auto spacing = static_cast<float>((file.lastX - file.firstX) / 2);
    TableData table;
    BrukerOPUS reader;
    ASSERT_EQ(reader.Open(true, folder.Write("scan.0", file.Build()).c_str(), nullptr), 0);
    ASSERT_EQ(reader.Read(&table), 0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(static_cast<float>(table.GetFloatValue(6 + i, 2)),
                  static_cast<float>(i) * spacing + static_cast<float>(file.firstX));
    }
}

TEST_F(BrukerOPUSTest, ValuesAreScaledInFloat) {
    OPUSBuilder file;
    auto blocks = file.Blocks();
    blocks[1].bytes = file.Status().Double("CSF", 0.1).End();
    const std::string trace = TraceBlocks(blocks);
    EXPECT_EQ(CellOf(trace, 6, 3), "float 0.100000001");
    EXPECT_EQ(CellOf(trace, 8, 3), "float 0.400000006");
}

TEST_F(BrukerOPUSTest, OnePointHasASpacingThatIsNoNumber) {
    OPUSBuilder file;
    file.values = {5.0F};
    file.lastX = file.firstX;
    const std::string trace = Trace(file.Build());
    EXPECT_EQ(CellOf(trace, 6, 2), "float nan");
    EXPECT_EQ(CellOf(trace, 6, 3), "float 5");
}

TEST_F(BrukerOPUSTest, NoPointsLeaveTheTexts) {
    OPUSBuilder file;
    file.values = {};
    const std::string trace = Trace(file.Build());
    EXPECT_NE(trace.find("GetNumRows 3\nGetNumCols 5\n"), std::string::npos);
    EXPECT_EQ(CellOf(trace, 2, 3), "text \"soil\"");
    EXPECT_EQ(CellOf(trace, 6, 3), "unset");
}

TEST_F(BrukerOPUSTest, DirectoryElsewhereIsFollowed) {
    const std::string plain = OPUSBuilder().Build();
    std::string moved = plain + plain.substr(24, 36);
    moved.replace(24, 36, 36, '\xff');
    const auto offset = static_cast<std::int32_t>(plain.size());
    moved.replace(12, 4, reinterpret_cast<const char*>(&offset), 4);
    EXPECT_EQ(Trace(moved), Trace(plain));
}

TEST_F(BrukerOPUSTest, LastDataBlockIsKept) {
    const OPUSBuilder file;
    const auto blocks = file.Blocks();
    const std::string trace =
        TraceBlocks({{OPUSRatioedData, OPUSValues({7.0F, 8.0F, 9.0F})}, blocks[2], blocks[1], blocks[0]});
    EXPECT_EQ(CellOf(trace, 6, 3), "float 1");
}

TEST_F(BrukerOPUSTest, WalkEndsAsSoonAsAllKindsWereFound) {
    const OPUSBuilder file;
    auto blocks = file.Blocks();
    blocks.push_back({OPUSRatioedData, OPUSValues({7.0F, 8.0F, 9.0F})});
    blocks.push_back({OPUSRatioedStatus, OPUSStatus(2, 0.0, 1.0).End()});
    EXPECT_EQ(TraceBlocks(blocks), Trace(file.Build()));
}

TEST_F(BrukerOPUSTest, LaterBlocksOverwriteEarlierOnes) {
    const OPUSBuilder file;
    const std::string trace =
        TraceBlocks({{OPUSRatioedStatus, file.Status().Int("NPT", 17).Text("SNM", "first").End()},
                     {OPUSRatioedStatus, OPUSParameters().Int("NPT", 3).End()},
                     {OPUSSampleParameters, OPUSParameters().Text("SNM", "second").End()},
                     {OPUSRatioedData, OPUSValues(file.values)}});
    EXPECT_NE(trace.find("GetNumCols 8\n"), std::string::npos);
    EXPECT_EQ(CellOf(trace, 2, 3), "text \"second\"");
}

TEST_F(BrukerOPUSTest, OtherParametersArePassedOver) {
    const OPUSBuilder file;
    auto blocks = file.Blocks();
    blocks[1].bytes = OPUSParameters()
                          .Text("ABC", "something")
                          .Head("XYZ", 0, 0)
                          .Head("NEG", 0, -5)
                          .Raw(file.Status().End())
                          .WithoutEnd();
    EXPECT_EQ(TraceBlocks(blocks), Trace(file.Build()));
}

TEST_F(BrukerOPUSTest, NumbersAreReadAtTheirSizeWhateverTheHeadSays) {
    const OPUSBuilder file;
    auto blocks = file.Blocks();
    blocks[1].bytes = OPUSParameters()
                          .Head("DER", 0, 77)
                          .Raw(std::string(4, '\1'))
                          .Head("MXY", 1, 0)
                          .Raw(std::string(8, '\1'))
                          .Raw(file.Status().End())
                          .WithoutEnd();
    EXPECT_EQ(TraceBlocks(blocks), Trace(file.Build()));
}

TEST_F(BrukerOPUSTest, TextEndsAtItsNul) {
    const OPUSBuilder file;
    auto blocks = file.Blocks();
    blocks[0].bytes = OPUSParameters()
                          .Head("SNM", 2, 4)
                          .Raw(std::string("AB\0CDEFG", 8))
                          .Head("SFM", 2, 2)
                          .Raw("full")
                          .End();
    const std::string trace = TraceBlocks(blocks);
    EXPECT_EQ(CellOf(trace, 2, 3), "text \"AB\"");
    EXPECT_EQ(CellOf(trace, 3, 3), "text \"full\"");
}

TEST_F(BrukerOPUSTest, TextOfNoLengthIsEmptyAndEndsNothing) {
    const OPUSBuilder file;
    auto blocks = file.Blocks();
    blocks[0].bytes = OPUSParameters().Text("SNM", "old").Head("SNM", 2, 0).Text("SFM", "behind").End();
    const std::string trace = TraceBlocks(blocks);
    EXPECT_EQ(CellOf(trace, 2, 3), "text \"\"");
    EXPECT_EQ(CellOf(trace, 3, 3), "text \"behind\"");
}

TEST_F(BrukerOPUSTest, BlockMayEndWithTheFile) {
    const OPUSBuilder file;
    EXPECT_EQ(
        Trace(
            OPUSFile({file.Blocks()[0], file.Blocks()[2], {OPUSRatioedStatus, file.Status().WithoutEnd()}})),
        Trace(OPUSFile({file.Blocks()[0], file.Blocks()[2], {OPUSRatioedStatus, file.Status().End()}})));
    // Also where a value would begin, or behind a skip over the end.
    for (const char* name : {"DER", "MXY", "DAT", "ABC"}) {
        const std::string bytes = file.Status().Head(name, 0, 30000).WithoutEnd();
        EXPECT_NE(
            TraceBlocks({file.Blocks()[0], file.Blocks()[2], {OPUSRatioedStatus, bytes}}).find("Read 0x0\n"),
            std::string::npos)
            << name;
    }
}

TEST_F(BrukerOPUSTest, CutParameterIsACorruptBlock) {
    const OPUSBuilder file;
    const std::string whole = file.Status().Int("DER", 1).WithoutEnd();
    for (std::size_t missing : {1U, 3U, 5U, 11U}) {
        const std::string bytes = whole.substr(0, whole.size() - missing);
        EXPECT_EQ(TraceBlocks({file.Blocks()[0], file.Blocks()[2], {OPUSRatioedStatus, bytes}}),
                  Failure(Corrupt(Path("scan.0"))))
            << missing;
    }
    const std::string text = file.Status().Head("SNM", 2, 10).Raw("x").WithoutEnd();
    EXPECT_EQ(TraceBlocks({file.Blocks()[0], file.Blocks()[2], {OPUSRatioedStatus, text}}),
              Failure(Corrupt(Path("scan.0"))));
}

TEST_F(BrukerOPUSTest, EveryMagicIsLookedAtFirst) {
    EXPECT_EQ(TraceTwo("\x0a\x0a\xfe\xfe", "text"),
              Failure(Path("scan.1") + " does not seem to be a supported Bruker OPUS file."));
    EXPECT_EQ(ReadTrace(Format, folder.Path("none")),
              Failure(Path("none") + " does not seem to be a supported Bruker OPUS file."));
}

TEST_F(BrukerOPUSTest, CutHeaderIsCorrupt) {
    EXPECT_EQ(
        Trace(OPUSBuilder().Build().substr(0, 23)),
        Failure("A corrupt header block was found in the file '" + Path("scan.0") + "'. Import aborted."));
}

TEST_F(BrukerOPUSTest, FileWithoutADataStatusBlockHasNoData) {
    const OPUSBuilder file;
    const auto blocks = file.Blocks();
    EXPECT_EQ(TraceBlocks({}), Failure(NoData(Path("scan.0"))));
    EXPECT_EQ(TraceBlocks({blocks[0], blocks[2]}), Failure(NoData(Path("scan.0"))));
    EXPECT_EQ(TraceBlocks({{OPUSSampleStatus, blocks[1].bytes}, {OPUSSampleData, blocks[2].bytes}}),
              Failure(NoData(Path("scan.0"))));
}

TEST_F(BrukerOPUSTest, DirectoryOutsideTheFileHasNoData) {
    for (const std::int32_t offset : {-1, 0x7fffffff}) {
        std::string bytes = OPUSBuilder().Build();
        bytes.replace(12, 4, reinterpret_cast<const char*>(&offset), 4);
        EXPECT_EQ(Trace(bytes), Failure(NoData(Path("scan.0"))));
    }
}

TEST_F(BrukerOPUSTest, ValuesThatAreNoReal32AreRefused) {
    const OPUSBuilder file;
    auto blocks = file.Blocks();
    blocks[1].bytes = file.Status().Int("DPF", 2).End();
    EXPECT_EQ(TraceBlocks(blocks), Failure(NotReal32(Path("scan.0"))));
    blocks[1].bytes = OPUSParameters().Int("NPT", 3).End();
    EXPECT_EQ(TraceBlocks(blocks), Failure(NotReal32(Path("scan.0"))));
    // The last one read decides.
    blocks[1].bytes = OPUSParameters().Int("DPF", 2).Raw(file.Status().End()).WithoutEnd();
    EXPECT_EQ(TraceBlocks(blocks), Trace(file.Build()));
}

TEST_F(BrukerOPUSTest, EmptySelectionHasNoData) {
    EXPECT_EQ(ReadTrace(Format, ""), Failure("No data was found. Import aborted."));
}

TEST_F(BrukerOPUSTest, PointCountsThatDifferAreRefusedWithTheLastOne) {
    OPUSBuilder shorter;
    shorter.values = {1.0F, 2.0F};
    OPUSBuilder longer;
    longer.values = {1.0F, 2.0F, 3.0F, 4.0F};
    const std::string paths = Two(OPUSBuilder().Build(), shorter.Build()) + "\n" +
                              folder.Write("scan.2", longer.Build()) + "\n" +
                              folder.Write("scan.3", OPUSBuilder().Build());
    int questions = 0;
    Question::SetHandler([&](const std::string&) { return ++questions > 0; });
    EXPECT_EQ(
        ReadTrace(Format, paths),
        Failure(
            "Not all files have the same number of x-values.\\n\\nThe file scan.0 has 3 values but the file "
            "scan.2 has 4."));
    EXPECT_EQ(questions, 0);
}

TEST_F(BrukerOPUSTest, DifferentRangesAreAskedAbout) {
    OPUSBuilder other;
    other.firstX = 100.5;
    OPUSBuilder third;
    third.lastX = 103.0;
    const std::string paths = Two(OPUSBuilder().Build(), other.Build()) + "\n" +
                              folder.Write("scan.2", OPUSBuilder().Build()) + "\n" +
                              folder.Write("scan.3", third.Build());
    std::string asked;
    Question::SetHandler([&](const std::string& text) {
        asked = text;
        return true;
    });
    const std::string trace = ReadTrace(Format, paths);
    EXPECT_EQ(asked,
              "Not all files starts and/or ends at the same x-values but all files have the same number of "
              "values:\n\n"
              "File: scan.0; first X value: 100; last X value: 102\n"
              "File: scan.1; first X value: 100.5; last X value: 102\n"
              "File: scan.3; first X value: 100; last X value: 103\n"
              "\nDo you still want to continue importing the files?");
    // The axis is the first file's.
    EXPECT_EQ(CellOf(trace, 6, 2), "float 100");
    EXPECT_EQ(CellOf(trace, 8, 2), "float 102");
    EXPECT_NE(trace.find("GetNumRows 6\n"), std::string::npos);
}

TEST_F(BrukerOPUSTest, AnswerNoCancelsTheImport) {
    OPUSBuilder other;
    other.lastX = 105.0;
    Question::SetHandler([](const std::string&) { return false; });
    EXPECT_EQ(TraceTwo(OPUSBuilder().Build(), other.Build()), Failure("Import canceled."));
}

TEST_F(BrukerOPUSTest, RangesWithinTheToleranceAreNotAskedAbout) {
    OPUSBuilder other;
    other.firstX = 100.000005;
    Question::SetHandler([](const std::string&) { return false; });
    EXPECT_NE(TraceTwo(OPUSBuilder().Build(), other.Build()).find("Read 0x0\n"), std::string::npos);
}

TEST_F(BrukerOPUSTest, RangesAreComparedWithEveryDistinctOne) {
    const double firstValues[] = {3.0, std::nan(""), 1.0,           2.0, std::nan(""), 1.0 + 0x1p-24,
                                  2.0, 3.0,          2.0 - 0x1p-22, 4.0, INFINITY,     INFINITY};
    std::string paths;
    for (const double value : firstValues) {
        OPUSBuilder file;
        file.firstX = value;
        paths += folder.Write(std::to_string(paths.size()), file.Build()) + "\n";
    }
    std::string asked;
    Question::SetHandler([&](const std::string& text) {
        asked = text;
        return false;
    });
    EXPECT_EQ(ReadTrace(Format, paths), Failure("Import canceled."));
    std::string distinct;
    for (std::size_t at = asked.find("first X value: "); at != std::string::npos;
         at = asked.find("first X value: ", at + 1)) {
        distinct += asked.substr(at + 15, asked.find(';', at) - at - 15) + " ";
    }
    EXPECT_EQ(distinct, "3 nan 1 2 4 inf ");
}

TEST_F(BrukerOPUSTest, FileWithoutADataBlockFailsInItsRow) {
    const auto blocks = OPUSBuilder().Blocks();
    const std::string trace = TraceBlocks({blocks[0], blocks[1], {OPUSSampleData, blocks[2].bytes}});
    EXPECT_NE(trace.find("Open 0x0\n"), std::string::npos);
    EXPECT_EQ(CellOf(trace, 1, 3), "text \"scan.0\"");
    EXPECT_NE(trace.find("Read 0x4\nError \"The file '" + Path("scan.0") + "' seems to be corrupt.\"\n"),
              std::string::npos);
}

TEST_F(BrukerOPUSTest, DataBlockThatIsCutFailsInItsRow) {
    const std::string whole = OPUSBuilder().Build();
    const std::string trace = Trace(whole.substr(0, whole.size() - 1));
    EXPECT_EQ(CellOf(trace, 6, 3), "unset");
    EXPECT_NE(trace.find("Read 0x4\nError \"The file '" + Path("scan.0") + "' seems to be corrupt.\"\n"),
              std::string::npos);
}

TEST_F(BrukerOPUSTest, CountsThatCanNotBeTrueAreCorrupt) {
    const OPUSBuilder file;
    for (const std::int32_t count : {-1, std::numeric_limits<std::int32_t>::max()}) {
        auto blocks = file.Blocks();
        blocks[1].bytes = file.Status().Int("NPT", count).End();
        EXPECT_EQ(TraceBlocks(blocks), Failure(Corrupt(Path("scan.0"))));
    }
    std::string entries = file.Build();
    entries.replace(20, 4, "\xff\xff\xff\x7f");
    EXPECT_EQ(Trace(entries), Trace(file.Build()));
}

TEST_F(BrukerOPUSTest, DirectoryThatLeadsOverTheSameBytesAgainAndAgainIsStopped) {
    // A thousand entries for one long block: without a limit, a thousand times the file.
    ByteBuilder bytes;
    bytes.Text("\x0a\x0a\xfe\xfe").Double(920622.0).I32(24).I32(0).I32(1001);
    for (int i = 0; i < 1000; ++i) {
        bytes.U32(OPUSSampleParameters).I32(0).I32(24 + 12 * 1001);
    }
    bytes.U32(OPUSRatioedStatus).I32(0).I32(24 + 12 * 1001);
    for (int i = 0; i < 20000; ++i) {
        bytes.Text(OPUSParameters().Int("DER", i).WithoutEnd());
    }
    EXPECT_EQ(Trace(bytes.Bytes()), Failure(Corrupt(Path("scan.0"))));
}

TEST_F(BrukerOPUSTest, WantedRowsAloneAreSet) {
    const OPUSBuilder file;
    const std::string paths = Two(file.Build(), file.Build()) + "\n" + folder.Write("scan.2", file.Build());
    const std::string trace = ReadTrace(Format, paths, {nullptr, "1,5"});
    EXPECT_EQ(CellOf(trace, 8, 1), "text \"Var_3\"");
    EXPECT_EQ(CellOf(trace, 6, 2), "unset");
    EXPECT_EQ(CellOf(trace, 1, 3), "unset");
    EXPECT_EQ(CellOf(trace, 1, 5), "text \"scan.2\"");
    EXPECT_EQ(CellsOf(ReadTrace(Format, paths, {nullptr, "9"})), "");
}

TEST_F(BrukerOPUSTest, RowThatIsNotWantedIsNotOpened) {
    const OPUSBuilder file;
    const std::string whole = file.Build();
    EXPECT_NE(TraceTwo(whole, whole.substr(0, whole.size() - 4), {nullptr, "1-3"}).find("Read 0x0\n"),
              std::string::npos);
}

TEST_F(BrukerOPUSTest, WritingIsStatus3WithAText) {
    BrukerOPUS reader;
    EXPECT_EQ(reader.Open(false, folder.Path("out.0").c_str(), nullptr), 3);
    EXPECT_EQ(ErrorOf(reader), " 0oes not support writing OPUS files");
}

TEST_F(BrukerOPUSTest, MessageFitsItsBuffer) {
    BrukerOPUS reader;
    EXPECT_EQ(reader.Open(true, "", nullptr), 4);
    char buffer[8];
    reader.GetErrorMessage(buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "No data");
    buffer[0] = 'x';
    reader.GetErrorMessage(buffer, 0);
    EXPECT_EQ(buffer[0], 'x');
}

TEST_F(BrukerOPUSTest, FailureSticksUntilClose) {
    const std::string path = folder.Write("scan.0", OPUSBuilder().Build());
    BrukerOPUS reader;
    EXPECT_EQ(reader.Open(true, "", nullptr), 4);
    EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 4);
    EXPECT_EQ(reader.GetNumRows(), -1);
    CountingSink sink;
    EXPECT_EQ(reader.Read(&sink), 4);
    reader.Close();
    EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumRows(), 3);
    EXPECT_EQ(reader.GetWarningMessage(), nullptr);
}

TEST_F(BrukerOPUSTest, ContentDecidesTheKind) {
    const std::string good = folder.Write("scan.csv", OPUSBuilder().Build());
    const std::string bad = folder.Write("other.0", "text");
    EXPECT_EQ(OPUSSelection::GetKind(good.c_str()), KindYes);
    EXPECT_EQ(OPUSSelection::GetKind((good + "\n" + bad).c_str()), KindProbably);
    EXPECT_EQ(OPUSSelection::GetKind(bad.c_str()), KindNo);
    EXPECT_EQ(OPUSSelection::GetKind(""), KindNo);
}

TEST_F(BrukerOPUSTest, FactsTellWhatTheFileHolds) {
    BrukerOPUS reader;
    ASSERT_EQ(reader.Open(true, folder.Write("scan.0", OPUSBuilder().Build()).c_str(), nullptr), 0);
    std::string facts;
    for (const FileContents::Fact& fact : reader.ListFacts()) {
        facts += fact.name + "=" + fact.value + ";";
    }
    EXPECT_EQ(facts,
              "spectra=1;points=3;first X=100;last X=102;spacing=1;X unit=Wavenumber cm-1;sample=soil;");
    ASSERT_EQ(reader.ListParts().size(), 1U);
    EXPECT_EQ(reader.ListParts().front().detail, "100 to 102, 04/03/2009 10:11:12.5");
}

TEST_F(BrukerOPUSTest, DamagedFilesEndInAStatus) {
    const std::string good = OPUSBuilder().Build();
    std::mt19937 random(1);
    for (int round = 0; round < 400; ++round) {
        std::string damaged = good;
        for (std::size_t i = 0; i <= damaged.size() / 100; ++i) {
            damaged[4 + random() % (damaged.size() - 4)] = static_cast<char>(random());
        }
        EXPECT_NE(Trace(damaged).find("Close\n"), std::string::npos);
        EXPECT_NE(ReadTrace("Bruker OPUS Interpolated File", folder.Path("scan.0")).find("Close\n"),
                  std::string::npos);
    }
    for (std::size_t size = 0; size < good.size(); ++size) {
        const std::string trace = Trace(good.substr(0, size));
        EXPECT_TRUE(trace.find("\nOpen 0x4\n") != std::string::npos ||
                    trace.find("\nRead 0x4\n") != std::string::npos)
            << size;
    }
}

TEST_F(BrukerOPUSTest, RealFilesHoldWhatAnIndependentReaderFound) {
    SKIP_WITHOUT_SHARED_DATA();
    int files = 0;
    for (const std::string& path : SharedFiles("data/instrument/opus")) {
        if (path.ends_with(".json") || path.find("/bad/") != std::string::npos) {
            continue;
        }
        SCOPED_TRACE(path);
        BrukerOPUS reader;
        if (path.ends_with("background-only.0")) {
            // A reference measurement without a ratioed spectrum.
            EXPECT_EQ(reader.Open(true, path.c_str(), nullptr), 4);
            continue;
        }
        const SpectrumTruth truth = ReadSpectrumTruth(path);
        ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
        TableData table;
        ASSERT_EQ(reader.Read(&table), 0);
        ASSERT_EQ(table.GetNumberOfColumns(), truth.numPoints + 5);
        EXPECT_FLOAT_EQ(static_cast<float>(table.GetFloatValue(6, 2)), static_cast<float>(truth.firstX));
        EXPECT_NEAR(table.GetFloatValue(truth.numPoints + 5, 2), truth.lastX, 0.01);
        const SpectrumTruth::Spectrum& spectrum = truth.spectra.at(0);
        double sum = 0.0;
        for (int column = 6; column <= truth.numPoints + 5; ++column) {
            sum += table.GetFloatValue(column, 3);
        }
        EXPECT_NEAR(sum, spectrum.sumY, 1e-6 * std::fabs(spectrum.sumY));
        for (int i = 0; i < 5; ++i) {
            const auto at = static_cast<std::size_t>(i);
            EXPECT_FLOAT_EQ(static_cast<float>(table.GetFloatValue(6 + i, 3)),
                            static_cast<float>(spectrum.firstY[at]));
            EXPECT_FLOAT_EQ(static_cast<float>(table.GetFloatValue(truth.numPoints + 1 + i, 3)),
                            static_cast<float>(spectrum.lastY[at]));
        }
        ++files;
    }
    EXPECT_GT(files, 0);
}
