#include "frame/DLLWriteSpreadSheetData.h"

#include "frame/CellType.h"

double DLLWriteSpreadSheetData::GetFloatValue(int col, int row) {
    return table->getFloat(table, row, col);
}

std::string DLLWriteSpreadSheetData::GetString(int col, int row) {
    return table->getString(table, row, col);
}

bool DLLWriteSpreadSheetData::GetDataOrigin(int* firstDataCol, int* firstDataRow) {
    return table->getDataOrigin(table, firstDataCol, firstDataRow);
}

bool DLLWriteSpreadSheetData::IsFloat(int col, int row) {
    return table->getCellType(table, row, col) == CellNumber;
}

bool DLLWriteSpreadSheetData::IsMissing(int col, int row) {
    return table->getCellType(table, row, col) == CellMissing;
}

bool DLLWriteSpreadSheetData::IsString(int col, int row) {
    return table->getCellType(table, row, col) == CellText;
}

int DLLWriteSpreadSheetData::GetNumberOfColumns() {
    return table->numCols;
}

int DLLWriteSpreadSheetData::GetNumberOfRows() {
    return table->numRows;
}
