#include "host/StreamReader.h"

#include <istream>

#include "base/ByteCursor.h"
#include "base/ReadExactly.h"

bool StreamReader::ReadBool() {
    return ReadExactly(stream, 1)[0] != 0;
}

std::int32_t StreamReader::ReadInt32() {
    return ByteCursor(ReadExactly(stream, sizeof(std::int32_t))).ReadI32();
}

std::vector<std::uint8_t> StreamReader::ReadUInt8Vector(std::size_t size) {
    return ReadExactly(stream, size);
}
