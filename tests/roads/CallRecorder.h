#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "karta/internal/SpreadsheetSink.h"

/** One call that a sink got, as it came. */
struct SinkCall {
    enum Kind { Int, Int64, Float, Double, Text, Size, NextRow };

    Kind kind;
    int col = 0;
    int row = 0;
    std::int64_t whole = 0; /**< of an Int or Int64; the answer to a NextRow */
    double number = 0.0;    /**< of a Double, or of a Float, which it holds exactly */
    std::string text = {};

    /** As `karta-import trace` shows it. */
    std::string Line() const;

    /**
     * What arrives of it beyond the flat interface, which knows floats and texts only: large whole numbers
     * arrive as texts, all others as floats, and whatever isn't a number as it is.
     */
    SinkCall Narrowed() const;

    /** The same call once more. */
    void Repeat(ReadSpreadSheetData& sink) const;
};

/** A sink that notes every call, in order; it wants all rows, or some of them, in rising order. */
class CallRecorder : public SpreadsheetSink {
public:
    explicit CallRecorder(std::vector<int> rows = {}) : wantedRows(std::move(rows)) {}

    void Set(int col, int row, int value) override;
    void Set(int col, int row, std::int64_t value) override;
    void Set(int col, int row, double value) override;
    void Set(int col, int row, const char* text) override;
    void Set(int col, int row, float value) override;
    int NextRowToRead(int row) override;
    void SetDataSize(int cols, int rows) override;

    std::vector<SinkCall> calls;

private:
    std::vector<int> wantedRows;
};
