#include "container/ClassicFile.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "base/CodePage.h"
#include "base/NumberParser.h"
#include "base/Unicode.h"

namespace {

constexpr std::string_view HDF5Signature = "\x89HDF\r\n\x1a\n";

template <class Bits>
Bits ReadBig(const std::uint8_t* from) {
    Bits bits;
    std::memcpy(&bits, from, sizeof bits);
    if constexpr (std::endian::native == std::endian::little) {
        if constexpr (sizeof(Bits) == 2) {
            bits = __builtin_bswap16(bits);
        } else if constexpr (sizeof(Bits) == 4) {
            bits = __builtin_bswap32(bits);
        } else if constexpr (sizeof(Bits) == 8) {
            bits = __builtin_bswap64(bits);
        }
    }
    return bits;
}

// Values of one stored type, one after the other in the file.
template <class Stored, class Bits, class Value>
void Convert(const std::uint8_t* from, std::size_t count, Value* values) {
    for (std::size_t i = 0; i < count; ++i) {
        values[i] = static_cast<Value>(std::bit_cast<Stored>(ReadBig<Bits>(from + i * sizeof(Bits))));
    }
}

// By arithmetic: a signed byte is a character type, whose conversions are easily taken for a slip.
template <class Value>
void ConvertSignedBytes(const std::uint8_t* from, std::size_t count, Value* values) {
    constexpr int SignBit = 0x80;
    for (std::size_t i = 0; i < count; ++i) {
        values[i] = static_cast<Value>((from[i] ^ SignBit) - SignBit);
    }
}

template <class Value>
void Convert(ClassicType type, const std::uint8_t* from, std::size_t count, Value* values) {
    switch (type) {
        case ClassicType::Byte:
            ConvertSignedBytes(from, count, values);
            break;
        case ClassicType::Char:
        case ClassicType::UByte:
            Convert<std::uint8_t, std::uint8_t>(from, count, values);
            break;
        case ClassicType::Short:
            Convert<std::int16_t, std::uint16_t>(from, count, values);
            break;
        case ClassicType::UShort:
            Convert<std::uint16_t, std::uint16_t>(from, count, values);
            break;
        case ClassicType::Int:
            Convert<std::int32_t, std::uint32_t>(from, count, values);
            break;
        case ClassicType::UInt:
            Convert<std::uint32_t, std::uint32_t>(from, count, values);
            break;
        case ClassicType::Float:
            Convert<float, std::uint32_t>(from, count, values);
            break;
        case ClassicType::Double:
            Convert<double, std::uint64_t>(from, count, values);
            break;
        case ClassicType::Int64:
            Convert<std::int64_t, std::uint64_t>(from, count, values);
            break;
        case ClassicType::UInt64:
            Convert<std::uint64_t, std::uint64_t>(from, count, values);
            break;
    }
}

const ClassicAttribute* FindNamed(const std::vector<ClassicAttribute>& attributes, std::string_view name) {
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [name](const ClassicAttribute& item) { return item.name == name; });
    return found == attributes.end() ? nullptr : &*found;
}

}  // namespace

ClassicFile::ClassicFile(const char* path) : file(path) {
    if (auto read = ReadClassicHeader(file.GetBytes(), &brokenAt)) {
        header = std::move(*read);
        isOpen = true;
    }
    for (std::size_t i = 0; i < header.variables.size(); ++i) {
        places.emplace(header.variables[i].name, i);
    }
}

bool ClassicFile::IsHDF5() const {
    const auto bytes = file.GetBytes();
    return bytes.size() >= HDF5Signature.size() &&
           std::memcmp(bytes.data(), HDF5Signature.data(), HDF5Signature.size()) == 0;
}

const ClassicVariable* ClassicFile::FindVariable(std::string_view name) const {
    const auto found = places.find(name);
    return found == places.end() ? nullptr : &header.variables[found->second];
}

const ClassicAttribute* ClassicFile::FindAttribute(std::string_view name) const {
    return FindNamed(header.attributes, name);
}

const ClassicAttribute* ClassicFile::FindAttribute(const ClassicVariable& variable, std::string_view name) {
    return FindNamed(variable.attributes, name);
}

std::string ClassicFile::GetText(const ClassicAttribute* attribute) const {
    if (attribute == nullptr || attribute->type != ClassicType::Char) {
        return {};
    }
    return std::string(TrimSpace(Decode(*attribute)));
}

std::vector<double> ClassicFile::GetNumbers(const ClassicAttribute* attribute) {
    if (attribute == nullptr || attribute->type == ClassicType::Char) {
        return {};
    }
    std::vector<double> numbers(static_cast<std::size_t>(attribute->count));
    Convert(attribute->type, attribute->values.data(), numbers.size(), numbers.data());
    return numbers;
}

std::uint64_t ClassicFile::CountValues(const ClassicVariable& variable) {
    if (variable.shape.empty()) {
        return variable.isCut ? 0 : 1;
    }
    std::uint64_t count = 1;
    for (const std::uint64_t length : variable.shape) {
        count *= length;
    }
    return count;
}

const std::uint8_t* ClassicFile::Locate(const ClassicVariable& variable, std::uint64_t index) const {
    const std::uint64_t size = SizeOfType(variable.type);
    const std::uint64_t offset =
        variable.isRecord ? index / variable.piece * header.recordSize + index % variable.piece * size
                          : index * size;
    return file.GetBytes().data() + variable.begin + offset;
}

// Within a record the values of a variable stand together, and so do all of one that has no records, or is
// the only one that has.
template <class Value>
void ClassicFile::ReadAs(const ClassicVariable& variable, std::uint64_t first, std::size_t count,
                         Value* values) const {
    const bool isContiguous =
        !variable.isRecord || header.recordSize == variable.piece * SizeOfType(variable.type);
    while (count > 0) {
        const std::uint64_t left = isContiguous ? count : variable.piece - first % variable.piece;
        const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(count, left));
        Convert(variable.type, Locate(variable, first), part, values);
        first += part;
        values += part;
        count -= part;
    }
}

void ClassicFile::Read(const ClassicVariable& variable, std::uint64_t first, std::size_t count,
                       double* values) const {
    ReadAs(variable, first, count, values);
}

void ClassicFile::Read(const ClassicVariable& variable, std::uint64_t first, std::size_t count,
                       float* values) const {
    ReadAs(variable, first, count, values);
}

void ClassicFile::Read(const ClassicVariable& variable, std::uint64_t first, std::size_t count,
                       std::uint64_t* values) const {
    ReadAs(variable, first, count, values);
}

std::string_view ClassicFile::ReadText(const ClassicVariable& variable, std::uint64_t first,
                                       std::size_t count) const {
    return {reinterpret_cast<const char*>(Locate(variable, first)), count};
}

std::string ClassicFile::Decode(std::string_view bytes) const {
    const std::string_view text = bytes.substr(0, bytes.find('\0'));
    if (IsUtf8(text)) {
        return std::string(text);
    }
    ++foreignTexts;
    return CodePage(CodePage::Western).ToUtf8(text);
}

std::string ClassicFile::Decode(const ClassicAttribute& attribute) const {
    return Decode({reinterpret_cast<const char*>(attribute.values.data()), attribute.values.size()});
}
