#include "text/TurnedReport.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include "base/DateText.h"
#include "base/NumberFormat.h"

namespace {

// Rows that are handed on together where all lines are here: neighbouring cells of a line lie side by side in
// memory, and those of a column don't.
constexpr int RowsAtOnce = 64;

const ReportCell NoCell{};

CellRunSink* FindRunSink(ReadSpreadSheetData& sink) {
    auto* const runs = dynamic_cast<CellRunSink*>(&sink);
    return runs != nullptr && runs->PrefersCellRuns() ? runs : nullptr;
}

WrittenKind GetWrittenKind(ReportCell::Kind kind) {
    switch (kind) {
        case ReportCell::Missing:
            break;
        case ReportCell::Text:
            return WrittenKind::Text;
        case ReportCell::Number:
        case ReportCell::Integer:
            return WrittenKind::Number;
        case ReportCell::Bool:
            return WrittenKind::Bool;
        case ReportCell::Date:
            return WrittenKind::Date;
        case ReportCell::Time:
            return WrittenKind::Time;
        case ReportCell::DateTime:
            return WrittenKind::DateTime;
    }
    return WrittenKind::Missing;
}

// As a cell of the complete reading is written, of any kind but the most frequent ones.
std::string FormatCell(const ReportCell& cell) {
    switch (cell.kind) {
        case ReportCell::Integer:
            return std::to_string(cell.integer);
        case ReportCell::Bool:
            return cell.integer != 0 ? "TRUE" : "FALSE";
        case ReportCell::Date:
            return FormatDate(static_cast<std::int32_t>(cell.integer));
        case ReportCell::Time:
            return FormatTime(cell.integer);
        case ReportCell::DateTime:
            return FormatDateTime(cell.integer, cell.isBlanked ? ' ' : 'T');
        default:
            return {};
    }
}

}  // namespace

TurnedReport::TurnedReport(karta::ReadContext& readContext, std::size_t width, RowsOf rowsOfReport,
                           karta::TableShape turnedShape, ReadSpreadSheetData& tableSink)
    : context(readContext),
      rowsOf(std::move(rowsOfReport)),
      shape(std::move(turnedShape)),
      sink(tableSink),
      output(tableSink),
      runs(FindRunSink(tableSink)),
      takesColumns(runs != nullptr && output.KeepsRows()),
      cells(readContext.budget, width, takesColumns ? [this] { PutLines(); } : std::function<void()>()) {}

void TurnedReport::StartOver() {
    cells.Clear();
    cols = 0;
    rows.clear();
    hasBegun = false;
    sink.SetDataSize(0, 0);
}

void TurnedReport::Finish() {
    PutLines();
    if (takesColumns) {
        sink.SetDataSize(cells.GetNumberOfRows(), static_cast<int>(rows.size()));
    }
}

// All lines that are here.
void TurnedReport::PutLines() {
    if (cols != cells.GetNumberOfColumns() || !hasBegun) {
        cols = cells.GetNumberOfColumns();
        rows = rowsOf(cols);
        means.reserve(rows.size());
    }
    const int last = static_cast<int>(rows.size());
    // The report's reader tells of the report.
    context.shape = shape;
    if (!hasBegun) {
        hasBegun = true;
        sink.SetDataSize(cells.GetNumberOfRows(), last);
    }
    const int atOnce = takesColumns ? last : RowsAtOnce;
    for (int first = 1; first <= last; first += atOnce) {
        for (int line = cells.GetFirstLine(); line < cells.GetEndLine(); ++line) {
            context.ThrowIfStopped();
            PutLine(line, first, std::min(last, first + atOnce - 1));
        }
    }
    cells.LetGo();
}

// The cells of some rows in one line.
void TurnedReport::PutLine(int line, int firstRow, int lastRow) {
    const std::span<const ReportCell> from = cells.GetLine(line);
    column.clear();
    means.clear();
    unsigned int kindsThere = 0;
    for (int row = firstRow; row <= lastRow; ++row) {
        const ReportCell* const cell = FindCell(line, from, rows[static_cast<std::size_t>(row) - 1]);
        kindsThere |= 1U << cell->kind;
        column.push_back(cell);
    }
    constexpr unsigned int Texts = 1U << ReportCell::Text;
    constexpr unsigned int NoValues = Texts | 1U << ReportCell::Missing;
    // A report with a column of texts has one in each column here.
    if (!(takesColumns && (kindsThere & Texts) != 0 && (kindsThere & ~NoValues) != 0 && PutWritten(line))) {
        PutCells(line, firstRow);
    }
}

inline const ReportCell* TurnedReport::FindCell(int line, std::span<const ReportCell> from,
                                                const ReportRow& row) {
    if (row.meanName != nullptr) {
        return MakeMean(line, from, row);
    }
    const std::size_t place = static_cast<std::size_t>(row.column) - 1;
    return row.column > 0 && place < from.size() ? &from[place] : &NoCell;
}

const ReportCell* TurnedReport::MakeMean(int line, std::span<const ReportCell> from, const ReportRow& row) {
    ReportCell& mean = means.emplace_back();
    if (line == 1) {
        mean.kind = ReportCell::Text;
        mean.text = row.meanName;
        mean.size = static_cast<std::uint32_t>(std::strlen(row.meanName));
        return &mean;
    }
    const ReportCell start = *FindCell(line, from, {row.start});
    const ReportCell stop = *FindCell(line, from, {row.stop});
    if (start.IsNumber() && stop.IsNumber()) {
        mean.kind = ReportCell::Number;
        mean.number = 0.5 * (start.ToDouble() + stop.ToDouble());
    }
    return &mean;
}

// The column at hand as it is written. False where the sink takes it otherwise.
bool TurnedReport::PutWritten(int line) {
    ends.resize(column.size());
    kinds.resize(column.size());
    const char* const text = cells.GetText(line);
    std::size_t size = 0;
    for (std::size_t i = 0; i < column.size(); ++i) {
        const ReportCell& cell = *column[i];
        if (cell.writtenSize > 0) {
            size = AppendWritten(size, text + cell.size, cell.writtenSize);
        } else if (cell.kind != ReportCell::Number || cell.hasSource) {
            size = AppendText(size, cell);
        } else {
            size = AppendNumber(size, cell);
        }
        if (size > std::numeric_limits<std::uint32_t>::max()) {
            return false;
        }
        ends[i] = static_cast<std::uint32_t>(size);
        kinds[i] = GetWrittenKind(cell.kind);
    }
    return runs->SetWrittenRun(line, 1, {written.data(), 0, ends}, kinds);
}

inline void TurnedReport::MakeRoomBehind(std::size_t size, std::size_t more) {
    if (written.size() < size + more) {
        written.resize(2 * (size + more));
    }
}

// A number as its line has it: most are short, and a copy of a fixed size is no call.
inline std::size_t TurnedReport::AppendWritten(std::size_t size, const char* from, std::size_t count) {
    constexpr std::size_t AtOnce = 16;
    MakeRoomBehind(size, std::max(count, AtOnce));
    if (count <= AtOnce && cells.GetTextEnd() - from >= static_cast<std::ptrdiff_t>(AtOnce)) {
        std::memcpy(written.data() + size, from, AtOnce);
    } else {
        std::memcpy(written.data() + size, from, count);
    }
    return size + count;
}

// A number of which it isn't known where it is written, but perhaps how.
std::size_t TurnedReport::AppendNumber(std::size_t size, const ReportCell& cell) {
    MakeRoomBehind(size, ShortestNumberSize);
    char* const at = written.data() + size;
    const char* const end = cell.decimals > 0 ? PrintDecimals(cell.number, cell.decimals - 1, at)
                                              : PrintShortest(cell.number, at);
    return size + static_cast<std::size_t>(end - at);
}

// What is written behind so many bytes, of a cell that isn't just a number; their number then.
std::size_t TurnedReport::AppendText(std::size_t size, const ReportCell& cell) {
    std::string formatted;
    std::string_view text;
    if (cell.kind == ReportCell::Text) {
        text = cell.GetText();
    } else if (cell.kind != ReportCell::Missing && cell.hasSource) {
        text = cells.GetSource(cell);
    } else {
        formatted = FormatCell(cell);
        text = formatted;
    }
    MakeRoomBehind(size, text.size());
    std::copy(text.begin(), text.end(), written.begin() + static_cast<std::ptrdiff_t>(size));
    return size + text.size();
}

// The column at hand, which begins at a row: its numbers in runs, where the sink takes them.
void TurnedReport::PutCells(int line, int firstRow) {
    numbers.clear();
    decimals.clear();
    bool hasDecimals = false;
    int row = firstRow;
    const auto putRun = [&] {
        if (!numbers.empty()) {
            runs->SetCellRun(
                line, row - static_cast<int>(numbers.size()), numbers,
                hasDecimals ? std::span<const std::uint8_t>(decimals) : std::span<const std::uint8_t>());
            numbers.clear();
            decimals.clear();
            hasDecimals = false;
        }
    };
    for (const ReportCell* const there : column) {
        const ReportCell& cell = *there;
        if (runs != nullptr && cell.kind == ReportCell::Number && !cell.hasSource) {
            numbers.push_back(cell.number);
            decimals.push_back(cell.decimals);
            hasDecimals = hasDecimals || cell.decimals > 0;
        } else {
            putRun();
            PutCell(cell, line, row);
        }
        ++row;
    }
    putRun();
}

void TurnedReport::PutCell(const ReportCell& cell, int line, int row) {
    switch (cell.kind) {
        case ReportCell::Missing:
            output.Missing(line, row);
            break;
        case ReportCell::Text:
            output.Text(line, row, cell.GetText());
            return;
        case ReportCell::Number:
            output.Number(line, row, cell.number);
            break;
        case ReportCell::Integer:
            output.Integer(line, row, cell.integer);
            break;
        case ReportCell::Bool:
            output.Bool(line, row, cell.integer != 0);
            break;
        case ReportCell::Date:
            output.Date(line, row, static_cast<std::int32_t>(cell.integer));
            break;
        case ReportCell::Time:
            output.Time(line, row, cell.integer);
            break;
        case ReportCell::DateTime:
            output.DateTime(line, row, cell.integer);
            break;
    }
    if (cell.hasSource) {
        output.Source(line, row, cells.GetSource(cell));
    } else if (cell.kind == ReportCell::Number && cell.decimals > 0) {
        char text[ShortestNumberSize];
        const char* const end = PrintDecimals(cell.number, cell.decimals - 1, text);
        output.Source(line, row, {text, static_cast<std::size_t>(end - text)});
    } else if (cell.isBlanked) {
        output.Source(line, row, FormatDateTime(cell.integer, ' '));
    }
}
