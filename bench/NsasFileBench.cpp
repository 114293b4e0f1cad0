#include <algorithm>
#include <ostream>

#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"
#include "tests/support/ByteBuilder.h"

namespace {

constexpr int Points = 2000;
constexpr int Spectra = 12'300;      // 100 MB
constexpr int MostSpectra = 0x7fff;  // in one file
constexpr int Start = 400;

void Generate(std::ostream& stream) {
    NumberSequence numbers;
    for (int number = 1; number <= std::min(Scaled(Spectra), MostSpectra); ++number) {
        ByteBuilder bytes;
        bytes.I16(6500).I16(number).Field("S1        ", 10).I16(Points).I16(Start).I16(Start + Points);
        bytes.PadTo(64).I16(91).I16(4).I16(3).I16(10).I16(11).I16(12).PadTo(128);
        for (int point = 0; point < Points; ++point) {
            bytes.Float(static_cast<float>(numbers.Next() >> 12) / 1e6F);
        }
        stream << bytes.PadTo((bytes.Size() + 127) / 128 * 128).Bytes();
    }
}

const RegisterReadBench Flours({"nsas_2000_points", "NSAS File", "spectra.da", Generate});

}  // namespace
