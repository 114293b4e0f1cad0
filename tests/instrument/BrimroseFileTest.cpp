#include "instrument/BrimroseFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <limits>

#include "table/TableData.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/Damage.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/TempFolder.h"
#include "tests/support/Verdict.h"

namespace {

constexpr const char* Format = "Brimrose File";
constexpr std::uint32_t FirstMagic = 0x0D0C10FF;

struct MainHeader {
    float start = 1100;
    float step = 2;
    unsigned int points = 3;
    unsigned int observations = 1;
    std::uint32_t magic = FirstMagic;

    std::string Bytes() const {
        ByteBuilder bytes;
        bytes.U32(magic).PadTo(29).Float(start).Float(start + step * static_cast<float>(points)).Float(step);
        return bytes.U16(points).PadTo(45).U16(observations).PadTo(512).Bytes();
    }
};

std::string Observation(std::uint32_t seconds, const std::vector<float>& values,
                        std::string_view name = "wheat") {
    ByteBuilder bytes;
    bytes.U32(seconds).Field(name, 124);
    for (const float value : values) {
        bytes.Float(value);
    }
    return bytes.Bytes();
}

// 2009-04-03 10:11:12 UTC
constexpr std::uint32_t SomeTime = 1238753472;

class BrimroseFileTest : public testing::Test {
protected:
    BrimroseFileTest() {
        setenv("TZ", "UTC", 1);
        tzset();
    }

    std::string Trace(const std::string& bytes, const TraceOptions& how = {}) {
        return ReadTrace(Format, folder.Write("scan.dat", bytes), how);
    }

    TempFolder folder;
};

constexpr const char* NameRow =
    "Set 1 1 text \"SampleNo\"\nSet 2 1 text \"DateTime\"\nSet 3 1 text \"w1100\"\nSet 4 1 text \"w1102\"\n"
    "Set 5 1 text \"w1104\"\n";
constexpr const char* FirstRow =
    "Set 1 2 int 1\nSet 2 2 text \"2009-04-03/10:11:12\"\nSet 3 2 float 0.5\nSet 4 2 float -1\nSet 5 2 float "
    "1234.5\n";

const std::string OneScan = MainHeader().Bytes() + Observation(SomeTime, {0.5F, -1, 1234.5F});

}  // namespace

TEST_F(BrimroseFileTest, ObservationIsARow) {
    TraceOptions withRows;
    withRows.withRows = true;
    // The sink isn't asked which rows it wants, and the sample's name is no part of the table.
    EXPECT_EQ(
        Trace(OneScan, withRows),
        std::string("Format \"Brimrose File\"\nOpen 0x0\nGetNumRows 2\nGetNumCols 5\nSetDataSize 5 2\n") +
            NameRow + FirstRow + "Read 0x0\nClose\n");
}

TEST_F(BrimroseFileTest, SecondMagicIsAsGood) {
    const std::string bytes =
        MainHeader{.magic = 0x0BA7133C}.Bytes() + Observation(SomeTime, {0.5F, -1, 1234.5F});
    EXPECT_EQ(CellsOf(Trace(bytes)), std::string(NameRow) + FirstRow);
}

TEST_F(BrimroseFileTest, NamesAreRoundedToWholeWavelengths) {
    const std::string cells =
        CellsOf(Trace(MainHeader{1000.5F, 1, 3, 1}.Bytes() + Observation(0, {1, 2, 3})));
    EXPECT_NE(cells.find("Set 3 1 text \"w1000\"\nSet 4 1 text \"w1002\"\nSet 5 1 text \"w1002\"\n"),
              std::string::npos);
    const std::string negative = CellsOf(Trace(MainHeader{-0.4F, -1, 2, 1}.Bytes() + Observation(0, {1, 2})));
    EXPECT_NE(negative.find("Set 3 1 text \"w-0\"\nSet 4 1 text \"w-1\"\n"), std::string::npos);
}

TEST_F(BrimroseFileTest, NamesOfEnormousWavelengths) {
    const auto nameOf = [&](float start) {
        const std::string cells = CellsOf(Trace(MainHeader{start, 0, 1, 1}.Bytes() + Observation(0, {1})));
        return cells.substr(cells.find("Set 3 1 text ") + 13,
                            cells.find("\nSet 1 2") - cells.find("Set 3 1 text ") - 13);
    };
    EXPECT_EQ(nameOf(-std::numeric_limits<float>::max()), "\"w-340282346638528859811704183484516925440\"");
    EXPECT_EQ(nameOf(std::numeric_limits<float>::infinity()), "\"winf\"");
    EXPECT_EQ(nameOf(-std::numeric_limits<float>::quiet_NaN()), "\"wnan\"");
}

TEST_F(BrimroseFileTest, TimeIsUnsigned) {
    const auto dateOf = [&](std::uint32_t seconds) {
        const std::string cells = CellsOf(Trace(MainHeader{.points = 0}.Bytes() + Observation(seconds, {})));
        return cells.substr(cells.find("Set 2 2 text ") + 13);
    };
    EXPECT_EQ(dateOf(0), "\"1970-01-01/00:00:00\"\n");
    EXPECT_EQ(dateOf(0x7fffffff), "\"2038-01-19/03:14:07\"\n");
    EXPECT_EQ(dateOf(0xffffffff), "\"2106-02-07/06:28:15\"\n");
}

TEST_F(BrimroseFileTest, TimeIsLocal) {
    setenv("TZ", "EST5", 1);
    tzset();
    EXPECT_NE(Trace(OneScan).find("\"2009-04-03/05:11:12\""), std::string::npos);
}

TEST_F(BrimroseFileTest, NoObservationsAreNoData) {
    EXPECT_EQ(Trace(MainHeader{.observations = 0}.Bytes()),
              "Format \"Brimrose File\"\nOpen 0x0\nGetNumRows 0\nGetNumCols 3\nNoData\nClose\n");
}

TEST_F(BrimroseFileTest, CountsAreUnsigned) {
    const std::string trace = Trace(MainHeader{.points = 65535, .observations = 65535}.Bytes());
    EXPECT_NE(trace.find("GetNumRows 65536\nGetNumCols 65537\n"), std::string::npos);
    EXPECT_NE(trace.find("Read 0xb03\n"), std::string::npos);
}

TEST_F(BrimroseFileTest, ValuesGoAsTheyStand) {
    const std::string bytes =
        MainHeader().Bytes() + Observation(0, {std::numeric_limits<float>::quiet_NaN(),
                                               std::numeric_limits<float>::infinity(), 1.40129846e-45F});
    EXPECT_NE(Trace(bytes).find("Set 3 2 float nan\nSet 4 2 float inf\nSet 5 2 float 1.40129846e-45\n"),
              std::string::npos);
}

TEST_F(BrimroseFileTest, CutObservationLeavesTheRowsBeforeIt) {
    const std::string two = MainHeader{.observations = 2}.Bytes() +
                            Observation(SomeTime, {0.5F, -1, 1234.5F}) + Observation(SomeTime, {1, 2, 3});
    const std::string before = std::string(NameRow) + FirstRow;
    const std::string inData = Trace(two.substr(0, two.size() - 1));
    EXPECT_EQ(CellsOf(inData), before);
    EXPECT_NE(
        inData.find("Read 0xb04\nError \"File corrupt! Could not read data (possibly end of file).\"\n"),
        std::string::npos);
    const std::string inSubHeader = Trace(two.substr(0, two.size() - 13));
    EXPECT_EQ(CellsOf(inSubHeader), before);
    EXPECT_NE(inSubHeader.find(
                  "Read 0xb03\nError \"File corrupt! Could not read the whole sub header (possibly end of "
                  "file).\"\n"),
              std::string::npos);
}

TEST_F(BrimroseFileTest, OtherFilesAreRefused) {
    const auto opened = [&](const std::string& bytes) {
        return Trace(bytes).find(
                   "Open 0xb06\nError \"The file does not seem to be a valid Brimrose file.\"\n") !=
               std::string::npos;
    };
    EXPECT_TRUE(opened("time\tvalue\n1\t2\n"));
    EXPECT_TRUE(opened(""));
    EXPECT_TRUE(opened(OneScan.substr(0, 511)));
    EXPECT_TRUE(opened(MainHeader{.magic = FirstMagic + 1}.Bytes()));
    EXPECT_FALSE(opened(OneScan.substr(0, 512)));
    EXPECT_NE(ReadTrace(Format, folder.Path("none.dat")).find("Open 0xb00\n"), std::string::npos);
}

TEST_F(BrimroseFileTest, MagicIsProof) {
    EXPECT_EQ(VerdictOf(Format, folder.Write("scan.csv", OneScan)), KindYes);
    EXPECT_EQ(VerdictOf(Format, folder.Write("scan.dat", "text")), KindNo);
    EXPECT_EQ(VerdictOf(Format, folder.Path("none.dat")), KindNo);
}

TEST_F(BrimroseFileTest, IsNotWritten) {
    BrimroseFile reader;
    EXPECT_EQ(reader.Open(false, folder.Path("out.dat").c_str(), nullptr), SpreadsheetFile::StatusWrongMode);
}

TEST_F(BrimroseFileTest, FileThatShrinksIs0xb02) {
    const std::string path = folder.Write("scan.dat", OneScan);
    BrimroseFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    reader.Close();
    // Closed, there is no header any more.
    EXPECT_EQ(reader.GetNumRows(), -1);
    EXPECT_EQ(ErrorOf(reader), "File corrupt! Could not read the whole main header (possibly end of file).");
}

TEST_F(BrimroseFileTest, StatusTextsAreExact) {
    struct Failing : BrimroseFile {
        explicit Failing(int code) { status = code; }
    };
    const auto textOf = [](int code) {
        Failing file(code);
        return ErrorOf(file);
    };
    EXPECT_EQ(textOf(0xb00), "Failed to open stream for reading.");
    EXPECT_EQ(textOf(0xb01), "Wrong file mode. The executed operation is only supported in read mode.");
    EXPECT_EQ(textOf(0xb05),
              "File is corrupt! Header contains corrupt information about starting, ending wavelength, or "
              "number of data "
              "points.");
    EXPECT_EQ(textOf(0xb07), "No further information available.");
}

TEST_F(BrimroseFileTest, PartsTellTheSamplesThatAreThere) {
    const std::string path = folder.Write("scan.dat", MainHeader{.observations = 3}.Bytes() +
                                                          Observation(SomeTime, {1, 2, 3}, "wheat 7") +
                                                          Observation(0, {1, 2, 3}, std::string(200, 'n')));
    BrimroseFile reader;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    const auto parts = reader.ListParts();
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[0].name, "wheat 7");
    EXPECT_EQ(parts[0].detail, "2009-04-03/10:11:12");
    EXPECT_EQ(parts[1].name, std::string(124, 'n'));
    EXPECT_EQ(reader.GetStatus(), 0);
    EXPECT_EQ(reader.ListFacts()[1], FileContents::Fact("points", "3"));
    EXPECT_EQ(reader.ListFacts()[2], FileContents::Fact("first X", "1100 nm"));
}

TEST_F(BrimroseFileTest, DamagedFilesEndInAStatus) {
    const std::string good = MainHeader{.observations = 2}.Bytes() +
                             Observation(SomeTime, {0.5F, -1, 1234.5F}) + Observation(SomeTime, {1, 2, 3});
    ForEachDamage(good, [&](const std::string& damaged) {
        EXPECT_TRUE(Trace(damaged).ends_with("Close\n"));
        BrimroseFile reader;
        reader.Open(true, folder.Path("scan.dat").c_str(), nullptr);
        EXPECT_LE(reader.ListParts().size(), damaged.size() / 128);
        reader.ListFacts();
    });
}

TEST_F(BrimroseFileTest, DataFilesOfOtherMakersAreRefused) {
    SKIP_WITHOUT_SHARED_DATA();
    for (const std::string& path : SharedFiles("data/instrument/brimrose/bad")) {
        EXPECT_NE(ReadTrace(Format, path).find("Open 0xb06\n"), std::string::npos) << path;
    }
}
