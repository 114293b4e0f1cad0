#pragma once

#include <string>

#include "base/TableShape.h"
#include "table/TableData.h"

/** Which rows of a table are its head: as the shape says it, else a first row of nothing but texts. */
class TableHead {
public:
    /** The table stays the caller's. `shape` may be null. */
    TableHead(TableData& headedTable, const karta::TableShape* shape);

    /** 0: none. */
    int GetNameRow() const { return nameRow; }
    int GetUnitRow() const { return unitRow; }
    int GetFirstDataRow() const { return firstDataRow; }

    /** The column's name in UTF-8; empty where it has none. */
    std::string NameOf(int col) const;
    /** The same, or "column 7", with the unit behind it where there is a row of units. */
    std::string LabelOf(int col) const;

private:
    TableData& table;
    int nameRow = 0;
    int unitRow = 0;
    int firstDataRow = 1;
};
