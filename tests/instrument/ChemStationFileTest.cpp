#include "instrument/ChemStationFile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <limits>
#include <string>
#include <vector>

#include "table/TableData.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/CountingSink.h"
#include "tests/support/Damage.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpectrumTruth.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* Format = "HPLC ChemStation File";

/** A ChemStation file: a header of either layout, and behind it what the data builders below give. */
class ChemStation {
public:
    explicit ChemStation(int version) : wide(version >= 100) {
        header.PadTo(wide ? 0x1400 : 0x400);
        PutText(0, std::to_string(version), false);
        if (wide) {
            PutText(0x146, std::to_string(version), true);
        }
        DataStart(wide ? 11 : 3);
    }

    ChemStation& DataStart(std::int32_t block) { return Big(0x108, block); }
    ChemStation& NumRecords(std::int32_t count) { return Big(0x116, count); }
    /** In ms. */
    ChemStation& Times(std::int32_t start, std::int32_t end) { return Big(0x11a, start).Big(0x11e, end); }
    ChemStation& Flag(std::int32_t flag) { return Big(0x13a, flag); }
    ChemStation& SampleName(const std::string& text) { return PutText(wide ? 0x35a : 0x18, text, wide); }
    ChemStation& Date(const std::string& text) { return PutText(wide ? 0x957 : 0xb2, text, wide); }
    ChemStation& SignalName(const std::string& text) { return PutText(wide ? 0x9e5 : 0xda, text, wide); }
    ChemStation& Unit(const std::string& text) { return PutText(wide ? 0x104c : 0x244, text, wide); }
    ChemStation& Scale(double scale) { return Big(wide ? 0x127c : 0x284, scale); }
    ChemStation& SpectraScale(double scale) { return Big(wide ? 0xc0d : 0x13e, scale); }
    ChemStation& SpectraUnit(const std::string& text) { return PutText(wide ? 0xc15 : 0x146, text, wide); }
    ChemStation& Rate(std::int32_t rate) { return Big(wide ? 0x101a : 0x212, rate); }
    ChemStation& RatePair(std::int16_t first, std::int16_t second) {
        return Big(wide ? 0x101a : 0x212, first).Big(wide ? 0x101c : 0x214, second);
    }
    /** The version as the wide text tells it. */
    ChemStation& WideVersion(const std::string& text) { return PutText(0x146, text, true); }
    ChemStation& NarrowVersion(const std::string& text) { return PutText(0, text, false); }

    std::string With(const std::string& data) const { return header.Bytes() + data; }

private:
    template <class Number>
    ChemStation& Big(std::size_t offset, Number value) {
        header.Patch(offset, ByteSwapped(value));
        return *this;
    }
    template <class Number>
    static Number ByteSwapped(Number value) {
        ByteBuilder bytes;
        bytes.PutBig(value);
        std::memcpy(&value, bytes.Bytes().data(), sizeof value);
        return value;
    }
    ChemStation& PutText(std::size_t offset, const std::string& text, bool asWide) {
        header.Patch(offset, static_cast<std::uint8_t>(text.size()));
        for (std::size_t i = 0; i < text.size(); ++i) {
            header.Patch(offset + 1 + (asWide ? 2 * i : i), text[i]);
        }
        return *this;
    }

    bool wide;
    ByteBuilder header;
};

/** A .ch file of version 30: points at 0, 0.2 .. 0.8 s, in halves of mAU. */
ChemStation Signal(int version = 30) {
    return ChemStation(version)
        .Times(0, 800)
        .RatePair(1, 5)
        .SampleName("Sample")
        .Date("10-Apr-12")
        .SignalName("DAD1 A")
        .Unit("mAU")
        .Scale(0.5);
}

/** The data of a .ch file. */
class Runs {
public:
    Runs& Head(int length, unsigned int mark = 0x1000) {
        bytes.PutBig(static_cast<std::uint16_t>(mark | static_cast<unsigned int>(length)));
        return *this;
    }
    Runs& Differences(std::initializer_list<int> values) {
        for (const int value : values) {
            bytes.PutBig(static_cast<std::int16_t>(value));
        }
        return *this;
    }
    Runs& Absolute(std::int32_t value) {
        bytes.PutBig(static_cast<std::uint16_t>(0x8000)).PutBig(value);
        return *this;
    }
    /** One run and the end. */
    Runs& Run(std::initializer_list<int> values) {
        return Head(static_cast<int>(values.size())).Differences(values).End();
    }
    Runs& End() { return Head(0, 0); }
    operator std::string() const { return bytes.Bytes(); }  // NOLINT(google-explicit-constructor)

private:
    ByteBuilder bytes;
};

/** A .uv file of version 31: 200, 201 .. 204 nm. */
ChemStation Spectra(int records, int version = 31) {
    return ChemStation(version)
        .NumRecords(records)
        .SampleName("Sample")
        .Date("10-Apr-12")
        .SignalName("DAD1")
        .SpectraScale(0.5)
        .SpectraUnit("mAU");
}

struct Axis {
    int start = 4000;
    int end = 4080;
    int step = 20;
};

/** One record of a .uv file, whose length is worked out. */
std::string Record(char kind, int time, const std::string& values, Axis axis = {},
                   const std::string& field = "") {
    ByteBuilder bytes;
    bytes.U8(static_cast<unsigned char>(kind)).U8(0);
    bytes.I16(static_cast<int>(18 + field.size() + values.size())).I32(time);
    bytes.I16(axis.start).I16(axis.end).I16(axis.step).I16(0).I16(static_cast<int>(field.size()));
    return bytes.Text(field).Text(values).Bytes();
}
std::string Compressed(std::initializer_list<int> differences) {
    ByteBuilder bytes;
    for (const int value : differences) {
        bytes.I16(value);
    }
    return bytes.Bytes();
}
std::string Absolute(std::initializer_list<int> values) {
    ByteBuilder bytes;
    for (const int value : values) {
        bytes.I32(value);
    }
    return bytes.Bytes();
}

class ChemStationFileTest : public testing::Test {
protected:
    std::string Trace(const std::string& bytes, const char* name = "s.ch") {
        return ReadTrace(Format, folder.Write(name, bytes));
    }
    // A row's values from column 5 on, as far as they were set.
    std::string Values(const std::string& files, int row = 3) {
        ChemStationFile reader;
        TableData table;
        reader.Open(true, files.c_str(), nullptr);
        reader.Read(&table);
        std::string values;
        for (int col = 5; col <= table.GetNumberOfColumns() && !table.IsMissing(col, row); ++col) {
            values += (col == 5 ? "" : " ") + table.GetString(col, row);
        }
        return values;
    }
    std::string ValuesOf(const std::string& bytes, const char* name = "s.ch", int row = 3) {
        return Values(folder.Write(name, bytes), row);
    }
    // "0x601: text", or "".
    std::string Failure(const std::string& files) {
        ChemStationFile reader;
        CountingSink sink;
        reader.Open(true, files.c_str(), nullptr);
        reader.Read(&sink);
        char code[16];
        std::snprintf(code, sizeof code, "0x%x: ", static_cast<unsigned int>(reader.GetStatus()));
        return reader.GetStatus() == 0 ? "" : code + ErrorOf(reader);
    }
    std::string FailureOf(const std::string& bytes, const char* name = "s.ch") {
        return Failure(folder.Write(name, bytes));
    }
    std::string NotChemStation(const std::string& path) {
        return "0x605: The file does not seem to be an HPLC Chemstation file. The file " + path +
               " could not be opened.";
    }
    std::string ReadFailed(const std::string& path) {
        return "0x606: The file could not be read. The file " + path + " could not be opened.";
    }
    // "rows x columns" as they are answered.
    std::string Size(const std::string& bytes, const char* name = "s.ch") {
        ChemStationFile reader;
        EXPECT_EQ(reader.Open(true, folder.Write(name, bytes).c_str(), nullptr), 0);
        return std::to_string(reader.GetNumRows()) + " x " + std::to_string(reader.GetNumCols());
    }

    TempFolder folder;
};

}  // namespace

TEST_F(ChemStationFileTest, SignalIsARowAndItsTimesTheColumns) {
    EXPECT_EQ(
        Trace(Signal().With(Runs().Run({2, 1, -1, 3, 0}))),
        "Format \"HPLC ChemStation File\"\nOpen 0x0\nGetNumRows 3\nGetNumCols 9\nSetDataSize 9 "
        "3\nSetDataSize 9 3\n"
        "Set 1 1 text \"Primary ID\"\nSet 2 1 text \"File\"\nSet 3 1 text \"Date\"\nSet 4 1 text \"Sample "
        "Name\"\n"
        "Set 1 2 text \"DAD1 A Retention Time [s]\"\n"
        "Set 5 1 text \"t 0\"\nSet 5 2 double 0\nSet 6 1 text \"t 0.2\"\nSet 6 2 double 0.20000000000000001\n"
        "Set 7 1 text \"t 0.4\"\nSet 7 2 double 0.40000000000000002\nSet 8 1 text \"t 0.6\"\n"
        "Set 8 2 double 0.60000000000000009\nSet 9 1 text \"t 0.8\"\nSet 9 2 double 0.80000000000000004\n"
        "Set 1 3 int 1\nSet 2 3 text \"s.ch\"\nSet 3 3 text \"10-Apr-12\"\nSet 4 3 text \"Sample [mAU]\"\n"
        "Set 5 3 double 1\nSet 6 3 double 1.5\nSet 7 3 double 1\nSet 8 3 double 2.5\nSet 9 3 double 2.5\n"
        "Read 0x0\nClose\n");
}

TEST_F(ChemStationFileTest, NewerLayoutHasWideTexts) {
    const std::string trace = Trace(Signal(130).With(Runs().Run({2, 1, -1, 3, 0})));
    EXPECT_NE(trace.find("Set 1 2 text \"DAD1 A Retention Time [s]\"\n"), std::string::npos);
    EXPECT_NE(trace.find("Set 3 3 text \"10-Apr-12\"\nSet 4 3 text \"Sample [mAU]\"\n"), std::string::npos);
    EXPECT_EQ(ValuesOf(Signal(130).With(Runs().Run({2, 1, -1, 3, 0}))), "1 1.5 1 2.5 2.5");
}

TEST_F(ChemStationFileTest, SpectraAreRowsAndTheirWavelengthsTheColumns) {
    const std::string data =
        Record('C', 400, Compressed({2, 1, -1, 3, 0})) + Record('A', 800, Absolute({1, 2, 3, 4, -5}));
    EXPECT_EQ(
        Trace(Spectra(2).With(data), "run.uv"),
        "Format \"HPLC ChemStation File\"\nOpen 0x0\nGetNumRows 4\nGetNumCols 9\nSetDataSize 9 "
        "4\nSetDataSize 9 4\n"
        "Set 1 1 text \"Primary ID\"\nSet 2 1 text \"Date\"\nSet 3 1 text \"Sample Name\"\n"
        "Set 4 1 text \"Retention Time Counts\"\nSet 1 2 text \"DAD1 Wavelength [nm]\"\n"
        "Set 5 1 text \"t 200\"\nSet 5 2 double 200\nSet 6 1 text \"t 201\"\nSet 6 2 double 201\n"
        "Set 7 1 text \"t 202\"\nSet 7 2 double 202\nSet 8 1 text \"t 203\"\nSet 8 2 double 203\n"
        "Set 9 1 text \"t 204\"\nSet 9 2 double 204\n"
        "Set 1 3 int 1\nSet 2 3 text \"10-Apr-12\"\nSet 3 3 text \"Sample\"\nSet 4 3 double "
        "0.40000000000000002\n"
        "Set 5 3 double 1\nSet 6 3 double 1.5\nSet 7 3 double 1\nSet 8 3 double 2.5\nSet 9 3 double 2.5\n"
        "Set 1 4 int 2\nSet 2 4 text \"10-Apr-12\"\nSet 3 4 text \"Sample\"\nSet 4 4 double "
        "0.80000000000000004\n"
        "Set 5 4 double 0.5\nSet 6 4 double 1\nSet 7 4 double 1.5\nSet 8 4 double 2\nSet 9 4 double -2.5\n"
        "Read 0x0\nClose\n");
}

// Texts

TEST_F(ChemStationFileTest, EmptyTextsAreEmpty) {
    const std::string trace =
        Trace(Signal().SampleName("").Date("").SignalName("").Unit("").With(Runs().End()));
    EXPECT_NE(trace.find("Set 1 2 text \" Retention Time [s]\"\n"), std::string::npos);
    EXPECT_NE(trace.find("Set 3 3 text \"\"\nSet 4 3 text \"\"\n"), std::string::npos);
    EXPECT_NE(Trace(Signal().SampleName("").With(Runs().End())).find("Set 4 3 text \" [mAU]\"\n"),
              std::string::npos);
}

TEST_F(ChemStationFileTest, DateIsTidied) {
    const auto date = [&](const std::string& text) {
        const std::string trace = Trace(Signal().Date(text).With(Runs().End()));
        const std::size_t start = trace.find("Set 3 3 text ") + 13;
        return trace.substr(start, trace.find('\n', start) - start);
    };
    EXPECT_EQ(date("17-Jun-06, 15:40:38"), "\"17-Jun-06 15:40:38\"");
    EXPECT_EQ(date("Apr 10, 2012, late"), "\"Apr 10 2012, late\"");
    EXPECT_EQ(date("Apr    10  2012"), "\"Apr 10 2012\"");
    EXPECT_EQ(date("Apr ,  10"), "\"Apr 10\"");
    EXPECT_EQ(date(",10 Apr"), "\",10 Apr\"");
    EXPECT_EQ(date("  10 Apr"), "\"  10 Apr\"");
    EXPECT_EQ(date("  10  Apr"), "\"  10 Apr\"");
    EXPECT_EQ(date("    10 Apr"), "\"  10 Apr\"");
}

// Version and step

TEST_F(ChemStationFileTest, VersionBelow1OpensAsAFileOfNoData) {
    for (const char* version : {"", "0", "-3", "HPLC"}) {
        const std::string trace = Trace(Signal().NarrowVersion(version).With(Runs().Run({1})));
        EXPECT_EQ(trace,
                  "Format \"HPLC ChemStation File\"\nOpen 0x0\nGetNumRows 0\nGetNumCols 0\nNoData\nClose\n")
            << version;
    }
}

TEST_F(ChemStationFileTest, DataStartBelow1OpensAsAFileOfNoData) {
    EXPECT_EQ(Size(Signal().DataStart(0).With("")), "0 x 0");
    EXPECT_EQ(Size(Signal().DataStart(-1).With("")), "0 x 0");
    EXPECT_EQ(Size("", "s.ch"), "0 x 0");
}

TEST_F(ChemStationFileTest, FileOfNoDataBesideOneWithDataIsARowOfTexts) {
    const std::string none = folder.Write("none.ch", Signal().NarrowVersion("").With(""));
    const std::string good = folder.Write("good.ch", Signal().With(Runs().Run({2, 2, 2, 2, 2})));
    EXPECT_EQ(Values(none + "\n" + good, 3), "");
    EXPECT_EQ(Values(none + "\n" + good, 4), "1 2 3 4 5");
    EXPECT_EQ(Values(good + "\n" + none, 3), "1 2 3 4 5");
    ChemStationFile reader;
    ASSERT_EQ(reader.Open(true, (none + "\n" + good).c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumRows(), 4);
}

TEST_F(ChemStationFileTest, StepFollowsFromTheVersion) {
    const auto second = [&](const ChemStation& header) {
        const std::string trace = Trace(header.With(Runs().End()));
        const std::size_t start = trace.find("Set 6 2 double ") + 15;
        return trace.substr(start, trace.find('\n', start) - start);
    };
    EXPECT_EQ(second(Signal(30).RatePair(1, 4)), "0.25");
    EXPECT_EQ(second(Signal(130).RatePair(1, 4)), "0.25");
    EXPECT_EQ(second(Signal(8).Times(0, 4000).Rate(4)), "0.80000000000000004");
    EXPECT_EQ(second(Signal(108).Times(0, 4000).Rate(4)), "0.80000000000000004");
    EXPECT_EQ(second(Signal(81).Rate(4)), "0.25");
    EXPECT_EQ(second(Signal(181).Rate(4)), "0.25");
    // The wide text tells the version of the newer layout.
    EXPECT_EQ(second(Signal(130).WideVersion("108").Times(0, 4000).Rate(4)), "0.80000000000000004");
}

TEST_F(ChemStationFileTest, PointCountIsRoundedToTheNearest) {
    EXPECT_EQ(Size(Signal().Times(0, 880).With("")), "3 x 9");
    EXPECT_EQ(Size(Signal().Times(0, 960).With("")), "3 x 10");
    EXPECT_EQ(Size(Signal().Times(5000, 5000).With("")), "3 x 5");
    EXPECT_EQ(Size(Signal().Times(-400, 400).With("")), "3 x 9");
}

TEST_F(ChemStationFileTest, ImpossiblePointCountsAreStatus0x605) {
    constexpr std::int32_t Least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t Greatest = std::numeric_limits<std::int32_t>::max();
    const std::string path = folder.Path("s.ch");
    EXPECT_EQ(FailureOf(Signal().Times(Least, Greatest).With("")), NotChemStation(path));
    EXPECT_EQ(FailureOf(Signal().RatePair(0, 5).With("")), NotChemStation(path));
    EXPECT_EQ(FailureOf(Signal().Times(0, 0).RatePair(0, 0).With("")), NotChemStation(path));
    EXPECT_EQ(FailureOf(Signal(8).Rate(-2000).With("")), NotChemStation(path));
}

TEST_F(ChemStationFileTest, EndBelowTheStartIsNoData) {
    EXPECT_EQ(Size(Signal().Times(8000, 0).With("")), "3 x 0");
    EXPECT_NE(Trace(Signal().Times(8000, 0).With("")).find("NoData\n"), std::string::npos);
}

// Values of a signal

TEST_F(ChemStationFileTest, AbsoluteValueReplacesTheRunningOne) {
    EXPECT_EQ(ValuesOf(Signal().With(
                  Runs().Head(5).Differences({2}).Absolute(100).Differences({2, -2}).Absolute(-6).End())),
              "1 50 51 50 -3");
}

TEST_F(ChemStationFileTest, RunsFollowEachOther) {
    EXPECT_EQ(ValuesOf(Signal().With(
                  Runs().Head(2).Differences({2, 2}).Head(0).Head(3, 0xf000).Differences({2, 2, 2}).End())),
              "1 2 3 4 5");
}

TEST_F(ChemStationFileTest, RunningValueWrapsAround) {
    EXPECT_EQ(ValuesOf(Signal().With(Runs().Head(2).Absolute(2147483647).Differences({1}).End())),
              "1073741823.5 -1073741824");
}

TEST_F(ChemStationFileTest, DataBeginAtTheirBlock) {
    EXPECT_EQ(ValuesOf(Signal().DataStart(4).With(std::string(512, 'x') + std::string(Runs().Run({2, 2})))),
              "1 2");
}

TEST_F(ChemStationFileTest, ValueBeyondTheColumnsIsStatus0x601) {
    const std::string bytes = Signal().With(Runs().Run({2, 2, 2, 2, 2, 2}));
    EXPECT_EQ(FailureOf(bytes), "0x601: The imported files seems to be of different length.");
    EXPECT_EQ(ValuesOf(bytes), "1 2 3 4 5");
}

TEST_F(ChemStationFileTest, DataThatTheFilesEndCutsAreStatus0x606) {
    const std::string path = folder.Path("s.ch");
    EXPECT_EQ(FailureOf(Signal().With("")), ReadFailed(path));
    EXPECT_EQ(FailureOf(Signal().With(Runs().Head(5).Differences({2, 2}))), ReadFailed(path));
    EXPECT_EQ(FailureOf(Signal().With(std::string(Runs().Head(5).Absolute(7)).substr(0, 6))),
              ReadFailed(path));
    EXPECT_EQ(FailureOf(Signal().With(Runs().Head(2).Differences({2, 2}))), ReadFailed(path));
    EXPECT_EQ(FailureOf(Signal().DataStart(2147483647).With("")), ReadFailed(path));
}

// Selections

TEST_F(ChemStationFileTest, EachFileIsARowWithItsOwnRunningValue) {
    const std::string a = folder.Write("a.ch", Signal().With(Runs().Run({2, 2, 2, 2, 2})));
    const std::string b =
        folder.Write("b.ch", Signal(130).SampleName("Other").Scale(-1).With(Runs().Run({1, 1, 1, 1, 1})));
    const std::string files = a + "\n" + b;
    EXPECT_EQ(Values(files, 3), "1 2 3 4 5");
    EXPECT_EQ(Values(files, 4), "-1 -2 -3 -4 -5");
    const std::string trace = ReadTrace(Format, files);
    EXPECT_NE(trace.find("GetNumRows 4\n"), std::string::npos);
    EXPECT_NE(trace.find("Set 1 4 int 2\nSet 2 4 text \"b.ch\"\nSet 3 4 text \"10-Apr-12\"\nSet 4 4 text "
                         "\"Other [mAU]\"\n"),
              std::string::npos);
}

TEST_F(ChemStationFileTest, OtherTimesOfEqualCountAreStatus0x601) {
    const std::string a = folder.Write("a.ch", Signal().With(""));
    const std::string b = folder.Write("b.ch", Signal().Times(200, 1000).With(""));
    EXPECT_EQ(Failure(a + "\n" + b), "0x601: The imported files seems to be of different length.");
}

TEST_F(ChemStationFileTest, OtherPointCountIsStatus0x604) {
    const std::string a = folder.Write("a.ch", Signal().With(""));
    const std::string b = folder.Write("b.ch", Signal().RatePair(1, 10).With(""));
    const std::string c = folder.Write("c.ch", Signal().Times(0, 8000).With(""));
    EXPECT_EQ(Failure(a + "\n" + b), "0x604: The imported files seems to have different resolution.");
    EXPECT_EQ(Failure(a + "\n" + c), "0x604: The imported files seems to have different resolution.");
}

TEST_F(ChemStationFileTest, SpectraAmongSignalsAreStatus0x602) {
    const std::string signal = folder.Write("a.ch", Signal().With(Runs().Run({2})));
    const std::string spectra =
        folder.Write("b.uv", Spectra(1).With(Record('C', 0, Compressed({1, 1, 1, 1, 1}))));
    const std::string text = "0x602: Only files of the same file type can be opened at the same time.";
    EXPECT_EQ(Failure(signal + "\n" + spectra), text);
    EXPECT_EQ(Failure(spectra + "\n" + signal), text);
}

TEST_F(ChemStationFileTest, SeveralFilesOfSpectraAreStatus0x603) {
    const std::string bytes = Spectra(1).With(Record('C', 0, Compressed({1, 1, 1, 1, 1})));
    EXPECT_EQ(Failure(folder.Write("a.uv", bytes) + "\n" + folder.Write("b.UV", bytes)),
              "0x603: Import of more then one 3D HPLC file (*.uv files) is not yet supported.");
}

TEST_F(ChemStationFileTest, MissingFileIsStatus2) {
    EXPECT_EQ(Failure(folder.Path("none.ch")),
              "0x2: An error occurred when trying to establish the size of the data in the file.");
    EXPECT_TRUE(Failure(folder.Write("a.ch", Signal().With("")) + "\n" + folder.Path("none.ch"))
                    .starts_with("0x2: "));
}

TEST_F(ChemStationFileTest, FolderIsStatus0x600) {
    std::filesystem::create_directory(folder.Path("folder.ch"));
    EXPECT_EQ(Failure(folder.Path("folder.ch")),
              "0x600: Unable to open file " + folder.Path("folder.ch") + ".");
}

// Spectra

TEST_F(ChemStationFileTest, RunningValueCarriesOverFromSpectrumToSpectrum) {
    const std::string data =
        Record('C', 0, Compressed({2, 0, 0, 0, 0})) + Record('C', 0, Compressed({2, 0, 0, 0, 2}));
    EXPECT_EQ(ValuesOf(Spectra(2).With(data), "run.uv", 4), "2 2 2 2 3");
}

TEST_F(ChemStationFileTest, AbsoluteMarkerOfSpectraIsLittleEndian) {
    const std::string values = Compressed({2, -32768, 100, 0, 2, 2, -32768}) + ByteBuilder().I32(-2).Bytes();
    EXPECT_EQ(ValuesOf(Spectra(1).With(Record('C', 0, values)), "run.uv"), "1 50 51 52 -1");
}

TEST_F(ChemStationFileTest, FieldBeforeTheValuesIsPassedOver) {
    EXPECT_EQ(ValuesOf(Spectra(1).With(Record('C', 0, Compressed({2, 2, 2, 2, 2}), {}, "field")), "run.uv"),
              "1 2 3 4 5");
}

TEST_F(ChemStationFileTest, WavelengthsAreTwentiethsOfANanometre) {
    const std::string trace =
        Trace(Spectra(1).With(Record('C', 0, Compressed({1, 1, 1}), {3803, 3813, 5})), "run.uv");
    EXPECT_NE(trace.find("GetNumCols 7\n"), std::string::npos);
    EXPECT_NE(trace.find("Set 6 1 text \"t 190.4\"\n"), std::string::npos);
}

TEST_F(ChemStationFileTest, ColumnCountOfSpectraIsAWholeDivision) {
    EXPECT_EQ(Size(Spectra(1).With(Record('C', 0, "", {4000, 4039, 20})), "run.uv"), "3 x 6");
    EXPECT_EQ(Size(Spectra(1).With(Record('C', 0, "", {4080, 4000, -20})), "run.uv"), "3 x 9");
    EXPECT_EQ(Size(Spectra(1).With(Record('C', 0, "", {4000, -32768, 1})), "run.uv"), "3 x 0");
}

TEST_F(ChemStationFileTest, SpectraWithoutTheirScaleHaveScale1AndNoUnit) {
    const std::string data = Record('C', 0, Compressed({2, 2, 2, 2, 2}));
    EXPECT_EQ(ValuesOf(Spectra(1).Flag(1).With(data), "run.uv"), "2 4 6 8 10");
    EXPECT_EQ(ValuesOf(Spectra(1, 33).With(data), "run.uv"), "2 4 6 8 10");
    EXPECT_EQ(ValuesOf(Spectra(1, 131).With(data), "run.uv"), "1 2 3 4 5");
    ChemStationFile reader;
    ASSERT_EQ(reader.Open(true, folder.Write("run.uv", Spectra(1).Flag(1).With(data)).c_str(), nullptr), 0);
    EXPECT_EQ(reader.ListParts().front().detail, "");
}

TEST_F(ChemStationFileTest, RecordsOfAnotherKindOrShapeAreStatus0x605) {
    const std::string path = folder.Path("run.uv");
    const std::string good = Record('C', 0, Compressed({1, 1, 1, 1, 1}));
    EXPECT_EQ(FailureOf(Spectra(2).With(good + Record('B', 0, Compressed({1, 1, 1, 1, 1}))), "run.uv"),
              NotChemStation(path));
    for (const Axis& axis : {Axis{4020, 4080, 20}, Axis{4000, 4060, 20}, Axis{4000, 4080, 10}}) {
        EXPECT_EQ(FailureOf(Spectra(2).With(good + Record('C', 0, good, axis)), "run.uv"),
                  NotChemStation(path));
    }
    EXPECT_EQ(FailureOf(Spectra(1).With(Record('C', 0, good, {4000, 4080, 0})), "run.uv"),
              NotChemStation(path));
}

TEST_F(ChemStationFileTest, RecordsThatTheFileDoesNotHoldAreStatus0x605) {
    const std::string path = folder.Path("run.uv");
    const std::string good = Record('C', 0, Compressed({1, 1, 1, 1, 1}));
    EXPECT_EQ(FailureOf(Spectra(1).With(""), "run.uv"), NotChemStation(path));
    EXPECT_EQ(FailureOf(Spectra(2147483647).With(good), "run.uv"), NotChemStation(path));
    for (const int length : {0, 17, -18, -32768}) {
        std::string turned = good;
        turned.replace(2, 2, ByteBuilder().I16(length).Bytes());
        EXPECT_EQ(FailureOf(Spectra(2147483647).With(turned + good), "run.uv"), NotChemStation(path))
            << length;
    }
    std::string negativeField = good;
    negativeField.replace(16, 2, ByteBuilder().I16(-4).Bytes());
    EXPECT_EQ(FailureOf(Spectra(1).With(negativeField), "run.uv"), NotChemStation(path));
}

TEST_F(ChemStationFileTest, NoRecordsAreNoData) {
    EXPECT_EQ(Size(Spectra(0).With(""), "run.uv"), "2 x 0");
    EXPECT_EQ(Size(Spectra(-5).With(""), "run.uv"), "2 x 0");
}

TEST_F(ChemStationFileTest, SpectrumLongerThanItsRecordIsStatus0x606) {
    const std::string path = folder.Path("run.uv");
    const std::string tooShort = Record('C', 0, Compressed({1, 1, 1}));
    EXPECT_EQ(FailureOf(Spectra(1).With(tooShort), "run.uv"), ReadFailed(path));
    EXPECT_EQ(FailureOf(Spectra(2).With(tooShort + tooShort), "run.uv"), ReadFailed(path));
}

TEST_F(ChemStationFileTest, RecordThatHasChangedSinceOpenEndsTheReadInSilence) {
    const std::string first = Record('C', 0, Compressed({1, 1, 1, 1, 1}));
    const std::string path = folder.Write("run.uv", Spectra(2).With(first + first));
    ChemStationFile reader;
    CountingSink sink;
    ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
    folder.Write("run.uv", Spectra(2).With(first + Record('B', 0, Compressed({1, 1, 1, 1, 1}))));
    EXPECT_EQ(reader.Read(&sink), 0);
    EXPECT_EQ(reader.GetStatus(), 0);
    EXPECT_EQ(sink.cells, 5 + 10 + 9);
}

// The object

TEST_F(ChemStationFileTest, ExtensionAloneTellsTheFormat) {
    EXPECT_TRUE(ChemStationFile::IsChemStationFile(folder.Write("a.CH", "x").c_str()));
    EXPECT_TRUE(ChemStationFile::IsChemStationFile(folder.Write("a.uv", "").c_str()));
    EXPECT_FALSE(ChemStationFile::IsChemStationFile(folder.Write("a.chx", "x").c_str()));
    EXPECT_FALSE(ChemStationFile::IsChemStationFile(folder.Path("none.ch").c_str()));
}

TEST_F(ChemStationFileTest, WritingIsStatus1) {
    ChemStationFile reader;
    EXPECT_EQ(reader.Open(false, folder.Path("out.ch").c_str(), nullptr), 1);
    EXPECT_EQ(reader.GetNumCols(), -1);
    EXPECT_EQ(reader.GetNumRows(), -1);
    EXPECT_EQ(reader.EstablishSize(), 0);
}

TEST_F(ChemStationFileTest, FailureSticksUntilClose) {
    ChemStationFile reader;
    const std::string good = folder.Write("a.ch", Signal().With(Runs().Run({2, 2, 2, 2, 2})));
    CountingSink sink;
    ASSERT_EQ(reader.Open(true, folder.Path("none.ch").c_str(), nullptr), 2);
    EXPECT_EQ(reader.Open(true, good.c_str(), nullptr), 2);
    EXPECT_EQ(reader.Read(&sink), 2);
    reader.Close();
    EXPECT_EQ(reader.Open(true, good.c_str(), nullptr), 0);
    EXPECT_EQ(reader.Read(&sink), 0);
}

TEST_F(ChemStationFileTest, TextsWithoutANameAndOfOtherCodes) {
    struct Failing : ChemStationFile {
        explicit Failing(int code) { status = code; }
    };
    Failing open(ChemStationFile::StatusCannotOpen);
    Failing shape(ChemStationFile::StatusNotChemStation);
    Failing read(ChemStationFile::StatusReadFailed);
    Failing other(0x7777);
    EXPECT_EQ(ErrorOf(open), "Unable to open file");
    EXPECT_EQ(ErrorOf(shape), "The file does not seem to be an HPLC Chemstation file.");
    EXPECT_EQ(ErrorOf(read), "The file could not be read.");
    EXPECT_EQ(ErrorOf(other), "No further information available.");
}

TEST_F(ChemStationFileTest, FactsTellTheAxis) {
    ChemStationFile reader;
    ASSERT_EQ(reader.Open(true, folder.Write("s.ch", Signal().With("")).c_str(), nullptr), 0);
    const std::vector<FileContents::Fact> expected{
        {"spectra", "1"},     {"points", "5"},       {"first X", "0 s"},
        {"last X", "0.8 s"},  {"spacing", "0.2 s"},  {"Y unit", "mAU"},
        {"sample", "Sample"}, {"date", "10-Apr-12"}, {"version", "30"}};
    EXPECT_EQ(reader.ListFacts(), expected);
    ASSERT_EQ(reader.ListParts().size(), 1U);
    EXPECT_EQ(reader.ListParts().front().name, "DAD1 A");
}

TEST_F(ChemStationFileTest, ThousandsOfFilesAreReadWithFewOpenAtATime) {
    const std::string bytes = Signal().With(Runs().Run({2, 2, 2, 2, 2}));
    std::string files;
    for (int i = 0; i < 1500; ++i) {
        files += folder.Write("s" + std::to_string(i) + ".ch", bytes) + "\n";
    }
    ChemStationFile reader;
    CountingSink sink;
    ASSERT_EQ(reader.Open(true, files.c_str(), nullptr), 0);
    EXPECT_EQ(reader.GetNumRows(), 1502);
    ASSERT_EQ(reader.Read(&sink), 0);
    EXPECT_EQ(sink.cells, 5 + 10 + 1500 * 9);
}

TEST_F(ChemStationFileTest, DamagedFilesEndInAStatus) {
    ForEachDamage(
        Signal().With(Runs().Head(5).Differences({2}).Absolute(100).Differences({2, -2}).Absolute(-6).End()),
        [&](const std::string& bytes) { FailureOf(bytes); });
    const std::string data =
        Record('C', 400, Compressed({2, 1, -1, 3, 0})) + Record('A', 800, Absolute({1, 2, 3, 4, -5}));
    ForEachDamage(Spectra(2).With(data), [&](const std::string& bytes) { FailureOf(bytes, "run.uv"); });
}

// Real files

namespace {

void ExpectY(TableData& table, int row, const SpectrumTruth::Spectrum& truth) {
    double sum = 0;
    for (int i = 0; i < truth.points; ++i) {
        sum += table.GetFloatValue(i + 5, row);
    }
    EXPECT_NEAR(sum, truth.sumY, 1e-9 * std::fabs(truth.sumY) + 1e-9);
    for (std::size_t i = 0; i < truth.firstY.size(); ++i) {
        EXPECT_DOUBLE_EQ(table.GetFloatValue(static_cast<int>(i) + 5, row), truth.firstY[i]);
        const int last = truth.points - static_cast<int>(truth.lastY.size() - i) + 5;
        EXPECT_DOUBLE_EQ(table.GetFloatValue(last, row), truth.lastY[i]);
    }
}

// Whether the spectra of a file begin with a difference. It is one from the spectrum before; the independent
// reader takes it as one from 0, so that its later spectra lie lower or higher as a whole.
bool StartsWithoutAbsolute(const std::string& name) {
    return name == "dad-v31/dad1.uv";
}

void ExpectSteps(TableData& table, int row, const SpectrumTruth::Spectrum& truth) {
    for (std::size_t i = 1; i < truth.firstY.size(); ++i) {
        const int col = static_cast<int>(i) + 5;
        EXPECT_NEAR(table.GetFloatValue(col, row) - table.GetFloatValue(col - 1, row),
                    truth.firstY[i] - truth.firstY[i - 1], 1e-9);
    }
}

}  // namespace

TEST_F(ChemStationFileTest, RealFilesHoldWhatAnIndependentReaderFound) {
    SKIP_WITHOUT_SHARED_DATA();
    for (const char* name : {"dad-v131/ADC1A.CH", "dad-v131/DAD1B.ch", "dad-v31/dad1A.ch", "mwd-v30/mwd1A.ch",
                             "dad-v131/DAD1.UV", "dad-v31/dad1.uv"}) {
        SCOPED_TRACE(name);
        const std::string path = SharedFolder() + "/data/instrument/chemstation/" + name;
        const SpectrumTruth truth = ReadSpectrumTruth(path);
        ChemStationFile reader;
        TableData table;
        ASSERT_EQ(reader.Open(true, path.c_str(), nullptr), 0);
        ASSERT_EQ(reader.GetNumRows(), truth.numSpectra + 2);
        ASSERT_EQ(reader.GetNumCols(), truth.spectra.front().points + 4);
        table.SetDataSize(reader.GetNumCols(), reader.GetNumRows());
        ASSERT_EQ(reader.Read(&table), 0);
        // The truth has times in minutes and the table in seconds; wavelengths are nm in both.
        const double unit = truth.xUnits == "min" ? 60.0 : 1.0;
        EXPECT_NEAR(table.GetFloatValue(5, 2), truth.firstX * unit, 1e-9 * 1000);
        EXPECT_NEAR(table.GetFloatValue(reader.GetNumCols(), 2), truth.lastX * unit, 1e-9 * 1000);
        for (const SpectrumTruth::Spectrum& spectrum : truth.spectra) {
            if (spectrum.index == 0 || !StartsWithoutAbsolute(name)) {
                ExpectY(table, spectrum.index + 3, spectrum);
            } else {
                ExpectSteps(table, spectrum.index + 3, spectrum);
            }
            if (spectrum.timeMinutes >= 0) {
                EXPECT_NEAR(table.GetFloatValue(4, spectrum.index + 3), spectrum.timeMinutes * 60, 1e-6);
            }
        }
    }
}

TEST_F(ChemStationFileTest, RealFilesThatTheRulesRefuse) {
    SKIP_WITHOUT_SHARED_DATA();
    // Gas chromatograms keep their times as floats, and their step otherwise; the other one was cut.
    for (const char* name : {"fid-v179.ch", "fid-v81.ch", "gc-v181.ch", "bad/cut-dad1.uv"}) {
        const std::string path = SharedFolder() + "/data/instrument/chemstation/" + name;
        EXPECT_EQ(Failure(path), NotChemStation(path));
    }
}
