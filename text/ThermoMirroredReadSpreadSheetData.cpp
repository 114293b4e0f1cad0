#include "text/ThermoMirroredReadSpreadSheetData.h"

ThermoMirroredReadSpreadSheetData::ThermoMirroredReadSpreadSheetData(int rows, int cols)
    : numRows(rows), numCols(cols) {}

void ThermoMirroredReadSpreadSheetData::Set(int col, int row, const char* text) {
    if (row <= numRows && col <= numCols) {
        table.Set(col, row, text);
    }
}

// The parser that fills the table delivers texts only.
void ThermoMirroredReadSpreadSheetData::Set(int /*col*/, int /*row*/, float /*value*/) {}

void ThermoMirroredReadSpreadSheetData::SetDataSize(int /*cols*/, int /*rows*/) {}

const char* ThermoMirroredReadSpreadSheetData::GetText(int row, int col) const {
    return table.GetText(col + 1, row + 1);
}
