#pragma once

#include <optional>
#include <vector>

#include "karta/Block.h"
#include "karta/Column.h"
#include "karta/Table.h"

namespace karta {

/**
 * The type that holds the values of both: a column without values is of any type, whole numbers among others
 * are float64. Nothing where only a text would.
 */
std::optional<ColumnType> CommonType(ColumnType one, ColumnType other);

/** The columns' rows, one column's behind the other's, of this type, which holds them all. */
Column JoinColumns(const std::vector<Column>& columns, ColumnType type);

/** The blocks' rows, row-major, as floats or doubles; all have as many points, and the first one's axis. */
Block JoinBlocks(const std::vector<Block>& blocks, bool areFloats);

/**
 * The tables' rows, one table's behind the other's: pieces of one table, or tables with the same columns.
 * Names, shape, facts and notes are the first one's.
 */
Table JoinRows(const std::vector<Table>& tables);

}  // namespace karta
