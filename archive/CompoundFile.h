#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/MappedFile.h"

class CompoundStream;

/**
 * A compound file (structured storage, [MS-CFB]): a small file system of storages and streams inside one
 * file, of which the streams at the root can be read. The bytes stay in the mapped file and are not copied.
 *
 * The file's own tables are believed nowhere: a chain of sectors ends where it leaves the file, meets
 * itself or names a sector that has none, and an entry of the directory is visited once. All work is
 * linear in the file's size, and nothing recurses. The usual libraries for this format recurse through the
 * directory and sort it quadratically, so that a crafted file of a few megabytes stops the whole program;
 * they also list the entries in an order of their own, not in the file's.
 */
class CompoundFile {
public:
    /** A stream or storage at the root. */
    struct Entry {
        std::string name; /**< UTF-8 */
        bool isStream = false;
        std::uint32_t firstSector = 0;
        std::uint64_t size = 0; /**< as the directory says, which may be more than the file has */
    };

    /** Whether the file begins with the signature and holds a whole header. */
    static bool IsCompoundFile(const char* path);

    CompoundFile() = default;
    /** Check IsOpen afterwards: false for what is no compound file or has no root. */
    explicit CompoundFile(const char* path);

    bool IsOpen() const { return open; }
    void Close();

    /** The root's entries in the order of its tree, which in a well-made file is by length, then by letters.
     */
    const std::vector<Entry>& GetEntries() const { return entries; }

    /** The stream of an entry; null for a storage. It must not outlive this object. */
    std::unique_ptr<CompoundStream> OpenStream(const Entry& entry) const;

private:
    friend class CompoundStream;

    /** Neighbouring bytes of a stream that are neighbours in the file too. */
    struct Run {
        std::uint64_t streamOffset;
        std::uint64_t fileOffset;
        std::uint64_t size;
    };
    /** The bytes of a chain of sectors, as far as they are there. */
    struct Chain {
        std::vector<Run> runs;
        std::uint64_t size = 0;

        void Append(std::uint64_t fileOffset, std::uint64_t count);
        /** The run that holds an offset below `size`. */
        std::size_t FindRun(std::uint64_t offset) const;
    };
    struct DirectoryEntry;

    bool ReadHeader();
    void ReadFatSectors(std::uint32_t count, std::uint32_t difatSector);
    void ListTree(std::uint32_t topEntry);
    bool ReadDirectoryEntry(std::uint32_t number, DirectoryEntry& entry) const;
    bool ReadChainBytes(const Chain& chain, std::uint64_t offset, std::uint8_t* buffer,
                        std::size_t count) const;
    std::uint32_t FatEntry(std::uint32_t sector) const;
    std::uint32_t MiniFatEntry(std::uint32_t sector) const;
    Chain FollowChain(std::uint32_t firstSector, std::uint64_t size) const;
    Chain FollowMiniChain(std::uint32_t firstSector, std::uint64_t size) const;

    MappedFile file;
    bool open = false;
    unsigned int sectorShift = 0;
    unsigned int miniSectorShift = 0;
    bool hasWideSizes = false;
    std::uint32_t miniStreamCutoff = 0;
    std::uint32_t sectorCount = 0;  // sectors that begin inside the file
    std::vector<std::uint32_t> fatSectors;
    Chain directory;
    Chain miniFat;
    Chain miniStream;
    std::vector<Entry> entries;
};

/** One stream of a compound file, read from front to back or from anywhere. */
class CompoundStream {
public:
    /** As the directory says. */
    std::uint64_t GetSize() const { return size; }
    std::uint64_t Tell() const { return position; }
    /** To an offset from the start, the end included; false beyond it, and then nothing has moved. */
    bool Seek(std::uint64_t offset);
    /** The next `count` bytes, or false when fewer are left or some of them are missing in the file. */
    bool Read(char* buffer, std::size_t count);
    /** The bytes behind the position that lie in one piece of the file; none at the end. */
    std::string_view GetAhead() const;

private:
    friend class CompoundFile;
    CompoundStream(const CompoundFile& owner, CompoundFile::Chain bytes, std::uint64_t declaredSize)
        : file(&owner), chain(std::move(bytes)), size(declaredSize) {}
    void LetGo(const CompoundFile::Run& here);

    const CompoundFile* file;
    CompoundFile::Chain chain;
    std::uint64_t size;
    std::uint64_t position = 0;
    std::size_t run = 0;          // that holds the position, unless it is at the end
    std::uint64_t firstKept = 0;  // of the bytes read so far; those before it may leave memory
};
