#include "karta/internal/ScanSchema.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "base/Note.h"
#include "base/NumberFormat.h"
#include "karta/internal/TableRows.h"

namespace karta {

namespace {

std::string Quoted(const std::string& name) {
    return "'" + name + "'";
}

// "11 points from 100 to 200"
std::string AxisOf(const Block& block) {
    std::string text = CountOf(static_cast<std::uint64_t>(block.GetPointCount()), "point");
    if (const auto axis = block.GetAxis(); !axis.empty()) {
        text += " from " + FormatShortest(axis.front()) + " to " + FormatShortest(axis.back());
    }
    return text;
}

void CheckUnit(const std::string& what, const std::string& expected, const std::string& found) {
    if (!expected.empty() && !found.empty() && expected != found) {
        throw Misfit{what + " is in " + found + " where the first file has " + expected};
    }
}

void CheckSameColumns(const Table& first, const Table& table) {
    for (const Column& column : first.GetColumns()) {
        if (table.FindColumn(column.GetName()) == nullptr) {
            throw Misfit{"there is no column " + Quoted(column.GetName())};
        }
    }
    for (const Column& column : table.GetColumns()) {
        if (first.FindColumn(column.GetName()) == nullptr) {
            throw Misfit{"the first file has no column " + Quoted(column.GetName())};
        }
    }
    if (table.GetColumnCount() != first.GetColumnCount()) {
        throw Misfit{"there are " + CountOf(table.GetColumnCount(), "column") + ", not " +
                     std::to_string(first.GetColumnCount())};
    }
}

}  // namespace

// Files may have their columns in any order. Of equal names the place decides.
const Column& ScanSchema::ColumnOf(const Table& table, std::size_t place) const {
    const std::string& name = first.GetColumn(place).GetName();
    const Column& same = table.GetColumn(place);
    return same.GetName() == name ? same : table.GetColumn(name);
}

void ScanSchema::CheckBlock(const Table& table) const {
    const Block* expected = first.GetBlock();
    const Block* found = table.GetBlock();
    if ((expected == nullptr) != (found == nullptr)) {
        throw Misfit{expected == nullptr ? "it holds a block of like columns, and the first file none"
                                         : "it holds no block of like columns, as the first file does"};
    }
    if (expected == nullptr) {
        return;
    }
    CheckUnit("the axis", expected->GetAxisUnit(), found->GetAxisUnit());
    CheckUnit("the block", expected->GetValueUnit(), found->GetValueUnit());
    if (expected->GetPointCount() != found->GetPointCount()) {
        throw Misfit{"it has " + AxisOf(*found) + ", not " + AxisOf(*expected) +
                     "; a grid puts all on one axis"};
    }
    const auto axis = expected->GetAxis();
    const auto other = found->GetAxis();
    if (!std::equal(axis.begin(), axis.end(), other.begin(), other.end())) {
        throw Misfit{"it has another axis than the first file: " + AxisOf(*found) + ", not " +
                     AxisOf(*expected) + "; a grid puts all on one"};
    }
}

void ScanSchema::Widen(const Table& table) {
    if (!isMade) {
        first = table;
        for (const Column& column : table.GetColumns()) {
            types.push_back(column.GetType());
        }
        isFloat32 = table.GetBlock() == nullptr || table.GetBlock()->IsFloat32();
        isMade = true;
        return;
    }
    CheckSameColumns(first, table);
    CheckBlock(table);
    std::vector<ColumnType> wider = types;
    for (std::size_t i = 0; i < types.size(); ++i) {
        const Column& column = ColumnOf(table, i);
        CheckUnit("column " + Quoted(column.GetName()), first.GetColumn(i).GetUnit(), column.GetUnit());
        const std::optional<ColumnType> common = CommonType(types[i], column.GetType());
        if (!common) {
            throw Misfit{"column " + Quoted(column.GetName()) + " is " + GetTypeName(column.GetType()) +
                         " where the others are " + GetTypeName(types[i])};
        }
        wider[i] = *common;
    }
    types = std::move(wider);
    isFloat32 = isFloat32 && (table.GetBlock() == nullptr || table.GetBlock()->IsFloat32());
}

void ScanSchema::Check(const Table& table) const {
    ScanSchema tried = *this;
    tried.Widen(table);
    for (std::size_t i = 0; i < types.size(); ++i) {
        if (tried.types[i] != types[i]) {
            throw Misfit{"column " + Quoted(first.GetColumn(i).GetName()) + " is " +
                         GetTypeName(ColumnOf(table, i).GetType()) + " where the first batch has " +
                         GetTypeName(types[i])};
        }
    }
    if (tried.isFloat32 != isFloat32) {
        throw Misfit{"its numbers are doubles where the first batch has floats"};
    }
}

Table ScanSchema::Join(const std::vector<Table>& tables, const std::vector<std::string>& names) const {
    TableParts parts;
    std::vector<std::string> files;
    for (std::size_t i = 0; i < tables.size(); ++i) {
        parts.rows += tables[i].GetRowCount();
        files.insert(files.end(), static_cast<std::size_t>(tables[i].GetRowCount()), names[i]);
        for (Note note : tables[i].GetNotes()) {
            note.text = names[i] + ": " + note.text;
            parts.notes.push_back(std::move(note));
        }
    }
    parts.columns.push_back(Column::Of("file", "", files));
    for (std::size_t i = 0; i < types.size(); ++i) {
        std::vector<Column> pieces;
        for (const Table& table : tables) {
            pieces.push_back(ColumnOf(table, i));
        }
        parts.columns.push_back(JoinColumns(pieces, types[i])
                                    .Renamed(first.GetColumn(i).GetName(), first.GetColumn(i).GetUnit()));
    }
    if (first.GetBlock() != nullptr) {
        std::vector<Block> blocks;
        for (const Table& table : tables) {
            blocks.push_back(*table.GetBlock());
        }
        parts.block = JoinBlocks(blocks, isFloat32);
        parts.blockPlace = first.GetBlockPlace() + 1;
    }
    return Table(std::move(parts));
}

}  // namespace karta
