#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "karta/Scan.h"
#include "karta/Table.h"

namespace karta {

/** Why a table doesn't fit a schema; raised while it is tried. */
struct Misfit {
    std::string text;
};

/**
 * What the tables of a scan have in common: the columns of the first one, or of all, with types that hold
 * what all tables of the first batch hold, and the axis of the first one's block. Fixed from then on.
 */
class ScanSchema {
public:
    explicit ScanSchema(ScanColumns whichColumns = ScanColumns::Same) : columns(whichColumns) {}

    /** Takes up the table's columns alone, before its block is on the grid. Raises Misfit. */
    void WidenColumns(const Table& table);
    /**
     * Widens the schema to this table of the first batch; the first one makes it. Raises Misfit, and stays as
     * it was.
     */
    void Widen(const Table& table);
    /** Raises Misfit where a table of a later batch has other columns, types, axis or units. */
    void Check(const Table& table) const;

    /** The tables' rows in one table behind a column `file`; `names` are the files' names. */
    Table Join(const std::vector<Table>& tables, const std::vector<std::string>& names) const;

private:
    /** A name, and how many columns of it stand before: a table may have several of one name. */
    using Key = std::pair<std::string, int>;
    using Places = std::map<Key, std::size_t>;
    struct Entry {
        Key key;
        std::string unit;
        ColumnType type;
    };

    static Places PlacesOf(const Table& table);
    std::set<Key> KnownKeys() const;
    void CheckSameColumns(const Table& table, const Places& places) const;
    void CheckBlock(const Table& table) const;
    ColumnType TypeFor(const Entry& entry, const Column& column) const;

    ScanColumns columns;
    bool hasColumns = false;
    bool isMade = false;
    std::vector<Entry> entries;
    std::size_t blockPlace = 0;
    std::optional<Block> block;  // the first table's
    bool isFloat32 = true;
};

}  // namespace karta
