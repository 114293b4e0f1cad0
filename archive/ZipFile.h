#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/MappedFile.h"
#include "base/ReadContext.h"

struct zip;

/**
 * A zip archive for reading: its entries in the order of its directory, and a stream on each. Stored and
 * deflated entries, data descriptors, zip64, comments, and archives behind other bytes are all read.
 * Nothing is unpacked before its stream is read. Entries that share bytes are refused, since a small archive
 * could unpack to anything with them. Large entries are unpacked ahead, in a thread of their own.
 */
class ZipFile {
public:
    struct Entry {
        std::string name;         /**< as stored, no case folding, no change of slashes */
        std::uint64_t index = 0;  /**< its place in the directory */
        std::uint64_t size = 0;   /**< unpacked, as the directory claims it */
        bool isCompressed = true; /**< false for a stored entry */
        std::uint32_t checksum = 0;
        std::span<const std::uint8_t> deflated; /**< the packed bytes, where they are plainly deflated ones */
    };

    /**
     * Raises Exception when the file can't be read, is no archive, or one whose entries overlap. The archive
     * raises the limits of the context's budget by its size; what is unpacked is work of it, and unpacking
     * stops when that is used up or the context says so. Without a context there is no limit but that for one
     * entry.
     */
    explicit ZipFile(const char* path, std::shared_ptr<karta::ReadContext> readContext = nullptr);
    ZipFile(const ZipFile&) = delete;
    ZipFile& operator=(const ZipFile&) = delete;
    ~ZipFile();

    /** In the order of the directory. Several may have one name. */
    const std::vector<Entry>& GetEntries() const { return entries; }
    /** The first entry of exactly this name, or null. */
    const Entry* FindEntry(std::string_view name) const;

    /**
     * The unpacked bytes of an entry; the archive must outlive the stream. The stream is bad() where the
     * entry can't be read: it is encrypted or damaged, its checksum or its size is wrong, or it unpacks to
     * more than karta::Budget::GetInflateLimit. Read through its buffer, it raises std::ios_base::failure
     * then, and BudgetExceeded and Stopped as they are; through the stream, these are bad() too.
     */
    std::unique_ptr<std::istream> GetInputStream(const Entry& entry) const;

private:
    void ListEntries(std::span<const std::uint8_t> bytes);

    std::shared_ptr<karta::ReadContext> context;
    MappedFile file;
    zip* archive = nullptr;
    std::vector<Entry> entries;
    // The names are those in `entries`, which doesn't change any more.
    std::unordered_map<std::string_view, const Entry*> firstOfName;
};
