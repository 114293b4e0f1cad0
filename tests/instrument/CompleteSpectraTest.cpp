// The complete reading of OPUS, ChemStation, NSAS and Brimrose files, of files built for it.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "frame/CompleteOptions.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/FormatRecogniser.h"
#include "instrument/ChemStationHeader.h"
#include "table/TableData.h"
#include "tests/instrument/OPUSBuilder.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr const char* OPUSFormat = "Bruker OPUS File";
constexpr const char* Interpolated = "Bruker OPUS Interpolated File";
constexpr const char* ChemStation = "HPLC ChemStation File";
constexpr const char* NSAS = "NSAS File";
constexpr const char* Brimrose = "Brimrose File";

/** One complete read, and all that the reader says of it. */
class CompleteRead {
public:
    CompleteRead(const std::string& format, const std::string& paths, const std::string& value = {},
                 const char* key = CompleteOptions::Part)
        : reader(NewReader(format)), context(std::make_shared<karta::ReadContext>()) {
        context->reading = karta::Reading::Complete;
        dynamic_cast<FormatReader&>(*reader).SetContext(context);
        TestOptions options({{key, value}});
        status = reader->Open(true, paths.c_str(), value.empty() ? nullptr : options.Get());
        if (status == 0) {
            parts = Contents().ListParts();
            facts = Contents().ListFacts();
            status = reader->Read(&table);
        }
        error = ErrorOf(*reader);
    }

    std::vector<double> Row(int row, int firstColumn) {
        std::vector<double> numbers;
        for (int column = firstColumn; column <= table.GetNumberOfColumns(); ++column) {
            const bool isThere = table.GetKind(column, row) != TableData::Missing;
            numbers.push_back(isThere ? table.GetFloatValue(column, row) : Nothing);
        }
        return numbers;
    }
    std::vector<std::string> NamesOfParts() const {
        std::vector<std::string> names;
        for (const FileContents::Part& part : parts) {
            names.push_back(part.name);
        }
        return names;
    }
    std::string Fact(const std::string& name) const {
        for (const FileContents::Fact& fact : facts) {
            if (fact.name == name) {
                return fact.value;
            }
        }
        return "none";
    }
    std::string Note(const std::string& code) const {
        for (const karta::Note& note : context->notes.GetAll()) {
            if (note.code == code) {
                return note.text;
            }
        }
        return "none";
    }
    FileContents& Contents() { return dynamic_cast<FileContents&>(*reader); }

    /** Stands for a missing cell. */
    static constexpr double Nothing = -12345;

    std::unique_ptr<SpreadsheetFile> reader;
    std::shared_ptr<karta::ReadContext> context;
    TableData table;
    std::vector<FileContents::Part> parts;
    std::vector<FileContents::Fact> facts;
    int status = 0;
    std::string error;
};

class CompleteSpectra : public testing::Test {
protected:
    std::string Write(const char* name, const std::string& bytes) { return folder.Write(name, bytes); }
    std::string Path(const char* name) const { return folder.Path(name); }

    TempFolder folder;
};

using Values = std::vector<double>;
using Names = std::vector<std::string>;

/** A file with absorbance, a result before it and the background behind it. */
std::vector<OPUSBlockBytes> ThreeSpectra() {
    const OPUSBuilder file;
    constexpr std::uint32_t Result = 0x580f;
    constexpr std::uint32_t Reference = 0x040b;
    return {{OPUSSampleParameters, file.Sample()},
            {Result, OPUSValues({7.0F, 8.0F})},
            {Result | 0x10U, OPUSStatus(2, 100.0, 101.0).End()},
            {OPUSRatioedData, OPUSValues(file.values)},
            {OPUSRatioedStatus, file.Status().End()},
            {Reference, OPUSValues({5.0F, 6.0F})},
            {Reference | 0x10U, OPUSStatus(2, 50.0, 40.0).End()}};
}

/** The header of the narrow layout, with its values from the third block on. */
ByteBuilder OlderHeader(const char* version, const char* fileType) {
    ByteBuilder bytes;
    bytes.U8(static_cast<unsigned int>(std::strlen(version))).Text(version).PadTo(4);
    bytes.U8(static_cast<unsigned int>(std::strlen(fileType))).Text(fileType).PadTo(0x18);
    bytes.U8(4).Text("mint").PadTo(0x94).U8(2).Text("AB").PadTo(0xb2);
    bytes.U8(19).Text("17-Jun-06, 15:40:38").PadTo(0xe4).U8(4).Text("M1.M").PadTo(0x108);
    return bytes;
}

std::string Big(std::uint64_t number, int size) {
    std::string bytes;
    for (int i = size - 1; i >= 0; --i) {
        bytes += static_cast<char>(number >> (8 * i) & 0xff);
    }
    return bytes;
}

template <class Number, class Word>
std::string BigNumber(Number number) {
    Word word{};
    static_assert(sizeof word == sizeof number);
    std::memcpy(&word, &number, sizeof word);
    return Big(word, sizeof word);
}

std::string BigDouble(double number) {
    return BigNumber<double, std::uint64_t>(number);
}

/** A chromatogram of the narrow layout from 1 to 3 s, as whole numbers or floats, with a scale of 0.5. */
std::string Chromatogram(const char* version, bool isFloat, const std::string& values) {
    const std::string start = isFloat ? BigNumber<float, std::uint32_t>(1000.0F) : Big(1000, 4);
    const std::string end = isFloat ? BigNumber<float, std::uint32_t>(3000.0F) : Big(3000, 4);
    ByteBuilder bytes = OlderHeader(version, "GC DATA FILE");
    bytes.Text(Big(3, 4)).PadTo(0x11a).Text(start).Text(end).PadTo(0x244).U8(2).Text("pA").PadTo(0x254);
    bytes.U8(13).Text("D, Sig=254,10").PadTo(0x27c).Text(BigDouble(0.25)).Text(BigDouble(0.5)).PadTo(1024);
    bytes.Text(values);
    return bytes.Bytes();
}

/** A spectrum of three points, 190 to 194 nm: two differences and an absolute value between them. */
std::string CompressedRecord(int time, int first) {
    ByteBuilder bytes;
    bytes.U8('C').U8(0).I16(18 + 10).I32(time).I16(190 * 20).I16(194 * 20).I16(2 * 20).I16(0).I16(0);
    bytes.I16(first).I16(-0x8000).I32(1000).I16(-1);
    return bytes.Bytes();
}

std::string Spectra(int promised, const std::string& records) {
    ByteBuilder bytes = OlderHeader("31", "LC DATA FILE");
    bytes.Text(Big(2, 4)).PadTo(0x116).Text(Big(static_cast<std::uint64_t>(promised), 4)).PadTo(0x13a);
    bytes.Text(Big(0, 4)).Text(BigDouble(0.5)).U8(3).Text("mAU").PadTo(512).Text(records);
    return bytes.Bytes();
}

/** A record of a DA file whose values count up from `firstValue`. */
std::string NsasRecord(const char* name, int numPoints, int start, int end, float firstValue) {
    ByteBuilder bytes;
    bytes.I16(6500).I16(1).Field(name, 10).I16(numPoints).I16(start).I16(end).PadTo(30).I16(1).PadTo(128);
    for (int i = 0; i < numPoints; ++i) {
        bytes.Float(firstValue + static_cast<float>(i));
    }
    while (bytes.Bytes().size() % 128 != 0) {
        bytes.U8(0);
    }
    return bytes.Bytes();
}

std::string BrimroseFileOf(int promised, int there) {
    ByteBuilder bytes;
    bytes.U32(0x0D0C10FF).PadTo(29).Float(1100.5F).Float(1101.5F).Float(0.5F).U16(3).PadTo(45);
    bytes.U16(static_cast<unsigned int>(promised)).PadTo(512);
    for (int i = 0; i < there; ++i) {
        bytes.U32(1'238'753'472).Field(i == 0 ? "rye" : "spelt", 124).Float(1.0F).Float(2.0F).Float(3.0F);
    }
    return bytes.Bytes();
}

}  // namespace

// OPUS

TEST_F(CompleteSpectra, OPUSPrefersAbsorbanceAndOffersTheRest) {
    CompleteRead read(OPUSFormat, Write("a.0", OPUSFile(ThreeSpectra())));
    EXPECT_EQ(read.NamesOfParts(), (Names{"result 22", "absorbance", "reference spectrum"}));
    EXPECT_EQ(read.Row(2, 6), (Values{100, 101, 102}));
    EXPECT_EQ(read.Row(3, 6), (Values{1, 2, 4}));
    EXPECT_EQ(read.Note("other-parts"),
              "the table holds 'absorbance'; 2 other parts can be chosen with --part: result 22, reference "
              "spectrum");
    EXPECT_EQ(read.context->shape.axisQuantity, "wavenumber");
    EXPECT_EQ(read.context->shape.axisRow, 2);
}

TEST_F(CompleteSpectra, OPUSPartIsChosenByNameAndByPlace) {
    const std::string path = Write("a.0", OPUSFile(ThreeSpectra()));
    EXPECT_EQ(CompleteRead(OPUSFormat, path, "reference spectrum").Row(3, 6), (Values{5, 6}));
    EXPECT_EQ(CompleteRead(OPUSFormat, path, "1").Row(3, 6), (Values{7, 8}));
    CompleteRead all(OPUSFormat, path, "all");
    EXPECT_EQ(all.table.GetNumberOfRows(), 9);
    EXPECT_EQ(all.Row(8, 6), (Values{50, 40, CompleteRead::Nothing}));
    const CompleteRead none(OPUSFormat, path, "phase");
    EXPECT_EQ(none.status, 4);
    EXPECT_EQ(none.error, "There is no part 'phase' in the files.");
}

TEST_F(CompleteSpectra, OPUSTextsAndTimesHaveTheirTypes) {
    OPUSBuilder file;
    file.sampleName = "S\xe4ure";
    auto blocks = file.Blocks();
    blocks[1].bytes =
        OPUSStatus(3, 100, 102).Text("DAT", "04/03/2009").Text("TIM", "10:11:12.5 (GMT-4)").End();
    CompleteRead read(OPUSFormat, Write("a.0", OPUSFile(blocks)));
    EXPECT_EQ(read.table.GetString(2, 3), "S\xc3\xa4ure");
    EXPECT_NE(read.Note("encoding"), "none");
    EXPECT_EQ(read.table.GetKind(4, 3), TableData::Date);
    EXPECT_EQ(read.table.GetString(4, 3), "2009-03-04");
    EXPECT_EQ(read.table.GetKind(5, 3), TableData::Time);
    EXPECT_EQ(read.Fact("date"), "2009-03-04T10:11:12.5-04:00");
    EXPECT_EQ(read.Fact("sample form"), "powder");
}

TEST_F(CompleteSpectra, OPUSTextsGoByTheCodePageThatTheFileNames) {
    auto blocks = OPUSBuilder().Blocks();
    blocks[0].bytes = OPUSParameters().Text("SNM", "\xcf\xee\xf7\xe2\xe0").Int("CPG", 1251).End();
    const std::string path = Write("a.0", OPUSFile(blocks));
    CompleteRead read(OPUSFormat, path);
    EXPECT_EQ(read.table.GetString(2, 3), "\xd0\x9f\xd0\xbe\xd1\x87\xd0\xb2\xd0\xb0");
    EXPECT_EQ(read.Fact("sample"), "\xd0\x9f\xd0\xbe\xd1\x87\xd0\xb2\xd0\xb0");
    EXPECT_EQ(read.Note("encoding"), "none");
    CompleteRead asked(OPUSFormat, path, "latin-1", CompleteOptions::Encoding);
    EXPECT_EQ(asked.table.GetString(2, 3), "\xc3\x8f\xc3\xae\xc3\xb7\xc3\xa2\xc3\xa0");
}

TEST_F(CompleteSpectra, OPUSSeriesAndReportsAreToldAndTheRestIsRead) {
    constexpr std::uint32_t Series = OPUSRatioedData | 2U << 19U;
    constexpr std::uint32_t Report = 2U << 19U;
    auto blocks = OPUSBuilder().Blocks();
    blocks.push_back({Series, OPUSValues({1, 2, 3, 4, 5, 6, 7, 8})});
    blocks.push_back({Series | 0x10U, OPUSStatus(2, 100.0, 101.0).End()});
    blocks.push_back({Report, "reports!"});
    CompleteRead read(OPUSFormat, Write("a.0", OPUSFile(blocks)));
    EXPECT_EQ(read.NamesOfParts(), (Names{"absorbance"}));
    EXPECT_EQ(read.Note("block-form"), "a.0: 'absorbance' is a series of spectra, which can't be read");
    EXPECT_EQ(read.Note("other-blocks"), "a.0: reports and the like are not read: 1 block");
}

TEST_F(CompleteSpectra, OPUSValuesBehindTheAxisAreTold) {
    auto blocks = OPUSBuilder().Blocks();
    blocks.back().bytes = OPUSValues({1, 2, 3, 4, 5, 6});
    const CompleteRead read(OPUSFormat, Write("a.0", OPUSFile(blocks)));
    EXPECT_EQ(read.Note("further-values"),
              "a.0: the block of 'absorbance' has room for 6 values, of which its axis tells 3; the others "
              "are not in the table");
    blocks.back().bytes = OPUSValues({1, 2, 3, 4});
    EXPECT_EQ(CompleteRead(OPUSFormat, Write("b.0", OPUSFile(blocks))).Note("further-values"), "none");
}

TEST_F(CompleteSpectra, OPUSHistoryAndFurtherParametersAreFacts) {
    constexpr std::uint32_t Further = 1U << 19U;
    constexpr std::uint32_t History = 0x40680000U;
    auto blocks = OPUSBuilder().Blocks();
    blocks.push_back({Further, OPUSParameters().Text("INM", "method.int").End()});
    blocks.push_back({History, std::string("\0\0\0\0measured\0saved\0\0", 20)});
    const CompleteRead read(OPUSFormat, Write("a.0", OPUSFile(blocks)));
    EXPECT_EQ(read.Fact("INM"), "method.int");
    EXPECT_EQ(read.Fact("history"), "measured\nsaved");
    EXPECT_EQ(read.Note("other-blocks"), "none");
}

TEST_F(CompleteSpectra, OPUSDateThatIsNoneStaysItsText) {
    for (const char* text : {"04.13.2009", "31/02/2009", "4/3", "soon", "04/03/2009x"}) {
        auto blocks = OPUSBuilder().Blocks();
        blocks[1].bytes = OPUSStatus(3, 100, 102).Text("DAT", text).Text("TIM", "25:00:00").End();
        CompleteRead read(OPUSFormat, Write("a.0", OPUSFile(blocks)));
        EXPECT_EQ(read.table.GetKind(4, 3), TableData::Text) << text;
        EXPECT_EQ(read.table.GetString(5, 3), "25:00:00");
    }
}

TEST_F(CompleteSpectra, OPUSWholeNumbersAndScaleAreDoubles) {
    ByteBuilder values;
    values.I32(3).I32(-5).I32(7);
    auto blocks = OPUSBuilder().Blocks();
    blocks[1].bytes = OPUSParameters()
                          .Int("DPF", 2)
                          .Int("NPT", 3)
                          .Double("FXV", 1)
                          .Double("LXV", 3)
                          .Double("CSF", 0.1)
                          .End();
    blocks[2].bytes = values.Bytes();
    CompleteRead read(OPUSFormat, Write("a.0", OPUSFile(blocks)));
    EXPECT_EQ(read.Row(3, 6), (Values{3 * 0.1, -5 * 0.1, 7 * 0.1}));
    EXPECT_EQ(read.table.GetKind(6, 3), TableData::Double);
}

TEST_F(CompleteSpectra, OPUSCutValuesAreReadAsFarAsTheyGo) {
    const std::string whole = OPUSBuilder().Build();
    CompleteRead read(OPUSFormat, Write("a.0", whole.substr(0, whole.size() - 5)));
    EXPECT_EQ(read.Row(2, 6), (Values{100}));
    EXPECT_EQ(read.Row(3, 6), (Values{1}));
    EXPECT_EQ(read.Note("cut-values"), "a.0: 'absorbance' has 1 of the 3 values that its axis promises");
}

TEST_F(CompleteSpectra, OPUSFileWithoutASpectrumIsRefused) {
    const CompleteRead read(OPUSFormat, Write("a.0", OPUSFile({OPUSBuilder().Blocks()[0]})));
    EXPECT_EQ(read.status, 4);
    EXPECT_EQ(read.error, "Could not find any spectrum in '" + Path("a.0") + "' that can be read.");
}

TEST_F(CompleteSpectra, OPUSFilesOfOneAxisShareATableAndOthersArePartsOfTheirOwn) {
    OPUSBuilder other;
    other.firstX = 90;
    const std::string paths = Write("a.0", OPUSBuilder().Build()) + "\n" + Write("b.0", other.Build()) +
                              "\n" + Write("c.0", OPUSBuilder().Build());
    CompleteRead read(OPUSFormat, paths);
    EXPECT_EQ(read.NamesOfParts(), (Names{"absorbance", "absorbance (axis 2)"}));
    EXPECT_EQ(read.table.GetNumberOfRows(), 4);
    EXPECT_EQ(read.table.GetString(1, 4), "c.0");
    EXPECT_EQ(CompleteRead(OPUSFormat, paths, "2").table.GetString(1, 3), "b.0");
}

TEST_F(CompleteSpectra, OPUSInterpolatesByEachFilesOwnAxis) {
    OPUSBuilder other;  // 100.5, 101.5 ... on the other way round
    other.values = {-99.0F, 10.0F, 20.0F, 30.0F};
    other.firstX = 103.5;
    other.lastX = 100.5;
    const std::string paths = Write("a.0", OPUSBuilder().Build()) + "\n" + Write("b.0", other.Build());
    CompleteRead read(Interpolated, paths);
    EXPECT_EQ(read.Row(3, 6), (Values{1, 2, 4}));
    EXPECT_EQ(read.Row(4, 6), (Values{CompleteRead::Nothing, 25, 15}));
    EXPECT_EQ(read.Note("outside-axis"),
              "1 cell of the axis lie beyond the ends of their spectra and are missing");
}

// ChemStation

TEST_F(CompleteSpectra, ChemStationRunningValueBeginsAnewWithEachSpectrum) {
    CompleteRead read(ChemStation,
                      Write("a.uv", Spectra(2, CompressedRecord(1500, 10) + CompressedRecord(2500, 20))));
    EXPECT_EQ(read.Row(2, 5), (Values{190, 192, 194}));
    EXPECT_EQ(read.Row(3, 4), (Values{1.5, 5, 500, 499.5}));
    EXPECT_EQ(read.Row(4, 4), (Values{2.5, 10, 500, 499.5}));
    EXPECT_EQ(read.table.GetKind(2, 3), TableData::DateTime);
    EXPECT_EQ(read.Fact("operator"), "AB");
    EXPECT_EQ(read.Fact("date"), "2006-06-17T15:40:38");
    EXPECT_EQ(read.context->shape.axisUnit, "nm");
}

TEST_F(CompleteSpectra, ChemStationSpectraThatAreCutAreToldAndSoAreOtherAxes) {
    std::string other = CompressedRecord(2000, 1);
    other[8] = 0;
    const std::string records = CompressedRecord(1000, 2) + other + CompressedRecord(3000, 4);
    CompleteRead read(ChemStation,
                      Write("a.uv", Spectra(9, records + CompressedRecord(4000, 6).substr(0, 20))));
    EXPECT_EQ(read.table.GetNumberOfRows(), 4);
    EXPECT_EQ(read.Row(4, 4), (Values{3, 2, 500, 499.5}));
    EXPECT_EQ(read.Note("cut-records"),
              "a.uv: the file holds 3 of the 9 spectra that its header promises; they end at byte 596");
    EXPECT_EQ(read.Note("other-axis"),
              "a.uv: 1 spectrum on another axis than the first are not in this table");
}

TEST_F(CompleteSpectra, ChemStationSecondDifferencesAndTheirReplacements) {
    const std::string values = Big(4, 2) + Big(2, 2) + Big(0x7fff, 2) + Big(0x000100000001, 6) + Big(3, 2);
    CompleteRead read(ChemStation, Write("a.ch", Chromatogram("81", true, values)));
    // 4; 4 + 6; 2 to the power of 32 and 1; the slope anew from 0.
    const double large = 4294967297.0;
    EXPECT_EQ(read.Row(3, 5), (Values{2.25, 5.25, large / 2 + 0.25, (large + 3) / 2 + 0.25}));
    EXPECT_EQ(read.Row(2, 5), (Values{1, 1 + 2.0 / 3, 1 + 4.0 / 3, 3}));
    EXPECT_EQ(read.Fact("wavelength"), "254 nm");
    EXPECT_EQ(read.Fact("bandwidth"), "10 nm");
    EXPECT_EQ(read.table.GetString(4, 3), "mint [pA]");
}

TEST_F(CompleteSpectra, ChemStationRunsOfDifferences) {
    const std::string runs = Big(0x1002, 2) + Big(2, 2) + Big(0xffff, 2) + Big(0x1001, 2) + Big(0x8000, 2) +
                             Big(100, 4) + Big(0, 2);
    CompleteRead read(ChemStation, Write("a.ch", Chromatogram("30", false, runs)));
    EXPECT_EQ(read.Row(3, 5), (Values{1.25, 0.75, 50.25}));
    EXPECT_EQ(read.Note("cut-values"), "none");
    CompleteRead cut(ChemStation, Write("b.ch", Chromatogram("30", false, runs.substr(0, runs.size() - 2))));
    EXPECT_EQ(cut.Row(3, 5), (Values{1.25, 0.75, 50.25}));
    EXPECT_EQ(cut.Note("cut-values"), "b.ch: the file was cut off: it ends behind 3 values");
}

TEST_F(CompleteSpectra, ChemStationDoublesStandAtTheirPlaceWhateverTheHeaderSays) {
    ByteBuilder bytes;
    bytes.U8(3).Text("179").PadTo(0x11a).Text(BigNumber<float, std::uint32_t>(500.0F));
    bytes.Text(BigNumber<float, std::uint32_t>(1500.0F))
        .PadTo(0x146)
        .U8(3)
        .Text(std::string("1\0007\0009\0", 6));
    bytes.PadTo(0x1274)
        .Text(BigDouble(0.0))
        .Text(BigDouble(0.5))
        .PadTo(0x1800)
        .Double(1.0)
        .Double(-3.0)
        .Double(5.0);
    CompleteRead read(ChemStation, Write("a.ch", bytes.Bytes()));
    EXPECT_EQ(read.Row(2, 5), (Values{0.5, 1, 1.5}));
    EXPECT_EQ(read.Row(3, 5), (Values{0.5, -1.5, 2.5}));
}

TEST_F(CompleteSpectra, ChemStationSpectraOfOpenLabAreDoubles) {
    const auto record = [](int time, double first) {
        ByteBuilder bytes;
        bytes.I32(0).I32(time).I16(200 * 20).I16(202 * 20).I16(20).PadTo(22);
        return bytes.Double(first).Double(first + 1).Double(first + 2).Bytes();
    };
    const std::string records = record(1500, 1) + record(2500, 7);
    ByteBuilder head;
    head.U8(3).Text("131").PadTo(0x108).Text(Big(9, 4)).PadTo(0x116).Text(Big(3, 4)).PadTo(0x146).U8(3);
    head.Text(std::string("1\0003\0001\0", 6)).PadTo(0x15b).U8(2).Text(std::string("O\0L\0", 4)).PadTo(0xc0d);
    head.Text(BigDouble(0.5)).PadTo(0x1000);
    CompleteRead read(ChemStation, Write("a.uv", head.Bytes() + records));
    EXPECT_EQ(read.Row(2, 5), (Values{200, 201, 202}));
    EXPECT_EQ(read.Row(3, 4), (Values{1.5, 0.5, 1, 1.5}));
    EXPECT_EQ(read.Row(4, 4), (Values{2.5, 3.5, 4, 4.5}));
    EXPECT_EQ(read.Note("cut-records"),
              "a.uv: the file holds 2 of the 3 spectra that its header promises; they end at byte 4188");
}

TEST_F(CompleteSpectra, ChemStationSignalsTellTheirLight) {
    std::string file = Chromatogram("8", false, Big(0x1001, 2) + Big(2, 2) + Big(0, 2));
    const std::string signal = "D,Sig=250,4 Ref=360,99 Em=3";
    file.replace(0x254, signal.size() + 1, std::string(1, static_cast<char>(signal.size())) + signal);
    const CompleteRead read(ChemStation, Write("a.ch", file));
    EXPECT_EQ(read.Fact("wavelength"), "250 nm");
    EXPECT_EQ(read.Fact("reference wavelength"), "360 nm");
    EXPECT_EQ(read.Fact("reference bandwidth"), "99 nm");
    EXPECT_EQ(read.Fact("emission wavelength"), "3 nm");
}

TEST_F(CompleteSpectra, ChemStationUnknownVersionIsRefusedByName) {
    const CompleteRead read(ChemStation, Write("a.ch", Chromatogram("45", false, "")));
    EXPECT_EQ(read.status, 0x605);
    EXPECT_EQ(read.error,
              Path("a.ch") +
                  " is a ChemStation file of version 45, which can't be read (8, 30, 31, 81, 108, "
                  "130, 131, 179 and 181 can).");
}

TEST_F(CompleteSpectra, ChemStationFilesOfOneAxisShareATable) {
    const std::string two = Big(4, 2) + Big(2, 2);
    const std::string three = two + Big(1, 2);
    const std::string paths = Write("a.ch", Chromatogram("81", true, two)) + "\n" +
                              Write("b.ch", Chromatogram("81", true, three)) + "\n" +
                              Write("c.ch", Chromatogram("81", true, two)) + "\n" +
                              Write("d.ch", Chromatogram("45", true, two));
    CompleteRead read(ChemStation, paths);
    EXPECT_EQ(read.table.GetNumberOfRows(), 4);
    EXPECT_EQ(read.table.GetString(2, 4), "c.ch");
    EXPECT_NE(read.Note("other-parts"), "none");
    EXPECT_NE(read.Note("unread-file"), "none");
    EXPECT_EQ(CompleteRead(ChemStation, paths, "2").table.GetNumberOfColumns(), 7);
    EXPECT_EQ(CompleteRead(ChemStation, paths, "all").table.GetNumberOfRows(), 7);
}

TEST_F(CompleteSpectra, ChemStationDatesAreReadWhereItIsSureWhatTheySay) {
    EXPECT_EQ(ParseChemStationDate("10-Apr-12, 15:40"), 1'334'072'400'000'000);
    EXPECT_EQ(ParseChemStationDate("8/20/20 2:00:32 PM"), 1'597'932'032'000'000);
    EXPECT_EQ(ParseChemStationDate("20/8/2020 12:00:32 AM"), 1'597'881'632'000'000);
    for (const char* text : {"8/9/20 2:00:32 PM", "", "31-Feb-20, 10:00", "10-Abc-12, 15:40",
                             "1-Apr-12, 25:00", "10-Apr-12, 15:40 x", "2/2/2x 10:00"}) {
        EXPECT_FALSE(ParseChemStationDate(text)) << text;
    }
}

// NSAS

TEST_F(CompleteSpectra, NsasRecordsThatFillTheirBlocksFollowEachOther) {
    // 32 points take a whole block; the axis runs over both spectra.
    const std::string path =
        Write("a.da", NsasRecord("one", 32, 1000, 1320, 1.0F) + NsasRecord("two", 32, 1100, 1420, 100.0F));
    CompleteRead read(NSAS, path);
    ASSERT_EQ(read.status, 0) << read.error;
    EXPECT_EQ(read.table.GetNumberOfColumns(), 4 + 42);
    EXPECT_EQ(read.Row(1, 5).front(), 1000);
    EXPECT_EQ(read.Row(1, 5).back(), 1410);
    EXPECT_EQ(read.Row(3, 5)[31], 32);
    EXPECT_EQ(read.Row(3, 5)[32], CompleteRead::Nothing);
    EXPECT_EQ(read.Row(4, 5)[9], CompleteRead::Nothing);
    EXPECT_EQ(read.Row(4, 5)[10], 100);
    EXPECT_EQ(read.Row(4, 5).back(), 131);
    EXPECT_EQ(read.context->shape.axisRow, 1);
    EXPECT_EQ(CompleteRead(NSAS, path, "two").table.GetNumberOfRows(), 3);
}

TEST_F(CompleteSpectra, NsasSpectraOfAnotherStepAndCutOnesAreTold) {
    const std::string bytes = NsasRecord("one", 4, 1000, 1040, 1.0F) +
                              NsasRecord("two", 4, 1000, 1080, 5.0F) +
                              NsasRecord("three", 4, 1000, 1040, 9.0F);
    CompleteRead read(NSAS, Write("a.da", bytes.substr(0, bytes.size() - 120)));
    EXPECT_EQ(read.Row(3, 5), (Values{1, 2, 3, 4}));
    EXPECT_EQ(read.Row(4, 5), (Values{9, 10, CompleteRead::Nothing, CompleteRead::Nothing}));
    EXPECT_NE(read.Note("other-axis"), "none");
    EXPECT_NE(read.Note("cut-values"), "none");
    const CompleteRead bad(NSAS, Write("b.da", std::string(300, 'x')));
    EXPECT_EQ(bad.status, 0x503);
}

TEST_F(CompleteSpectra, NsasConstituentsStandBehindTheSpectra) {
    ByteBuilder names;
    names.Field("Protein", 10).PadTo(384).Float(12.5F).PadTo(512);
    Write("a.cn", names.Bytes());
    CompleteRead read(NSAS, Write("a.da", NsasRecord("one", 2, 1000, 1020, 1.0F)));
    EXPECT_EQ(read.table.GetString(7, 2), "Protein");
    EXPECT_EQ(read.Row(3, 5), (Values{1, 2, 12.5}));
    Write("a.cn", names.Bytes() + "x");
    CompleteRead other(NSAS, Path("a.da"));
    EXPECT_EQ(other.Row(3, 5), (Values{1, 2}));
    EXPECT_NE(other.Note("companion-size"), "none");
}

// Brimrose

TEST_F(CompleteSpectra, BrimroseHasItsWavelengthsAsNumbersAndTimesAsTimes) {
    const std::string path = Write("a.dat", BrimroseFileOf(2, 2));
    CompleteRead read(Brimrose, path);
    EXPECT_EQ(read.Row(1, 3), (Values{1100.5, 1101, 1101.5}));
    EXPECT_EQ(read.Row(3, 3), (Values{1, 2, 3}));
    EXPECT_EQ(read.table.GetKind(2, 2), TableData::DateTime);
    EXPECT_EQ(read.table.GetString(2, 2), "2009-04-03T10:11:12");
    EXPECT_EQ(CompleteRead(Brimrose, path, "spelt").table.GetNumberOfRows(), 2);
}

TEST_F(CompleteSpectra, BrimroseObservationsThatAreCutAreTold) {
    CompleteRead read(Brimrose, Write("a.dat", BrimroseFileOf(5, 2) + "cut"));
    EXPECT_EQ(read.status, 0);
    EXPECT_EQ(read.table.GetNumberOfRows(), 3);
    EXPECT_EQ(read.Note("cut-records"), "the file holds 2 of the 5 spectra that its header promises");
}

// Recognition

TEST_F(CompleteSpectra, TextsGoByTheEncodingThatIsAskedFor) {
    std::string uv = Spectra(1, CompressedRecord(1500, 10));
    uv[0x19] = '\x8e';
    const std::string path = Write("a.uv", uv);
    EXPECT_EQ(CompleteRead(ChemStation, path).table.GetString(3, 3), "\xc5\xbdint");
    EXPECT_NE(CompleteRead(ChemStation, path).Note("encoding"), "none");
    CompleteRead chosen(ChemStation, path, "macintosh", CompleteOptions::Encoding);
    EXPECT_EQ(chosen.table.GetString(3, 3), "\xc3\xa9int");
    EXPECT_EQ(chosen.Note("encoding"), "none");

    const std::string da = Write("a.da", NsasRecord("\x8e", 3, 100, 106, 1.0F));
    EXPECT_EQ(CompleteRead(NSAS, da, "macintosh", CompleteOptions::Encoding).table.GetString(3, 3),
              "\xc3\xa9");
    EXPECT_EQ(CompleteRead(NSAS, da).Note("encoding"),
              "1 text of the file isn't UTF-8 and is taken for Windows-1252; --encoding names another");

    std::string brimrose = BrimroseFileOf(1, 1);
    brimrose[512 + 4] = '\x8e';
    const std::string dat = Write("a.dat", brimrose);
    EXPECT_EQ(CompleteRead(Brimrose, dat, "macintosh", CompleteOptions::Encoding).NamesOfParts(),
              (Names{"\xc3\xa9ye"}));
    EXPECT_NE(CompleteRead(Brimrose, dat).Note("encoding"), "none");
}

TEST_F(CompleteSpectra, ContentProvesEachFormat) {
    const std::pair<const char*, std::string> files[] = {
        {OPUSFormat, OPUSBuilder().Build()},
        {ChemStation, Chromatogram("81", true, "")},
        {NSAS, NsasRecord("one", 4, 1000, 1040, 1.0F)},
        {Brimrose, BrimroseFileOf(1, 1)},
    };
    for (const auto& [format, bytes] : files) {
        const std::string path = Write("any", bytes);
        for (const char* asked : {OPUSFormat, ChemStation, NSAS, Brimrose}) {
            const FormatRecogniser* recogniser = FormatRecogniser::Find(asked);
            ASSERT_NE(recogniser, nullptr);
            const auto evidence =
                recogniser->Recognise(path.c_str(), bytes.substr(0, FormatRecogniser::HeadSize));
            EXPECT_EQ(evidence == FormatRecogniser::Evidence::Proof, std::strcmp(asked, format) == 0)
                << asked << " of " << format;
        }
    }
}

TEST_F(CompleteSpectra, BytesThatChangeAnywhereEndInAStatus) {
    const std::pair<const char*, std::string> files[] = {
        {OPUSFormat, OPUSFile(ThreeSpectra())},
        {ChemStation, Spectra(2, CompressedRecord(1500, 10) + CompressedRecord(2500, 20))},
        {NSAS, NsasRecord("one", 4, 1000, 1040, 1.0F) + NsasRecord("two", 32, 1000, 1320, 1.0F)},
        {Brimrose, BrimroseFileOf(2, 2)},
    };
    for (const auto& [format, bytes] : files) {
        for (std::size_t i = 0; i < bytes.size(); i += 3) {
            std::string changed = bytes;
            changed[i] = static_cast<char>(changed[i] ^ (i % 2 == 0 ? 0xff : 0x80));
            const CompleteRead read(format, Write("any", i % 4 == 0 ? bytes.substr(0, i) : changed), "all");
            EXPECT_EQ(read.status != 0, !read.error.empty()) << format << " " << i << read.error;
        }
    }
}
