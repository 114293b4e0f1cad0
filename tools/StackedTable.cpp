#include "tools/StackedTable.h"

#include <cmath>
#include <span>

#include "frame/CellOutput.h"
#include "tools/Interrupt.h"

namespace {

// Where in the grid a column stands: the block's points are among the others.
int PlaceOf(const karta::Table& table, std::size_t column) {
    const std::int64_t points =
        table.GetBlock() == nullptr || column < table.GetBlockPlace() ? 0 : table.GetBlock()->GetPointCount();
    return static_cast<int>(static_cast<std::int64_t>(column) + points) + 1;
}

void PutCell(const karta::Column& column, std::int64_t from, TableData& grid, int col, int row) {
    switch (column.GetType()) {
        case karta::ColumnType::Null:
            break;
        case karta::ColumnType::Bool:
            grid.SetBool(col, row, column.GetBool(from));
            break;
        case karta::ColumnType::Int64:
            grid.Set(col, row, column.GetIntegers()[static_cast<std::size_t>(from)]);
            break;
        case karta::ColumnType::Float32:
            grid.Set(col, row, column.GetFloats()[static_cast<std::size_t>(from)]);
            break;
        case karta::ColumnType::Float64:
            grid.Set(col, row, column.GetDoubles()[static_cast<std::size_t>(from)]);
            break;
        case karta::ColumnType::Text:
            grid.SetText(col, row, column.GetText(from));
            break;
        case karta::ColumnType::Date32:
            grid.SetDate(col, row, column.GetDays()[static_cast<std::size_t>(from)]);
            break;
        case karta::ColumnType::Time64:
            grid.SetTime(col, row, column.GetIntegers()[static_cast<std::size_t>(from)]);
            break;
        case karta::ColumnType::Timestamp:
            grid.SetDateTime(col, row, column.GetIntegers()[static_cast<std::size_t>(from)]);
            break;
        case karta::ColumnType::Duration:
            grid.SetDuration(col, row, column.GetIntegers()[static_cast<std::size_t>(from)]);
            break;
    }
}

// NaN is a missing number in a block.
template <class Number>
void PutPoints(std::span<const Number> values, TableData& grid, int firstCol, int row) {
    for (std::size_t begin = 0; begin < values.size();) {
        std::size_t end = begin;
        while (end < values.size() && !std::isnan(values[end])) {
            ++end;
        }
        if (end > begin) {
            grid.SetRowRun(firstCol + static_cast<int>(begin), row, values.subspan(begin, end - begin));
        }
        begin = end + 1;
    }
}

}  // namespace

void StackedTable::PutNames(const karta::Table& table, TableData& grid, int row) {
    for (std::size_t i = 0; i < table.GetColumnCount(); ++i) {
        grid.SetText(PlaceOf(table, i), row, table.GetColumn(i).GetName());
    }
    if (const karta::Block* block = table.GetBlock()) {
        for (std::int64_t point = 0; point < block->GetPointCount(); ++point) {
            grid.SetText(static_cast<int>(table.GetBlockPlace()) + static_cast<int>(point) + 1, row,
                         block->GetPointName(point));
        }
    }
}

void StackedTable::PutRows(const karta::Table& table, TableData& grid, int firstRow) {
    const auto rows = static_cast<int>(table.GetRowCount());
    grid.SetDataSize(static_cast<int>(table.GetWidth()), firstRow + rows - 1);
    for (int row = 0; row < rows; ++row) {
        Interrupt::ThrowIfRequested();
        for (std::size_t i = 0; i < table.GetColumnCount(); ++i) {
            if (!table.GetColumn(i).IsMissing(row)) {
                PutCell(table.GetColumn(i), row, grid, PlaceOf(table, i), firstRow + row);
            }
        }
    }
    if (table.GetBlock() == nullptr) {
        return;
    }
    const karta::Block block = table.GetBlock()->ToRowMajor();
    const int firstCol = static_cast<int>(table.GetBlockPlace()) + 1;
    for (int row = 0; row < rows; ++row) {
        Interrupt::ThrowIfRequested();
        if (block.IsFloat32()) {
            PutPoints(block.GetFloatRow(row), grid, firstCol, firstRow + row);
        } else {
            PutPoints(block.GetDoubleRow(row), grid, firstCol, firstRow + row);
        }
    }
}
