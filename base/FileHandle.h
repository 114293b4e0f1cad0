#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/**
 * An open file, read byte-wise: the one place where this library opens files for reading. What isn't a
 * regular file, a directory, a pipe or a device, doesn't open.
 */
class FileHandle {
public:
    FileHandle() = default;
    explicit FileHandle(const char* path);
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    FileHandle(FileHandle&& other) noexcept;
    FileHandle& operator=(FileHandle&& other) noexcept;
    ~FileHandle();

    bool IsOpen() const { return descriptor >= 0; }
    void Close();

    /** Reads up to `size` bytes, all there are before the end; fewer at the end or on failure. */
    std::size_t Read(char* buffer, std::size_t size);
    /** The same at an offset, leaving the position alone. */
    std::size_t ReadAt(std::uint64_t offset, char* buffer, std::size_t size);
    /** Moves the position, counted from the start. */
    bool Seek(std::uint64_t offset);
    /** In bytes, as the file is now; 0 for what isn't a regular file. */
    std::uint64_t GetSize() const;

    int GetDescriptor() const { return descriptor; }

private:
    int descriptor = -1;
};

/** The first bytes of a file, at most `size`; fewer, or none, when it is shorter or can't be read. */
std::string ReadFileHead(const char* path, std::size_t size);
