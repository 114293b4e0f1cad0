#include "table/TableData.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <string_view>

#include "base/DateText.h"
#include "base/NumberFormat.h"

namespace {

// A small table costs little; later blocks double up to the largest.
constexpr int FirstBlockCells = 256;
constexpr int LargestBlockCells = 65536;
// A row of known width that has outgrown a block has this many times its room next: the rest of what is
// asked for costs nothing before it is used, and moving does.
constexpr int LongRowGrowth = 8;
// The room that a row gets when it is filled out of turn.
constexpr int MinRowCells = 8;
// So many doubles are kept in the arena side by side, where each by itself is one with a NUL: not more, since
// what is left of a block may be less than they take.
constexpr std::size_t NumbersTogether = 512;
// What lies in the arena in front of a source: eight bytes and their NUL.
constexpr std::size_t ContentSize = sizeof(std::uint64_t) + 1;
// Room for rows is set aside up to this many; beyond it grows as they come, since a file's count may lie.
constexpr int MaxReservedRows = 1 << 20;
// A row filled out of turn gets its full width at once while the whole table stays below this.
constexpr std::int64_t DenseCells = 1 << 22;

// A row's cells stand side by side, the empty ones between them too, but for those beyond a gap of this many:
// a few cells far to the right must not cost their row's whole width. A row whose far cells fill this part of
// their stretch stands side by side after all.
constexpr int NearGap = 64;
constexpr int DenseShare = 8;

// Whether a cell of this kind has its eight bytes in the arena.
bool IsWide(TableData::Kind kind) {
    return kind == TableData::Int64 || kind == TableData::Double || kind == TableData::Time ||
           kind == TableData::DateTime || kind == TableData::Duration;
}

// The place in the arena that a cell's word holds.
const char* PlaceOf(std::uint64_t content) {
    // One word a cell, whatever is in it, is what keeps large tables small.
    return reinterpret_cast<const char*>(content);  // NOLINT(performance-no-int-to-ptr)
}

}  // namespace

TableData::TableData() = default;
TableData::~TableData() = default;

void TableData::Clear() {
    numCols = numRows = 0;
    rows.clear();
    tails.clear();
    texts.Clear();
    blocks.clear();
    nextBlockCells = 0;
    nextCell = nullptr;
    cellsLeft = 0;
}

TableData::Cell* TableData::TakeCells(std::size_t count) {
    if (count > cellsLeft) {
        nextBlockCells = std::clamp(nextBlockCells * 2, FirstBlockCells, LargestBlockCells);
        // Whole rows, so that none begins at the end of a block and has to move.
        const int width = std::clamp(numCols, 1, LargestBlockCells);
        const int wholeRows = std::max(nextBlockCells / width, 1) * width;
        const std::size_t size = std::max(count, static_cast<std::size_t>(wholeRows));
        if (budget != nullptr) {
            budget->ChargeMemory(size * sizeof(Cell), "The table");
        }
        blocks.push_back(MakeTableBlock<Cell>(size));
        nextCell = blocks.back().get();
        cellsLeft = size;
    }
    Cell* cells = nextCell;
    nextCell += count;
    cellsLeft -= count;
    return cells;
}

// How much room a row gets that needs `count` cells and can't grow where it is.
int TableData::RoomFor(const Row& row, int count) const {
    if (count < numCols && static_cast<std::int64_t>(numCols) * numRows <= DenseCells) {
        return numCols;
    }
    if (row.cells == nullptr) {
        return count;
    }
    // A row at the table's right edge may be the one that widens the table, cell by cell: it is held to no
    // width.
    const bool isWidening = count >= numCols;
    const int growth = isWidening || row.capacity < LargestBlockCells ? 2 : LongRowGrowth;
    const std::int64_t widest = isWidening ? std::numeric_limits<int>::max() : numCols;
    const std::int64_t room = std::max<std::int64_t>(std::int64_t{row.capacity} * growth, MinRowCells);
    return static_cast<int>(std::clamp<std::int64_t>(room, count, widest));
}

// Gives the row room for `count` cells. The row that was filled last lies at the end of its block and
// grows where it is; any other moves, to a multiple of its room, so that moving stays cheap.
void TableData::GrowRow(Row& row, int count) {
    const auto missing = static_cast<std::size_t>(count - row.capacity);
    if (row.cells != nullptr && row.cells + row.capacity == nextCell && missing <= cellsLeft) {
        TakeCells(missing);
        row.capacity = count;
        return;
    }
    const int room = RoomFor(row, count);
    Cell* cells = TakeCells(static_cast<std::size_t>(room));
    std::copy_n(row.cells, row.count, cells);
    row.cells = cells;
    row.capacity = room;
}

void TableData::SetBudget(karta::Budget* newBudget) {
    budget = newBudget;
    texts.SetBudget(newBudget);
}

// Room for the rows up to this one.
void TableData::ExtendRows(int count) {
    const auto wanted = static_cast<std::size_t>(count);
    if (budget != nullptr && wanted > rows.capacity()) {
        budget->ChargeMemory(std::max(wanted, 2 * rows.capacity()) * sizeof(Row), "The table's rows");
        rows.reserve(std::max(wanted, 2 * rows.capacity()));
    }
    rows.resize(wanted);
}

bool TableData::IsFar(const Row& row, int col) const {
    return col - row.count > NearGap && col > row.capacity &&
           static_cast<std::int64_t>(numCols) * numRows > DenseCells;
}

// A cell beyond a gap, in the order of the columns.
TableData::Cell* TableData::MakeFar(Row& row, int col) {
    if (row.tail == NoTail) {
        row.tail = static_cast<int>(tails.size());
        tails.emplace_back();
    }
    std::vector<FarCell>& tail = tails[static_cast<std::size_t>(row.tail)];
    const auto place = std::lower_bound(tail.begin(), tail.end(), col,
                                        [](const FarCell& far, int c) { return far.col < c; });
    if (place != tail.end() && place->col == col) {
        return &place->cell;
    }
    if (budget != nullptr) {
        budget->ChargeMemory(sizeof(FarCell), "The table");
    }
    return &tail.insert(place, {col, Missing})->cell;
}

// Gives the row its far cells up to column `count` side by side with the others.
void TableData::TakeFarCells(Row& row, int count) {
    std::vector<FarCell>& tail = tails[static_cast<std::size_t>(row.tail)];
    auto far = tail.begin();
    for (; far != tail.end() && far->col <= count; ++far) {
        row.cells[far->col - 1] = far->cell;
    }
    tail.erase(tail.begin(), far);
}

TableData::Cell* TableData::Make(int col, int row) {
    if (col < 1 || row < 1) {
        return nullptr;
    }
    numCols = std::max(numCols, col);
    numRows = std::max(numRows, row);
    if (rows.size() < static_cast<std::size_t>(row)) {
        ExtendRows(row);
    }
    Row& place = rows[static_cast<std::size_t>(row) - 1];
    // The road of nearly every cell: the next one of the row that is being filled.
    if (col == place.count + 1 && place.cells + place.count == nextCell && cellsLeft > 0 &&
        place.tail == NoTail) {
        ++nextCell;
        --cellsLeft;
        place.capacity = place.count = col;
        return place.cells + col - 1;
    }
    if (col > place.count) {
        int count = col;
        if (IsFar(place, col)) {
            Cell* const far = MakeFar(place, col);
            const std::vector<FarCell>& tail = tails[static_cast<std::size_t>(place.tail)];
            if (static_cast<std::int64_t>(tail.size()) * DenseShare < tail.back().col - place.count) {
                return far;
            }
            count = tail.back().col;
        }
        if (count > place.capacity) {
            GrowRow(place, count);
        }
        std::fill(place.cells + place.count, place.cells + count, Cell{Missing});
        place.count = count;
        if (place.tail != NoTail) {
            TakeFarCells(place, count);
        }
    }
    return place.cells + col - 1;
}

// So many cells of a row side by side, which are to be set; null where some may stand far behind the others.
TableData::Cell* TableData::MakeRun(int firstCol, int row, std::size_t count) {
    if (firstCol < 1 || row < 1 || count == 0 ||
        count > static_cast<std::size_t>(std::numeric_limits<int>::max() - firstCol)) {
        return nullptr;
    }
    Make(firstCol, row);
    Row& place = rows[static_cast<std::size_t>(row) - 1];
    if (place.tail != NoTail) {
        return nullptr;
    }
    const int last = firstCol + static_cast<int>(count) - 1;
    numCols = std::max(numCols, last);
    if (last > place.count) {
        if (last > place.capacity) {
            GrowRow(place, last);
        }
        // Before they are set: memory that can't be had leaves the row as it was.
        std::fill(place.cells + place.count, place.cells + last, Cell{Missing});
        place.count = last;
    }
    return place.cells + firstCol - 1;
}

void TableData::Put(int col, int row, Kind kind, std::uint64_t content) {
    Cell* cell = Make(col, row);
    if (cell != nullptr) {
        *cell = content << KindBits | kind;
    }
}

void TableData::PutAt(int col, int row, Kind kind, const char* place) {
    Put(col, row, kind, reinterpret_cast<std::uintptr_t>(place));
}

TableData::Cell TableData::Find(int col, int row) const {
    if (col < 1 || row < 1 || static_cast<std::size_t>(row) > rows.size()) {
        return Missing;
    }
    const Row& place = rows[static_cast<std::size_t>(row) - 1];
    if (col <= place.count) {
        return place.cells[col - 1];
    }
    if (place.tail == NoTail) {
        return Missing;
    }
    const std::vector<FarCell>& tail = tails[static_cast<std::size_t>(place.tail)];
    const auto found = std::lower_bound(tail.begin(), tail.end(), col,
                                        [](const FarCell& far, int c) { return far.col < c; });
    return found != tail.end() && found->col == col ? found->cell : Cell{Missing};
}

std::uint64_t TableData::ContentOf(Cell cell) {
    if ((cell & SourceBit) == 0) {
        return cell >> KindBits;
    }
    std::uint64_t content = (cell & ~SourceBit) >> KindBits;
    if (!IsWide(static_cast<Kind>(cell & KindMask))) {
        std::memcpy(&content, PlaceOf(content), sizeof content);
    }
    return content;
}

template <class Number>
Number TableData::GetWide(int col, int row) const {
    Number number{};
    if (const char* place = PlaceOf(GetContent(col, row))) {
        std::memcpy(&number, place, sizeof number);
    }
    return number;
}

void TableData::Set(int col, int row, int value) {
    Put(col, row, Int, static_cast<std::uint32_t>(value));
}

void TableData::PutInt64(int col, int row, Kind kind, std::int64_t value) {
    if (col >= 1 && row >= 1) {
        PutAt(col, row, kind, texts.Add({reinterpret_cast<const char*>(&value), sizeof value}));
    }
}

void TableData::PutText(int col, int row, Kind kind, std::string_view text) {
    if (col >= 1 && row >= 1) {
        PutAt(col, row, kind, texts.AddOnce(text));
    }
}

void TableData::Set(int col, int row, std::int64_t value) {
    PutInt64(col, row, Int64, value);
}

void TableData::Set(int col, int row, double value) {
    if (col >= 1 && row >= 1) {
        PutAt(col, row, Double, texts.Add({reinterpret_cast<const char*>(&value), sizeof value}));
    }
}

void TableData::Set(int col, int row, const char* text) {
    if (col >= 1 && row >= 1) {
        // Most texts are short, and copied without asking how long they are.
        const bool isShort = strnlen(text, TextArena::LeastShared) < TextArena::LeastShared;
        PutAt(col, row, Text, isShort ? texts.Add(text) : texts.AddOnce(text));
    }
}

void TableData::Set(int col, int row, float value) {
    Put(col, row, Float, std::bit_cast<std::uint32_t>(value));
}

void TableData::SetText(int col, int row, std::string_view text) {
    PutText(col, row, Text, text);
}

void TableData::SetBool(int col, int row, bool value) {
    Put(col, row, Bool, value ? 1 : 0);
}

void TableData::SetDate(int col, int row, std::int32_t days) {
    Put(col, row, Date, static_cast<std::uint32_t>(days));
}

void TableData::SetTime(int col, int row, std::int64_t microseconds) {
    PutInt64(col, row, Time, microseconds);
}

void TableData::SetDateTime(int col, int row, std::int64_t microseconds) {
    PutInt64(col, row, DateTime, microseconds);
}

void TableData::SetDuration(int col, int row, std::int64_t microseconds) {
    PutInt64(col, row, Duration, microseconds);
}

void TableData::SetError(int col, int row, std::string_view text) {
    PutText(col, row, Error, text);
}

void TableData::SetMissing(int col, int row) {
    Put(col, row, Missing, 0);
}

void TableData::SetSource(int col, int row, std::string_view source) {
    const Kind kind = GetKind(col, row);
    if (col < 1 || row < 1 || kind == Text || kind == Error) {
        return;
    }
    const std::uint64_t content = GetContent(col, row);
    const char* const place = IsWide(kind)
                                  ? PlaceOf(content)
                                  : texts.Add({reinterpret_cast<const char*>(&content), sizeof content});
    *Make(col, row) =
        SourceBit |
        reinterpret_cast<std::uintptr_t>(texts.AddBehind(place, ContentSize, source)) << KindBits | kind;
}

const char* TableData::GetSource(int col, int row) const {
    const Cell cell = Find(col, row);
    return (cell & SourceBit) == 0 ? nullptr : PlaceOf((cell & ~SourceBit) >> KindBits) + ContentSize;
}

void TableData::SetRowRun(int firstCol, int row, std::span<const float> values) {
    if (Cell* cell = MakeRun(firstCol, row, values.size())) {
        for (const float value : values) {
            *cell++ = static_cast<Cell>(std::bit_cast<std::uint32_t>(value)) << KindBits | Float;
        }
        return;
    }
    for (const float value : values) {
        TableData::Set(firstCol++, row, value);
    }
}

void TableData::SetRowRun(int firstCol, int row, std::span<const double> values) {
    while (!values.empty()) {
        const std::span<const double> run = values.first(std::min(values.size(), NumbersTogether));
        Cell* cell = MakeRun(firstCol, row, run.size());
        if (cell == nullptr) {
            break;
        }
        const char* place = texts.Add({reinterpret_cast<const char*>(run.data()), run.size_bytes()});
        for (std::size_t i = 0; i < run.size(); ++i, place += sizeof(double)) {
            *cell++ = static_cast<Cell>(reinterpret_cast<std::uintptr_t>(place)) << KindBits | Double;
        }
        firstCol += static_cast<int>(run.size());
        values = values.subspan(run.size());
    }
    for (const double value : values) {
        TableData::Set(firstCol++, row, value);
    }
}

void TableData::SetColumnRun(int col, int firstRow, std::span<const float> values) {
    for (const float value : values) {
        TableData::Set(col, firstRow++, value);
    }
}

void TableData::SetColumnRun(int col, int firstRow, std::span<const double> values) {
    while (col >= 1 && firstRow >= 1 && !values.empty()) {
        const std::span<const double> run = values.first(std::min(values.size(), NumbersTogether));
        const char* place = texts.Add({reinterpret_cast<const char*>(run.data()), run.size_bytes()});
        for (std::size_t i = 0; i < run.size(); ++i, place += sizeof(double)) {
            PutAt(col, firstRow++, Double, place);
        }
        values = values.subspan(run.size());
    }
    for (const double value : values) {
        TableData::Set(col, firstRow++, value);
    }
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
            if (row.tail != NoTail) {
                std::erase_if(tails[static_cast<std::size_t>(row.tail)],
                              [&](const FarCell& far) { return far.col > fewerCols; });
            }
        }
    }
    numCols = fewerCols;
    numRows = fewerRows;
    // A table that grows row by row must not be moved at each step.
    if (static_cast<std::size_t>(fewerRows) > 2 * rows.capacity()) {
        rows.reserve(static_cast<std::size_t>(std::min(fewerRows, MaxReservedRows)));
    }
}

TableData::Kind TableData::GetKind(int col, int row) const {
    return static_cast<Kind>(Find(col, row) & KindMask);
}

const char* TableData::GetText(int col, int row) const {
    const Kind kind = GetKind(col, row);
    return kind == Text || kind == Error ? PlaceOf(GetContent(col, row)) : "";
}

std::int64_t TableData::GetInt64(int col, int row) const {
    switch (GetKind(col, row)) {
        case Int:
        case Bool:
        case Date:
            return static_cast<std::int32_t>(GetContent(col, row));
        case Int64:
        case Time:
        case DateTime:
        case Duration:
            return GetWide<std::int64_t>(col, row);
        default:
            return 0;
    }
}

float TableData::GetFloat(int col, int row) const {
    return GetKind(col, row) == Float ? std::bit_cast<float>(static_cast<std::uint32_t>(GetContent(col, row)))
                                      : 0.0F;
}

TableData::Kind TableData::NumberOf(Cell cell, double& value) {
    switch (cell & KindMask) {
        case Double:
            std::memcpy(&value, PlaceOf(ContentOf(cell)), sizeof value);
            return Double;
        case Float:
            value = std::bit_cast<float>(static_cast<std::uint32_t>(ContentOf(cell)));
            return Float;
        default:
            return Missing;
    }
}

TableData::Kind TableData::FindNumber(int col, int row, double& value) const {
    return NumberOf(Find(col, row), value);
}

TableData::Kind TableData::FindPlainNumber(int col, int row, double& value) const {
    const Cell cell = Find(col, row);
    return (cell & SourceBit) == 0 ? NumberOf(cell, value) : Missing;
}

void TableData::CopyCell(int col, int row, CellOutput& output, int toCol, int toRow) const {
    switch (GetKind(col, row)) {
        case Missing:
            output.Missing(toCol, toRow);
            break;
        case Text:
            output.Text(toCol, toRow, GetText(col, row));
            break;
        case Error:
            output.Error(toCol, toRow, GetText(col, row));
            break;
        case Int:
        case Int64:
            output.Integer(toCol, toRow, GetInt64(col, row));
            break;
        case Float:
            output.Number(toCol, toRow, GetFloat(col, row));
            break;
        case Double:
            output.Number(toCol, toRow, GetWide<double>(col, row));
            break;
        case Bool:
            output.Bool(toCol, toRow, GetInt64(col, row) != 0);
            break;
        case Date:
            output.Date(toCol, toRow, static_cast<std::int32_t>(GetInt64(col, row)));
            break;
        case Time:
            output.Time(toCol, toRow, GetInt64(col, row));
            break;
        case DateTime:
            output.DateTime(toCol, toRow, GetInt64(col, row));
            break;
        case Duration:
            output.Duration(toCol, toRow, GetInt64(col, row));
            break;
    }
    if (const char* source = GetSource(col, row)) {
        output.Source(toCol, toRow, source);
    }
}

double TableData::GetFloatValue(int col, int row) {
    switch (GetKind(col, row)) {
        case Float:
            return GetFloat(col, row);
        case Double:
            return GetWide<double>(col, row);
        case Int:
        case Int64:
            return static_cast<double>(GetInt64(col, row));
        default:
            return 0.0;
    }
}

std::string TableData::GetString(int col, int row) {
    if (const char* source = GetSource(col, row)) {
        return source;
    }
    return GetValueText(col, row);
}

std::string TableData::GetValueText(int col, int row) {
    switch (GetKind(col, row)) {
        case Text:
        case Error:
            return GetText(col, row);
        case Bool:
            return GetInt64(col, row) != 0 ? "TRUE" : "FALSE";
        case Date:
            return FormatDate(static_cast<std::int32_t>(GetInt64(col, row)));
        case Time:
            return FormatTime(GetInt64(col, row));
        case DateTime:
            return FormatDateTime(GetInt64(col, row));
        case Duration:
            return FormatDuration(GetInt64(col, row));
        case Int:
        case Int64:
            return std::to_string(GetInt64(col, row));
        case Float:
            return FormatShortest(GetFloat(col, row));
        case Double:
            return FormatShortest(GetFloatValue(col, row));
        case Missing:
            break;
    }
    return {};
}

bool TableData::GetDataOrigin(int* firstDataCol, int* firstDataRow) {
    int firstCol = 0;
    int firstRow = 0;
    for (int row = 1; row <= static_cast<int>(rows.size()); ++row) {
        const Row& place = rows[static_cast<std::size_t>(row) - 1];
        const bool hasFar = place.tail != NoTail && !tails[static_cast<std::size_t>(place.tail)].empty();
        const int count = hasFar ? tails[static_cast<std::size_t>(place.tail)].back().col : place.count;
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
    return IsNumber(GetKind(col, row));
}

bool TableData::IsMissing(int col, int row) {
    return GetKind(col, row) == Missing || (GetKind(col, row) == Text && *GetText(col, row) == '\0');
}

bool TableData::IsString(int col, int row) {
    return !IsFloat(col, row) && !IsMissing(col, row);
}
