#include "host/TableData.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "host/NumberFormat.h"

namespace {

// Cells of one block: large enough that blocks are few, small enough that a small table is.
constexpr std::size_t BlockCells = 65536;
// The room that a row gets when it is filled out of turn.
constexpr int MinRowCells = 8;
// A row filled out of turn gets its full width at once while the whole table stays below this.
constexpr std::int64_t DenseCells = 1 << 22;

}  // namespace

TableData::TableData() = default;
TableData::~TableData() = default;

void TableData::Clear() {
    numCols = numRows = 0;
    rows.clear();
    texts.Clear();
    blocks.clear();
    nextCell = nullptr;
    cellsLeft = 0;
}

TableData::Cell* TableData::TakeCells(std::size_t count) {
    if (count > cellsLeft) {
        const std::size_t size = std::max(count, BlockCells);
        blocks.push_back(std::make_unique_for_overwrite<Cell[]>(size));
        nextCell = blocks.back().get();
        cellsLeft = size;
    }
    Cell* cells = nextCell;
    nextCell += count;
    cellsLeft -= count;
    return cells;
}

// Gives the row room for `count` cells. The row that was filled last lies at the end of its block and
// grows where it is; any other moves, to twice its room, so that moving stays cheap.
void TableData::GrowRow(Row& row, int count) {
    const auto missing = static_cast<std::size_t>(count - row.capacity);
    if (row.cells != nullptr && row.cells + row.capacity == nextCell && missing <= cellsLeft) {
        TakeCells(missing);
        row.capacity = count;
        return;
    }
    // A row at the table's right edge may be the one that widens the table, cell by cell: it is held to no
    // width.
    const int widest = count < numCols ? (numCols + 1) / 2 : std::numeric_limits<int>::max() / 2;
    int room =
        row.cells == nullptr ? count : std::max({count, MinRowCells, std::min(row.capacity, widest) * 2});
    if (count < numCols && static_cast<std::int64_t>(numCols) * numRows <= DenseCells) {
        room = numCols;
    }
    Cell* cells = TakeCells(static_cast<std::size_t>(room));
    std::copy_n(row.cells, row.count, cells);
    row.cells = cells;
    row.capacity = room;
}

TableData::Cell* TableData::Make(int col, int row) {
    if (col < 1 || row < 1) {
        return nullptr;
    }
    numCols = std::max(numCols, col);
    numRows = std::max(numRows, row);
    if (rows.size() < static_cast<std::size_t>(row)) {
        rows.resize(static_cast<std::size_t>(row));
    }
    Row& place = rows[static_cast<std::size_t>(row) - 1];
    if (col > place.count) {
        if (col > place.capacity) {
            GrowRow(place, col);
        }
        std::fill(place.cells + place.count, place.cells + col, Cell{{0, 0}, Missing});
        place.count = col;
    }
    return place.cells + col - 1;
}

template <class Value>
void TableData::Put(int col, int row, Kind kind, Value value) {
    static_assert(sizeof(Value) <= sizeof(Cell::value));
    if (Cell* cell = Make(col, row)) {
        std::memcpy(cell->value, &value, sizeof value);
        cell->kind = kind;
    }
}

const TableData::Cell* TableData::Find(int col, int row) const {
    if (col < 1 || row < 1 || static_cast<std::size_t>(row) > rows.size()) {
        return nullptr;
    }
    const Row& place = rows[static_cast<std::size_t>(row) - 1];
    return col > place.count ? nullptr : place.cells + col - 1;
}

template <class Value>
Value TableData::Get(int col, int row) const {
    Value value;
    std::memcpy(&value, Find(col, row)->value, sizeof value);
    return value;
}

void TableData::Set(int col, int row, int value) {
    Put(col, row, Int, value);
}

void TableData::Set(int col, int row, std::int64_t value) {
    Put(col, row, Int64, value);
}

void TableData::Set(int col, int row, double value) {
    Put(col, row, Double, value);
}

void TableData::Set(int col, int row, const char* text) {
    if (col < 1 || row < 1) {
        return;
    }
    Put(col, row, Text, texts.Add(text));
}

void TableData::Set(int col, int row, float value) {
    Put(col, row, Float, value);
}

void TableData::SetDataSize(int cols, int newRows) {
    const int fewerCols = std::max(cols, 0);
    const int fewerRows = std::max(newRows, 0);
    if (fewerRows < numRows && rows.size() > static_cast<std::size_t>(fewerRows)) {
        rows.resize(static_cast<std::size_t>(fewerRows));
    }
    if (fewerCols < numCols) {
        for (Row& row : rows) {
            row.count = std::min(row.count, fewerCols);
        }
    }
    numCols = fewerCols;
    numRows = fewerRows;
}

TableData::Kind TableData::GetKind(int col, int row) const {
    const Cell* cell = Find(col, row);
    return cell == nullptr ? Missing : cell->kind;
}

const char* TableData::GetText(int col, int row) const {
    return GetKind(col, row) == Text ? Get<const char*>(col, row) : "";
}

std::int64_t TableData::GetInt64(int col, int row) const {
    switch (GetKind(col, row)) {
        case Int:
            return Get<int>(col, row);
        case Int64:
            return Get<std::int64_t>(col, row);
        default:
            return 0;
    }
}

float TableData::GetFloat(int col, int row) const {
    return GetKind(col, row) == Float ? Get<float>(col, row) : 0.0F;
}

double TableData::GetFloatValue(int col, int row) {
    switch (GetKind(col, row)) {
        case Float:
            return Get<float>(col, row);
        case Double:
            return Get<double>(col, row);
        default:
            return static_cast<double>(GetInt64(col, row));
    }
}

std::string TableData::GetString(int col, int row) {
    switch (GetKind(col, row)) {
        case Text:
            return GetText(col, row);
        case Int:
        case Int64:
            return std::to_string(GetInt64(col, row));
        case Float:
            return FormatShortest(Get<float>(col, row));
        case Double:
            return FormatShortest(Get<double>(col, row));
        case Missing:
            break;
    }
    return {};
}

bool TableData::GetDataOrigin(int* firstDataCol, int* firstDataRow) {
    int firstCol = 0;
    int firstRow = 0;
    for (int row = 1; row <= static_cast<int>(rows.size()); ++row) {
        const int count = rows[static_cast<std::size_t>(row) - 1].count;
        for (int col = 1; col <= (firstCol == 0 ? count : std::min(count, firstCol - 1)); ++col) {
            if (IsFloat(col, row)) {
                firstCol = col;
                firstRow = firstRow == 0 ? row : firstRow;
                break;
            }
        }
    }
    if (firstCol == 0) {
        return false;
    }
    *firstDataCol = firstCol;
    *firstDataRow = firstRow;
    return true;
}

bool TableData::IsFloat(int col, int row) {
    return GetKind(col, row) >= Int;
}

bool TableData::IsMissing(int col, int row) {
    return GetKind(col, row) == Missing || (GetKind(col, row) == Text && *GetText(col, row) == '\0');
}

bool TableData::IsString(int col, int row) {
    return GetKind(col, row) == Text && *GetText(col, row) != '\0';
}
