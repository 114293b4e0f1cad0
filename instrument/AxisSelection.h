#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "instrument/USDBase.h"

/**
 * Which points of an axis become columns, decided once for the names, the X values and every spectrum on
 * it. Only points inside one of the included intervals count, ends included; of a point in several the
 * first interval counts. Inside an interval so many neighbours as are to be averaged give one column; a
 * rest of fewer gives none.
 */
class AxisSelection {
public:
    /** Every point of an axis. */
    AxisSelection() = default;
    AxisSelection(std::span<const double> axis, const USDConstraints& constraints);

    /** Whether every point is a column by itself. */
    bool TakesAll() const { return takesAll; }
    bool Averages() const { return averages; }
    /** How many columns an axis of so many points gives. */
    std::size_t CountColumns(std::size_t points) const { return takesAll ? points : columns.size(); }

    /**
     * The columns of a spectrum, as far as it has points: their values or means. Only where not every point
     * is taken.
     */
    template <class Number>
    void Take(std::span<const Number> values, std::vector<Number>& taken) const {
        taken.clear();
        for (const Column& column : columns) {
            if (points[column.first + column.count - 1] >= values.size()) {
                // The points ascend: what follows isn't there either.
                return;
            }
            double sum = 0.0;
            for (std::size_t i = 0; i < column.count; ++i) {
                sum += static_cast<double>(values[points[column.first + i]]);
            }
            taken.push_back(static_cast<Number>(sum / static_cast<double>(column.count)));
        }
    }

    /** The intervals, by their places from 0, in which no point lies. */
    const std::vector<int>& GetEmptyIntervals() const { return emptyIntervals; }
    /** How many points of an interval are too few to be averaged. */
    std::size_t GetLeftOut() const { return leftOut; }

private:
    struct Column {
        std::size_t first;  // among `points`
        std::size_t count;
    };

    void CloseGroup(std::size_t first, std::size_t size);

    bool takesAll = true;
    bool averages = false;
    std::size_t leftOut = 0;
    std::vector<std::size_t> points;  // those in an interval, in ascending order
    std::vector<Column> columns;
    std::vector<int> emptyIntervals;
};
