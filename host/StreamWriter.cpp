#include "host/StreamWriter.h"

#include <array>
#include <ostream>

void StreamWriter::WriteBool(bool value) {
    stream.put(value ? '\1' : '\0');
}

void StreamWriter::WriteInt32(std::int32_t value) {
    std::array<char, 4> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(static_cast<std::uint32_t>(value) >> (8 * i));
    }
    stream.write(bytes.data(), bytes.size());
}

void StreamWriter::WriteUInt8Vector(const std::uint8_t* bytes, std::size_t size) {
    if (size != 0) {
        stream.write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
    }
}
