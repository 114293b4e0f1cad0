#pragma once

#include <string>
#include <vector>

#include "karta/Table.h"

namespace karta {

/** Why a table doesn't fit a schema; raised while it is tried. */
struct Misfit {
    std::string text;
};

/**
 * What the tables of a scan have in common: the columns of the first one, with types that hold what all
 * tables of the first batch hold, and the axis of its block. Fixed from then on.
 */
class ScanSchema {
public:
    /**
     * Widens the schema to this table of the first batch; the first one makes it. Raises Misfit, and stays as
     * it was.
     */
    void Widen(const Table& table);
    /** Raises Misfit where a table of a later batch has other columns, types, axis or units. */
    void Check(const Table& table) const;
    bool IsEmpty() const { return !isMade; }

    /** The tables' rows in one table behind a column `file`; `names` are the files' names. */
    Table Join(const std::vector<Table>& tables, const std::vector<std::string>& names) const;

private:
    void CheckBlock(const Table& table) const;
    const Column& ColumnOf(const Table& table, std::size_t place) const;

    bool isMade = false;
    Table first;
    std::vector<ColumnType> types;
    bool isFloat32 = true;
};

}  // namespace karta
