#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stop_token>
#include <utility>

#include "base/FileHandle.h"

/**
 * Reads a text file line by line, each line in place in one buffer that grows for the longest line only.
 * A line ends at a line feed; carriage returns are bytes like any others. As with std::getline, a file
 * that ends in a line feed has one more, empty line, whose reading meets the end.
 */
class LineReader {
public:
    LineReader() = default;
    /** Check IsOpen afterwards. */
    explicit LineReader(const char* path);

    /** From now on a stop that was asked for ends the reading: it raises karta::Stopped. */
    void SetStop(std::stop_token readStop) { stop = std::move(readStop); }

    bool IsOpen() const { return file.IsOpen(); }
    void Close();

    /** Back to the first line. */
    void Rewind() { Seek(0); }
    /** To an offset from the start. */
    void Seek(std::uint64_t offset);
    /** The offset of the byte behind the last line read. */
    std::uint64_t Tell() const { return bufferOffset + nextLine; }

    /** One line: ended by a NUL in place of its line feed, and the caller's to write in until the next. */
    struct Line {
        char* text = nullptr;
        std::size_t length = 0; /**< without the line feed; NULs of the file count */
        /** No line feed followed: the file ended. Then no further line is there. */
        bool atEnd = false;
        /** Not even one byte was read, not even a line feed. */
        bool IsNothing() const { return atEnd && length == 0; }
    };

    /** The next line. After the end, empty lines at the end. */
    Line Next();

    /** Passes over `count` lines without looking at them; false when the file ends before. */
    bool Skip(std::uint64_t count);

private:
    bool Refill();

    FileHandle file;
    std::stop_token stop;
    std::unique_ptr<char[]> buffer;
    std::size_t capacity = 0;
    std::size_t filled = 0;    // bytes of the buffer that hold the file's
    std::size_t nextLine = 0;  // where the next line begins
    std::uint64_t bufferOffset = 0;
};
