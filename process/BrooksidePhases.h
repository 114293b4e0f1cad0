#pragma once

#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

#include "base/LessIgnoringCase.h"
#include "base/TextArena.h"

/** One phase of one wafer: the lines of a data file that it takes, and the table rows that they become. */
struct PhaseEntry {
    const char* dataFile;
    const char* wafer;
    int from;                   /**< first line, 1 being the first behind the data file's header */
    int to;                     /**< last line */
    int phase;                  /**< from 1 */
    std::int64_t firstRow = -1; /**< table row of the first line */
    bool outOfOrder = false;    /**< the wafer's phases weren't listed in ascending line order */

    /** The rows that the lines ask for; none or fewer when the lines are listed backwards. */
    std::int64_t CountRows() const { return std::int64_t{to} - from + 1; }
};

/** The phases of a log, kept in the order in which one forward pass through each data file meets them. */
class BrooksidePhases {
public:
    enum Verdict { Inserted, OutOfOrder, Duplicate };
    /** What becomes of an entry that is there already. */
    enum Duplicates { LeaveOut, Keep };

    /** Keeps a copy of a text for the entries to point at. */
    const char* KeepText(std::string_view text) { return texts.Add(text); }

    /**
     * Puts an entry at its place, before entries of the same data file and line. What stands there decides:
     * the same entry makes this one a duplicate; another phase of the same wafer, in whichever data file,
     * marks both as out of order.
     */
    Verdict Insert(const PhaseEntry& entry, Duplicates duplicates);

    /** All entries in their order, until AssignRows free to be cut or taken out. */
    std::vector<PhaseEntry>& CollectEntries();
    /**
     * Gives every entry that was collected its table rows, from row 2 on, those out of order in the order of
     * their phases, and tells the table's last row.
     */
    std::int64_t AssignRows();
    std::vector<PhaseEntry>& GetEntries() { return entries; }

private:
    struct Place {
        std::string_view dataFile;
        int from;
    };
    struct PlaceOrder {
        bool operator()(const Place& left, const Place& right) const;
    };

    TextArena texts;
    // A tree and not a vector: a long log that is listed backwards must not move everything each time.
    std::multimap<Place, PhaseEntry, PlaceOrder> sorted;
    std::vector<PhaseEntry> entries;
};
