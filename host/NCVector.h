#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

/**
 * What the vectors of the matrix library share: a growing vector whose places count from 1. A place
 * outside it raises std::out_of_range.
 */
template <class Value>
class NCVector {
public:
    int GetSize() const { return static_cast<int>(values.size()); }

    Value& operator()(int place) { return values.at(static_cast<std::size_t>(place) - 1); }
    const Value& operator()(int place) const { return values.at(static_cast<std::size_t>(place) - 1); }

    void push_back(const Value& value) { values.push_back(value); }

    /** Puts `count` copies before `position`; a position behind the end means the end. */
    void InsertValues(int position, int count, const Value& value) {
        const int at = std::clamp(position - 1, 0, GetSize());
        values.insert(values.begin() + at, static_cast<std::size_t>(std::max(count, 0)), value);
    }

private:
    std::vector<Value> values;
};
