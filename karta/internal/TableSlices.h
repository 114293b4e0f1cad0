#pragma once

#include <algorithm>
#include <cstdint>

#include "karta/Table.h"

namespace karta {

/**
 * Hands a table to `use` in slices of so many rows, at least 1; one without rows as one slice. Ends where
 * `use` says no, and says so too.
 */
template <class Use>
bool ForEachSlice(const Table& table, std::int64_t rows, const Use& use) {
    std::int64_t first = 0;
    do {
        Table slice = table.Slice(first, std::min(rows, table.GetRowCount() - first));
        if (!use(slice)) {
            return false;
        }
        first += rows;
    } while (first < table.GetRowCount());
    return true;
}

}  // namespace karta
