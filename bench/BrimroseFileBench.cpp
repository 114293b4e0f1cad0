#include <algorithm>
#include <ostream>

#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"
#include "tests/support/ByteBuilder.h"

namespace {

constexpr unsigned int Points = 2000;
constexpr unsigned int Observations = 12'300;      // 100 MB
constexpr unsigned int MostObservations = 0xffff;  // in one file
constexpr float Start = 1100.0F;
constexpr std::uint32_t SomeTime = 1'238'753'472;

void Generate(std::ostream& stream) {
    const unsigned int observations = std::min(Scaled(Observations), MostObservations);
    ByteBuilder header;
    header.U32(0x0D0C10FF).PadTo(29).Float(Start).Float(Start + Points).Float(1.0F).U16(Points);
    header.PadTo(45).U16(observations).PadTo(512);
    stream << header.Bytes();
    NumberSequence numbers;
    for (unsigned int observation = 0; observation < observations; ++observation) {
        ByteBuilder bytes;
        bytes.U32(SomeTime + observation).Field("wheat", 124);
        for (unsigned int point = 0; point < Points; ++point) {
            bytes.Float(static_cast<float>(numbers.Next() >> 12) / 1e6F);
        }
        stream << bytes.Bytes();
    }
}

const RegisterReadBench Scans({"brimrose_2000_points", "Brimrose File", "scans.dat", Generate});

}  // namespace
