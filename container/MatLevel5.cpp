#include "container/MatLevel5.h"

#include <algorithm>

#include "container/MatNumber.h"

namespace {

// A tag: type and size, or both in the first word's halves with up to four bytes of content right behind it.
constexpr unsigned int SmallAlignment = 4;
constexpr std::uint32_t MaxSmallSize = 4;

constexpr std::uint32_t ClassMask = 0xff;
constexpr std::uint32_t FlagsSize = 8;
// MATLAB itself knows no arrays of more dimensions than a few.
constexpr std::uint32_t MaxDimensions = 64;
// Names are of 63 characters in MATLAB; objects' classes may be longer.
constexpr std::uint32_t MaxNameSize = 4096;

constexpr std::int32_t MaxFieldNameLength = 4096;
constexpr std::uint32_t MaxFieldNamesSize = 1 << 20;

}  // namespace

bool Matlab5Reader::ReadUInt32(std::uint32_t& value) {
    std::uint8_t bytes[sizeof value];
    if (stream.Read(bytes, sizeof bytes) < sizeof bytes) {
        return false;
    }
    value = DecodeMatNumber<std::uint32_t>(bytes, swap);
    return true;
}

bool Matlab5Reader::ReadTag(MatTag& tag) {
    std::uint32_t word = 0;
    if (!ReadUInt32(word)) {
        return false;
    }
    tag = MatTag();
    tag.type = word;
    if (word >> 16 == 0) {
        return ReadUInt32(tag.size);
    }
    tag.type = word & 0xffff;
    tag.alignment = SmallAlignment;
    if (rules == Rules::Classic) {
        // The half that holds the type: a short name is then as long as its type's code, 1, and the alignment
        // behind it still finds the next tag.
        tag.size = tag.type;
        return true;
    }
    tag.size = word >> 16;
    return tag.size <= MaxSmallSize;
}

bool Matlab5Reader::ReadFlags(MatFlags& flags) {
    MatTag tag;
    if (!ReadTag(tag) || !ReadUInt32(flags.flags) || !ReadUInt32(flags.maxEntries)) {
        return false;
    }
    flags.tagSize = tag.size;
    if (rules == Rules::AsWritten && (tag.size < FlagsSize || !stream.Skip(tag.size - FlagsSize))) {
        return false;
    }
    stream.Align(tag.alignment);
    return true;
}

bool Matlab5Reader::ReadDimensions(std::vector<std::uint64_t>& dimensions) {
    MatTag tag;
    if (!ReadTag(tag)) {
        return false;
    }
    const std::uint32_t count = rules == Rules::Classic ? 2 : tag.size / sizeof(std::uint32_t);
    if (count < 2 || count > MaxDimensions) {
        return false;
    }
    dimensions.assign(count, 0);
    for (std::uint64_t& dimension : dimensions) {
        std::uint32_t size = 0;
        if (!ReadUInt32(size)) {
            return false;
        }
        dimension = size;
    }
    stream.Align(tag.alignment);
    return true;
}

bool Matlab5Reader::ReadName(std::string& name) {
    MatTag tag;
    if (!ReadTag(tag) || (rules == Rules::AsWritten && tag.size > MaxNameSize) ||
        !stream.ReadAll(buffer, tag.size)) {
        return false;
    }
    name.assign(buffer.begin(), buffer.end());
    stream.Align(tag.alignment);
    return true;
}

bool Matlab5Reader::ReadIntegers(std::vector<std::int32_t>& integers) {
    MatTag tag;
    if (!ReadTag(tag) || !stream.ReadAll(buffer, tag.size / sizeof(std::int32_t) * sizeof(std::int32_t))) {
        return false;
    }
    integers.resize(buffer.size() / sizeof(std::int32_t));
    for (std::size_t i = 0; i < integers.size(); ++i) {
        integers[i] = DecodeMatNumber<std::int32_t>(buffer.data() + i * sizeof(std::int32_t), swap);
    }
    stream.Align(tag.alignment);
    return true;
}

// The names of the fields stand in one element, each as long as the longest may be.
bool Matlab5Reader::ReadFields(MatArray& array) {
    std::vector<std::int32_t> length;
    MatTag tag;
    if (!ReadIntegers(length) || length.size() != 1 || length[0] < 1 || length[0] > MaxFieldNameLength ||
        !ReadTag(tag) || tag.size > MaxFieldNamesSize || !stream.ReadAll(buffer, tag.size)) {
        return false;
    }
    const auto size = static_cast<std::size_t>(length[0]);
    for (std::size_t at = 0; at + size <= buffer.size(); at += size) {
        const auto first = buffer.begin() + static_cast<std::ptrdiff_t>(at);
        const auto last = std::find(first, first + length[0], std::uint8_t{0});
        array.fields.emplace_back(first, last);
    }
    stream.Align(tag.alignment);
    return true;
}

bool Matlab5Reader::ReadHead(MatArray& array) {
    MatFlags flags;
    if (!ReadFlags(flags)) {
        return false;
    }
    array.type = static_cast<std::uint8_t>(flags.flags & ClassMask);
    array.isComplex = (flags.flags & MatFlags::Complex) != 0;
    array.isLogical = (flags.flags & MatFlags::Logical) != 0;
    if (array.type == MatArray::Opaque) {
        // No dimensions, but the kind of its system and its class.
        std::string system;
        array.dimensions = {1, 1};
        array.problem = "can't be read";
        return ReadName(array.name) && ReadName(system) && ReadName(array.className);
    }
    if (!ReadDimensions(array.dimensions) || !ReadName(array.name)) {
        return false;
    }
    if (array.type < MatArray::Cell || array.type >= MatArray::Function) {
        array.problem = "can't be read";
    } else if (array.type == MatArray::Object && !ReadName(array.className)) {
        return false;
    }
    if (array.HasFields() && !ReadFields(array)) {
        return false;
    }
    array.position = stream.Tell();
    return true;
}
