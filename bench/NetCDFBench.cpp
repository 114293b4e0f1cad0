#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>

#include "bench/ReadBench.h"
#include "container/NetCDFFile.h"
#include "tests/container/NetCDFBuilder.h"
#include "tests/support/CountingSink.h"

namespace {

// A selection of chromatograms, 100 MB together: long traces, as a high-frequency detector gives them.
constexpr int Files = 100;
constexpr std::uint32_t PointsOfFile = 250'000;
constexpr double AndiTarget = 3.0;

constexpr int Observations = 12'500;
constexpr int Variables = 1'000;
constexpr double MvaTarget = 12.0;

// Numbers as instruments give them, from a fixed sequence.
std::vector<float> Trace() {
    std::vector<float> values(PointsOfFile);
    unsigned int state = 12345;
    for (float& value : values) {
        state = state * 1664525U + 1013904223U;
        value = static_cast<float>(state >> 12) / 64.0F;
    }
    return values;
}

void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// The files of the selection, and all their bytes in one file for the yardstick.
std::string MakeSelection(const std::string& whole) {
    const std::string folder = BenchFolder() + "/andi";
    std::string selection;
    const bool isThere = std::filesystem::exists(whole);
    std::filesystem::create_directories(folder);
    const std::string file = isThere ? std::string()
                                     : Chromatogram()
                                           .ReplaceDimension("point_number", PointsOfFile)
                                           .Replace("ordinate_values", Floats(Trace()))
                                           .File();
    std::ofstream all(whole, std::ios::binary | std::ios::app);
    for (int i = 0; i < Files; ++i) {
        const std::string path = folder + "/run" + std::to_string(i) + ".cdf";
        if (!isThere) {
            WriteFile(path, file);
            all << file;
        }
        selection += path + "\n";
    }
    return selection;
}

void ReadSelection(benchmark::State& state) {
    const std::string whole = BenchFolder() + "/andi-all.bytes";
    const std::string selection = MakeSelection(whole);
    const double yardstick = SecondsOfMd5sum(whole);
    double best = 1e30;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        NetCDFFile reader;
        CountingSink sink;
        reader.Open(true, selection.c_str(), nullptr);
        sink.SetDataSize(reader.GetNumCols(), reader.GetNumRows());
        if (reader.Read(&sink) != 0) {
            throw std::runtime_error("the chromatograms could not be read");
        }
        best =
            std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    state.counters["M"] = best / yardstick;
    state.counters["M_target"] = AndiTarget;
}
BENCHMARK(ReadSelection)->Name("andi_100_files/counting")->MinTime(0.5)->Unit(benchmark::kMillisecond);

void GenerateTable(std::ostream& stream) {
    std::vector<double> values(static_cast<std::size_t>(Observations) * Variables);
    unsigned int state = 12345;
    for (double& value : values) {
        state = state * 1664525U + 1013904223U;
        value = static_cast<double>(state >> 8) / 65536.0;
    }
    NetCDFBuilder file;
    file.Dimension("sequence_no", Observations)
        .Dimension("number_data_points", Variables)
        .Dimension("string_len", 16)
        .Attribute("mva_template_revision", Chars("1.0"))
        .Variable("observation", {"sequence_no", "number_data_points"}, Doubles(values));
    stream << file.File();
}

const RegisterReadBench Mva({"mva_1000_variables", "NetCDF Files", "table.nc", GenerateTable, MvaTarget, 0});

}  // namespace
