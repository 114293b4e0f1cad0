#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <ostream>
#include <string>

#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"
#include "instrument/JCAMPFile.h"

namespace {

constexpr std::size_t FileSize = 100'000'000;
constexpr std::size_t FileSizeForPeers = 2'000'000;
constexpr int Points = 16384;

/** A spectrum of a few bands over noise, whole numbers, from a fixed sequence. */
class Bands {
public:
    int Next(int point) {
        double y = 200.0 + (numbers.Next() >> 27);
        for (int band = 1; band < 6; ++band) {
            const double distance = (point - band * Points / 6.0) / 90.0;
            y += 90000.0 / (1.0 + distance * distance);
        }
        return static_cast<int>(std::lround(y));
    }

private:
    NumberSequence numbers;
};

std::string Packed(int value, char zero, char negativeOne) {
    std::string digits = std::to_string(std::abs(value));
    // The letters of 1 to 9 follow the zero's only in their own row.
    const int first = digits.front() - '0';
    const char one = zero == '@' ? 'A' : 'J';
    digits.front() = static_cast<char>(first == 0 ? zero : (value < 0 ? negativeOne : one) + first - 1);
    return digits;
}

std::string DifferenceLines(Bands& bands) {
    constexpr int PerLine = 50;
    std::string text;
    int last = 0;
    for (int point = 0; point < Points; ++point) {
        const int y = bands.Next(point);
        if (point % PerLine == 0) {
            text += point == 0 ? "" : "\r\n";
            text += std::to_string(point == 0 ? 0 : point - 1) + (point == 0 ? "" : Packed(last, '@', 'a'));
            text += point == 0 ? Packed(y, '@', 'a') : Packed(y - last, '%', 'j');
        } else {
            text += Packed(y - last, '%', 'j');
        }
        last = y;
    }
    return text + "\r\n" + std::to_string(Points - 1) + Packed(last, '@', 'a') + "\r\n";
}

std::string PlainLines(Bands& bands) {
    constexpr int PerLine = 10;
    std::string text;
    for (int point = 0; point < Points; ++point) {
        if (point % PerLine == 0) {
            text += (point == 0 ? "" : "\r\n") + std::to_string(point);
        }
        text += " " + std::to_string(bands.Next(point));
    }
    return text + "\r\n";
}

void GenerateBlocks(std::ostream& stream, std::string (*makeLines)(Bands&),
                    std::size_t fileSize = Scaled(FileSize)) {
    Bands bands;
    std::size_t written = 0;
    while (written < fileSize) {
        const std::string text =
            "##TITLE= spectrum\r\n##JCAMP-DX= 5.01\r\n##DATA TYPE= RAMAN SPECTRUM\r\n##XUNITS= 1/CM\r\n"
            "##YUNITS= COUNTS\r\n##FIRSTX= 0\r\n##LASTX= 16383\r\n##XFACTOR= 1\r\n##YFACTOR= 0.5\r\n"
            "##NPOINTS= 16384\r\n##XYDATA= (X++(Y..Y))\r\n" +
            makeLines(bands) + "##END=\r\n";
        stream << text;
        written += text.size();
    }
}

void MeasureOpen(benchmark::State& state, const std::string& fileName, double target) {
    const std::string path = BenchFolder() + "/" + fileName;
    if (!std::filesystem::exists(path)) {
        state.SkipWithError("the reading benchmark makes the file: run it first");
        return;
    }
    const double yardstick = SecondsOfMd5sum(path);
    double best = 1e30;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        JCAMPFile reader;
        if (reader.Open(true, path.c_str(), nullptr) != 0) {
            state.SkipWithError("the file could not be opened");
            return;
        }
        best =
            std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    state.SetLabel(BenchLabel("JCAMP-DX File", fileName));
    state.counters["s"] = best;
    state.counters["M"] = best / yardstick;
    state.counters["M_target"] = target;
}

const RegisterReadBench Differences({"jcamp_difdup", "JCAMP-DX File", "difdup.dx",
                                     [](std::ostream& stream) { GenerateBlocks(stream, DifferenceLines); },
                                     12.0});
const RegisterReadBench Plain({"jcamp_affn", "JCAMP-DX File", "affn.dx",
                               [](std::ostream& stream) { GenerateBlocks(stream, PlainLines); }, 6.0});
const RegisterReadBench SmallDifferences(
    {"jcamp_difdup_small", "JCAMP-DX File", "small-difdup.dx",
     [](std::ostream& stream) { GenerateBlocks(stream, DifferenceLines, FileSizeForPeers); }, 0, 0, true});
const RegisterReadBench SmallPlain(
    {"jcamp_affn_small", "JCAMP-DX File", "small-affn.dx",
     [](std::ostream& stream) { GenerateBlocks(stream, PlainLines, FileSizeForPeers); }, 0, 0, true});
const auto* const Open = benchmark::RegisterBenchmark("jcamp_difdup/open", [](benchmark::State& state) {
                             MeasureOpen(state, "difdup.dx", 1.5);
                         })->Unit(benchmark::kMillisecond);

}  // namespace
