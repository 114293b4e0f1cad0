#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Export.h"
#include "base/Note.h"
#include "base/TableShape.h"
#include "karta/Block.h"
#include "karta/Column.h"
#include "karta/Fact.h"

namespace karta {

/** A cell above the data that is neither a column's name nor its unit nor an axis value. */
struct HeadCell {
    std::int64_t row = 0;    /**< of the grid, from 1 */
    std::int64_t column = 0; /**< of the grid, from 1 */
    std::string text;
};

/** What a table is made of. All columns and the block have the same number of rows. */
struct TableParts {
    std::int64_t rows = 0;
    std::vector<Column> columns;
    std::optional<Block> block;
    std::size_t blockPlace = 0; /**< how many columns stand in front of the block */
    std::vector<Fact> facts;
    std::vector<Note> notes;
    TableShape shape;            /**< the rows of the file's grid that are heads */
    std::vector<HeadCell> heads; /**< what else stood above the data */
};

/**
 * A table that was read: columns with names, units and types, and, where the file holds spectra or other
 * arrays of numbers, their block. Names, units and axis values are not among the rows.
 *
 * A handle: copies are cheap and share the table, which never changes, so any thread may read it.
 */
class KARTA_EXPORT Table {
public:
    /** Without rows and columns. */
    Table();
    /** Raises std::invalid_argument where columns or block have other numbers of rows. */
    explicit Table(TableParts tableParts);

    std::int64_t GetRowCount() const { return parts->rows; }

    /** The columns beside the block, in the file's order. */
    std::size_t GetColumnCount() const { return parts->columns.size(); }
    const std::vector<Column>& GetColumns() const { return parts->columns; }
    /** Counts from 0; raises std::out_of_range. */
    const Column& GetColumn(std::size_t place) const;
    /** By its name, the first of equal ones; raises std::out_of_range with the name in its text. */
    const Column& GetColumn(std::string_view name) const;
    /** The same; null where there is none. Valid as long as a handle of this table is there. */
    const Column* FindColumn(std::string_view name) const;

    /** Null for a table without one. Valid as long as a handle of this table is there. */
    const Block* GetBlock() const;
    /** How many columns stand in front of the block. */
    std::size_t GetBlockPlace() const { return parts->blockPlace; }

    const std::vector<Fact>& GetFacts() const { return parts->facts; }
    /** What isn't in the table, or not as the file has it. */
    const std::vector<Note>& GetNotes() const { return parts->notes; }
    /** Which rows of the file's grid were heads; rows and columns count from 1. */
    const TableShape& GetShape() const { return parts->shape; }
    /** Cells above the data that are no names, units or axis values: a preamble, remarks. */
    const std::vector<HeadCell>& GetHeads() const { return parts->heads; }

    /**
     * A cell for people, as CSV has it, empty where missing. Columns count from 0 over all, the block's
     * points among them at GetBlockPlace(). Raises std::out_of_range.
     */
    std::string GetText(std::int64_t column, std::int64_t row) const;
    /** Columns and the block's points together. */
    std::int64_t GetWidth() const;

    /** These rows, in the same memory. Raises std::out_of_range. */
    Table Slice(std::int64_t firstRow, std::int64_t rows) const;
    /** The same table with these facts and notes. */
    Table With(std::vector<Fact> facts, std::vector<Note> notes) const;

    const TableParts& GetParts() const { return *parts; }

private:
    std::shared_ptr<const TableParts> parts;
};

}  // namespace karta
