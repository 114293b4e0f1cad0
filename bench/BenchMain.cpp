// Google Benchmark's own program, and one read in one process for those who measure from outside:
// bench/counts by a simulated processor, bench/growth by the process's time and memory.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

#include "bench/ReadBench.h"
#include "bench/TableBench.h"
#include "tests/support/CountingSink.h"
#include "tools/Commands.h"
#include "tools/ReadRequest.h"

// What a tool counts the instructions of, by these names.
extern "C" {
[[gnu::noinline]] void CountedClassic(const BenchInput& input, const std::string& paths, CountingSink& sink) {
    ReadInput(input.format, paths, sink, karta::Reading::Classic);
}

[[gnu::noinline]] void CountedComplete(const BenchInput& input, const std::string& paths,
                                       CountingSink& sink) {
    ReadInput(input.format, paths, sink, karta::Reading::Complete);
}

[[gnu::noinline]] void CountedTable(const BenchInput& input, const std::string& paths) {
    ReadTable(input.format, paths);
}

[[gnu::noinline]] void CountedWriting(const ReadRequest& request, const ConvertRequest& convert) {
    RunConvert(request, convert);
}
}

namespace {

constexpr const char* Usage = R"(karta-bench [OPTION OF GOOGLE BENCHMARK]...
karta-bench --inputs              the names of the files and selections that can be read by themselves
karta-bench --make INPUT          makes its file, and prints its size in bytes
karta-bench --classic INPUT       reads it classically into a sink that keeps nothing
karta-bench --complete INPUT      reads it completely into such a sink
karta-bench --table INPUT         reads it completely into a table
karta-bench --all INPUT           all three, one after the other
karta-bench --write INPUT TARGET  converts it, to csv, jsonl, text, mat
)";

const BenchInput& FindInput(const std::string& name) {
    for (const BenchInput& input : GetInputs()) {
        if (input.name == name) {
            return input;
        }
    }
    throw std::runtime_error("there is no input " + name);
}

double SizeOf(const std::string& paths) {
    double bytes = 0;
    std::istringstream lines(paths);
    for (std::string path; std::getline(lines, path);) {
        bytes += static_cast<double>(std::filesystem::file_size(path));
        // A log's samples lie beside it.
        const auto samples = std::filesystem::path(path).replace_extension(".dat");
        if (path.ends_with(".trn") && std::filesystem::exists(samples)) {
            bytes += static_cast<double>(std::filesystem::file_size(samples));
        }
    }
    return bytes;
}

void WriteInput(const std::string& paths, const std::string& target) {
    ReadRequest request;
    request.files = {paths};
    request.quiet = true;
    ConvertRequest convert;
    convert.output = BenchFolder() + "/written." + (target == "text" ? "txt" : target);
    CountedWriting(request, convert);
}

// In bytes. What getrusage tells counts from before the program began: it is never less than what the process
// had that started this one.
double GetPeakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            return std::stod(line.substr(line.find(':') + 1)) * 1024.0;
        }
    }
    throw std::runtime_error("the system doesn't tell the memory of a process");
}

// One line: seconds, and the most memory that this process had. The file must have been made before.
void PrintFigures(std::chrono::steady_clock::time_point start) {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    std::cout << "wall " << std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count()
              << " cpu " << seconds(usage.ru_utime) + seconds(usage.ru_stime) << " peak " << GetPeakMemory()
              << "\n";
}

int RunOne(const std::string& verb, const std::string& name, const std::string& target) {
    const BenchInput& input = FindInput(name);
    const std::string paths = input.make();
    if (verb == "--make") {
        std::cout << std::fixed << SizeOf(paths) << "\n";
        return 0;
    }
    const auto start = std::chrono::steady_clock::now();
    CountingSink sink;
    const bool isAll = verb == "--all";
    if (isAll || verb == "--classic") {
        CountedClassic(input, paths, sink);
    }
    if (isAll || verb == "--complete") {
        CountedComplete(input, paths, sink);
    }
    if (isAll || verb == "--table") {
        CountedTable(input, paths);
    }
    if (verb == "--write") {
        WriteInput(paths, target);
    }
    PrintFigures(start);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string verb = argc > 1 ? argv[1] : "";
    if (verb == "--inputs") {
        for (const BenchInput& input : GetInputs()) {
            std::cout << input.name << "\t" << input.format << "\n";
        }
        return 0;
    }
    const std::set<std::string> verbs = {"--make", "--classic", "--complete", "--table", "--all", "--write"};
    if (argc > 2 && verbs.contains(verb)) {
        try {
            return RunOne(verb, argv[2], argc > 3 ? argv[3] : "");
        } catch (const std::exception& failure) {
            std::cerr << "karta-bench: " << failure.what() << "\n";
            return 1;
        }
    }
    if (verb == "--help") {
        std::cout << Usage << "\n";
    }
    benchmark::Initialize(&argc, argv);
    RegisterTableBenches();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
