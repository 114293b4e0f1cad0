// A process log of 500 wafers, 8 phases and 200 variables: 200,000 sample lines, about 200 MB of text.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>

#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"
#include "process/BrooksideFile.h"
#include "tests/support/CountingSink.h"
#include "tests/support/PeakMemory.h"

namespace {

constexpr int FullWafers = 500;
constexpr int Phases = 8;
constexpr int Variables = 200;
constexpr int LinesPerPhase = 50;
const int Wafers = std::max(2, Scaled(FullWafers));
const int Lines = Wafers * Phases * LinesPerPhase;
constexpr double TargetOfFiles = 5.0;
constexpr double TargetOfXML = 10.0;

/** Values of the lengths that collectors write, from a fixed sequence. */
class Values {
public:
    void Append(std::string& line) {
        const unsigned int bits = numbers.Next();
        line += "\t" + std::to_string(bits >> 28) + "." + std::to_string(10 + (bits >> 16) % 90);
    }

private:
    NumberSequence numbers;
};

void WriteSamples(std::ostream& stream, int lines, bool withRowNumbers, const char* lineEnd) {
    Values values;
    std::string line;
    for (int i = 1; i <= lines; ++i) {
        line = std::to_string(i / 2) + (i % 2 == 0 ? "" : ".5");
        if (withRowNumbers) {
            line += "\t" + std::to_string(i);
        }
        for (int variable = 0; variable < Variables; ++variable) {
            values.Append(line);
        }
        stream << line << lineEnd;
    }
}

std::string VariableNames() {
    std::string names;
    for (int variable = 1; variable <= Variables; ++variable) {
        names += "\tA_Sensor_" + std::to_string(variable);
    }
    return names;
}

void WriteTransition(std::ostream& stream, const std::string& dataFile) {
    stream << "File\t[1:1]From\tTo\tRecipe\tLot\tSlot\tWafer\tOperation\tDuration";
    for (int phase = 2; phase <= Phases; ++phase) {
        stream << "\t[" << phase << ":" << phase << "]From\tTo\tDuration";
    }
    int line = 1;
    for (int wafer = 1; wafer <= Wafers; ++wafer) {
        stream << "\r\n"
               << dataFile << "\t" << line << "\t" << line + LinesPerPhase - 1 << "\tA_Etch\tL1\t1\tW"
               << wafer << "\t6100\t25";
        line += LinesPerPhase;
        for (int phase = 2; phase <= Phases; ++phase) {
            stream << "\t" << line << "\t" << line + LinesPerPhase - 1 << "\t25";
            line += LinesPerPhase;
        }
    }
    stream << "\r\n";
}

void WriteDataFile(std::ostream& stream) {
    stream << "Data\r\n\r\n\r\n\r\n0\r\nEnd\r\nTime" << VariableNames() << "\r\n";
    WriteSamples(stream, Lines, false, "\r\n");
}

// Half of the log, which makes 100 MB.
void WriteXML(std::ostream& stream) {
    const int XMLWafers = Wafers / 2;
    stream << "<FDCRequest messageSequenceIdentifier=\"1\"><APCSystemName id=\"Brookside.PSDA\"/><Logistics "
              "fdcModel=\"M\" recipeID=\"R\" controlJobID=\"C\" equipmentID=\"E\" toolType=\"T\" "
              "resourceID=\"A\"/>"
              "<RawData name=\"lot\">Time\tRow"
           << VariableNames() << "\n";
    WriteSamples(stream, Lines / 2, true, "\n");
    stream << "NUM_DATA_ROWS</RawData><Trend name=\"T\">";
    int line = 1;
    for (int wafer = 1; wafer <= XMLWafers; ++wafer) {
        stream << "<DataSet rawDataName=\"lot\" lotID=\"L\" slotID=\"1\" waferID=\"W" << wafer
               << "\" priorityClass=\"P\" lineCode=\"7\" jobClass=\"J\" qualityCode=\"Q\" routeID=\"R\" "
                  "productID=\"P\" operationNumber=\"1\" operationName=\"O\" operationPassCount=\"1\">";
        for (int phase = 1; phase <= Phases; ++phase) {
            stream << "<Interval name=\"f_" << phase << "\" number=\"" << phase
                   << "\" startTime=\"s\" duration=\"25\" fromRow=\"" << line << "\" toRow=\""
                   << line + LinesPerPhase - 1 << "\"/>";
            line += LinesPerPhase;
        }
        stream << "</DataSet>";
    }
    stream << "</Trend><Response topicName=\"r\"/></FDCRequest>";
}

std::string DataPath() {
    return BenchFolder() + "/brookside.dat";
}

// The log's path.
std::string MakeFiles() {
    std::string log = BenchFolder() + "/brookside.trn";
    if (!std::filesystem::exists(log)) {
        std::ofstream dataStream(DataPath(), std::ios::binary);
        WriteDataFile(dataStream);
        std::ofstream logStream(log, std::ios::binary);
        WriteTransition(logStream, "brookside.dat");
        dataStream.close();
        logStream.close();
        FinishWriting();
    }
    return log;
}

// The yardstick is the data file, which the transition file only points to.
void ReadFiles(benchmark::State& state) {
    const std::string data = DataPath();
    const std::string log = MakeFiles();
    const auto read = [&log] {
        BrooksideFile reader;
        CountingSink sink;
        if (reader.Open(true, log.c_str(), nullptr) != 0 || reader.Read(&sink) != 0) {
            throw std::runtime_error("the log could not be read");
        }
        return sink.cells;
    };
    const double yardstick = SecondsOfMd5sum(data);
    double best = 1e30;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(read());
        best =
            std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    const auto bytes = static_cast<double>(std::filesystem::file_size(data));
    const auto cells = static_cast<double>(read());
    state.SetLabel(BenchLabel("Brookside File", "brookside.trn"));
    state.counters["s"] = best;
    state.counters["cells"] = cells;
    state.counters["MB/s"] = bytes / best / 1e6;
    state.counters["cells/s"] = cells / best;
    state.counters["M"] = best / yardstick;
    state.counters["M_target"] = TargetOfFiles;
    state.counters["peak_MB"] = PeakMemoryOf([&] {
                                    read();
                                    return true;
                                }) /
                                1e6;
    state.counters["file_MB"] = bytes / 1e6;
}

const auto* const Files = benchmark::RegisterBenchmark("brookside_files/counting", ReadFiles)
                              ->MinTime(MinSeconds)
                              ->Unit(benchmark::kMillisecond);
const bool AreInputs = [] {
    RegisterInput({"brookside_files", "Brookside File", MakeFiles});
    return true;
}();
const RegisterReadBench XML({"brookside_xml", "Brookside Ver. 2.6 XML File", "brookside.xml", WriteXML,
                             TargetOfXML, 0});

}  // namespace
