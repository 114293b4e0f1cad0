#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "base/Export.h"

/** What the readers ask of files by name. No operation throws or keeps a file open. */
class KARTA_EXPORT NvFile {
public:
    /** Results of GetEncoding. */
    enum Encoding {
        EncodingPlain = 0,
        EncodingUtf16LittleEndian = 1,
        EncodingUtf16BigEndian = 2,
        EncodingUtf8 = 3
    };

    /** Splits a selection, names joined by line feeds, and drops empty names. */
    static std::vector<std::string> GetFileNames(const char* fileNames);

    /** By the byte-order mark; EncodingPlain without one, also for a file that can't be read. */
    static int GetEncoding(const char* path);

    /** Whether something of this name exists, a directory included. */
    static bool Exists(const char* path);
    static bool IsDirectory(const char* path);
    /** Whether a regular file can be opened for reading. */
    static bool CanOpen(const char* path);
    /** In bytes; 0 for what is no regular file. */
    static std::size_t GetSize(const char* path);

    /** The first bytes of a file, at most `size`; fewer, or none, when it is shorter or can't be read. */
    static std::string ReadHead(const char* path, std::size_t size);
};

/** Whether the file opens and none of its first `limit` bytes is NUL. An empty file is text. */
bool IsTextFile(const char* path, std::size_t limit);
