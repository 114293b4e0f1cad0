#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <vector>

/**
 * A growing matrix of measured values; rows and columns count from 1, and -99 stands for a missing value,
 * which every cell is until it is written. A place outside it raises std::out_of_range.
 *
 * A row takes memory from its first written cell on, so that rows that are only announced cost little.
 */
template <class Value>
class NCDataMatrix {
public:
    static constexpr Value MissingValue = Value(-99);

    int GetNumberOfColumns() const { return numCols; }
    int GetNumberOfRows() const { return static_cast<int>(rows.size()); }

    Value operator()(int row, int col) const {
        const std::vector<Value>& cells = rows.at(static_cast<std::size_t>(row) - 1);
        CheckColumn(col);
        const auto place = static_cast<std::size_t>(col) - 1;
        return place < cells.size() ? cells[place] : MissingValue;
    }
    /** The cell for writing; the reference holds until the matrix grows. */
    Value& operator()(int row, int col) {
        std::vector<Value>& cells = rows.at(static_cast<std::size_t>(row) - 1);
        CheckColumn(col);
        const auto place = static_cast<std::size_t>(col) - 1;
        if (place >= cells.size()) {
            cells.resize(static_cast<std::size_t>(numCols), MissingValue);
        }
        return cells[place];
    }

    /** Makes room for so many in all; columns take theirs with their rows' first cells. */
    void ReserveColumns(int /*count*/) {}
    void ReserveRows(int count) { rows.reserve(static_cast<std::size_t>(std::max(count, 0))); }

    /** Puts `count` missing columns or rows before `position`; one behind the end means the end. */
    void InsertColumns(int position, int count) {
        count = Fitting(numCols, count);
        const auto at = static_cast<std::size_t>(std::clamp(position - 1, 0, numCols));
        for (std::vector<Value>& cells : rows) {
            if (at < cells.size()) {
                cells.insert(cells.begin() + static_cast<std::ptrdiff_t>(at), static_cast<std::size_t>(count),
                             MissingValue);
            }
        }
        numCols += count;
    }
    void InsertRows(int position, int count) {
        count = Fitting(GetNumberOfRows(), count);
        const int at = std::clamp(position - 1, 0, GetNumberOfRows());
        rows.insert(rows.begin() + at, static_cast<std::size_t>(count), std::vector<Value>());
    }

private:
    void CheckColumn(int col) const {
        if (col < 1 || col > numCols) {
            throw std::out_of_range("a column outside the matrix");
        }
    }
    static int Fitting(int present, int count) {
        if (count > std::numeric_limits<int>::max() - present) {
            throw std::length_error("a matrix too large to count");
        }
        return std::max(count, 0);
    }

    int numCols = 0;
    std::vector<std::vector<Value>> rows;
};
