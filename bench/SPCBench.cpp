#include <algorithm>
#include <ostream>
#include <random>

#include "bench/ReadBench.h"
#include "bench/SelectionBench.h"
#include "tests/instrument/SPCBuilder.h"

namespace {

constexpr int NumPoints = 2000;
constexpr int NumSubFiles = 12'500;   // 100 MB
constexpr int MostSubFiles = 0x7fff;  // numbered in two bytes here

std::string RandomBytes(std::mt19937& random, int count) {
    ByteBuilder bytes;
    for (int i = 0; i < count; ++i) {
        // Whole numbers and, read so, floats of every size but no NaN.
        bytes.U32(random() & 0xbfffffffU);
    }
    return bytes.Bytes();
}

SPCBuilder MakeHeader(int numPoints, int numSubFiles) {
    SPCBuilder file;
    file.numPoints = numPoints;
    file.firstX = 4000.0;
    file.lastX = 400.0;
    file.numSubFiles = numSubFiles;
    file.flags = numSubFiles > 1 ? static_cast<unsigned int>(SPCMulti) : 0U;
    file.date = SPCDate(2025, 9, 17, 12, 0);
    file.subFiles.clear();
    return file;
}

void GenerateMultiFile(std::ostream& stream, int exponent) {
    std::mt19937 random(1);
    const int subFiles = std::min(Scaled(NumSubFiles), MostSubFiles);
    stream << MakeHeader(NumPoints, subFiles).Build();
    for (int i = 0; i < subFiles; ++i) {
        ByteBuilder head;
        head.U8(0).Put(static_cast<std::int8_t>(exponent)).I16(i).Float(static_cast<float>(i)).PadTo(32);
        stream << head.Bytes() << RandomBytes(random, NumPoints);
    }
}

void GenerateSmallFile(std::ostream& stream, int number) {
    std::mt19937 random(static_cast<unsigned int>(number));
    SPCBuilder file = MakeHeader(1000, 1);
    file.subFiles = {{RandomBytes(random, 1000)}};
    stream << file.Build();
}

const RegisterReadBench Floats({"spc_floats", "GalacticSPC File", "floats.spc",
                                [](std::ostream& stream) { GenerateMultiFile(stream, -128); }, 3.0, 0.0});
const RegisterReadBench Integers({"spc_integers", "GalacticSPC File", "integers.spc",
                                  [](std::ostream& stream) { GenerateMultiFile(stream, 3); }, 3.0, 0.0});
const RegisterSelectionBench SmallFiles({"spc_1000_files", "GalacticSPC File", ".spc", 1000,
                                         GenerateSmallFile, 2.5});

}  // namespace
