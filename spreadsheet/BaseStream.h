#pragma once

#include <fstream>
#include <string_view>

/**
 * The bytes that a workbook's records are read from: here a plain file. The base is the standard file
 * stream; these operations are what the record reader uses, and what another source of bytes replaces.
 * A stream never raises: a failure shows in GetStatus and stays there.
 */
class BaseStream : public std::fstream {
public:
    /** Opens a file, always in binary mode. */
    BaseStream(const char* path, std::ios_base::openmode mode);

    /** `count` bytes; fewer are a failure. */
    virtual void Read(char* buffer, int count);
    virtual void Write(const char* buffer, int count);
    /** `origin` is 0 for the start, 1 for the current position and 2 for the end. */
    virtual void Seek(long long offset, int origin);
    /** The current position, its low 32 bits. */
    virtual int Tell();
    /** 0 is good. */
    virtual int GetStatus();
    /** Bytes from the current position on that lie in memory, for as long as the stream is open; none, where
     * they don't. */
    virtual std::string_view GetAhead() { return {}; }

protected:
    /** Without a file: for streams of other bytes. */
    BaseStream() = default;
};
