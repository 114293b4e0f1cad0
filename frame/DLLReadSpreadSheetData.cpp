#include "frame/DLLReadSpreadSheetData.h"

#include <charconv>
#include <cmath>
#include <iterator>

namespace {

// Whole numbers strictly between these two keep all their digits by going as text: below the first a
// float holds them anyway, and the second is 2^63.
constexpr double LargestFloatNumber = 999990.0;
constexpr double TooLargeForInt64 = 9223372036854775808.0;

}  // namespace

void DLLReadSpreadSheetData::Set(int col, int row, int value) {
    Set(col, row, static_cast<float>(value));
}

void DLLReadSpreadSheetData::Set(int col, int row, std::int64_t value) {
    char text[24];
    *std::to_chars(text, std::end(text) - 1, value).ptr = '\0';
    Set(col, row, text);
}

void DLLReadSpreadSheetData::Set(int col, int row, double value) {
    if (value > LargestFloatNumber && value < TooLargeForInt64 && std::trunc(value) == value) {
        Set(col, row, static_cast<std::int64_t>(value));
        return;
    }
    Set(col, row, static_cast<float>(value));
}

void DLLReadSpreadSheetData::Set(int col, int row, const char* text) {
    table->setString(table, row, col, text);
}

void DLLReadSpreadSheetData::Set(int col, int row, float value) {
    table->setFloat(table, row, col, value);
}

int DLLReadSpreadSheetData::NextRowToRead(int row) {
    return table->nextRowToRead(table, row);
}

void DLLReadSpreadSheetData::SetDataSize(int cols, int rows) {
    table->setDataSize(table, rows, cols);
}

int DLLReadSpreadSheetData::GetNumberOfColumns() {
    return table->numCols;
}

int DLLReadSpreadSheetData::GetNumberOfRows() {
    return table->numRows;
}
