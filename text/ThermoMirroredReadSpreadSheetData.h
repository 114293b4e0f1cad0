#pragma once

#include "frame/ReadSpreadSheetData.h"
#include "table/TableData.h"

/**
 * Collects the texts of a table of a fixed size, for ThermoSIEVEFile to look through. Cells outside of it,
 * and numbers, are dropped. Memory grows with the cells that come, not with the size.
 */
class ThermoMirroredReadSpreadSheetData : public ReadSpreadSheetData {
public:
    /** Holds nothing when either is less than 1. */
    ThermoMirroredReadSpreadSheetData(int rows, int cols);

    void Set(int col, int row, const char* text) override;
    void Set(int col, int row, float value) override;
    void SetDataSize(int cols, int rows) override;
    int GetNumberOfColumns() override { return numCols; }
    int GetNumberOfRows() override { return numRows; }

    /** The text of a cell, both counted from 0; empty for one that never came. */
    const char* GetText(int row, int col) const;

private:
    TableData table;
    int numRows;
    int numCols;
};
