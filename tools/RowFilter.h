#pragma once

#include <string>
#include <utility>
#include <vector>

/** The rows that the user wants, from a list like "1,3-5"; all of them when the list is empty. */
class RowFilter {
public:
    RowFilter() = default;
    /** Raises Failure for a text that is no such list. */
    explicit RowFilter(const std::string& list);

    bool IsAll() const { return ranges.empty(); }
    /** The next wanted row after `row`; -1 after the last, and once the user has interrupted. */
    int NextRowToRead(int row) const;
    bool IsWanted(int row) const;
    /** The last wanted row; the largest number there is where all are wanted. */
    int GetLast() const;

private:
    std::vector<std::pair<int, int>> ranges;  // sorted, both ends included
};
