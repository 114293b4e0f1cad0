#include "tests/support/CompoundBuilder.h"

#include "tests/support/ByteBuilder.h"

namespace {

constexpr std::uint32_t FreeSector = 0xFFFFFFFF;
constexpr std::uint32_t EndOfChain = 0xFFFFFFFE;
constexpr std::uint32_t FatSector = 0xFFFFFFFD;
constexpr std::uint32_t DifatSector = 0xFFFFFFFC;
constexpr std::size_t MiniSectorSize = 64;
constexpr std::size_t MiniStreamCutoff = 4096;
constexpr std::size_t FatsInHeader = 109;

std::size_t RoundUp(std::size_t size, std::size_t unit) {
    return (size + unit - 1) / unit * unit;
}

std::string Numbers(const std::vector<std::uint32_t>& numbers) {
    ByteBuilder builder;
    for (const std::uint32_t number : numbers) {
        builder.U32(number);
    }
    return builder.Bytes();
}

}  // namespace

CompoundBuilder& CompoundBuilder::Stream(std::string_view name, std::string_view bytes) {
    entries.push_back({std::string(name), 2, std::string(bytes)});
    return *this;
}

CompoundBuilder& CompoundBuilder::Storage(std::string_view name) {
    entries.push_back({std::string(name), 1, {}});
    return *this;
}

CompoundBuilder& CompoundBuilder::LinkLeft() {
    linkLeft = true;
    return *this;
}

// Appends the sectors of a stream and tells the first.
std::uint32_t CompoundBuilder::AddChain(std::string bytes) {
    if (bytes.empty()) {
        return EndOfChain;
    }
    const auto first = static_cast<std::uint32_t>(fat.size());
    bytes.resize(RoundUp(bytes.size(), SectorSize()), '\0');
    for (std::size_t i = 1; i < bytes.size() / SectorSize(); ++i) {
        fat.push_back(static_cast<std::uint32_t>(fat.size() + 1));
    }
    fat.push_back(EndOfChain);
    sectors += bytes;
    return first;
}

// Streams below the cutoff share one stream of small sectors.
std::string CompoundBuilder::MiniStream(std::vector<std::uint32_t>& miniFat) {
    std::string stream;
    for (Entry& entry : entries) {
        if (entry.type != 2 || entry.bytes.empty() || entry.bytes.size() >= MiniStreamCutoff) {
            continue;
        }
        entry.firstSector = static_cast<std::uint32_t>(miniFat.size());
        const std::size_t size = RoundUp(entry.bytes.size(), MiniSectorSize);
        for (std::size_t i = 1; i < size / MiniSectorSize; ++i) {
            miniFat.push_back(static_cast<std::uint32_t>(miniFat.size() + 1));
        }
        miniFat.push_back(EndOfChain);
        stream += entry.bytes;
        stream.resize(RoundUp(stream.size(), MiniSectorSize), '\0');
    }
    return stream;
}

std::string CompoundBuilder::Directory(std::uint32_t miniStreamSector, std::size_t miniStreamSize) const {
    ByteBuilder builder;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const Entry& entry = entries[i];
        const bool isRoot = i == 0;
        const auto next = i + 1 < entries.size() ? static_cast<std::uint32_t>(i + 1) : FreeSector;
        std::string wideName;
        for (const char letter : entry.name) {
            wideName += {letter, '\0'};
        }
        builder.Field(wideName, 64).U16(static_cast<unsigned>(wideName.size() + 2)).U8(entry.type).U8(1);
        builder.U32(!isRoot && linkLeft ? next : FreeSector).U32(!isRoot && !linkLeft ? next : FreeSector);
        builder.U32(isRoot ? next : FreeSector).Zeros(36);
        builder.U32(isRoot ? miniStreamSector : entry.firstSector);
        builder.U32(static_cast<std::uint32_t>(isRoot ? miniStreamSize : entry.bytes.size())).U32(0);
    }
    return builder.Bytes();
}

// The FAT behind everything else, with a chain of further lists where the header's is too short; then the
// header.
std::string CompoundBuilder::FinishFile(std::uint32_t directorySector, std::uint32_t miniFatSector) {
    const std::size_t numbersInSector = SectorSize() / 4;
    const std::size_t dataSectors = fat.size();
    std::size_t fatCount = 1;
    std::size_t difatCount = 0;
    while (fatCount * numbersInSector < dataSectors + fatCount + difatCount) {
        ++fatCount;
        difatCount = fatCount > FatsInHeader
                         ? (fatCount - FatsInHeader + numbersInSector - 2) / (numbersInSector - 1)
                         : 0;
    }
    fat.insert(fat.end(), fatCount, FatSector);
    fat.insert(fat.end(), difatCount, DifatSector);
    fat.resize(fatCount * numbersInSector, FreeSector);
    std::vector<std::uint32_t> places;
    for (std::size_t i = 0; i < fatCount; ++i) {
        places.push_back(static_cast<std::uint32_t>(dataSectors + i));
    }
    const auto firstDifat = static_cast<std::uint32_t>(dataSectors + fatCount);
    std::vector<std::uint32_t> difat;
    for (std::size_t i = FatsInHeader; i < fatCount; ++i) {
        difat.push_back(places[i]);
        if (difat.size() % numbersInSector == numbersInSector - 1) {
            difat.push_back(static_cast<std::uint32_t>(firstDifat + (difat.size() + 1) / numbersInSector));
        }
    }
    difat.resize(difatCount * numbersInSector, FreeSector);
    places.resize(FatsInHeader, FreeSector);

    ByteBuilder file;
    file.Text("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1").Zeros(16).U16(0x3E).U16(shift > 9 ? 4 : 3).U16(0xFFFE);
    file.U16(shift).U16(6).Zeros(10).U32(static_cast<std::uint32_t>(fatCount)).U32(directorySector).U32(0);
    file.U32(MiniStreamCutoff).U32(miniFatSector).U32(miniFatSector == EndOfChain ? 0 : 1);
    file.U32(difatCount > 0 ? firstDifat : EndOfChain).U32(static_cast<std::uint32_t>(difatCount));
    file.Text(Numbers(places)).PadTo(SectorSize());
    fatOffset = SectorSize() + sectors.size();
    return file.Bytes() + sectors + Numbers(fat) + Numbers(difat);
}

std::string CompoundBuilder::Build() {
    sectors.clear();
    fat.clear();
    std::vector<std::uint32_t> miniFat;
    const std::string miniStream = MiniStream(miniFat);
    for (Entry& entry : entries) {
        if (entry.type == 2 && entry.bytes.size() >= MiniStreamCutoff) {
            entry.firstSector = AddChain(entry.bytes);
        }
    }
    const std::uint32_t miniStreamSector = AddChain(miniStream);
    miniFatOffset = SectorSize() + sectors.size();
    const std::uint32_t miniFatSector = AddChain(Numbers(miniFat));
    directoryOffset = SectorSize() + sectors.size();
    const std::uint32_t directorySector = AddChain(Directory(miniStreamSector, miniStream.size()));
    return FinishFile(directorySector, miniFatSector);
}
