#include <ostream>
#include <string>

#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"

namespace {

constexpr int Rows = 500'000;
constexpr int RowsForPeers = 30'000;
constexpr int Cols = 10;

// Numbers with a text in the first column, from a fixed sequence.
void Generate(std::ostream& stream, int rows) {
    stream << "TABLE\n0,1\n\"bench\"\nVECTORS\n0," << Cols << "\n\"\"\nTUPLES\n0," << rows
           << "\n\"\"\nDATA\n0,0\n\"\"\n";
    NumberSequence numbers;
    std::string row;
    for (int i = 0; i < rows; ++i) {
        row = "-1,0\nBOT\n1,0\n\"sample " + std::to_string(i) + "\"\n";
        for (int col = 1; col < Cols; ++col) {
            row += "0," + numbers.NextText() + "\nV\n";
        }
        stream << row;
    }
    stream << "-1,0\nEOD\n";
}

void GenerateLarge(std::ostream& stream) {
    Generate(stream, Scaled(Rows));
}

const RegisterReadBench Plain({"dif_10_columns", "DIF File", "table.dif", GenerateLarge, 8.0, 8.0});
const RegisterReadBench Oem({"dif_oem_10_columns", "DIF File(OEM)", "table.dif", GenerateLarge, 8.0, 8.0});
const RegisterReadBench Small({"dif_small", "DIF File", "small.dif",
                               [](std::ostream& stream) { Generate(stream, RowsForPeers); }, 0, 0, true});

}  // namespace
