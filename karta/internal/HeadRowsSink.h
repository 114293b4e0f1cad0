#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "base/ReadContext.h"
#include "frame/WideSink.h"
#include "karta/internal/ReadControl.h"

namespace karta {

/**
 * A sink in front of another one, for as many of a table's rows as are wanted: it hands the rows on that can
 * be of use, and ends the read behind them. Rows of data count from 1 behind the heads, which are always of
 * use; where the reader doesn't say which rows are heads, all rows are.
 */
class HeadRowsSink final : public WideSink {
public:
    /** All stay the caller's. */
    HeadRowsSink(WideSink& target, const ReadContext& readContext, ReadControl& readControl,
                 std::int64_t lastDataRow)
        : sink(target), context(readContext), control(readControl), lastRow(lastDataRow) {}

    void Set(int col, int row, int value) override {
        PutIf(row, [&] { sink.Set(col, row, value); });
    }
    void Set(int col, int row, std::int64_t value) override {
        PutIf(row, [&] { sink.Set(col, row, value); });
    }
    void Set(int col, int row, double value) override {
        PutIf(row, [&] { sink.Set(col, row, value); });
    }
    void Set(int col, int row, const char* text) override {
        PutIf(row, [&] { sink.Set(col, row, text); });
    }
    void Set(int col, int row, float value) override {
        PutIf(row, [&] { sink.Set(col, row, value); });
    }
    void SetText(int col, int row, std::string_view text) override {
        PutIf(row, [&] { sink.SetText(col, row, text); });
    }
    void SetBool(int col, int row, bool value) override {
        PutIf(row, [&] { sink.SetBool(col, row, value); });
    }
    void SetDate(int col, int row, std::int32_t days) override {
        PutIf(row, [&] { sink.SetDate(col, row, days); });
    }
    void SetTime(int col, int row, std::int64_t microseconds) override {
        PutIf(row, [&] { sink.SetTime(col, row, microseconds); });
    }
    void SetDateTime(int col, int row, std::int64_t microseconds) override {
        PutIf(row, [&] { sink.SetDateTime(col, row, microseconds); });
    }
    void SetDuration(int col, int row, std::int64_t microseconds) override {
        PutIf(row, [&] { sink.SetDuration(col, row, microseconds); });
    }
    void SetError(int col, int row, std::string_view text) override {
        PutIf(row, [&] { sink.SetError(col, row, text); });
    }
    void SetMissing(int col, int row) override {
        PutIf(row, [&] { sink.SetMissing(col, row); });
    }
    void SetSource(int col, int row, std::string_view source) override {
        PutIf(row, [&] { sink.SetSource(col, row, source); });
    }
    void SetRowRun(int firstCol, int row, std::span<const float> values) override {
        PutIf(row, [&] { sink.SetRowRun(firstCol, row, values); });
    }
    void SetRowRun(int firstCol, int row, std::span<const double> values) override {
        PutIf(row, [&] { sink.SetRowRun(firstCol, row, values); });
    }
    void SetColumnRun(int col, int firstRow, std::span<const float> values) override {
        PutIf(firstRow, [&] { sink.SetColumnRun(col, firstRow, values); });
    }
    void SetColumnRun(int col, int firstRow, std::span<const double> values) override {
        PutIf(firstRow, [&] { sink.SetColumnRun(col, firstRow, values); });
    }

    int NextRowToRead(int row) override;
    void EndRow(int row) override;
    bool KeepsRows() const override { return sink.KeepsRows(); }
    bool WantsPointNames() const override { return sink.WantsPointNames(); }
    void SetDataSize(int cols, int rows) override;
    int GetNumberOfColumns() override { return sink.GetNumberOfColumns(); }
    int GetNumberOfRows() override { return sink.GetNumberOfRows(); }

private:
    bool IsOfUse(int row) const {
        return !context.shape.isKnown || row - context.shape.firstDataRow < lastRow;
    }

    template <class Put>
    void PutIf(int row, const Put& put) {
        if (IsOfUse(row)) {
            put();
        } else {
            context.ThrowIfStopped();
        }
    }

    WideSink& sink;
    const ReadContext& context;
    ReadControl& control;
    std::int64_t lastRow;
};

}  // namespace karta
