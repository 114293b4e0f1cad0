#pragma once

#include <span>

#include "base/Export.h"

/** A source of cells, for a writer of numbers that takes many of a row at once. */
class KARTA_EXPORT NumberRowSource {
public:
    virtual ~NumberRowSource() = default;

    /** What IsFloat and GetFloatValue tell of the cells of a row from a column on; `missing` where a cell is
     * no number. */
    virtual void GetNumbers(int firstCol, int row, std::span<double> numbers, double missing) const = 0;
};
