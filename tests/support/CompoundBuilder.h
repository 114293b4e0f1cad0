#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/**
 * Builds a compound file in memory: header, directory, mini stream, the streams, and at the end the FAT. The
 * entries hang at the root as a chain of right siblings, so that the order in which they were added is the
 * order of the tree; LinkLeft turns it round.
 */
class CompoundBuilder {
public:
    explicit CompoundBuilder(unsigned int sectorShift = 9) : shift(sectorShift) {}

    CompoundBuilder& Stream(std::string_view name, std::string_view bytes);
    CompoundBuilder& Storage(std::string_view name);
    CompoundBuilder& LinkLeft();

    std::string Build();

    /** After Build, for damage: where things lie in the file. Entry 0 is the root. */
    std::size_t DirectoryEntryOffset(std::size_t entry) const { return directoryOffset + entry * 128; }
    std::size_t FatEntryOffset(std::size_t sector) const { return fatOffset + sector * 4; }
    std::size_t MiniFatEntryOffset(std::size_t sector) const { return miniFatOffset + sector * 4; }
    std::size_t FirstSectorOf(std::size_t entry) const { return entries[entry].firstSector; }

    static constexpr std::size_t SectorShiftOffset = 30;
    static constexpr std::size_t FatCountOffset = 44;
    static constexpr std::size_t DirectorySectorOffset = 48;
    static constexpr std::size_t DifatSectorOffset = 68;
    static constexpr std::size_t LeftOffset = 68;
    static constexpr std::size_t RightOffset = 72;
    static constexpr std::size_t NameLengthOffset = 64;
    static constexpr std::size_t SizeOffset = 120;

private:
    struct Entry {
        std::string name;
        std::uint8_t type;
        std::string bytes;
        std::uint32_t firstSector = 0xFFFFFFFE;
    };

    std::size_t SectorSize() const { return std::size_t{1} << shift; }
    std::uint32_t AddChain(std::string bytes);
    std::string MiniStream(std::vector<std::uint32_t>& miniFat);
    std::string Directory(std::uint32_t miniStreamSector, std::size_t miniStreamSize) const;
    std::string FinishFile(std::uint32_t directorySector, std::uint32_t miniFatSector);

    unsigned int shift;
    bool linkLeft = false;
    std::vector<Entry> entries{{"Root Entry", 5, {}}};
    std::string sectors;
    std::vector<std::uint32_t> fat;
    std::size_t directoryOffset = 0;
    std::size_t fatOffset = 0;
    std::size_t miniFatOffset = 0;
};
