#include "bench/ReadBench.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <utility>

#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "frame/SpreadsheetFile.h"
#include "karta/internal/TableSink.h"
#include "table/TableData.h"
#include "tests/support/CountingSink.h"
#include "tests/support/PeakMemory.h"
#include "tools/Commands.h"
#include "tools/ReadRequest.h"

namespace {

constexpr const char* ScaleVariable = "KARTA_BENCH_SCALE";
constexpr int Md5sumRuns = 5;

std::vector<BenchInput>& Inputs() {
    static std::vector<BenchInput> inputs;
    return inputs;
}

SpreadsheetFile* NewReader(const std::string& format) {
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        if (format == SprFileFactory::GetInfo(i)->formatName) {
            return SprFileFactory::GetSpreadsheetFile(i);
        }
    }
    throw std::runtime_error("there is no format " + format);
}

std::string FileOf(const ReadBench& bench) {
    const std::string path = BenchFolder() + "/" + bench.fileName;
    if (!std::filesystem::exists(path)) {
        std::ofstream file(path + ".part", std::ios::binary);
        bench.generate(file);
        file.close();
        std::filesystem::rename(path + ".part", path);
        FinishWriting();
    }
    return path;
}

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

template <class Sink>
void Measure(benchmark::State& state, const ReadBench& bench, double target,
             karta::Reading reading = karta::Reading::Classic) {
    const std::string path = FileOf(bench);
    const double yardstick = bench.isForPeers ? 0.0 : SecondsOfMd5sum(path);
    double best = 1e30;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        Sink sink;
        ReadInput(bench.format, path, sink, reading);
        best = std::min(best, SecondsSince(start));
    }
    CountingSink counter;
    ReadInput(bench.format, path, counter, reading);
    const auto bytes = static_cast<double>(std::filesystem::file_size(path));
    state.SetLabel(BenchLabel(bench.format, bench.fileName));
    state.counters["s"] = best;
    state.counters["cells"] = static_cast<double>(counter.cells);
    state.counters["MB/s"] = bytes / best / 1e6;
    state.counters["cells/s"] = static_cast<double>(counter.cells) / best;
    if (yardstick > 0) {
        state.counters["M"] = best / yardstick;
    }
    if (target > 0) {
        state.counters["M_target"] = target;
    }
    const double peak = PeakMemoryOf([&] {
        Sink sink;
        ReadInput(bench.format, path, sink, reading);
        return true;
    });
    state.counters["peak_MB"] = peak / 1e6;
    state.counters["file_MB"] = bytes / 1e6;
}

void RegisterYardstick(const ReadBench& bench) {
    benchmark::RegisterBenchmark((bench.name + "/md5sum").c_str(),
                                 [bench](benchmark::State& state) {
                                     const std::string path = FileOf(bench);
                                     for (auto _ : state) {
                                         state.SetIterationTime(SecondsOfMd5sum(path));
                                     }
                                 })
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
}

}  // namespace

void ReadInput(const std::string& format, const std::string& paths, ReadSpreadSheetData& sink,
               karta::Reading reading) {
    const std::unique_ptr<SpreadsheetFile> reader(NewReader(format));
    ChooseReading(*reader, paths, reading);
    reader->Open(true, paths.c_str(), nullptr);
    if (reading == karta::Reading::Classic) {
        const int rows = reader->GetNumRows();
        const int cols = reader->GetNumCols();
        sink.SetDataSize(cols, rows);
    }
    if (reader->Read(&sink) != 0) {
        throw std::runtime_error("a " + format + " could not be read: " + paths.substr(0, paths.find('\n')));
    }
    reader->Close();
}

karta::Table ReadTable(const std::string& format, const std::string& paths) {
    const std::unique_ptr<FormatReader> reader(dynamic_cast<FormatReader*>(NewReader(format)));
    if (reader == nullptr) {
        throw std::runtime_error("a " + format + " isn't read completely");
    }
    const auto context = std::make_shared<karta::ReadContext>();
    context->reading = karta::Reading::Complete;
    reader->SetContext(context);
    karta::TableSink sink(context);
    reader->AddInputs(paths.c_str());
    if (reader->Open(true, paths.c_str(), nullptr) != 0 || reader->Read(&sink) != 0) {
        throw std::runtime_error("a " + format + " could not be read: " + paths.substr(0, paths.find('\n')));
    }
    return sink.Finish();
}

void ChooseReading(SpreadsheetFile& reader, const std::string& paths, karta::Reading reading) {
    auto* const formatReader = dynamic_cast<FormatReader*>(&reader);
    if (reading == karta::Reading::Classic || formatReader == nullptr) {
        return;
    }
    auto context = std::make_shared<karta::ReadContext>();
    context->reading = reading;
    formatReader->SetContext(std::move(context));
    formatReader->AddInputs(paths.c_str());
}

void FinishWriting() {
    sync();
}

std::string BenchFolder() {
    const char* const scale = std::getenv(ScaleVariable);
    const std::string folder =
        std::string("build/bench-data") + (scale == nullptr ? "" : "-") + (scale == nullptr ? "" : scale);
    std::filesystem::create_directories(folder);
    return folder;
}

double BenchScale() {
    static const double scale = [] {
        const char* const text = std::getenv(ScaleVariable);
        const double value = text == nullptr ? 1.0 : std::atof(text);
        if (!(value > 0)) {
            throw std::runtime_error(std::string(ScaleVariable) + " is no size");
        }
        return value;
    }();
    return scale;
}

void RegisterInput(BenchInput input) {
    Inputs().push_back(std::move(input));
}

const std::vector<BenchInput>& GetInputs() {
    return Inputs();
}

std::string BenchLabel(const std::string& format, const std::string& fileName) {
    return format + ": " + fileName;
}

double SecondsOfMd5sum(const std::string& path) {
    double best = 1e30;
    for (int run = 0; run < Md5sumRuns; ++run) {
        const auto start = std::chrono::steady_clock::now();
        const int result = std::system(("md5sum '" + path + "' >/dev/null").c_str());
        if (result != 0) {
            throw std::runtime_error("md5sum failed");
        }
        best = std::min(best, SecondsSince(start));
    }
    return best;
}

RegisterReadBench::RegisterReadBench(const ReadBench& bench) {
    if (!bench.isForPeers) {
        RegisterInput({bench.name, bench.format, [bench] { return FileOf(bench); }});
        RegisterYardstick(bench);
        benchmark::RegisterBenchmark(
            (bench.name + "/counting").c_str(),
            [bench](benchmark::State& state) { Measure<CountingSink>(state, bench, bench.targetCounting); })
            ->MinTime(MinSeconds)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((bench.name + "/complete").c_str(),
                                     [bench](benchmark::State& state) {
                                         Measure<CountingSink>(state, bench, 0.0, karta::Reading::Complete);
                                     })
            ->MinTime(MinSeconds)
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::RegisterBenchmark(
        (bench.name + "/table").c_str(),
        [bench](benchmark::State& state) { Measure<TableData>(state, bench, bench.targetTable); })
        ->MinTime(MinSeconds)
        ->Unit(benchmark::kMillisecond);
}

RegisterConvertBench::RegisterConvertBench(const std::string& name, const std::string& format,
                                           const std::string& fileName, double target) {
    benchmark::RegisterBenchmark((name + "/convert").c_str(),
                                 [format, fileName, target](benchmark::State& state) {
                                     const std::string path = BenchFolder() + "/" + fileName;
                                     const double yardstick = SecondsOfMd5sum(path);
                                     ReadRequest request;
                                     request.files = {path};
                                     request.quiet = true;
                                     ConvertRequest convert;
                                     convert.output = BenchFolder() + "/converted.csv";
                                     convert.target = "csv";
                                     double best = 1e30;
                                     for (auto _ : state) {
                                         const auto start = std::chrono::steady_clock::now();
                                         RunConvert(request, convert);
                                         best = std::min(best, SecondsSince(start));
                                     }
                                     const auto bytes = static_cast<double>(std::filesystem::file_size(path));
                                     state.SetLabel(BenchLabel(format, fileName));
                                     state.counters["s"] = best;
                                     state.counters["MB/s"] = bytes / best / 1e6;
                                     state.counters["file_MB"] = bytes / 1e6;
                                     state.counters["M"] = best / yardstick;
                                     state.counters["M_target"] = target;
                                 })
        ->MinTime(MinSeconds)
        ->Unit(benchmark::kMillisecond);
}
