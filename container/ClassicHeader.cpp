#include "container/ClassicHeader.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "base/ByteCursor.h"

namespace {

constexpr std::string_view Magic = "CDF";
constexpr std::uint8_t ClassicVersion = 1;
constexpr std::uint8_t LargeOffsetVersion = 2;

// The tags of the three lists. A list that is absent has tag and count 0.
constexpr std::uint32_t DimensionTag = 10;
constexpr std::uint32_t VariableTag = 11;
constexpr std::uint32_t AttributeTag = 12;

// What an element takes at the least: that bounds how many of them a file can hold.
constexpr std::size_t SmallestDimension = 12;  // name of one character, length
constexpr std::size_t SmallestAttribute = 16;  // name of one character, type, count
constexpr std::size_t SmallestVariable = 32;   // name, number of dimensions, attributes, type, size, offset

// The library's own limits: it copies names into buffers and shapes into arrays of these sizes.
constexpr std::uint32_t LongestName = 256;
constexpr std::uint32_t MostDimensionsOfVariable = 1024;

constexpr std::uint64_t Alignment = 4;

std::uint64_t Align(std::uint64_t size) {
    return (size + Alignment - 1) / Alignment * Alignment;
}

// Bytes of one value by its type code: byte, char, short, int, float, double; 0 for a code that is none.
std::uint64_t SizeOfType(std::uint32_t type) {
    constexpr std::uint64_t Sizes[] = {0, 1, 1, 2, 4, 4, 8};
    return type < std::size(Sizes) ? Sizes[type] : 0;
}

// A variable along the record dimension: where its first record begins and how long each one is.
struct RecordVariable {
    std::uint64_t begin;
    std::uint64_t size;
};

/** Walks the header once, in the order of the file. Every step is false as soon as something is wrong. */
class HeaderWalk {
public:
    explicit HeaderWalk(std::span<const std::uint8_t> file) : cursor(file) {}

    bool IsSound() {
        return TakeMagic() && TakeDimensions() && TakeAttributes() && TakeVariables() && HoldsRecords();
    }

private:
    bool TakeMagic() {
        const std::string_view magic = cursor.ReadText(Magic.size());
        const std::uint8_t version = cursor.ReadU8();
        hasLargeOffsets = version == LargeOffsetVersion;
        recordCount = cursor.ReadBigU32();
        return !cursor.HasFailed() && magic == Magic && (version == ClassicVersion || hasLargeOffsets);
    }

    // The head of a list; `count` is believed only as far as the rest of the file can hold.
    bool TakeList(std::uint32_t tag, std::size_t smallestElement, std::uint32_t& count) {
        const std::uint32_t found = cursor.ReadBigU32();
        count = cursor.ReadBigU32();
        if (cursor.HasFailed() || (found != tag && (found != 0 || count != 0))) {
            return false;
        }
        return cursor.Has(count, smallestElement);
    }

    bool TakeName() {
        const std::uint32_t length = cursor.ReadBigU32();
        return length >= 1 && length <= LongestName && cursor.Skip(Align(length));
    }

    bool TakeDimensions() {
        std::uint32_t count = 0;
        if (!TakeList(DimensionTag, SmallestDimension, count)) {
            return false;
        }
        dimensions.reserve(count);
        for (std::uint32_t i = 0; i < count; ++i) {
            if (!TakeName()) {
                return false;
            }
            dimensions.push_back(cursor.ReadBigU32());
        }
        return !cursor.HasFailed();
    }

    bool TakeAttributes() {
        std::uint32_t count = 0;
        if (!TakeList(AttributeTag, SmallestAttribute, count)) {
            return false;
        }
        for (std::uint32_t i = 0; i < count; ++i) {
            if (!TakeName()) {
                return false;
            }
            const std::uint64_t size = SizeOfType(cursor.ReadBigU32());
            const std::uint64_t values = cursor.ReadBigU32();
            if (size == 0 || !cursor.Skip(Align(values * size))) {
                return false;
            }
        }
        return true;
    }

    bool TakeVariables() {
        std::uint32_t count = 0;
        if (!TakeList(VariableTag, SmallestVariable, count)) {
            return false;
        }
        for (std::uint32_t i = 0; i < count; ++i) {
            if (!TakeVariable()) {
                return false;
            }
        }
        return true;
    }

    bool TakeVariable() {
        if (!TakeName()) {
            return false;
        }
        std::uint64_t values = 1;
        bool isRecord = false;
        if (!TakeShape(values, isRecord) || !TakeAttributes()) {
            return false;
        }
        const std::uint64_t size = SizeOfType(cursor.ReadBigU32());
        // The size that the header tells is passed over: the library reckons it from the shape, as is done
        // here.
        cursor.Skip(sizeof(std::uint32_t));
        const std::uint64_t begin = hasLargeOffsets ? cursor.ReadBigU64() : cursor.ReadBigU32();
        if (cursor.HasFailed() || size == 0) {
            return false;
        }
        if (isRecord) {
            records.push_back({begin, values * size});
            return true;
        }
        return begin <= cursor.GetSize() && values <= (cursor.GetSize() - begin) / size;
    }

    // The number of values, of one record where the first dimension is that of the records.
    bool TakeShape(std::uint64_t& values, bool& isRecord) {
        const std::uint32_t count = cursor.ReadBigU32();
        if (count > MostDimensionsOfVariable || !cursor.Has(count, sizeof(std::uint32_t))) {
            return false;
        }
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint32_t dimension = cursor.ReadBigU32();
            if (dimension >= dimensions.size()) {
                return false;
            }
            const std::uint64_t length = dimensions[dimension];
            if (length == 0 && i == 0) {
                isRecord = true;
            } else if (length == 0 || length > cursor.GetSize() / values) {
                return false;
            } else {
                values *= length;
            }
        }
        return true;
    }

    // A record holds one piece of each variable, aligned unless it is the only one.
    std::uint64_t SizeOfRecord() const {
        if (records.size() == 1) {
            return records.front().size;
        }
        std::uint64_t size = 0;
        for (const RecordVariable& variable : records) {
            size += Align(variable.size);
        }
        return size;
    }

    bool HoldsRecords() const {
        const std::uint64_t fileSize = cursor.GetSize();
        if (recordCount == 0) {
            return true;
        }
        // Without a variable the number of records is the length of a dimension only, but readers ask for it.
        if (records.empty()) {
            return recordCount <= fileSize;
        }
        // Records of no bytes, too, are counted no further than the file is long.
        const std::uint64_t recordSize = std::max<std::uint64_t>(SizeOfRecord(), 1);
        if (recordCount - 1 > fileSize / recordSize) {
            return false;
        }
        const std::uint64_t lastRecord = (recordCount - 1) * recordSize;
        for (const RecordVariable& variable : records) {
            if (variable.begin > fileSize || lastRecord + variable.size > fileSize - variable.begin) {
                return false;
            }
        }
        return true;
    }

    ByteCursor cursor;
    bool hasLargeOffsets = false;
    std::uint64_t recordCount = 0;
    std::vector<std::uint32_t> dimensions;  // their lengths; 0 is that of the records
    std::vector<RecordVariable> records;
};

}  // namespace

bool IsSoundClassicFile(std::span<const std::uint8_t> file) {
    return HeaderWalk(file).IsSound();
}
