#include "instrument/OPUSDirectory.h"

#include <iterator>

namespace {

constexpr std::uint64_t DirectoryOffset = 12;
constexpr std::uint64_t EntryCountOffset = 20;
constexpr std::size_t EntrySize = 12;

constexpr const char* SpectrumKinds[] = {"",
                                         "spectrum",
                                         "interferogram",
                                         "phase",
                                         "absorbance",
                                         "transmittance",
                                         "Kubelka-Munk",
                                         "trace",
                                         "GC interferogram",
                                         "GC spectrum",
                                         "Raman",
                                         "emission",
                                         "reflectance",
                                         "directory",
                                         "power",
                                         "log reflectance",
                                         "ATR",
                                         "photoacoustic",
                                         "arithmetic transmittance",
                                         "arithmetic absorbance"};

constexpr const char* Derivatives[] = {"", "first derivative", "second derivative", "derivative"};

void AppendWord(std::string& text, const std::string& word) {
    text += (text.empty() || word.empty() ? "" : " ") + word;
}

OPUSBlock ReadEntry(ByteCursor& stream) {
    const std::uint32_t type = stream.ReadU32();
    OPUSBlock block;
    block.type = type;
    block.dataKind = type & 0x3;
    block.channelClass = type >> 2 & 0x3;
    block.blockKind = type >> 4 & 0x3f;
    block.spectrumKind = type >> 10 & 0x7f;
    block.derivative = type >> 17 & 0x3;
    block.extension = type >> 19 & 0x7;
    block.length = stream.ReadI32();
    block.offset = stream.ReadI32();
    return block;
}

}  // namespace

std::vector<OPUSBlock> ReadOPUSDirectory(ByteCursor stream) {
    stream.Seek(DirectoryOffset);
    const std::int32_t offset = stream.ReadI32();
    stream.Seek(EntryCountOffset);
    const std::int32_t count = stream.ReadI32();
    std::vector<OPUSBlock> blocks;
    if (offset < 0 || !stream.Seek(static_cast<std::uint64_t>(offset))) {
        return blocks;
    }
    for (std::int32_t i = 0; i < count && stream.Has(EntrySize); ++i) {
        blocks.push_back(ReadEntry(stream));
    }
    return blocks;
}

std::string NameOfOPUSSpectrum(const OPUSBlock& block) {
    std::string name;
    if (block.channelClass == OPUSSample) {
        name = "sample";
    } else if (block.channelClass == OPUSReference) {
        name = "reference";
    }
    const bool isKnown = block.spectrumKind > 0 && block.spectrumKind < std::size(SpectrumKinds);
    AppendWord(name,
               isKnown ? SpectrumKinds[block.spectrumKind] : "result " + std::to_string(block.spectrumKind));
    AppendWord(name, Derivatives[block.derivative]);
    if (block.dataKind == OPUSImaginaryPart) {
        AppendWord(name, "imaginary");
    }
    return name;
}
