#include "karta/internal/BatchSink.h"

#include <algorithm>
#include <utility>

#include "base/Stopped.h"
#include "karta/internal/ChangedMeanwhile.h"
#include "karta/internal/TableSlices.h"

namespace karta {

namespace {

// About so many cells are made into columns at once.
constexpr std::int64_t CellsAtOnce = 1 << 16;

std::int64_t RowsAtOnce(const TablePlan& plan, std::int64_t batchRows) {
    const std::int64_t width = std::max<std::int64_t>(plan.head.GetWidth(), 1);
    const std::int64_t rows =
        std::min(std::max(batchRows, CellsAtOnce / width), std::max<std::int64_t>(plan.rows, 1));
    return std::max<std::int64_t>(rows / batchRows, 1) * batchRows;
}

}  // namespace

BatchSink::BatchSink(std::shared_ptr<ReadContext> readContext, ReadControl& readControl,
                     const TablePlan& tablePlan, std::int64_t rowsOfBatch, const BatchFunction& use)
    : RowWindows(std::move(readContext), readControl),
      plan(tablePlan),
      batchRows(std::min(rowsOfBatch, std::max<std::int64_t>(tablePlan.rows, 1))),
      windowRows(RowsAtOnce(tablePlan, batchRows)),
      function(use) {}

RowWindows::Window BatchSink::FindWindow(int row) {
    const int heads = plan.GetFirstDataRow() - 1;
    if (row <= heads) {
        return {nullptr, 0, heads};
    }
    const std::int64_t number = (std::int64_t{row} - heads - 1) / windowRows;
    if (number < nextWindow || row - heads > plan.rows) {
        throw ChangedMeanwhile();
    }
    std::unique_ptr<TableSink>& sink = windows[number];
    const std::int64_t first = number * windowRows;
    if (sink == nullptr) {
        sink = std::make_unique<TableSink>(context, plan,
                                           static_cast<int>(std::min(windowRows, plan.rows - first)));
    }
    return {sink.get(), static_cast<int>(heads + first),
            static_cast<int>(std::min<std::int64_t>(heads + first + windowRows, AllRows))};
}

void BatchSink::EndRow(int row) {
    control.EndRow(row, numRows);
    HandOutUpTo(std::int64_t{row} - plan.GetFirstDataRow() + 1);
    if (isDone) {
        throw Stopped();
    }
}

void BatchSink::HandOutUpTo(std::int64_t dataRows) {
    while (!isDone && (nextWindow + 1) * windowRows <= dataRows) {
        HandOut(nextWindow);
    }
}

void BatchSink::HandOut(std::int64_t windowNumber) {
    const std::int64_t first = windowNumber * windowRows;
    const std::int64_t rows = std::min(windowRows, plan.rows - first);
    std::unique_ptr<TableSink> sink = std::move(windows[windowNumber]);
    windows.erase(windowNumber);
    nextWindow = windowNumber + 1;
    LeaveWindow();
    if (sink == nullptr) {
        sink = std::make_unique<TableSink>(context, plan, static_cast<int>(rows));
    }
    const Table table = sink->FinishPlanned(plan, static_cast<int>(rows));
    isDone = !ForEachSlice(table, batchRows, [this](Table& batch) { return Use(batch); });
    if (isDone) {
        control.SetEnough();
    }
}

bool BatchSink::Use(Table& batch) {
    try {
        return function(batch);
    } catch (...) {
        raised = std::current_exception();
        return false;
    }
}

void BatchSink::Finish() {
    // A file that has grown shorter would seem to end in missing rows.
    if (!isDone && std::max(numRows - plan.GetFirstDataRow() + 1, 0) != plan.rows) {
        throw ChangedMeanwhile();
    }
    while (!isDone && (nextWindow == 0 || nextWindow * windowRows < plan.rows)) {
        HandOut(nextWindow);
    }
}

}  // namespace karta
