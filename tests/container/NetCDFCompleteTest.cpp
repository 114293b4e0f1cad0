// netCDF files of every convention in the complete reading.
#include <gtest/gtest.h>

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cmath>
#include <thread>

#include "container/NetCDFFile.h"
#include "tests/container/CompleteRead.h"
#include "tests/container/NetCDFBuilder.h"
#include "tests/support/CountingSink.h"
#include "tests/support/SharedData.h"
#include "tests/support/SpectrumTruth.h"
#include "tests/support/TempFolder.h"

namespace {

using Complete = CompleteRead<NetCDFFile>;

class NetCDFCompleteTest : public testing::Test {
protected:
    std::string Write(const NetCDFBuilder& builder) { return folder.Write("file.nc", builder.File()); }

    TempFolder folder;
};

/** Two dimensions with coordinates, a column, a matrix, a scalar and texts. */
NetCDFBuilder Weather() {
    NetCDFBuilder file;
    file.Dimension("lat", 2)
        .Dimension("lon", 3)
        .Dimension("letters", 4)
        .Attribute("title", Chars("Weather"))
        .Variable("height", {"lat"}, Shorts({10, -32767}))
        .Attribute("units", Chars("m"))
        .Variable("lat", {"lat"}, Floats({50.5F, 51}))
        .Variable("lon", {"lon"}, Ints({7, 8, 9}))
        .Variable("name", {"lat", "letters"}, Chars(std::string("Bonn") + "Ulm" + std::string(1, '\0')))
        .Variable("temp", {"lat", "lon"}, Doubles({1, 2, 3, 4, -999, 6}))
        .Attribute("missing_value", Doubles({-999}))
        .Variable("level", {}, Ints({850}));
    return file;
}

}  // namespace

TEST_F(NetCDFCompleteTest, VariablesOfOneDimensionStandTogether) {
    const std::string path = Write(Weather());
    Complete lat(path, {{"Part", "lat"}});
    ASSERT_EQ(lat.error, "");
    EXPECT_EQ(lat.PartLines(),
              "lat: 3 x 3, lat, height, name\nlon: 4 x 1, lon\ntemp: 3 x 4, lat 2 x lon 3\n"
              "attributes: 5 x 3, what has no dimension, and all attributes\n");
    EXPECT_EQ(lat.Cells(), "lat height name|50.5 10 Bonn|51  Ulm");
    EXPECT_EQ(Complete(path, {{"Part", "height"}}).Cells(), lat.Cells()) << "by a variable's name";
    EXPECT_EQ(Complete(path, {{"Part", "level"}}).Cells(), Complete(path, {{"Part", "attributes"}}).Cells());
}

TEST_F(NetCDFCompleteTest, MatrixHasItsCoordinatesAsNamesAndIsTheDefault) {
    Complete read(Write(Weather()));
    EXPECT_EQ(read.Cells(), "lat 7 8 9|50.5 1 2 3|51 4  6");
    EXPECT_EQ(read.context->shape.axisRow, 1);
    EXPECT_EQ(read.context->shape.axisQuantity, "lon");
    EXPECT_NE(read.NoteTexts().find("3 parts are not in this table: lat, lon, attributes"),
              std::string::npos);
}

TEST_F(NetCDFCompleteTest, ScalarsAndAttributesAreOnePart) {
    Complete read(Write(Weather()), {{"Part", "attributes"}});
    EXPECT_EQ(read.Cells(),
              "variable attribute value| title Weather|height units m|temp missing_value -999|level  850");
}

TEST_F(NetCDFCompleteTest, FurtherDimensionsRunSideBySide) {
    NetCDFBuilder file;
    file.Dimension("a", 2).Dimension("b", 1).Dimension("c", 2).Variable("v", {"a", "b", "c"},
                                                                        Ints({1, 2, 3, 4}));
    EXPECT_EQ(Complete(Write(file)).Cells(), "(:,1,1) (:,1,2)|1 2|3 4");
}

TEST_F(NetCDFCompleteTest, PackedValuesAreScaled) {
    NetCDFBuilder file;
    file.Dimension("a", 3)
        .Variable("v", {"a"}, Shorts({1, 2, 99}))
        .Attribute("scale_factor", Floats({0.1F}))
        .Attribute("add_offset", Floats({10}))
        .Attribute("_FillValue", Shorts({99}));
    EXPECT_EQ(Complete(Write(file)).Cells(), "v|10.1|10.2|");
}

TEST_F(NetCDFCompleteTest, CutFileIsReadAsFarAsItGoes) {
    NetCDFBuilder file;
    file.Dimension("a", 3).Variable("v", {"a"}, Doubles({1, 2, 3}));
    const std::string bytes = file.File();
    Complete read(folder.Write("file.nc", bytes.substr(0, bytes.size() - 4)));
    EXPECT_EQ(read.Cells(), "v|1|2");
    EXPECT_NE(read.NoteTexts().find("ends before the data of v do"), std::string::npos);
}

TEST_F(NetCDFCompleteTest, EveryCutAndFlipEndsInAStatus) {
    const std::string whole = Weather().File();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        Complete(folder.Write("file.nc", whole.substr(0, size)), {{"Part", "all"}});
        std::string flipped = whole;
        flipped[size] = static_cast<char>(flipped[size] ^ 0xFF);
        Complete(folder.Write("file.nc", flipped), {{"Part", "all"}});
    }
}

TEST_F(NetCDFCompleteTest, DimensionsThatNothingBearsOutMakeNoColumns) {
    NetCDFBuilder file;
    file.Dimension("r", 0).Dimension("wide", 2'000'000'000).Variable("v", {"r", "wide"}, Doubles({}));
    Complete plain(Write(file));
    EXPECT_LE(plain.table.GetNumberOfColumns(), 3);
    NetCDFBuilder observations = Observations();
    observations.ReplaceDimension("sequence_no", 0).ReplaceDimension("number_data_points", 2'000'000'000);
    Complete read(Write(observations));
    EXPECT_LE(read.table.GetNumberOfColumns(), 3);
}

TEST_F(NetCDFCompleteTest, HDF5IsRefusedByName) {
    Complete read(folder.Write("new.nc", std::string("\x89HDF\r\n\x1a\n", 8) + std::string(100, '\0')));
    EXPECT_EQ(read.opened, NetCDFFile::StatusNoNetCDF);
    EXPECT_NE(read.error.find("new.nc is an HDF5 file; "), std::string::npos);
}

TEST_F(NetCDFCompleteTest, UnevenChromatogramHasItsOwnTimes) {
    NetCDFBuilder file = ChromatogramWithPeaks();
    file.Without("actual_sampling_interval")
        .Variable("raw_data_retention", {"point_number"}, Floats({1, 2, 4, 8, 16, 32, 64}));
    Complete read(Write(file));
    EXPECT_EQ(read.parts.at(0).name, "trace");
    EXPECT_EQ(read.parts.at(1).name, "peaks");
    EXPECT_EQ(read.parts.at(2).name, "attributes");
    EXPECT_EQ(read.Cells(),
              "Primary ID Name t 1 t 2 t 4 t 8 t 16 t 32 t 64|1 Retention Time(seconds) 1 2 4 8 16 32 64|"
              "2 file: Sample 1 10 20 40 80 160 320 640");
    EXPECT_EQ(Complete(Write(file), {{"Part", "peaks"}}).Cells(),
              "peak_start_time peak_end_time|1.5 2|3 3.5");
}

TEST_F(NetCDFCompleteTest, MassSpectraAreScansAndPoints) {
    NetCDFBuilder file;
    file.Dimension("scan_number", 2)
        .Dimension("point_number", 3)
        .Attribute("ms_template_revision", Chars("1.0"))
        .Variable("scan_index", {"scan_number"}, Ints({0, 1}))
        .Variable("point_count", {"scan_number"}, Ints({1, 2}))
        .Variable("total_intensity", {"scan_number"}, Doubles({5, 6}))
        .Variable("scan_acquisition_time", {"scan_number"}, Doubles({0.5, 1}))
        .Variable("mass_values", {"point_number"}, Floats({40, 41, 42}))
        .Variable("intensity_values", {"point_number"}, Floats({7, 8, 9}));
    const std::string path = Write(file);
    EXPECT_EQ(Complete(path, {{"Part", "1"}}).Cells(),
              "scan_acquisition_time total_intensity scan_index point_count|0.5 5 0 1|1 6 1 2");
    EXPECT_EQ(Complete(path, {{"Part", "2"}}).Cells(),
              "scan time mass intensity|1 0.5 40 7|2 1 41 8|2 1 42 9");
}

TEST_F(NetCDFCompleteTest, PointsOfAScanWithoutACountEndWhereTheNextOnesBegin) {
    NetCDFBuilder file;
    file.Dimension("scan_number", 3)
        .Dimension("point_number", 3)
        .Attribute("ms_template_revision", Chars("1.0"))
        .Variable("scan_index", {"scan_number"}, Ints({0, 1, 1}))
        .Variable("mass_values", {"point_number"}, Floats({40, 41, 42}))
        .Variable("intensity_values", {"point_number"}, Floats({7, 8, 9}));
    EXPECT_EQ(Complete(Write(file), {{"Part", "spectra"}}).Cells(),
              "scan time mass intensity|1  40 7|3  41 8|3  42 9");
}

TEST_F(NetCDFCompleteTest, ObservationsAreNumbersOfTheirTypes) {
    NetCDFBuilder file = Observations();
    file.Replace("observation", Doubles({1, 2.5, -100000, 4, 0.1, 1e20}));
    Complete read(Write(file));
    EXPECT_EQ(read.Cells(), "Name Decimal Time VAR_1 VAR_2 VAR_3|Obs_1  1 2.5 |Obs_2  4 0.1 1e+20");
    EXPECT_EQ(read.table.GetKind(3, 2), TableData::Double);
}

// All of them equal, or refused by name: what is refused is only what holds HDF5.
TEST_F(NetCDFCompleteTest, RealTracesAreThoseOfAnIndependentReader) {
    SKIP_WITHOUT_SHARED_DATA();
    int equal = 0;
    for (const std::string& path : SharedFiles("data/instrument/andi")) {
        if (!path.ends_with(".cdf") || path.find("/bad/") != std::string::npos) {
            continue;
        }
        SCOPED_TRACE(path);
        const SpectrumTruth truth = ReadSpectrumTruth(path);
        Complete read(path);
        ASSERT_EQ(read.status, 0);
        ASSERT_EQ(read.table.GetNumberOfColumns(), truth.numPoints + 2);
        EXPECT_EQ(read.table.GetFloatValue(3, 2), truth.firstX);
        EXPECT_EQ(read.table.GetFloatValue(truth.numPoints + 2, 2), truth.lastX);
        const SpectrumTruth::Spectrum& spectrum = truth.spectra.at(0);
        double sum = 0;
        for (int col = 3; col <= truth.numPoints + 2; ++col) {
            sum += read.table.GetFloatValue(col, 3);
        }
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(read.table.GetFloatValue(3 + i, 3), spectrum.firstY.at(static_cast<std::size_t>(i)));
            EXPECT_EQ(read.table.GetFloatValue(truth.numPoints - 2 + i, 3),
                      spectrum.lastY.at(static_cast<std::size_t>(i)));
        }
        EXPECT_NEAR(sum, spectrum.sumY, 1e-9 * std::fabs(spectrum.sumY));
        EXPECT_EQ(read.context->shape.axisUnit, truth.xUnits);
        equal += HasFailure() ? 0 : 1;
    }
    EXPECT_EQ(equal, 6);
}

TEST_F(NetCDFCompleteTest, AnyThreadReadsItsOwnFiles) {
    const std::string chromatogram = folder.Write("a.cdf", ChromatogramWithPeaks().File());
    const std::string observations = folder.Write("b.cdf", Observations().File());
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 50; ++round) {
                NetCDFFile reader;
                if (round % 2 == 1) {
                    auto context = std::make_shared<karta::ReadContext>();
                    context->reading = karta::Reading::Complete;
                    reader.SetContext(context);
                }
                CountingSink sink;
                EXPECT_EQ(reader.Open(true, (i % 2 == 0 ? chromatogram : observations).c_str(), nullptr), 0);
                EXPECT_EQ(reader.Read(&sink), 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}
