#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "base/FileHandle.h"

/**
 * The bytes of a whole file, for readers that jump about in it. A large one is mapped, so that only what is
 * looked at is read and nothing is copied; a small one, and what can't be mapped (a pipe), is read into
 * memory. The span stays valid until the object is closed or destroyed.
 */
class MappedFile {
public:
    MappedFile() = default;
    /** Check IsOpen afterwards. */
    explicit MappedFile(const char* path);
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    MappedFile(MappedFile&& other) noexcept;
    MappedFile& operator=(MappedFile&& other) noexcept;
    ~MappedFile();

    bool IsOpen() const { return open; }
    void Close();
    std::span<const std::uint8_t> GetBytes() const { return bytes; }

    /**
     * The first bytes aren't looked at again soon: the pages that they lie in may go. They stay valid, and
     * are read again when they are looked at.
     */
    void LetGo(std::size_t count) const { LetGo(0, count); }
    /** The same of those from `begin` on, up to `end`. */
    void LetGo(std::size_t begin, std::size_t end) const;

private:
    void Take(FileHandle& file);
    void ReadWhole(FileHandle& file, std::size_t size);

    bool open = false;
    bool mapped = false;
    std::span<const std::uint8_t> bytes;
    std::unique_ptr<std::uint8_t[]> small;  // of a small file its bytes, for which no zeros are written first
    std::vector<std::uint8_t> copy;
};
