#include <ostream>
#include <string>

#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"
#include "tests/support/ByteBuilder.h"

namespace {

constexpr int Wavelengths = 211;
constexpr int Records = 220'000;
constexpr int Points = 5'000'000;
constexpr int PointsOfRun = 250;

// A .uv file of version 31: 190 to 400 nm, each spectrum an absolute value and differences from there.
void GenerateSpectra(std::ostream& stream) {
    const int records = Scaled(Records);
    ByteBuilder header;
    header.PadTo(0x200);
    header.Patch(0, '\2').Patch(1, '3').Patch(2, '1');
    ByteBuilder numbers;
    numbers.PutBig(2).PutBig(records).PutBig(0.5);
    std::string bytes = header.Bytes();
    bytes.replace(0x108, 4, numbers.Bytes(), 0, 4);
    bytes.replace(0x116, 4, numbers.Bytes(), 4, 4);
    bytes.replace(0x13e, 8, numbers.Bytes(), 8, 8);
    stream << bytes;
    NumberSequence sequence;
    for (int record = 0; record < records; ++record) {
        ByteBuilder data;
        data.U8('C').U8(0).I16(22 + 2 * Wavelengths + 4).I32(record * 400);
        data.I16(3800).I16(8000).I16(20).I16(0).I16(4).U32(0);
        data.I16(-0x8000).I32(record);
        for (int i = 1; i < Wavelengths; ++i) {
            data.I16(static_cast<int>(sequence.Next() >> 23) - 256);
        }
        stream << data.Bytes();
    }
}

template <class Number>
void PatchBig(std::string& bytes, std::size_t offset, Number value) {
    const std::string field = ByteBuilder().PutBig(value).Bytes();
    bytes.replace(offset, field.size(), field);
}

// A .ch file of version 30: a point every 20 ms, differences in runs that begin with an absolute value.
void GenerateSignal(std::ostream& stream) {
    const int points = Scaled(Points / PointsOfRun) * PointsOfRun;
    ByteBuilder header;
    header.PadTo(0x400);
    header.Patch(0, '\2').Patch(1, '3').Patch(2, '0');
    std::string bytes = header.Bytes();
    PatchBig(bytes, 0x108, std::int32_t{3});
    PatchBig(bytes, 0x11a, std::int32_t{0});
    PatchBig(bytes, 0x11e, std::int32_t{20 * (points - 1)});
    PatchBig(bytes, 0x212, std::int16_t{1});
    PatchBig(bytes, 0x214, std::int16_t{50});
    PatchBig(bytes, 0x284, 0.5);
    stream << bytes;
    NumberSequence sequence;
    for (int point = 0; point < points; point += PointsOfRun) {
        ByteBuilder run;
        run.U8(0x10).U8(PointsOfRun).PutBig(std::int16_t{-0x8000}).PutBig(point);
        for (int i = 1; i < PointsOfRun; ++i) {
            run.PutBig(static_cast<std::int16_t>(static_cast<int>(sequence.Next() >> 23) - 256));
        }
        stream << run.Bytes();
    }
    stream << ByteBuilder().U16(0).Bytes();
}

const RegisterReadBench Signal({"chemstation_ch", "HPLC ChemStation File", "signal.ch", GenerateSignal});
const RegisterReadBench Spectra({"chemstation_uv", "HPLC ChemStation File", "spectra.uv", GenerateSpectra,
                                 6.0});

}  // namespace
