#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "base/OutputFile.h"
#include "frame/RowTextSink.h"
#include "frame/WideSink.h"
#include "karta/internal/ReadControl.h"
#include "karta/internal/SpreadsheetSink.h"
#include "table/TableData.h"
#include "tools/TableRead.h"
#include "tools/TableWriter.h"

/**
 * A table that is written while it is read: rows that are final go out and are let go of, so that a long one
 * costs no more memory than a short one. What is small is held until its end. All rows must have the same
 * number of fields; where more turn up once rows are out, the rest is only measured, and the read has to be
 * done again with the width that is then known.
 */
class StreamingSink : public SpreadsheetSink, public WideSink, public RowTextSink {
public:
    /**
     * All stay the caller's. `report` is that of the read, whose budget is charged. `target` null: nothing is
     * written of a table that isn't small. `width` 0: not known. `evidence`: a reader looks through its file
     * before the first row.
     */
    StreamingSink(ReadControl& readControl, ReadReport& readReport, const FormRequest& formRequest,
                  OutputFile* outputFile, int knownWidth, bool evidence);

    void Set(int col, int row, int value) override {
        Put(col, row, [&](int to) { held.Set(col, to, value); });
    }
    void Set(int col, int row, std::int64_t value) override {
        Put(col, row, [&](int to) { held.Set(col, to, value); });
    }
    void Set(int col, int row, double value) override {
        Put(col, row, [&](int to) { held.Set(col, to, value); });
    }
    void Set(int col, int row, const char* text) override {
        Put(col, row, [&](int to) { held.Set(col, to, text); }, std::string_view(text).size());
    }
    void Set(int col, int row, float value) override {
        Put(col, row, [&](int to) { held.Set(col, to, value); });
    }
    void SetText(int col, int row, std::string_view text) override {
        Put(col, row, [&](int to) { held.SetText(col, to, text); }, text.size());
    }
    void SetBool(int col, int row, bool value) override {
        Put(col, row, [&](int to) { held.SetBool(col, to, value); });
    }
    void SetDate(int col, int row, std::int32_t days) override {
        Put(col, row, [&](int to) { held.SetDate(col, to, days); });
    }
    void SetTime(int col, int row, std::int64_t microseconds) override {
        Put(col, row, [&](int to) { held.SetTime(col, to, microseconds); });
    }
    void SetDateTime(int col, int row, std::int64_t microseconds) override {
        Put(col, row, [&](int to) { held.SetDateTime(col, to, microseconds); });
    }
    void SetDuration(int col, int row, std::int64_t microseconds) override {
        Put(col, row, [&](int to) { held.SetDuration(col, to, microseconds); });
    }
    void SetError(int col, int row, std::string_view text) override {
        Put(col, row, [&](int to) { held.SetError(col, to, text); }, text.size());
    }
    void SetMissing(int col, int row) override {
        Put(col, row, [&](int to) { held.SetMissing(col, to); });
    }
    void SetSource(int col, int row, std::string_view source) override {
        Put(col, row, [&](int to) { held.SetSource(col, to, source); }, source.size());
    }
    void SetRowRun(int firstCol, int row, std::span<const float> values) override {
        PutRun(firstCol, row, values.size(), 1, [&](int to) { held.SetRowRun(firstCol, to, values); });
    }
    void SetRowRun(int firstCol, int row, std::span<const double> values) override {
        PutRun(firstCol, row, values.size(), 1, [&](int to) { held.SetRowRun(firstCol, to, values); });
    }
    void SetColumnRun(int col, int firstRow, std::span<const float> values) override {
        PutRun(col, firstRow, 1, values.size(), [&](int to) { held.SetColumnRun(col, to, values); });
    }
    void SetColumnRun(int col, int firstRow, std::span<const double> values) override {
        PutRun(col, firstRow, 1, values.size(), [&](int to) { held.SetColumnRun(col, to, values); });
    }

    bool KeepsRows() const override { return false; }
    bool WantsWholeEvidence() const override { return wantsEvidence; }
    int NextRowToRead(int row) override { return control.NextRowToRead(row, GetNumberOfRows()); }
    void EndRow(int row) override;
    void SetDataSize(int cols, int rows) override;

    /** Once rows go out. */
    std::optional<RowTextForm> GetRowTextForm() override;
    void PutRowTexts(int firstRow, int rows, int cols, std::string_view text) override;

    /** Whether all of the table is held still, and nothing is written yet. */
    bool IsSmall() const { return offset == 0; }
    /** Of one that isn't small: whether what went out is right so far, and Finish makes it whole. */
    bool IsGood() { return Writes() && width == GetNumberOfColumns(); }
    /** Whether a row that was let go of was set again: the table can't be written while it is read. */
    bool IsLate() const { return isLate; }
    /** Writes what is held, of a small table all of it, to the target, which a small one need not have yet.
     */
    void Finish(OutputFile& file);

private:
    template <class Step>
    void Put(int col, int row, const Step& put, std::size_t bytes = 0) {
        PutRun(col, row, 1, 1, put);
        heldBytes += bytes;
    }
    template <class Step>
    void PutRun(int col, int row, std::size_t cols, std::size_t rows, const Step& put) {
        if (col < 1 || row < 1 || cols == 0 || rows == 0) {
            return;
        }
        if (row <= offset) {
            isLate = true;
            return;
        }
        Cover(col + static_cast<int>(cols) - 1, row + static_cast<int>(rows) - 1);
        put(row - offset);
        heldBytes += cols * rows * BytesACell;
    }

    static constexpr std::size_t BytesACell = 16;

    bool Writes() { return !isLate && target != nullptr && width >= GetNumberOfColumns(); }
    void Cover(int col, int row);
    void LetGo(int row);

    ReadControl& control;
    ReadReport& report;
    FormRequest form;
    OutputFile* target;
    std::optional<TableWriter> writer;  // once rows go out
    bool wantsEvidence;
    // Of what is held alone, so that what is let go of is free again; the read's own limit holds for it.
    karta::Budget heldBudget;
    TableData held;
    std::size_t heldBytes = 0;
    int width;
    int offset = 0;  // rows that are let go of
    bool isLate = false;
    bool hasBudget = false;
};
