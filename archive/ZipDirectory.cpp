#include "archive/ZipDirectory.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "base/ByteCursor.h"

namespace {

// The end record: its signature, its fixed part, the longest comment behind it, and the fields that tell
// where the directory lies.
constexpr std::string_view EndSignature("PK\5\6", 4);
constexpr std::size_t EndSize = 22;
constexpr std::size_t LongestComment = 65535;
constexpr std::size_t EntryCountOffset = 10;
constexpr std::size_t DirectorySizeOffset = 12;

// The record in front of it that leads to the end record of 64 bits, and the fields of that.
constexpr std::string_view Locator64Signature("PK\6\7", 4);
constexpr std::size_t Locator64Size = 20;
constexpr std::size_t Locator64Target = 8;
constexpr std::string_view End64Signature("PK\6\6", 4);
constexpr std::size_t End64EntryCount = 32;
constexpr std::size_t End64DirectoryOffset = 48;

// An entry of the directory, and what stands where a number needs 64 bits.
constexpr std::string_view EntrySignature("PK\1\2", 4);
constexpr std::size_t EntryPackedSize = 20;
constexpr std::size_t EntryNameLength = 28;
constexpr std::size_t EntryLocalOffset = 42;
constexpr std::size_t EntryFixedSize = 46;
constexpr std::uint32_t In64Bits = 0xffffffff;
constexpr std::uint16_t Extra64 = 1;

// The header in front of an entry's packed bytes.
constexpr std::string_view LocalSignature("PK\3\4", 4);
constexpr std::size_t LocalNameLength = 26;
constexpr std::size_t LocalFixedSize = 30;

struct Directory {
    std::uint64_t offset = 0;
    std::uint64_t count = 0;
};

/** Where an entry lies in the archive. */
struct Extent {
    std::uint64_t begin;
    std::uint64_t end;
    std::span<const std::uint8_t> packed; /**< none where they aren't all there */
};

std::string_view AsText(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::optional<std::size_t> FindEndRecord(std::span<const std::uint8_t> bytes) {
    const std::size_t tail = bytes.size() - std::min(bytes.size(), EndSize + LongestComment);
    const std::size_t found = AsText(bytes).substr(tail).rfind(EndSignature);
    return found == std::string_view::npos ? std::nullopt : std::optional(tail + found);
}

std::optional<Directory> FindDirectory64(std::span<const std::uint8_t> bytes, std::size_t endRecord) {
    ByteCursor cursor(bytes);
    if (endRecord < Locator64Size || !cursor.Seek(endRecord - Locator64Size) ||
        cursor.ReadText(Locator64Signature.size()) != Locator64Signature) {
        return std::nullopt;
    }
    cursor.Seek(endRecord - Locator64Size + Locator64Target);
    const std::uint64_t record = cursor.ReadU64();
    if (!cursor.Seek(record) || cursor.ReadText(End64Signature.size()) != End64Signature ||
        !cursor.Has(End64DirectoryOffset + sizeof(std::uint64_t) - End64Signature.size())) {
        return std::nullopt;
    }
    Directory directory;
    cursor.Seek(record + End64EntryCount);
    directory.count = cursor.ReadU64();
    cursor.Seek(record + End64DirectoryOffset);
    directory.offset = cursor.ReadU64();
    return directory;
}

std::optional<Directory> FindDirectory(std::span<const std::uint8_t> bytes) {
    const auto endRecord = FindEndRecord(bytes);
    if (!endRecord) {
        return std::nullopt;
    }
    if (const auto directory = FindDirectory64(bytes, *endRecord)) {
        return directory;
    }
    ByteCursor cursor(bytes);
    cursor.Seek(*endRecord + EntryCountOffset);
    Directory directory;
    directory.count = cursor.ReadU16();
    cursor.Skip(sizeof(std::uint32_t));
    directory.offset = cursor.ReadU32();
    return cursor.HasFailed() ? std::nullopt : std::optional(directory);
}

/** The numbers of an entry that moved to its extra field, in the order in which they stand there. */
void Take64BitNumbers(std::span<const std::uint8_t> extra, std::uint32_t size, std::uint64_t& packedSize,
                      std::uint64_t& localOffset) {
    ByteCursor cursor(extra);
    while (cursor.Has(4)) {
        const std::uint16_t id = cursor.ReadU16();
        ByteCursor field(cursor.Take(cursor.ReadU16()));
        if (id != Extra64) {
            continue;
        }
        if (size == In64Bits) {
            field.Skip(sizeof(std::uint64_t));
        }
        if (packedSize == In64Bits) {
            packedSize = field.ReadU64();
        }
        if (localOffset == In64Bits) {
            localOffset = field.ReadU64();
        }
        return;
    }
}

/** Of the directory's next entry; nothing where there is none. */
std::optional<Extent> ReadExtent(ByteCursor& cursor, std::span<const std::uint8_t> archive) {
    const std::size_t start = cursor.Tell();
    if (!cursor.Has(EntryFixedSize) || cursor.ReadText(EntrySignature.size()) != EntrySignature) {
        return std::nullopt;
    }
    cursor.Seek(start + EntryPackedSize);
    std::uint64_t packedSize = cursor.ReadU32();
    const std::uint32_t size = cursor.ReadU32();
    cursor.Seek(start + EntryNameLength);
    const std::uint16_t nameLength = cursor.ReadU16();
    const std::uint16_t extraLength = cursor.ReadU16();
    const std::uint16_t commentLength = cursor.ReadU16();
    cursor.Seek(start + EntryLocalOffset);
    std::uint64_t localOffset = cursor.ReadU32();
    cursor.Skip(nameLength);
    Take64BitNumbers(cursor.Take(extraLength), size, packedSize, localOffset);
    cursor.Skip(commentLength);

    ByteCursor local(archive);
    std::uint64_t headerSize = LocalFixedSize;
    bool hasHeader = false;
    if (local.Seek(localOffset) && local.ReadText(LocalSignature.size()) == LocalSignature &&
        local.Seek(localOffset + LocalNameLength)) {
        headerSize += local.ReadU16();
        headerSize += local.ReadU16();
        hasHeader = !local.HasFailed();
    }
    const std::uint64_t room = archive.size() - std::min<std::uint64_t>(localOffset, archive.size());
    Extent extent{localOffset, localOffset + std::min(room, headerSize + std::min(packedSize, room)), {}};
    if (hasHeader && headerSize <= room && packedSize <= room - headerSize) {
        extent.packed = archive.subspan(static_cast<std::size_t>(localOffset + headerSize),
                                        static_cast<std::size_t>(packedSize));
    }
    return extent;
}

std::vector<Extent> ListExtents(std::span<const std::uint8_t> archive) {
    std::vector<Extent> extents;
    const auto directory = FindDirectory(archive);
    ByteCursor cursor(archive);
    if (!directory || !cursor.Seek(directory->offset)) {
        return extents;
    }
    while (extents.size() < directory->count) {
        const auto extent = ReadExtent(cursor, archive);
        if (!extent) {
            break;
        }
        extents.push_back(*extent);
    }
    return extents;
}

}  // namespace

std::size_t CountLeadingBytes(std::span<const std::uint8_t> bytes) {
    const auto endRecord = FindEndRecord(bytes);
    if (!endRecord) {
        return 0;
    }
    ByteCursor cursor(bytes);
    cursor.Seek(*endRecord + DirectorySizeOffset);
    const std::uint64_t directorySize = cursor.ReadU32();
    const std::uint64_t directoryOffset = cursor.ReadU32();
    const std::uint64_t length = directorySize + directoryOffset;
    return length < *endRecord ? static_cast<std::size_t>(*endRecord - length) : 0;
}

std::vector<std::span<const std::uint8_t>> ListPackedBytes(std::span<const std::uint8_t> archive) {
    std::vector<std::span<const std::uint8_t>> packed;
    for (const Extent& extent : ListExtents(archive)) {
        packed.push_back(extent.packed);
    }
    return packed;
}

bool HasOverlappingEntries(std::span<const std::uint8_t> archive) {
    std::vector<Extent> extents = ListExtents(archive);
    std::sort(extents.begin(), extents.end(),
              [](const Extent& left, const Extent& right) { return left.begin < right.begin; });
    const auto overlap =
        std::adjacent_find(extents.begin(), extents.end(),
                           [](const Extent& left, const Extent& right) { return right.begin < left.end; });
    return overlap != extents.end();
}
