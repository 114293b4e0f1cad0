#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/TextList.h"

/**
 * The shared strings of a workbook: one long run of strings over an SST record and the CONTINUE records
 * behind it. A string may be split at a record's end, and then goes on behind an option byte of its own,
 * perhaps in characters of another width. Formatting runs and phonetic data stand behind a string.
 */
class ExcelSharedStrings {
public:
    /** How the run is taken apart. */
    struct Rules {
        /** 8-bit characters are bytes of the file's and each piece of a string ends at its first NUL; else
         * they are the first 256 of Unicode, and all of them count. */
        bool takesBytesAsTheyStand;
        /** No more strings are taken than the file claims to have. */
        bool believesCount;
        /** What a record's end cuts off of the data behind a string isn't looked for in the next record. */
        bool losesCutData;
    };
    static constexpr Rules Classic{true, true, true};
    static constexpr Rules Complete{false, false, false};

    /** As many strings as the file claims to have; no memory is taken for them before they come. */
    explicit ExcelSharedStrings(std::int32_t claimedCount, const Rules& parsingRules = Classic)
        : rules(parsingRules), count(claimedCount) {}

    /** Takes one record's part of the run. */
    void Parse(std::span<const std::uint8_t> chunk);
    /** Behind the last part: ends a string whose rest never came. */
    void Finish();

    /** As the file claims. */
    std::int32_t GetCount() const { return count; }
    /** How many there are. */
    std::size_t GetSize() const { return texts.GetSize(); }
    bool Has(std::int32_t index) const {
        return index >= 0 && static_cast<std::size_t>(index) < texts.GetSize();
    }
    /** The string of an index from 0; empty when there is none. A NUL stands behind it. */
    std::string_view Find(std::int32_t index) const {
        return Has(index) ? texts.Get(static_cast<std::size_t>(index)) : std::string_view("");
    }
    const TextList& GetList() const { return texts; }

private:
    void AppendNarrow(std::span<const std::uint8_t> bytes);
    void AppendWide(std::span<const std::uint8_t> bytes);
    void AppendUnits(std::size_t size);
    void Store();

    Rules rules;
    std::int32_t count;
    TextList texts;
    std::string current;              // the string that is being read
    std::size_t pending = 0;          // characters of it that are still to come
    std::uint64_t behind = 0;         // bytes that stand behind its characters
    std::vector<std::uint8_t> units;  // UTF-16 of it that isn't converted yet
};
