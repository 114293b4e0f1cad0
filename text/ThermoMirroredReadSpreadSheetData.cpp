#include "text/ThermoMirroredReadSpreadSheetData.h"

ThermoMirroredReadSpreadSheetData::ThermoMirroredReadSpreadSheetData(int rows, int cols)
    : numRows(rows), numCols(cols) {
    if (rows >= 1 && cols >= 1) {
        table.resize(static_cast<std::size_t>(rows));
    }
}

void ThermoMirroredReadSpreadSheetData::Set(int col, int row, const char* text) {
    if (row < 1 || static_cast<std::size_t>(row) > table.size() || col < 1 || col > numCols) {
        return;
    }
    auto& cells = table[static_cast<std::size_t>(row) - 1];
    const auto place = static_cast<std::size_t>(col) - 1;
    if (cells.size() <= place) {
        cells.resize(place + 1, "");
    }
    cells[place] = texts.Add(text);
}

// The parser that fills the table delivers texts only.
void ThermoMirroredReadSpreadSheetData::Set(int /*col*/, int /*row*/, float /*value*/) {}

void ThermoMirroredReadSpreadSheetData::SetDataSize(int /*cols*/, int /*rows*/) {}

const char* ThermoMirroredReadSpreadSheetData::GetText(int row, int col) const {
    if (row < 0 || static_cast<std::size_t>(row) >= table.size()) {
        return "";
    }
    const auto& cells = table[static_cast<std::size_t>(row)];
    return col >= 0 && static_cast<std::size_t>(col) < cells.size() ? cells[static_cast<std::size_t>(col)]
                                                                    : "";
}
