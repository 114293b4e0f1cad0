#include "karta/internal/RowFilter.h"

#include <algorithm>
#include <limits>
#include <sstream>

#include "karta/Error.h"
#include "karta/internal/NumberRange.h"

RowFilter::RowFilter(const std::string& list) {
    std::istringstream stream(list);
    std::string item;
    while (std::getline(stream, item, ',')) {
        const auto range = karta::ParseRange(item);
        if (!range) {
            throw karta::Error({.code = karta::ErrorCode::BadOption,
                                .option = "rows",
                                .text = "takes rows like 1,3-5, not '" + item + "'"});
        }
        ranges.push_back(*range);
    }
    std::sort(ranges.begin(), ranges.end());
}

int RowFilter::NextRowToRead(int row) const {
    if (IsAll()) {
        return row + 1;
    }
    for (const auto& [first, last] : ranges) {
        if (row < last) {
            return std::max(first, row + 1);
        }
    }
    return -1;
}

bool RowFilter::IsWanted(int row) const {
    return IsAll() || std::any_of(ranges.begin(), ranges.end(), [row](const auto& range) {
               return row >= range.first && row <= range.second;
           });
}

int RowFilter::GetLast() const {
    int last = IsAll() ? std::numeric_limits<int>::max() : 0;
    for (const auto& range : ranges) {
        last = std::max(last, range.second);
    }
    return last;
}
