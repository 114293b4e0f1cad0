#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/TextArena.h"

/**
 * The shared strings of a workbook: one long run of strings over an SST record and the CONTINUE records
 * behind it. A string may be split at a record's end, and then goes on behind an option byte of its own,
 * perhaps in characters of another width. Formatting runs and phonetic data that cross a record's end are not
 * looked for in the next record: this is meant.
 */
class ExcelSharedStrings {
public:
    /** As many strings as the file claims to have; no memory is taken for them before they come. */
    explicit ExcelSharedStrings(std::int32_t claimedCount) : count(claimedCount) {}

    /** Takes one record's part of the run. */
    void Parse(std::span<const std::uint8_t> chunk);
    /** Behind the last part: ends a string whose rest never came. */
    void Finish();

    std::int32_t GetCount() const { return count; }
    /** The string of an index from 0, up to its first NUL; empty when there is none. */
    const char* Find(std::int32_t index) const;

private:
    void AppendNarrow(std::span<const std::uint8_t> bytes);
    void AppendWide(std::span<const std::uint8_t> bytes);
    void AppendUnits(std::size_t size);
    void Store();

    std::int32_t count;
    std::vector<const char*> texts;
    TextArena arena;
    std::string current;              // the string that is being read
    std::size_t pending = 0;          // characters of it that are still to come
    std::vector<std::uint8_t> units;  // UTF-16 of it that isn't converted yet
};
