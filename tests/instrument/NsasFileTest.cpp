#include "instrument/NsasFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "tests/support/ByteBuilder.h"
#include "tests/support/Damage.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"
#include "tests/support/Verdict.h"

namespace {

constexpr const char* Format = "NSAS File";

// One record of a DA file.
struct Spectrum {
    int number = 1;
    std::string name = "S1        ";
    int points = 3;
    int start = 1100;
    int end = 1106;
    int constituents = 0;
    std::vector<float> values = {0.5F, 1.5F, 2.5F};
    std::vector<int> date = {91, 4, 3, 10, 11, 12};  // the third field first, as they stand

    std::string Header() const {
        ByteBuilder bytes;
        bytes.I16(6500)
            .I16(number)
            .Field(name, 10)
            .I16(points)
            .I16(start)
            .I16(end)
            .PadTo(30)
            .I16(constituents)
            .PadTo(64);
        for (const int field : date) {
            bytes.I16(field);
        }
        return bytes.PadTo(80).Bytes();
    }
    std::string Bytes() const {
        ByteBuilder bytes;
        bytes.Text(Header()).Zeros(48);
        for (const float value : values) {
            bytes.Float(value);
        }
        return bytes.PadTo((bytes.Size() + 127) / 128 * 128).Bytes();
    }
};

// A record of a CN file: so many values, filled up to 32.
std::string ValueRecord(const std::vector<float>& values) {
    ByteBuilder bytes;
    for (const float value : values) {
        bytes.Float(value);
    }
    return bytes.PadTo(128).Bytes();
}

std::string NameRecord(const std::vector<std::string>& names) {
    ByteBuilder bytes;
    for (const std::string& name : names) {
        bytes.Field(name, 10);
    }
    return bytes.PadTo(384).Bytes();
}

class NsasFileTest : public testing::Test {
protected:
    std::string Trace(const std::string& bytes) { return ReadTrace(Format, folder.Write("run.da", bytes)); }
    std::string TraceWith(const std::string& companion, const std::string& bytes) {
        folder.Write("run.cn", companion);
        return Trace(bytes);
    }

    TempFolder folder;
};

constexpr const char* Head =
    "Set 1 1 text \"/Instrument model 6500\"\nSet 1 2 text \"SampleNo\"\nSet 2 2 text \"SpectrumNo\"\n"
    "Set 3 2 text \"SampleName\"\nSet 4 2 text \"Time\"\n";
constexpr const char* Wavelengths =
    "Set 5 2 text \"w1100\"\nSet 6 2 text \"w1102\"\nSet 7 2 text \"w1104\"\n";
constexpr const char* FirstRow =
    "Set 1 3 int 1\nSet 2 3 int 1\nSet 3 3 text \"S1\"\nSet 4 3 text \"03-04-91 10:11:12\"\n"
    "Set 5 3 float 0.5\nSet 6 3 float 1.5\nSet 7 3 float 2.5\n";

bool MeasuresAs(const std::string& trace, const std::string& message) {
    return trace.find("GetNumRows -1\nGetNumCols -1\nError \"" + message + "\"\nClose\n") !=
           std::string::npos;
}

constexpr const char* BadContent =
    "Spectra header in DA-file is corrupt! Spectra header contains corrupt information about starting, "
    "ending "
    "wavelength, or number of data points.";
constexpr const char* Mismatch =
    "Spectra header in DA-file is corrupt! Spectra header contains information that doesn't match earlier "
    "read spectra. "
    "Spectra wavelengths or number of constituents does not match.";
constexpr const char* CutHeader =
    "DA-file corrupt! Could not read the whole header for spectra (possibly end of file).";
constexpr const char* CutValues =
    "DA-file corrupt! Could not read all the data for spectra (possibly end of file).";

}  // namespace

TEST_F(NsasFileTest, SpectrumIsARowWithoutACompanion) {
    EXPECT_EQ(Trace(Spectrum().Bytes()),
              std::string("Format \"NSAS File\"\nOpen 0x0\nGetNumRows 3\nGetNumCols 7\nSetDataSize 7 3\n") +
                  Head + Wavelengths + FirstRow + "Read 0x0\nClose\n");
}

TEST_F(NsasFileTest, PipeOrDeviceInTheCompanionsPlaceIsNotWaitedFor) {
    const std::string without = Trace(Spectrum().Bytes());
    ASSERT_EQ(mkfifo(folder.Path("run.cn").c_str(), 0600), 0);
    EXPECT_EQ(Trace(Spectrum().Bytes()), without);
    std::filesystem::remove(folder.Path("run.cn"));
    std::filesystem::create_symlink("/dev/zero", folder.Path("run.cn"));
    EXPECT_EQ(Trace(Spectrum().Bytes()), without);
}

TEST_F(NsasFileTest, CompanionWithNamesAddsColumns) {
    const std::string trace =
        TraceWith(NameRecord({" Protein", "Oil (dry)"}) + ValueRecord({12.5F, 9.25F}) + ValueRecord({1, 2}),
                  Spectrum{.constituents = 2}.Bytes() + Spectrum{.number = 2, .constituents = 2}.Bytes());
    EXPECT_NE(trace.find("GetNumRows 4\nGetNumCols 9\n"), std::string::npos);
    EXPECT_NE(trace.find("Set 8 2 text \"Protein\"\nSet 9 2 text \"Oil (dry)\"\n"), std::string::npos);
    EXPECT_NE(trace.find("Set 8 3 float 12.5\nSet 9 3 float 9.25\n"), std::string::npos);
    EXPECT_TRUE(trace.ends_with("Set 8 4 float 1\nSet 9 4 float 2\nRead 0x0\nClose\n"));
}

TEST_F(NsasFileTest, CompanionWithoutNamesHasEmptyOnes) {
    const std::string trace = TraceWith(ValueRecord({12.5F}), Spectrum{.constituents = 1}.Bytes());
    EXPECT_NE(trace.find("Set 8 2 text \"\"\n"), std::string::npos);
    EXPECT_NE(trace.find("Set 8 3 float 12.5\nRead 0x0\n"), std::string::npos);
}

TEST_F(NsasFileTest, CompanionInCapitalsIsFoundToo) {
    folder.Write("RUN.CN", ValueRecord({12.5F}));
    EXPECT_NE(
        ReadTrace(Format, folder.Write("RUN.DA", Spectrum{.constituents = 1}.Bytes())).find("GetNumCols 8\n"),
        std::string::npos);
}

TEST_F(NsasFileTest, CompanionOfNoKnownSizeIs0x50bInRead) {
    for (const std::size_t size : {0U, 127U, 129U, 511U, 513U}) {
        const std::string trace = TraceWith(std::string(size, '\0'), Spectrum{.constituents = 1}.Bytes());
        EXPECT_TRUE(trace.ends_with(
            "Set 1 1 text \"/Instrument model 6500\"\nRead 0x50b\nError \"CN-file corrupt! File "
            "size do not match any known version of CN file formats.\"\nClose\n"))
            << size;
    }
}

TEST_F(NsasFileTest, MoreConstituentsThanARecordHoldsReadBackwards) {
    std::vector<float> values;
    for (int i = 0; i < 32; ++i) {
        values.push_back(static_cast<float>(i));
    }
    // 33 values of a record of 32: the last one is the next record's first, which the next row begins with.
    const std::string two = Spectrum{.constituents = 33}.Bytes() + Spectrum{.constituents = 33}.Bytes();
    const std::string trace = TraceWith(ValueRecord(values) + ValueRecord({100}), two);
    EXPECT_NE(trace.find("Set 40 3 float 100\n"), std::string::npos);
    EXPECT_NE(trace.find("Set 8 4 float 100\n"), std::string::npos);
    EXPECT_NE(
        trace.find(
            "Read 0x509\nError \"CN-file corrupt! Could not read the whole value record for constituents "
            "(possibly end of file).\"\n"),
        std::string::npos);
    // Names beyond the name record are empty.
    const std::string many = Spectrum{.constituents = 39}.Bytes();
    const std::string named = TraceWith(NameRecord({"first"}) + ValueRecord(values), many);
    EXPECT_NE(named.find("Set 46 2 text \"\"\n"), std::string::npos);
}

TEST_F(NsasFileTest, EmptyFileIsNoData) {
    EXPECT_EQ(Trace(""), "Format \"NSAS File\"\nOpen 0x0\nGetNumRows 0\nGetNumCols 0\nNoData\nClose\n");
    EXPECT_NE(TraceWith("garbage", "").find("NoData\n"), std::string::npos);
}

TEST_F(NsasFileTest, HeadersThatAreCutAre0x502) {
    EXPECT_TRUE(MeasuresAs(Trace("x"), CutHeader));
    EXPECT_TRUE(MeasuresAs(Trace(Spectrum().Header().substr(0, 79)), CutHeader));
    EXPECT_TRUE(MeasuresAs(Trace(Spectrum().Bytes() + Spectrum().Header().substr(0, 40)), CutHeader));
}

TEST_F(NsasFileTest, HeadersThatMakeNoAxisAre0x503) {
    EXPECT_TRUE(MeasuresAs(Trace(Spectrum{.start = 0}.Bytes()), BadContent));
    EXPECT_TRUE(MeasuresAs(Trace(Spectrum{.start = -1}.Bytes()), BadContent));
    EXPECT_TRUE(MeasuresAs(Trace(Spectrum{.end = -5}.Bytes()), BadContent));
    EXPECT_TRUE(MeasuresAs(Trace(Spectrum{.end = 1100}.Bytes()), BadContent));
    EXPECT_TRUE(MeasuresAs(Trace(Spectrum{.end = 1000}.Bytes()), BadContent));
    EXPECT_TRUE(MeasuresAs(Trace(Spectrum{.points = 0}.Bytes()), BadContent));
    EXPECT_TRUE(MeasuresAs(Trace(Spectrum{.points = -3}.Bytes()), BadContent));
    EXPECT_TRUE(MeasuresAs(Trace(Spectrum{.constituents = -1}.Bytes()), BadContent));
    // Bad comes before not matching.
    EXPECT_TRUE(
        MeasuresAs(Trace(Spectrum().Bytes() + Spectrum{.start = 0, .constituents = 4}.Bytes()), BadContent));
}

TEST_F(NsasFileTest, SpectraOfAnotherStepOrOtherConstituentsAre0x504) {
    EXPECT_TRUE(MeasuresAs(Trace(Spectrum().Bytes() + Spectrum{.end = 1107}.Bytes()), Mismatch));
    EXPECT_TRUE(MeasuresAs(Trace(Spectrum().Bytes() + Spectrum{.constituents = 1}.Bytes()), Mismatch));
    // 1/10 and 103/1030 are one step, 1/10 and 1000/10001 aren't.
    const std::string tenth = Spectrum{.points = 10, .start = 1100, .end = 1101}.Bytes();
    EXPECT_NE(Trace(tenth + Spectrum{.points = 1030, .end = 1203, .values = std::vector<float>(1030)}.Bytes())
                  .find("GetNumRows 4\n"),
              std::string::npos);
    EXPECT_TRUE(MeasuresAs(
        Trace(tenth + Spectrum{.points = 10001, .end = 2100, .values = std::vector<float>(10001)}.Bytes()),
        Mismatch));
}

TEST_F(NsasFileTest, ValuesThatAreCutAre0x506) {
    const std::string bytes = Spectrum().Bytes();
    EXPECT_TRUE(MeasuresAs(Trace(bytes.substr(0, bytes.size() - 1)), CutValues));
    EXPECT_TRUE(MeasuresAs(Trace(bytes.substr(0, 80)), CutValues));
}

TEST_F(NsasFileTest, WholeLastBlockIsSkippedTooFar) {
    // 32 values fill their block: Read skips one more, which isn't there behind the last spectrum.
    const std::string full = Spectrum{.points = 32, .end = 1164, .values = std::vector<float>(32, 7)}.Bytes();
    const std::string trace = Trace(full);
    EXPECT_NE(trace.find("GetNumRows 3\nGetNumCols 36\n"), std::string::npos);
    EXPECT_TRUE(
        trace.ends_with("Set 36 3 float 7\nRead 0x507\nError \"DA-file corrupt! Could not read through the "
                        "spectra filler (possibly end of file).\"\nClose\n"));
    // With 31 values it is the filler of their own block.
    EXPECT_TRUE(Trace(Spectrum{.points = 31, .end = 1162, .values = std::vector<float>(31, 7)}.Bytes())
                    .ends_with("Set 35 3 float 7\nRead 0x0\nClose\n"));
}

TEST_F(NsasFileTest, AxisRunsFromTheLowestStartToTheLowestEnd) {
    // The second begins two columns later and ends two later; the table ends with the first.
    const std::string trace =
        Trace(Spectrum{.points = 4, .end = 1108, .values = {1, 2, 3, 4}}.Bytes() +
              Spectrum{.points = 4, .start = 1104, .end = 1112, .values = {5, 6, 7, 8}}.Bytes());
    EXPECT_NE(trace.find("GetNumRows 4\nGetNumCols 8\n"), std::string::npos);
    EXPECT_NE(trace.find("Set 5 3 float 1\nSet 6 3 float 2\nSet 7 3 float 3\nSet 8 3 float 4\n"),
              std::string::npos);
    // Its leading cells stay unset and take no value.
    EXPECT_NE(trace.find("Set 4 4 text \"03-04-91 10:11:12\"\nSet 7 4 float 5\nSet 8 4 float 6\n"),
              std::string::npos);
}

TEST_F(NsasFileTest, NamesAreTrimmedAtBothEnds) {
    const auto nameOf = [&](std::string_view name) {
        const std::string trace = Trace(Spectrum{.name = std::string(name)}.Bytes());
        const std::size_t start = trace.find("Set 3 3 text ") + 13;
        return trace.substr(start, trace.find('\n', start) - start);
    };
    EXPECT_EQ(nameOf("          "), "\"\"");
    EXPECT_EQ(nameOf("0123456789"), "\"0123456789\"");
    EXPECT_EQ(nameOf("\x01 a  b\t  "), "\"a  b\"");
    EXPECT_EQ(nameOf(std::string_view("ab\0cd", 5)), "\"ab\"");
    EXPECT_EQ(nameOf(" \xe4 "), "\"\\xe4\"");
}

TEST_F(NsasFileTest, DateFieldsArePrintedAsTheyStand) {
    EXPECT_NE(Trace(Spectrum{.date = {5, -12, -1, -3, 0, 7}}.Bytes()).find("text \"-1--12-05 -3:00:07\"\n"),
              std::string::npos);
}

TEST_F(NsasFileTest, FileTestsComeInOrder) {
    EXPECT_NE(ReadTrace(Format, folder.Path("none.da"))
                  .find("Open 0x500\nError \"Failed to open stream for reading.\"\n"),
              std::string::npos);
    NsasFile writer;
    EXPECT_EQ(writer.Open(false, folder.Path("out.da").c_str(), nullptr), SpreadsheetFile::StatusWrongMode);
    EXPECT_EQ(VerdictOf(Format, folder.Path("none.da")), KindUnknown);
}

TEST_F(NsasFileTest, CloseKeepsTheStatusOfAFailedOpen) {
    NsasFile reader;
    reader.Open(true, folder.Path("none.da").c_str(), nullptr);
    reader.Close();
    EXPECT_EQ(reader.GetStatus(), NsasFile::StatusStreamFailed);
    NsasFile other;
    ASSERT_EQ(other.Open(true, folder.Write("run.da", "x").c_str(), nullptr), 0);
    EXPECT_EQ(other.GetNumRows(), -1);
    other.Close();
    EXPECT_EQ(other.GetStatus(), 0);
}

TEST_F(NsasFileTest, StatusTextsAreExact) {
    struct Failing : NsasFile {
        explicit Failing(int code) { status = code; }
    };
    const auto textOf = [](int code) {
        Failing file(code);
        return ErrorOf(file);
    };
    EXPECT_EQ(textOf(0x501), "Wrong file mode. The executed operation is only supported in read mode.");
    EXPECT_EQ(textOf(0x502), CutHeader);
    EXPECT_EQ(textOf(0x503), BadContent);
    EXPECT_EQ(textOf(0x504), Mismatch);
    EXPECT_EQ(textOf(0x505),
              "DA-file corrupt! Could not read through the unused filler (possibly end of file).");
    EXPECT_EQ(textOf(0x506), CutValues);
    EXPECT_EQ(
        textOf(0x508),
        "CN-file corrupt! Could not read the whole name record for constituents (possibly end of file).");
    EXPECT_EQ(textOf(0x50a),
              "CN-file corrupt! Could not read through the value record filler (possibly end of file).");
    EXPECT_EQ(textOf(0x50c), "No further information available.");
}

TEST_F(NsasFileTest, MisplacedHeadersNeverLeadBackwards) {
    // The second spectrum is longer than the table, so that a further header is looked for among its values:
    // here one whose count is negative.
    const std::string first = Spectrum().Bytes();
    const Spectrum longer{.points = 64, .end = 1228, .values = std::vector<float>(64)};
    constexpr std::size_t ValuesOffset = 128;
    constexpr std::size_t MisplacedHeader = 3 * sizeof(float) + 128;
    ByteBuilder bytes;
    bytes.Text(first).Text(longer.Bytes());
    bytes.Patch(first.size() + ValuesOffset + MisplacedHeader + 14, static_cast<std::int16_t>(-64));
    const std::string trace = Trace(bytes.Bytes());
    EXPECT_NE(trace.find("GetNumRows 4\n"), std::string::npos);
    EXPECT_TRUE(
        trace.ends_with("Set 7 4 float 0\nRead 0x507\nError \"DA-file corrupt! Could not read through the "
                        "spectra filler (possibly end of file).\"\nClose\n"));
}

TEST_F(NsasFileTest, PartsTellTheSpectra) {
    NsasFile reader;
    const std::string path =
        folder.Write("run.da", Spectrum{.name = "wheat"}.Bytes() + Spectrum{.name = "barley"}.Bytes());
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    const auto parts = reader.ListParts();
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[1].name, "barley");
    EXPECT_EQ(parts[1].cols, 3);
    const auto facts = reader.ListFacts();
    ASSERT_EQ(facts.size(), 6U);
    EXPECT_EQ(facts[0], FileContents::Fact("spectra", "2"));
    EXPECT_EQ(facts[3], FileContents::Fact("last X", "1104 nm"));
    EXPECT_EQ(facts[5], FileContents::Fact("constituents", "no CN file"));
}

TEST_F(NsasFileTest, DamagedFilesEndInAStatus) {
    const std::string good = Spectrum{.constituents = 2}.Bytes() + Spectrum{.constituents = 2}.Bytes();
    const std::string companion = NameRecord({"Protein", "Oil"}) + ValueRecord({1, 2}) + ValueRecord({3, 4});
    folder.Write("run.cn", companion);
    ForEachDamage(good, [&](const std::string& damaged) {
        EXPECT_TRUE(Trace(damaged).ends_with("Close\n"));
        NsasFile reader;
        reader.Open(true, folder.Path("run.da").c_str(), nullptr);
        EXPECT_LE(reader.ListParts().size(), damaged.size() / 128);
        reader.ListFacts();
    });
}

TEST_F(NsasFileTest, DamagedCompanionsEndInAStatus) {
    const std::string good = Spectrum{.constituents = 2}.Bytes() + Spectrum{.constituents = 2}.Bytes();
    const std::string companion = NameRecord({"Protein", "Oil"}) + ValueRecord({1, 2}) + ValueRecord({3, 4});
    ForEachDamage(companion, [&](const std::string& damaged) {
        EXPECT_TRUE(TraceWith(damaged, good).ends_with("Close\n"));
    });
}
