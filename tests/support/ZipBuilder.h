#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/** Builds a zip archive in memory, entry by entry, sound or with the damage that a test wants. */
class ZipBuilder {
public:
    /** How an entry is written. */
    struct Entry {
        std::string name;
        std::string bytes;
        bool deflated = false;
        bool encrypted = false;          /**< only marked so */
        bool hasDescriptor = false;      /**< sizes and checksum behind the data, zeros before it */
        bool hasZip64Sizes = false;      /**< the sizes in extra fields */
        std::uint32_t checksumError = 0; /**< what the checksum is changed by */
        std::uint32_t sizeError = 0;     /**< what is added to the unpacked size */
    };

    ZipBuilder& Add(std::string_view name, std::string_view bytes);
    ZipBuilder& AddDeflated(std::string_view name, std::string_view bytes);
    ZipBuilder& Add(const Entry& entry);

    /** The archive. */
    std::string Build(std::string_view comment = {}) const;

private:
    std::vector<Entry> entries;
};
