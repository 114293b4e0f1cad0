#include "host/StreamReader.h"

#include <array>
#include <istream>

#include "host/ReadExactly.h"

bool StreamReader::ReadBool() {
    return ReadExactly(stream, 1)[0] != 0;
}

std::int32_t StreamReader::ReadInt32() {
    const std::vector<std::uint8_t> bytes = ReadExactly(stream, 4);
    std::uint32_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;) {
        value = value << 8 | bytes[i];
    }
    return static_cast<std::int32_t>(value);
}

std::vector<std::uint8_t> StreamReader::ReadUInt8Vector(std::size_t size) {
    return ReadExactly(stream, size);
}
