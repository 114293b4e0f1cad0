// Real spectra in both readings, held against what an independent reader found in them. The counts of equal
// values may only rise.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/ReadContext.h"
#include "frame/CompleteOptions.h"
#include "frame/FormatReader.h"
#include "instrument/GalacticSPCFile.h"
#include "instrument/JCAMPFile.h"
#include "table/TableData.h"
#include "tests/support/ReadTrace.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpectrumTruth.h"

namespace {

/** Values of a truth, and how many of them a table has. */
struct Tally {
    int values = 0;
    int equal = 0;

    void Compare(double truth, double found, double tolerance) {
        ++values;
        equal += std::fabs(truth - found) <= tolerance ? 1 : 0;
    }
    Tally& operator+=(const Tally& other) {
        values += other.values;
        equal += other.equal;
        return *this;
    }
};

/** A file's table in one reading, and where the spectra stand in it. */
struct RealTable {
    TableData table;
    bool isRead = false;
    int axisRow = 2;
    int firstRow = 3;
    int firstCol = 0;
    int zCol = 0;

    double Number(int col, int row) { return table.IsFloat(col, row) ? table.GetFloatValue(col, row) : NAN; }
    /** Up to the last number of the row. */
    int PointsOf(int row) {
        int col = table.GetNumberOfColumns();
        while (col >= firstCol && !table.IsFloat(col, row)) {
            --col;
        }
        return col - firstCol + 1;
    }
};

std::unique_ptr<FormatReader> MakeReader(const std::string& path) {
    if (path.find("/spc/") != std::string::npos) {
        return std::make_unique<GalacticSPCFile>();
    }
    return std::make_unique<JCAMPFile>();
}

void Read(const std::string& path, karta::Reading reading, const std::string& part, RealTable& real) {
    const auto reader = MakeReader(path);
    auto context = std::make_shared<karta::ReadContext>();
    context->reading = reading;
    reader->SetContext(context);
    TestOptions chosen{{CompleteOptions::Part, part}};
    NvImportOpenOptions* const options = part.empty() ? nullptr : chosen.Get();
    real.isRead = reader->Open(true, path.c_str(), options) == 0 && reader->Read(&real.table) == 0;
    const bool isSPC = dynamic_cast<GalacticSPCFile*>(reader.get()) != nullptr;
    real.firstCol = isSPC ? 4 : 3;
    if (reading == karta::Reading::Complete) {
        real.axisRow = context->shape.axisRow;
        real.firstRow = context->shape.firstDataRow;
        real.firstCol = context->shape.firstBlockColumn;
        real.zCol = isSPC ? 4 : 0;
    }
}

Tally CompareSpectrum(RealTable& real, int row, const SpectrumTruth::Spectrum& truth) {
    Tally tally;
    const int points = real.isRead ? real.PointsOf(row) : 0;
    const int last = real.firstCol + points;
    tally.Compare(truth.points, points, 0);
    double sum = 0.0;
    for (int col = real.firstCol; col < last; ++col) {
        sum += real.Number(col, row);
    }
    tally.Compare(truth.sumY, points == 0 ? NAN : sum, 1e-6 * std::fabs(truth.sumY) + 1e-6);
    for (std::size_t i = 0; i < truth.firstY.size(); ++i) {
        // The classic reading keeps floats.
        tally.Compare(truth.firstY[i], real.Number(real.firstCol + static_cast<int>(i), row),
                      6e-8 * std::fabs(truth.firstY[i]));
    }
    for (std::size_t i = 0; i < truth.lastY.size(); ++i) {
        const int back = static_cast<int>(truth.lastY.size() - i);
        tally.Compare(truth.lastY[i], real.Number(last - back, row), 6e-8 * std::fabs(truth.lastY[i]));
    }
    if (!std::isnan(truth.z) && real.zCol > 0 && real.firstCol > real.zCol) {
        tally.Compare(truth.z, real.Number(real.zCol, row), 0);
    }
    return tally;
}

Tally CompareAxis(RealTable& real, double first, double last, int points) {
    Tally tally;
    tally.Compare(first, real.isRead ? real.Number(real.firstCol, real.axisRow) : NAN,
                  1e-6 * std::fabs(first));
    tally.Compare(last, real.isRead ? real.Number(real.firstCol + points - 1, real.axisRow) : NAN,
                  1e-6 * std::fabs(first));
    return tally;
}

// All spectra of a file: of those that don't share an axis each as a part.
Tally CompareFile(const std::string& path, karta::Reading reading) {
    const SpectrumTruth truth = ReadSpectrumTruth(path);
    RealTable whole;
    Read(path, reading, "", whole);
    Tally tally = CompareAxis(whole, truth.firstX, truth.lastX, truth.spectra.front().points);
    const bool isParted = reading == karta::Reading::Complete && truth.numPoints == 0;
    tally.Compare(truth.numSpectra,
                  whole.isRead && !isParted ? whole.table.GetNumberOfRows() - whole.firstRow + 1 : 1,
                  isParted ? truth.numSpectra : 0);
    for (const SpectrumTruth::Spectrum& spectrum : truth.spectra) {
        if (isParted) {
            RealTable one;
            Read(path, reading, std::to_string(spectrum.index + 1), one);
            tally += CompareSpectrum(one, one.firstRow, spectrum);
        } else {
            tally += CompareSpectrum(whole, whole.firstRow + spectrum.index, spectrum);
        }
    }
    return tally;
}

Tally CompareFolder(const char* folder, karta::Reading reading, std::set<std::string>& unequal) {
    Tally all;
    for (const std::string& path : SharedFiles(folder)) {
        if (!std::filesystem::exists(path + ".truth.json")) {
            continue;
        }
        const Tally tally = CompareFile(path, reading);
        all += tally;
        if (tally.equal < tally.values) {
            unequal.insert(std::filesystem::path(path).filename().string());
        }
    }
    return all;
}

}  // namespace

TEST(SpectraRealFilesTest, EveryValueOfSPCFilesIsRead) {
    SKIP_WITHOUT_SHARED_DATA();
    std::set<std::string> unequal;
    const Tally complete = CompareFolder("data/instrument/spc", karta::Reading::Complete, unequal);
    EXPECT_EQ(complete.equal, complete.values);
    EXPECT_GE(complete.equal, 190);
    EXPECT_EQ(unequal, std::set<std::string>());
    const Tally classic = CompareFolder("data/instrument/spc", karta::Reading::Classic, unequal);
    EXPECT_GE(classic.equal, 167);
}

TEST(SpectraRealFilesTest, EveryValueOfJCAMPFilesIsRead) {
    SKIP_WITHOUT_SHARED_DATA();
    std::set<std::string> unequal;
    const Tally complete = CompareFolder("data/instrument/jcamp", karta::Reading::Complete, unequal);
    EXPECT_EQ(complete.equal, complete.values);
    EXPECT_EQ(unequal, std::set<std::string>());
    const Tally classic = CompareFolder("data/instrument/jcamp", karta::Reading::Classic, unequal);
    EXPECT_GE(complete.equal, 327);
    EXPECT_GE(classic.equal, 172);
}
