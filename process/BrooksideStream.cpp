#include "process/BrooksideStream.h"

#include <algorithm>
#include <cstring>

namespace {

// Many lines long, so that little is moved, and small enough to stay in the processor's cache.
constexpr std::size_t WindowSize = 131072;

}  // namespace

BrooksideStream BrooksideStream::OfFile(const std::string& path) {
    BrooksideStream stream;
    stream.file = FileHandle(path.c_str());
    stream.open = stream.file.IsOpen();
    if (stream.open) {
        stream.window = std::make_unique_for_overwrite<char[]>(WindowSize);
        stream.next = stream.end = stream.window.get();
    }
    return stream;
}

BrooksideStream BrooksideStream::OfText(std::string_view text) {
    BrooksideStream stream;
    stream.open = true;
    stream.next = text.data();
    stream.end = text.data() + text.size();
    return stream;
}

// Moves what waits to the front of the window and fills up behind it. False when nothing came.
bool BrooksideStream::Refill() {
    if (!file.IsOpen()) {
        return false;
    }
    const auto waiting = static_cast<std::size_t>(end - next);
    std::memmove(window.get(), next, waiting);
    const std::size_t count = file.Read(window.get() + waiting, WindowSize - waiting);
    next = window.get();
    end = next + waiting + count;
    if (count == 0) {
        file.Close();
    }
    return count > 0;
}

std::string_view BrooksideStream::NextLine() {
    // The line feed behind a line of the greatest length belongs to it.
    if (static_cast<std::size_t>(end - next) <= MaxLineLength) {
        Refill();
    }
    if (next == end) {
        return {};
    }
    const auto waiting = static_cast<std::size_t>(end - next);
    const char* const start = next;
    const void* feed = std::memchr(start, '\n', std::min(waiting, MaxLineLength + 1));
    std::size_t length = std::min(waiting, MaxLineLength);
    if (feed != nullptr) {
        length = static_cast<std::size_t>(static_cast<const char*>(feed) - start);
        next = start + length + 1;
    } else {
        next = start + length;
    }
    if (length > 0 && start[length - 1] == '\r') {
        --length;
    }
    const std::string_view line(start, length);
    return line.substr(0, line.find('\0'));
}
