#pragma once

#include "karta/Table.h"
#include "table/TableData.h"

/** A table in columns as the grid that the program's writers take. */
class StackedTable {
public:
    /** The names of columns and of the block's points, in one row of texts. */
    static void PutNames(const karta::Table& table, TableData& grid, int row);
    /** The rows, from `firstRow` of the grid on; missing ones stay unset. Raises Failure once interrupted. */
    static void PutRows(const karta::Table& table, TableData& grid, int firstRow);
};
