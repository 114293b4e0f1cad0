#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "base/FileHandle.h"

/**
 * The lines of one text of a process log, read forward: a file through a small window, so that the memory
 * is the same for a file of any length, or a part of a package in memory.
 *
 * A line ends at a line feed; a carriage return before it is dropped, and a NUL ends the line's text early.
 * A line longer than MaxLineLength comes as several lines, the first being its first MaxLineLength
 * characters; the pieces aren't joined again, and line numbers count them.
 */
class BrooksideStream {
public:
    static constexpr std::size_t MaxLineLength = 4095;

    /** A stream in the failed state: not open, and at its end. */
    BrooksideStream() = default;
    /** Check IsOpen afterwards. */
    static BrooksideStream OfFile(const std::string& path);
    /** The text stays the caller's and must outlive the stream. */
    static BrooksideStream OfText(std::string_view text);

    bool IsOpen() const { return open; }
    /** No byte is left. */
    bool AtEnd() { return next == end && !Refill(); }

    /** The next line, valid until the following one; empty at the end. */
    std::string_view NextLine();

private:
    bool Refill();

    bool open = false;
    FileHandle file;  // closed when the text is in memory, and once the file was read to its end
    std::unique_ptr<char[]> window;
    const char* next = nullptr;  // the bytes that wait, up to `end`
    const char* end = nullptr;
};
