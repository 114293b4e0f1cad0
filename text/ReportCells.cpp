#include "text/ReportCells.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

// So many lines are handed on together: their cells stay in the processor's cache.
constexpr int LinesAtOnce = 128;

constexpr int LeastRoom = 8;
constexpr std::size_t FirstBlock = 1024;
constexpr std::size_t LargestBlock = std::size_t{1} << 16;

// A cell's text ends at a NUL, and a source does.
std::string_view UpToNul(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

ReportCell::Kind KindOf(ValueRunKind kind) {
    switch (kind) {
        case ValueRunKind::Bool:
            return ReportCell::Bool;
        case ValueRunKind::Date:
            return ReportCell::Date;
        case ValueRunKind::Time:
            return ReportCell::Time;
        case ValueRunKind::DateTime:
        case ValueRunKind::DateBlankedTime:
            break;
    }
    return ReportCell::DateTime;
}

}  // namespace

ReportCells::ReportCells(karta::Budget& readBudget, std::size_t width, std::function<void()> takeLines)
    : budget(readBudget),
      usualWidth(static_cast<int>(std::min<std::size_t>(width, std::numeric_limits<int>::max()))),
      take(std::move(takeLines)) {
    // Texts of a few lines are let go of soon.
    texts.SetBudget(take ? nullptr : &budget);
}

ReportCells::~ReportCells() {
    budget.ReleaseMemory(charged);
}

void ReportCells::Charge(std::uint64_t bytes) {
    budget.ChargeMemory(bytes, "The table");
    charged += bytes;
}

void ReportCells::LetGo() {
    firstLine = GetEndLine();
    lines.clear();
    sources.clear();
    texts.Clear();
    // The blocks serve the next lines.
    blocksInUse = 0;
    nextCell = nullptr;
    cellsLeft = 0;
}

void ReportCells::Clear() {
    LetGo();
    firstLine = 1;
    width = 0;
    announcedLines = 0;
}

void ReportCells::SetDataSize(int cols, int rows) {
    width = std::max(width, cols);
    announcedLines = std::max(announcedLines, rows);
}

void ReportCells::EndRow(int row) {
    if (take && row >= firstLine + LinesAtOnce - 1) {
        take();
    }
}

ReportCell* ReportCells::TakeCells(std::size_t count) {
    if (count > cellsLeft) {
        while (blocksInUse < blocks.size() && blocks[blocksInUse].size < count) {
            ++blocksInUse;
        }
        if (blocksInUse == blocks.size()) {
            const std::size_t doubled = blocks.empty() ? FirstBlock : 2 * blocks.back().size;
            const std::size_t size = std::max(count, std::min(doubled, LargestBlock));
            Charge(size * sizeof(ReportCell));
            blocks.push_back({MakeTableBlock<ReportCell>(size), size});
        }
        nextCell = blocks[blocksInUse].cells.get();
        cellsLeft = blocks[blocksInUse].size;
        ++blocksInUse;
    }
    ReportCell* const cells = nextCell;
    nextCell += count;
    cellsLeft -= count;
    return cells;
}

// Room for so many cells, and for `room` of them where nothing is there yet.
void ReportCells::Grow(Line& line, int count, int room) {
    const auto doubled = static_cast<int>(
        std::min<std::int64_t>(2 * std::int64_t{line.capacity}, std::numeric_limits<int>::max()));
    const int wanted = std::max({count, line.capacity == 0 ? room : doubled, LeastRoom});
    const auto more = static_cast<std::size_t>(wanted - line.capacity);
    if (line.cells + line.capacity == nextCell && more <= cellsLeft) {
        // Nothing came behind it.
        TakeCells(more);
    } else {
        ReportCell* const cells = TakeCells(static_cast<std::size_t>(wanted));
        std::copy_n(line.cells, line.count, cells);
        line.cells = cells;
    }
    line.capacity = wanted;
}

ReportCell* ReportCells::Find(int col, int row) {
    if (row < firstLine || row >= GetEndLine() || col < 1) {
        return nullptr;
    }
    const Line& line = lines[static_cast<std::size_t>(row - firstLine)];
    return col > line.count ? nullptr : line.cells + (col - 1);
}

// The number is a reader's own.
ReportCells::Line& ReportCells::NeedLine(int row) {
    const auto place = static_cast<std::size_t>(row - firstLine);
    if (place >= lines.size()) {
        if (place >= lines.capacity()) {
            const std::size_t capacity = std::max(place + 1, 2 * lines.capacity());
            Charge((capacity - lines.capacity()) * sizeof(Line));
            lines.reserve(capacity);
        }
        lines.resize(place + 1);
    }
    return lines[place];
}

// The cell, with nothing in it.
ReportCell& ReportCells::Make(int col, int row, int room) {
    width = std::max(width, col);
    return MakeIn(NeedLine(row), col, room);
}

void ReportCells::Put(int col, int row, ReportCell::Kind kind, std::int64_t value) {
    ReportCell& cell = Make(col, row, LeastRoom);
    cell.kind = kind;
    cell.integer = value;
}

void ReportCells::Set(int col, int row, double value) {
    ReportCell& cell = Make(col, row, LeastRoom);
    cell.kind = ReportCell::Number;
    cell.number = value;
}

void ReportCells::PutText(ReportCell& cell, std::string_view text) {
    text = UpToNul(text);
    cell.kind = ReportCell::Text;
    cell.size = static_cast<std::uint32_t>(
        std::min<std::size_t>(text.size(), std::numeric_limits<std::uint32_t>::max()));
    cell.text = texts.Add(text);
}

void ReportCells::SetText(int col, int row, std::string_view text) {
    PutText(Make(col, row, LeastRoom), text);
}

// A line has this column, whether anything is in it or not.
void ReportCells::SetMissing(int col, int row) {
    Make(col, row, LeastRoom);
}

void ReportCells::SetSource(int col, int row, std::string_view source) {
    ReportCell* const cell = Find(col, row);
    if (cell == nullptr || cell->kind == ReportCell::Text) {
        return;
    }
    source = UpToNul(source);
    if (sources.size() == sources.capacity()) {
        const std::size_t capacity = std::max<std::size_t>(LeastRoom, 2 * sources.capacity());
        Charge((capacity - sources.capacity()) * sizeof(std::string_view));
        sources.reserve(capacity);
    }
    cell->hasSource = true;
    cell->writtenSize = 0;
    cell->size = static_cast<std::uint32_t>(sources.size());
    sources.emplace_back(texts.Add(source), source.size());
}

void ReportCells::SetRowRun(int firstCol, int row, std::span<const float> values) {
    for (const float value : values) {
        ReportCells::Set(firstCol++, row, value);
    }
}

void ReportCells::SetRowRun(int firstCol, int row, std::span<const double> values) {
    for (const double value : values) {
        ReportCells::Set(firstCol++, row, value);
    }
}

void ReportCells::SetColumnRun(int col, int firstRow, std::span<const float> values) {
    for (const float value : values) {
        ReportCells::Set(col, firstRow++, value);
    }
}

void ReportCells::SetColumnRun(int col, int firstRow, std::span<const double> values) {
    ReportCells::SetCellRun(col, firstRow, values, {});
}

// Runs are of lines as wide as most. `further` gets each with its line.
template <class Further>
void ReportCells::PutNumbers(int col, int firstRow, std::span<const double> values,
                             std::span<const std::uint8_t> decimals, const Further& further) {
    if (values.empty()) {
        return;
    }
    width = std::max(width, col);
    NeedLine(firstRow + static_cast<int>(values.size()) - 1);
    Line* line = lines.data() + (firstRow - firstLine);
    for (std::size_t i = 0; i < values.size(); ++i, ++line) {
        ReportCell& cell = MakeIn(*line, col, usualWidth);
        cell.kind = ReportCell::Number;
        cell.number = values[i];
        cell.decimals = decimals.empty() ? std::uint8_t{0} : decimals[i];
        further(*line, cell, i);
    }
}

void ReportCells::SetCellRun(int col, int firstRow, std::span<const double> values,
                             std::span<const std::uint8_t> decimals) {
    PutNumbers(col, firstRow, values, decimals, [](Line&, ReportCell&, std::size_t) {});
}

void ReportCells::SetNumbersOfText(int col, int firstRow, std::span<const double> values,
                                   std::span<const std::uint8_t> decimals, const NumberWriting& writing) {
    constexpr std::uint32_t LongestWritten = std::numeric_limits<std::uint8_t>::max();
    textEnd = writing.end;
    PutNumbers(col, firstRow, values, decimals, [&](Line& line, ReportCell& cell, std::size_t i) {
        const auto [begin, size] = writing.places[i];
        if (size <= LongestWritten && (line.text == nullptr || line.text == writing.bytes)) {
            line.text = writing.bytes;
            cell.size = begin;
            cell.writtenSize = static_cast<std::uint8_t>(size);
        }
    });
}

void ReportCells::SetTextRun(int col, int firstRow, const TextRun& run) {
    std::uint32_t begin = run.begin;
    for (const std::uint32_t end : run.ends) {
        PutText(Make(col, firstRow++, usualWidth), {run.bytes + begin, end - begin});
        begin = end;
    }
}

void ReportCells::SetValueRun(int col, int firstRow, ValueRunKind kind,
                              std::span<const std::int64_t> values) {
    for (const std::int64_t value : values) {
        ReportCell& cell = Make(col, firstRow++, usualWidth);
        cell.kind = KindOf(kind);
        cell.integer = value;
        cell.isBlanked = kind == ValueRunKind::DateBlankedTime;
    }
}
