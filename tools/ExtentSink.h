#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>

#include "frame/WideSink.h"
#include "karta/internal/ReadControl.h"
#include "karta/internal/SpreadsheetSink.h"

/** A table that keeps nothing but its size, as a table with cells would have it. */
class ExtentSink : public SpreadsheetSink, public WideSink {
public:
    /** `readControl` stays the caller's and must outlive the read. */
    explicit ExtentSink(ReadControl& readControl) : control(readControl) {}

    void Set(int col, int row, int /*value*/) override { Cover(col, row); }
    void Set(int col, int row, std::int64_t /*value*/) override { Cover(col, row); }
    void Set(int col, int row, double /*value*/) override { Cover(col, row); }
    void Set(int col, int row, const char* /*text*/) override { Cover(col, row); }
    void Set(int col, int row, float /*value*/) override { Cover(col, row); }
    void SetText(int col, int row, std::string_view /*text*/) override { Cover(col, row); }
    void SetBool(int col, int row, bool /*value*/) override { Cover(col, row); }
    void SetDate(int col, int row, std::int32_t /*days*/) override { Cover(col, row); }
    void SetTime(int col, int row, std::int64_t /*microseconds*/) override { Cover(col, row); }
    void SetDateTime(int col, int row, std::int64_t /*microseconds*/) override { Cover(col, row); }
    void SetDuration(int col, int row, std::int64_t /*microseconds*/) override { Cover(col, row); }
    void SetError(int col, int row, std::string_view /*text*/) override { Cover(col, row); }
    void SetMissing(int col, int row) override { Cover(col, row); }
    void SetRowRun(int firstCol, int row, std::span<const float> values) override {
        CoverRun(firstCol, row, std::ssize(values), 1);
    }
    void SetRowRun(int firstCol, int row, std::span<const double> values) override {
        CoverRun(firstCol, row, std::ssize(values), 1);
    }
    void SetColumnRun(int col, int firstRow, std::span<const float> values) override {
        CoverRun(col, firstRow, 1, std::ssize(values));
    }
    void SetColumnRun(int col, int firstRow, std::span<const double> values) override {
        CoverRun(col, firstRow, 1, std::ssize(values));
    }

    bool KeepsRows() const override { return false; }
    int NextRowToRead(int row) override { return control.NextRowToRead(row, GetNumberOfRows()); }
    void EndRow(int row) override { control.EndRow(row, GetNumberOfRows()); }
    void SetDataSize(int cols, int rows) override {
        control.Resize(rows);
        SpreadsheetSink::SetDataSize(std::max(cols, 0), std::max(rows, 0));
    }

private:
    void Cover(int col, int row) {
        if (col >= 1 && row >= 1 && (col > GetNumberOfColumns() || row > GetNumberOfRows())) {
            SpreadsheetSink::SetDataSize(std::max(col, GetNumberOfColumns()),
                                         std::max(row, GetNumberOfRows()));
        }
    }
    void CoverRun(int firstCol, int firstRow, std::ptrdiff_t cols, std::ptrdiff_t rows) {
        if (cols > 0 && rows > 0) {
            Cover(firstCol + static_cast<int>(cols) - 1, firstRow + static_cast<int>(rows) - 1);
        }
    }

    ReadControl& control;
};
