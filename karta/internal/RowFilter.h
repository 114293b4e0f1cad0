#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/Export.h"

/** The rows that are wanted, from a list like "1,3-5"; all of them when the list is empty. */
class KARTA_EXPORT RowFilter {
public:
    RowFilter() = default;
    /** Raises Error (BadOption) for a text that is no such list. */
    explicit RowFilter(const std::string& list);

    bool IsAll() const { return ranges.empty(); }
    /** The next wanted row after `row`; -1 after the last. */
    int NextRowToRead(int row) const;
    bool IsWanted(int row) const;
    /** The last wanted row; the largest number there is where all are wanted. */
    int GetLast() const;

private:
    std::vector<std::pair<int, int>> ranges;  // sorted, both ends included
};
