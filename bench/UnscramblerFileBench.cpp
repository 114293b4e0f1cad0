#include <ostream>
#include <string>

#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"

namespace {

constexpr int Rows = 10'000;
constexpr int Cols = 1'000;
constexpr int ValuesOfLine = 20;  // a line of values has at most 255 characters

// 110 MB of numbers from a fixed sequence, with the names of both ways.
void Generate(std::ostream& stream) {
    const int rows = Scaled(Rows);
    stream << "%" << rows << " " << Cols << " bench\n";
    NumberSequence numbers;
    std::string line;
    for (int row = 0; row < rows; ++row) {
        line.clear();
        for (int col = 1; col <= Cols; ++col) {
            line += numbers.NextText();
            line += col % ValuesOfLine == 0 ? "\n" : " ";
        }
        stream << line;
    }
    stream << "#L";
    for (int row = 1; row <= rows; ++row) {
        stream << " sample" << row << (row % 10 == 0 ? "\n" : "");
    }
    stream << "#C";
    for (int col = 1; col <= Cols; ++col) {
        stream << " v" << col << (col % 10 == 0 ? "\n" : "");
    }
}

const RegisterReadBench Matrix({"unscrambler_1000_columns", "Unscrambler File", "matrix.uns", Generate});

}  // namespace
