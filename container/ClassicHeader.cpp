#include "container/ClassicHeader.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

#include "base/ByteCursor.h"

namespace {

constexpr std::string_view Magic = "CDF";
constexpr std::uint8_t ClassicVersion = 1;
constexpr std::uint8_t LargeOffsetVersion = 2;
constexpr std::uint8_t LargeCountVersion = 5;

// In place of the number of records: as many as the file has.
constexpr std::uint64_t StreamedRecords = 0xFFFFFFFF;
constexpr std::uint64_t StreamedRecords64 = 0xFFFFFFFFFFFFFFFF;

// The tags of the three lists. A list that is absent has tag and count 0.
constexpr std::uint32_t DimensionTag = 10;
constexpr std::uint32_t VariableTag = 11;
constexpr std::uint32_t AttributeTag = 12;

// What an element takes at the least: that bounds how many of them a file can hold.
constexpr std::size_t SmallestDimension = 12;  // name of one character, length
constexpr std::size_t SmallestAttribute = 16;  // name of one character, type, count
constexpr std::size_t SmallestVariable = 32;   // name, number of dimensions, attributes, type, size, offset

// The library's own limits: it copies names into buffers and shapes into arrays of these sizes.
constexpr std::uint64_t LongestName = 256;
constexpr std::uint64_t MostDimensionsOfVariable = 1024;

constexpr std::uint64_t Alignment = 4;

std::uint64_t Align(std::uint64_t size) {
    return (size + Alignment - 1) / Alignment * Alignment;
}

// A product that stops at the largest number instead of running over.
std::uint64_t Multiply(std::uint64_t left, std::uint64_t right) {
    constexpr std::uint64_t Largest = std::numeric_limits<std::uint64_t>::max() / 4;
    return right != 0 && left > Largest / right ? Largest : std::min(left * right, Largest);
}

/** Walks the header once, in the order of the file. Every step is false as soon as something is wrong. */
class HeaderWalk {
public:
    explicit HeaderWalk(std::span<const std::uint8_t> file) : cursor(file) {}

    bool Read(ClassicHeader& result) {
        if (!TakeMagic() || !TakeDimensions() || !TakeAttributes(header.attributes) || !TakeVariables()) {
            return false;
        }
        header.recordSize = SizeOfRecord();
        header.isBorneOut = HoldsFixed() && HoldsRecords();
        FitToFile();
        result = std::move(header);
        return true;
    }

    std::uint64_t Tell() const { return cursor.Tell(); }

private:
    bool HasLargeCounts() const { return header.version == LargeCountVersion; }

    // Counts and lengths: 32 bits, in CDF-5 64.
    std::uint64_t ReadCount() { return HasLargeCounts() ? cursor.ReadBigU64() : cursor.ReadBigU32(); }

    bool TakeMagic() {
        const std::string_view magic = cursor.ReadText(Magic.size());
        header.version = cursor.ReadU8();
        header.recordCount = ReadCount();
        isStreamed = header.recordCount == (HasLargeCounts() ? StreamedRecords64 : StreamedRecords);
        return !cursor.HasFailed() && magic == Magic &&
               (header.version == ClassicVersion || header.version == LargeOffsetVersion || HasLargeCounts());
    }

    // The head of a list; `count` is believed only as far as the rest of the file can hold.
    bool TakeList(std::uint32_t tag, std::size_t smallestElement, std::uint64_t& count) {
        const std::uint32_t found = cursor.ReadBigU32();
        count = ReadCount();
        if (cursor.HasFailed() || (found != tag && (found != 0 || count != 0))) {
            return false;
        }
        return cursor.Has(count, smallestElement);
    }

    bool TakeName(std::string_view& name) {
        const std::uint64_t length = ReadCount();
        if (length < 1 || length > LongestName) {
            return false;
        }
        name = cursor.ReadText(length);
        return cursor.Skip(Align(length) - length);
    }

    bool TakeDimensions() {
        std::uint64_t count = 0;
        if (!TakeList(DimensionTag, SmallestDimension, count)) {
            return false;
        }
        header.dimensions.resize(static_cast<std::size_t>(count));
        for (ClassicDimension& dimension : header.dimensions) {
            if (!TakeName(dimension.name)) {
                return false;
            }
            dimension.length = ReadCount();
            dimension.isRecord = dimension.length == 0;
        }
        return !cursor.HasFailed();
    }

    bool TakeAttributes(std::vector<ClassicAttribute>& attributes) {
        std::uint64_t count = 0;
        if (!TakeList(AttributeTag, SmallestAttribute, count)) {
            return false;
        }
        attributes.resize(static_cast<std::size_t>(count));
        return std::all_of(attributes.begin(), attributes.end(),
                           [this](ClassicAttribute& attribute) { return TakeAttribute(attribute); });
    }

    bool TakeAttribute(ClassicAttribute& attribute) {
        if (!TakeName(attribute.name)) {
            return false;
        }
        std::uint64_t size = 0;
        if (!TakeType(attribute.type, size)) {
            return false;
        }
        attribute.count = ReadCount();
        if (!cursor.Has(attribute.count, static_cast<std::size_t>(size))) {
            return false;
        }
        attribute.values = cursor.Take(attribute.count * size);
        return cursor.Skip(Align(attribute.values.size()) - attribute.values.size());
    }

    // The further types are those of CDF-5 alone.
    bool TakeType(ClassicType& type, std::uint64_t& size) {
        type = static_cast<ClassicType>(cursor.ReadBigU32());
        size = type > ClassicType::Double && !HasLargeCounts() ? 0 : SizeOfType(type);
        return size != 0;
    }

    bool TakeVariables() {
        std::uint64_t count = 0;
        if (!TakeList(VariableTag, SmallestVariable, count)) {
            return false;
        }
        header.variables.resize(static_cast<std::size_t>(count));
        return std::all_of(header.variables.begin(), header.variables.end(),
                           [this](ClassicVariable& variable) { return TakeVariable(variable); });
    }

    bool TakeVariable(ClassicVariable& variable) {
        std::uint64_t size = 0;
        if (!TakeName(variable.name) || !TakeShape(variable) || !TakeAttributes(variable.attributes) ||
            !TakeType(variable.type, size)) {
            return false;
        }
        // The size that the header tells is passed over: the library reckons it from the shape, as is done
        // here.
        ReadCount();
        variable.begin = header.version == ClassicVersion ? cursor.ReadBigU32() : cursor.ReadBigU64();
        return !cursor.HasFailed();
    }

    // The number of values, of one record where the first dimension is that of the records.
    bool TakeShape(ClassicVariable& variable) {
        const std::uint64_t count = ReadCount();
        if (count > MostDimensionsOfVariable || !cursor.Has(count, sizeof(std::uint32_t))) {
            return false;
        }
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::uint64_t dimension = ReadCount();
            if (dimension >= header.dimensions.size()) {
                return false;
            }
            const ClassicDimension& known = header.dimensions[static_cast<std::size_t>(dimension)];
            if (known.isRecord && i == 0) {
                variable.isRecord = true;
            } else if (known.isRecord) {
                return false;
            } else {
                variable.piece = Multiply(variable.piece, known.length);
            }
            variable.dimensions.push_back(static_cast<std::uint32_t>(dimension));
            variable.shape.push_back(known.length);
        }
        return true;
    }

    static std::uint64_t BytesOf(const ClassicVariable& variable) {
        return Multiply(variable.piece, SizeOfType(variable.type));
    }

    // How many values, or records, of `size` bytes and `distance` from each other, the file has.
    std::uint64_t CountFrom(std::uint64_t begin, std::uint64_t size, std::uint64_t distance) const {
        const std::uint64_t fileSize = cursor.GetSize();
        if (begin > fileSize || size > fileSize - begin) {
            return 0;
        }
        return distance == 0 ? fileSize : (fileSize - begin - size) / distance + 1;
    }

    // A record holds one piece of each variable, aligned unless it is the only one.
    std::uint64_t SizeOfRecord() const {
        std::uint64_t size = 0;
        std::uint64_t count = 0;
        std::uint64_t last = 0;
        for (const ClassicVariable& variable : header.variables) {
            if (variable.isRecord) {
                last = BytesOf(variable);
                size = Multiply(1, size + Align(last));
                ++count;
            }
        }
        return count == 1 ? last : size;
    }

    bool HoldsFixed() const {
        return std::all_of(
            header.variables.begin(), header.variables.end(), [this](const ClassicVariable& variable) {
                return variable.isRecord || CountFrom(variable.begin, BytesOf(variable), 1) > 0;
            });
    }

    bool HoldsRecords() const {
        const std::uint64_t count = header.recordCount;
        const bool hasVariables = std::any_of(header.variables.begin(), header.variables.end(),
                                              [](const ClassicVariable& item) { return item.isRecord; });
        // Without a variable the number of records is the length of a dimension only, but readers ask for it.
        // Records of no bytes, too, are counted no further than the file is long.
        if (count == 0 || !hasVariables) {
            return count <= cursor.GetSize();
        }
        const std::uint64_t distance = std::max<std::uint64_t>(header.recordSize, 1);
        return std::all_of(
            header.variables.begin(), header.variables.end(), [&](const ClassicVariable& variable) {
                return !variable.isRecord || count <= CountFrom(variable.begin, BytesOf(variable), distance);
            });
    }

    // Shortens the shapes to the values that are there.
    void FitToFile() {
        const std::uint64_t distance = std::max<std::uint64_t>(header.recordSize, 1);
        std::uint64_t most = 0;
        std::uint64_t least = StreamedRecords64;
        for (const ClassicVariable& variable : header.variables) {
            if (variable.isRecord) {
                const std::uint64_t count = CountFrom(variable.begin, BytesOf(variable), distance);
                most = std::max(most, count);
                least = std::min(least, count);
            }
        }
        header.recordCount = std::min(header.recordCount, isStreamed ? std::min(most, least) : most);
        for (ClassicDimension& dimension : header.dimensions) {
            dimension.length = dimension.isRecord ? header.recordCount : dimension.length;
        }
        for (ClassicVariable& variable : header.variables) {
            FitVariable(variable, distance);
        }
    }

    void FitVariable(ClassicVariable& variable, std::uint64_t distance) const {
        if (variable.isRecord) {
            const std::uint64_t count = CountFrom(variable.begin, BytesOf(variable), distance);
            variable.shape.front() = std::min(header.recordCount, count);
            variable.isCut = count < header.recordCount;
            return;
        }
        if (CountFrom(variable.begin, BytesOf(variable), 1) > 0) {
            return;
        }
        variable.isCut = true;
        if (!variable.shape.empty()) {
            // As many of the first dimension as are there whole.
            std::uint64_t size = SizeOfType(variable.type);
            for (std::size_t i = 1; i < variable.shape.size(); ++i) {
                size = Multiply(size, variable.shape[i]);
            }
            variable.shape.front() = std::min(
                variable.shape.front(), CountFrom(variable.begin, size, std::max<std::uint64_t>(size, 1)));
        }
    }

    ByteCursor cursor;
    ClassicHeader header;
    bool isStreamed = false;
};

}  // namespace

std::uint64_t SizeOfType(ClassicType type) {
    constexpr std::uint64_t Sizes[] = {0, 1, 1, 2, 4, 4, 8, 1, 2, 4, 8, 8};
    const auto code = static_cast<std::uint32_t>(type);
    return code < std::size(Sizes) ? Sizes[code] : 0;
}

std::optional<ClassicHeader> ReadClassicHeader(std::span<const std::uint8_t> file, std::uint64_t* brokenAt) {
    ClassicHeader header;
    HeaderWalk walk(file);
    if (walk.Read(header)) {
        return header;
    }
    if (brokenAt != nullptr) {
        *brokenAt = walk.Tell();
    }
    return std::nullopt;
}

bool IsSoundClassicFile(std::span<const std::uint8_t> file) {
    const auto header = ReadClassicHeader(file);
    return header && header->isBorneOut && header->version != LargeCountVersion;
}
