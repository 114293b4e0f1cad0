#include "bench/SelectionBench.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

#include "bench/ReadBench.h"
#include "frame/SprFileFactory.h"
#include "frame/SpreadsheetFile.h"
#include "table/TableData.h"
#include "tests/support/CountingSink.h"
#include "tests/support/PeakMemory.h"

namespace {

constexpr int YardstickRuns = 5;

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// A selection of one is none.
int CountFiles(const SelectionBench& bench) {
    return std::max(2, Scaled(bench.numFiles));
}

std::string FolderOf(const SelectionBench& bench) {
    const std::string folder = BenchFolder() + "/" + bench.name;
    if (!std::filesystem::exists(folder)) {
        const std::string unfinished = folder + ".part";
        std::filesystem::create_directories(unfinished);
        for (int i = 0; i < CountFiles(bench); ++i) {
            std::ofstream file(unfinished + "/" + std::to_string(10000 + i) + bench.extension,
                               std::ios::binary);
            bench.generate(file, i);
        }
        std::filesystem::rename(unfinished, folder);
        FinishWriting();
    }
    return folder;
}

std::string SelectionOf(const SelectionBench& bench, const std::string& folder) {
    std::string selection;
    for (int i = 0; i < CountFiles(bench); ++i) {
        selection += folder + "/" + std::to_string(10000 + i) + bench.extension + "\n";
    }
    return selection;
}

double SecondsOfYardstick(const std::string& folder) {
    double best = 1e30;
    for (int run = 0; run < YardstickRuns; ++run) {
        const auto start = std::chrono::steady_clock::now();
        if (std::system(("cat '" + folder + "'/* | md5sum >/dev/null").c_str()) != 0) {
            throw std::runtime_error("cat or md5sum failed");
        }
        best = std::min(best, SecondsSince(start));
    }
    return best;
}

double BytesOf(const std::string& folder) {
    double bytes = 0;
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
        bytes += static_cast<double>(file.file_size());
    }
    return bytes;
}

// What reads the selection once; the paths in lines.
using ReadSelection = std::function<void(const std::string& paths)>;

template <class Sink>
ReadSelection ReadInto(const SelectionBench& bench, karta::Reading reading = karta::Reading::Classic) {
    return [format = bench.format, reading](const std::string& paths) {
        Sink sink;
        ReadInput(format, paths, sink, reading);
    };
}

double CountCells(const SelectionBench& bench, const std::string& selection) {
    CountingSink counter;
    ReadInput(bench.format, selection, counter, karta::Reading::Classic);
    return static_cast<double>(counter.cells);
}

void Measure(benchmark::State& state, const SelectionBench& bench, const ReadSelection& read,
             double target = 0.0) {
    const std::string folder = FolderOf(bench);
    const std::string selection = SelectionOf(bench, folder);
    const double yardstick = SecondsOfYardstick(folder);
    double best = 1e30;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        read(selection);
        best = std::min(best, SecondsSince(start));
    }
    const double cells = CountCells(bench, selection);
    const double bytes = BytesOf(folder);
    state.SetLabel(BenchLabel(bench.format, bench.name));
    state.counters["s"] = best;
    state.counters["cells"] = cells;
    state.counters["MB/s"] = bytes / best / 1e6;
    state.counters["file_MB"] = bytes / 1e6;
    state.counters["cells/s"] = cells / best;
    state.counters["files/s"] = CountFiles(bench) / best;
    state.counters["M"] = best / yardstick;
    if (target > 0) {
        state.counters["M_target"] = target;
    }
    state.counters["peak_MB"] = PeakMemoryOf([&] {
                                    read(selection);
                                    return true;
                                }) /
                                1e6;
}

}  // namespace

RegisterSelectionBench::RegisterSelectionBench(const SelectionBench& bench) {
    RegisterInput({bench.name, bench.format, [bench] { return SelectionOf(bench, FolderOf(bench)); }});
    const auto measure = [&bench](const char* what, const ReadSelection& read, double target = 0.0) {
        benchmark::RegisterBenchmark(
            (bench.name + what).c_str(),
            [bench, read, target](benchmark::State& state) { Measure(state, bench, read, target); })
            ->MinTime(MinSeconds)
            ->Unit(benchmark::kMillisecond);
    };
    measure("/counting", ReadInto<CountingSink>(bench), bench.target);
    measure("/complete", ReadInto<CountingSink>(bench, karta::Reading::Complete));
    measure("/table", ReadInto<TableData>(bench));
    measure("/karta_table", [format = bench.format](const std::string& paths) { ReadTable(format, paths); });
}
