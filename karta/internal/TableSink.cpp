#include "karta/internal/TableSink.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <tuple>
#include <utility>

#include "base/OrderedWork.h"
#include "base/Unicode.h"
#include "karta/internal/ChangedMeanwhile.h"
#include "karta/internal/ColumnLetters.h"

namespace karta {

namespace {

std::uint64_t BitsOf(double value) {
    return std::bit_cast<std::uint64_t>(value);
}

std::uint64_t BitsOf(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

std::uint64_t BitsOf(std::int64_t value) {
    return static_cast<std::uint64_t>(value);
}

bool IsExactNumber(const Cell& cell) {
    return cell.IsNumber() && (cell.kind != CellKind::Int64 || (cell.GetInteger() >= -LargestExactInteger &&
                                                                cell.GetInteger() <= LargestExactInteger));
}

// Whether each text is, which it is where all bytes together are and none begins amid a character.
bool AreUtf8(const TextRun& texts) {
    const std::string_view all(texts.bytes + texts.begin, texts.ends.back() - texts.begin);
    const auto beginsCharacter = [&](std::uint32_t begin) {
        return begin == texts.ends.back() || (static_cast<unsigned char>(texts.bytes[begin]) & 0xc0U) != 0x80;
    };
    return IsAscii(all) ||
           (IsUtf8(all) && std::all_of(texts.ends.begin(), texts.ends.end(), beginsCharacter));
}

}  // namespace

TableSink::TableSink(std::shared_ptr<ReadContext> readContext, std::optional<int> headerRow)
    : context(std::move(readContext)), header(headerRow), store(*context), block(store) {}

TableSink::TableSink(std::shared_ptr<ReadContext> readContext, RowsAbove rowsAbove)
    : TableSink(std::move(readContext)) {
    above = rowsAbove;
}

TableSink::TableSink(std::shared_ptr<ReadContext> readContext, const TablePlan& tablePlan, int rows)
    : TableSink(std::move(readContext)) {
    firstBlock = tablePlan.GetFirstBlockColumn();
    lastBlock = tablePlan.GetLastBlockColumn();
    firstBlockRow = 1;
    isPlanned = true;
    store.expectedRows = rows;
    if (const Block* planned = tablePlan.head.GetBlock()) {
        block.Begin(planned->IsRowMajor(), planned->IsFloat32(), rows, planned->GetPointCount());
    }
}

TableSink::~TableSink() = default;

// From the first cell on the columns of a block are known, or it is a grid until a run finds otherwise.
void TableSink::LookAtShape() {
    const TableShape& shape = context->shape;
    if (shape.HasBlock()) {
        firstBlock = shape.firstBlockColumn;
        lastBlock = shape.lastBlockColumn > 0 ? shape.lastBlockColumn : NoColumn;
        firstBlockRow = std::max(shape.firstDataRow - above, 1);
    } else {
        firstBlock = NoColumn;
    }
}

void TableSink::Look() {
    untilLook = CellsBetweenLooks;
    context->ThrowIfStopped();
}

int TableSink::NextRowToRead(int row) {
    return control == nullptr ? row + 1 : control->NextRowToRead(row, numRows);
}

void TableSink::EndRow(int row) {
    if (control != nullptr) {
        control->EndRow(row, numRows);
    }
}

// Whether the cell is one, and where it is put is known.
bool TableSink::Take(int col, int row) {
    Count(1);
    if (col < 1 || row < 1) {
        return false;
    }
    numCols = std::max(numCols, col);
    numRows = std::max(numRows, row);
    if (firstBlock == NotLooked) {
        LookAtShape();
    }
    return true;
}

// The same of so many cells below each other, of which there is one at least.
bool TableSink::TakeRun(int col, int firstRow, std::size_t cells) {
    const auto room = static_cast<std::size_t>(std::numeric_limits<int>::max() - std::max(firstRow, 1));
    if (firstRow < 1 || cells == 0 || cells > room || !Take(col, firstRow + static_cast<int>(cells) - 1)) {
        return false;
    }
    Count(cells);
    return true;
}

void TableSink::AddColumns(int count) {
    const auto wanted = static_cast<std::size_t>(count);
    if (wanted > columns.capacity()) {
        const std::size_t room = std::max(wanted, 2 * columns.capacity());
        store.Charge((room - columns.capacity()) * sizeof(CellVector));
        columns.reserve(room);
    }
    columns.resize(wanted);
}

CellVector& TableSink::ColumnAt(int col) {
    if (static_cast<std::size_t>(col) > columns.size()) {
        AddColumns(col);
    }
    return columns[static_cast<std::size_t>(col) - 1];
}

void TableSink::Put(int col, int row, CellKind kind, std::uint64_t content) {
    if (!Take(col, row)) {
        return;
    }
    if (IsInBlock(col)) {
        PutBlockCell(col, row, kind, content);
    } else {
        ColumnAt(col).Put(store, row - 1, kind, content);
    }
}

// Above the numbers: a head. Among them: into the matrix once there is one, if that loses nothing.
void TableSink::PutBlockCell(int col, int row, CellKind kind, std::uint64_t content) {
    if (row < firstBlockRow) {
        heads[row].Put(store, col - firstBlock, kind, content);
        return;
    }
    const Cell cell{kind, content};
    if (!block.HasBegun() || !IsExactNumber(cell)) {
        ColumnAt(col).Put(store, row - 1, kind, content);
        return;
    }
    if (static_cast<std::size_t>(col) <= columns.size()) {
        columns[static_cast<std::size_t>(col) - 1].PutMissing(row - 1);
    }
    if (kind == CellKind::Float32) {
        const float value = cell.GetFloat();
        block.PutRow(row - firstBlockRow, col - firstBlock, std::span<const float>(&value, 1));
    } else {
        const double value = cell.ToDouble();
        block.PutRow(row - firstBlockRow, col - firstBlock, std::span<const double>(&value, 1));
    }
}

void TableSink::Set(int col, int row, std::int64_t value) {
    Put(col, row, CellKind::Int64, BitsOf(value));
}

void TableSink::Set(int col, int row, double value) {
    if (IsPlainPlace(col, row)) {
        CountPlain(col, row);
        columns[static_cast<std::size_t>(col) - 1].PutDouble(store, row - 1, value);
        return;
    }
    Put(col, row, CellKind::Float64, BitsOf(value));
}

void TableSink::Set(int col, int row, float value) {
    Put(col, row, CellKind::Float32, BitsOf(value));
}

void TableSink::Set(int col, int row, const char* text) {
    if (*text == '\0') {
        TableSink::SetMissing(col, row);
    } else {
        TableSink::SetText(col, row, text);
    }
}

void TableSink::SetText(int col, int row, std::string_view text) {
    if (!Take(col, row)) {
        return;
    }
    // Classic readings hand on what the file has, and a damaged file may have anything.
    text = AsUtf8(text, utf8);
    if (IsInBlock(col) && row < firstBlockRow) {
        heads[row].PutText(store, col - firstBlock, text);
    } else {
        ColumnAt(col).PutText(store, row - 1, text);
    }
}

void TableSink::SetListedText(int col, int row, const TextList& list, std::size_t place) {
    if (IsPlainPlace(col, row)) {
        CountPlain(col, row);
        const std::uint32_t code = listedTexts.FindCode(store, list, place);
        columns[static_cast<std::size_t>(col) - 1].PutListed(store, row - 1, listedTexts, code);
        return;
    }
    if (!Take(col, row)) {
        return;
    }
    const std::uint32_t code = listedTexts.FindCode(store, list, place);
    if (IsInBlock(col) && row < firstBlockRow) {
        heads[row].PutListed(store, col - firstBlock, listedTexts, code);
    } else {
        ColumnAt(col).PutListed(store, row - 1, listedTexts, code);
    }
}

void TableSink::SetBool(int col, int row, bool value) {
    Put(col, row, CellKind::Bool, value ? 1 : 0);
}

void TableSink::SetDate(int col, int row, std::int32_t days) {
    Put(col, row, CellKind::Date, static_cast<std::uint32_t>(days));
}

void TableSink::SetTime(int col, int row, std::int64_t microseconds) {
    Put(col, row, CellKind::Time, BitsOf(microseconds));
}

void TableSink::SetDateTime(int col, int row, std::int64_t microseconds) {
    Put(col, row, CellKind::DateTime, BitsOf(microseconds));
}

void TableSink::SetDuration(int col, int row, std::int64_t microseconds) {
    Put(col, row, CellKind::Duration, BitsOf(microseconds));
}

void TableSink::SetError(int col, int row, std::string_view /*text*/) {
    if (col >= 1 && row >= 1 && errors++ == 0) {
        firstError = LettersOf(col) + std::to_string(row + above);
    }
    TableSink::SetMissing(col, row);
}

void TableSink::SetMissing(int col, int row) {
    if (!Take(col, row)) {
        return;
    }
    if (IsInBlock(col) && row < firstBlockRow) {
        heads[row].PutMissing(col - firstBlock);
        return;
    }
    if (static_cast<std::size_t>(col) <= columns.size()) {
        columns[static_cast<std::size_t>(col) - 1].PutMissing(row - 1);
    }
    if (IsInBlock(col) && block.HasBegun()) {
        block.PutMissing(row - firstBlockRow, col - firstBlock);
    }
}

void TableSink::SetSource(int col, int row, std::string_view source) {
    if (col < 1 || row < 1) {
        return;
    }
    source = AsUtf8(source, utf8);
    if (IsInBlock(col) && row < firstBlockRow) {
        heads[row].PutSource(store, col - firstBlock, source);
    } else if (static_cast<std::size_t>(col) <= columns.size() && !(IsInBlock(col) && block.HasBegun())) {
        columns[static_cast<std::size_t>(col) - 1].PutSource(store, row - 1, source);
    }
}

// A run in the block's columns: the axis or another head, or numbers for the matrix, which begins with them.
template <class Number>
void TableSink::PutBlockRun(int col, int row, std::span<const Number> values, bool isAcross) {
    if (isAcross && row < firstBlockRow) {
        heads[row].PutRun(store, col - firstBlock, values, std::min(lastBlock, numCols) - firstBlock + 1);
        return;
    }
    const int above = isAcross ? 0 : std::clamp(firstBlockRow - row, 0, static_cast<int>(values.size()));
    for (int i = 0; i < above; ++i) {
        heads[row + i].PutRun(store, col - firstBlock, values.subspan(static_cast<std::size_t>(i), 1));
    }
    values = values.subspan(static_cast<std::size_t>(above));
    row += above;
    if (values.empty()) {
        return;
    }
    if (!block.HasBegun()) {
        block.Begin(isAcross, sizeof(Number) == sizeof(float), numRows - firstBlockRow + 1,
                    std::min(lastBlock, numCols) - firstBlock + 1);
    }
    const int overlapped = std::min(static_cast<int>(columns.size()),
                                    isAcross ? col + static_cast<int>(values.size()) - 1 : col);
    for (int place = col; place <= overlapped; ++place) {
        CellVector& cells = columns[static_cast<std::size_t>(place) - 1];
        for (std::size_t i = 0; !cells.IsEmpty() && i < (isAcross ? 1 : values.size()); ++i) {
            cells.PutMissing(row - 1 + static_cast<int>(i));
        }
    }
    if (isAcross) {
        block.PutRow(row - firstBlockRow, col - firstBlock, values);
    } else {
        block.PutColumn(col - firstBlock, row - firstBlockRow, values);
    }
}

template <class Number>
void TableSink::PutRowRun(int firstCol, int row, std::span<const Number> values) {
    const auto room = static_cast<std::size_t>(std::numeric_limits<int>::max() - std::max(firstCol, 1));
    if (firstCol < 1 || values.empty() || values.size() > room ||
        !Take(firstCol + static_cast<int>(values.size()) - 1, row)) {
        return;
    }
    Count(values.size());
    if (firstBlock == NoColumn && !isPlanned) {
        LookAtShape();
    }
    int col = firstCol;
    const auto takeWhile = [&](int end) {
        const auto count = static_cast<std::size_t>(std::max(end - col, 0));
        const std::span<const Number> taken = values.first(std::min(values.size(), count));
        values = values.subspan(taken.size());
        return taken;
    };
    const auto putCells = [&](std::span<const Number> cells) {
        for (const Number value : cells) {
            ColumnAt(col).PutNumber(store, row - 1, value);
            ++col;
        }
    };
    putCells(takeWhile(firstBlock));
    if (!values.empty() && IsInBlock(col)) {
        const std::span<const Number> inBlock = takeWhile(lastBlock == NoColumn ? NoColumn : lastBlock + 1);
        PutBlockRun(col, row, inBlock, true);
        col += static_cast<int>(inBlock.size());
    }
    putCells(values);
}

template <class Number>
void TableSink::PutColumnRun(int col, int firstRow, std::span<const Number> values) {
    if (!TakeRun(col, firstRow, values.size())) {
        return;
    }
    if (firstBlock == NoColumn && !isPlanned) {
        LookAtShape();
    }
    if (IsInBlock(col)) {
        PutBlockRun(col, firstRow, values, false);
    } else {
        ColumnAt(col).PutRun(store, firstRow - 1, values);
    }
}

void TableSink::SetCellRun(int col, int firstRow, std::span<const double> values,
                           std::span<const std::uint8_t> decimals) {
    if (!TakeRun(col, firstRow, values.size())) {
        return;
    }
    if (!IsInBlock(col)) {
        ColumnAt(col).PutDoubles(store, firstRow - 1, values);
        ColumnAt(col).PutDecimals(store, firstRow - 1, decimals);
        return;
    }
    for (const double value : values) {
        Put(col, firstRow++, CellKind::Float64, BitsOf(value));
    }
}

void TableSink::SetTextRun(int col, int firstRow, const TextRun& texts) {
    if (!TakeRun(col, firstRow, texts.ends.size())) {
        return;
    }
    if (!IsInBlock(col) && (texts.areUtf8 || AreUtf8(texts))) {
        ColumnAt(col).PutTexts(store, firstRow - 1, texts);
        return;
    }
    std::uint32_t begin = texts.begin;
    for (const std::uint32_t end : texts.ends) {
        TableSink::SetText(col, firstRow++, {texts.bytes + begin, end - begin});
        begin = end;
    }
}

void TableSink::SetValueRun(int col, int firstRow, ValueRunKind kind, std::span<const std::int64_t> values) {
    if (!TakeRun(col, firstRow, values.size())) {
        return;
    }
    if (!IsInBlock(col)) {
        ColumnAt(col).PutValues(store, firstRow - 1, kind, values);
        return;
    }
    for (const std::int64_t value : values) {
        Put(col, firstRow++, CellVector::KindOf(kind), BitsOf(value));
    }
}

void TableSink::SetListedRun(int col, int firstRow, const TextList& list,
                             std::span<const std::uint32_t> places) {
    if (!TakeRun(col, firstRow, places.size())) {
        return;
    }
    if (!IsInBlock(col)) {
        codes.clear();
        for (const std::uint32_t place : places) {
            codes.push_back(listedTexts.FindCode(store, list, place));
        }
        ColumnAt(col).PutListed(store, firstRow - 1, listedTexts, codes);
        return;
    }
    for (const std::uint32_t place : places) {
        TableSink::SetListedText(col, firstRow++, list, place);
    }
}

// Of a table whose heads are known by now, and of a column that nothing is in yet.
bool TableSink::SetWrittenRun(int col, int firstRow, const TextRun& texts,
                              std::span<const WrittenKind> kinds) {
    const TableShape& shape = context->shape;
    if (!shape.isKnown || shape.HasBlock() || isPlanned || above > 0 || firstRow < 1 || col < 1 ||
        (static_cast<std::size_t>(col) <= columns.size() &&
         !columns[static_cast<std::size_t>(col) - 1].IsEmpty())) {
        return false;
    }
    const int heads = std::clamp(FindFirstDataRow(shape) - firstRow, 0, static_cast<int>(kinds.size()));
    bool hasText = false;
    bool hasValue = false;
    for (auto i = static_cast<std::size_t>(heads); i < kinds.size() && !(hasText && hasValue); ++i) {
        const bool isText = kinds[i] == WrittenKind::Text;
        hasText = hasText || (isText && texts.ends[i] > (i == 0 ? texts.begin : texts.ends[i - 1]));
        hasValue = hasValue || (!isText && kinds[i] != WrittenKind::Missing);
    }
    if (!hasText || !hasValue || !AreUtf8(texts) || !TakeRun(col, firstRow, kinds.size()) || IsInBlock(col)) {
        return false;
    }
    ColumnAt(col).PutWritten(store, firstRow - 1, texts, kinds);
    return true;
}

void TableSink::SetRowRun(int firstCol, int row, std::span<const float> values) {
    PutRowRun(firstCol, row, values);
}

void TableSink::SetRowRun(int firstCol, int row, std::span<const double> values) {
    PutRowRun(firstCol, row, values);
}

void TableSink::SetColumnRun(int col, int firstRow, std::span<const float> values) {
    PutColumnRun(col, firstRow, values);
}

void TableSink::SetColumnRun(int col, int firstRow, std::span<const double> values) {
    PutColumnRun(col, firstRow, values);
}

void TableSink::SetDataSize(int cols, int rows) {
    if (control != nullptr) {
        control->Resize(rows);
    }
    const int newCols = std::max(cols, 0);
    const int newRows = std::max(rows, 0);
    store.FinishCopies();
    if (newRows < numRows) {
        for (CellVector& cells : columns) {
            cells.Cut(newRows);
        }
    }
    if (static_cast<std::size_t>(newCols) < columns.size()) {
        columns.resize(static_cast<std::size_t>(newCols));
    }
    numCols = newCols;
    numRows = newRows;
    Announce(newCols, newRows);
}

void TableSink::Announce(int cols, int rows) {
    store.expectedRows = rows;
    store.mayTakeAll = static_cast<std::uint64_t>(cols) <= store.GetLimitOfAnnounced() / sizeof(double) /
                                                               static_cast<std::uint64_t>(std::max(rows, 1));
}

// The matrix and its heads as ordinary columns.
void TableSink::DissolveBlock() {
    if (firstBlock == NoColumn || firstBlock == NotLooked) {
        return;
    }
    const int last = std::min(lastBlock, numCols);
    for (auto& [row, cells] : heads) {
        cells.ForEach(0, cells.GetEnd(), [&, at = row](int place, const Cell& cell) {
            ColumnAt(firstBlock + place).PutCell(store, at - 1, cell);
        });
    }
    heads.clear();
    const int rows = numRows - firstBlockRow + 1;
    for (int col = firstBlock; block.HasBegun() && col <= last; ++col) {
        CellVector& cells = ColumnAt(col);
        for (int row = 0; row < rows; ++row) {
            const double value = block.Get(row, col - firstBlock);
            const int place = row + firstBlockRow - 1;
            if (std::isnan(value) || cells.Get(place).kind != CellKind::Missing) {
                continue;
            }
            if (block.IsFloat32()) {
                const auto single = static_cast<float>(value);
                cells.PutRun(store, place, std::span<const float>(&single, 1));
            } else {
                cells.PutRun(store, place, std::span<const double>(&value, 1));
            }
        }
    }
    block.Clear();
    firstBlock = NoColumn;
}

TableShape TableSink::SettleShape(const std::vector<ColumnEvidence>& further) {
    TableShape shape = context->shape;
    for (std::string* text : {&shape.axisQuantity, &shape.axisUnit, &shape.valueQuantity, &shape.valueUnit}) {
        *text = AsUtf8(*text);
    }
    if (!shape.HasBlock() || (firstBlock != shape.firstBlockColumn && firstBlock != NoColumn) ||
        (firstBlock != NoColumn && firstBlockRow != std::max(shape.firstDataRow, 1))) {
        DissolveBlock();
    }
    if (!shape.isKnown) {
        return FindGridHead(store, columns, numRows, header, further);
    }
    shape.firstDataRow = FindFirstDataRow(shape);
    if (header && !shape.HasBlock()) {
        shape.nameRow = *header;
    }
    return shape;
}

// Of a shape that is known.
int TableSink::FindFirstDataRow(const TableShape& shape) const {
    const bool isNamedOtherwise = header && !shape.HasBlock() && *header != shape.nameRow;
    return std::max({shape.firstDataRow, isNamedOtherwise ? *header + 1 : 1, 1});
}

// Whatever stands above the block, in one place, however early it came.
void TableSink::GatherHeads(const TableShape& shape, int last) {
    firstBlock = shape.firstBlockColumn;
    lastBlock = last;
    firstBlockRow = shape.firstDataRow;
    for (int col = firstBlock; col <= std::min(last, static_cast<int>(columns.size())); ++col) {
        CellVector& cells = columns[static_cast<std::size_t>(col) - 1];
        cells.ForEach(0, firstBlockRow - 1, [&](int place, const Cell& cell) {
            heads[place + 1].PutCell(store, col - firstBlock, cell);
        });
    }
}

// What came by cells beside the runs; false where that isn't all numbers.
bool TableSink::BringCellsIn() {
    const int last = std::min(lastBlock, static_cast<int>(columns.size()));
    bool areNumbers = true;
    for (int col = firstBlock; areNumbers && col <= last; ++col) {
        columns[static_cast<std::size_t>(col) - 1].ForEach(
            firstBlockRow - 1, numRows,
            [&](int /*place*/, const Cell& cell) { areNumbers = areNumbers && IsExactNumber(cell); });
    }
    if (!areNumbers) {
        return false;
    }
    for (int col = firstBlock; col <= last; ++col) {
        CellVector cells = std::move(columns[static_cast<std::size_t>(col) - 1]);
        columns[static_cast<std::size_t>(col) - 1] = CellVector();
        cells.ForEach(firstBlockRow - 1, numRows, [&](int place, const Cell& cell) {
            PutBlockCell(col, place + 1, cell.kind, cell.content);
        });
    }
    return true;
}

// A block whose numbers all came by cells: column after column.
bool TableSink::GatherBlock(int rows, int points) {
    const int last = std::min(lastBlock, static_cast<int>(columns.size()));
    KindCounts counts;
    for (int col = firstBlock; col <= last; ++col) {
        const KindCounts more =
            CountKinds(store, columns[static_cast<std::size_t>(col) - 1], firstBlockRow - 1, numRows);
        for (std::size_t kind = 0; kind < CellKinds; ++kind) {
            counts.counts[kind] += more.counts[kind];
        }
    }
    if (counts.GetNumbers() != counts.GetAll()) {
        return false;
    }
    block.Begin(false, counts[CellKind::Float32] == counts.GetAll() && counts.GetAll() > 0, rows, points);
    if (BringCellsIn()) {
        return true;
    }
    block.Clear();
    return false;
}

void TableSink::MakeAxis(const TableShape& shape, int points, BlockParts& parts) {
    const auto row = heads.find(shape.axisRow);
    if (shape.axisRow == 0 || row == heads.end()) {
        return;
    }
    CellVector& cells = row->second;
    const std::size_t size = static_cast<std::size_t>(points) * sizeof(double);
    std::vector<CellVector::Stretch>& stretches = cells.GetStretches();
    if (stretches.size() == 1 && stretches.front().kind == CellKind::Float64 &&
        stretches.front().first == 0 && stretches.front().count == points && !stretches.front().hasMissing) {
        stretches.front().values.Resize(size);
        parts.axis = std::make_shared<Buffer>(std::move(stretches.front().values));
        stretches.clear();
        return;
    }
    store.Charge(size);
    Buffer axis(size);
    std::fill_n(axis.As<double>(), points, std::numeric_limits<double>::quiet_NaN());
    bool hasNumber = false;
    bool isText = false;
    cells.ForEach(0, points, [&](int place, const Cell& cell) {
        if (cell.IsNumber()) {
            axis.As<double>()[place] = cell.ToDouble();
            hasNumber = true;
        } else {
            isText = true;
        }
    });
    // A row with other things in it stays one of names.
    if (hasNumber && !isText) {
        parts.axis = std::make_shared<Buffer>(std::move(axis));
        cells = CellVector();
    }
}

Block TableSink::MakeBlock(const TableShape& shape, int rows, int points) {
    BlockParts parts;
    parts.rows = rows;
    parts.points = points;
    parts.stride = block.Finish(rows, points);
    parts.isRowMajor = block.IsRowMajor();
    parts.isFloat32 = block.IsFloat32();
    if (rows == 1 && !parts.isRowMajor && parts.stride == 1) {
        // One row lies in either order.
        parts.isRowMajor = true;
        parts.stride = points;
    }
    parts.values = std::make_shared<Buffer>(block.TakeValues());
    MakeAxis(shape, points, parts);
    const auto names = heads.find(shape.nameRow);
    if (shape.nameRow > 0 && names != heads.end() && !names->second.IsEmpty()) {
        parts.names = ColumnMaker(store, context->notes).MakeText(names->second, 0, points, "");
        names->second = CellVector();
    }
    parts.axisQuantity = shape.axisQuantity;
    parts.axisUnit = shape.axisUnit;
    parts.valueQuantity = shape.valueQuantity;
    parts.valueUnit = shape.valueUnit;
    return Block(std::move(parts));
}

std::string TableSink::GetHeadText(int col, int row) const {
    if (row < 1 || col < 1 || static_cast<std::size_t>(col) > columns.size()) {
        return {};
    }
    return columns[static_cast<std::size_t>(col) - 1].GetText(row - 1);
}

void TableSink::KeepHeads(const TableShape& shape, TableParts& parts) {
    const auto keep = [&](int col, int row, std::string text) {
        if (!text.empty()) {
            store.Charge(sizeof(HeadCell) + text.size());
            parts.heads.push_back({row, col, std::move(text)});
        }
    };
    const auto isKnown = [&](int row) { return row == shape.nameRow || row == shape.unitRow; };
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const int col = static_cast<int>(i) + 1;
        Count(1);
        columns[i].ForEach(0, shape.firstDataRow - 1, [&](int place, const Cell& /*cell*/) {
            if (!isKnown(place + 1) && !IsInBlock(col)) {
                keep(col, place + 1, columns[i].GetText(place));
            }
        });
    }
    for (const auto& [row, cells] : heads) {
        cells.ForEach(0, cells.GetEnd(), [&, at = row, &row_cells = cells](int place, const Cell& /*cell*/) {
            keep(firstBlock + place, at, row_cells.GetText(place));
        });
    }
    std::sort(parts.heads.begin(), parts.heads.end(), [](const HeadCell& a, const HeadCell& b) {
        return std::tie(a.row, a.column) < std::tie(b.row, b.column);
    });
}

// The columns beside the block, which the table is to have, and where among them the block is.
std::vector<ColumnMaker::Wanted> TableSink::ListColumns(const TableShape& shape, TableParts& parts) {
    // Where the block came to nothing, its axis names the columns.
    const int nameRow = shape.nameRow > 0 ? shape.nameRow : shape.axisRow;
    // Names may come from other columns: all of them are looked up before a column is made of its cells.
    std::vector<ColumnMaker::Wanted> wanted;
    for (int col = 1; col <= numCols; ++col) {
        Count(1);
        if (IsInBlock(col)) {
            parts.blockPlace = wanted.size();
            col = std::min(lastBlock, numCols);
            continue;
        }
        store.Charge(sizeof(Column));
        const bool isThere = static_cast<std::size_t>(col) <= columns.size();
        wanted.push_back({isThere ? &columns[static_cast<std::size_t>(col) - 1] : nullptr,
                          GetHeadText(col - shape.firstNamedColumn + 1, nameRow),
                          GetHeadText(col, shape.unitRow), col});
    }
    return wanted;
}

void TableSink::NoteErrors(std::uint64_t count, const std::string& first) {
    if (count > 0) {
        context->notes.Add({"errors-missing", count, first,
                            CountOf(count, "cell") + " with an error " + (count == 1 ? "is" : "are") +
                                " missing in the columns (first: " + first + ")"});
    }
}

Table TableSink::Finish() {
    TableParts parts;
    TableShape shape = SettleShape();
    const int rows = std::max(0, numRows - shape.firstDataRow + 1);
    const int last = shape.lastBlockColumn > 0 ? std::min(shape.lastBlockColumn, numCols) : numCols;
    const int points = shape.firstBlockColumn > 0 ? std::max(0, last - shape.firstBlockColumn + 1) : 0;
    firstBlock = firstBlock == NotLooked ? NoColumn : firstBlock;
    if (points > 0) {
        GatherHeads(shape, last);
        if (block.HasBegun() ? !BringCellsIn() : !GatherBlock(rows, points)) {
            DissolveBlock();
        }
    } else {
        DissolveBlock();
    }
    parts.rows = rows;
    if (block.HasBegun()) {
        parts.block = MakeBlock(shape, rows, points);
    } else {
        shape.firstBlockColumn = shape.lastBlockColumn = 0;
    }
    KeepHeads(shape, parts);
    ColumnMaker maker(store, context->notes);
    const std::vector<ColumnMaker::Wanted> wanted = ListColumns(shape, parts);
    maker.MakeAll(wanted, shape.firstDataRow - 1, rows, ChooseThreadCount(context->threads, wanted.size()),
                  parts.columns);
    maker.NoteFurtherMixtures();
    NoteErrors(errors, firstError);
    parts.shape = std::move(shape);
    parts.notes = context->notes.GetAll();
    return Table(std::move(parts));
}

void TableSink::Testify(CellStore& kept, TableEvidence& evidence, int firstPlace) {
    if (evidence.columns.size() < columns.size()) {
        kept.Charge((columns.size() - evidence.columns.size()) * sizeof(ColumnEvidence));
        evidence.columns.resize(columns.size());
    }
    for (std::size_t col = 0; col < columns.size(); ++col) {
        evidence.columns[col].Add(store, kept, columns[col], firstPlace, numRows);
    }
    if (block.HasBegun()) {
        evidence.isRowMajor = evidence.hasBlock ? evidence.isRowMajor : block.IsRowMajor();
        evidence.areFloats = evidence.areFloats && block.IsFloat32();
        evidence.hasBlock = true;
        const TableShape& shape = context->shape;
        evidence.isClear = evidence.isClear && firstBlock == shape.firstBlockColumn &&
                           lastBlock == (shape.lastBlockColumn > 0 ? shape.lastBlockColumn : NoColumn);
    }
    if (evidence.errors == 0) {
        evidence.firstError = firstError;
    }
    evidence.errors += errors;
}

// Whether there is to be a block, which is empty here.
bool TableSink::PlanBlock(const TableEvidence& all, std::int64_t rows, int last) {
    KindCounts counts;
    bool areExact = true;
    for (int col = firstBlock; col <= std::min(last, static_cast<int>(all.columns.size())); ++col) {
        const ColumnEvidence& evidence = all.columns[static_cast<std::size_t>(col) - 1];
        counts += evidence.counts;
        areExact = areExact && evidence.facts.areExact;
    }
    if (counts.GetNumbers() != counts.GetAll() || !areExact) {
        return false;
    }
    const bool areFloats =
        counts[CellKind::Float32] == counts.GetAll() && (all.hasBlock ? all.areFloats : counts.GetAll() > 0);
    block.Clear();
    // One row lies in either order.
    block.Begin((all.hasBlock && all.isRowMajor) || rows == 1, areFloats, 0, last - firstBlock + 1);
    return true;
}

std::optional<TablePlan> TableSink::Plan(CellStore& kept, const TableEvidence& further) {
    numCols = further.cols;
    numRows = further.rows;
    if (columns.size() < further.columns.size()) {
        AddColumns(static_cast<int>(further.columns.size()));
    }
    const bool hadBlock = block.HasBegun() || further.hasBlock;
    TableShape shape = SettleShape(further.columns);
    if (shape.firstDataRow - 1 > further.above || !further.isClear || (hadBlock && firstBlock == NoColumn)) {
        return {};
    }
    TableEvidence all;
    Testify(kept, all, shape.firstDataRow - 1);
    if (!all.isClear) {
        return {};
    }
    all.isRowMajor = all.hasBlock ? all.isRowMajor : further.isRowMajor;
    all.areFloats = all.areFloats && further.areFloats;
    all.hasBlock = hadBlock;
    for (std::size_t col = 0; col < further.columns.size(); ++col) {
        all.columns[col].Add(kept, further.columns[col]);
    }
    TablePlan plan;
    plan.rows = std::max(0, numRows - shape.firstDataRow + 1);
    TableParts parts;
    const int last = shape.lastBlockColumn > 0 ? std::min(shape.lastBlockColumn, numCols) : numCols;
    firstBlock = firstBlock == NotLooked ? NoColumn : firstBlock;
    if (shape.firstBlockColumn > 0 && shape.firstBlockColumn <= last) {
        GatherHeads(shape, last);
        if (PlanBlock(all, plan.rows, last)) {
            parts.block = MakeBlock(shape, 0, last - firstBlock + 1);
        } else if (hadBlock) {
            return {};
        }
    }
    if (!parts.block) {
        DissolveBlock();
        shape.firstBlockColumn = shape.lastBlockColumn = 0;
    }
    KeepHeads(shape, parts);
    ColumnMaker maker(store, context->notes);
    const ColumnEvidence none;
    for (const ColumnMaker::Wanted& wanted : ListColumns(shape, parts)) {
        const auto place = static_cast<std::size_t>(wanted.col) - 1;
        const ColumnEvidence& evidence = place < all.columns.size() ? all.columns[place] : none;
        plan.columns.push_back({maker.Decide(evidence, plan.rows, wanted.name, wanted.col), evidence.counts});
        parts.columns.emplace_back(wanted.name, wanted.unit, ColumnBuffers());
    }
    maker.NoteFurtherMixtures();
    NoteErrors(errors + further.errors, errors > 0 ? firstError : further.firstError);
    parts.shape = std::move(shape);
    parts.notes = context->notes.GetAll();
    plan.head = Table(std::move(parts));
    return plan;
}

bool TableSink::FitsPlan(const TablePlan& plan, int rows) {
    if (static_cast<int>(columns.size()) > plan.GetGridWidth() || numRows > rows) {
        return false;
    }
    auto planned = plan.columns.begin();
    for (int col = 1; col <= static_cast<int>(columns.size()); ++col) {
        const CellVector& cells = columns[static_cast<std::size_t>(col) - 1];
        const KindCounts counts = CountKinds(store, cells, 0, rows);
        if (IsInBlock(col)) {
            if (counts.GetAll() > 0) {
                return false;
            }
            continue;
        }
        for (std::size_t kind = 0; kind < CellKinds; ++kind) {
            if (counts.counts[kind] > planned->counts.counts[kind]) {
                return false;
            }
        }
        const ColumnType type = planned->form.type;
        if (counts.GetNumbers() > 0 && type != ColumnType::Text) {
            const NumberFacts facts = ExamineNumbers(store, cells, 0, rows);
            if (type == ColumnType::Int64 ? !facts.areWhole : !facts.areExact) {
                return false;
            }
        }
        ++planned;
    }
    return plan.head.GetBlock() == nullptr || block.IsFloat32() == plan.head.GetBlock()->IsFloat32();
}

Table TableSink::FinishPlanned(const TablePlan& plan, int rows) {
    if (!FitsPlan(plan, rows)) {
        throw ChangedMeanwhile();
    }
    TableParts parts = plan.head.GetParts();
    parts.rows = rows;
    if (parts.block) {
        BlockParts blockParts = parts.block->GetParts();
        blockParts.rows = rows;
        blockParts.stride = block.Finish(rows, blockParts.points);
        blockParts.values = std::make_shared<Buffer>(block.TakeValues());
        parts.block = Block(std::move(blockParts));
    }
    if (columns.size() < static_cast<std::size_t>(plan.GetGridWidth())) {
        AddColumns(plan.GetGridWidth());
    }
    ColumnMaker maker(store, context->notes);
    for (std::size_t i = 0; i < parts.columns.size(); ++i) {
        Column& column = parts.columns[i];
        const bool isBehindBlock = parts.block && i >= parts.blockPlace;
        const std::size_t col =
            i + static_cast<std::size_t>(isBehindBlock ? parts.block->GetPointCount() : 0);
        column = maker.Build(columns[col], 0, rows, plan.columns[i].form, column.GetName(), column.GetUnit());
    }
    return Table(std::move(parts));
}

}  // namespace karta
