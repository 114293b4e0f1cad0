#include <ostream>
#include <string>
#include <vector>

#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"
#include "bench/SelectionBench.h"
#include "tests/container/NetCDFBuilder.h"

namespace {

// A selection of chromatograms, 100 MB together: long traces, as a high-frequency detector gives them.
constexpr int Files = 100;
constexpr std::uint32_t PointsOfFile = 250'000;
// One trace that is longer than any detector's.
constexpr std::uint32_t PointsOfLargeFile = 5'000'000;
constexpr double AndiTarget = 3.0;

constexpr int Observations = 12'500;
constexpr int Variables = 1'000;
constexpr double MvaTarget = 12.0;

// Numbers as instruments give them, from a fixed sequence.
std::vector<float> Trace(std::uint32_t points) {
    std::vector<float> values(points);
    NumberSequence numbers;
    for (float& value : values) {
        value = static_cast<float>(numbers.Next() >> 12) / 64.0F;
    }
    return values;
}

void GenerateChromatogram(std::ostream& stream, std::uint32_t points) {
    stream << Chromatogram()
                  .ReplaceDimension("point_number", points)
                  .Replace("ordinate_values", Floats(Trace(points)))
                  .File();
}

void GenerateTable(std::ostream& stream) {
    const int observations = Scaled(Observations);
    std::vector<double> values(static_cast<std::size_t>(observations) * Variables);
    NumberSequence numbers;
    for (double& value : values) {
        value = static_cast<double>(numbers.Next() >> 8) / 65536.0;
    }
    NetCDFBuilder file;
    file.Dimension("sequence_no", static_cast<std::uint32_t>(observations))
        .Dimension("number_data_points", Variables)
        .Dimension("string_len", 16)
        .Attribute("mva_template_revision", Chars("1.0"))
        .Variable("observation", {"sequence_no", "number_data_points"}, Doubles(values));
    stream << file.File();
}

const RegisterSelectionBench Chromatograms(
    {"andi_100_files", "NetCDF Files", ".cdf", Files,
     [](std::ostream& stream, int) { GenerateChromatogram(stream, PointsOfFile); }, AndiTarget});
const RegisterReadBench LargeChromatogram({"andi_large", "NetCDF Files", "large.cdf",
                                           [](std::ostream& stream) {
                                               GenerateChromatogram(stream, Scaled(PointsOfLargeFile));
                                           }});
const RegisterReadBench Mva({"mva_1000_variables", "NetCDF Files", "table.nc", GenerateTable, MvaTarget, 0});

}  // namespace
