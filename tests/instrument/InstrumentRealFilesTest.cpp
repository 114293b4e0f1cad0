// Real OPUS and ChemStation files against what independent readers found in them, in both readings. The
// counts of files that hold may only rise.
#include <gtest/gtest.h>

#include <algorithm>
#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "frame/CompleteOptions.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "table/TableData.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpectrumTruth.h"

namespace {

namespace fs = std::filesystem;
using boost::property_tree::ptree;
using karta::Reading;

// The classic reading hands out floats where the complete one hands out doubles.
constexpr double ClassicTolerance = 1e-6;
constexpr double CompleteTolerance = 1e-9;

// How many files the classic rules deliver as they are.
constexpr int ClassicOPUS = 5;
constexpr int ClassicChemStation = 5;

/** Compares with what a reading can hold. */
class Nearness {
public:
    explicit Nearness(Reading reading)
        : tolerance(reading == Reading::Classic ? ClassicTolerance : CompleteTolerance) {}

    bool operator()(double found, double expected, double scale = 1.0) const {
        return std::fabs(found - expected) <= tolerance * std::max({1.0, std::fabs(expected), scale});
    }

private:
    double tolerance;
};

/** A file read as one table, with what the reader had to say. */
struct RealRead {
    TableData table;
    std::string error;
    std::vector<karta::Note> notes;
};

std::unique_ptr<RealRead> Read(const std::string& format, const std::string& path, Reading reading,
                               const std::string& part = {}) {
    auto result = std::make_unique<RealRead>();
    const std::unique_ptr<SpreadsheetFile> reader(NewReader(format));
    auto context = std::make_shared<karta::ReadContext>();
    context->reading = reading;
    dynamic_cast<FormatReader&>(*reader).SetContext(context);
    TestOptions options({{CompleteOptions::Part, part}});
    reader->Open(true, path.c_str(), part.empty() ? nullptr : options.Get());
    if (reader->Read(&result->table) != 0 || reader->GetStatus() != 0) {
        result->error = ErrorOf(*reader);
    }
    result->notes = context->notes.GetAll();
    reader->Close();
    return result;
}

/** A row of numbers of a table: an axis or a spectrum. */
std::vector<double> Numbers(TableData& table, int row, int firstColumn, int count) {
    std::vector<double> numbers;
    for (int i = 0; i < count; ++i) {
        numbers.push_back(table.GetFloatValue(firstColumn + i, row));
    }
    return numbers;
}

bool HoldsSpectrum(TableData& table, int row, int firstColumn, const SpectrumTruth::Spectrum& truth,
                   Nearness isNear) {
    const std::vector<double> ys = Numbers(table, row, firstColumn, truth.points);
    double sum = 0;
    double sumOfSizes = 0;
    for (const double y : ys) {
        sum += y;
        sumOfSizes += std::fabs(y);
    }
    bool holds = isNear(sum, truth.sumY, sumOfSizes) && ys.size() >= truth.firstY.size();
    for (std::size_t i = 0; holds && i < truth.firstY.size(); ++i) {
        holds = isNear(ys[i], truth.firstY[i]);
    }
    for (std::size_t i = 0; holds && i < truth.lastY.size(); ++i) {
        holds = isNear(ys[ys.size() - truth.lastY.size() + i], truth.lastY[i]);
    }
    return holds;
}

// The axis in row 2, the spectra from row 3 on: both formats' tables have this shape.
bool HoldsTruth(RealRead& read, const SpectrumTruth& truth, int firstColumn, double unitsOfX,
                Nearness isNear) {
    if (!read.error.empty() || read.table.GetNumberOfColumns() != firstColumn - 1 + truth.numPoints) {
        return false;
    }
    const std::vector<double> xs = Numbers(read.table, 2, firstColumn, truth.numPoints);
    bool holds = isNear(xs.front(), truth.firstX * unitsOfX) && isNear(xs.back(), truth.lastX * unitsOfX) &&
                 read.table.GetNumberOfRows() == truth.numSpectra + 2;
    for (const SpectrumTruth::Spectrum& spectrum : truth.spectra) {
        const int row = 3 + spectrum.index;
        holds = holds && HoldsSpectrum(read.table, row, firstColumn, spectrum, isNear);
        if (spectrum.timeMinutes >= 0) {
            holds =
                holds && isNear(read.table.GetFloatValue(firstColumn - 1, row), spectrum.timeMinutes * 60);
        }
    }
    return holds;
}

std::vector<std::string> FilesWithTruth(const std::string& folder) {
    std::vector<std::string> files;
    for (const std::string& file : SharedFiles(folder)) {
        if (fs::exists(file + ".truth.json")) {
            files.push_back(file);
        }
    }
    return files;
}

struct Counts {
    int held = 0;
    std::string others;
};

Counts CountOPUS(Reading reading) {
    Counts counts;
    for (const std::string& file : FilesWithTruth("data/instrument/opus")) {
        const auto read = Read("Bruker OPUS File", file, reading);
        const bool holds = HoldsTruth(*read, ReadSpectrumTruth(file), 6, 1.0, Nearness(reading));
        counts.held += holds ? 1 : 0;
        counts.others += holds ? "" : " " + fs::path(file).filename().string() + " " + read->error;
    }
    return counts;
}

Counts CountChemStation(Reading reading) {
    constexpr double SecondsOfAMinute = 60.0;
    Counts counts;
    for (const std::string& file : FilesWithTruth("data/instrument/chemstation")) {
        const SpectrumTruth truth = ReadSpectrumTruth(file);
        const auto read = Read("HPLC ChemStation File", file, reading);
        const bool holds =
            HoldsTruth(*read, truth, 5, truth.xUnits == "min" ? SecondsOfAMinute : 1.0, Nearness(reading));
        counts.held += holds ? 1 : 0;
        counts.others += holds ? "" : " " + fs::path(file).filename().string() + " " + read->error;
    }
    return counts;
}

// What follows the first rows of a table of several parts: each has its heads and its one row.
void ExpectPart(TableData& table, int part, const ptree& truth) {
    const Nearness isNear(Reading::Complete);
    const int firstRow = 3 * part + 1;
    const int count = truth.get("n_points", 0);
    const std::vector<double> xs = Numbers(table, firstRow + 1, 6, count);
    EXPECT_TRUE(isNear(xs.front(), truth.get("first_x", 0.0)));
    EXPECT_TRUE(isNear(xs.back(), truth.get("last_x", 0.0)));
    double sum = 0;
    double sumOfSizes = 0;
    for (const double y : Numbers(table, firstRow + 2, 6, count)) {
        sum += y;
        sumOfSizes += std::fabs(y);
    }
    EXPECT_TRUE(isNear(sum, truth.get("y_sum", 0.0), sumOfSizes)) << sum;
}

}  // namespace

TEST(InstrumentRealFiles, OPUSSpectraEqualTheirTruth) {
    SKIP_WITHOUT_SHARED_DATA();
    const Counts complete = CountOPUS(Reading::Complete);
    EXPECT_GE(complete.held, 6) << complete.others;
    EXPECT_EQ(complete.others, "");
    const Counts classic = CountOPUS(Reading::Classic);
    EXPECT_GE(classic.held, ClassicOPUS) << classic.others;
}

TEST(InstrumentRealFiles, EveryPairOfOPUSDataAndStatusIsAPart) {
    SKIP_WITHOUT_SHARED_DATA();
    for (const std::string& file : FilesWithTruth("data/instrument/opus")) {
        SCOPED_TRACE(file);
        ptree truth;
        boost::property_tree::read_json(file + ".truth.json", truth);
        const auto read = Read("Bruker OPUS File", file, Reading::Complete, "all");
        EXPECT_EQ(read->error, "");
        int part = 0;
        for (const auto& item : truth.get_child("all_blocks")) {
            SCOPED_TRACE(item.second.get("name", ""));
            ExpectPart(read->table, part++, item.second);
        }
        EXPECT_EQ(read->table.GetNumberOfRows(), 3 * part);
    }
}

TEST(InstrumentRealFiles, OPUSBlockWithoutAStatusIsTold) {
    SKIP_WITHOUT_SHARED_DATA();
    for (const std::string& file : FilesWithTruth("data/instrument/opus")) {
        ptree truth;
        boost::property_tree::read_json(file + ".truth.json", truth);
        const auto read = Read("Bruker OPUS File", file, Reading::Complete);
        const auto told = std::count_if(read->notes.begin(), read->notes.end(),
                                        [](const karta::Note& note) { return note.code == "no-axis"; });
        EXPECT_EQ(told, static_cast<int>(truth.get_child("blocks_without_status").size())) << file;
    }
}

TEST(InstrumentRealFiles, ChemStationSignalsEqualTheirTruth) {
    SKIP_WITHOUT_SHARED_DATA();
    const Counts complete = CountChemStation(Reading::Complete);
    EXPECT_GE(complete.held, 9) << complete.others;
    EXPECT_EQ(complete.others, "");
    const Counts classic = CountChemStation(Reading::Classic);
    EXPECT_GE(classic.held, ClassicChemStation) << classic.others;
}

TEST(InstrumentRealFiles, CutSpectraAreReadAsFarAsTheyGoWithANote) {
    SKIP_WITHOUT_SHARED_DATA();
    const std::string file = SharedFolder() + "/data/instrument/chemstation/bad/cut-dad1.uv";
    const std::string whole = SharedFolder() + "/data/instrument/chemstation/dad-v31/dad1.uv";
    const auto cut = Read("HPLC ChemStation File", file, Reading::Complete);
    const auto full = Read("HPLC ChemStation File", whole, Reading::Complete);
    ASSERT_EQ(cut->table.GetNumberOfRows(), 640);
    EXPECT_EQ(Numbers(cut->table, 640, 5, 211), Numbers(full->table, 640, 5, 211));
    ASSERT_EQ(cut->notes.size(), 1U);
    EXPECT_EQ(
        cut->notes.front().text,
        "cut-dad1.uv: the file holds 638 of the 1,344 spectra that its header promises; they end at byte "
        "299708");
}

TEST(InstrumentRealFiles, FilesOfOthersAreRefused) {
    SKIP_WITHOUT_SHARED_DATA();
    const std::string folder = SharedFolder() + "/data/instrument/";
    for (const Reading reading : {Reading::Classic, Reading::Complete}) {
        EXPECT_NE(Read("Bruker OPUS File", folder + "opus/bad/not-opus.0", reading)->error, "");
        EXPECT_NE(Read("Brimrose File", folder + "brimrose/bad/waters-func.dat", reading)->error, "");
    }
    const std::string other = folder + "brimrose/bad/waters-func.dat";
    EXPECT_EQ(Read("HPLC ChemStation File", other, Reading::Complete)->error,
              other + " has no version of a ChemStation file and can't be read.");
}
