#include "base/LineReader.h"

#include <algorithm>
#include <cstring>

#include "base/Stopped.h"

namespace {
constexpr std::size_t StartCapacity = 262144;
}  // namespace

LineReader::LineReader(const char* path) : file(path) {}

void LineReader::Close() {
    file.Close();
    buffer.reset();
    capacity = filled = nextLine = 0;
    bufferOffset = 0;
}

void LineReader::Seek(std::uint64_t offset) {
    file.Seek(offset);
    filled = nextLine = 0;
    bufferOffset = offset;
}

// Moves the unfinished line to the front and reads on behind it. One byte stays free for the NUL behind
// a last line.
bool LineReader::Refill() {
    karta::ThrowIfStopped(stop);
    if (nextLine > 0) {
        std::memmove(buffer.get(), buffer.get() + nextLine, filled - nextLine);
        filled -= nextLine;
        bufferOffset += nextLine;
        nextLine = 0;
    }
    if (filled + 1 >= capacity) {
        const std::size_t larger = std::max(StartCapacity, capacity * 2);
        auto grown = std::make_unique_for_overwrite<char[]>(larger);
        if (filled > 0) {
            std::memcpy(grown.get(), buffer.get(), filled);
        }
        buffer = std::move(grown);
        capacity = larger;
    }
    const std::size_t count = file.Read(buffer.get() + filled, capacity - 1 - filled);
    filled += count;
    return count > 0;
}

LineReader::Line LineReader::Next() {
    std::size_t searched = nextLine;
    while (true) {
        char* start = buffer.get() + nextLine;
        char* from = buffer.get() + searched;
        if (auto* end = static_cast<char*>(searched < filled ? std::memchr(from, '\n', filled - searched)
                                                             : nullptr)) {
            *end = '\0';
            const auto length = static_cast<std::size_t>(end - start);
            nextLine += length + 1;
            return {start, length, false};
        }
        const std::size_t unfinished = filled - nextLine;
        if (!Refill()) {
            // Refill has moved the line to the front of a buffer that has a byte behind it.
            buffer[filled] = '\0';
            nextLine = filled;
            return {buffer.get() + filled - unfinished, unfinished, true};
        }
        searched = nextLine + unfinished;
    }
}

bool LineReader::Skip(std::uint64_t count) {
    for (; count > 0; --count) {
        if (Next().atEnd) {
            return false;
        }
    }
    return true;
}
