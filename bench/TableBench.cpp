// Reading into a table in columns: the large files of the formats' own benchmarks, which make them.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/ReadBench.h"
#include "bench/TableBench.h"
#include "karta/Table.h"
#include "tests/support/PeakMemory.h"

namespace {

/** One file, and what reading it is held against. */
struct TableBench {
    const char* name;
    const char* format;
    const char* fileName;
    double target; /**< in times of md5sum, or of reading the bytes; 0: none */
    bool isAgainstBytes = false;
};

const TableBench Benches[] = {
    {"mat_level4", "Matlab File", "level4.mat", 0.5},
    {"mat_level5", "Matlab File", "level5.mat", 0.5},
    {"mat_level5_compressed", "Matlab File", "level5-compressed.mat", 0},
    {"spc_floats", "GalacticSPC File", "floats.spc", 0.5},
    {"spc_integers", "GalacticSPC File", "integers.spc", 0},
    {"nsas_2000_points", "NSAS File", "spectra.da", 0.5},
    {"brimrose_2000_points", "Brimrose File", "scans.dat", 0.5},
    {"chemstation_ch", "HPLC ChemStation File", "signal.ch", 0},
    {"chemstation_uv", "HPLC ChemStation File", "spectra.uv", 0},
    {"andi_large", "NetCDF Files", "large.cdf", 1.2, true},
    {"mva_1000_variables", "NetCDF Files", "table.nc", 0},
    {"csv_numbers", "CSV File", "numbers.csv", 0},
    {"csv_mixture", "CSV File", "mixture.csv", 0},
    {"csv_10_columns", "CSV File", "narrow.csv", 0},
    {"csv_small", "CSV File", "small.csv", 0},
    {"excel2007_xlsx", "Excel2007 File", "million.xlsx", 0},
    {"excel2007_xlsb", "Excel2007 File", "million.xlsb", 0},
    {"excel2007_xlsx_small", "Excel2007 File", "small.xlsx", 0},
    {"excel2007_xlsb_small", "Excel2007 File", "small.xlsb", 0},
    {"excel_65536_rows_40_columns", "Excel File", "numbers.xls", 0.7},
    {"excel_small", "Excel File", "small.xls", 0},
    {"lotus_256_columns", "Lotus 1-2-3 File", "sheet.wk1", 0},
    {"lotus_small", "Lotus 1-2-3 File", "small.wk1", 0},
    {"dif_10_columns", "DIF File", "table.dif", 0},
    {"dif_small", "DIF File", "small.dif", 0},
    {"jcamp_difdup", "JCAMP-DX File", "difdup.dx", 3.5},
    {"jcamp_affn", "JCAMP-DX File", "affn.dx", 1.2},
    {"jcamp_difdup_small", "JCAMP-DX File", "small-difdup.dx", 0},
    {"jcamp_affn_small", "JCAMP-DX File", "small-affn.dx", 0},
    {"text_10_columns", "Text File", "narrow.txt", 0},
    {"text_2000_columns", "Text File", "wide.txt", 0},
    {"text_small", "Text File", "small.txt", 0},
    {"brookside_xml", "Brookside Ver. 2.6 XML File", "brookside.xml", 2},
    {"sieve_100_intensities", "Thermo SIEVE File", "report.txt", 2.5},
    {"unscrambler_1000_columns", "Unscrambler File", "matrix.uns", 0},
    {"kpf_10000_by_1000", "KARTA project file", "large.kpf", 0},
};

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The other yardstick: the file's bytes read into memory.
double SecondsOfBytes(const std::string& path) {
    std::vector<char> bytes(std::filesystem::file_size(path));
    double best = 1e30;
    for (int run = 0; run < 5; ++run) {
        const auto start = std::chrono::steady_clock::now();
        const int file = open(path.c_str(), O_RDONLY);
        const bool isRead = read(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
        close(file);
        if (!isRead) {
            throw std::runtime_error(path + " could not be read");
        }
        best = std::min(best, SecondsSince(start));
    }
    return best;
}

// The bytes of all values.
double SizeOf(const karta::Table& table) {
    double bytes = 0;
    if (const karta::Block* block = table.GetBlock()) {
        bytes += static_cast<double>(block->GetRowCount()) * static_cast<double>(block->GetPointCount()) *
                 (block->IsFloat32() ? sizeof(float) : sizeof(double));
    }
    for (const karta::Column& column : table.GetColumns()) {
        bytes += column.GetBuffers().values == nullptr
                     ? 0.0
                     : static_cast<double>(column.GetBuffers().values->GetSize());
    }
    return bytes;
}

void Measure(benchmark::State& state, const TableBench& bench) {
    const std::string path = BenchFolder() + "/" + bench.fileName;
    if (!std::filesystem::exists(path)) {
        state.SkipWithError("the format's own benchmark makes the file: run that first");
        return;
    }
    const double yardstick = bench.isAgainstBytes ? SecondsOfBytes(path) : SecondsOfMd5sum(path);
    double best = 1e30;
    double size = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        const karta::Table table = ReadTable(bench.format, path);
        best = std::min(best, SecondsSince(start));
        size = SizeOf(table);
    }
    const auto bytes = static_cast<double>(std::filesystem::file_size(path));
    state.SetLabel(BenchLabel(bench.format, bench.fileName));
    state.counters["s"] = best;
    state.counters["MB/s"] = bytes / best / 1e6;
    state.counters["M"] = best / yardstick;
    if (bench.target > 0) {
        state.counters["M_target"] = bench.target;
    }
    state.counters["peak_MB"] = PeakMemoryOf([&] {
                                    ReadTable(bench.format, path);
                                    return true;
                                }) /
                                1e6;
    state.counters["values_MB"] = size / 1e6;
    state.counters["file_MB"] = bytes / 1e6;
}

}  // namespace

void RegisterTableBenches() {
    for (const TableBench& bench : Benches) {
        benchmark::RegisterBenchmark((std::string(bench.name) + "/karta_table").c_str(),
                                     [bench](benchmark::State& state) { Measure(state, bench); })
            ->MinTime(MinSeconds)
            ->Unit(benchmark::kMillisecond);
    }
}
