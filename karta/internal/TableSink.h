#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "base/ReadContext.h"
#include "frame/WideSink.h"
#include "karta/Table.h"
#include "table/TableData.h"

namespace karta {

/**
 * The sink that makes a Table of what a reader pushes. One sink is for one read: Finish ends it. What it
 * keeps is charged to the budget of the read's context before it is taken.
 */
class TableSink final : public WideSink {
public:
    /**
     * The context is the reader's: its shape says what the rows and columns are. `header`: the row of the
     * columns' names, from 1; 0: there is none; nothing: the reader's shape, else what the cells tell.
     */
    explicit TableSink(std::shared_ptr<ReadContext> readContext, std::optional<int> headerRow = {});
    ~TableSink() override;

    void Set(int col, int row, int value) override { cells.Set(col, row, value); }
    void Set(int col, int row, std::int64_t value) override { cells.Set(col, row, value); }
    void Set(int col, int row, double value) override { cells.Set(col, row, value); }
    void Set(int col, int row, const char* text) override { cells.Set(col, row, text); }
    void Set(int col, int row, float value) override { cells.Set(col, row, value); }

    void SetText(int col, int row, std::string_view text) override { cells.SetText(col, row, text); }
    void SetBool(int col, int row, bool value) override { cells.SetBool(col, row, value); }
    void SetDate(int col, int row, std::int32_t days) override { cells.SetDate(col, row, days); }
    void SetTime(int col, int row, std::int64_t microseconds) override {
        cells.SetTime(col, row, microseconds);
    }
    void SetDateTime(int col, int row, std::int64_t microseconds) override {
        cells.SetDateTime(col, row, microseconds);
    }
    void SetDuration(int col, int row, std::int64_t microseconds) override {
        cells.SetDuration(col, row, microseconds);
    }
    void SetError(int col, int row, std::string_view text) override { cells.SetError(col, row, text); }
    void SetMissing(int col, int row) override { cells.SetMissing(col, row); }
    void SetSource(int col, int row, std::string_view source) override { cells.SetSource(col, row, source); }
    void SetRowRun(int firstCol, int row, std::span<const float> values) override {
        cells.SetRowRun(firstCol, row, values);
    }
    void SetRowRun(int firstCol, int row, std::span<const double> values) override {
        cells.SetRowRun(firstCol, row, values);
    }
    void SetColumnRun(int col, int firstRow, std::span<const float> values) override {
        cells.SetColumnRun(col, firstRow, values);
    }
    void SetColumnRun(int col, int firstRow, std::span<const double> values) override {
        cells.SetColumnRun(col, firstRow, values);
    }

    void SetDataSize(int cols, int rows) override { cells.SetDataSize(cols, rows); }
    int GetNumberOfColumns() override { return cells.GetNumberOfColumns(); }
    int GetNumberOfRows() override { return cells.GetNumberOfRows(); }

    /**
     * The table of what was pushed, with the context's notes and shape. Once, after the reader's Read; raises
     * BudgetExceeded.
     */
    Table Finish();

private:
    Column MakeColumn(int col, int firstRow, int rows);
    Block MakeBlock(const TableShape& shape, int rows);

    std::shared_ptr<ReadContext> context;
    std::optional<int> header;
    TableData cells;
};

}  // namespace karta
