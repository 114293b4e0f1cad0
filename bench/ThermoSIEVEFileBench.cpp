#include <ostream>
#include <string>

#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"

namespace {

constexpr int Frames = 100'000;
constexpr int Intensities = 100;

// A report of many samples, from a fixed sequence.
void Generate(std::ostream& stream) {
    std::string line =
        "FrameID\tMZStart\tMZStop\tTimeStart\tTimeStop\tpValue\tRatio\tUpperBound\tLowerBound\tFOM1\tCharge\t"
        "PRElement";
    for (int i = 1; i <= Intensities; ++i) {
        line += "\tIntensity_" + std::to_string(i);
    }
    stream << line << "\n";
    NumberSequence numbers;
    for (int frame = 1; frame <= Scaled(Frames); ++frame) {
        const std::string mass = std::to_string(300 + frame % 1200);
        line = std::to_string(frame) + "\t" + mass + ".500\t" + mass +
               ".520\t11.25\t12.75\t0.001\t0.75\t2.0\t0.1\t0.14\t2\tx";
        for (int i = 0; i < Intensities; ++i) {
            line += "\t" + std::to_string(numbers.Next() >> 8);
        }
        stream << line << "\n";
    }
}

const RegisterReadBench Report({"sieve_100_intensities", "Thermo SIEVE File", "report.txt", Generate, 8.0,
                                8.0});

}  // namespace
