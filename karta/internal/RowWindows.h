#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "base/ReadContext.h"
#include "frame/CellRunSink.h"
#include "frame/WideSink.h"
#include "karta/internal/ReadControl.h"
#include "karta/internal/TableSink.h"

namespace karta {

/**
 * A sink that doesn't keep a table, but windows of it: some rows each, in a sink of their own. Which rows lie
 * together, and how long, is the derived classes' matter.
 */
class RowWindows : public WideSink, public CellRunSink {
public:
    /** The context is the reader's; the control stays the caller's. */
    RowWindows(std::shared_ptr<ReadContext> readContext, ReadControl& readControl)
        : context(std::move(readContext)), control(readControl) {}

    void Set(int col, int row, int value) override { Put(col, row, value); }
    void Set(int col, int row, std::int64_t value) override { Put(col, row, value); }
    void Set(int col, int row, double value) override { Put(col, row, value); }
    void Set(int col, int row, float value) override { Put(col, row, value); }
    void Set(int col, int row, const char* text) override {
        if (*text == '\0') {
            RowWindows::SetMissing(col, row);
        } else {
            RowWindows::SetText(col, row, text);
        }
    }
    void SetText(int col, int row, std::string_view text) override {
        PutCell(col, row, text.size(), !text.empty(),
                [&](TableSink& sink, int place) { sink.SetText(col, place, text); });
    }
    void SetBool(int col, int row, bool value) override {
        PutValue(col, row, [&](TableSink& sink, int place) { sink.SetBool(col, place, value); });
    }
    void SetDate(int col, int row, std::int32_t days) override {
        PutValue(col, row, [&](TableSink& sink, int place) { sink.SetDate(col, place, days); });
    }
    void SetTime(int col, int row, std::int64_t microseconds) override {
        PutValue(col, row, [&](TableSink& sink, int place) { sink.SetTime(col, place, microseconds); });
    }
    void SetDateTime(int col, int row, std::int64_t microseconds) override {
        PutValue(col, row, [&](TableSink& sink, int place) { sink.SetDateTime(col, place, microseconds); });
    }
    void SetDuration(int col, int row, std::int64_t microseconds) override {
        PutValue(col, row, [&](TableSink& sink, int place) { sink.SetDuration(col, place, microseconds); });
    }
    void SetError(int col, int row, std::string_view text) override {
        PutCell(col, row, 0, false, [&](TableSink& sink, int place) { sink.SetError(col, place, text); });
    }
    void SetMissing(int col, int row) override {
        PutCell(col, row, 0, false, [&](TableSink& sink, int place) { sink.SetMissing(col, place); });
    }
    void SetSource(int col, int row, std::string_view source) override {
        PutCell(col, row, source.size(), false,
                [&](TableSink& sink, int place) { sink.SetSource(col, place, source); });
    }
    void SetRowRun(int firstCol, int row, std::span<const float> values) override {
        PutRowRun(firstCol, row, values);
    }
    void SetRowRun(int firstCol, int row, std::span<const double> values) override {
        PutRowRun(firstCol, row, values);
    }
    void SetColumnRun(int col, int firstRow, std::span<const float> values) override {
        PutColumnRun(col, firstRow, values);
    }
    void SetColumnRun(int col, int firstRow, std::span<const double> values) override {
        PutColumnRun(col, firstRow, values);
    }

    void SetCellRun(int col, int firstRow, std::span<const double> values,
                    std::span<const std::uint8_t> decimals) override {
        PutCellsDown(col, firstRow, values.size(),
                     [&](TableSink& sink, int place, std::size_t first, std::size_t count) {
                         sink.SetCellRun(col, place, values.subspan(first, count),
                                         decimals.empty() ? decimals : decimals.subspan(first, count));
                     });
    }
    void SetTextRun(int col, int firstRow, const TextRun& texts) override {
        PutCellsDown(col, firstRow, texts.ends.size(),
                     [&](TableSink& sink, int place, std::size_t first, std::size_t count) {
                         const TextRun some{texts.bytes, first == 0 ? texts.begin : texts.ends[first - 1],
                                            texts.ends.subspan(first, count), texts.areUtf8};
                         heldBytes += some.ends.back() - some.begin;
                         sink.SetTextRun(col, place, some);
                     });
    }
    void SetValueRun(int col, int firstRow, ValueRunKind kind,
                     std::span<const std::int64_t> values) override {
        PutCellsDown(col, firstRow, values.size(),
                     [&](TableSink& sink, int place, std::size_t first, std::size_t count) {
                         sink.SetValueRun(col, place, kind, values.subspan(first, count));
                     });
    }
    /** As of TableSink. */
    bool PrefersCellRuns() const override { return !context->shape.HasBlock(); }

    void SetDataSize(int cols, int rows) override;
    int GetNumberOfColumns() override { return numCols; }
    int GetNumberOfRows() override { return numRows; }
    int NextRowToRead(int row) override { return control.NextRowToRead(row, numRows); }
    bool KeepsRows() const override { return false; }
    /** The types must be those of all rows. Who doesn't want the evidence looks at the read's notes. */
    bool WantsWholeEvidence() const override { return wantsWholeEvidence; }
    void WantWholeEvidence(bool isWanted) { wantsWholeEvidence = isWanted; }
    bool WantsPointNames() const override { return false; }

protected:
    static constexpr int AllRows = std::numeric_limits<int>::max();

    /** The rows behind `above` up to `last`, of the grid, and who takes them; null: nobody. */
    struct Window {
        TableSink* sink = nullptr;
        int above = 0;
        int last = 0;
    };

    /** The one that a row is in, from which on cells go there. */
    virtual Window FindWindow(int row) = 0;
    /** The windows are others now: the next cell asks anew. */
    void LeaveWindow() { window = {}; }

    /** About so many bytes were put since it was set to 0. */
    std::size_t heldBytes = 0;
    /** Rows with something in them so far, as far as they came one after the other. */
    int filledRows = 0;
    const std::shared_ptr<ReadContext> context;
    ReadControl& control;
    int numCols = 0;  // of the table, as far as it is known
    int numRows = 0;
    int lastCol = 0;  // that a cell was put in
    int lastRow = 0;

private:
    static constexpr std::size_t BytesACell = 16;

    void Reach(int col, int row) {
        lastCol = std::max(lastCol, col);
        lastRow = std::max(lastRow, row);
        numCols = std::max(numCols, lastCol);
        numRows = std::max(numRows, lastRow);
    }
    // Whether a row's window takes cells.
    bool Enter(int row) {
        if (row <= window.above || row > window.last) {
            window = FindWindow(row);
        }
        return window.sink != nullptr;
    }
    template <class Step>
    void PutCell(int col, int row, std::size_t bytes, bool isFilled, const Step& step) {
        if (col < 1 || row < 1) {
            return;
        }
        Reach(col, row);
        if (Enter(row)) {
            heldBytes += BytesACell + bytes;
            Fill(row, isFilled ? 1 : 0);
            step(*window.sink, row - window.above);
        }
    }
    template <class Step>
    void PutValue(int col, int row, const Step& step) {
        PutCell(col, row, 0, true, step);
    }
    template <class Value>
    void Put(int col, int row, Value value) {
        PutValue(col, row, [&](TableSink& sink, int place) { sink.Set(col, place, value); });
    }
    void Fill(int row, int count) {
        const int last = row + count - 1;
        if (count > 0 && last > lastFilled) {
            filledRows += last - std::max(lastFilled, row - 1);
            lastFilled = last;
        }
    }
    template <class Number>
    void PutRowRun(int firstCol, int row, std::span<const Number> values) {
        const auto room = static_cast<std::size_t>(AllRows - std::max(firstCol, 1));
        if (firstCol < 1 || row < 1 || values.empty() || values.size() > room) {
            return;
        }
        Reach(firstCol + static_cast<int>(values.size()) - 1, row);
        if (Enter(row)) {
            heldBytes += BytesACell * values.size();
            Fill(row, 1);
            window.sink->SetRowRun(firstCol, row - window.above, values);
        }
    }
    template <class Number>
    void PutColumnRun(int col, int firstRow, std::span<const Number> values) {
        PutDown(col, firstRow, values.size(),
                [&](TableSink& sink, int place, std::size_t first, std::size_t count) {
                    sink.SetColumnRun(col, place, values.subspan(first, count));
                });
    }
    template <class Step>
    void PutCellsDown(int col, int firstRow, std::size_t size, const Step& step) {
        PutDown(col, firstRow, size, [&](TableSink& sink, int place, std::size_t first, std::size_t count) {
            Fill(place + window.above, static_cast<int>(count));
            step(sink, place, first, count);
        });
    }
    // Cells below each other may go through several windows: so many of them from one on into each.
    template <class Step>
    void PutDown(int col, int firstRow, std::size_t size, const Step& step) {
        const auto room = static_cast<std::size_t>(AllRows - std::max(firstRow, 1));
        if (col < 1 || firstRow < 1 || size == 0 || size > room) {
            return;
        }
        Reach(col, firstRow + static_cast<int>(size) - 1);
        for (std::size_t done = 0; done < size;) {
            const int row = firstRow + static_cast<int>(done);
            const bool isTaken = Enter(row);
            const std::size_t count = std::min(size - done, static_cast<std::size_t>(window.last - row) + 1);
            if (isTaken) {
                heldBytes += BytesACell * count;
                step(*window.sink, row - window.above, done, count);
            }
            done += count;
        }
    }

    Window window;
    int lastFilled = 0;
    bool wantsWholeEvidence = false;
};

}  // namespace karta
