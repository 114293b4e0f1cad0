#include <benchmark/benchmark.h>
#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"
#include "container/MatFile.h"
#include "tests/support/CountingSink.h"

namespace {

// 100 MB of doubles.
constexpr std::int32_t Rows = 5000;
constexpr std::int32_t FullColumns = 2500;
const std::int32_t Columns = Scaled(FullColumns);
const std::uint32_t DataSize = std::uint32_t{Rows} * static_cast<std::uint32_t>(Columns) * sizeof(double);

constexpr const char* CompressedName = "level5-compressed.mat";

constexpr double Level4Target = 1.5;
constexpr double Level5Target = 1.5;
// In times of what zlib alone takes.
constexpr double CompressedTarget = 1.25;

template <class Number>
void Put(std::ostream& stream, Number value) {
    stream.write(reinterpret_cast<const char*>(&value), sizeof value);
}

// Spectra of a kind: few digits, from a fixed sequence.
std::vector<double> MakeColumn(NumberSequence& numbers) {
    std::vector<double> column(Rows);
    for (double& value : column) {
        value = static_cast<double>(numbers.Next() >> 16) / 1024.0;
    }
    return column;
}

void PutColumns(std::ostream& stream) {
    NumberSequence numbers;
    for (int column = 0; column < Columns; ++column) {
        const std::vector<double> values = MakeColumn(numbers);
        stream.write(reinterpret_cast<const char*>(values.data()),
                     static_cast<std::streamsize>(values.size() * sizeof(double)));
    }
}

void GenerateLevel4(std::ostream& stream) {
    for (const std::int32_t field : {0, Rows, Columns, 0, 5}) {
        Put(stream, field);
    }
    stream.write("DATA", 5);
    PutColumns(stream);
}

void PutHeader5(std::ostream& stream) {
    std::string header = "MATLAB 5.0 MAT-file, Platform: GLNXA64";
    header.resize(116, ' ');
    header.append(8, '\0').append("\0\1IM", 4);
    stream << header;
}

void PutArray5(std::ostream& stream) {
    const std::uint32_t fields[] = {
        14, 56 + DataSize, 6, 8, 6, 0, 5, 8, Rows, static_cast<std::uint32_t>(Columns), 1, 8};
    for (const std::uint32_t field : fields) {
        Put(stream, field);
    }
    stream.write("measured", 8);
    Put(stream, std::uint32_t{9});
    Put(stream, DataSize);
    PutColumns(stream);
}

void GenerateLevel5(std::ostream& stream) {
    PutHeader5(stream);
    PutArray5(stream);
}

const RegisterReadBench Level4({"mat_level4", "Matlab File", "level4.mat", GenerateLevel4, Level4Target, 0});
const RegisterReadBench Level5({"mat_level5", "Matlab File", "level5.mat", GenerateLevel5, Level5Target, 0});

std::string ReadAll(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void GenerateCompressed(std::ostream& stream) {
    std::ostringstream plain;
    PutArray5(plain);
    const std::string content = plain.str();
    std::string payload(compressBound(content.size()), '\0');
    uLongf size = payload.size();
    compress2(reinterpret_cast<Bytef*>(payload.data()), &size, reinterpret_cast<const Bytef*>(content.data()),
              content.size(), 3);
    PutHeader5(stream);
    Put(stream, std::uint32_t{15});
    Put(stream, static_cast<std::uint32_t>(size));
    stream.write(payload.data(), static_cast<std::streamsize>(size));
}

const RegisterReadBench Compressed({"mat_level5_compressed", "Matlab File", CompressedName,
                                    GenerateCompressed});

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The yardstick: the payload inflated in pieces that are thrown away.
double SecondsOfInflation(const std::string& path) {
    constexpr std::size_t PayloadOffset = 136;
    constexpr std::size_t PieceSize = 1 << 18;
    const std::string bytes = ReadAll(path);
    std::vector<Bytef> piece(PieceSize);
    double best = 1e30;
    for (int run = 0; run < 3; ++run) {
        const auto start = std::chrono::steady_clock::now();
        z_stream inflater{};
        inflateInit(&inflater);
        inflater.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data())) + PayloadOffset;
        inflater.avail_in = static_cast<uInt>(bytes.size() - PayloadOffset);
        int result = Z_OK;
        while (result == Z_OK) {
            inflater.next_out = piece.data();
            inflater.avail_out = static_cast<uInt>(piece.size());
            result = inflate(&inflater, Z_NO_FLUSH);
        }
        inflateEnd(&inflater);
        best = std::min(best, SecondsSince(start));
    }
    return best;
}

void CompressedLevel5(benchmark::State& state) {
    const std::string path = BenchFolder() + "/" + CompressedName;
    if (!std::filesystem::exists(path)) {
        std::ofstream file(path, std::ios::binary);
        GenerateCompressed(file);
        file.close();
        FinishWriting();
    }
    const double yardstick = SecondsOfInflation(path);
    double best = 1e30;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        CountingSink sink;
        MatFile reader;
        if (reader.Open(true, path.c_str(), nullptr) != 0 || reader.Read(&sink) != 0 ||
            sink.cells != std::int64_t{Rows} * Columns) {
            throw std::runtime_error("the compressed file could not be read");
        }
        best = std::min(best, SecondsSince(start));
    }
    state.SetLabel(BenchLabel("Matlab File", CompressedName));
    state.counters["s"] = best;
    state.counters["inflation_s"] = yardstick;
    state.counters["times_inflation"] = best / yardstick;
    state.counters["times_target"] = CompressedTarget;
}
BENCHMARK(CompressedLevel5)
    ->Name("mat_level5_compressed/against_inflation")
    ->MinTime(MinSeconds)
    ->Unit(benchmark::kMillisecond);

}  // namespace
