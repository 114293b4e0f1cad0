#include "archive/CompoundFile.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>

#include "base/ByteCursor.h"
#include "base/FileHandle.h"
#include "base/Unicode.h"

namespace {

// Of a stream, once they are read.
constexpr std::uint64_t BytesToLetGo = std::uint64_t{4} << 20;

constexpr std::string_view Signature = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";

// Header.
constexpr std::size_t HeaderSize = 512;
constexpr std::size_t MajorVersionOffset = 26;
constexpr std::size_t SectorShiftOffset = 30;
constexpr std::size_t FatCountOffset = 44;
constexpr std::size_t DifatOffset = 68;
constexpr std::size_t FatListOffset = 76;
constexpr std::uint32_t FatsInHeader = 109;
// The standard knows sectors of 512 and 4096 bytes and mini sectors of 64; what lies around that is read
// too, as long as a directory entry fits into a sector and a mini sector doesn't cross one.
constexpr unsigned int MinSectorShift = 7;
constexpr unsigned int MaxSectorShift = 16;
constexpr unsigned int MinMiniSectorShift = 4;
// Below this version the upper half of a stream's size is noise.
constexpr unsigned int VersionOfWideSizes = 4;

// Sector numbers from here on are marks: free, end of chain, part of the FAT.
constexpr std::uint32_t FirstMark = 0xFFFFFFFA;
constexpr std::uint32_t EndOfChain = 0xFFFFFFFE;
constexpr std::size_t SectorNumberSize = 4;

// Directory.
constexpr std::size_t DirectoryEntrySize = 128;
constexpr std::size_t NameFieldSize = 64;
constexpr std::size_t LeftOffset = 68;
constexpr std::size_t FirstSectorOffset = 116;
constexpr std::uint8_t TypeStorage = 1;
constexpr std::uint8_t TypeStream = 2;

std::string DecodeName(std::span<const std::uint8_t> field, std::size_t sizeWithNul) {
    const std::size_t size = std::clamp<std::size_t>(sizeWithNul, 2, field.size() + 2) - 2;
    const std::string name = Utf16ToUtf8(field.first(size));
    return name.substr(0, name.find('\0'));
}

}  // namespace

struct CompoundFile::DirectoryEntry {
    std::string name;
    std::uint8_t type = 0;
    std::uint32_t left = 0;
    std::uint32_t right = 0;
    std::uint32_t child = 0;
    std::uint32_t firstSector = 0;
    std::uint64_t size = 0;
};

bool CompoundFile::IsCompoundFile(const char* path) {
    const std::string head = ReadFileHead(path, HeaderSize);
    return head.size() == HeaderSize && head.starts_with(Signature);
}

CompoundFile::CompoundFile(const char* path) : file(path) {
    open = file.IsOpen() && ReadHeader();
    if (!open) {
        Close();
    }
}

void CompoundFile::Close() {
    *this = CompoundFile();
}

bool CompoundFile::ReadHeader() {
    ByteCursor header(file.GetBytes());
    if (!header.Has(HeaderSize) || header.ReadText(Signature.size()) != Signature) {
        return false;
    }
    header.Seek(MajorVersionOffset);
    hasWideSizes = header.ReadU16() >= VersionOfWideSizes;
    header.Seek(SectorShiftOffset);
    sectorShift = header.ReadU16();
    miniSectorShift = header.ReadU16();
    if (sectorShift < MinSectorShift || sectorShift > MaxSectorShift ||
        miniSectorShift < MinMiniSectorShift || miniSectorShift > sectorShift) {
        return false;
    }
    // The header takes the place of a sector, so that sector 0 lies at one sector's size.
    const std::uint64_t size = file.GetBytes().size();
    const std::uint64_t sectors = (size + (1U << sectorShift) - 1) >> sectorShift;
    sectorCount = static_cast<std::uint32_t>(std::min<std::uint64_t>(sectors - 1, FirstMark));

    header.Seek(FatCountOffset);
    const std::uint32_t fatCount = header.ReadU32();
    const std::uint32_t directorySector = header.ReadU32();
    header.Skip(4);
    miniStreamCutoff = header.ReadU32();
    const std::uint32_t miniFatSector = header.ReadU32();
    header.Seek(DifatOffset);
    ReadFatSectors(fatCount, header.ReadU32());
    miniFat = FollowChain(miniFatSector, size);
    directory = FollowChain(directorySector, size);
    DirectoryEntry root;
    if (!ReadDirectoryEntry(0, root)) {
        return false;
    }
    miniStream = FollowChain(root.firstSector, root.size);
    ListTree(root.child);
    return true;
}

// Where the FAT lies: the header lists its first sectors, and a chain of sectors the others, each with the
// number of the next at its end. No more are taken than the file's sectors need, which also ends a loop.
void CompoundFile::ReadFatSectors(std::uint32_t count, std::uint32_t difatSector) {
    const std::uint32_t numbersInSector = (1U << sectorShift) / SectorNumberSize;
    const std::size_t wanted = std::min<std::size_t>(count, sectorCount / numbersInSector + 1);
    ByteCursor cursor(file.GetBytes());
    cursor.Seek(FatListOffset);
    while (fatSectors.size() < std::min<std::size_t>(wanted, FatsInHeader)) {
        fatSectors.push_back(cursor.ReadU32());
    }
    while (fatSectors.size() < wanted && difatSector < sectorCount) {
        cursor.Seek((std::uint64_t{difatSector} + 1) << sectorShift);
        for (std::uint32_t i = 1; i < numbersInSector; ++i) {
            fatSectors.push_back(cursor.ReadU32());
        }
        difatSector = cursor.ReadU32();
        if (cursor.HasFailed()) {
            return;
        }
    }
}

std::uint32_t CompoundFile::FatEntry(std::uint32_t sector) const {
    const unsigned int numbersShift = sectorShift - 2;
    const std::size_t place = sector >> numbersShift;
    if (place >= fatSectors.size() || fatSectors[place] >= sectorCount) {
        return EndOfChain;
    }
    ByteCursor cursor(file.GetBytes());
    cursor.Seek(((std::uint64_t{fatSectors[place]} + 1) << sectorShift) +
                (sector & ((1U << numbersShift) - 1)) * SectorNumberSize);
    const std::uint32_t next = cursor.ReadU32();
    return cursor.HasFailed() ? EndOfChain : next;
}

std::uint32_t CompoundFile::MiniFatEntry(std::uint32_t sector) const {
    std::uint8_t raw[SectorNumberSize];
    if (!ReadChainBytes(miniFat, std::uint64_t{sector} * SectorNumberSize, raw, sizeof raw)) {
        return EndOfChain;
    }
    return ByteCursor(raw).ReadU32();
}

void CompoundFile::Chain::Append(std::uint64_t fileOffset, std::uint64_t count) {
    if (!runs.empty() && runs.back().fileOffset + runs.back().size == fileOffset) {
        runs.back().size += count;
    } else {
        runs.push_back({size, fileOffset, count});
    }
    size += count;
}

std::size_t CompoundFile::Chain::FindRun(std::uint64_t offset) const {
    const auto next =
        std::upper_bound(runs.begin(), runs.end(), offset,
                         [](std::uint64_t place, const Run& run) { return place < run.streamOffset; });
    return static_cast<std::size_t>(next - runs.begin()) - 1;
}

CompoundFile::Chain CompoundFile::FollowChain(std::uint32_t firstSector, std::uint64_t size) const {
    const std::uint64_t sectorSize = std::uint64_t{1} << sectorShift;
    const std::uint64_t fileSize = file.GetBytes().size();
    std::vector<bool> met(sectorCount);
    Chain chain;
    std::uint32_t sector = firstSector;
    while (chain.size < size && sector < sectorCount && !met[sector]) {
        met[sector] = true;
        const std::uint64_t offset = (std::uint64_t{sector} + 1) << sectorShift;
        const std::uint64_t here = std::min({sectorSize, fileSize - offset, size - chain.size});
        chain.Append(offset, here);
        if (here < sectorSize) {
            break;
        }
        sector = FatEntry(sector);
    }
    return chain;
}

// The same among the mini sectors, which lie in a stream of their own.
CompoundFile::Chain CompoundFile::FollowMiniChain(std::uint32_t firstSector, std::uint64_t size) const {
    const std::uint64_t sectorSize = std::uint64_t{1} << miniSectorShift;
    std::vector<bool> met(static_cast<std::size_t>((miniStream.size + sectorSize - 1) >> miniSectorShift));
    Chain chain;
    std::uint32_t sector = firstSector;
    while (chain.size < size && sector < met.size() && !met[sector]) {
        met[sector] = true;
        const std::uint64_t offset = std::uint64_t{sector} << miniSectorShift;
        const Run& run = miniStream.runs[miniStream.FindRun(offset)];
        const std::uint64_t offsetInRun = offset - run.streamOffset;
        const std::uint64_t here = std::min({sectorSize, run.size - offsetInRun, size - chain.size});
        chain.Append(run.fileOffset + offsetInRun, here);
        if (here < sectorSize) {
            break;
        }
        sector = MiniFatEntry(sector);
    }
    return chain;
}

bool CompoundFile::ReadChainBytes(const Chain& chain, std::uint64_t offset, std::uint8_t* buffer,
                                  std::size_t count) const {
    if (offset > chain.size || count > chain.size - offset) {
        return false;
    }
    for (std::size_t i = chain.FindRun(offset); count > 0; ++i) {
        const Run& run = chain.runs[i];
        const std::uint64_t offsetInRun = offset - run.streamOffset;
        const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(count, run.size - offsetInRun));
        std::memcpy(buffer, file.GetBytes().data() + run.fileOffset + offsetInRun, part);
        buffer += part;
        offset += part;
        count -= part;
    }
    return true;
}

bool CompoundFile::ReadDirectoryEntry(std::uint32_t number, DirectoryEntry& entry) const {
    std::uint8_t raw[DirectoryEntrySize];
    if (!ReadChainBytes(directory, std::uint64_t{number} * DirectoryEntrySize, raw, sizeof raw)) {
        return false;
    }
    ByteCursor cursor(raw);
    const auto nameField = cursor.Take(NameFieldSize);
    entry.name = DecodeName(nameField, cursor.ReadU16());
    entry.type = cursor.ReadU8();
    cursor.Seek(LeftOffset);
    entry.left = cursor.ReadU32();
    entry.right = cursor.ReadU32();
    entry.child = cursor.ReadU32();
    cursor.Seek(FirstSectorOffset);
    entry.firstSector = cursor.ReadU32();
    entry.size = hasWideSizes ? cursor.ReadU64() : cursor.ReadU32();
    return true;
}

// Left, the entry itself, right: the order in which the tree is meant to be walked. A damaged tree may be
// as deep as the directory is long, hence no recursion.
void CompoundFile::ListTree(std::uint32_t topEntry) {
    std::vector<bool> met(static_cast<std::size_t>(directory.size / DirectoryEntrySize));
    std::vector<std::uint32_t> waiting;
    std::uint32_t number = topEntry;
    DirectoryEntry entry;
    while (true) {
        while (number < met.size() && !met[number] && ReadDirectoryEntry(number, entry)) {
            met[number] = true;
            waiting.push_back(number);
            number = entry.left;
        }
        if (waiting.empty()) {
            return;
        }
        ReadDirectoryEntry(waiting.back(), entry);
        waiting.pop_back();
        if (entry.type == TypeStream || entry.type == TypeStorage) {
            entries.push_back({entry.name, entry.type == TypeStream, entry.firstSector, entry.size});
        }
        number = entry.right;
    }
}

std::unique_ptr<CompoundStream> CompoundFile::OpenStream(const Entry& entry) const {
    if (!entry.isStream) {
        return nullptr;
    }
    Chain chain = entry.size < miniStreamCutoff ? FollowMiniChain(entry.firstSector, entry.size)
                                                : FollowChain(entry.firstSector, entry.size);
    return std::unique_ptr<CompoundStream>(new CompoundStream(*this, std::move(chain), entry.size));
}

bool CompoundStream::Seek(std::uint64_t offset) {
    if (offset > size) {
        return false;
    }
    position = offset;
    if (position < chain.size) {
        run = chain.FindRun(position);
    }
    return true;
}

bool CompoundStream::Read(char* buffer, std::size_t count) {
    if (position > chain.size || count > chain.size - position) {
        return false;
    }
    const std::uint8_t* const bytes = file->file.GetBytes().data();
    while (count > 0) {
        const CompoundFile::Run& here = chain.runs[run];
        const std::uint64_t offsetInRun = position - here.streamOffset;
        const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(count, here.size - offsetInRun));
        std::memcpy(buffer, bytes + here.fileOffset + offsetInRun, part);
        buffer += part;
        position += part;
        count -= part;
        run += part == here.size - offsetInRun ? 1 : 0;
        if (position >= firstKept + BytesToLetGo) {
            LetGo(here);
        }
    }
    return true;
}

// Pages of the file count as memory of the process while they are looked at. Those of this run that were
// read.
void CompoundStream::LetGo(const CompoundFile::Run& here) {
    const std::uint64_t begin = here.fileOffset + std::max(firstKept, here.streamOffset) - here.streamOffset;
    file->file.LetGo(static_cast<std::size_t>(begin),
                     static_cast<std::size_t>(here.fileOffset + position - here.streamOffset));
    firstKept = position;
}

std::string_view CompoundStream::GetAhead() const {
    if (position >= chain.size) {
        return {};
    }
    const CompoundFile::Run& here = chain.runs[run];
    const std::uint64_t offsetInRun = position - here.streamOffset;
    const std::uint64_t inRun = std::min(here.size - offsetInRun, chain.size - position);
    const auto* const bytes = reinterpret_cast<const char*>(file->file.GetBytes().data());
    return {bytes + here.fileOffset + offsetInRun, static_cast<std::size_t>(inRun)};
}
