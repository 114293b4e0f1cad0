#include "frame/ReadSpreadSheetData.h"

void ReadSpreadSheetData::Set(int col, int row, int value) {
    Set(col, row, static_cast<float>(value));
}

void ReadSpreadSheetData::Set(int col, int row, std::int64_t value) {
    Set(col, row, static_cast<float>(value));
}

void ReadSpreadSheetData::Set(int col, int row, double value) {
    Set(col, row, static_cast<float>(value));
}

int ReadSpreadSheetData::NextRowToRead(int row) {
    return row + 1;
}
