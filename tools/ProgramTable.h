#pragma once

#include "karta/internal/ReadControl.h"
#include "table/TableData.h"

/** The program's table: keeps the cells that can be of use, draws progress and lets Ctrl-C through. */
class ProgramTable : public TableData {
public:
    /** `readControl` stays the caller's and must outlive the read. */
    explicit ProgramTable(ReadControl& readControl)
        : control(readControl), keepsRows(!readControl.WantsFirstRowsOnly()) {}

    void Set(int col, int row, int value) override { Keep(col, row, value); }
    void Set(int col, int row, std::int64_t value) override { Keep(col, row, value); }
    void Set(int col, int row, double value) override { Keep(col, row, value); }
    void Set(int col, int row, const char* text) override { Keep(col, row, text); }
    void Set(int col, int row, float value) override { Keep(col, row, value); }

    void SetText(int col, int row, std::string_view text) override;
    void SetBool(int col, int row, bool value) override;
    void SetDate(int col, int row, std::int32_t days) override;
    void SetTime(int col, int row, std::int64_t microseconds) override;
    void SetDateTime(int col, int row, std::int64_t microseconds) override;
    void SetDuration(int col, int row, std::int64_t microseconds) override;
    void SetError(int col, int row, std::string_view text) override;
    void SetMissing(int col, int row) override;
    void SetSource(int col, int row, std::string_view source) override;
    void SetRowRun(int firstCol, int row, std::span<const float> values) override;
    void SetRowRun(int firstCol, int row, std::span<const double> values) override;
    void SetColumnRun(int col, int firstRow, std::span<const float> values) override;
    void SetColumnRun(int col, int firstRow, std::span<const double> values) override;

    int NextRowToRead(int row) override { return control.NextRowToRead(row, GetNumberOfRows()); }
    /** Where the first rows are enough, what they tell of the columns is too. */
    bool KeepsRows() const override { return keepsRows; }
    void EndRow(int row) override { control.EndRow(row, GetNumberOfRows()); }
    void SetDataSize(int cols, int rows) override;

private:
    template <class Value>
    void Keep(int col, int row, Value value) {
        if (control.IsOfUse(row)) {
            TableData::Set(col, row, value);
        }
    }
    template <class Number>
    std::span<const Number> OfUse(int firstRow, std::span<const Number> values) const;

    ReadControl& control;
    bool keepsRows;  // asked for after the read too, when its control is gone
};
