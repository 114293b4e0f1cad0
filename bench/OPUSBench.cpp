#include <ostream>
#include <random>

#include "bench/SelectionBench.h"
#include "tests/instrument/OPUSBuilder.h"

namespace {

constexpr int NumPoints = 2000;
constexpr int NumFiles = 5000;  // 41 MB

void GenerateSpectrum(std::ostream& stream, int number, double shift) {
    std::mt19937 random(static_cast<unsigned int>(number));
    OPUSBuilder file;
    file.firstX = 4000.0 + shift;
    file.lastX = 400.0 + shift;
    file.values.clear();
    for (int i = 0; i < NumPoints; ++i) {
        file.values.push_back(static_cast<float>(random() >> 8) / 1e6F);
    }
    // Other people's readers insist on the factor.
    stream << OPUSFile({{OPUSSampleParameters, file.Sample()},
                        {OPUSRatioedStatus, file.Status().Double("CSF", 1.0).End()},
                        {OPUSRatioedData, OPUSValues(file.values)}});
}

const RegisterSelectionBench ByIndex(
    {"opus_5000_files", "Bruker OPUS File", ".0", NumFiles,
     [](std::ostream& stream, int number) { GenerateSpectrum(stream, number, 0.0); }, 3.0});
const RegisterSelectionBench Interpolated(
    {"opus_interpolated_5000_files", "Bruker OPUS Interpolated File", ".0", NumFiles,
     [](std::ostream& stream, int number) { GenerateSpectrum(stream, number, number * 0.0003); }, 3.0});

}  // namespace
