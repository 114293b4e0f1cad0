#include <ostream>
#include <string>

#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"

namespace {

constexpr std::size_t FileSize = 100'000'000;
constexpr std::size_t FileSizeForPeers = 5'000'000;

void GenerateTable(std::ostream& stream, int cols, std::size_t fileSize = Scaled(FileSize)) {
    std::string line;
    std::size_t written = 0;
    NumberSequence numbers;
    while (written < fileSize) {
        line.clear();
        for (int col = 0; col < cols; ++col) {
            line += col == 0 ? "" : "\t";
            line += numbers.NextText();
        }
        line += "\n";
        stream << line;
        written += line.size();
    }
}

const RegisterReadBench Narrow({"text_10_columns", "Text File", "narrow.txt",
                                [](std::ostream& stream) { GenerateTable(stream, 10); }, 1.2, 2.0});
const RegisterReadBench Wide({"text_2000_columns", "Text File", "wide.txt",
                              [](std::ostream& stream) { GenerateTable(stream, 2000); }, 1.2, 2.0});

const RegisterReadBench Small({"text_small", "Text File", "small.txt",
                               [](std::ostream& stream) { GenerateTable(stream, 10, FileSizeForPeers); }, 0,
                               0, true});

// The whole program's work: read, and written as CSV; at most 6 M.
const RegisterConvertBench Convert("text_10_columns", "Text File", "narrow.txt", 6.0);

}  // namespace
