#pragma once

#include <cstdint>

#include "frame/ReadSpreadSheetData.h"

/** A sink that keeps nothing and counts: what reading costs without a table. */
class CountingSink : public ReadSpreadSheetData {
public:
    void Set(int col, int row, int) override { Count(col, row); }
    void Set(int col, int row, std::int64_t) override { Count(col, row); }
    void Set(int col, int row, double) override { Count(col, row); }
    void Set(int col, int row, const char*) override { Count(col, row); }
    void Set(int col, int row, float) override { Count(col, row); }
    void SetDataSize(int newCols, int newRows) override {
        cols = newCols;
        rows = newRows;
    }
    int GetNumberOfColumns() override { return cols; }
    int GetNumberOfRows() override { return rows; }

    std::int64_t cells = 0;
    int cols = 0;
    int rows = 0;

private:
    void Count(int /*col*/, int /*row*/) { ++cells; }
};
