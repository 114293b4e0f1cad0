#include "karta/internal/TableSink.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace karta {

TableSink::TableSink(std::shared_ptr<ReadContext> readContext, std::optional<int> headerRow)
    : context(std::move(readContext)), header(headerRow) {
    cells.SetBudget(&context->budget);
}

TableSink::~TableSink() = default;

Column TableSink::MakeColumn(int col, int firstRow, int rows) {
    bool isNumeric = true;
    bool isEmpty = true;
    for (int row = firstRow; row < firstRow + rows; ++row) {
        const TableData::Kind kind = cells.GetKind(col, row);
        isEmpty = isEmpty && kind == TableData::Missing;
        isNumeric = isNumeric && (kind == TableData::Missing || cells.IsFloat(col, row));
    }
    if (isEmpty) {
        ColumnBuffers buffers;
        buffers.rows = rows;
        return {"", "", std::move(buffers)};
    }
    if (!isNumeric) {
        std::vector<std::string> texts;
        for (int row = firstRow; row < firstRow + rows; ++row) {
            texts.push_back(cells.GetString(col, row));
        }
        return Column::Of("", "", texts);
    }
    std::vector<double> values;
    for (int row = firstRow; row < firstRow + rows; ++row) {
        values.push_back(cells.GetKind(col, row) == TableData::Missing
                             ? std::numeric_limits<double>::quiet_NaN()
                             : cells.GetFloatValue(col, row));
    }
    return Column::Of("", "", std::span<const double>(values));
}

Block TableSink::MakeBlock(const TableShape& shape, int rows) {
    BlockParts parts;
    parts.rows = rows;
    parts.points = std::max(0, cells.GetNumberOfColumns() - shape.firstBlockColumn + 1);
    parts.stride = parts.points;
    const auto count = static_cast<std::size_t>(parts.rows * parts.points);
    auto values = std::make_shared<Buffer>(count * sizeof(double));
    for (int row = 0; row < rows; ++row) {
        for (int point = 0; point < parts.points; ++point) {
            const int col = shape.firstBlockColumn + point;
            values->As<double>()[row * parts.points + point] =
                cells.IsFloat(col, row + shape.firstDataRow)
                    ? cells.GetFloatValue(col, row + shape.firstDataRow)
                    : std::numeric_limits<double>::quiet_NaN();
        }
    }
    parts.values = std::move(values);
    if (shape.axisRow > 0) {
        auto axis = std::make_shared<Buffer>(static_cast<std::size_t>(parts.points) * sizeof(double));
        for (int point = 0; point < parts.points; ++point) {
            axis->As<double>()[point] = cells.GetFloatValue(shape.firstBlockColumn + point, shape.axisRow);
        }
        parts.axis = std::move(axis);
    }
    parts.axisQuantity = shape.axisQuantity;
    parts.axisUnit = shape.axisUnit;
    parts.valueQuantity = shape.valueQuantity;
    parts.valueUnit = shape.valueUnit;
    return Block(std::move(parts));
}

Table TableSink::Finish() {
    TableParts parts;
    parts.shape = context->shape;
    if (header) {
        parts.shape.nameRow = *header;
        parts.shape.firstDataRow = std::max(parts.shape.firstDataRow, *header + 1);
    }
    const TableShape& shape = parts.shape;
    const int rows = std::max(0, cells.GetNumberOfRows() - shape.firstDataRow + 1);
    parts.rows = rows;
    const int lastColumn =
        shape.firstBlockColumn > 0 ? shape.firstBlockColumn - 1 : cells.GetNumberOfColumns();
    for (int col = 1; col <= lastColumn; ++col) {
        const int nameColumn = col - shape.firstNamedColumn + 1;
        parts.columns.push_back(
            MakeColumn(col, shape.firstDataRow, rows)
                .Renamed(shape.nameRow > 0 ? cells.GetString(nameColumn, shape.nameRow) : std::string(),
                         shape.unitRow > 0 ? cells.GetString(col, shape.unitRow) : std::string()));
    }
    if (shape.firstBlockColumn > 0) {
        parts.block = MakeBlock(shape, rows);
        parts.blockPlace = parts.columns.size();
    }
    parts.notes = context->notes.GetAll();
    return Table(std::move(parts));
}

}  // namespace karta
