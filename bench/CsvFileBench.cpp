#include <ostream>
#include <string>

#include "bench/ReadBench.h"

namespace {

constexpr std::size_t FileSize = 100'000'000;
constexpr std::size_t FileSizeForPeers = 5'000'000;

// Numbers and words, a tenth of the fields in quotes, from a fixed sequence.
class FieldSequence {
public:
    void Append(std::string& line) {
        state = state * 1664525U + 1013904223U;
        const std::string number =
            std::to_string(state >> 22) + "." + std::to_string(100000 + (state >> 8) % 900000);
        if (state / 65536 % 10 == 0) {
            line += "\"about " + number + ", \"\"dry\"\"\"";
        } else {
            line += number;
        }
    }

private:
    unsigned int state = 12345;
};

void GenerateRows(std::ostream& stream, int cols, std::size_t fileSize) {
    FieldSequence fields;
    std::string line;
    for (std::size_t written = 0; written < fileSize; written += line.size()) {
        line.clear();
        for (int col = 0; col < cols; ++col) {
            line += col == 0 ? "" : ",";
            fields.Append(line);
        }
        line += "\n";
        stream << line;
    }
}

void GenerateWide(std::ostream& stream) {
    FieldSequence fields;
    std::string line;
    const int columns = Scaled(1'000'000);
    for (int row = 0; row < 10; ++row) {
        line.clear();
        for (int col = 0; col < columns; ++col) {
            line += col == 0 ? "" : ",";
            fields.Append(line);
        }
        stream << line << "\n";
    }
}

const RegisterReadBench Narrow({"csv_10_columns", "CSV File", "narrow.csv",
                                [](std::ostream& stream) { GenerateRows(stream, 10, Scaled(FileSize)); }, 2.0,
                                4.0});
const RegisterReadBench Wide({"csv_1000000_columns", "CSV File", "wide.csv", GenerateWide, 2.0, 4.0});
const RegisterReadBench Small({"csv_small", "CSV File", "small.csv",
                               [](std::ostream& stream) { GenerateRows(stream, 10, FileSizeForPeers); }, 0, 0,
                               true});

}  // namespace
