#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include "base/Budget.h"
#include "base/TableBlock.h"
#include "base/TextArena.h"
#include "frame/CellRunSink.h"
#include "frame/WideSink.h"

/** A cell of a report: what it is, and how it was written where its value would be written otherwise. */
struct ReportCell {
    enum Kind : std::uint8_t { Missing, Text, Number, Integer, Bool, Date, Time, DateTime };

    Kind kind = Missing;
    /** Of a number: how many digits behind the point it was written with, and one more; 0: it isn't known. */
    std::uint8_t decimals = 0;
    /** Of a number without a source: of how many characters it is in its line's text; 0: it isn't known. */
    std::uint8_t writtenSize = 0;
    bool isBlanked : 1 = false; /**< of a date and time: written with a blank between them */
    bool hasSource : 1 = false;
    /** Of a text its length; of another cell with a source that one's place; of a number in its line's text
     * where it begins. */
    std::uint32_t size = 0;
    union {
        double number;
        std::int64_t integer = 0; /**< also a truth value, days, microseconds */
        const char* text;
    };

    std::string_view GetText() const { return {text, size}; }
    bool IsNumber() const { return kind == Number || kind == Integer; }
    double ToDouble() const { return kind == Number ? number : static_cast<double>(integer); }
};

/**
 * Keeps the cells of a report line by line, as delimited text delivers them: its rows are the lines, both
 * they and the columns count from 1. Lines take only the cells up to their last one.
 *
 * With somebody who takes lines as they come, only those are kept that weren't taken yet; without, all are,
 * and any may be set again.
 */
class ReportCells final : public WideSink, public CellRunSink {
public:
    /**
     * `width`: how many cells most lines have. `takeLines` is called behind lines that are final, which it
     * may let go of. The budget, which stays the caller's, is charged for what is kept.
     */
    ReportCells(karta::Budget& readBudget, std::size_t width, std::function<void()> takeLines);
    ReportCells(const ReportCells&) = delete;
    ReportCells& operator=(const ReportCells&) = delete;
    ~ReportCells() override;

    /** The lines that are here, from the first one to before the end. */
    int GetFirstLine() const { return firstLine; }
    int GetEndLine() const { return firstLine + static_cast<int>(lines.size()); }
    /** A line's cells, from the first column on. */
    std::span<const ReportCell> GetLine(int line) const {
        const Line& there = lines[static_cast<std::size_t>(line - firstLine)];
        return {there.cells, static_cast<std::size_t>(there.count)};
    }
    std::string_view GetSource(const ReportCell& cell) const { return sources[cell.size]; }
    /** What the numbers of a line are written in; bytes up to the end may be looked at. */
    const char* GetText(int line) const { return lines[static_cast<std::size_t>(line - firstLine)].text; }
    const char* GetTextEnd() const { return textEnd; }

    /** Of the lines that are here; those that come go on counting. */
    void LetGo();
    /** Of everything; lines count from 1 again. */
    void Clear();

    void Set(int col, int row, int value) override { Set(col, row, std::int64_t{value}); }
    void Set(int col, int row, std::int64_t value) override { Put(col, row, ReportCell::Integer, value); }
    void Set(int col, int row, double value) override;
    void Set(int col, int row, float value) override { Set(col, row, static_cast<double>(value)); }
    void Set(int col, int row, const char* text) override { SetText(col, row, text); }

    void SetText(int col, int row, std::string_view text) override;
    void SetBool(int col, int row, bool value) override { Put(col, row, ReportCell::Bool, value ? 1 : 0); }
    void SetDate(int col, int row, std::int32_t days) override { Put(col, row, ReportCell::Date, days); }
    void SetTime(int col, int row, std::int64_t microseconds) override {
        Put(col, row, ReportCell::Time, microseconds);
    }
    void SetDateTime(int col, int row, std::int64_t microseconds) override {
        Put(col, row, ReportCell::DateTime, microseconds);
    }
    /** Delimited text has neither. */
    void SetDuration(int /*col*/, int /*row*/, std::int64_t /*microseconds*/) override {}
    void SetError(int col, int row, std::string_view text) override { SetText(col, row, text); }
    void SetMissing(int col, int row) override;
    void SetSource(int col, int row, std::string_view source) override;

    void SetRowRun(int firstCol, int row, std::span<const float> values) override;
    void SetRowRun(int firstCol, int row, std::span<const double> values) override;
    void SetColumnRun(int col, int firstRow, std::span<const float> values) override;
    void SetColumnRun(int col, int firstRow, std::span<const double> values) override;
    void SetCellRun(int col, int firstRow, std::span<const double> values,
                    std::span<const std::uint8_t> decimals) override;
    /** Lines that are taken as they come are handed on as they are written. */
    bool WantsWriting() const override { return take != nullptr; }
    void SetNumbersOfText(int col, int firstRow, std::span<const double> values,
                          std::span<const std::uint8_t> decimals, const NumberWriting& writing) override;
    void SetTextRun(int col, int firstRow, const TextRun& texts) override;
    void SetValueRun(int col, int firstRow, ValueRunKind kind, std::span<const std::int64_t> values) override;
    bool PrefersCellRuns() const override { return true; }

    /** Of all lines, also of those that were let go of. */
    void SetDataSize(int cols, int rows) override;
    int GetNumberOfColumns() override { return width; }
    int GetNumberOfRows() override { return std::max(announcedLines, GetEndLine() - 1); }
    bool KeepsRows() const override { return !take; }
    void EndRow(int row) override;

private:
    struct Line {
        ReportCell* cells = nullptr;
        int count = 0;
        int capacity = 0;
        const char* text = nullptr;
    };

    ReportCell* Find(int col, int row);
    ReportCell& Make(int col, int row, int room);
    ReportCell& MakeIn(Line& line, int col, int room) {
        if (col > line.capacity) {
            Grow(line, col, room);
        }
        while (line.count < col - 1) {
            line.cells[line.count++] = {};
        }
        line.count = std::max(line.count, col);
        return line.cells[col - 1] = {};
    }
    Line& NeedLine(int row);
    void Grow(Line& line, int count, int room);
    ReportCell* TakeCells(std::size_t count);
    void Put(int col, int row, ReportCell::Kind kind, std::int64_t value);
    void PutText(ReportCell& cell, std::string_view text);
    template <class Further>
    void PutNumbers(int col, int firstRow, std::span<const double> values,
                    std::span<const std::uint8_t> decimals, const Further& further);
    void Charge(std::uint64_t bytes);

    karta::Budget& budget;
    std::uint64_t charged = 0;
    int usualWidth;
    std::function<void()> take;
    int firstLine = 1;
    int width = 0;
    int announcedLines = 0;
    const char* textEnd = nullptr;
    std::vector<Line> lines;
    std::vector<std::string_view> sources;
    struct Block {
        TableBlock<ReportCell> cells;
        std::size_t size = 0;
    };
    std::vector<Block> blocks;
    std::size_t blocksInUse = 0;  // those behind them are free
    ReportCell* nextCell = nullptr;
    std::size_t cellsLeft = 0;
    TextArena texts;
};
