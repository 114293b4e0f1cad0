#include "instrument/JCAMPStream.h"

#include <algorithm>
#include <cstring>

namespace {

// A longer line arrives in pieces of this size, each of them a line.
constexpr std::size_t MaxLineLength = 255;

// Begins a comment, wherever it stands.
constexpr std::string_view Comment = "$$";

}  // namespace

JCAMPStream::JCAMPStream(const char* path) : file(path), failed(!file.IsOpen()) {
    bytes = {reinterpret_cast<const char*>(file.GetBytes().data()), file.GetBytes().size()};
}

void JCAMPStream::Seek(std::uint64_t offset) {
    failed = !file.IsOpen() || offset > bytes.size();
    atEnd = false;
    position = failed ? bytes.size() : static_cast<std::size_t>(offset);
}

bool JCAMPStream::TakeLine(std::string_view& line) {
    line = bytes.substr(position, MaxLineLength);
    if (line.empty()) {
        atEnd = failed = true;
        return false;
    }
    const auto* lineFeed = static_cast<const char*>(std::memchr(line.data(), '\n', line.size()));
    const std::size_t reach =
        lineFeed != nullptr ? static_cast<std::size_t>(lineFeed - line.data()) : line.size();
    const auto* carriageReturn = static_cast<const char*>(std::memchr(line.data(), '\r', reach));
    const char* const found = carriageReturn != nullptr ? carriageReturn : lineFeed;
    if (found == nullptr) {
        position += line.size();
        if (line.size() < MaxLineLength) {
            atEnd = failed = true;
        }
        return true;
    }
    line = line.substr(0, static_cast<std::size_t>(found - line.data()));
    position += line.size() + 1;
    if (position == bytes.size()) {
        atEnd = true;
    } else if (bytes[position] == '\r' || bytes[position] == '\n') {
        // Any two of them are one line end, two line feeds included.
        ++position;
    }
    return true;
}

bool JCAMPStream::ReadLine(std::string_view& line, int& lineNumber) {
    if (failed || !TakeLine(line)) {
        return false;
    }
    line = line.substr(0, line.find('\0'));
    line = line.substr(0, line.find(Comment));
    ++lineNumber;
    return true;
}

void JCAMPStream::SkipTo(char mark) {
    position = std::min(bytes.find(mark, position), bytes.size());
    if (position == bytes.size()) {
        atEnd = failed = true;
    }
}
