#include "tools/ProgramTable.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

void ProgramTable::SetText(int col, int row, std::string_view text) {
    if (control.IsOfUse(row)) {
        TableData::SetText(col, row, text);
    }
}

void ProgramTable::SetBool(int col, int row, bool value) {
    if (control.IsOfUse(row)) {
        TableData::SetBool(col, row, value);
    }
}

void ProgramTable::SetDate(int col, int row, std::int32_t days) {
    if (control.IsOfUse(row)) {
        TableData::SetDate(col, row, days);
    }
}

void ProgramTable::SetTime(int col, int row, std::int64_t microseconds) {
    if (control.IsOfUse(row)) {
        TableData::SetTime(col, row, microseconds);
    }
}

void ProgramTable::SetDateTime(int col, int row, std::int64_t microseconds) {
    if (control.IsOfUse(row)) {
        TableData::SetDateTime(col, row, microseconds);
    }
}

void ProgramTable::SetDuration(int col, int row, std::int64_t microseconds) {
    if (control.IsOfUse(row)) {
        TableData::SetDuration(col, row, microseconds);
    }
}

void ProgramTable::SetError(int col, int row, std::string_view text) {
    if (control.IsOfUse(row)) {
        TableData::SetError(col, row, text);
    }
}

void ProgramTable::SetMissing(int col, int row) {
    if (control.IsOfUse(row)) {
        TableData::SetMissing(col, row);
    }
}

void ProgramTable::SetSource(int col, int row, std::string_view source) {
    if (control.IsOfUse(row)) {
        TableData::SetSource(col, row, source);
    }
}

void ProgramTable::SetRowRun(int firstCol, int row, std::span<const float> values) {
    if (control.IsOfUse(row)) {
        TableData::SetRowRun(firstCol, row, values);
    }
}

void ProgramTable::SetRowRun(int firstCol, int row, std::span<const double> values) {
    if (control.IsOfUse(row)) {
        TableData::SetRowRun(firstCol, row, values);
    }
}

// The part of a column's run that lies above the end of what is of use.
template <class Number>
std::span<const Number> ProgramTable::OfUse(int firstRow, std::span<const Number> values) const {
    const std::int64_t room = std::int64_t{control.GetLastOfUse()} - firstRow + 1;
    return values.first(static_cast<std::size_t>(std::clamp<std::int64_t>(room, 0, std::ssize(values))));
}

void ProgramTable::SetColumnRun(int col, int firstRow, std::span<const float> values) {
    TableData::SetColumnRun(col, firstRow, OfUse(firstRow, values));
}

void ProgramTable::SetColumnRun(int col, int firstRow, std::span<const double> values) {
    TableData::SetColumnRun(col, firstRow, OfUse(firstRow, values));
}

void ProgramTable::SetDataSize(int cols, int rows) {
    control.Resize(rows);
    TableData::SetDataSize(cols, rows);
}
