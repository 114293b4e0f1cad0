#include "karta/internal/ScanSchema.h"

#include <algorithm>

#include "base/Note.h"
#include "base/NumberFormat.h"
#include "base/Unicode.h"
#include "karta/internal/TableRows.h"
#include "karta/internal/UnitName.h"

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
    if (!expected.empty() && !found.empty() && UsualUnit(expected) != UsualUnit(found)) {
        throw Misfit{what + " is in " + found + " where the first file has " + expected};
    }
}

// Formats say what the numbers are by a quantity, a unit, or the one in the place of the other.
void CheckOrdinate(const Block& expected, const Block& found) {
    const std::string before = OrdinateOf(expected.GetValueQuantity(), expected.GetValueUnit());
    const std::string now = OrdinateOf(found.GetValueQuantity(), found.GetValueUnit());
    if (before.empty() || now.empty()) {
        CheckUnit("the block", expected.GetValueUnit(), found.GetValueUnit());
    } else if (before != now) {
        throw Misfit{"it is " + now + " where the first file is " + before};
    }
}

// Its rows are all missing.
Column EmptyColumn(std::int64_t rows) {
    ColumnBuffers buffers;
    buffers.rows = rows;
    buffers.nullCount = rows;
    return {"", "", std::move(buffers)};
}

}  // namespace

ScanSchema::Places ScanSchema::PlacesOf(const Table& table) {
    Places places;
    std::map<std::string, int> counts;
    for (std::size_t i = 0; i < table.GetColumnCount(); ++i) {
        const std::string& name = table.GetColumn(i).GetName();
        places.emplace(Key(name, counts[name]++), i);
    }
    return places;
}

std::set<ScanSchema::Key> ScanSchema::KnownKeys() const {
    std::set<Key> keys;
    for (const Entry& entry : entries) {
        keys.insert(entry.key);
    }
    return keys;
}

void ScanSchema::CheckSameColumns(const Table& table, const Places& places) const {
    const auto hint = [&](const std::string& text) {
        return block && table.GetBlock() != nullptr ? text + "; a grid takes the columns of all files" : text;
    };
    for (const Entry& entry : entries) {
        if (!places.contains(entry.key)) {
            throw Misfit{hint("there is no column " + Quoted(entry.key.first))};
        }
    }
    if (places.size() == entries.size()) {
        return;
    }
    const std::set<Key> known = KnownKeys();
    for (const auto& [key, place] : places) {
        if (!known.contains(key)) {
            throw Misfit{hint("the first file has no column " + Quoted(key.first))};
        }
    }
}

void ScanSchema::CheckBlock(const Table& table) const {
    const Block* const found = table.GetBlock();
    if (block.has_value() != (found != nullptr)) {
        throw Misfit{block ? "it holds no block of like columns, as the first file does"
                           : "it holds a block of like columns, and the first file none"};
    }
    if (!block) {
        return;
    }
    CheckUnit("the axis", block->GetAxisUnit(), found->GetAxisUnit());
    CheckOrdinate(*block, *found);
    if (block->GetPointCount() != found->GetPointCount()) {
        throw Misfit{"it has " + AxisOf(*found) + ", not " + AxisOf(*block) +
                     "; a grid puts all on one axis"};
    }
    const auto axis = block->GetAxis();
    const auto other = found->GetAxis();
    if (!std::equal(axis.begin(), axis.end(), other.begin(), other.end())) {
        throw Misfit{"it has another axis than the first file: " + AxisOf(*found) + ", not " +
                     AxisOf(*block) + "; a grid puts all on one"};
    }
}

// One that holds both. Where the columns are those of all files, texts hold what nothing else does.
ColumnType ScanSchema::TypeFor(const Entry& entry, const Column& column) const {
    CheckUnit("column " + Quoted(column.GetName()), entry.unit, column.GetUnit());
    const std::optional<ColumnType> common = CommonType(entry.type, column.GetType());
    if (!common && columns == ScanColumns::Same) {
        throw Misfit{"column " + Quoted(column.GetName()) + " is " + GetTypeName(column.GetType()) +
                     " where the others are " + GetTypeName(entry.type)};
    }
    return common.value_or(ColumnType::Text);
}

void ScanSchema::WidenColumns(const Table& table) {
    const Places places = PlacesOf(table);
    if (hasColumns && columns == ScanColumns::Same) {
        CheckSameColumns(table, places);
    }
    std::vector<Entry> wider = entries;
    const std::set<Key> known = KnownKeys();
    for (Entry& entry : wider) {
        if (const auto place = places.find(entry.key); place != places.end()) {
            entry.type = TypeFor(entry, table.GetColumn(place->second));
        }
    }
    std::vector<const Key*> order(places.size());
    for (const auto& [key, place] : places) {
        order[place] = &key;
    }
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (!known.contains(*order[i])) {
            wider.push_back({*order[i], table.GetColumn(i).GetUnit(), table.GetColumn(i).GetType()});
        }
    }
    entries = std::move(wider);
    // Of the columns of all files all stand in front, so that the spectra are the end of each row.
    blockPlace = columns == ScanColumns::Union ? entries.size()
                 : hasColumns                  ? blockPlace
                                               : table.GetBlockPlace();
    hasColumns = true;
}

void ScanSchema::Widen(const Table& table) {
    ScanSchema wider = *this;
    if (!isMade) {
        if (table.GetBlock() != nullptr) {
            wider.block = *table.GetBlock();
        }
        wider.isFloat32 = true;
        wider.isMade = true;
    }
    wider.WidenColumns(table);
    wider.CheckBlock(table);
    wider.isFloat32 = wider.isFloat32 && (table.GetBlock() == nullptr || table.GetBlock()->IsFloat32());
    *this = std::move(wider);
}

void ScanSchema::Check(const Table& table) const {
    ScanSchema tried = *this;
    tried.Widen(table);
    if (tried.entries.size() != entries.size()) {
        throw Misfit{"it has columns that the first batch has not"};
    }
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const Entry& fixed = entries[i];
        if (fixed.type != tried.entries[i].type) {
            const Column& column = table.GetColumn(PlacesOf(table).at(fixed.key));
            throw Misfit{"column " + Quoted(fixed.key.first) + " is " + GetTypeName(column.GetType()) +
                         " where the first batch has " + GetTypeName(fixed.type)};
        }
    }
    if (tried.isFloat32 != isFloat32) {
        throw Misfit{"its numbers are doubles where the first batch has floats"};
    }
}

Table ScanSchema::Join(const std::vector<Table>& tables, const std::vector<std::string>& names) const {
    TableParts parts;
    std::vector<std::string> files;
    std::vector<Places> places;
    for (std::size_t i = 0; i < tables.size(); ++i) {
        parts.rows += tables[i].GetRowCount();
        files.insert(files.end(), static_cast<std::size_t>(tables[i].GetRowCount()), AsUtf8(names[i]));
        for (Note note : tables[i].GetNotes()) {
            note.text = AsUtf8(names[i]) + ": " + note.text;
            parts.notes.push_back(std::move(note));
        }
        places.push_back(PlacesOf(tables[i]));
    }
    parts.columns.push_back(Column::Of("file", "", files));
    for (const Entry& entry : entries) {
        std::vector<Column> pieces;
        for (std::size_t i = 0; i < tables.size(); ++i) {
            const auto place = places[i].find(entry.key);
            pieces.push_back(place == places[i].end() ? EmptyColumn(tables[i].GetRowCount())
                                                      : tables[i].GetColumn(place->second));
        }
        parts.columns.push_back(JoinColumns(pieces, entry.type).Renamed(entry.key.first, entry.unit));
    }
    if (block) {
        std::vector<Block> blocks;
        for (const Table& table : tables) {
            blocks.push_back(*table.GetBlock());
        }
        parts.block = JoinBlocks(blocks, isFloat32);
        parts.blockPlace = blockPlace + 1;
    }
    return Table(std::move(parts));
}

}  // namespace karta
