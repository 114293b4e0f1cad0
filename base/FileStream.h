#pragma once

#include <istream>
#include <memory>
#include <streambuf>

#include "base/FileHandle.h"

/** The bytes of an open file, for FileStream. */
class FileStreamBuffer : public std::streambuf {
public:
    explicit FileStreamBuffer(const char* path) : file(path) {}

    bool IsOpen() const { return file.IsOpen(); }

protected:
    int_type underflow() override;
    pos_type seekoff(off_type offset, std::ios_base::seekdir from, std::ios_base::openmode which) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

private:
    FileHandle file;
    std::unique_ptr<char[]> buffer;
    off_type behind = 0;  // the file's offset behind the buffered bytes
};

/**
 * A file as an input stream, for formats whose operations take streams. Unbothered by the locale: bytes are
 * bytes. One that couldn't be opened has failed from the start; a read that fails looks like the end.
 */
class FileStream : private FileStreamBuffer, public std::istream {
public:
    explicit FileStream(const char* path);
};
