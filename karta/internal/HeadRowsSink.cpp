#include "karta/internal/HeadRowsSink.h"

namespace karta {

int HeadRowsSink::NextRowToRead(int row) {
    const int next = control.NextRowToRead(row, GetNumberOfRows());
    return next < 0 || !IsOfUse(next) ? -1 : next;
}

void HeadRowsSink::EndRow(int row) {
    sink.EndRow(row);
    control.EndRow(row, GetNumberOfRows());
    if (!IsOfUse(row)) {
        control.SetEnough();
    }
}

void HeadRowsSink::SetDataSize(int cols, int rows) {
    control.Resize(rows);
    sink.SetDataSize(cols, rows);
}

}  // namespace karta
