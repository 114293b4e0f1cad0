#include "process/SAReadBrooksideData.h"

#include "host/NvString.h"

namespace {

constexpr int NameRow = 1;
constexpr int WaferColumn = 1;
constexpr int PhaseColumn = 2;

void Put(NCStringVector& texts, int place, const std::string& text) {
    if (place >= 1 && place <= texts.GetSize()) {
        texts(place) = text;
    }
}

void Put(NCDataMatrix<float>& matrix, int row, int col, float value) {
    if (row >= 1 && row <= matrix.GetNumberOfRows() && col >= 1 && col <= matrix.GetNumberOfColumns()) {
        matrix(row, col) = value;
    }
}

float ToMeasurement(const char* text) {
    char* end = nullptr;
    const double value = NvString::nvstrtod(text, &end);
    const bool isNumber = text[0] != '\0' && *end == '\0';
    return isNumber ? static_cast<float>(value) : NCDataMatrix<float>::MissingValue;
}

}  // namespace

SAReadBrooksideData::SAReadBrooksideData()
    : data(new NCDataMatrix<float>),
      wafers(new NCStringVector),
      phases(new NCStringVector),
      names(new NCStringVector) {}

SAReadBrooksideData::~SAReadBrooksideData() {
    delete data;
    delete wafers;
    delete phases;
    delete names;
}

void SAReadBrooksideData::Set(int col, int row, const char* text) {
    if (row == NameRow) {
        Put(*names, col, text);
    } else if (col == WaferColumn) {
        Put(*wafers, row, text);
    } else if (col == PhaseColumn) {
        Put(*phases, row, text);
    } else {
        Put(*data, row, col, ToMeasurement(text));
    }
}

void SAReadBrooksideData::Set(int col, int row, float value) {
    if (col == PhaseColumn) {
        Put(*phases, row, NvString::Format("%.0f", static_cast<double>(value)));
    } else {
        Put(*data, row, col, value);
    }
}

void SAReadBrooksideData::SetDataSize(int cols, int rows) {
    data->ReserveColumns(cols);
    data->ReserveRows(rows);
    data->InsertColumns(data->GetNumberOfColumns() + 1, cols);
    data->InsertRows(data->GetNumberOfRows() + 1, rows);
    wafers->InsertStrings(1, rows);
    phases->InsertStrings(1, rows);
    names->InsertStrings(1, cols);
}

int SAReadBrooksideData::GetNumberOfColumns() {
    return data->GetNumberOfColumns();
}

int SAReadBrooksideData::GetNumberOfRows() {
    return data->GetNumberOfRows();
}
