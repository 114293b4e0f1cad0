#include "karta/Table.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace karta {

Table::Table() : parts(std::make_shared<TableParts>()) {}

Table::Table(TableParts tableParts) : parts(std::make_shared<TableParts>(std::move(tableParts))) {
    for (const Column& column : parts->columns) {
        if (column.GetRowCount() != parts->rows) {
            throw std::invalid_argument("the column '" + column.GetName() + "' has " +
                                        std::to_string(column.GetRowCount()) + " rows in a table of " +
                                        std::to_string(parts->rows));
        }
    }
    const Block* const block = GetBlock();
    if (block != nullptr && block->GetRowCount() != parts->rows) {
        throw std::invalid_argument("the block has " + std::to_string(block->GetRowCount()) +
                                    " rows in a table of " + std::to_string(parts->rows));
    }
    if (parts->blockPlace > parts->columns.size()) {
        throw std::invalid_argument("the block stands behind more columns than there are");
    }
}

const Column& Table::GetColumn(std::size_t place) const {
    if (place >= parts->columns.size()) {
        throw std::out_of_range("column " + std::to_string(place) + " of a table of " +
                                std::to_string(parts->columns.size()));
    }
    return parts->columns[place];
}

const Column& Table::GetColumn(std::string_view name) const {
    const Column* const column = FindColumn(name);
    if (column == nullptr) {
        throw std::out_of_range("there is no column '" + std::string(name) + "'");
    }
    return *column;
}

const Column* Table::FindColumn(std::string_view name) const {
    const auto found = std::find_if(parts->columns.begin(), parts->columns.end(),
                                    [name](const Column& column) { return column.GetName() == name; });
    return found == parts->columns.end() ? nullptr : &*found;
}

const Block* Table::GetBlock() const {
    const std::optional<Block>& block = parts->block;
    return block ? &*block : nullptr;
}

std::int64_t Table::GetWidth() const {
    return static_cast<std::int64_t>(parts->columns.size()) +
           (GetBlock() != nullptr ? GetBlock()->GetPointCount() : 0);
}

std::string Table::GetText(std::int64_t column, std::int64_t row) const {
    const auto place = static_cast<std::int64_t>(parts->blockPlace);
    const Block* const block = GetBlock();
    const std::int64_t points = block != nullptr ? block->GetPointCount() : 0;
    if (column < 0) {
        throw std::out_of_range("column " + std::to_string(column));
    }
    if (column >= place && column - place < points) {
        return block->ToText(row, column - place);
    }
    return GetColumn(static_cast<std::size_t>(column < place ? column : column - points)).ToText(row);
}

Table Table::Slice(std::int64_t firstRow, std::int64_t rows) const {
    if (firstRow < 0 || rows < 0 || firstRow > parts->rows - rows) {
        throw std::out_of_range("a slice beyond a table of " + std::to_string(parts->rows) + " rows");
    }
    TableParts slice = *parts;
    slice.rows = rows;
    for (Column& column : slice.columns) {
        column = column.Slice(firstRow, rows);
    }
    if (slice.block) {
        slice.block = slice.block->Slice(firstRow, rows);
    }
    return Table(std::move(slice));
}

Table Table::With(std::vector<Fact> facts, std::vector<Note> notes) const {
    TableParts other = *parts;
    other.facts = std::move(facts);
    other.notes = std::move(notes);
    return Table(std::move(other));
}

}  // namespace karta
