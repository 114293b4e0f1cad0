#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "karta/Table.h"
#include "karta/internal/ColumnEvidence.h"
#include "karta/internal/ColumnMaker.h"

namespace karta {

/** What the rows of a table told that aren't kept. */
struct TableEvidence {
    int above = 0;  // rows in front of them
    int rows = 0;   // of the whole grid
    int cols = 0;
    std::vector<ColumnEvidence> columns;  // of the grid, a block's cells that came by themselves among them
    bool hasBlock = false;
    bool isRowMajor = false;  // the block's first numbers came in rows
    bool areFloats = true;    // all of the block's numbers
    bool isClear = true;      // the block was in the same place all the time
    std::uint64_t errors = 0;
    std::string firstError;
};

/** One column of the grid beside the block. */
struct PlannedColumn {
    ColumnForm form;
    KindCounts counts;  // of all its cells
};

/** What the pieces of a table are to be, each of which is read by itself. */
struct TablePlan {
    Table head;  // without rows: names, units, axis, shape, notes
    std::int64_t rows = 0;
    std::vector<PlannedColumn> columns;  // as the table has them

    /** The row of the grid that is the first of the data. */
    int GetFirstDataRow() const { return head.GetShape().firstDataRow; }
    /** Columns of the grid. */
    int GetGridWidth() const { return static_cast<int>(head.GetWidth()); }
    /** The columns of the grid that are the block's; none: both beyond all. */
    int GetFirstBlockColumn() const {
        return head.GetBlock() == nullptr ? std::numeric_limits<int>::max()
                                          : static_cast<int>(head.GetBlockPlace()) + 1;
    }
    int GetLastBlockColumn() const {
        return head.GetBlock() == nullptr ? std::numeric_limits<int>::max()
                                          : static_cast<int>(head.GetBlockPlace()) +
                                                static_cast<int>(head.GetBlock()->GetPointCount());
    }
};

}  // namespace karta
