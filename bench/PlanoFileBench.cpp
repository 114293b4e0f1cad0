#include <ostream>
#include <string>

#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"
#include "tests/support/CompoundBuilder.h"

namespace {

constexpr std::size_t WorksheetSize = 50'000'000;
constexpr int Factors = 10;

// The worksheet of a project far larger than any design, from a fixed sequence.
void Generate(std::ostream& stream) {
    std::string worksheet = "Run";
    for (int factor = 1; factor <= Factors; ++factor) {
        worksheet += "\tFactor" + std::to_string(factor);
    }
    worksheet += "\n";
    NumberSequence numbers;
    for (int run = 1; worksheet.size() < Scaled(WorksheetSize); ++run) {
        worksheet += "N" + std::to_string(run);
        for (int factor = 0; factor < Factors; ++factor) {
            const unsigned int bits = numbers.Next();
            worksheet += "\t" + std::to_string(bits >> 22) + "." + std::to_string((bits >> 8) % 1000);
        }
        worksheet += "\n";
    }
    stream << CompoundBuilder().Stream("Worksheet.dat", worksheet).Build();
}

const RegisterReadBench Design({"plano_11_columns", "PLANO File", "design.mip", Generate});

}  // namespace
