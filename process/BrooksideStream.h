#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

#include "base/MappedFile.h"

/**
 * The lines of one text of a process log, read forward: a mapped file, so that the memory is the same for a
 * file of any length, or a part of a package in memory.
 *
 * A line ends at a line feed; a carriage return before it is dropped, and a NUL ends the line's text early.
 * A line longer than the stream's limit comes as several lines, each but the last of so many characters; the
 * pieces aren't joined again, and line numbers count them.
 */
class BrooksideStream {
public:
    /** The limit of the classic reading. */
    static constexpr std::size_t ClassicLineLength = 4095;
    static constexpr std::size_t AnyLineLength = std::numeric_limits<std::size_t>::max();

    /** A stream in the failed state: not open, and at its end. */
    BrooksideStream() = default;
    /** Check IsOpen afterwards. */
    static BrooksideStream OfFile(const std::string& path, std::size_t longestLine);
    /** The text stays the caller's and must outlive the stream. */
    static BrooksideStream OfText(std::string_view text, std::size_t longestLine);

    bool IsOpen() const { return open; }
    /** No byte is left. */
    bool AtEnd() const { return position == text.size(); }

    /** The next line, valid as long as the stream; empty at the end. */
    std::string_view NextLine();
    /** How many lines are left; the stream is at its end afterwards. */
    std::size_t CountLines();

    /** The offset of the next line, and back to one that was. */
    std::size_t Tell() const { return position; }
    void Seek(std::size_t offset) { position = offset; }

    /** All bytes, whatever has been read of them. */
    std::string_view GetText() const { return text; }

private:
    bool open = false;
    std::shared_ptr<const MappedFile> file;  // null when the text is in memory
    std::string_view text;
    std::size_t position = 0;
    std::size_t longest = ClassicLineLength;
};
