#include <ostream>
#include <string>

#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"

namespace {

constexpr std::size_t FileSize = 100'000'000;
constexpr std::size_t FileSizeForPeers = 5'000'000;

// Numbers and words, a tenth of the fields in quotes, from a fixed sequence.
class FieldSequence {
public:
    void Append(std::string& line) {
        const std::string number = numbers.NextText();
        if (numbers.GetBits() / 65536 % 10 == 0) {
            line += "\"about " + number + ", \"\"dry\"\"\"";
        } else {
            line += number;
        }
    }

private:
    NumberSequence numbers;
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

void GenerateNumbers(std::ostream& stream, std::size_t fileSize) {
    NumberSequence numbers;
    std::string line;
    for (std::size_t written = 0; written < fileSize; written += line.size()) {
        line.clear();
        for (int col = 0; col < 10; ++col) {
            line += col == 0 ? "" : ",";
            line += numbers.NextText();
        }
        line += "\n";
        stream << line;
    }
}

// A month, a day, an hour: two digits, and what stands behind them.
void AppendTwoDigits(std::string& line, unsigned int number, const char* behind) {
    line += number < 10 ? "0" : "";
    line += std::to_string(number) + behind;
}

// What a laboratory's export is like, but without its head: each column of one kind, quotes in four of ten
// lines.
void GenerateMixture(std::ostream& stream, std::size_t fileSize) {
    constexpr const char* Places[] = {"inlet", "reactor", "column 2", "outlet"};
    NumberSequence numbers;
    std::string line;
    unsigned int row = 0;
    for (std::size_t written = 0; written < fileSize; written += line.size()) {
        line = std::to_string(++row) + ",2026-";
        AppendTwoDigits(line, 1 + numbers.NextBelow(12), "-");
        AppendTwoDigits(line, 1 + numbers.NextBelow(28), " ");
        AppendTwoDigits(line, numbers.NextBelow(24), ":");
        AppendTwoDigits(line, numbers.NextBelow(60), ":");
        AppendTwoDigits(line, numbers.NextBelow(60), ",");
        line += Places[numbers.NextBelow(4)];
        line += ",";
        line += numbers.NextText();
        line += ",";
        line += numbers.NextText();
        const std::string sample = std::to_string(numbers.NextBelow(50'000));
        line += numbers.NextBelow(10) < 4 ? ",\"sample " + sample + ", \"\"dry\"\"\"" : ",sample " + sample;
        line += numbers.NextBelow(2) == 0 ? ",false\n" : ",true\n";
        stream << line;
    }
}

const RegisterReadBench Numbers({"csv_numbers", "CSV File", "numbers.csv",
                                 [](std::ostream& stream) { GenerateNumbers(stream, Scaled(FileSize)); }});
const RegisterReadBench Mixture({"csv_mixture", "CSV File", "mixture.csv",
                                 [](std::ostream& stream) { GenerateMixture(stream, Scaled(FileSize)); }});
const RegisterReadBench Narrow({"csv_10_columns", "CSV File", "narrow.csv",
                                [](std::ostream& stream) { GenerateRows(stream, 10, Scaled(FileSize)); }, 2.0,
                                4.0});
const RegisterReadBench Wide({"csv_1000000_columns", "CSV File", "wide.csv", GenerateWide, 2.0, 4.0});
const RegisterReadBench Small({"csv_small", "CSV File", "small.csv",
                               [](std::ostream& stream) { GenerateRows(stream, 10, FileSizeForPeers); }, 0, 0,
                               true});

}  // namespace
