#include "base/ReadExactly.h"

#include <algorithm>
#include <istream>

namespace {
constexpr std::size_t ChunkSize = 65536;
}  // namespace

std::vector<std::uint8_t> ReadExactly(std::istream& stream, std::size_t size) {
    std::vector<std::uint8_t> bytes;
    while (bytes.size() < size) {
        const std::size_t start = bytes.size();
        const std::size_t wanted = std::min(size - start, ChunkSize);
        bytes.resize(start + wanted);
        stream.read(reinterpret_cast<char*>(bytes.data() + start), static_cast<std::streamsize>(wanted));
        if (static_cast<std::size_t>(stream.gcount()) != wanted) {
            throw std::ios_base::failure("the stream ended before the value did");
        }
    }
    return bytes;
}
