#include <ostream>
#include <string>

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
    unsigned int state = 12345;
    for (int run = 1; worksheet.size() < Scaled(WorksheetSize); ++run) {
        worksheet += "N" + std::to_string(run);
        for (int factor = 0; factor < Factors; ++factor) {
            state = state * 1664525U + 1013904223U;
            worksheet += "\t" + std::to_string(state >> 22) + "." + std::to_string((state >> 8) % 1000);
        }
        worksheet += "\n";
    }
    stream << CompoundBuilder().Stream("Worksheet.dat", worksheet).Build();
}

const RegisterReadBench Design({"plano_11_columns", "PLANO File", "design.mip", Generate});

}  // namespace
