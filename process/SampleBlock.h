#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "frame/CellOutput.h"
#include "frame/CellRunSink.h"
#include "frame/WideSink.h"

/**
 * Some rows of a table of samples, in columns: any thread fills one, row by row and each from left to right,
 * and then its columns are handed on in runs. Serves again and again.
 *
 * Texts aren't copied: they stay where they are until the block is put.
 */
class SampleBlock final : public WideSink {
public:
    SampleBlock(int cols, int rows);

    /** Empties it, for rows of the table from this one on. */
    void Begin(int firstRow);
    /** Hands on what is here: `output` is the sink's. */
    void Put(CellRunSink& sink, CellOutput& output) const;

    void Set(int col, int row, int value) override { SetNumber(col, row, value); }
    void Set(int col, int row, std::int64_t value) override {
        SetNumber(col, row, static_cast<double>(value));
    }
    void Set(int col, int row, double value) override { SetNumber(col, row, value); }
    void Set(int col, int row, float value) override { SetNumber(col, row, value); }
    void Set(int col, int row, const char* text) override { SetText(col, row, text); }
    void SetText(int col, int row, std::string_view text) override { Add(col, row, Text, text); }
    void SetMissing(int col, int row) override { Add(col, row, Missing, {}); }
    void SetRowRun(int firstCol, int row, std::span<const double> values) override {
        for (const double value : values) {
            SetNumber(firstCol++, row, value);
        }
    }
    void SetRowRun(int firstCol, int row, std::span<const float> values) override {
        for (const float value : values) {
            SetNumber(firstCol++, row, value);
        }
    }
    void SetColumnRun(int col, int row, std::span<const float> values) override {
        for (const float value : values) {
            SetNumber(col, row++, value);
        }
    }
    void SetColumnRun(int col, int row, std::span<const double> values) override {
        for (const double value : values) {
            SetNumber(col, row++, value);
        }
    }

    /** Samples are none of these. */
    void SetBool(int /*col*/, int /*row*/, bool /*value*/) override {}
    void SetDate(int /*col*/, int /*row*/, std::int32_t /*days*/) override {}
    void SetTime(int /*col*/, int /*row*/, std::int64_t /*microseconds*/) override {}
    void SetDateTime(int /*col*/, int /*row*/, std::int64_t /*microseconds*/) override {}
    void SetDuration(int /*col*/, int /*row*/, std::int64_t /*microseconds*/) override {}
    void SetError(int /*col*/, int /*row*/, std::string_view /*text*/) override {}

    void SetDataSize(int /*newCols*/, int /*newRows*/) override {}
    int GetNumberOfColumns() override { return static_cast<int>(columns.size()); }
    int GetNumberOfRows() override { return rows; }

private:
    /** A cell that is no number, or rows in which nothing came. */
    enum Kind : std::uint8_t { Text, Missing, Nothing };
    struct Other {
        int row;
        int end; /**< behind its last row */
        Kind kind;
        std::string_view text;
    };
    struct Column {
        int next = 0;  // the row of the cell to come
        std::vector<Other> others;
    };

    void SetNumber(int col, int row, double value) {
        const auto place = static_cast<std::size_t>(col) - 1;
        Column& column = columns[place];
        if (column.next != row) {
            Reach(column, row);
        }
        column.next = row + 1;
        numbers[place * static_cast<std::size_t>(rows) + static_cast<std::size_t>(row - first)] = value;
    }
    void Add(int col, int row, Kind kind, std::string_view text) {
        Column& column = columns[static_cast<std::size_t>(col) - 1];
        Reach(column, row);
        column.next = row + 1;
        column.others.push_back({row, row + 1, kind, text});
    }
    static void Reach(Column& column, int row);

    int rows;
    int first = 1;
    std::vector<Column> columns;
    std::vector<double> numbers;  // column by column
};
