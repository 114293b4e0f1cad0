#include "host/BinaryString.h"

#include <cstdint>
#include <ostream>
#include <vector>

#include "base/ReadExactly.h"
#include "host/StreamReader.h"
#include "host/StreamWriter.h"

void WriteBinaryString(std::ostream& stream, std::string_view text) {
    StreamWriter(stream).WriteInt32(static_cast<std::int32_t>(text.size()));
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}

std::string ReadBinaryString(std::istream& stream) {
    const auto size = static_cast<std::uint32_t>(StreamReader(stream).ReadInt32());
    const std::vector<std::uint8_t> bytes = ReadExactly(stream, size);
    return {bytes.begin(), bytes.end()};
}
